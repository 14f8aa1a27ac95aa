#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

/// Takes values from the bytes that the fuzzer made; zeros behind their end.
class FuzzInput
{
public:
    FuzzInput(const std::uint8_t *data, std::size_t size)
        : m_at(data)
        , m_left(size)
    {
    }

    bool empty() const { return m_left == 0; }
    const std::uint8_t *data() const { return m_at; }
    std::size_t left() const { return m_left; }
    std::uint8_t byte()
    {
        if (m_left == 0)
            return 0;
        --m_left;
        return *m_at++;
    }
    std::uint32_t number(int bytes)
    {
        std::uint32_t value = 0;
        while (bytes-- > 0)
            value = value << 8 | byte();
        return value;
    }
    std::string text(std::size_t size)
    {
        std::string text;
        while (size-- > 0 && m_left > 0)
            text += static_cast<char>(byte());
        return text;
    }
    std::string rest() { return text(m_left); }

private:
    const std::uint8_t *m_at;
    std::size_t m_left;
};

/// A finding: the fuzzer keeps the input that led here.
inline void require(bool condition)
{
    if (!condition)
        std::abort();
}
