#include "FileOrder.h"

#include <QStringView>

#include <algorithm>

namespace {

/// The number that a name begins with, -1 when it begins with none. A number counts when its own decimal text begins
/// the name: "007" begins with no number, "00" with 0.
qint64 leadingNumber(QStringView text)
{
    int digits = 0;
    qint64 value = 0;
    while (digits < text.size() && text[digits] >= QLatin1Char('0') && text[digits] <= QLatin1Char('9')) {
        if (digits == 18)
            return -1;
        value = value * 10 + (text[digits++].unicode() - '0');
    }
    if (digits == 0 || (value != 0 && text[0] == QLatin1Char('0')))
        return -1;
    return value;
}

/// Stable merge of neighbouring runs; unlike a standard algorithm it may be given a rule with circles in it.
template <typename Before>
void mergeSort(QVector<FileItem> &items, const Before &before)
{
    const int count = items.size();
    QVector<int> from(count), to(count);
    for (int i = 0; i < count; ++i)
        from[i] = i;
    const FileItem *data = items.constData();
    for (int width = 1; width < count; width *= 2) {
        for (int start = 0; start < count; start += 2 * width) {
            const int middle = qMin(start + width, count), end = qMin(start + 2 * width, count);
            int left = start, right = middle, out = start;
            while (left < middle && right < end)
                to[out++] = before(data[from[right]], data[from[left]]) ? from[right++] : from[left++];
            while (left < middle)
                to[out++] = from[left++];
            while (right < end)
                to[out++] = from[right++];
        }
        from.swap(to);
        if (width > count / 2)
            break;
    }
    QVector<FileItem> sorted;
    sorted.reserve(count);
    for (int row : qAsConst(from))
        sorted.append(data[row]);
    items.swap(sorted);
}

} // namespace

FileOrder::Type FileOrder::typeOf(const QString &name)
{
    if (name == QLatin1String("FileSize"))
        return FileSize;
    return name == QLatin1String("Modified") ? Modified : FileName;
}

QString FileOrder::nameOf(Type type)
{
    static const char *const names[] = {"FileName", "FileSize", "Modified"};
    return QLatin1String(names[type]);
}

bool FileOrder::nameBefore(const QString &a, const QString &b)
{
    const QStringView left(a), right(b);
    qint64 leftNumber = leadingNumber(left), rightNumber = leadingNumber(right);
    if (leftNumber < 0 || rightNumber < 0) {
        const int shortest = qMin(a.size(), b.size());
        int common = 0;
        while (common < shortest && left[common] == right[common])
            ++common;
        leftNumber = leadingNumber(left.mid(common));
        rightNumber = leadingNumber(right.mid(common));
    }
    if (leftNumber >= 0 && rightNumber >= 0 && leftNumber != rightNumber)
        return leftNumber < rightNumber;
    return a < b;
}

bool FileOrder::before(const FileItem &a, const FileItem &b, Type type)
{
    if (a.isFolder() != b.isFolder())
        return a.isFolder();
    switch (type) {
    case FileSize:
        return a.isFolder() ? a.name < b.name : a.size < b.size;
    case Modified:
        return a.datetime < b.datetime;
    case FileName:
        break;
    }
    return nameBefore(a.name, b.name);
}

void FileOrder::sort(QVector<FileItem> &items, Type type)
{
    mergeSort(items, [type](const FileItem &a, const FileItem &b) { return before(a, b, type); });
}

int FileOrder::insertRow(const QVector<FileItem> &items, const FileItem &item, Type type, int without)
{
    int low = 0, high = without < 0 ? items.size() : items.size() - 1;
    while (low < high) {
        const int middle = low + (high - low) / 2;
        const int row = without >= 0 && middle >= without ? middle + 1 : middle;
        if (before(item, items[row], type))
            high = middle;
        else
            low = middle + 1;
    }
    return low;
}
