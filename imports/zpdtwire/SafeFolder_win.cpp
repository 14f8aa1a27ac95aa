#include "SafeFolder.h"

#include "NameRules.h"

#include <algorithm>

#include <windows.h>

namespace zpdt {

namespace {

FileResult failure(DWORD code)
{
    const int number = static_cast<int>(code);
    switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return {FileError::NotFound, number};
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return {FileError::Exists, number};
    case ERROR_DIRECTORY:
        return {FileError::NotFolder, number};
    case ERROR_DIR_NOT_EMPTY:
        return {FileError::NotEmpty, number};
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
        return {FileError::BadName, number};
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_WRITE_PROTECT:
        return {FileError::Denied, number};
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return {FileError::NoSpace, number};
    default:
        return {FileError::Other, number};
    }
}

FileResult failed()
{
    return failure(GetLastError());
}

class Holder
{
public:
    explicit Holder(HANDLE handle = INVALID_HANDLE_VALUE)
        : m_handle(handle)
    {
    }
    Holder(Holder &&other) noexcept
        : m_handle(other.release())
    {
    }
    Holder &operator=(Holder &&other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~Holder()
    {
        if (m_handle != INVALID_HANDLE_VALUE)
            CloseHandle(m_handle);
    }
    HANDLE get() const { return m_handle; }
    bool valid() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE release()
    {
        const HANDLE handle = m_handle;
        m_handle = INVALID_HANDLE_VALUE;
        return handle;
    }

private:
    HANDLE m_handle;
};

std::wstring wide(const std::string &text)
{
    if (text.empty())
        return {};
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), nullptr, 0);
    std::wstring result(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), &result[0], size);
    return result;
}

std::string narrow(const wchar_t *text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 1)
        return {};
    std::string result(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, &result[0], size, nullptr, nullptr);
    result.pop_back();
    return result;
}

constexpr std::int64_t kUnixEpochTicks = 116444736000000000LL; // 100 ns ticks from 1601 to 1970.

std::int64_t nanoseconds(const FILETIME &time)
{
    const auto ticks = (std::int64_t(time.dwHighDateTime) << 32) | std::int64_t(time.dwLowDateTime);
    return (ticks - kUnixEpochTicks) * 100;
}

FILETIME fileTime(std::int64_t ns)
{
    const std::int64_t ticks = std::max<std::int64_t>(0, ns / 100 + kUnixEpochTicks);
    FILETIME time;
    time.dwLowDateTime = static_cast<DWORD>(ticks & 0xFFFFFFFF);
    time.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    return time;
}

FileStat converted(DWORD attributes, const FILETIME &written, DWORD sizeHigh, DWORD sizeLow)
{
    FileStat stat;
    stat.type = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) ? FileStat::Type::Link
                : (attributes & FILE_ATTRIBUTE_DIRECTORY)   ? FileStat::Type::Folder
                : (attributes & FILE_ATTRIBUTE_DEVICE)      ? FileStat::Type::Other
                                                            : FileStat::Type::File;
    if (stat.isFile())
        stat.size = (std::uint64_t(sizeHigh) << 32) | sizeLow;
    stat.modifiedNs = stat.changedNs = nanoseconds(written);
    return stat;
}

FileResult statHandle(HANDLE handle, FileStat &stat)
{
    BY_HANDLE_FILE_INFORMATION info = {};
    if (!GetFileInformationByHandle(handle, &info))
        return failed();
    stat = converted(info.dwFileAttributes, info.ftLastWriteTime, info.nFileSizeHigh, info.nFileSizeLow);
    stat.id = (std::uint64_t(info.nFileIndexHigh) << 32) | info.nFileIndexLow;
    stat.volume = info.dwVolumeSerialNumber;
    stat.links = info.nNumberOfLinks;
    return {};
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kNoFollow = FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS;

/// Opens a folder that is no link. While the handle is held nobody can rename, remove or replace the folder, because
/// deleting is not shared; this is what keeps a checked path checked.
FileResult pinFolder(const std::wstring &path, Holder &folder)
{
    Holder handle(CreateFileW(path.c_str(), FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, kNoFollow, nullptr));
    if (!handle.valid())
        return failed();
    BY_HANDLE_FILE_INFORMATION info = {};
    if (!GetFileInformationByHandle(handle.get(), &info))
        return failed();
    if (info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)
        return {FileError::Denied, 0};
    if (!(info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
        return {FileError::NotFolder, 0};
    folder = std::move(handle);
    return {};
}

std::wstring finalPath(HANDLE handle)
{
    std::wstring path(512, L'\0');
    DWORD size = GetFinalPathNameByHandleW(handle, &path[0], DWORD(path.size()), VOLUME_NAME_DOS);
    if (size >= path.size()) {
        path.resize(size + 1);
        size = GetFinalPathNameByHandleW(handle, &path[0], DWORD(path.size()), VOLUME_NAME_DOS);
    }
    path.resize(size);
    return path;
}

/// The folder of a whole drive ends with its separator, and the system takes no two in a row.
std::wstring inFolder(const std::wstring &folder, const std::wstring &name)
{
    return !folder.empty() && folder.back() == L'\\' ? folder + name : folder + L'\\' + name;
}

/// A path beneath a root with every folder on the way pinned.
struct Place
{
    std::vector<Holder> pins;
    std::wstring folder;
    std::wstring path; ///< Equal to folder for the root itself.
    bool isRoot() const { return folder == path; }
};

FileResult locate(const std::wstring &root, const std::string &relative, Place &place)
{
    std::vector<std::string> names;
    if (!splitPath(relative, names))
        return {FileError::BadName, 0};
    place.folder = root;
    for (std::size_t i = 0; i + 1 < names.size(); ++i) {
        place.folder = inFolder(place.folder, wide(names[i]));
        Holder pin;
        const FileResult result = pinFolder(place.folder, pin);
        if (!result.ok())
            return result;
        place.pins.push_back(std::move(pin));
    }
    place.path = names.empty() ? place.folder : inFolder(place.folder, wide(names.back()));
    return {};
}

FileResult locateNamed(const std::wstring &root, const std::string &relative, FileError forRoot, Place &place)
{
    const FileResult result = locate(root, relative, place);
    if (result.ok() && place.isRoot())
        return {forRoot, 0};
    return result;
}

FileResult openPlain(const std::wstring &path, DWORD access, DWORD disposition, SafeFile &file)
{
    Holder handle(CreateFileW(path.c_str(), access, kShareAll, nullptr, disposition, kNoFollow, nullptr));
    if (!handle.valid())
        return failed();
    FileStat found;
    const FileResult result = statHandle(handle.get(), found);
    if (!result.ok())
        return result;
    if (found.isFolder())
        return {FileError::IsFolder, 0};
    if (!found.isFile() || GetFileType(handle.get()) != FILE_TYPE_DISK)
        return {FileError::Denied, 0};
    file = SafeFile(reinterpret_cast<SafeFile::Native>(handle.release()));
    return {};
}

HANDLE handleOf(SafeFile::Native native)
{
    return reinterpret_cast<HANDLE>(native);
}

OVERLAPPED at(std::uint64_t offset)
{
    OVERLAPPED position = {};
    position.Offset = static_cast<DWORD>(offset & 0xFFFFFFFF);
    position.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return position;
}

} // namespace

struct SafeFolder::Handle
{
    Holder pin;
    std::wstring path; ///< "\\?\C:\..." of the folder itself, links on the way to it resolved.
};

FileResult SafeFile::readAt(std::uint64_t offset, void *data, std::size_t size, std::size_t &got) const
{
    got = 0;
    while (got < size) {
        OVERLAPPED position = at(offset + got);
        const DWORD piece = static_cast<DWORD>(std::min<std::size_t>(size - got, 1u << 30));
        DWORD n = 0;
        if (!ReadFile(handleOf(m_handle), static_cast<char *>(data) + got, piece, &n, &position)) {
            if (GetLastError() == ERROR_HANDLE_EOF)
                break;
            return failed();
        }
        if (n == 0)
            break;
        got += n;
    }
    return {};
}

FileResult SafeFile::writeAt(std::uint64_t offset, const void *data, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        OVERLAPPED position = at(offset + done);
        const DWORD piece = static_cast<DWORD>(std::min<std::size_t>(size - done, 1u << 30));
        DWORD n = 0;
        if (!WriteFile(handleOf(m_handle), static_cast<const char *>(data) + done, piece, &n, &position))
            return failed();
        done += n;
    }
    return {};
}

FileResult SafeFile::truncate(std::uint64_t size)
{
    FILE_END_OF_FILE_INFO info = {};
    info.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    const bool ok = SetFileInformationByHandle(handleOf(m_handle), FileEndOfFileInfo, &info, sizeof(info));
    return ok ? FileResult{} : failed();
}

FileResult SafeFile::stat(FileStat &stat) const
{
    return statHandle(handleOf(m_handle), stat);
}

FileResult SafeFile::setModified(std::int64_t modifiedNs)
{
    const FILETIME time = fileTime(modifiedNs);
    return SetFileTime(handleOf(m_handle), nullptr, nullptr, &time) ? FileResult{} : failed();
}

FileResult SafeFile::sync()
{
    return FlushFileBuffers(handleOf(m_handle)) ? FileResult{} : failed();
}

FileResult SafeFile::close()
{
    if (m_handle == kNone)
        return {};
    return CloseHandle(handleOf(release())) ? FileResult{} : failed();
}

FileResult SafeFolder::open(const std::string &path, SafeFolder &folder)
{
    const Holder trusted(CreateFileW(wide(path).c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                                     FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!trusted.valid())
        return failed();
    auto handle = std::make_shared<Handle>();
    handle->path = finalPath(trusted.get());
    const FileResult result = pinFolder(handle->path, handle->pin);
    if (result.ok())
        folder.m_handle = handle;
    return result;
}

FileResult SafeFolder::openFolder(const std::string &path, SafeFolder &folder) const
{
    Place place;
    FileResult result = locate(m_handle->path, path, place);
    if (!result.ok())
        return result;
    auto handle = std::make_shared<Handle>();
    handle->path = place.path;
    result = pinFolder(place.path, handle->pin);
    if (result.ok())
        folder.m_handle = handle;
    return result;
}

FileResult SafeFolder::stat(const std::string &path, FileStat &stat) const
{
    Place place;
    const FileResult result = locate(m_handle->path, path, place);
    if (!result.ok())
        return result;
    const Holder handle(
        CreateFileW(place.path.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING, kNoFollow, nullptr));
    return handle.valid() ? statHandle(handle.get(), stat) : failed();
}

FileResult SafeFolder::openRead(const std::string &path, SafeFile &file) const
{
    Place place;
    const FileResult result = locateNamed(m_handle->path, path, FileError::IsFolder, place);
    return result.ok() ? openPlain(place.path, GENERIC_READ, OPEN_EXISTING, file) : result;
}

FileResult SafeFolder::openWrite(const std::string &path, WriteMode mode, SafeFile &file) const
{
    Place place;
    FileResult result = locateNamed(m_handle->path, path, FileError::IsFolder, place);
    if (!result.ok())
        return result;
    const DWORD disposition = !mode.create ? OPEN_EXISTING : mode.exclusive ? CREATE_NEW : OPEN_ALWAYS;
    result = openPlain(place.path, GENERIC_READ | GENERIC_WRITE, disposition, file);
    if (result.ok() && mode.truncate)
        result = file.truncate(0);
    return result;
}

FileResult SafeFolder::mkdir(const std::string &path) const
{
    Place place;
    const FileResult result = locateNamed(m_handle->path, path, FileError::Exists, place);
    if (!result.ok())
        return result;
    return CreateDirectoryW(place.path.c_str(), nullptr) ? FileResult{} : failed();
}

FileResult SafeFolder::mkdirs(const std::string &path) const
{
    std::vector<std::string> names;
    if (!splitPath(path, names))
        return {FileError::BadName, 0};
    std::vector<Holder> pins;
    std::wstring folder = m_handle->path;
    for (const std::string &name : names) {
        folder = inFolder(folder, wide(name));
        if (!CreateDirectoryW(folder.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
            return failed();
        Holder pin;
        const FileResult result = pinFolder(folder, pin);
        if (!result.ok())
            return result;
        pins.push_back(std::move(pin));
    }
    return {};
}

FileResult SafeFolder::renameBetween(const SafeFolder &source, const std::string &from, const SafeFolder &target,
                                     const std::string &to, bool replace)
{
    Place old;
    FileResult result = locateNamed(source.m_handle->path, from, FileError::Denied, old);
    if (!result.ok())
        return result;
    Place fresh;
    result = locateNamed(target.m_handle->path, to, FileError::Exists, fresh);
    if (!result.ok())
        return result;
    return MoveFileExW(old.path.c_str(), fresh.path.c_str(), replace ? MOVEFILE_REPLACE_EXISTING : 0) ? FileResult{}
                                                                                                      : failed();
}

FileResult SafeFolder::removeFile(const std::string &path) const
{
    Place place;
    const FileResult result = locateNamed(m_handle->path, path, FileError::Denied, place);
    if (!result.ok())
        return result;
    const DWORD attributes = GetFileAttributesW(place.path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return failed();
    if (attributes & FILE_ATTRIBUTE_DIRECTORY) {
        // The link to a folder goes; the folder that it names stays.
        if (attributes & FILE_ATTRIBUTE_REPARSE_POINT)
            return RemoveDirectoryW(place.path.c_str()) ? FileResult{} : failed();
        return {FileError::IsFolder, 0};
    }
    return DeleteFileW(place.path.c_str()) ? FileResult{} : failed();
}

FileResult SafeFolder::removeEmptyFolder(const std::string &path) const
{
    Place place;
    const FileResult result = locateNamed(m_handle->path, path, FileError::Denied, place);
    if (!result.ok())
        return result;
    return RemoveDirectoryW(place.path.c_str()) ? FileResult{} : failed();
}

FileResult SafeFolder::list(const std::string &path, const std::function<bool(const Entry &)> &visit, bool) const
{
    SafeFolder folder;
    const FileResult result = openFolder(path, folder);
    if (!result.ok())
        return result;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileExW(inFolder(folder.m_handle->path, L"*").c_str(), FindExInfoBasic, &found,
                                           FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
    if (search == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_FILE_NOT_FOUND ? FileResult{} : failed();
    FileResult end;
    Entry entry;
    for (;;) {
        entry.name = narrow(found.cFileName);
        if (entry.name != "." && entry.name != "..") {
            entry.stat =
                converted(found.dwFileAttributes, found.ftLastWriteTime, found.nFileSizeHigh, found.nFileSizeLow);
            if (!visit(entry))
                break;
        }
        if (!FindNextFileW(search, &found)) {
            if (GetLastError() != ERROR_NO_MORE_FILES)
                end = failed();
            break;
        }
    }
    FindClose(search);
    return end;
}

FileResult SafeFolder::setModified(const std::string &path, std::int64_t modifiedNs) const
{
    Place place;
    const FileResult result = locate(m_handle->path, path, place);
    if (!result.ok())
        return result;
    const Holder handle(
        CreateFileW(place.path.c_str(), FILE_WRITE_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING, kNoFollow, nullptr));
    if (!handle.valid())
        return failed();
    const FILETIME time = fileTime(modifiedNs);
    return SetFileTime(handle.get(), nullptr, nullptr, &time) ? FileResult{} : failed();
}

FileResult SafeFolder::syncFolder(const std::string &path) const
{
    // NTFS journals its names; what is left to say is whether the folder is there.
    FileStat found;
    const FileResult result = stat(path, found);
    if (!result.ok())
        return result;
    return found.isFolder() ? FileResult{} : FileResult{FileError::NotFolder, 0};
}

FileResult SafeFolder::freeSpace(std::uint64_t &bytes) const
{
    ULARGE_INTEGER available = {};
    if (!GetDiskFreeSpaceExW(m_handle->path.c_str(), &available, nullptr, nullptr))
        return failed();
    bytes = available.QuadPart;
    return {};
}

} // namespace zpdt
