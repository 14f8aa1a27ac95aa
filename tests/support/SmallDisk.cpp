#include "SmallDisk.h"

#include <QDir>
#include <QProcess>

namespace {

bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

} // namespace

SmallDisk::SmallDisk(const QString &folder, int megabytes)
    : m_folder(folder)
    , m_mounted(
          QDir().mkpath(folder) &&
          run(QStringLiteral("mount"), {QStringLiteral("-t"), QStringLiteral("tmpfs"), QStringLiteral("-o"),
                                        QStringLiteral("size=%1m").arg(megabytes), QStringLiteral("tmpfs"), folder}))
{
}

SmallDisk::~SmallDisk()
{
    if (m_mounted)
        run(QStringLiteral("umount"), {QStringLiteral("-l"), m_folder});
}

bool SmallDisk::grow(int megabytes)
{
    return run(QStringLiteral("mount"),
               {QStringLiteral("-o"), QStringLiteral("remount,size=%1m").arg(megabytes), m_folder});
}
