#pragma once

#include "Outcome.h"
#include "SafeFolder.h"

#include <cstdint>
#include <string>
#include <vector>

struct archive;
struct archive_entry;

namespace arkvale::service {

/// Reads the entries of an archive file (zip, tar plain or packed, 7z) one after another. Every way in which the file
/// can be wrong is an outcome: 422 "bad-archive", "encrypted" or "unsafe". Lives and is used on one thread, inside the
/// life of a Utf8Locale.
class ArchiveReader
{
public:
    struct Entry
    {
        std::vector<std::string> names; ///< of the path, checked; empty for the root itself
        bool isFolder = false;
        std::int64_t modifiedNs = -1; ///< -1 when the archive does not say
        std::uint64_t size = 0;       ///< as the archive says; 0 when it does not
    };

    ArchiveReader() = default;
    ~ArchiveReader();
    ArchiveReader(const ArchiveReader &) = delete;
    ArchiveReader &operator=(const ArchiveReader &) = delete;

    Outcome open(zpdt::SafeFile file);
    /// @p more is false at the end of the archive.
    Outcome next(Entry &entry, bool &more);
    /// The next piece of the entry's bytes and where it belongs in the file; @p size is 0 at its end.
    Outcome data(const void *&bytes, std::size_t &size, std::uint64_t &offset);

private:
    static std::int64_t readBlock(archive *pack, void *self, const void **bytes);
    static std::int64_t seekTo(archive *pack, void *self, std::int64_t offset, int whence);
    static std::int64_t skipBytes(archive *pack, void *self, std::int64_t bytes);

    Outcome damaged() const;
    Outcome nameOf(archive_entry *from, Entry &entry) const;

    archive *m_pack = nullptr;
    bool m_known = false; ///< the file is an archive of a known format
    zpdt::SafeFile m_file;
    std::uint64_t m_size = 0;
    std::uint64_t m_position = 0;
    std::vector<char> m_block;
};

} // namespace arkvale::service
