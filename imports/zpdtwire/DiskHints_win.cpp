#include "DiskHints.h"

#include <windows.h>

namespace zpdt {

FileResult preallocate(SafeFile &file, std::uint64_t size)
{
    FILE_ALLOCATION_INFO info;
    info.AllocationSize.QuadPart = static_cast<LONGLONG>(size);
    if (!SetFileInformationByHandle(reinterpret_cast<HANDLE>(file.native()), FileAllocationInfo, &info, sizeof(info)) &&
        GetLastError() == ERROR_DISK_FULL)
        return {FileError::NoSpace, ERROR_DISK_FULL};
    return {};
}

void startWriteback(SafeFile &) {}

bool syncVolume(const SafeFile &)
{
    return false;
}

void allowManyFiles() {}

} // namespace zpdt
