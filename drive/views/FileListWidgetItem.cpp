#include "FileListWidgetItem.h"

#include <QFontMetrics>

namespace {

bool isBreak(QChar c)
{
    return c.isSpace() || c == QLatin1Char('_') || c == QLatin1Char('-') || c == QLatin1Char('.');
}

/// How many characters of the text fit, broken behind a word where one ends in the last third.
int fitting(const QString &text, const QFontMetrics &metrics, int width)
{
    int low = 1, high = text.size();
    while (low < high) {
        const int middle = (low + high + 1) / 2;
        if (metrics.horizontalAdvance(text, middle) <= width)
            low = middle;
        else
            high = middle - 1;
    }
    for (int at = low; at > low * 2 / 3; --at) {
        if (isBreak(text.at(at - 1)))
            return at;
    }
    return text.at(low - 1).isHighSurrogate() && low < text.size() ? low + 1 : low;
}

} // namespace

QStringList FileListWidgetItem::lines(const QFontMetrics &metrics, int width, int most) const
{
    QStringList lines;
    QString rest = name();
    while (!rest.isEmpty() && lines.size() + 1 < most && metrics.horizontalAdvance(rest) > width) {
        const int length = fitting(rest, metrics, width);
        lines << rest.left(length).trimmed();
        rest = rest.mid(length);
    }
    if (!rest.isEmpty())
        lines << metrics.elidedText(rest, Qt::ElideMiddle, width);
    return lines;
}
