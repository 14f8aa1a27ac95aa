#include "FramePool.h"

#include "Messages.h"

#include <mutex>

namespace zpdt {

namespace {

/// Buffers of about one size.
struct Shelf
{
    std::size_t least;
    std::size_t most; ///< longer ones are not kept
    std::size_t count;
    std::vector<Bytes> buffers;
};

struct Store
{
    std::mutex mutex;
    Shelf shelves[2] = {{kMaxPiece / 2, kMaxPiece + 256, 128, {}}, {FramePool::kSlab, FramePool::kSlab, 32, {}}};

    Shelf *shelfOf(std::size_t size)
    {
        for (Shelf &shelf : shelves)
            if (size >= shelf.least && size <= shelf.most)
                return &shelf;
        return nullptr;
    }
};

Store &store()
{
    // Never destroyed: buffers come back until the last thread has ended.
    static Store *const only = new Store;
    return *only;
}

} // namespace

Bytes FramePool::take(std::size_t size)
{
    Store &all = store();
    Bytes buffer;
    if (Shelf *shelf = all.shelfOf(size)) {
        const std::lock_guard<std::mutex> lock(all.mutex);
        if (!shelf->buffers.empty()) {
            buffer = std::move(shelf->buffers.back());
            shelf->buffers.pop_back();
        }
        buffer.reserve(shelf->most);
    }
    buffer.resize(size);
    return buffer;
}

void FramePool::give(Bytes buffer)
{
    Store &all = store();
    Shelf *shelf = all.shelfOf(buffer.size());
    if (!shelf || buffer.capacity() > 2 * shelf->most)
        return;
    const std::lock_guard<std::mutex> lock(all.mutex);
    if (shelf->buffers.size() < shelf->count)
        shelf->buffers.push_back(std::move(buffer));
}

std::shared_ptr<Bytes> FramePool::share(std::size_t size)
{
    return std::shared_ptr<Bytes>(new Bytes(take(size)), [](Bytes *buffer) {
        give(std::move(*buffer));
        delete buffer;
    });
}

} // namespace zpdt
