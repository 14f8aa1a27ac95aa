#include "PathMemory.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

constexpr qint64 kBetterSeconds = 4 * 3600;
constexpr qint64 kBlockedSeconds = 3600;
constexpr qint64 kMostBytes = 256 * 1024;
constexpr int kMostEntries = 500;

const QString kUdp = QStringLiteral("udp");
const QString kTcp = QStringLiteral("tcp");
const QString kBlocked = QStringLiteral("blocked");

} // namespace

PathMemory::PathMemory(const QString &file)
    : m_file(file)
{
    if (m_file.isEmpty())
        m_file = QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/transfer-paths");
    QFile in(m_file);
    if (!in.open(QIODevice::ReadOnly))
        return;
    const QJsonObject servers = QJsonDocument::fromJson(in.read(kMostBytes)).object();
    for (auto it = servers.constBegin(); it != servers.constEnd(); ++it) {
        const QJsonObject found = it.value().toObject();
        const QString word = found.value(QLatin1String("path")).toString();
        Entry entry;
        entry.verdict = {word == kUdp ? Carrier::Udp : Carrier::Tcp, word == kBlocked,
                         found.value(QLatin1String("rate")).toDouble()};
        entry.until = QDateTime::fromString(found.value(QLatin1String("until")).toString(), Qt::ISODate);
        if (entry.until.isValid())
            m_entries.insert(it.key(), entry);
    }
}

std::optional<PathVerdict> PathMemory::find(const QString &server, const QDateTime &now) const
{
    const auto entry = m_entries.constFind(server);
    if (entry == m_entries.constEnd() || now >= entry->until || now.secsTo(entry->until) > kBetterSeconds)
        return std::nullopt;
    return entry->verdict;
}

void PathMemory::store(const QString &server, const PathVerdict &verdict, const QDateTime &now)
{
    for (auto it = m_entries.begin(); it != m_entries.end();)
        it = it->until <= now ? m_entries.erase(it) : std::next(it);
    if (m_entries.size() >= kMostEntries)
        m_entries.clear();
    m_entries.insert(server, {verdict, now.addSecs(verdict.udpBlocked ? kBlockedSeconds : kBetterSeconds)});
    save();
}

void PathMemory::save() const
{
    QJsonObject servers;
    for (auto it = m_entries.constBegin(); it != m_entries.constEnd(); ++it) {
        const QString word = it->verdict.udpBlocked ? kBlocked : it->verdict.better == Carrier::Udp ? kUdp : kTcp;
        servers.insert(it.key(), QJsonObject{{QStringLiteral("path"), word},
                                             {QStringLiteral("rate"), it->verdict.rate},
                                             {QStringLiteral("until"), it->until.toString(Qt::ISODate)}});
    }
    // What cannot be kept is found out anew.
    QDir().mkpath(QFileInfo(m_file).path());
    QSaveFile out(m_file);
    if (out.open(QIODevice::WriteOnly) && out.write(QJsonDocument(servers).toJson()) > 0)
        out.commit();
}
