#include "ExistingFile.h"

#include "TargetTree.h"
#include "TreeScan.h"

#include <algorithm>

namespace zpdt {

namespace {
constexpr std::uint64_t kReadBytes = 32u << 20;
}

std::shared_ptr<ExistingFile> ExistingFile::find(TargetTree &tree, const ItemMessage &item)
{
    const auto existing = std::make_shared<ExistingFile>();
    SafeFolder folder;
    std::string leaf;
    FileStat stat;
    if (!tree.parentOf(item.info.path, folder, leaf).ok() || !tree.stillThere(folder, item.info.path).ok() ||
        !tree.root().openRead(item.info.path, existing->m_file).ok() || !existing->m_file.stat(stat).ok() ||
        stat.size != item.info.size || toMs(stat.modifiedNs) != item.info.modifiedMs)
        return nullptr;
    existing->m_size = stat.size;
    existing->m_blockSize = item.blockSize;
    return existing;
}

bool ExistingFile::readSome()
{
    Bytes buffer(1u << 20);
    for (std::uint64_t read = 0; read < kReadBytes && m_at < m_size;) {
        // A block at a time; the last one is shorter.
        BlockHash block;
        const std::uint64_t end = std::min(m_at + m_blockSize, m_size);
        read += end - m_at;
        while (m_at < end) {
            const auto part = std::size_t(std::min<std::uint64_t>(buffer.size(), end - m_at));
            std::size_t got = 0;
            if (!m_file.readAt(m_at, buffer.data(), part, got).ok() || got != part)
                return false;
            block.add(buffer.data(), part);
            m_at += part;
        }
        const Digest digest = block.digest();
        m_whole.add(digest.data(), digest.size());
    }
    return true;
}

} // namespace zpdt
