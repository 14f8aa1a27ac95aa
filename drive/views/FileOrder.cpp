#include "FileOrder.h"

#include <QStringView>

#include <algorithm>
#include <utility>
#include <vector>

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

/// What sorting looks at, apart from the entries: the keys lie side by side, which is most of the speed.
struct Key
{
    QStringView name;
    quint64 value; ///< size or time
    int row;
};

/// Stable merge of neighbouring runs; unlike a standard algorithm it may be given a rule with circles in it.
template <typename Before>
void mergeSort(std::vector<Key> &keys, const Before &before)
{
    constexpr size_t Run = 8;
    const size_t count = keys.size();
    for (size_t start = 0; start < count; start += Run) {
        for (size_t i = start + 1; i < std::min(start + Run, count); ++i) {
            const Key key = keys[i];
            size_t at = i;
            for (; at > start && before(key, keys[at - 1]); --at)
                keys[at] = keys[at - 1];
            keys[at] = key;
        }
    }
    std::vector<Key> other(count);
    for (size_t width = Run; width < count; width *= 2) {
        for (size_t start = 0; start < count; start += 2 * width) {
            const size_t middle = std::min(start + width, count), end = std::min(start + 2 * width, count);
            auto left = keys.begin() + long(start), right = keys.begin() + long(middle);
            const auto leftEnd = right, rightEnd = keys.begin() + long(end);
            auto out = other.begin() + long(start);
            // Runs that follow one another already, as in a list that comes sorted, are taken as they are.
            const bool apart = right == rightEnd || !before(*right, *(leftEnd - 1));
            while (!apart && left != leftEnd && right != rightEnd)
                *out++ = before(*right, *left) ? *right++ : *left++;
            out = std::copy(left, leftEnd, out);
            std::copy(right, rightEnd, out);
        }
        keys.swap(other);
    }
}

bool naturallyBefore(QStringView a, QStringView b)
{
    qint64 first = leadingNumber(a), second = leadingNumber(b);
    int common = 0;
    if (first < 0 || second < 0) {
        const int shortest = int(std::min(a.size(), b.size()));
        while (common < shortest && a[common] == b[common])
            ++common;
        first = leadingNumber(a.mid(common));
        second = leadingNumber(b.mid(common));
    }
    if (first >= 0 && second >= 0 && first != second)
        return first < second;
    return a.mid(common) < b.mid(common);
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
    return naturallyBefore(a, b);
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
    std::vector<Key> folders, files;
    for (int row = 0; row < items.size(); ++row) {
        const FileItem &item = items.at(row);
        (item.isFolder() ? folders : files).push_back({item.name, type == FileSize ? item.size : item.datetime, row});
    }
    const auto byName = [](const Key &a, const Key &b) { return naturallyBefore(a.name, b.name); };
    const auto byPlainName = [](const Key &a, const Key &b) { return a.name < b.name; };
    const auto byValue = [](const Key &a, const Key &b) { return a.value < b.value; };
    switch (type) {
    case FileName:
        mergeSort(folders, byName);
        mergeSort(files, byName);
        break;
    case FileSize:
        mergeSort(folders, byPlainName);
        mergeSort(files, byValue);
        break;
    case Modified:
        mergeSort(folders, byValue);
        mergeSort(files, byValue);
        break;
    }
    QVector<FileItem> sorted;
    sorted.reserve(items.size());
    for (const std::vector<Key> *keys : {&folders, &files}) {
        for (const Key &key : *keys)
            sorted.append(std::move(items[key.row]));
    }
    items.swap(sorted);
}

void FileOrder::merge(QVector<FileItem> &items, QVector<FileItem> more, Type type)
{
    QVector<FileItem> all;
    all.reserve(items.size() + more.size());
    auto next = more.begin();
    for (FileItem &item : items) {
        while (next != more.end() && before(*next, item, type))
            all.append(std::move(*next++));
        all.append(std::move(item));
    }
    while (next != more.end())
        all.append(std::move(*next++));
    items.swap(all);
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
