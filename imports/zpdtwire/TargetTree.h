#pragma once

#include "BufferBudget.h"
#include "SafeFolder.h"
#include "WireTypes.h"

#include <functional>
#include <limits>
#include <list>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace zpdt {

/// How much all streams into one place have set aside together. Any thread.
class Reservations
{
    friend class TargetTree;
    std::mutex m_mutex; ///< held while the limits' functions are asked, so that
                        ///< no two streams are told the same bytes
    std::uint64_t m_bytes = 0;
};

/// The folder that one stream writes into: handles of the folders in use, which folders and files the stream made,
/// and how much it may store. Disk threads, any number at once.
class TargetTree
{
public:
    struct Limits
    {
        std::function<std::uint64_t()> freeBytes;  ///< besides what the disk allows; empty: no limit
        std::function<void(std::int64_t)> addUsed; ///< change of stored bytes; may be empty
        /// Shared by all streams that freeBytes counts together; null: this stream
        /// alone.
        std::shared_ptr<Reservations> reservations;
        /// Opens the root anew by its path and makes nothing; empty: nobody takes
        /// the folder away.
        std::function<FileResult(SafeFolder &)> lookUp;
    };

    TargetTree(SafeFolder root, Limits limits);
    ~TargetTree();
    TargetTree(const TargetTree &) = delete;
    TargetTree &operator=(const TargetTree &) = delete;

    const SafeFolder &root() const { return m_root; }

    /// The folder that holds @p path, made with all above it when it is missing, and the last name of the path.
    FileResult parentOf(const std::string &path, SafeFolder &folder, std::string &leaf);
    /// Makes a folder. BadName when the disk takes its name for another one that the stream already made.
    FileResult makeFolder(const std::string &path, bool &created);

    /// A finished partial file, and how it got its name.
    struct Placement
    {
        std::string cache; ///< its name in the folder
        std::string path;
        std::uint64_t size = 0;
        std::uint64_t id = 0; ///< number of the partial file
        FileResult result;
        bool created = false;    ///< false when a file was replaced
        std::int64_t change = 0; ///< of the stored bytes
    };
    /// Gives finished partial files in @p folder the last names of their paths. BadName when the disk takes the name
    /// for another one of this stream, NotFound when the folder was taken away meanwhile. What was reserved for the
    /// files, their sizes, becomes stored where the result is good.
    void putInPlace(const SafeFolder &folder, std::vector<Placement> &files);
    /// NotFound when @p folder, which holds @p path, is no longer what its path
    /// leads to.
    FileResult stillThere(const SafeFolder &folder, const std::string &path) const;
    /// Folder times are set last, when nothing is written into the folders any more.
    void rememberTime(const std::string &path, std::int64_t modifiedMs);
    void applyTimes();

    /// Sets aside what a file will need, in place of @p stored bytes that count
    /// as used until now. False, with nothing changed, when the quota does not
    /// allow it.
    bool reserve(std::uint64_t bytes, std::uint64_t stored = 0);
    /// Gives @p bytes of what was set aside back, @p stored of which are on the
    /// disk now.
    void unreserve(std::uint64_t bytes, std::int64_t stored = 0);

private:
    struct Handle
    {
        std::string path;
        SafeFolder folder;
    };
    FileResult handleOf(const std::string &path, SafeFolder &folder);
    FileResult makeMissing(const std::string &path);
    void giveName(const SafeFolder &folder, Placement &file);

    const SafeFolder m_root;
    const Limits m_limits;
    std::mutex m_mutex;                     ///< everything below
    std::list<Handle> m_handles;            ///< most recent first
    std::set<std::string> m_impliedFolders; ///< made for something in them, not yet announced themselves
    std::unordered_map<std::uint64_t, std::size_t> m_folderIds; ///< number and hash of its path
    std::unordered_set<std::uint64_t> m_fileIds;
    std::vector<std::pair<std::string, std::int64_t>> m_times;

    const std::shared_ptr<Reservations> m_reservations;
    std::uint64_t m_reserved = 0; ///< of this stream; guarded by the mutex of m_reservations
};

/// Name of the partial file of a target; shortened, and still the target's own, when the name is long.
std::string cacheNameOf(const std::string &leaf);

/// Path of the partial file of @p path.
std::string cachePathOf(const std::string &path);

struct DiscardRules
{
    ActiveFiles *active = nullptr; ///< partial files that a stream is writing stay
    std::string key;               ///< of the root in @p active
    std::int64_t unchangedSinceNs = std::numeric_limits<std::int64_t>::max(); ///< what changed later stays
    std::function<bool()> stop;
};

struct Discarded
{
    std::uint64_t bytes = 0; ///< of what was removed
    std::size_t inUse = 0;   ///< partial files that a stream is writing
};

/// Removes the partial files of the given files and of everything in the given folders; finished files stay.
Discarded discardPartial(const SafeFolder &root, const std::vector<std::string> &names, const DiscardRules &rules = {});
/// The same for everything in @p root.
Discarded discardAllPartial(const SafeFolder &root, const DiscardRules &rules);

} // namespace zpdt
