#include "TargetTree.h"

#include "BlockHash.h"
#include "NameRules.h"
#include "TreeScan.h"

#include <algorithm>
#include <cstdio>
#include <functional>

namespace zpdt {

namespace {

constexpr std::size_t kHandles = 64;

void splitLeaf(const std::string &path, std::string &parent, std::string &leaf)
{
    const std::size_t slash = path.rfind('/');
    parent = slash == std::string::npos ? std::string() : path.substr(0, slash);
    leaf = slash == std::string::npos ? path : path.substr(slash + 1);
}

} // namespace

TargetTree::TargetTree(SafeFolder root, Limits limits)
    : m_root(std::move(root))
    , m_limits(std::move(limits))
    , m_reservations(m_limits.reservations ? m_limits.reservations : std::make_shared<Reservations>())
{
}

TargetTree::~TargetTree()
{
    std::lock_guard<std::mutex> lock(m_reservations->m_mutex);
    m_reservations->m_bytes -= m_reserved;
}

FileResult TargetTree::parentOf(const std::string &path, SafeFolder &folder, std::string &leaf)
{
    std::string parent;
    splitLeaf(path, parent, leaf);
    std::lock_guard<std::mutex> lock(m_mutex);
    return handleOf(parent, folder);
}

FileResult TargetTree::handleOf(const std::string &path, SafeFolder &folder)
{
    if (path.empty()) {
        folder = m_root;
        return {};
    }
    for (auto it = m_handles.begin(); it != m_handles.end(); ++it) {
        if (it->path == path) {
            m_handles.splice(m_handles.begin(), m_handles, it);
            folder = m_handles.front().folder;
            return {};
        }
    }
    FileResult result = m_root.openFolder(path, folder);
    if (result.error == FileError::NotFound) {
        result = makeMissing(path);
        if (result.ok())
            result = m_root.openFolder(path, folder);
    }
    if (!result.ok())
        return result;
    m_handles.push_front({path, folder});
    if (m_handles.size() > kHandles)
        m_handles.pop_back();
    return {};
}

FileResult TargetTree::makeMissing(const std::string &path)
{
    for (std::size_t end = path.find('/');; end = path.find('/', end + 1)) {
        const std::string part = path.substr(0, end);
        const FileResult result = m_root.mkdir(part);
        if (result.ok())
            m_impliedFolders.insert(part);
        else if (result.error != FileError::Exists)
            return result;
        if (end == std::string::npos)
            return {};
    }
}

FileResult TargetTree::makeFolder(const std::string &path, bool &created)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    created = m_impliedFolders.erase(path) > 0;
    std::string parent, leaf;
    splitLeaf(path, parent, leaf);
    SafeFolder folder;
    FileResult result = handleOf(parent, folder);
    if (!result.ok())
        return result;
    result = folder.mkdir(leaf);
    if (result.ok())
        created = true;
    else if (result.error != FileError::Exists)
        return result;
    FileStat stat;
    result = folder.stat(leaf, stat);
    if (!result.ok())
        return result;
    if (!stat.isFolder())
        return {stat.isFile() ? FileError::NotFolder : FileError::Denied, 0};
    const auto known = m_folderIds.emplace(stat.id, std::hash<std::string>()(path));
    if (stat.id != 0 && !known.second && known.first->second != std::hash<std::string>()(path))
        return {FileError::BadName, 0};
    return stillThere(folder, path);
}

FileResult TargetTree::stillThere(const SafeFolder &folder, const std::string &path) const
{
    if (!m_limits.lookUp)
        return {};
    std::string parent, leaf;
    splitLeaf(path, parent, leaf);
    SafeFolder root, found;
    FileResult result = m_limits.lookUp(root);
    if (result.ok())
        result = root.openFolder(parent, found);
    FileStat now, own;
    if (result.ok())
        result = found.stat("", now);
    if (result.ok())
        result = folder.stat("", own);
    if (result.error == FileError::NotFolder || (result.ok() && (now.id != own.id || now.volume != own.volume)))
        return {FileError::NotFound, 0};
    return result;
}

void TargetTree::giveName(const SafeFolder &folder, Placement &file)
{
    std::string parent, leaf;
    splitLeaf(file.path, parent, leaf);
    FileStat old;
    file.result = folder.rename(file.cache, leaf, false);
    file.created = file.result.ok();
    if (file.result.error == FileError::Exists) {
        file.result = folder.stat(leaf, old);
        if (file.result.ok() && old.isFolder())
            file.result = {FileError::IsFolder, 0};
        if (file.result.ok() && old.id != 0) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_fileIds.count(old.id) > 0)
                file.result = {FileError::BadName, 0};
        }
        if (file.result.ok() || file.result.error == FileError::NotFound)
            file.result = folder.rename(file.cache, leaf, true);
    }
    if (!file.result.ok())
        return;
    file.change = static_cast<std::int64_t>(file.size) - static_cast<std::int64_t>(old.size);
    const std::lock_guard<std::mutex> lock(m_mutex);
    // The number of a replaced file may come back with a new one.
    if (!file.created)
        m_fileIds.erase(old.id);
    if (file.id != 0)
        m_fileIds.insert(file.id);
}

void TargetTree::putInPlace(const SafeFolder &folder, std::vector<Placement> &files)
{
    for (Placement &file : files)
        giveName(folder, file);
    // Only now: whoever takes the folder away later takes away files that were there.
    const FileResult still = files.empty() ? FileResult() : stillThere(folder, files.front().path);
    std::uint64_t reserved = 0;
    std::int64_t change = 0;
    for (Placement &file : files) {
        if (!file.result.ok())
            continue;
        file.result = still;
        if (!still.ok() && file.created) {
            std::string parent, leaf;
            splitLeaf(file.path, parent, leaf);
            (void)folder.removeFile(leaf);
            continue;
        }
        change += file.change;
        reserved += still.ok() ? file.size : 0;
    }
    if (reserved > 0 || change != 0)
        unreserve(reserved, change);
}

void TargetTree::rememberTime(const std::string &path, std::int64_t modifiedMs)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_times.emplace_back(path, modifiedMs);
}

void TargetTree::applyTimes()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto it = m_times.rbegin(); it != m_times.rend(); ++it)
        (void)m_root.setModified(it->first, it->second * kNsPerMs);
    m_times.clear();
}

bool TargetTree::reserve(std::uint64_t bytes, std::uint64_t stored)
{
    std::lock_guard<std::mutex> lock(m_reservations->m_mutex);
    if (m_limits.addUsed && stored > 0)
        m_limits.addUsed(-static_cast<std::int64_t>(stored));
    if (m_limits.freeBytes) {
        const std::uint64_t free = m_limits.freeBytes();
        if (bytes > free || m_reservations->m_bytes > free - bytes) {
            if (m_limits.addUsed && stored > 0)
                m_limits.addUsed(static_cast<std::int64_t>(stored));
            return false;
        }
    }
    m_reserved += bytes;
    m_reservations->m_bytes += bytes;
    return true;
}

void TargetTree::unreserve(std::uint64_t bytes, std::int64_t stored)
{
    std::lock_guard<std::mutex> lock(m_reservations->m_mutex);
    if (m_limits.addUsed && stored != 0)
        m_limits.addUsed(stored);
    m_reserved -= bytes;
    m_reservations->m_bytes -= bytes;
}

std::string cacheNameOf(const std::string &leaf)
{
    const std::string suffix = kCacheSuffix;
    if (leaf.size() + suffix.size() <= kMaxNameBytes)
        return leaf + suffix;
    char hash[20];
    std::snprintf(hash, sizeof(hash), "~%016llx",
                  static_cast<unsigned long long>(BlockHash::check(leaf.data(), leaf.size(), 0)));
    std::size_t cut = kMaxNameBytes - suffix.size() - 17;
    while (cut > 0 && (static_cast<unsigned char>(leaf[cut]) & 0xC0) == 0x80)
        --cut;
    return leaf.substr(0, cut) + hash + suffix;
}

std::string cachePathOf(const std::string &path)
{
    std::string parent, leaf;
    splitLeaf(path, parent, leaf);
    return parent.empty() ? cacheNameOf(leaf) : parent + '/' + cacheNameOf(leaf);
}

namespace {

void discardOne(const SafeFolder &root, const std::string &cache, const DiscardRules &rules, Discarded &all)
{
    const std::string key = rules.key + '/' + cache;
    if (rules.active && !rules.active->take(key)) {
        ++all.inUse;
        return;
    }
    FileStat stat;
    if (root.stat(cache, stat).ok() && stat.isFile() &&
        std::max(stat.modifiedNs, stat.changedNs) <= rules.unchangedSinceNs && root.removeFile(cache).ok())
        all.bytes += stat.size;
    if (rules.active)
        rules.active->release(key);
}

void discardIn(const SafeFolder &root, const std::string &path, const DiscardRules &rules, unsigned depth,
               Discarded &all)
{
    std::vector<std::string> folders, caches;
    (void)root.list(
        path,
        [&](const SafeFolder::Entry &entry) {
            const std::string below = path.empty() ? entry.name : path + '/' + entry.name;
            if (entry.stat.isFolder())
                folders.push_back(below);
            else if (entry.stat.isFile() && isCacheName(entry.name))
                caches.push_back(below);
            return !rules.stop || !rules.stop();
        },
        false);
    for (const std::string &cache : caches) {
        if (rules.stop && rules.stop())
            return;
        discardOne(root, cache, rules, all);
    }
    if (depth < kMaxPathDepth)
        for (const std::string &folder : folders) {
            if (rules.stop && rules.stop())
                break;
            discardIn(root, folder, rules, depth + 1, all);
        }
}

} // namespace

Discarded discardPartial(const SafeFolder &root, const std::vector<std::string> &names, const DiscardRules &rules)
{
    Discarded all;
    for (const std::string &name : names) {
        if (rules.stop && rules.stop())
            break;
        if (!validComponent(name))
            continue;
        FileStat stat;
        if (root.stat(name, stat).ok() && stat.isFolder())
            discardIn(root, name, rules, 1, all);
        discardOne(root, cacheNameOf(name), rules, all);
    }
    return all;
}

Discarded discardAllPartial(const SafeFolder &root, const DiscardRules &rules)
{
    Discarded all;
    discardIn(root, "", rules, 0, all);
    return all;
}

} // namespace zpdt
