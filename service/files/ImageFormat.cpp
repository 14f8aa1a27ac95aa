#include "ImageFormat.h"

#include <cstring>

namespace arkvale::service {

namespace {

bool endsWithTga(const std::string &name)
{
    if (name.size() < 5)
        return false;
    std::string end = name.substr(name.size() - 4);
    for (char &c : end)
        c = (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
    return end == ".tga";
}

} // namespace

std::string imageFormatOf(const void *head, std::size_t size, const std::string &name)
{
    // Formats that can name other files or carry programs (SVG, EPS) are left out on purpose, and so are layered
    // documents, whose decoding costs far more than a thumbnail is worth.
    const struct
    {
        std::size_t offset;
        const char *mark;
        std::size_t length;
        const char *format;
    } marks[] = {
        {0, "\x89PNG\r\n\x1a\n", 8, "png"},
        {0, "\xff\xd8\xff", 3, "jpg"},
        {0, "GIF87a", 6, "gif"},
        {0, "GIF89a", 6, "gif"},
        {8, "WEBP", 4, "webp"},
        {0, "II*\0", 4, "tiff"},
        {0, "MM\0*", 4, "tiff"},
        {0, "v/1\x01", 4, "exr"},
        {0, "#?RADIANCE", 10, "hdr"},
        {0, "#?RGBE", 6, "hdr"},
        {0, "BM", 2, "bmp"},
        {0, "P5", 2, "pgm"},
        {0, "P6", 2, "ppm"},
        {0, "\0\0\1\0", 4, "ico"},
    };
    const char *bytes = static_cast<const char *>(head);
    for (const auto &mark : marks) {
        if (size >= mark.offset + mark.length && std::memcmp(bytes + mark.offset, mark.mark, mark.length) == 0)
            return mark.format;
    }
    return size >= 18 && endsWithTga(name) ? "tga" : "";
}

} // namespace arkvale::service
