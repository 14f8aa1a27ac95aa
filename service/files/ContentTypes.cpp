#include "ContentTypes.h"

#include <QMimeDatabase>
#include <QMimeType>
#include <QString>

namespace arkvale::service {

namespace {

constexpr std::size_t kMaxSuffix = 16;
// Suffixes come from users: what is remembered of them stays bounded.
constexpr std::size_t kMaxKnown = 4096;

std::string suffixOf(const std::string &name)
{
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0 || name.size() - dot - 1 > kMaxSuffix)
        return {};
    std::string suffix = name.substr(dot + 1);
    for (char &c : suffix)
        c = (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
    // What a packed tar holds matters more than how it is packed.
    const std::size_t before = name.rfind(".tar.", dot);
    if (before != std::string::npos && before > 0 && before + 4 == dot)
        suffix = "tar." + suffix;
    return suffix;
}

const char *iconOf(const QMimeType &type)
{
    const QString name = type.name();
    if (name.startsWith(QLatin1String("image/")))
        return "image";
    if (name.startsWith(QLatin1String("video/")))
        return "video";
    if (name.startsWith(QLatin1String("audio/")))
        return "audio";
    for (const char *archive : {"application/zip", "application/x-tar", "application/x-7z-compressed",
                                "application/gzip", "application/x-bzip", "application/x-xz", "application/zstd",
                                "application/x-compressed-tar", "application/x-bzip-compressed-tar",
                                "application/x-xz-compressed-tar", "application/vnd.rar", "application/x-rar"}) {
        if (name == QLatin1String(archive))
            return "archive";
    }
    if (name == QLatin1String("application/pdf") || name.contains(QLatin1String("officedocument")) ||
        name.contains(QLatin1String("opendocument")) || name == QLatin1String("application/msword") ||
        name.startsWith(QLatin1String("application/vnd.ms-")))
        return "document";
    return type.inherits(QStringLiteral("text/plain")) ? "text" : "file";
}

std::string iconAddress(const char *kind)
{
    return std::string("icons/file/") + kind + ".png";
}

} // namespace

ContentTypes::Type ContentTypes::ofFile(const std::string &name)
{
    const std::string suffix = suffixOf(name);
    if (suffix.empty())
        return {"application/octet-stream", iconAddress("file")};
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto known = m_known.find(suffix);
        if (known != m_known.end())
            return known->second;
    }
    const QMimeType mime = QMimeDatabase().mimeTypeForFile(QStringLiteral("x.") + QString::fromStdString(suffix),
                                                           QMimeDatabase::MatchExtension);
    Type type{mime.name().toStdString(), iconAddress(iconOf(mime))};
    // The one picture format with thumbnails that the machine's table does not know.
    if (suffix == "hdr")
        type = {"image/vnd.radiance", iconAddress("image")};
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_known.size() < kMaxKnown)
        m_known.emplace(suffix, type);
    return type;
}

ContentTypes::Type ContentTypes::ofFolder()
{
    return {std::string(), iconAddress("folder")};
}

} // namespace arkvale::service
