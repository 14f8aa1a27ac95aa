#include "CompressJob.h"

#include "Drive.h"
#include "NameRules.h"
#include "TreeWalk.h"
#include "Utf8Locale.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <archive.h>
#include <archive_entry.h>

namespace arkvale::service {

using zpdt::FileError;
using zpdt::FileResult;
using zpdt::FileStat;
using zpdt::joinPath;

namespace {

constexpr std::size_t kBlock = 1u << 20; // bytes
constexpr char kFileName[] = "archive";

/// Files that are packed already: packing them again costs time and gains nothing.
bool isPacked(const std::string &name)
{
    const std::size_t dot = name.rfind('.');
    std::string suffix = dot == std::string::npos ? std::string() : name.substr(dot + 1);
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; });
    for (const char *packed : {"zip", "7z",  "gz",  "xz",  "bz2", "zst", "rar", "jpg",  "jpeg", "png",  "webp",
                               "mp4", "mov", "mkv", "avi", "mp3", "aac", "ogg", "flac", "docx", "xlsx", "pptx"}) {
        if (suffix == packed)
            return true;
    }
    return false;
}

} // namespace

/// The library's archive object and the file that it writes into.
struct CompressJob::Writer
{
    explicit Writer(QuotaCharge &charge_)
        : charge(charge_)
    {
    }
    ~Writer()
    {
        if (pack)
            archive_write_free(pack);
    }
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;

    static la_ssize_t write(archive *pack, void *self, const void *data, size_t size)
    {
        auto *writer = static_cast<Writer *>(self);
        if (!writer->charge.charge(size))
            writer->failure = Outcome::quotaExceeded();
        else
            writer->failure = Outcome::of(writer->file.writeAt(writer->size, data, size), "archive");
        if (!writer->failure.ok()) {
            archive_set_error(pack, EIO, "not written");
            return -1;
        }
        writer->size += size;
        return static_cast<la_ssize_t>(size);
    }

    Outcome open(const zpdt::SafeFolder &work)
    {
        const FileResult result = work.openWrite(kFileName, {true, true, false}, file);
        if (!result.ok())
            return Outcome::of(result, "archive");
        pack = archive_write_new();
        if (!pack)
            return Outcome::failure(500, "memory", "The service ran out of memory.");
        archive_write_set_format_zip(pack);
        archive_write_set_bytes_per_block(pack, static_cast<int>(kBlock));
        // Without this the file would be filled up to a whole block.
        archive_write_set_bytes_in_last_block(pack, 1);
        return judge(archive_write_open(pack, this, nullptr, write, nullptr));
    }

    Outcome judge(la_ssize_t code) const
    {
        if (code >= ARCHIVE_WARN)
            return {};
        if (!failure.ok())
            return failure;
        const char *words = archive_error_string(pack);
        return Outcome::failure(500, "archive", std::string("The archive cannot be made: ") + (words ? words : "?"));
    }

    Outcome begin(const std::string &name, const FileStat &stat)
    {
        const std::unique_ptr<archive_entry, void (*)(archive_entry *)> entry(archive_entry_new(), archive_entry_free);
        archive_entry_set_pathname(entry.get(), stat.isFolder() ? (name + '/').c_str() : name.c_str());
        archive_entry_set_filetype(entry.get(), stat.isFolder() ? AE_IFDIR : AE_IFREG);
        archive_entry_set_perm(entry.get(), stat.isFolder() ? 0755 : 0644);
        archive_entry_set_size(entry.get(), static_cast<la_int64_t>(stat.size));
        archive_entry_set_mtime(entry.get(), static_cast<time_t>(stat.modifiedNs / 1000000000), 0);
        if (isPacked(name))
            archive_write_zip_set_compression_store(pack);
        else
            archive_write_zip_set_compression_deflate(pack);
        return judge(archive_write_header(pack, entry.get()));
    }

    Outcome add(const zpdt::SafeFolder &folder, const std::string &path, const std::string &name,
                const std::atomic<bool> &cancelled)
    {
        zpdt::SafeFile source;
        FileStat stat;
        FileResult result = folder.openRead(path, source);
        if (result.ok())
            result = source.stat(stat);
        if (!result.ok())
            return Outcome::of(result, "/" + path);
        Outcome outcome = begin(name, stat);
        // A file that grows meanwhile is packed as long as it was when it was opened; one that shrinks, as it is.
        for (std::uint64_t done = 0; outcome.ok() && done < stat.size;) {
            if (cancelled)
                return Outcome::cancelled();
            std::size_t got = 0;
            result = source.readAt(done, block.data(), std::min<std::uint64_t>(block.size(), stat.size - done), got);
            if (!result.ok())
                return Outcome::of(result, "/" + path);
            if (got == 0)
                break;
            outcome = judge(archive_write_data(pack, block.data(), got));
            done += got;
        }
        return outcome;
    }

    Outcome finish()
    {
        Outcome outcome = judge(archive_write_close(pack));
        if (outcome.ok())
            outcome = Outcome::of(file.sync(), "archive");
        if (outcome.ok())
            outcome = Outcome::of(file.close(), "archive");
        return outcome;
    }

    archive *pack = nullptr;
    zpdt::SafeFile file;
    std::uint64_t size = 0;
    QuotaCharge &charge;
    Outcome failure;
    std::vector<char> block = std::vector<char>(kBlock);
};

CompressJob::CompressJob(UserHome home, std::vector<std::string> sources, std::string target)
    : DriveJob(std::move(home), std::move(target))
    , m_sources(std::move(sources))
{
}

Outcome CompressJob::check()
{
    m_items.clear();
    std::vector<std::string> names;
    Outcome outcome = splitDrive(m_target, names);
    if (!outcome.ok())
        return outcome;
    // A target that ends with '/' would name a file ".zip" of the folder above.
    if (names.empty() || m_target.back() == '/' || !zpdt::validComponent(names.back() + ".zip"))
        return Outcome::failure(400, "bad-name", "This is not a name for an archive.");
    m_name = names.back() + ".zip";
    names.pop_back();
    m_folder = joinPath(names);
    FileStat stat;
    FileResult result = m_home.folder.stat(m_folder, stat);
    if (result.ok() && !stat.isFolder())
        result.error = FileError::NotFolder;
    if (!result.ok())
        return Outcome::of(result, drivePath(names));
    if (m_sources.empty())
        return Outcome::failure(400, "nothing", "There is nothing to compress.");
    for (const std::string &source : m_sources) {
        outcome = findEntry(m_home, source, names, stat);
        if (!outcome.ok())
            return outcome;
        if (names.empty())
            return Outcome::failure(403, "home", "The home folder itself cannot be compressed.");
        const std::string name = freeName(names.back(), stat.isFolder(), [this](const std::string &wanted) {
            return std::any_of(m_items.begin(), m_items.end(), [&](const Item &item) { return item.name == wanted; });
        });
        m_items.push_back({joinPath(names), name, stat});
    }
    return {};
}

Outcome CompressJob::make(const zpdt::SafeFolder &work, const std::atomic<bool> &cancelled, QuotaCharge &charge)
{
    const Utf8Locale locale;
    Writer writer(charge);
    Outcome outcome = writer.open(work);
    if (outcome.ok())
        outcome = pack(writer, cancelled);
    if (outcome.ok())
        outcome = writer.finish();
    return outcome;
}

Outcome CompressJob::pack(Writer &writer, const std::atomic<bool> &cancelled) const
{
    for (const Item &item : m_items) {
        Outcome outcome = item.stat.isFolder() ? writer.begin(item.name, item.stat)
                                               : writer.add(m_home.folder, item.from, item.name, cancelled);
        if (!outcome.ok())
            return outcome;
        if (!item.stat.isFolder())
            continue;
        const FileResult result = walkTree(m_home.folder, item.from, false, [&](const WalkEntry &entry) {
            const std::string name = item.name + entry.path.substr(item.from.size());
            if (cancelled)
                outcome = Outcome::cancelled();
            else if (entry.stat.isFolder())
                outcome = writer.begin(name, entry.stat);
            else
                outcome = writer.add(m_home.folder, entry.path, name, cancelled);
            if (outcome.status == 404)
                outcome = Outcome(); // Removed since it was listed.
            return outcome.ok() ? WalkStep::Go : WalkStep::Stop;
        });
        if (!outcome.ok())
            return outcome;
        if (!result.ok())
            return Outcome::of(result, "/" + item.from);
    }
    return {};
}

Outcome CompressJob::publish(const zpdt::SafeFolder &work) const
{
    zpdt::SafeFolder target;
    FileResult result = m_home.folder.openFolder(m_folder, target);
    std::string name = m_name;
    if (result.ok())
        result = moveNumbered(work, kFileName, target, name, false);
    return Outcome::of(result, m_target + ".zip");
}

} // namespace arkvale::service
