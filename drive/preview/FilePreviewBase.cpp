#include "FilePreviewBase.h"

#include "GlobalConfig.h"
#include "MsgDlg.h"
#include "OrderedWork.h"
#include "PreviewProgress.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <filesystem>
#include <system_error>

namespace {

constexpr int MostNameBytes = 200;

std::filesystem::path diskPath(const QString &path)
{
#ifdef Q_OS_WIN
    return std::filesystem::path(path.toStdWString());
#else
    return std::filesystem::path(QFile::encodeName(path).toStdString());
#endif
}

/// A second name for the cached file, with the ending that programs go by. The cache's own name stays.
QString named(const QString &path, const QString &name)
{
    const QString folder = path + QStringLiteral(".open");
    const QString link = folder + QLatin1Char('/') + FilePreviewBase::harmlessName(name);
    if (QFileInfo(link).size() == QFileInfo(path).size() && QFile::exists(link))
        return link;
    if (!QDir().mkpath(folder))
        return {};
    QFile::setPermissions(link, QFile::ReadOwner | QFile::WriteOwner);
    QFile::remove(link);
    std::error_code failed;
    std::filesystem::create_hard_link(diskPath(path), diskPath(link), failed);
    if (failed && !QFile::copy(path, link)) // not every disk has second names
        return {};
    QFile::setPermissions(link, QFile::ReadOwner);
    return link;
}

} // namespace

FilePreviewBase::FilePreviewBase(const CacheFolders &folders, QWidget *window, QObject *parent)
    : QObject(parent)
    , m_folders(folders)
    , m_window(window)
    , m_backend(PreviewBackend::create())
    , m_work(new OrderedWork(this))
{
}

FilePreviewBase::~FilePreviewBase()
{
    for (const Opening &opening : qAsConst(m_openings))
        delete opening.progress;
}

void FilePreviewBase::setBackend(std::unique_ptr<PreviewBackend> backend)
{
    m_backend = std::move(backend);
}

bool FilePreviewBase::isProgram(const QString &name)
{
    static const QSet<QString> endings = [] {
        const QString all = QStringLiteral(
            "exe com bat cmd msi msp mst scr pif cpl dll sys drv hta js jse vbs vbe vb ws wsf wsh ps1 psm1 psd1 reg "
            "inf "
            "lnk url scf jar jnlp gadget application appref-ms chm hlp sct shb shs desktop appimage run sh bash csh "
            "zsh "
            "ksh fish command workflow app deb rpm flatpakref snap iso img vhd vhdx settingcontent-ms library-ms "
            "search-ms msc xll xlam diagcab theme website");
        const QStringList list = all.split(QLatin1Char(' '));
        return QSet<QString>(list.begin(), list.end());
    }();
    // A blank or a dot at the end is dropped by some systems, and the ending before it counts.
    QString shown = name;
    while (shown.endsWith(QLatin1Char('.')) || shown.endsWith(QLatin1Char(' ')))
        shown.chop(1);
    return endings.contains(shown.mid(shown.lastIndexOf(QLatin1Char('.')) + 1).toLower());
}

QString FilePreviewBase::harmlessName(const QString &name)
{
    QString harmless;
    for (const QChar c : name) {
        // Marks that turn the direction of writing make one ending look like another.
        const bool bad = c.unicode() < 0x20 || c.unicode() == 0x7f || c.category() == QChar::Other_Format ||
                         QStringLiteral("\\/:*?\"<>|").contains(c);
        harmless += bad ? QLatin1Char('_') : c;
    }
    // The ending is what counts, so a long name loses its beginning.
    while (harmless.toUtf8().size() > MostNameBytes)
        harmless.remove(0, harmless.at(0).isHighSurrogate() ? 2 : 1);
    while (harmless.endsWith(QLatin1Char('.')) || harmless.endsWith(QLatin1Char(' ')))
        harmless.chop(1);
    // In front of a device's name, and of a name that hides a file, something else.
    const QString stem = harmless.section(QLatin1Char('.'), 0, 0).toLower().trimmed();
    static const QSet<QString> devices = {QStringLiteral("con"), QStringLiteral("prn"),    QStringLiteral("aux"),
                                          QStringLiteral("nul"), QStringLiteral("conin$"), QStringLiteral("conout$")};
    const bool numbered = stem.size() == 4 && stem.at(3).isDigit() &&
                          (stem.startsWith(QLatin1String("com")) || stem.startsWith(QLatin1String("lpt")));
    if (stem.isEmpty() || devices.contains(stem) || numbered)
        harmless.prepend(QLatin1Char('_'));
    return harmless;
}

void FilePreviewBase::open(const FileItem &item)
{
    if (!m_backend || !client())
        return;
    if (isProgram(item.name) || !m_backend->isSupported(item.name.toStdWString()))
        return tell(tr("Preview of the file is not supported."));
    const int limit = GlobalConfig::instance()->previewFileMaxSize();
    if (item.size >= quint64(qMax(0, limit)) * 1048576)
        return tell(tr("Preview of file larger than %1MB is not supported, please download it.").arg(limit));
    const QString path = m_folders.file(item);
    if (FetchJob::isThere(item, path))
        show(item, path);
    else
        fetch(item, path);
}

void FilePreviewBase::fetch(const FileItem &item, const QString &path)
{
    if (m_openings.contains(path)) {
        if (m_openings[path].progress)
            m_openings[path].progress->show();
        return;
    }
    Opening opening;
    opening.job = FetchJob::start(item, path, *client(), request(item));
    opening.progress = new PreviewProgress(item.name, m_window);
    connect(opening.job.get(), &FetchJob::progress, opening.progress, &PreviewProgress::setProgress);
    connect(opening.job.get(), &FetchJob::finished, this, [this, item, path](bool ok) {
        if (!m_openings.contains(path))
            return;
        end(path);
        if (ok)
            show(item, path);
        else
            tell(tr("File loading failed!"));
    });
    connect(opening.progress, &PreviewProgress::cancelled, this, [this, path] { end(path); });
    m_openings.insert(path, opening);
}

void FilePreviewBase::end(const QString &path)
{
    const Opening opening = m_openings.take(path);
    if (opening.progress)
        opening.progress->deleteLater();
    // Not let go of inside its own signal.
    if (opening.job) {
        opening.job->disconnect(this);
        QMetaObject::invokeMethod(
            this, [job = opening.job] { Q_UNUSED(job) }, Qt::QueuedConnection);
    }
}

void FilePreviewBase::show(const FileItem &item, const QString &path)
{
    m_work->run([this, item, path]() -> OrderedWork::Deliver {
        const QString link = named(path, item.name);
        return [this, item, link] {
            if (!m_backend)
                return;
            if (link.isEmpty() || !m_backend->open(link))
                tell(tr("File loading failed!"));
            else
                emit opened(item);
        };
    });
}

void FilePreviewBase::tell(const QString &text)
{
    // Not on the stack: the dialog is a child of the window, which may go away while it is open.
    const QPointer<MsgDlg> dialog = new MsgDlg(m_window);
    dialog->setTitle(tr("Tip"));
    dialog->setText(text);
    dialog->setButtonVisible(QStringLiteral("cancel"), false);
    dialog->exec();
    delete dialog;
}
