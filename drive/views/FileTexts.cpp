#include "FileTexts.h"

#include "SizeText.h"

#include <QDateTime>
#include <QStringList>
#include <QTextDocument>

namespace {

/// The last millisecond of the year 9999; what lies behind it is no time that a file could have.
constexpr quint64 LastTime = 253402300799999ULL;

/// A name longer than this is cut in the middle: a text of ten thousand characters would take the window's time.
constexpr int LongestLine = 240;
/// More marks on one letter would reach over the lines above and below.
constexpr int MostMarks = 3;
/// A message names so many entries and counts the others.
constexpr int MostNamed = 3;

/// Signs without a shape of their own that change the order in which others are shown.
bool turnsDirection(ushort c)
{
    return c == 0x061c || (c >= 0x200b && c <= 0x200f) || (c >= 0x202a && c <= 0x202e) ||
           (c >= 0x2060 && c <= 0x206f) || c == 0xfeff;
}

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
    const QString piece = QStringLiteral(": %1\r\n");
    QString text = tr("Name") + piece.arg(line(item.name));
    if (!item.isFolder())
        text += tr("Size") + piece.arg(size(item));
    return text + tr("Modifyed") + QStringLiteral(": %1").arg(time(item));
}

QString FileTexts::line(const QString &text)
{
    QString shown = text;
    if (text.size() > LongestLine)
        shown = text.left(LongestLine * 2 / 3) + QChar(0x2026) + text.right(LongestLine / 3);
    int marks = 0; // on the letter that comes before
    for (int i = 0; i < shown.size(); ++i) {
        const ushort c = shown.at(i).unicode();
        marks = c >= 0x300 && shown.at(i).isMark() ? marks + 1 : 0;
        if (marks > MostMarks) {
            shown.remove(i--, 1);
            continue;
        }
        if (c < 0x20)
            shown[i] = QChar(0x2400 + c); // the picture of the control character
        else if (c == 0x2028 || c == 0x2029)
            shown[i] = QChar(0x2424);
        else if ((c >= 0x7f && c < 0xa0) || turnsDirection(c))
            shown[i] = QChar(0xfffd);
    }
    return shown;
}

QString FileTexts::list(const QStringList &names)
{
    QStringList shown;
    for (const QString &name : names.mid(0, MostNamed))
        shown << QLatin1Char('"') + line(name) + QLatin1Char('"');
    const QString text = shown.join(QLatin1String(", "));
    return names.size() <= MostNamed ? text : tr("%1 and %2 more").arg(text).arg(names.size() - MostNamed);
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
