#include "CommandLineTransfer.h"

#include "OrderedWork.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>

namespace {

constexpr int kUpload = 0;
constexpr int kDownload = 1;
constexpr int kMostNames = 20;

} // namespace

CommandLineTransfer::CommandLineTransfer(const CommandLineRequest &request, const QString &shownFolder, QObject *parent)
    : QObject(parent)
    , m_request(request)
    , m_names(namesOf(request))
    , m_remote(request.remote.isEmpty() ? shownFolder : request.remote)
    , m_work(new OrderedWork(this))
{
    m_remote.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (!m_remote.startsWith(QLatin1Char('/')))
        m_remote.prepend(QLatin1Char('/'));
    if (!m_remote.endsWith(QLatin1Char('/')))
        m_remote.append(QLatin1Char('/'));
}

QStringList CommandLineTransfer::namesOf(const CommandLineRequest &request)
{
    // An absent list holds one empty text, and a doubled comma leaves one between two names.
    QStringList names = request.filelist + request.dirlist;
    names.removeAll(QString());
    names.removeDuplicates();
    return names;
}

bool CommandLineTransfer::isPlainName(const QString &name)
{
    // The list names what stands in the folder itself; nothing leads out of it or further down.
    if (name == QLatin1String(".") || name == QLatin1String("..") || name.contains(QChar(0)))
        return false;
#ifdef Q_OS_WIN
    if (name.contains(QLatin1Char('\\')) || name.contains(QLatin1Char(':')))
        return false;
#endif
    return !name.contains(QLatin1Char('/'));
}

bool CommandLineTransfer::isEmpty() const
{
    if (m_request.method == kDownload)
        return m_names.isEmpty();
    if (m_request.method == kUpload)
        return m_names.isEmpty() && (!m_request.local.isEmpty() || m_request.remote.isEmpty());
    return true;
}

void CommandLineTransfer::start()
{
    if (isEmpty())
        return;
    m_work->run([this]() -> OrderedWork::Deliver {
        return [this] {
            if (m_request.method == kDownload)
                emit listingWanted(m_remote);
            else if (m_request.local.isEmpty())
                emit uploadChoiceWanted(m_remote);
            else
                startUpload();
        };
    });
}

void CommandLineTransfer::startUpload()
{
    const QString local = QDir(QDir::fromNativeSeparators(m_request.local)).absolutePath();
    const QStringList names = m_names;
    // The folder may lie on a slow disk or a sleeping network share.
    m_work->run([this, local, names]() -> OrderedWork::Deliver {
        QStringList files;
        QStringList folders;
        QStringList missing;
        const QDir folder(local);
        const bool there = folder.exists();
        for (const QString &name : names) {
            const QFileInfo info(folder.filePath(name));
            if (!isPlainName(name) || !info.exists())
                missing << name;
            else
                (info.isDir() ? folders : files) << info.absoluteFilePath();
        }
        return [this, there, local, files, folders, missing] {
            const QString shown = QDir::toNativeSeparators(local);
            tell({there ? missingText(missing, shown) : tr("There is no folder \"%1\".").arg(shown)});
            if (!files.isEmpty() || !folders.isEmpty())
                emit upload(files, folders, m_remote);
        };
    });
}

void CommandLineTransfer::setListing(bool known, const QList<FileItem> &entries)
{
    if (!known) {
        emit problem(tr("The folder \"%1\" could not be read, nothing was downloaded.").arg(m_remote));
        return;
    }
    QHash<QString, const FileItem *> byName;
    for (const FileItem &entry : entries)
        byName.insert(entry.name, &entry);
    QList<FileItem> files;
    QList<FileItem> folders;
    QStringList missing;
    for (const QString &name : qAsConst(m_names)) {
        const FileItem *entry = byName.value(name);
        if (!entry) {
            missing << name;
            continue;
        }
        FileItem item = *entry;
        item.path = m_remote + name;
        (item.isFolder() ? folders : files) << item;
    }
    const QString notFound = missingText(missing, m_remote);
    if (m_request.local.isEmpty() || (files.isEmpty() && folders.isEmpty())) {
        tell({notFound});
        if (!files.isEmpty() || !folders.isEmpty())
            emit download(files, folders, QString());
        return;
    }
    const QString local = QDir(QDir::fromNativeSeparators(m_request.local)).absolutePath();
    m_work->run([this, local, files, folders, notFound]() -> OrderedWork::Deliver {
        const bool usable = QDir().mkpath(local) && QFileInfo(local).isWritable();
        const QString unusable = usable ? QString()
                                        : tr("The folder \"%1\" cannot be written, nothing was downloaded.")
                                              .arg(QDir::toNativeSeparators(local));
        return [this, local, files, folders, notFound, unusable] {
            tell({notFound, unusable});
            if (unusable.isEmpty())
                emit download(files, folders, local);
        };
    });
}

QString CommandLineTransfer::missingText(const QStringList &names, const QString &folder)
{
    if (names.isEmpty())
        return QString();
    QString list = QStringList(names.mid(0, kMostNames)).join(QLatin1Char('\n'));
    if (names.size() > kMostNames)
        list += QLatin1Char('\n') + tr("and %1 more").arg(names.size() - kMostNames);
    return tr("Not found in \"%1\":").arg(folder) + QLatin1Char('\n') + list;
}

void CommandLineTransfer::tell(const QStringList &texts)
{
    QStringList said = texts;
    said.removeAll(QString());
    if (!said.isEmpty())
        emit problem(said.join(QLatin1Char('\n')));
}
