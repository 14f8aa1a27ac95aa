#include "SafeFolder.h"

#include "NameRules.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#ifdef __linux__
#include <linux/openat2.h>
#include <sys/syscall.h>
#endif

namespace zpdt {

namespace {

FileResult failure(int code)
{
    switch (code) {
    case ENOENT:
        return {FileError::NotFound, code};
    case EEXIST:
        return {FileError::Exists, code};
    case ENOTDIR:
        return {FileError::NotFolder, code};
    case EISDIR:
        return {FileError::IsFolder, code};
    case ENOTEMPTY:
        return {FileError::NotEmpty, code};
    case EILSEQ:
    case ENAMETOOLONG:
        return {FileError::BadName, code};
    case EACCES:
    case EPERM:
    case EROFS:
    case ELOOP: // A link where none is followed.
    case ENXIO: // A pipe or socket without another end.
        return {FileError::Denied, code};
    case ENOSPC:
    case EDQUOT:
        return {FileError::NoSpace, code};
    default:
        return {FileError::Other, code};
    }
}

FileResult failed()
{
    return failure(errno);
}

/// A descriptor that is closed at the end of its scope, unless it is borrowed.
class Fd
{
public:
    Fd() = default;
    Fd(int fd, bool borrowed = false)
        : m_fd(fd)
        , m_borrowed(borrowed)
    {
    }
    Fd(Fd &&other) noexcept
        : m_fd(other.m_fd)
        , m_borrowed(other.m_borrowed)
    {
        other.m_fd = -1;
    }
    Fd &operator=(Fd &&other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        std::swap(m_borrowed, other.m_borrowed);
        return *this;
    }
    ~Fd()
    {
        if (m_fd >= 0 && !m_borrowed)
            ::close(m_fd);
    }
    operator int() const { return m_fd; }
    int release()
    {
        const int fd = m_fd;
        m_fd = -1;
        return fd;
    }

private:
    int m_fd = -1;
    bool m_borrowed = false;
};

/// The names of a path that may name something on the disk that no client could have made, such as a name that is
/// not UTF-8: such things can still be looked at and removed.
FileResult split(const std::string &path, std::vector<std::string> &names)
{
    std::size_t begin = 0;
    if (path.find('\0') != std::string::npos)
        return {FileError::BadName, 0};
    while (begin <= path.size()) {
        std::size_t end = path.find('/', begin);
        if (end == std::string::npos)
            end = path.size();
        if (end > begin) {
            names.push_back(path.substr(begin, end - begin));
            if (names.back() == "." || names.back() == ".." || names.size() > kMaxPathDepth)
                return {FileError::BadName, 0};
        }
        begin = end + 1;
    }
    return {};
}

int openBeneath(int folder, const std::string &path, int flags)
{
#ifdef SYS_openat2
    open_how how = {};
    how.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC);
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    return static_cast<int>(syscall(SYS_openat2, folder, path.c_str(), &how, sizeof(how)));
#else
    (void)folder;
    (void)path;
    (void)flags;
    errno = ENOSYS;
    return -1;
#endif
}

#ifdef O_PATH
constexpr int kLookFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
#else
constexpr int kLookFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
#endif

/// Opens the folder that names[0..count) lead to. O_NOFOLLOW at each name makes the walk as tight as the one call.
FileResult openNames(int root, const std::vector<std::string> &names, std::size_t count, Fd &result)
{
    if (count == 0) {
        result = Fd(root, true);
        return {};
    }
    std::string path = names[0];
    for (std::size_t i = 1; i < count; ++i)
        path += '/' + names[i];
    Fd whole(openBeneath(root, path, kLookFlags));
    if (whole >= 0) {
        result = std::move(whole);
        return {};
    }
    // ENOSYS and EPERM: no such call, or a sandbox that does not know it. ENAMETOOLONG: deeper than one call reaches.
    // EAGAIN: a rename elsewhere in the middle of the call.
    if (errno != ENOSYS && errno != EPERM && errno != ENAMETOOLONG && errno != EAGAIN && errno != E2BIG) {
        // A link in the place of a folder reads as "not a folder" under O_DIRECTORY.
        return failed();
    }
    Fd at(root, true);
    for (std::size_t i = 0; i < count; ++i) {
        Fd next(::openat(at, names[i].c_str(), kLookFlags));
        if (next < 0)
            return failed();
        at = std::move(next);
    }
    result = std::move(at);
    return {};
}

/// The folder that holds the last name of a path, and that name.
struct Place
{
    Fd folder;
    std::string name; ///< Empty for the root itself.
};

FileResult locate(int root, const std::string &path, Place &place)
{
    std::vector<std::string> names;
    FileResult result = split(path, names);
    if (!result.ok())
        return result;
    if (!names.empty())
        place.name = names.back();
    return openNames(root, names, names.empty() ? 0 : names.size() - 1, place.folder);
}

FileResult locateNew(int root, const std::string &path, Place &place)
{
    const FileResult result = locate(root, path, place);
    if (result.ok() && place.name.empty())
        return {FileError::Exists, 0};
    if (result.ok() && !validComponent(place.name))
        return {FileError::BadName, 0};
    return result;
}

FileResult locateExisting(int root, const std::string &path, Place &place)
{
    const FileResult result = locate(root, path, place);
    if (result.ok() && place.name.empty())
        return {FileError::Denied, 0};
    return result;
}

FileStat converted(const struct stat &from)
{
    FileStat to;
    to.type = S_ISREG(from.st_mode)   ? FileStat::Type::File
              : S_ISDIR(from.st_mode) ? FileStat::Type::Folder
              : S_ISLNK(from.st_mode) ? FileStat::Type::Link
                                      : FileStat::Type::Other;
    to.size = to.isFile() ? static_cast<std::uint64_t>(from.st_size) : 0;
#ifdef __APPLE__
    to.modifiedNs = std::int64_t(from.st_mtimespec.tv_sec) * 1000000000 + from.st_mtimespec.tv_nsec;
    to.changedNs = std::int64_t(from.st_ctimespec.tv_sec) * 1000000000 + from.st_ctimespec.tv_nsec;
#else
    to.modifiedNs = std::int64_t(from.st_mtim.tv_sec) * 1000000000 + from.st_mtim.tv_nsec;
    to.changedNs = std::int64_t(from.st_ctim.tv_sec) * 1000000000 + from.st_ctim.tv_nsec;
#endif
    to.id = from.st_ino;
    to.links = static_cast<std::uint32_t>(from.st_nlink);
    to.volume = static_cast<std::uint64_t>(from.st_dev);
    return to;
}

void timesOf(std::int64_t modifiedNs, timespec (&times)[2])
{
    std::int64_t seconds = modifiedNs / 1000000000;
    std::int64_t rest = modifiedNs % 1000000000;
    if (rest < 0) {
        --seconds;
        rest += 1000000000;
    }
    times[0].tv_sec = 0;
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = static_cast<time_t>(seconds);
    times[1].tv_nsec = static_cast<long>(rest);
}

/// Opens a plain file; whatever else bears the name is closed again untouched.
FileResult openPlain(int folder, const std::string &name, int flags, SafeFile &file, std::uint64_t *size = nullptr)
{
    // Without O_NONBLOCK a pipe planted under the name would hold the caller for ever.
    Fd fd(::openat(folder, name.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
    if (fd < 0)
        return failed();
    struct stat found = {};
    if (::fstat(fd, &found) != 0)
        return failed();
    if (S_ISDIR(found.st_mode))
        return failure(EISDIR);
    if (!S_ISREG(found.st_mode))
        return failure(EACCES);
    if (size)
        *size = static_cast<std::uint64_t>(found.st_size);
    file = SafeFile(fd.release());
    return {};
}

FileResult renameNoReplace(int fromFolder, const std::string &from, int toFolder, const std::string &to)
{
#if defined(__linux__) && defined(SYS_renameat2)
    constexpr unsigned kNoReplace = 1;
    if (syscall(SYS_renameat2, fromFolder, from.c_str(), toFolder, to.c_str(), kNoReplace) == 0)
        return {};
    if (errno != EINVAL && errno != ENOSYS)
        return failed();
#endif
    // File systems without that call: the target's name is taken first, by a second name of the file or by an empty
    // folder, which fails when somebody has it.
    struct stat found = {};
    if (::fstatat(fromFolder, from.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
        return failed();
    if (S_ISDIR(found.st_mode)) {
        if (::mkdirat(toFolder, to.c_str(), 0777) != 0)
            return failed();
        if (::renameat(fromFolder, from.c_str(), toFolder, to.c_str()) == 0)
            return {};
        const FileResult result = failed();
        ::unlinkat(toFolder, to.c_str(), AT_REMOVEDIR);
        return result;
    }
    if (::linkat(fromFolder, from.c_str(), toFolder, to.c_str(), 0) != 0)
        return failed();
    return ::unlinkat(fromFolder, from.c_str(), 0) == 0 ? FileResult{} : failed();
}

} // namespace

struct SafeFolder::Handle
{
    explicit Handle(int folder)
        : fd(folder)
    {
    }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    ~Handle() { ::close(fd); }
    const int fd;
};

FileResult SafeFile::readAt(std::uint64_t offset, void *data, std::size_t size, std::size_t &got) const
{
    got = 0;
    while (got < size) {
        const ssize_t n = ::pread(int(m_handle), static_cast<char *>(data) + got, size - got, off_t(offset + got));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return failed();
        if (n == 0)
            break;
        got += static_cast<std::size_t>(n);
    }
    return {};
}

FileResult SafeFile::writeAt(std::uint64_t offset, const void *data, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n =
            ::pwrite(int(m_handle), static_cast<const char *>(data) + done, size - done, off_t(offset + done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return failed();
        done += static_cast<std::size_t>(n);
    }
    return {};
}

FileResult SafeFile::truncate(std::uint64_t size)
{
    return ::ftruncate(int(m_handle), off_t(size)) == 0 ? FileResult{} : failed();
}

FileResult SafeFile::stat(FileStat &stat) const
{
    struct stat found = {};
    if (::fstat(int(m_handle), &found) != 0)
        return failed();
    stat = converted(found);
    return {};
}

FileResult SafeFile::setModified(std::int64_t modifiedNs)
{
    timespec times[2];
    timesOf(modifiedNs, times);
    return ::futimens(int(m_handle), times) == 0 ? FileResult{} : failed();
}

FileResult SafeFile::sync()
{
    return ::fdatasync(int(m_handle)) == 0 ? FileResult{} : failed();
}

FileResult SafeFile::close()
{
    if (m_handle == kNone)
        return {};
    // After EINTR the descriptor is gone all the same.
    return ::close(int(release())) == 0 || errno == EINTR ? FileResult{} : failed();
}

FileResult SafeFolder::open(const std::string &path, SafeFolder &folder)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return failed();
    folder.m_handle = std::make_shared<const Handle>(fd);
    return {};
}

FileResult SafeFolder::openFolder(const std::string &path, SafeFolder &folder) const
{
    Place place;
    const FileResult result = locate(m_handle->fd, path, place);
    if (!result.ok())
        return result;
    const char *name = place.name.empty() ? "." : place.name.c_str();
    const int fd = ::openat(place.folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return failed();
    folder.m_handle = std::make_shared<const Handle>(fd);
    return {};
}

FileResult SafeFolder::stat(const std::string &path, FileStat &stat) const
{
    Place place;
    const FileResult result = locate(m_handle->fd, path, place);
    if (!result.ok())
        return result;
    struct stat found = {};
    const char *name = place.name.empty() ? "." : place.name.c_str();
    if (::fstatat(place.folder, name, &found, AT_SYMLINK_NOFOLLOW) != 0)
        return failed();
    stat = converted(found);
    return {};
}

FileResult SafeFolder::openRead(const std::string &path, SafeFile &file) const
{
    Place place;
    const FileResult result = locate(m_handle->fd, path, place);
    if (!result.ok())
        return result;
    if (place.name.empty())
        return failure(EISDIR);
    return openPlain(place.folder, place.name, O_RDONLY, file);
}

FileResult SafeFolder::openWrite(const std::string &path, WriteMode mode, SafeFile &file) const
{
    Place place;
    FileResult result = mode.create ? locateNew(m_handle->fd, path, place) : locateExisting(m_handle->fd, path, place);
    if (!result.ok())
        return result;
    const int flags = O_RDWR | (mode.create ? O_CREAT : 0) | (mode.create && mode.exclusive ? O_EXCL : 0);
    std::uint64_t size = 0;
    result = openPlain(place.folder, place.name, flags, file, &size);
    // Some file systems write a file out at once when it was ever truncated.
    if (result.ok() && mode.truncate && size > 0)
        result = file.truncate(0);
    return result;
}

FileResult SafeFolder::mkdir(const std::string &path) const
{
    Place place;
    const FileResult result = locateNew(m_handle->fd, path, place);
    if (!result.ok())
        return result;
    return ::mkdirat(place.folder, place.name.c_str(), 0777) == 0 ? FileResult{} : failed();
}

FileResult SafeFolder::mkdirs(const std::string &path) const
{
    std::vector<std::string> names;
    if (!splitPath(path, names))
        return {FileError::BadName, 0};
    Fd at(m_handle->fd, true);
    for (const std::string &name : names) {
        Fd next(::openat(at, name.c_str(), kLookFlags));
        if (next < 0 && errno == ENOENT) {
            if (::mkdirat(at, name.c_str(), 0777) != 0 && errno != EEXIST)
                return failed();
            next = Fd(::openat(at, name.c_str(), kLookFlags));
        }
        if (next < 0)
            return failed();
        at = std::move(next);
    }
    return {};
}

FileResult SafeFolder::renameBetween(const SafeFolder &source, const std::string &from, const SafeFolder &target,
                                     const std::string &to, bool replace)
{
    Place old;
    FileResult result = locateExisting(source.m_handle->fd, from, old);
    if (!result.ok())
        return result;
    Place fresh;
    result = locateNew(target.m_handle->fd, to, fresh);
    if (!result.ok())
        return result;
    if (!replace)
        return renameNoReplace(old.folder, old.name, fresh.folder, fresh.name);
    return ::renameat(old.folder, old.name.c_str(), fresh.folder, fresh.name.c_str()) == 0 ? FileResult{} : failed();
}

FileResult SafeFolder::removeFile(const std::string &path) const
{
    Place place;
    const FileResult result = locateExisting(m_handle->fd, path, place);
    if (!result.ok())
        return result;
    return ::unlinkat(place.folder, place.name.c_str(), 0) == 0 ? FileResult{} : failed();
}

FileResult SafeFolder::removeEmptyFolder(const std::string &path) const
{
    Place place;
    const FileResult result = locateExisting(m_handle->fd, path, place);
    if (!result.ok())
        return result;
    return ::unlinkat(place.folder, place.name.c_str(), AT_REMOVEDIR) == 0 ? FileResult{} : failed();
}

FileResult SafeFolder::list(const std::string &path, const std::function<bool(const Entry &)> &visit,
                            bool withStat) const
{
    SafeFolder folder;
    const FileResult result = openFolder(path, folder);
    if (!result.ok())
        return result;
    // The stream owns and closes its descriptor.
    const int fd = ::fcntl(folder.m_handle->fd, F_DUPFD_CLOEXEC, 0);
    DIR *stream = fd < 0 ? nullptr : ::fdopendir(fd);
    if (!stream) {
        const FileResult none = failed();
        if (fd >= 0)
            ::close(fd);
        return none;
    }
    FileResult end;
    Entry entry;
    for (;;) {
        errno = 0;
        const dirent *found = ::readdir(stream);
        if (!found) {
            if (errno != 0)
                end = failed();
            break;
        }
        entry.name = found->d_name;
        if (entry.name == "." || entry.name == "..")
            continue;
        entry.stat = FileStat();
        const bool known = found->d_type == DT_REG || found->d_type == DT_DIR || found->d_type == DT_LNK;
        if (withStat || !known) {
            struct stat status = {};
            // Gone since it was read: not listed.
            if (::fstatat(fd, found->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
                continue;
            entry.stat = converted(status);
        } else {
            entry.stat.type = found->d_type == DT_REG   ? FileStat::Type::File
                              : found->d_type == DT_DIR ? FileStat::Type::Folder
                                                        : FileStat::Type::Link;
            entry.stat.id = found->d_ino;
        }
        if (!visit(entry))
            break;
    }
    ::closedir(stream);
    return end;
}

FileResult SafeFolder::setModified(const std::string &path, std::int64_t modifiedNs) const
{
    Place place;
    const FileResult result = locate(m_handle->fd, path, place);
    if (!result.ok())
        return result;
    timespec times[2];
    timesOf(modifiedNs, times);
    const char *name = place.name.empty() ? "." : place.name.c_str();
    return ::utimensat(place.folder, name, times, AT_SYMLINK_NOFOLLOW) == 0 ? FileResult{} : failed();
}

FileResult SafeFolder::syncFolder(const std::string &path) const
{
    SafeFolder folder;
    const FileResult result = openFolder(path, folder);
    if (!result.ok())
        return result;
    return ::fsync(folder.m_handle->fd) == 0 ? FileResult{} : failed();
}

FileResult SafeFolder::freeSpace(std::uint64_t &bytes) const
{
    struct statvfs volume = {};
    if (::fstatvfs(m_handle->fd, &volume) != 0)
        return failed();
    bytes = std::uint64_t(volume.f_bavail) * volume.f_frsize;
    return {};
}

} // namespace zpdt
