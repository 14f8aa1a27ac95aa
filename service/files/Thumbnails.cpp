#include "Thumbnails.h"

#include "ImageFormat.h"
#include "NameRules.h"

#include <QByteArray>
#include <QCryptographicHash>

namespace arkvale::service {

namespace {

constexpr std::uint64_t kLargest = 1ull << 30; // bytes of an image file
constexpr std::size_t kHead = 64;

std::string keyOf(const UserHome &home, const std::string &path, const zpdt::FileStat &stat, unsigned width,
                  unsigned height)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const std::string &part : {home.user, path, std::to_string(stat.modifiedNs), std::to_string(stat.size),
                                    std::to_string(width), std::to_string(height)}) {
        // With its zero byte, so that no two lists of parts read the same.
        hash.addData(part.c_str(), static_cast<int>(part.size()) + 1);
    }
    return hash.result().toHex().toStdString();
}

bool readWhole(const zpdt::SafeFolder &folder, const std::string &name, std::string &bytes)
{
    zpdt::SafeFile file;
    zpdt::FileStat stat;
    if (!folder.openRead(name, file).ok() || !file.stat(stat).ok() || stat.size == 0)
        return false;
    bytes.resize(stat.size);
    std::size_t got = 0;
    return file.readAt(0, &bytes[0], bytes.size(), got).ok() && got == bytes.size();
}

} // namespace

Outcome Thumbnails::get(const UserHome &home, const std::string &path, unsigned width, unsigned height,
                        std::string &png)
{
    std::vector<std::string> names;
    Outcome named = splitDrive(path, names);
    if (!named.ok())
        return named;
    const std::string at = zpdt::joinPath(names);
    zpdt::SafeFile file;
    zpdt::FileStat stat;
    zpdt::FileResult result = home.folder.openRead(at, file);
    if (result.ok())
        result = file.stat(stat);
    if (!result.ok())
        return Outcome::of(result, path);
    const std::string key = keyOf(home, at, stat, width, height) + ".png";
    const zpdt::SafeFolder &cache = home.storeroom->thumbs();
    if (readWhole(cache, key, png))
        return {};

    char head[kHead];
    std::size_t got = 0;
    result = file.readAt(0, head, sizeof(head), got);
    if (!result.ok())
        return Outcome::of(result, path);
    const std::string format = imageFormatOf(head, got, names.back());
    if (format.empty())
        return Outcome::failure(415, "not-an-image", "There is no thumbnail of this kind of file.");
    if (stat.size > kLargest)
        return Outcome::failure(413, "too-large", "The image is too large for a thumbnail.");
    Outcome outcome = m_workers.render(file, format, width, height, png);
    if (!outcome.ok())
        return outcome;
    // A cache that cannot be written is no reason to fail.
    const std::string temporary = randomName();
    zpdt::SafeFile kept;
    if (cache.openWrite(temporary, {true, true, false}, kept).ok()) {
        const bool whole = kept.writeAt(0, png.data(), png.size()).ok() && kept.close().ok();
        if (!whole || !cache.rename(temporary, key, true).ok())
            cache.removeFile(temporary);
        home.storeroom->thumbWritten(png.size());
    }
    return {};
}

} // namespace arkvale::service
