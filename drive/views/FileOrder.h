#pragma once

#include "FileItem.h"

#include <QVector>

/// The order of entries in the views. The natural rule for names compares pairs and is no strict order (a19, a20 and
/// a100 form a circle), so sorting goes through a stable merge sort and nothing else. Pure functions.
class FileOrder
{
public:
    enum Type
    {
        FileName,
        FileSize,
        Modified
    };

    /// "FileName", "FileSize" or "Modified"; any other text is FileName.
    static Type typeOf(const QString &name);
    static QString nameOf(Type type);

    /// The natural name rule: a comes before b.
    static bool nameBefore(const QString &a, const QString &b);
    static bool before(const FileItem &a, const FileItem &b, Type type);
    static void sort(QVector<FileItem> &items, Type type);
    /// Puts the sorted @p more among the sorted @p items.
    static void merge(QVector<FileItem> &items, QVector<FileItem> more, Type type);
    /// Row at which @p item belongs in the sorted @p items, as if those did not hold the row @p without.
    static int insertRow(const QVector<FileItem> &items, const FileItem &item, Type type, int without = -1);
};
