#include "DiskHints.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace zpdt {

FileResult preallocate(SafeFile &file, std::uint64_t size)
{
#ifdef __linux__
    if (fallocate(static_cast<int>(file.native()), 0, 0, static_cast<off_t>(size)) != 0) {
        if (errno == ENOSPC || errno == EDQUOT)
            return {FileError::NoSpace, errno};
        if (errno == EFBIG)
            return {FileError::Other, errno};
    }
#else
    (void)file;
    (void)size;
#endif
    return {};
}

void startWriteback(SafeFile &file)
{
#ifdef __linux__
    (void)sync_file_range(static_cast<int>(file.native()), 0, 0, SYNC_FILE_RANGE_WRITE);
#else
    (void)file;
#endif
}

bool syncVolume(const SafeFile &file)
{
#ifdef __linux__
    return syncfs(static_cast<int>(file.native())) == 0;
#else
    (void)file;
    return false;
#endif
}

void allowManyFiles()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace zpdt
