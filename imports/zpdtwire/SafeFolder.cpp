#include "SafeFolder.h"

#include <system_error>

namespace zpdt {

namespace {

const char *words(FileError error)
{
    switch (error) {
    case FileError::None:
        return "no error";
    case FileError::NotFound:
        return "not found";
    case FileError::Exists:
        return "the name exists already";
    case FileError::NotFolder:
        return "not a folder";
    case FileError::IsFolder:
        return "a folder";
    case FileError::NotEmpty:
        return "the folder is not empty";
    case FileError::BadName:
        return "not a name that can be stored";
    case FileError::Denied:
        return "access denied";
    case FileError::NoSpace:
        return "no space left";
    case FileError::Other:
        break;
    }
    return "file error";
}

} // namespace

std::string FileResult::message() const
{
    std::string text = words(error);
    if (code != 0)
        text += " (" + std::system_category().message(code) + ")";
    return text;
}

SafeFile &SafeFile::operator=(SafeFile &&other) noexcept
{
    if (this != &other) {
        close();
        m_handle = other.release();
    }
    return *this;
}

SafeFile::Native SafeFile::release()
{
    const Native handle = m_handle;
    m_handle = kNone;
    return handle;
}

FileResult SafeFolder::rename(const std::string &from, const std::string &to, bool replace) const
{
    return renameBetween(*this, from, *this, to, replace);
}

FileResult SafeFolder::removeTree(const std::string &path, const std::function<bool()> &stop) const
{
    FileStat found;
    FileResult result = stat(path, found);
    if (!result.ok())
        return result;
    if (!found.isFolder())
        return removeFile(path);
    SafeFolder folder;
    result = openFolder(path, folder);
    if (!result.ok())
        return result;
    result = folder.removeContents(stop, 0);
    folder = SafeFolder();
    const FileResult last = removeEmptyFolder(path);
    return result.ok() ? last : result;
}

FileResult SafeFolder::removeContents(const std::function<bool()> &stop, unsigned depth) const
{
    // One open handle a level: the bound keeps a hostile tree from taking all handles of the process. Deeper folders
    // are hoisted up one by one, which needs no more handles.
    constexpr unsigned kDeepest = 64;
    FileResult first;
    std::uint64_t serial = 0;
    std::vector<std::string> files;
    std::vector<std::string> folders;
    // Entries are gathered before any is removed: removing while reading may hide entries on some file systems.
    FileResult result = list(
        "",
        [&](const Entry &entry) {
            (entry.stat.isFolder() ? folders : files).push_back(entry.name);
            return true;
        },
        false);
    if (!result.ok())
        return result;
    const auto note = [&first](const FileResult &r) {
        if (!r.ok() && r.error != FileError::NotFound && first.ok())
            first = r;
    };
    for (const std::string &name : files) {
        if (stop && stop())
            return first.ok() ? FileResult{FileError::Other, 0} : first;
        note(removeFile(name));
    }
    for (std::size_t i = 0; i < folders.size(); ++i) {
        if (stop && stop())
            return first.ok() ? FileResult{FileError::Other, 0} : first;
        const std::string name = folders[i];
        SafeFolder inner;
        result = openFolder(name, inner);
        if (!result.ok()) {
            note(result);
            continue;
        }
        if (depth < kDeepest) {
            note(inner.removeContents(stop, depth + 1));
        } else {
            std::vector<std::string> inside;
            note(inner.list(
                "",
                [&](const Entry &entry) {
                    inside.push_back(entry.name);
                    return true;
                },
                false));
            for (const std::string &child : inside) {
                if (inner.removeFile(child).ok())
                    continue;
                FileResult moved;
                std::string raised;
                do {
                    raised = "~" + std::to_string(serial++);
                    moved = renameBetween(inner, child, *this, raised, false);
                } while (moved.error == FileError::Exists);
                if (moved.ok())
                    folders.push_back(raised);
                note(moved);
            }
        }
        inner = SafeFolder();
        note(removeEmptyFolder(name));
    }
    return first;
}

} // namespace zpdt
