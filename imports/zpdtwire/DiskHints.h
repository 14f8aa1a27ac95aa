#pragma once

#include "SafeFolder.h"

namespace zpdt {

/// Reserves disk space for a file up to @p size. NoSpace when there is too little; ok where the file system cannot
/// reserve.
FileResult preallocate(SafeFile &file, std::uint64_t size);

/// Starts to write out what the system holds back of the file, without waiting for it.
void startWriteback(SafeFile &file);

/// Brings everything that was written to the volume of the file to the disk, closed files included. False where that
/// cannot be done, or failed.
bool syncVolume(const SafeFile &file);

/// Lets this process have as many files open as the system allows it, which is more than what it begins with.
void allowManyFiles();

} // namespace zpdt
