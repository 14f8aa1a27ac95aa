#pragma once

#include <string>

class QImage;

namespace arkvale::service {

/// A landscape under a sky, of the given size in pixels. @p hour from 0 to 24 sets the light, @p seed the hills.
QImage demoLandscape(int width, int height, double hour, unsigned seed);

/// One frame of a ball that bounces across the picture. @p position from 0 to 1.
QImage demoFrame(int width, int height, double position);

/// Writes the picture in the format of the file's ending. False when the format cannot be written here or the disk
/// refuses.
bool savePicture(const QImage &picture, const std::string &file);

/// Whether pictures of that ending can be written here.
bool canWritePicture(const std::string &ending);

} // namespace arkvale::service
