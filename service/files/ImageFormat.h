#pragma once

#include <cstddef>
#include <string>

namespace arkvale::service {

/// The image format that a file holds, by its first bytes ("png", "jpg", "exr" ...), or by its name for the one format
/// without a mark of its own ("tga"). Empty for everything that no thumbnail is made of. 64 bytes are enough.
std::string imageFormatOf(const void *head, std::size_t size, const std::string &name);

} // namespace arkvale::service
