#pragma once

#include "Codec.h"
#include "WireTypes.h"

#include <string>
#include <vector>

namespace zpdt {

class TargetTree;

/// A small file that has arrived whole.
struct SmallFile
{
    std::uint32_t no = 0;
    std::string path;
    std::int64_t modifiedMs = 0;
    Bytes data;
    Digest block{}; ///< of the data, unless there is none
    Digest whole{};
};

struct SmallFileResult
{
    std::uint32_t no = 0;
    std::uint64_t size = 0;
    Error error = Error::None;
    std::string text;
    bool damaged = false; ///< to be asked for again
    ItemOutcome item;
};

/// Stores many small files at once, so that they share their waits for the
/// disk: each is written under its partial name, all are brought to the disk,
/// then each gets its name. Their sizes were reserved in @p tree. Disk threads.
/// @param verify reads each back before
std::vector<SmallFileResult> storeSmallFiles(TargetTree &tree, const std::vector<SmallFile> &files, bool verify);

} // namespace zpdt
