#pragma once

#include "Codec.h"

#include <memory>

namespace zpdt {

/// Running XXH3-128 digest, in its canonical byte order.
class BlockHash
{
public:
    BlockHash();
    ~BlockHash();
    BlockHash(BlockHash &&) noexcept;
    BlockHash &operator=(BlockHash &&) noexcept;

    void reset();
    void add(const void *data, std::size_t size);
    Digest digest() const;

    static Digest of(const void *data, std::size_t size);
    /// 64 bits of XXH3 with a seed, for checks of records and for short names.
    static std::uint64_t check(const void *data, std::size_t size, std::uint64_t seed);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace zpdt
