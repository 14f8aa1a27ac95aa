#include "DecompressJob.h"

#include "ArchiveReader.h"
#include "Drive.h"
#include "NameRules.h"
#include "TreeWalk.h"
#include "Utf8Locale.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace arkvale::service {

using zpdt::FileError;
using zpdt::FileResult;
using zpdt::FileStat;
using zpdt::joinPath;

namespace {

Outcome tooLarge()
{
    return Outcome::failure(413, "too-large", "The archive is larger unpacked than the service allows.");
}

/// Unpacks into a work folder and counts.
class Unpacker
{
public:
    Unpacker(const zpdt::SafeFolder &work, const DecompressJob::Limits &limits, std::uint64_t mostBytes,
             QuotaCharge &charge, const std::atomic<bool> &cancelled)
        : m_work(work)
        , m_limits(limits)
        , m_mostBytes(mostBytes)
        , m_charge(charge)
        , m_cancelled(cancelled)
    {
    }

    Outcome run(ArchiveReader &reader)
    {
        for (;;) {
            ArchiveReader::Entry entry;
            bool more = false;
            Outcome outcome = m_cancelled ? Outcome::cancelled() : reader.next(entry, more);
            if (!outcome.ok())
                return outcome;
            if (!more)
                break;
            if (++m_entries > m_limits.entries || entry.names.size() > m_limits.depth)
                return tooLarge();
            if (entry.names.empty())
                continue;
            outcome = entry.isFolder ? makeFolder(entry) : writeFile(reader, entry);
            if (!outcome.ok())
                return outcome;
        }
        if (m_entries == 0)
            return Outcome::failure(422, "bad-archive", "The archive is empty.");
        // The innermost first: giving a folder its time is the last thing that happens to it.
        for (auto folder = m_times.rbegin(); folder != m_times.rend(); ++folder)
            m_work.setModified(folder->first, folder->second);
        return {};
    }

private:
    Outcome clash(const FileResult &result, const std::string &path) const
    {
        // A file where another entry needs a folder, or the other way round.
        if (result.error == FileError::NotFolder || result.error == FileError::IsFolder ||
            result.error == FileError::Exists)
            return Outcome::failure(422, "bad-archive", "The archive holds a file and a folder of one name.");
        if (result.error == FileError::BadName)
            return Outcome::failure(422, "unsafe", "The archive holds a name that cannot be stored.");
        return Outcome::of(result, "/" + path);
    }

    Outcome makeFolder(const ArchiveReader::Entry &entry)
    {
        const std::string path = joinPath(entry.names);
        const FileResult result = m_work.mkdirs(path);
        if (!result.ok())
            return clash(result, path);
        if (entry.modifiedNs >= 0)
            m_times.emplace_back(path, entry.modifiedNs);
        return {};
    }

    Outcome grow(std::uint64_t &size, std::uint64_t end)
    {
        if (end <= size)
            return {};
        if (end - size > m_mostBytes - m_bytes)
            return tooLarge();
        if (!m_charge.charge(end - size))
            return Outcome::quotaExceeded();
        m_bytes += end - size;
        size = end;
        return {};
    }

    Outcome writeFile(ArchiveReader &reader, const ArchiveReader::Entry &entry)
    {
        const std::string path = joinPath(entry.names);
        std::vector<std::string> parent = entry.names;
        parent.pop_back();
        FileResult result = m_work.mkdirs(joinPath(parent));
        zpdt::SafeFile file;
        // An entry that comes again replaces the one before, as in an archive that was added to.
        if (result.ok())
            result = m_work.openWrite(path, {true, false, true}, file);
        if (!result.ok())
            return clash(result, path);
        std::uint64_t size = 0;
        for (;;) {
            const void *bytes = nullptr;
            std::size_t got = 0;
            std::uint64_t offset = 0;
            Outcome outcome = m_cancelled ? Outcome::cancelled() : reader.data(bytes, got, offset);
            if (!outcome.ok())
                return outcome;
            if (got == 0)
                break;
            if (offset > m_limits.bytes)
                return tooLarge();
            outcome = grow(size, offset + got);
            if (!outcome.ok())
                return outcome;
            result = file.writeAt(offset, bytes, got);
            if (!result.ok())
                return Outcome::of(result, "/" + path);
        }
        // A hole at the end of a sparse file has no bytes in the archive.
        if (entry.size > size) {
            Outcome outcome = grow(size, std::min(entry.size, m_limits.bytes + 1));
            if (!outcome.ok())
                return outcome;
            result = file.truncate(size);
        }
        if (result.ok() && entry.modifiedNs >= 0)
            file.setModified(entry.modifiedNs);
        if (result.ok())
            result = file.close();
        return Outcome::of(result, "/" + path);
    }

    const zpdt::SafeFolder &m_work;
    const DecompressJob::Limits &m_limits;
    const std::uint64_t m_mostBytes;
    QuotaCharge &m_charge;
    const std::atomic<bool> &m_cancelled;
    std::uint64_t m_entries = 0;
    std::uint64_t m_bytes = 0;
    std::vector<std::pair<std::string, std::int64_t>> m_times;
};

} // namespace

DecompressJob::DecompressJob(UserHome home, std::string source, std::string target, Limits limits)
    : DriveJob(std::move(home), std::move(target))
    , m_source(std::move(source))
    , m_limits(limits)
{
}

Outcome DecompressJob::check()
{
    std::vector<std::string> names;
    Outcome outcome = splitDrive(m_source, names);
    if (!outcome.ok())
        return outcome;
    m_from = joinPath(names);
    FileStat stat;
    FileResult result = m_home.folder.stat(m_from, stat);
    if (result.ok() && stat.isFolder())
        result.error = FileError::IsFolder;
    else if (result.ok() && !stat.isFile())
        result.error = FileError::NotFound;
    if (!result.ok())
        return Outcome::of(result, m_source);
    outcome = splitDrive(m_target, names);
    if (!outcome.ok())
        return outcome;
    m_folder = joinPath(names);
    result = m_home.folder.stat(m_folder, stat);
    if (result.error == FileError::NotFound) {
        names.pop_back();
        result = m_home.folder.stat(joinPath(names), stat);
    }
    if (result.ok() && !stat.isFolder())
        result.error = FileError::NotFolder;
    return Outcome::of(result, m_target);
}

Outcome DecompressJob::make(const zpdt::SafeFolder &work, const std::atomic<bool> &cancelled, QuotaCharge &charge)
{
    zpdt::SafeFile file;
    FileStat stat;
    FileResult result = m_home.folder.openRead(m_from, file);
    if (result.ok())
        result = file.stat(stat);
    if (!result.ok())
        return Outcome::of(result, m_source);
    const std::uint64_t byRatio = std::max(m_limits.freeBytes, std::min(m_limits.bytes, stat.size * m_limits.ratio));
    const Utf8Locale locale;
    ArchiveReader reader;
    Outcome outcome = reader.open(std::move(file));
    if (!outcome.ok())
        return outcome;
    return Unpacker(work, m_limits, std::min(m_limits.bytes, byRatio), charge, cancelled).run(reader);
}

Outcome DecompressJob::publish(const zpdt::SafeFolder &work) const
{
    FileResult result = m_home.folder.mkdir(m_folder);
    const bool made = result.ok();
    if (!made && result.error != FileError::Exists)
        return Outcome::of(result, m_target);
    zpdt::SafeFolder target;
    result = m_home.folder.openFolder(m_folder, target);
    std::vector<zpdt::SafeFolder::Entry> entries;
    if (result.ok())
        result = work.list("", [&](const zpdt::SafeFolder::Entry &entry) {
            entries.push_back(entry);
            return true;
        });
    if (!result.ok())
        entries.clear();
    std::vector<std::string> published;
    for (const zpdt::SafeFolder::Entry &entry : entries) {
        std::string name = entry.name;
        result = moveNumbered(work, entry.name, target, name, entry.stat.isFolder());
        if (!result.ok())
            break;
        published.push_back(name);
    }
    if (result.ok())
        return {};
    for (const std::string &name : published)
        m_home.storeroom->discard(target, name);
    target = zpdt::SafeFolder();
    if (made)
        m_home.folder.removeEmptyFolder(m_folder);
    return Outcome::of(result, m_target);
}

} // namespace arkvale::service
