#pragma once

#include "SafeFolder.h"

#include <utility>

namespace zpdt {

/// The right to write one partial file. Any thread.
class PartialLock
{
public:
    PartialLock() = default;
    PartialLock(const PartialLock &) = delete;
    PartialLock &operator=(const PartialLock &) = delete;
    ~PartialLock() { release(); }

    bool held() const { return m_token != 0; }
    void release();

private:
    friend FileResult openPartial(const SafeFolder &folder, const std::string &name, const void *owner, SafeFile &file,
                                  FileStat &stat, PartialLock &lock);
    FileResult take(const SafeFolder &folder, const std::string &name, const FileStat &stat, const void *owner);

    std::pair<std::uint64_t, std::uint64_t> m_file; ///< volume and number
    std::uint64_t m_token = 0;                      ///< 0: not held
};

/// Opens the partial file @p name, or makes it, for @p owner alone, whatever names lead others in this process there:
/// such as ones that differ in case only, on a disk that takes them for the same, or other paths of the folder. BadName
/// when the owner itself has it under another name, Denied when somebody else has it.
FileResult openPartial(const SafeFolder &folder, const std::string &name, const void *owner, SafeFile &file,
                       FileStat &stat, PartialLock &lock);

} // namespace zpdt
