#include "CopyJob.h"

#include "Drive.h"
#include "NameRules.h"
#include "TreeWalk.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace arkvale::service {

using zpdt::FileError;
using zpdt::FileResult;
using zpdt::FileStat;
using zpdt::joinPath;

namespace {

constexpr std::size_t kBlock = 1u << 20; // bytes

bool isZero(const std::vector<char> &block, std::size_t size)
{
    return size == 0 || (block[0] == 0 && std::memcmp(block.data(), block.data() + 1, size - 1) == 0);
}

Outcome notAnyMore()
{
    return Outcome::failure(403, "denied", "This may not be copied any more.");
}

} // namespace

Outcome copyFile(const zpdt::SafeFolder &from, const std::string &fromPath, const zpdt::SafeFolder &to,
                 const std::string &toPath, const std::atomic<bool> &cancelled, QuotaCharge &charge)
{
    zpdt::SafeFile source;
    zpdt::SafeFile target;
    FileStat stat;
    FileResult result = from.openRead(fromPath, source);
    if (result.ok())
        result = source.stat(stat);
    if (!result.ok())
        return Outcome::of(result, "/" + fromPath);
    result = to.openWrite(toPath, {true, true, false}, target);
    std::vector<char> block(std::min<std::uint64_t>(kBlock, std::max<std::uint64_t>(stat.size, 1)));
    std::uint64_t done = 0;
    for (std::size_t got = block.size(); result.ok() && got == block.size();) {
        if (cancelled)
            return Outcome::cancelled();
        result = source.readAt(done, block.data(), block.size(), got);
        if (!result.ok())
            break;
        if (!charge.charge(got))
            return Outcome::quotaExceeded();
        if (!isZero(block, got))
            result = target.writeAt(done, block.data(), got);
        done += got;
    }
    if (result.ok())
        result = target.truncate(done);
    if (result.ok())
        target.setModified(stat.modifiedNs);
    if (result.ok())
        result = target.close();
    return Outcome::of(result, "/" + fromPath);
}

CopyJob::CopyJob(UserHome home, std::vector<std::string> sources, std::string target)
    : DriveJob(std::move(home), std::move(target))
    , m_origin(m_home)
    , m_sources(std::move(sources))
{
}

CopyJob::CopyJob(UserHome home, std::vector<std::string> sources, std::string target, UserHome origin,
                 Permission permission)
    : DriveJob(std::move(home), std::move(target))
    , m_origin(std::move(origin))
    , m_foreign(true)
    , m_sources(std::move(sources))
    , m_permission(std::move(permission))
{
}

bool CopyJob::nameTaken(const std::string &name) const
{
    const auto same = [&](const Item &item) { return item.name == name; };
    FileStat stat;
    return std::any_of(m_items.begin(), m_items.end(), same) ||
           m_home.folder.stat(m_folder.empty() ? name : m_folder + '/' + name, stat).error != FileError::NotFound;
}

Outcome CopyJob::check()
{
    m_items.clear();
    std::vector<std::string> targetNames;
    Outcome outcome = findFolder(m_home, m_target, targetNames);
    if (!outcome.ok())
        return outcome;
    m_folder = joinPath(targetNames);
    for (const std::string &source : m_sources) {
        std::vector<std::string> names;
        FileStat stat;
        outcome = findEntry(m_origin, source, names, stat);
        if (!outcome.ok())
            return outcome;
        if (names.empty() || (!m_foreign && liesWithin(targetNames, names)))
            return Outcome::failure(409, "into-itself", "\"" + source + "\" cannot be copied into itself.");
        Item item{joinPath(names), names.back(), stat.isFolder(), false};
        names.pop_back();
        item.numbered = m_foreign || names == targetNames;
        const auto taken = [this](const std::string &name) { return nameTaken(name); };
        if (item.numbered)
            item.name = freeName(item.name, item.isFolder, taken);
        if (item.name.empty() || taken(item.name))
            return Outcome::of({FileError::Exists, 0}, drivePath(targetNames) + "/" + item.name);
        m_items.push_back(std::move(item));
    }
    return {};
}

Outcome CopyJob::make(const zpdt::SafeFolder &work, const std::atomic<bool> &cancelled, QuotaCharge &charge)
{
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        const Item &item = m_items[i];
        // Sources of different folders may bear one name, so each has a number for a name until it is published.
        const std::string root = std::to_string(i);
        if (!item.isFolder) {
            Outcome outcome = copyFile(m_origin.folder, item.from, work, root, cancelled, charge);
            if (!outcome.ok())
                return outcome;
            continue;
        }
        std::vector<std::pair<std::string, std::int64_t>> times;
        FileStat stat;
        FileResult result = m_origin.folder.stat(item.from, stat);
        if (result.ok())
            result = work.mkdir(root);
        times.emplace_back(root, stat.modifiedNs);
        Outcome inner;
        if (result.ok()) {
            result = walkTree(m_origin.folder, item.from, false, [&](const WalkEntry &entry) {
                const std::string to = root + entry.path.substr(item.from.size());
                if (cancelled) {
                    inner = Outcome::cancelled();
                } else if (!m_permission.holds()) {
                    inner = notAnyMore();
                } else if (entry.stat.isFolder()) {
                    inner = Outcome::of(work.mkdir(to), "/" + entry.path);
                    times.emplace_back(to, entry.stat.modifiedNs);
                } else {
                    inner = copyFile(m_origin.folder, entry.path, work, to, cancelled, charge);
                    if (inner.status == 404)
                        inner = Outcome(); // Removed since it was listed.
                }
                return inner.ok() ? WalkStep::Go : WalkStep::Stop;
            });
        }
        if (!inner.ok())
            return inner;
        if (!result.ok())
            return Outcome::of(result, "/" + item.from);
        // Last, because every entry made in a folder sets its time anew.
        for (const auto &time : times)
            work.setModified(time.first, time.second);
    }
    return m_permission.holds() ? Outcome() : notAnyMore();
}

Outcome CopyJob::publish(const zpdt::SafeFolder &work) const
{
    zpdt::SafeFolder target;
    FileResult result = m_home.folder.openFolder(m_folder, target);
    std::vector<std::string> published;
    for (std::size_t i = 0; result.ok() && i < m_items.size(); ++i) {
        const Item &item = m_items[i];
        std::string name = item.name;
        // Somebody may have taken the name since it was chosen.
        result = item.numbered ? moveNumbered(work, std::to_string(i), target, name, item.isFolder)
                               : zpdt::SafeFolder::renameBetween(work, std::to_string(i), target, name, false);
        if (result.ok())
            published.push_back(name);
    }
    if (result.ok())
        return {};
    for (const std::string &name : published)
        m_home.storeroom->discard(target, name);
    return Outcome::of(result, m_target);
}

} // namespace arkvale::service
