#include "LocalFolder.h"

#include "OrderedWork.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QHash>
#include <QMimeDatabase>

namespace {

constexpr int QuietTime = 400;  // ms
constexpr int ShortList = 2000; // entries whose details are read at once

} // namespace

LocalFolder::LocalFolder(QObject *parent)
    : QObject(parent)
    , m_work(new OrderedWork(this))
{
    m_quiet.setSingleShot(true);
    m_quiet.setInterval(QuietTime);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_quiet, QOverload<>::of(&QTimer::start));
    connect(&m_quiet, &QTimer::timeout, this, [this] { readNow(true, true); });
}

void LocalFolder::open(const QString &path)
{
    if (!m_watcher.directories().isEmpty())
        m_watcher.removePaths(m_watcher.directories());
    m_quiet.stop();
    m_path = path;
    m_watcher.addPath(path);
    readNow(false, false);
}

void LocalFolder::setHiddenShown(bool shown)
{
    if (m_hidden == shown)
        return;
    m_hidden = shown;
    readNow(true, true);
}

void LocalFolder::readNow(bool again, bool detailed)
{
    const quint64 number = ++m_reading;
    m_work->run([this, number, again, detailed, path = m_path, hidden = m_hidden]() -> OrderedWork::Deliver {
        QList<FileItem> items = read(path, hidden, detailed);
        // A short list is shown once, and whole.
        const bool whole = detailed || items.size() < ShortList;
        if (whole && !detailed)
            items = read(path, hidden, true);
        return [this, number, again, whole, items] {
            if (number != m_reading)
                return;
            emit listed(items, again);
            if (!whole && number == m_reading)
                readNow(true, true);
        };
    });
}

QList<FileItem> LocalFolder::read(const QString &path, bool hidden, bool detailed)
{
    QDir::Filters filters = QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System;
    if (hidden)
        filters |= QDir::Hidden;
    const QMimeDatabase types;
    QHash<QString, QString> known; // by ending: the table of types is slow
    QList<FileItem> items;
    QDirIterator entries(path, filters);
    while (entries.hasNext()) {
        entries.next();
        const QFileInfo info = entries.fileInfo();
        FileItem item;
        item.name = info.fileName();
        item.path = info.absoluteFilePath();
        item.type = info.isDir() ? FileItem::Folder : FileItem::File;
        if (detailed) {
            const QDateTime modified = info.lastModified();
            item.datetime = modified.isValid() ? quint64(qMax<qint64>(0, modified.toMSecsSinceEpoch())) : 0;
            item.size = item.isFolder() ? 0 : quint64(info.size());
        }
        if (!item.isFolder()) {
            const QString ending = info.suffix().toLower();
            auto type = known.find(ending);
            if (type == known.end())
                type = known.insert(
                    ending, types.mimeTypeForFile(QStringLiteral("x.") + ending, QMimeDatabase::MatchExtension).name());
            item.contentType = *type;
        }
        items.append(item);
    }
    return items;
}
