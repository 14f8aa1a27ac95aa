#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace zpdt {

using Bytes = std::vector<std::uint8_t>;
using Digest = std::array<std::uint8_t, 16>;

/// Length (4), type (1), stream (4); the length counts what follows it. All numbers are little-endian.
constexpr std::size_t kFrameHeader = 9;
/// Longest frame that is read, header included.
constexpr std::size_t kMaxFrame = 256 * 1024;

/// Appends frames to a byte array: begin(), fields, end(); several frames may follow each other.
class WireWriter
{
public:
    void begin(std::uint8_t type, std::uint32_t stream)
    {
        m_start = m_out.size();
        u32(0);
        u8(type);
        u32(stream);
    }
    /// @param following bytes of the frame that the caller puts behind it
    void end(std::size_t following = 0)
    {
        const auto length = static_cast<std::uint32_t>(m_out.size() - m_start - 4 + following);
        for (int i = 0; i < 4; ++i)
            m_out[m_start + std::size_t(i)] = static_cast<std::uint8_t>(length >> (8 * i));
    }
    void u8(std::uint8_t v) { m_out.push_back(v); }
    void u16(std::uint16_t v) { number(v, 2); }
    void u32(std::uint32_t v) { number(v, 4); }
    void u64(std::uint64_t v) { number(v, 8); }
    void i32(std::int32_t v) { u32(static_cast<std::uint32_t>(v)); }
    void i64(std::int64_t v) { u64(static_cast<std::uint64_t>(v)); }
    void text(const std::string &v)
    {
        u16(static_cast<std::uint16_t>(v.size()));
        raw(v.data(), v.size());
    }
    void digest(const Digest &v) { raw(v.data(), v.size()); }
    void raw(const void *data, std::size_t size)
    {
        const auto *p = static_cast<const std::uint8_t *>(data);
        m_out.insert(m_out.end(), p, p + size);
    }
    void reserve(std::size_t size) { m_out.reserve(size); }
    std::size_t size() const { return m_out.size(); }
    Bytes take() { return std::move(m_out); }

private:
    void number(std::uint64_t v, int bytes)
    {
        for (int i = 0; i < bytes; ++i)
            m_out.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
    }

    Bytes m_out;
    std::size_t m_start = 0;
};

/// Reads the fields of one frame's body. A field that is not wholly there turns ok() false for good and reads as zero.
class WireReader
{
public:
    WireReader(const std::uint8_t *data, std::size_t size)
        : m_at(data)
        , m_left(size)
    {
    }

    bool ok() const { return m_ok; }
    /// Every field was there and nothing is left over.
    bool complete() const { return m_ok && m_left == 0; }
    std::size_t left() const { return m_left; }

    std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
    std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
    std::uint64_t u64() { return number(8); }
    std::int32_t i32() { return static_cast<std::int32_t>(u32()); }
    std::int64_t i64() { return static_cast<std::int64_t>(u64()); }
    /// Fails when the text is longer than @p most bytes.
    std::string text(std::size_t most)
    {
        const std::size_t size = u16();
        if (size > most)
            m_ok = false;
        const std::uint8_t *p = raw(size);
        return p ? std::string(reinterpret_cast<const char *>(p), size) : std::string();
    }
    Digest digest()
    {
        Digest v{};
        if (const std::uint8_t *p = raw(v.size()))
            std::memcpy(v.data(), p, v.size());
        return v;
    }
    /// The next bytes in place; null when there are fewer.
    const std::uint8_t *raw(std::size_t size)
    {
        if (!m_ok || size > m_left) {
            m_ok = false;
            return nullptr;
        }
        const std::uint8_t *p = m_at;
        m_at += size;
        m_left -= size;
        return p;
    }

private:
    std::uint64_t number(std::size_t bytes)
    {
        const std::uint8_t *p = raw(bytes);
        std::uint64_t v = 0;
        for (std::size_t i = 0; p && i < bytes; ++i)
            v |= std::uint64_t(p[i]) << (8 * i);
        return v;
    }

    const std::uint8_t *m_at;
    std::size_t m_left;
    bool m_ok = true;
};

} // namespace zpdt
