#include "TreeScan.h"

#include "Messages.h"
#include "NameRules.h"

#include <algorithm>

namespace zpdt {

const char kCacheSuffix[] = ".ZPDT.cache";

namespace {

bool endsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string lowered(std::string text)
{
    for (char &c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

/// For texts that travel: what is not well-formed becomes question marks.
std::string readable(const std::string &name)
{
    if (isValidUtf8(name))
        return name;
    std::string text = name;
    for (char &c : text)
        if (static_cast<unsigned char>(c) >= 0x80)
            c = '?';
    return text;
}

} // namespace

bool isCacheName(const std::string &name)
{
    // On a disk that does not tell cases apart any spelling is the same file.
    return endsWith(lowered(name), lowered(kCacheSuffix));
}

Error errorOf(const FileResult &result)
{
    switch (result.error) {
    case FileError::None:
        return Error::None;
    case FileError::NotFound:
        return Error::NotFound;
    case FileError::NoSpace:
        return Error::NoSpace;
    case FileError::BadName:
    case FileError::Exists:
    case FileError::IsFolder:
    case FileError::NotFolder:
    case FileError::NotEmpty:
        return Error::BadName;
    case FileError::Denied:
        return Error::Refused;
    case FileError::Other:
        break;
    }
    return Error::LocalFile;
}

std::int64_t toMs(std::int64_t ns)
{
    return ns >= 0 ? ns / kNsPerMs : -((-ns + kNsPerMs - 1) / kNsPerMs);
}

TreeScan::TreeScan(SafeFolder root, std::vector<std::string> names, std::vector<std::string> excludedSuffixes)
    : m_root(std::move(root))
    , m_names(std::move(names))
    , m_excluded(std::move(excludedSuffixes))
{
    if (m_names.empty())
        m_folders.push_back({"", 0, 0});
}

bool TreeScan::step(std::size_t most, std::vector<ScanEntry> &entries)
{
    const std::size_t enough = entries.size() + most;
    while (entries.size() < enough) {
        if (!m_folders.empty()) {
            const Folder folder = std::move(m_folders.back());
            m_folders.pop_back();
            list(folder, entries);
            continue;
        }
        if (m_nextName == m_names.size())
            return false;
        const auto root = static_cast<std::uint32_t>(m_nextName);
        const std::string &name = m_names[m_nextName++];
        FileStat stat;
        FileResult found{FileError::BadName, 0};
        if (validComponent(name) && !isCacheName(name))
            found = m_root.stat(name, stat);
        if (found.ok()) {
            add(name, root, 0, stat, entries);
        } else {
            ScanEntry entry;
            entry.info.path = readable(name);
            entry.info.root = root;
            entry.error = errorOf(found);
            entry.text = found.message();
            entries.push_back(std::move(entry));
        }
    }
    return true;
}

void TreeScan::add(const std::string &path, std::uint32_t root, unsigned depth, const FileStat &stat,
                   std::vector<ScanEntry> &entries)
{
    ScanEntry entry;
    entry.info.path = path;
    entry.info.root = root;
    entry.info.modifiedMs = toMs(stat.modifiedNs);
    if (stat.isFolder()) {
        entry.info.kind = ItemKind::Folder;
        if (depth + 1 >= kMaxPathDepth) {
            entry.error = Error::BadName;
            entry.text = "folders are nested too deeply";
        } else {
            m_folders.push_back({path, root, depth + 1});
        }
    } else if (stat.isFile()) {
        entry.info.size = stat.size;
        if (stat.size > kMaxFileSize) {
            entry.error = Error::Refused;
            entry.text = "file is too large";
        }
    } else {
        entry.error = Error::Skipped;
        entry.text = "links and special files are not transferred";
    }
    entries.push_back(std::move(entry));
}

void TreeScan::list(const Folder &folder, std::vector<ScanEntry> &entries)
{
    const FileResult done = m_root.list(folder.path, [&](const SafeFolder::Entry &found) {
        if (found.stat.isFile() && (isCacheName(found.name) || excluded(found.name)))
            return true;
        const std::string path = folder.path.empty() ? found.name : folder.path + '/' + found.name;
        if (validComponent(found.name) && path.size() <= kMaxPathBytes) {
            add(path, folder.root, folder.depth, found.stat, entries);
        } else {
            ScanEntry entry;
            entry.info.path = readable(path).substr(0, kMaxTextBytes);
            entry.info.root = folder.root;
            entry.error = Error::BadName;
            entry.text = "the name is not valid UTF-8, or too long";
            entries.push_back(std::move(entry));
        }
        return true;
    });
    if (!done.ok()) {
        ScanEntry entry;
        entry.info.kind = ItemKind::Folder;
        entry.info.path = folder.path;
        entry.info.root = folder.root;
        entry.error = errorOf(done);
        entry.text = "cannot read the folder: " + done.message();
        entries.push_back(std::move(entry));
    }
}

bool TreeScan::excluded(const std::string &name) const
{
    return std::any_of(m_excluded.begin(), m_excluded.end(),
                       [&](const std::string &suffix) { return !suffix.empty() && endsWith(name, suffix); });
}

} // namespace zpdt
