#include "SizeText.h"

QString sizeText(quint64 bytes)
{
    static const char units[] = {'B', 'K', 'M', 'G', 'T', 'P', 'E'};
    int unit = 0;
    quint64 size = 1;
    while (unit < 6 && bytes > size * 1024) {
        size *= 1024;
        ++unit;
    }
    QString text = QString::number(static_cast<double>(bytes) / static_cast<double>(size), 'f', 2);
    while (text.endsWith(QLatin1Char('0')))
        text.chop(1);
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    return text + QLatin1Char(units[unit]);
}
