#pragma once

#include <cstdint>

/// What the service and its image processes say to each other over a local stream socket, which is descriptor 3 of the
/// process. A request travels with the descriptor of the image file; a reply is followed by its bytes.
namespace arkvale::thumbnails {

constexpr int kSocket = 3;
constexpr std::uint32_t kMaxSide = 2048;               ///< pixels
constexpr std::uint32_t kMaxReply = 32u << 20;         ///< bytes
constexpr std::int64_t kMaxPixels = 150 * 1000 * 1000; ///< of the image as it is stored

struct Request
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t seconds = 0; ///< after which the process ends itself
    char format[16] = {};
};

struct Reply
{
    std::uint32_t decoded = 0; ///< 1, or 0 when the image cannot be decoded
    std::uint32_t size = 0;    ///< bytes of PNG that follow
};

} // namespace arkvale::thumbnails
