#pragma once

#include "FileRoutes.h"
#include "ShareStore.h"
#include "UserHome.h"

#include <string>

namespace arkvale::service {

/// What a share lets others reach, opened. Paths of a share begin with the item's name: "/" holds the item alone.
struct SharedItem
{
    UserHome parent;        ///< the owner's folder that holds the item; nothing but the item may be reached in it
    std::string parentPath; ///< its path on the owner's drive, "/" for the home
    std::string homeRoot;   ///< the owner's home on this machine
    std::string name;
    zpdt::FileStat stat;

    /// False for what is no path, or lies beside the item. "/" is the one path that is no item.
    bool reaches(const std::string &path) const;
};

/// Decides who reaches which share, for every request anew. May be used from any thread.
class SharedItems
{
public:
    /// The folder under which transfer tickets find shares, as "/NAME/SHARE-ID/PATH"; no folder of a drive.
    static constexpr const char *mountName = ".arkvale-share";

    SharedItems(AccountStore &accounts, ShareStore &shares, Context &context, FileRoutes &files)
        : m_accounts(accounts)
        , m_shares(shares)
        , m_context(context)
        , m_files(files)
    {
    }

    /// The share, if @p user is its owner or one of its users; 404 otherwise, as if there were none.
    Outcome find(const std::string &user, const std::string &id, Share *share) const;
    /// A share whose item is gone ends here; that of a frozen owner is not reached.
    Outcome open(const Share &share, SharedItem *item) const;
    /// Whether @p user, who was let into the share, reaches it still: for what takes its time. Asks the database alone.
    bool mayGoOn(const std::string &user, const std::string &id) const;
    /// The same for whoever opened the link.
    bool mayGoOn(const Share &link) const;

private:
    bool isRestricted(const std::string &user) const;

    AccountStore &m_accounts;
    ShareStore &m_shares;
    Context &m_context;
    FileRoutes &m_files;
};

} // namespace arkvale::service
