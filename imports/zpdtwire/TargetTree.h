#pragma once

#include "SafeFolder.h"
#include "WireTypes.h"

#include <functional>
#include <list>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace zpdt {

/// The folder that one stream writes into: handles of the folders in use, which folders and files the stream made,
/// and how much it may store. Disk threads, any number at once.
class TargetTree
{
public:
    struct Limits
    {
        std::function<std::uint64_t()> freeBytes;  ///< besides what the disk allows; empty: no limit
        std::function<void(std::int64_t)> addUsed; ///< change of stored bytes; may be empty
    };

    TargetTree(SafeFolder root, Limits limits);

    const SafeFolder &root() const { return m_root; }

    /// The folder that holds @p path, made with all above it when it is missing, and the last name of the path.
    FileResult parentOf(const std::string &path, SafeFolder &folder, std::string &leaf);
    /// Makes a folder. BadName when the disk takes its name for another one that the stream already made.
    FileResult makeFolder(const std::string &path, bool &created);

    /// Gives a finished partial file its name in @p folder; false in @p created when a file was replaced. BadName
    /// when the disk takes the name for another one of this stream. Tells addUsed.
    FileResult putInPlace(const SafeFolder &folder, const std::string &cache, const std::string &leaf,
                          std::uint64_t size, bool &created);
    /// Folder times are set last, when nothing is written into the folders any more.
    void rememberTime(const std::string &path, std::int64_t modifiedMs);
    void applyTimes();

    /// Sets aside what a file will need. False when the quota does not allow it.
    bool reserve(std::uint64_t bytes);
    void unreserve(std::uint64_t bytes);

private:
    struct Handle
    {
        std::string path;
        SafeFolder folder;
    };
    FileResult handleOf(const std::string &path, SafeFolder &folder);
    FileResult makeMissing(const std::string &path);

    const SafeFolder m_root;
    const Limits m_limits;
    std::mutex m_mutex;                     ///< everything below
    std::list<Handle> m_handles;            ///< most recent first
    std::set<std::string> m_impliedFolders; ///< made for something in them, not yet announced themselves
    std::unordered_map<std::uint64_t, std::size_t> m_folderIds; ///< number and hash of its path
    std::unordered_set<std::uint64_t> m_fileIds;
    std::vector<std::pair<std::string, std::int64_t>> m_times;
    std::uint64_t m_reserved = 0;
};

/// Name of the partial file of a target; shortened, and still the target's own, when the name is long.
std::string cacheNameOf(const std::string &leaf);

/// Removes the partial files of the given files and of everything in the given folders.
void discardPartial(const SafeFolder &root, const std::vector<std::string> &names);

} // namespace zpdt
