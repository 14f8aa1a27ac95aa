#include "TestFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QVector>

#include <cstring>

void writeFile(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size())
        qFatal("cannot write %s", qPrintable(path));
}

QByteArray noise(int size, quint32 seed)
{
    QVector<quint32> words((size + 3) / 4);
    QRandomGenerator(seed).fillRange(words.data(), words.size());
    QByteArray data(size, Qt::Uninitialized);
    std::memcpy(data.data(), words.constData(), static_cast<std::size_t>(size));
    return data;
}
