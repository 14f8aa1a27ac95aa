#include "Drive.h"

#include "ItemJson.h"
#include "NameMatch.h"
#include "NameRules.h"
#include "TreeWalk.h"

#include <algorithm>
#include <set>

namespace arkvale::service {

using zpdt::FileError;
using zpdt::FileResult;
using zpdt::FileStat;
using zpdt::joinPath;

namespace {

Outcome homeItself()
{
    return Outcome::failure(403, "home", "The home folder itself stays where it is.");
}

Outcome intoItself(const std::string &path)
{
    return Outcome::failure(409, "into-itself", "\"" + path + "\" cannot be put into itself.");
}

std::string child(const std::string &folder, const std::string &name)
{
    return folder.empty() ? name : folder + '/' + name;
}

} // namespace

bool liesWithin(const std::vector<std::string> &inner, const std::vector<std::string> &outer)
{
    return inner.size() >= outer.size() && std::equal(outer.begin(), outer.end(), inner.begin());
}

Outcome Drive::list(const std::string &path, bool namesOnly, std::string &json) const
{
    std::vector<std::string> names;
    Outcome outcome = splitDrive(path, names);
    if (!outcome.ok())
        return outcome;
    const std::string prefix = names.empty() ? "/" : drivePath(names) + '/';
    ItemList items(m_types);
    const FileResult result = m_home.folder.list(
        joinPath(names),
        [&](const zpdt::SafeFolder::Entry &entry) {
            if (!isVisible(entry))
                return true;
            if (namesOnly)
                items.addName(entry.name, entry.stat.isFolder());
            else
                items.add(entry.name, prefix + entry.name, entry.stat);
            return true;
        },
        !namesOnly);
    json = items.take();
    return Outcome::of(result, path);
}

Outcome Drive::info(const std::string &path, std::string &json) const
{
    std::vector<std::string> names;
    FileStat stat;
    Outcome outcome = findEntry(m_home, path, names, stat);
    if (!outcome.ok())
        return outcome;
    json.clear();
    appendItem(json, names.empty() ? std::string() : names.back(), drivePath(names), stat, m_types);
    return {};
}

Outcome Drive::search(const std::string &keyword, const std::string &path, SearchLimits limits, std::string &json) const
{
    std::vector<std::string> names;
    Outcome outcome = splitDrive(path, names);
    if (!outcome.ok())
        return outcome;
    const NameMatch match(keyword);
    ItemList items(m_types);
    bool truncated = false;
    if (!match.isEmpty()) {
        const auto deadline = std::chrono::steady_clock::now() + limits.time;
        const FileResult result = walkTree(m_home.folder, joinPath(names), true, [&](const WalkEntry &entry) {
            if (match.matches(entry.name))
                items.add(entry.name, "/" + entry.path, entry.stat);
            truncated = items.count() >= limits.results || std::chrono::steady_clock::now() >= deadline;
            return truncated ? WalkStep::Stop : WalkStep::Go;
        });
        if (!result.ok())
            return Outcome::of(result, path);
    }
    json = items.take(truncated ? ",\"truncated\":true" : "");
    return {};
}

Outcome Drive::makeFolder(const std::string &path) const
{
    std::vector<std::string> names;
    Outcome outcome = splitDrive(path, names);
    return outcome.ok() ? Outcome::of(m_home.folder.mkdir(joinPath(names)), path) : outcome;
}

Outcome Drive::statOf(const std::string &path, Kind kind, std::vector<std::string> &names, FileStat &stat) const
{
    Outcome outcome = splitDrive(path, names);
    if (!outcome.ok())
        return outcome;
    if (names.empty())
        return homeItself();
    const FileResult result = m_home.folder.stat(joinPath(names), stat);
    if (!result.ok())
        return Outcome::of(result, path);
    if (kind == Kind::File && stat.isFolder())
        return Outcome::of({FileError::IsFolder, 0}, path);
    if (kind == Kind::Folder && stat.isFile())
        return Outcome::of({FileError::NotFolder, 0}, path);
    if (!stat.isFile() && !stat.isFolder())
        return Outcome::of({FileError::NotFound, 0}, path);
    return {};
}

Outcome Drive::remove(const std::vector<std::string> &paths, Kind kind) const
{
    Outcome first;
    bool treeGone = false;
    std::int64_t freed = 0;
    for (const std::string &path : paths) {
        std::vector<std::string> names;
        FileStat stat;
        Outcome outcome = statOf(path, kind, names, stat);
        if (outcome.ok()) {
            const std::string at = joinPath(names);
            const FileResult result =
                kind == Kind::File ? m_home.folder.removeFile(at) : m_home.storeroom->discard(m_home.folder, at);
            outcome = Outcome::of(result, path);
            treeGone = treeGone || (kind == Kind::Folder && result.ok());
            freed += result.ok() ? static_cast<std::int64_t>(stat.size) : 0;
        }
        if (first.ok())
            first = outcome;
    }
    if (freed > 0)
        m_home.addUsed(-freed);
    if (treeGone)
        m_home.recount();
    return first;
}

Outcome Drive::move(const std::vector<std::string> &sources, const std::string &target) const
{
    std::vector<std::string> targetNames;
    Outcome outcome = findFolder(m_home, target, targetNames);
    if (!outcome.ok())
        return outcome;
    const std::string folder = joinPath(targetNames);
    FileStat stat;

    std::vector<std::pair<std::string, std::string>> steps;
    std::set<std::string> taken;
    for (const std::string &source : sources) {
        std::vector<std::string> names;
        outcome = splitDrive(source, names);
        if (outcome.ok() && names.empty())
            outcome = homeItself();
        if (outcome.ok())
            outcome = statOf(source, Kind::File, names, stat);
        if (outcome.word == "is-a-folder")
            outcome = Outcome();
        if (!outcome.ok())
            return outcome;
        if (liesWithin(targetNames, names))
            return intoItself(source);
        const std::string from = joinPath(names);
        const std::string to = child(folder, names.back());
        if (from == to)
            continue; // It lies there already.
        FileStat other;
        if (!taken.insert(to).second || m_home.folder.stat(to, other).ok())
            return Outcome::of({FileError::Exists, 0}, "/" + to);
        steps.emplace_back(from, to);
    }
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const FileResult result = m_home.folder.rename(steps[i].first, steps[i].second, false);
        if (result.ok())
            continue;
        for (std::size_t done = i; done > 0; --done)
            m_home.folder.rename(steps[done - 1].second, steps[done - 1].first, false);
        const bool lost = result.error == FileError::NotFound;
        return Outcome::of(result, "/" + (lost ? steps[i].first : steps[i].second));
    }
    return {};
}

bool Drive::isSameEntry(const std::vector<std::string> &target, const FileStat &source) const
{
    FileStat found;
    if (!m_home.folder.stat(joinPath(target), found).ok() || found.id != source.id || source.id == 0)
        return false;
    // Two names of one file have one number as well; only a disk that takes both names for one lists just one.
    bool listed = false;
    const std::vector<std::string> parent(target.begin(), target.end() - 1);
    m_home.folder.list(
        joinPath(parent),
        [&](const zpdt::SafeFolder::Entry &entry) {
            listed = listed || entry.name == target.back();
            return !listed;
        },
        false);
    return !listed;
}

Outcome Drive::rename(const std::string &source, const std::string &target, Kind kind) const
{
    std::vector<std::string> from;
    std::vector<std::string> to;
    FileStat stat;
    Outcome outcome = statOf(source, kind, from, stat);
    if (outcome.ok())
        outcome = splitDrive(target, to);
    if (outcome.ok() && to.empty())
        outcome = Outcome::of({FileError::Exists, 0}, "/");
    if (!outcome.ok())
        return outcome;
    if (from == to)
        return {};
    if (liesWithin(to, from))
        return intoItself(source);
    FileResult result = m_home.folder.rename(joinPath(from), joinPath(to), false);
    if (result.error == FileError::Exists && isSameEntry(to, stat))
        result = m_home.folder.rename(joinPath(from), joinPath(to), true);
    return Outcome::of(result, target);
}

Outcome Drive::openFile(const std::string &path, zpdt::SafeFile &file, FileStat &stat) const
{
    std::vector<std::string> names;
    Outcome outcome = splitDrive(path, names);
    if (!outcome.ok())
        return outcome;
    FileResult result = m_home.folder.openRead(joinPath(names), file);
    if (result.ok())
        result = file.stat(stat);
    return Outcome::of(result, path);
}

} // namespace arkvale::service
