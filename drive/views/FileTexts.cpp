#include "FileTexts.h"

#include "SizeText.h"

#include <QDateTime>
#include <QStringList>
#include <QTextDocument>

namespace {

/// The last millisecond of the year 9999; what lies behind it is no time that a file could have.
constexpr quint64 LastTime = 253402300799999ULL;

bool endsWithOneOf(const QString &name, const char *const (&endings)[8])
{
    for (const char *ending : endings) {
        if (name.endsWith(QLatin1String(ending), Qt::CaseInsensitive))
            return true;
    }
    return false;
}

} // namespace

QString FileTexts::toolTip(const FileItem &item)
{
    const QString piece = QStringLiteral(": %1");
    QStringList lines{tr("Name") + piece.arg(item.name)};
    if (!item.isFolder())
        lines << tr("Size") + piece.arg(size(item));
    lines << tr("Modifyed") + piece.arg(time(item));
    return lines.join(QLatin1String("\r\n"));
}

QString FileTexts::plainToolTip(const QString &text)
{
    return text.contains(QLatin1Char('<')) ? Qt::convertFromPlainText(text) : text;
}

QString FileTexts::time(const FileItem &item)
{
    if (item.datetime == 0 || item.datetime > LastTime)
        return {};
    return QDateTime::fromMSecsSinceEpoch(qint64(item.datetime)).toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

QString FileTexts::size(const FileItem &item)
{
    return item.isFolder() ? QString() : sizeText(item.size);
}

QString FileTexts::iconName(const FileItem &item)
{
    static const char *const archives[8] = {".zip", ".rar", ".7z", ".gz", ".tar", ".bz2", ".xz", ".tgz"};
    static const char *const documents[8] = {".txt", ".pdf", ".doc", ".docx", ".xls", ".xlsx", ".md", ".pptx"};
    static const char *const videos[8] = {".mp4", ".mov", ".mkv", ".avi", ".webm", ".mpeg", ".rmvb", ".m4v"};
    if (item.isFolder())
        return QStringLiteral("folder");
    const QString &type = item.contentType;
    if (type.startsWith(QLatin1String("image/")))
        return QStringLiteral("image");
    if (type.startsWith(QLatin1String("video/")) || endsWithOneOf(item.name, videos))
        return QStringLiteral("video");
    if (type == QLatin1String("application/zip") || endsWithOneOf(item.name, archives))
        return QStringLiteral("archive");
    if (type.startsWith(QLatin1String("text/")) || endsWithOneOf(item.name, documents))
        return QStringLiteral("document");
    return QStringLiteral("file");
}
