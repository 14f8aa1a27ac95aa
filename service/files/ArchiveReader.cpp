#include "ArchiveReader.h"

#include "NameRules.h"

#include <QString>
#include <QTextCodec>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include <archive.h>
#include <archive_entry.h>

namespace arkvale::service {

namespace {

constexpr std::size_t kBlock = 256u << 10; // bytes

Outcome unsafe(const std::string &what)
{
    return Outcome::failure(422, "unsafe", "The archive holds " + what + ", and is not unpacked.");
}

/// Old archives write names in the encoding of the machine that made them, without saying which.
std::string guessedUtf8(const std::string &raw)
{
    if (zpdt::isValidUtf8(raw))
        return raw;
    QTextCodec *codec = QTextCodec::codecForName("GB18030");
    if (codec) {
        QTextCodec::ConverterState state(QTextCodec::ConvertInvalidToNull);
        const QString text = codec->toUnicode(raw.data(), static_cast<int>(raw.size()), &state);
        if (state.invalidChars == 0 && state.remainingChars == 0)
            return text.toStdString();
    }
    return QString::fromLatin1(raw.data(), static_cast<int>(raw.size())).toStdString();
}

} // namespace

ArchiveReader::~ArchiveReader()
{
    if (m_pack)
        archive_read_free(m_pack);
}

std::int64_t ArchiveReader::readBlock(archive *pack, void *self, const void **bytes)
{
    auto *reader = static_cast<ArchiveReader *>(self);
    std::size_t got = 0;
    const zpdt::FileResult result =
        reader->m_file.readAt(reader->m_position, reader->m_block.data(), reader->m_block.size(), got);
    if (!result.ok()) {
        archive_set_error(pack, EIO, "%s", result.message().c_str());
        return -1;
    }
    reader->m_position += got;
    *bytes = reader->m_block.data();
    return static_cast<std::int64_t>(got);
}

std::int64_t ArchiveReader::seekTo(archive *, void *self, std::int64_t offset, int whence)
{
    auto *reader = static_cast<ArchiveReader *>(self);
    const auto size = static_cast<std::int64_t>(reader->m_size);
    const std::int64_t from = whence == SEEK_SET   ? 0
                              : whence == SEEK_CUR ? static_cast<std::int64_t>(reader->m_position)
                                                   : size;
    if (offset < -from || offset > size - from)
        return ARCHIVE_FATAL;
    reader->m_position = static_cast<std::uint64_t>(from + offset);
    return from + offset;
}

std::int64_t ArchiveReader::skipBytes(archive *, void *self, std::int64_t bytes)
{
    auto *reader = static_cast<ArchiveReader *>(self);
    const std::uint64_t left = reader->m_size - std::min(reader->m_size, reader->m_position);
    const std::uint64_t skipped = std::min(left, static_cast<std::uint64_t>(std::max<std::int64_t>(0, bytes)));
    reader->m_position += skipped;
    return static_cast<std::int64_t>(skipped);
}

Outcome ArchiveReader::damaged() const
{
    // The library does not stand that question before it knows the format.
    if (m_known && archive_read_has_encrypted_entries(m_pack) > 0)
        return Outcome::failure(422, "encrypted", "The archive is protected with a password.");
    const char *words = archive_error_string(m_pack);
    return Outcome::failure(422, "bad-archive",
                            std::string("The archive cannot be read: ") + (words ? words : "it is damaged") + ".");
}

Outcome ArchiveReader::open(zpdt::SafeFile file)
{
    m_file = std::move(file);
    zpdt::FileStat stat;
    const zpdt::FileResult result = m_file.stat(stat);
    if (!result.ok())
        return Outcome::of(result, "archive");
    m_size = stat.size;
    m_block.resize(kBlock);
    m_pack = archive_read_new();
    if (!m_pack)
        return Outcome::failure(500, "memory", "The service ran out of memory.");
    archive_read_support_format_zip(m_pack);
    archive_read_support_format_tar(m_pack);
    archive_read_support_format_7zip(m_pack);
    // No filter that would start a program.
    archive_read_support_filter_gzip(m_pack);
    archive_read_support_filter_bzip2(m_pack);
    archive_read_support_filter_xz(m_pack);
    archive_read_support_filter_zstd(m_pack);
    archive_read_set_read_callback(m_pack, [](archive *pack, void *self, const void **bytes) -> la_ssize_t {
        return static_cast<la_ssize_t>(readBlock(pack, self, bytes));
    });
    archive_read_set_seek_callback(m_pack, [](archive *pack, void *self, la_int64_t offset, int whence) -> la_int64_t {
        return seekTo(pack, self, offset, whence);
    });
    archive_read_set_skip_callback(
        m_pack, [](archive *pack, void *self, la_int64_t bytes) -> la_int64_t { return skipBytes(pack, self, bytes); });
    archive_read_set_callback_data(m_pack, this);
    m_known = archive_read_open1(m_pack) >= ARCHIVE_WARN;
    return m_known ? Outcome() : damaged();
}

Outcome ArchiveReader::nameOf(archive_entry *from, Entry &entry) const
{
    const char *raw = archive_entry_pathname(from);
    std::string path = raw ? raw : "";
    if (path.empty())
        return Outcome::failure(422, "bad-archive", "The archive holds an entry without a name.");
    path = guessedUtf8(path);
    if (path[0] == '/')
        return unsafe("an absolute path");
    // "./name" is how many programs write every entry of a tar.
    while (path.compare(0, 2, "./") == 0)
        path.erase(0, 2);
    entry.names.clear();
    if (path.empty() || path == ".")
        return {};
    if (!zpdt::splitPath(path, entry.names))
        return unsafe("a path that leaves the folder or a name that cannot be stored");
    return {};
}

Outcome ArchiveReader::next(Entry &entry, bool &more)
{
    archive_entry *found = nullptr;
    const int code = archive_read_next_header(m_pack, &found);
    more = code != ARCHIVE_EOF;
    if (!more)
        return {};
    if (code < ARCHIVE_WARN)
        return damaged();
    if (archive_entry_is_encrypted(found))
        return Outcome::failure(422, "encrypted", "The archive is protected with a password.");
    const auto type = archive_entry_filetype(found);
    if (archive_entry_hardlink(found) || archive_entry_symlink(found) || type == AE_IFLNK)
        return unsafe("a link");
    if (type != AE_IFREG && type != AE_IFDIR)
        return unsafe("something that is neither a file nor a folder");
    entry.isFolder = type == AE_IFDIR;
    entry.modifiedNs = -1;
    // Outside of what nanoseconds can count, a time is as good as none.
    const la_int64_t seconds = archive_entry_mtime_is_set(found) ? archive_entry_mtime(found) : -1;
    if (seconds >= 0 && seconds < 9000000000)
        entry.modifiedNs = seconds * 1000000000 + archive_entry_mtime_nsec(found) % 1000000000;
    entry.size = archive_entry_size_is_set(found) && archive_entry_size(found) > 0
                     ? static_cast<std::uint64_t>(archive_entry_size(found))
                     : 0;
    return nameOf(found, entry);
}

Outcome ArchiveReader::data(const void *&bytes, std::size_t &size, std::uint64_t &offset)
{
    la_int64_t at = 0;
    bytes = nullptr;
    size = 0;
    const int code = archive_read_data_block(m_pack, &bytes, &size, &at);
    if (code == ARCHIVE_EOF) {
        size = 0;
        return {};
    }
    // A warning about the bytes of an entry means that they are not what was packed.
    if (code != ARCHIVE_OK || at < 0)
        return damaged();
    offset = static_cast<std::uint64_t>(at);
    return {};
}

} // namespace arkvale::service
