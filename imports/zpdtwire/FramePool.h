#pragma once

#include "Codec.h"

#include <memory>

namespace zpdt {

/// Buffers of frames and of what comes from the line, used again and again: made anew, 64 KiB at a time and freed on
/// another thread, they cost more than the copying into them. Keeps a few MiB at most. Any thread.
class FramePool
{
public:
    /// Size of a buffer for received bytes; holds the longest frame and one TLS record besides.
    static constexpr std::size_t kSlab = kMaxFrame + 20 * 1024;

    /// A buffer of exactly that size, with anything in it.
    static Bytes take(std::size_t size);
    static void give(Bytes buffer);
    /// As take(), given back with its last owner.
    static std::shared_ptr<Bytes> share(std::size_t size);
};

} // namespace zpdt
