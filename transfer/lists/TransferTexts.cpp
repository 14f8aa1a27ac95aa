#include "TransferTexts.h"

#include <QDir>

#include <cmath>
#include <functional>
#include <string_view>

namespace {

constexpr double kUnit = 1024.0;
constexpr qint64 kKilo = 1024;
constexpr qint64 kMega = kKilo * 1024;
constexpr qint64 kGiga = kMega * 1024;

QString fixed(double value)
{
    return QString::number(value, 'f', 2);
}

QString joined(const QString &folder, const QString &name)
{
    if (folder.isEmpty())
        return name;
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}

} // namespace

QString TransferTexts::progress(qint64 done, qint64 total)
{
    if (total < 0)
        return QStringLiteral("0(B)/0(B)");
    if (total < kKilo)
        return QStringLiteral("%1(B)/%2(B)").arg(done).arg(total);
    // One unit for both numbers, so that they can be compared at a glance.
    if (total < kMega)
        return QStringLiteral("%1(KB)/%2(KB)").arg(fixed(done / kUnit), fixed(total / kUnit));
    if (total < kGiga)
        return QStringLiteral("%1(MB)/%2(MB)").arg(fixed(done / kUnit / kUnit), fixed(total / kUnit / kUnit));
    return QStringLiteral("%1(GB)/%2(GB)")
        .arg(fixed(done / kUnit / kUnit / kUnit), fixed(total / kUnit / kUnit / kUnit));
}

QString TransferTexts::speed(double megabits)
{
    if (!(megabits > 0.0) || !std::isfinite(megabits))
        return QStringLiteral("0 bps");
    if (megabits < 1.0 / kUnit)
        return QString::number(static_cast<qint64>(megabits * kUnit * kUnit)) + QStringLiteral(" bps");
    if (megabits < 1.0)
        return QString::number(static_cast<qint64>(megabits * kUnit)) + QStringLiteral(" Kbps");
    if (megabits < kUnit)
        return fixed(megabits) + QStringLiteral(" Mbps");
    return fixed(megabits / kUnit) + QStringLiteral(" Gbps");
}

QString TransferTexts::status(qint32 status)
{
    switch (status) {
    case ZPDT_PREPARING:
    case ZPDT_CONNECTING:
        return tr("preparing...");
    case ZPDT_TRANSFERRING:
        return tr("transferring...");
    case ZPDT_PAUSING:
        return tr("pausing...");
    case ZPDT_PAUSED:
        return tr("paused...");
    case ZPDT_CANCELING:
        return tr("canceling...");
    case ZPDT_SUCCESS:
        return tr("success...");
    default:
        return tr("waiting...");
    }
}

QString TransferTexts::toggleTip(qint32 status)
{
    switch (status) {
    case ZPDT_PAUSED:
        return tr("Start");
    case ZPDT_PAUSING:
        return tr("Pausing");
    case ZPDT_CANCELING:
        return tr("Canceling");
    default:
        return tr("Pause");
    }
}

QString TransferTexts::reason(ZpdtError error)
{
    switch (error) {
    case ZpdtError::None:
        break;
    case ZpdtError::Network:
        return tr("The connection to the transfer server failed");
    case ZpdtError::Refused:
        return tr("The server refused the transfer");
    case ZpdtError::NotFound:
        return tr("The source was not found");
    case ZpdtError::NoSpace:
        return tr("Not enough storage");
    case ZpdtError::ChangedSource:
        return tr("The source changed during the transfer");
    case ZpdtError::BadName:
        return tr("A name cannot be stored at the destination");
    case ZpdtError::Integrity:
        return tr("The data arrived damaged");
    case ZpdtError::Cancelled:
        return tr("Cancelled");
    case ZpdtError::LocalFile:
        return tr("A local file cannot be read or written");
    }
    return tr("The transfer failed");
}

QString TransferTexts::advice(ZpdtError error, const TaskRecord &task)
{
    switch (error) {
    case ZpdtError::Network:
        return tr("It is tried again by itself. If it lasts, check the network and the firewall.");
    case ZpdtError::Refused:
        return task.SubCenterId == QLatin1String("share")
                   ? tr("Whoever shared it may have ended that; ask for it to be shared again.")
                   : tr("Check that you may use this folder, log in again, then retry.");
    case ZpdtError::NotFound:
        return tr("It was moved, renamed or deleted. Put it back, then retry.");
    case ZpdtError::NoSpace:
        return tr("Make room at the destination; the task then goes on by itself.");
    case ZpdtError::ChangedSource:
        return tr("Another program is writing it. Retry when that is done.");
    case ZpdtError::BadName:
        return tr("Rename it, or choose another destination.");
    case ZpdtError::Integrity:
        return tr("Retry. If it happens again, have the disk and the network checked.");
    case ZpdtError::LocalFile:
        return tr("Close programs that use the file and check its permissions, then retry.");
    default:
        return QString();
    }
}

QString TransferTexts::taskKey(const TaskRecord &task)
{
    return QStringLiteral("*%1*%2*%3*%4*%5*")
        .arg(task.Path, task.Dest, task.From, task.SubCenterId, QString::number(task.Type));
}

int TransferTexts::share(const TaskRecord &task, int steps)
{
    if (task.Status == ZPDT_SUCCESS)
        return steps;
    if (task.FileSize <= 0 || task.Offset <= 0)
        return 0;
    const double part = static_cast<double>(task.Offset) / static_cast<double>(task.FileSize);
    return static_cast<int>(qMin(part * steps, steps - 1.0));
}

quint64 TransferTexts::keyHash(const TaskRecord &task)
{
    quint64 hash = static_cast<quint64>(task.Type);
    for (const QString *part : {&task.Path, &task.Dest, &task.From, &task.SubCenterId}) {
        const std::string_view bytes(reinterpret_cast<const char *>(part->constData()),
                                     static_cast<std::size_t>(part->size()) * sizeof(QChar));
        hash = hash * 0x9e3779b97f4a7c15u + std::hash<std::string_view>()(bytes);
    }
    return hash;
}

QString TransferTexts::duration(qint64 seconds)
{
    constexpr qint64 kMinute = 60, kHour = 60 * kMinute, kDay = 24 * kHour;
    if (seconds < 0)
        return QString();
    if (seconds < kMinute)
        return tr("%1 s").arg(qMax<qint64>(1, seconds));
    // Nobody can tell the seconds of an hour.
    if (seconds < 10 * kMinute)
        return tr("%1 min %2 s").arg(seconds / kMinute).arg(seconds % kMinute / 10 * 10);
    if (seconds < kHour)
        return tr("%1 min").arg(seconds / kMinute);
    if (seconds < kDay)
        return tr("%1 h %2 min").arg(seconds / kHour).arg(seconds % kHour / kMinute);
    return tr("%1 d %2 h").arg(seconds / kDay).arg(seconds % kDay / kHour);
}

QString TransferTexts::taskName(const TaskRecord &task)
{
    QString path = task.Path;
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    const QString name = path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
    return name.isEmpty() ? path : name;
}

QString TransferTexts::localPath(const TaskRecord &task)
{
    return QDir::cleanPath(task.Type == ZPDT_DOWNLOAD ? joined(task.Dest, taskName(task)) : task.Path);
}

QString TransferTexts::remotePath(const TaskRecord &task)
{
    return task.Type == ZPDT_UPLOAD ? joined(task.Dest, taskName(task)) : task.Path;
}
