#pragma once

#include "SafeFolder.h"
#include "WireTypes.h"

#include <deque>
#include <string>
#include <vector>

namespace zpdt {

/// Ending of partial files. Files of that name are never sent and never a target.
extern const char kCacheSuffix[];
bool isCacheName(const std::string &name);

struct ScanEntry
{
    ItemInfo info;
    Error error = Error::None; ///< the entry cannot be sent, for this reason
    std::string text;
};

/// Error class for what a disk said.
Error errorOf(const FileResult &result);

constexpr std::int64_t kNsPerMs = 1000000;
std::int64_t toMs(std::int64_t ns);

/// Finds the files and folders of a stream piece by piece, folders before what is in them. Links and special files are
/// reported as errors. Disk threads, one at a time.
class TreeScan
{
public:
    /// @param names entries of @p root; none: everything in it
    /// @param excludedSuffixes files inside folders that are left out; case counts
    TreeScan(SafeFolder root, std::vector<std::string> names, std::vector<std::string> excludedSuffixes);

    /// Appends about @p most entries, more when one folder holds more. False when there is nothing further.
    bool step(std::size_t most, std::vector<ScanEntry> &entries);

private:
    struct Folder
    {
        std::string path;
        std::uint32_t root;
        unsigned depth;
    };
    void add(const std::string &path, std::uint32_t root, unsigned depth, const FileStat &stat,
             std::vector<ScanEntry> &entries);
    void list(const Folder &folder, std::vector<ScanEntry> &entries);
    bool excluded(const std::string &name) const;

    SafeFolder m_root;
    std::vector<std::string> m_names;
    std::vector<std::string> m_excluded;
    std::size_t m_nextName = 0;
    std::vector<Folder> m_folders;
};

} // namespace zpdt
