#include "FolderSize.h"

#include <cstring>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace arkvale::service {

namespace {

DIR *openFolder(int parent, const char *name)
{
    const int fd = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return nullptr;
    DIR *folder = ::fdopendir(fd);
    if (!folder)
        ::close(fd);
    return folder;
}

} // namespace

std::optional<std::int64_t> folderSize(const std::string &folder, const std::atomic<bool> &stop)
{
    DIR *top = openFolder(AT_FDCWD, folder.c_str());
    if (!top)
        return std::nullopt;
    // One open folder for each level: deeper than this a tree cannot be made through the service.
    constexpr std::size_t deepest = 512;
    std::int64_t total = 0;
    std::vector<DIR *> open = {top};
    while (!open.empty()) {
        const dirent *entry = stop ? nullptr : ::readdir(open.back());
        if (!entry) {
            ::closedir(open.back());
            open.pop_back();
            continue;
        }
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
            continue;
        struct stat info = {};
        const int parent = ::dirfd(open.back());
        if (::fstatat(parent, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0)
            continue;
        if (S_ISREG(info.st_mode))
            total += info.st_size;
        if (S_ISDIR(info.st_mode) && open.size() < deepest) {
            if (DIR *below = openFolder(parent, entry->d_name))
                open.push_back(below);
        }
    }
    if (stop)
        return std::nullopt;
    return total;
}

} // namespace arkvale::service
