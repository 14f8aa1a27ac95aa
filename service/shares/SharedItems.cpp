#include "SharedItems.h"

#include "NameRules.h"
#include "Secrets.h"

#include <algorithm>

namespace arkvale::service {

namespace {

Outcome noShare()
{
    return Outcome::failure(404, "no-share", "There is no such share.");
}

} // namespace

bool SharedItem::reaches(const std::string &path) const
{
    std::vector<std::string> names;
    if (!splitDrive(path, names).ok())
        return false;
    return names.empty() || (names.front() == name && (names.size() == 1 || stat.isFolder()));
}

Outcome SharedItems::find(const std::string &user, const std::string &id, Share *share) const
{
    const auto found = m_shares.find(id);
    if (!found)
        return noShare();
    const bool member = std::find(found->users.begin(), found->users.end(), user) != found->users.end();
    if (found->owner != user && !member)
        return noShare();
    *share = *found;
    return {};
}

Outcome SharedItems::open(const Share &share, SharedItem *item) const
{
    if (isRestricted(share.owner))
        return noShare();
    Outcome outcome = m_files.openHome(share.owner, share.subCenter, item->parent);
    const auto root = m_context.userHome(share.owner, share.subCenter);
    if (!outcome.ok() || !root)
        return Outcome::failure(503, "no-disk", "The disk of this share is not there.");
    item->homeRoot = *root;
    std::vector<std::string> names;
    outcome = findEntry(item->parent, share.path, names, item->stat);
    // A folder of that name which is another one was never shared. Files are replaced by newer ones all the time.
    const bool other = outcome.ok() && (names.empty() || item->stat.isFolder() != share.isFolder ||
                                        (share.isFolder && share.fileId != 0 && item->stat.id != share.fileId));
    if (outcome.status == 404 || other) {
        m_shares.remove({share.id});
        return noShare();
    }
    if (!outcome.ok())
        return outcome;
    item->name = names.back();
    names.pop_back();
    item->parentPath = drivePath(names);
    zpdt::SafeFolder folder;
    const zpdt::FileResult result = item->parent.folder.openFolder(zpdt::joinPath(names), folder);
    item->parent.folder = folder;
    return Outcome::of(result, share.path);
}

bool SharedItems::isRestricted(const std::string &user) const
{
    const auto account = m_accounts.account(user);
    return !account || account->restriction.holds(nowMs());
}

bool SharedItems::mayGoOn(const std::string &user, const std::string &id) const
{
    const auto share = m_shares.find(id);
    return share && m_shares.isFor(id, user) && !isRestricted(user) && !isRestricted(share->owner);
}

bool SharedItems::mayGoOn(const Share &link) const
{
    const auto now = m_shares.findByToken(link.token);
    return now && now->id == link.id && now->password == link.password && !isRestricted(now->owner);
}

} // namespace arkvale::service
