#include "MediaTypes.h"

#include <QHash>

namespace {

QHash<QString, QString> makeTable()
{
    const struct
    {
        const char *type;
        const char *endings;
    } kinds[] = {
        {"video/mp4",
         "mpeg mpg mpe m1v m2v mp4 m4v mov qt avi wmv asf flv f4v rm rmvb mkv webm 3gp 3g2 ts mts m2ts vob "
         "ogv divx dv mxf ipod psp swf"},
        {"audio/mpeg", "mp3 mp2 m4a aac wav wma ogg oga flac ape ac3 amr aif aiff mid midi ra opus"},
    };
    QHash<QString, QString> table;
    for (const auto &kind : kinds) {
        for (const QString &ending : QString::fromLatin1(kind.endings).split(QLatin1Char(' ')))
            table.insert(ending, QLatin1String(kind.type));
    }
    return table;
}

} // namespace

QString MediaTypes::ofFile(const QString &name)
{
    static const QHash<QString, QString> table = makeTable();
    return table.value(name.mid(name.lastIndexOf(QLatin1Char('.')) + 1).toLower());
}
