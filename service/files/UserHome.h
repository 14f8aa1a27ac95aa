#pragma once

#include "Context.h"
#include "Outcome.h"
#include "SafeFolder.h"
#include "Storeroom.h"

#include <memory>
#include <string>
#include <vector>

namespace arkvale::service {

/// One user's home in one sub-center, as operations need it. A plain value; the context outlives it.
struct UserHome
{
    std::string user;
    std::string subCenter;
    zpdt::SafeFolder folder;
    std::shared_ptr<Storeroom> storeroom;
    Context *context = nullptr;

    void addUsed(std::int64_t delta) const { context->addUsed(user, subCenter, delta); }
    void recount() const
    {
        storeroom->countRecount();
        context->recount(user, subCenter);
    }
    std::int64_t bytesLeft() const { return context->storage(user, subCenter).left(); }
};

/// The names of a path of the drive; a failure for what is no such path.
Outcome splitDrive(const std::string &path, std::vector<std::string> &names);

/// The file or folder of that path; anything else counts as not there. A failure names the path.
Outcome findEntry(const UserHome &home, const std::string &path, std::vector<std::string> &names, zpdt::FileStat &stat);

/// The same for a path that has to be a folder's.
Outcome findFolder(const UserHome &home, const std::string &path, std::vector<std::string> &names);

/// The path of the drive that these names make: "/" for none.
std::string drivePath(const std::vector<std::string> &names);

/// @p name, or with " (2)", " (3)" ... before its extension (at its end for a folder), whichever @p taken says is
/// free. Cut, between characters, where it would become longer than a name may be. Empty when nothing is free.
template <typename Taken>
std::string freeName(const std::string &name, bool isFolder, const Taken &taken);

/// @p name with " (number)" put in.
std::string numberedName(const std::string &name, bool isFolder, int number);

/// Moves @p entry of @p from into @p to under @p name or, as long as that is taken, with " (2)", " (3)" ... put in.
/// @p name becomes the one that it has at the end.
zpdt::FileResult moveNumbered(const zpdt::SafeFolder &from, const std::string &entry, const zpdt::SafeFolder &to,
                              std::string &name, bool isFolder);

template <typename Taken>
std::string freeName(const std::string &name, bool isFolder, const Taken &taken)
{
    std::string candidate = name;
    for (int number = 2; taken(candidate); ++number) {
        if (number > 9999)
            return {};
        candidate = numberedName(name, isFolder, number);
    }
    return candidate;
}

/// Bytes that an operation is about to add to a home: told to the account as they are asked for, so that operations
/// which run at once cannot share the same rest of the quota, and taken back unless keep() is called. A new count of
/// the home made meanwhile knows nothing of the bytes that are still out of sight, so one more is asked for at the end.
class QuotaCharge
{
public:
    explicit QuotaCharge(const UserHome &home)
        : m_home(home)
        , m_recounts(home.storeroom->recounts())
    {
    }
    ~QuotaCharge();
    QuotaCharge(const QuotaCharge &) = delete;
    QuotaCharge &operator=(const QuotaCharge &) = delete;

    /// False when the quota does not allow @p bytes more.
    bool charge(std::uint64_t bytes);
    void keep();
    std::uint64_t charged() const { return m_used; }

private:
    const UserHome &m_home;
    const std::uint64_t m_recounts;
    std::uint64_t m_used = 0;     ///< asked for
    std::uint64_t m_reserved = 0; ///< told to the account, in larger steps
};

} // namespace arkvale::service
