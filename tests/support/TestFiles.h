#pragma once

#include <QByteArray>
#include <QString>

/// Writes the file, with the folders above it; a failure ends the test program.
void writeFile(const QString &path, const QByteArray &data);
/// Bytes without a pattern, the same ones for the same seed.
QByteArray noise(int size, quint32 seed);
