#pragma once

#include "BlockHash.h"
#include "Messages.h"
#include "SafeFolder.h"

#include <memory>

namespace zpdt {

class TargetTree;

/// A finished file of the size and time that an item has: most likely the one that an earlier stream brought. Its
/// digest decides. Disk threads, one at a time.
class ExistingFile
{
public:
    /// Null when there is none.
    static std::shared_ptr<ExistingFile> find(TargetTree &tree, const ItemMessage &item);
    /// Reads the next part. False when it cannot be read.
    bool readSome();
    bool complete() const { return m_at == m_size; }
    /// Over the digests of all blocks, as in End.
    Digest digest() const { return m_whole.digest(); }

private:
    SafeFile m_file;
    std::uint64_t m_size = 0;
    std::uint64_t m_at = 0;
    std::uint32_t m_blockSize = 0;
    BlockHash m_whole;
};

} // namespace zpdt
