#pragma once

#include <string>

class QImage;

namespace arkvale::service {

/// Writes @p picture with linear light in a format that holds more than a screen can show, ".exr" (half floats, not
/// compressed) or ".hdr" (shared exponents), by the file's ending. What is brightest in the picture becomes a true
/// light, up to 24 times as bright as white. False for another ending, or when the disk refuses.
bool saveBrightPicture(const QImage &picture, const std::string &file);

} // namespace arkvale::service
