#include "TargetTree.h"

#include "BlockHash.h"
#include "NameRules.h"
#include "TreeScan.h"

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
{
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
    return {};
}

FileResult TargetTree::putInPlace(const SafeFolder &folder, const std::string &cache, const std::string &leaf,
                                  std::uint64_t size, bool &created)
{
    FileStat old;
    const FileResult there = folder.stat(leaf, old);
    created = there.error == FileError::NotFound;
    if (!there.ok() && !created)
        return there;
    FileStat own;
    FileResult result = folder.stat(cache, own);
    if (!result.ok())
        return result;
    if (!created) {
        if (old.isFolder())
            return {FileError::IsFolder, 0};
        std::lock_guard<std::mutex> lock(m_mutex);
        if (old.id != 0 && m_fileIds.count(old.id) > 0)
            return {FileError::BadName, 0};
    }
    result = folder.rename(cache, leaf, true);
    if (!result.ok())
        return result;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        // The number of a replaced file may come back with a new one.
        m_fileIds.erase(old.id);
        if (own.id != 0)
            m_fileIds.insert(own.id);
    }
    if (m_limits.addUsed)
        m_limits.addUsed(static_cast<std::int64_t>(size) - static_cast<std::int64_t>(created ? 0 : old.size));
    return {};
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

bool TargetTree::reserve(std::uint64_t bytes)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_limits.freeBytes) {
        const std::uint64_t free = m_limits.freeBytes();
        if (bytes > free || m_reserved > free - bytes)
            return false;
    }
    m_reserved += bytes;
    return true;
}

void TargetTree::unreserve(std::uint64_t bytes)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_reserved -= bytes;
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

namespace {

void discardIn(const SafeFolder &root, const std::string &path, unsigned depth)
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
            return true;
        },
        false);
    for (const std::string &cache : caches)
        (void)root.removeFile(cache);
    if (depth < kMaxPathDepth)
        for (const std::string &folder : folders)
            discardIn(root, folder, depth + 1);
}

} // namespace

void discardPartial(const SafeFolder &root, const std::vector<std::string> &names)
{
    for (const std::string &name : names) {
        if (!validComponent(name))
            continue;
        FileStat stat;
        if (root.stat(name, stat).ok() && stat.isFolder())
            discardIn(root, name, 1);
        (void)root.removeFile(cacheNameOf(name));
    }
}

} // namespace zpdt
