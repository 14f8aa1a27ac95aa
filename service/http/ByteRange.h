#pragma once

#include <cstdint>
#include <string>

namespace arkvale::service {

/// The part of a file that a Range header asks for.
struct ByteRange
{
    enum class Kind
    {
        Whole, ///< no header, or one that is to be ignored (another unit, several ranges, broken)
        Part,
        Unsatisfiable ///< begins behind the end of the file
    };
    Kind kind = Kind::Whole;
    std::uint64_t offset = 0; ///< bytes
    std::uint64_t length = 0; ///< bytes

    static ByteRange parse(const std::string &header, std::uint64_t fileSize);
};

} // namespace arkvale::service
