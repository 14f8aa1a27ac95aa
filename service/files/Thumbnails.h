#pragma once

#include "ImageWorkers.h"
#include "UserHome.h"

#include <string>

namespace arkvale::service {

/// Thumbnails of the images in a home, kept on disk beside the homes until the image changes. May be used from any
/// thread; a call blocks while an image is decoded.
class Thumbnails
{
public:
    explicit Thumbnails(ImageWorkers::Options options)
        : m_workers(std::move(options))
    {
    }

    /// @p width and @p height in pixels, 16 to 1024. Failures: as of a file that is read, 413 for a file above 1 GiB,
    /// 415 for what is no image, 422 for an image that cannot be decoded.
    Outcome get(const UserHome &home, const std::string &path, unsigned width, unsigned height, std::string &png);

private:
    ImageWorkers m_workers;
};

} // namespace arkvale::service
