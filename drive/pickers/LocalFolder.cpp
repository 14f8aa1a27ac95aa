#include "LocalFolder.h"

#include "OrderedWork.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QHash>
#include <QMimeDatabase>

namespace {

constexpr int QuietTime = 400; // ms

} // namespace

LocalFolder::LocalFolder(QObject *parent)
    : QObject(parent)
    , m_work(new OrderedWork(this))
{
    m_quiet.setSingleShot(true);
    m_quiet.setInterval(QuietTime);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_quiet, QOverload<>::of(&QTimer::start));
    connect(&m_quiet, &QTimer::timeout, this, [this] { readNow(true); });
}

void LocalFolder::open(const QString &path)
{
    if (!m_watcher.directories().isEmpty())
        m_watcher.removePaths(m_watcher.directories());
    m_quiet.stop();
    m_path = path;
    m_watcher.addPath(path);
    readNow(false);
}

void LocalFolder::setHiddenShown(bool shown)
{
    if (m_hidden == shown)
        return;
    m_hidden = shown;
    readNow(true);
}

void LocalFolder::readNow(bool again)
{
    const quint64 number = ++m_reading;
    m_work->run([this, number, again, path = m_path, hidden = m_hidden]() -> OrderedWork::Deliver {
        const QList<FileItem> items = read(path, hidden);
        return [this, number, again, items] {
            if (number == m_reading)
                emit listed(items, again);
        };
    });
}

QList<FileItem> LocalFolder::read(const QString &path, bool hidden)
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
        const QDateTime modified = info.lastModified();
        item.datetime = modified.isValid() ? quint64(qMax<qint64>(0, modified.toMSecsSinceEpoch())) : 0;
        if (!item.isFolder()) {
            item.size = quint64(info.size());
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
