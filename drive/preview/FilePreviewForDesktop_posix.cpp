#include "FilePreviewForDesktop.h"

#include "MediaTypes.h"

#include <QDesktopServices>
#include <QFile>
#include <QMimeDatabase>
#include <QStandardPaths>
#include <QUrl>

namespace {

QStringList listsIn(const QStringList &configFolders, const QStringList &dataFolders)
{
    QStringList lists;
    for (const QString &folder : configFolders)
        lists.append(folder + QStringLiteral("/mimeapps.list"));
    for (const QString &folder : dataFolders) {
        lists.append(folder + QStringLiteral("/applications/mimeapps.list"));
        lists.append(folder + QStringLiteral("/applications/mimeinfo.cache"));
    }
    return lists;
}

/// The programs that the list names for the type. Sections of what is taken away are left out.
QStringList programsFor(const QString &list, const QString &mediaType)
{
    QFile file(list);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray wanted = mediaType.toUtf8() + '=';
    bool counts = false;
    QStringList programs;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine(65536).trimmed();
        if (line.startsWith('['))
            counts = line != "[Removed Associations]";
        else if (counts && line.startsWith(wanted))
            programs += QString::fromUtf8(line.mid(wanted.size())).split(QLatin1Char(';'), Qt::SkipEmptyParts);
    }
    return programs;
}

} // namespace

FilePreviewForDesktop::FilePreviewForDesktop()
    : FilePreviewForDesktop(QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation),
                            QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation))
{
}

FilePreviewForDesktop::FilePreviewForDesktop(const QStringList &configFolders, const QStringList &dataFolders)
    : m_lists(listsIn(configFolders, dataFolders))
    , m_programs(dataFolders)
{
}

bool FilePreviewForDesktop::hasProgram(const QString &mediaType) const
{
    for (const QString &list : m_lists) {
        for (const QString &program : programsFor(list, mediaType)) {
            for (const QString &folder : m_programs) {
                if (QFile::exists(folder + QStringLiteral("/applications/") + program))
                    return true;
                // A program in a folder of its own is named with a dash in place of the slash.
                QString nested = program;
                const int dash = nested.indexOf(QLatin1Char('-'));
                if (dash > 0 && QFile::exists(folder + QStringLiteral("/applications/") +
                                              nested.replace(dash, 1, QLatin1Char('/'))))
                    return true;
            }
        }
    }
    return false;
}

bool FilePreviewForDesktop::isSupported(const std::wstring &fileName) const
{
    const QString name = QString::fromStdWString(fileName);
    const QMimeDatabase database;
    const QMimeType type = database.mimeTypeForFile(name, QMimeDatabase::MatchExtension);
    QStringList types;
    if (!type.isDefault()) {
        types.append(type.name());
        types += type.aliases();
        types += type.allAncestors(); // an editor of plain text opens source code
        types.removeAll(QStringLiteral("application/octet-stream"));
    }
    // Players take kinds of video that the table of types has never heard of.
    const QString media = MediaTypes::ofFile(name);
    if (!media.isEmpty())
        types.append(media);
    for (const QString &one : qAsConst(types)) {
        if (hasProgram(one))
            return true;
    }
    return false;
}

bool FilePreviewForDesktop::open(const QString &localPath) const
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(localPath));
}

std::unique_ptr<PreviewBackend> PreviewBackend::create()
{
    return std::make_unique<FilePreviewForDesktop>();
}
