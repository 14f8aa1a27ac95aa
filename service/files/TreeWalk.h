#pragma once

#include "SafeFolder.h"

#include <functional>
#include <string>

namespace arkvale::service {

/// Whether an entry belongs to what users see of a drive: a file or folder whose name is well-formed UTF-8. Links,
/// pipes and the like, which only an administrator can have put there, are as if they were not there.
bool isVisible(const zpdt::SafeFolder::Entry &entry);

struct WalkEntry
{
    std::string path; ///< from the folder of the walk on, '/' between names
    std::string name;
    zpdt::FileStat stat;
};

enum class WalkStep
{
    Go,   ///< on, and into a folder
    Skip, ///< on, not into this folder
    Stop  ///< the walk ends without an error
};

/// Visits every visible entry beneath the folder @p start of @p folder (not @p start itself), a folder before what it
/// holds. With @p tolerant, folders that cannot be read are passed over; otherwise the first of them ends the walk
/// with its error. A folder that vanishes meanwhile is no error.
zpdt::FileResult walkTree(const zpdt::SafeFolder &folder, const std::string &start, bool tolerant,
                          const std::function<WalkStep(const WalkEntry &)> &visit);

} // namespace arkvale::service
