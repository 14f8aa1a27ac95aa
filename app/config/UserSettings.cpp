#include "UserSettings.h"

#include "DataBaseManager.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QString kDriver = QStringLiteral("QSQLITE");
const QString kDefaultSubCenterId = QStringLiteral("DefaultSubCenterId");
const QString kTargetSpeed = QStringLiteral("TargetSpeed");
const QString kDownloadPathSettings = QStringLiteral("DownloadPathSettings");

qint64 speed(const QJsonValue &value, qint64 fallback)
{
    const double number = value.toDouble(-1);
    return number >= 0 && number < 1e15 ? static_cast<qint64>(number) : fallback;
}

QString compact(const QJsonArray &array)
{
    return QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Compact));
}

} // namespace

UserSettings UserSettings::load(const QString &database)
{
    const DataBaseManager manager(database, kDriver);
    UserSettings out;
    out.defaultSubCenterId = manager.value(kDefaultSubCenterId);
    out.targetSpeeds = targetSpeedsFromText(manager.value(kTargetSpeed));
    out.downloadPaths = downloadPathsFromText(manager.value(kDownloadPathSettings));
    return out;
}

bool UserSettings::save(const QString &database) const
{
    DataBaseManager manager(database, kDriver);
    return manager.setValues({{kDefaultSubCenterId, defaultSubCenterId},
                              {kTargetSpeed, targetSpeedsText()},
                              {kDownloadPathSettings, downloadPathsText()}});
}

QMap<QString, TargetSpeed> UserSettings::targetSpeedsFromText(const QString &json)
{
    QMap<QString, TargetSpeed> out;
    const QJsonArray list = QJsonDocument::fromJson(json.toUtf8()).array();
    for (const QJsonValue &entry : list) {
        const QJsonObject record = entry.toObject();
        const QString id = record.value(QLatin1String("SubCenterId")).toString();
        if (id.isEmpty())
            continue;
        TargetSpeed one;
        one.transferType = record.value(QLatin1String("TransferType")).toString(one.transferType);
        one.downMode = record.value(QLatin1String("TransferDownMode")).toString(one.downMode);
        one.upMode = record.value(QLatin1String("TransferUpMode")).toString(one.upMode);
        one.downloadTargetSpeed = speed(record.value(QLatin1String("DownloadTargetSpeed")), one.downloadTargetSpeed);
        one.uploadTargetSpeed = speed(record.value(QLatin1String("UploadTargetSpeed")), one.uploadTargetSpeed);
        out.insert(id, one);
    }
    return out;
}

QMap<QString, DownloadPathSetting> UserSettings::downloadPathsFromText(const QString &json)
{
    QMap<QString, DownloadPathSetting> out;
    const QJsonArray list = QJsonDocument::fromJson(json.toUtf8()).array();
    for (const QJsonValue &entry : list) {
        const QJsonObject record = entry.toObject();
        const QString id = record.value(QLatin1String("SubCenterId")).toString();
        if (id.isEmpty())
            continue;
        DownloadPathSetting one;
        one.alwaysAsk = record.value(QLatin1String("bAlwaysAsk")).toBool(one.alwaysAsk);
        one.alwaysUseDefaultPath =
            record.value(QLatin1String("bAlwaysUseDefaultPath")).toBool(one.alwaysUseDefaultPath);
        one.defaultPath = record.value(QLatin1String("defaultPath")).toString();
        out.insert(id, one);
    }
    return out;
}

QString UserSettings::targetSpeedsText() const
{
    QJsonArray list;
    for (auto it = targetSpeeds.begin(); it != targetSpeeds.end(); ++it) {
        list << QJsonObject{{QStringLiteral("SubCenterId"), it.key()},
                            {QStringLiteral("UploadTargetSpeed"), it->uploadTargetSpeed},
                            {QStringLiteral("DownloadTargetSpeed"), it->downloadTargetSpeed},
                            {QStringLiteral("TransferType"), it->transferType},
                            {QStringLiteral("TransferUpMode"), it->upMode},
                            {QStringLiteral("TransferDownMode"), it->downMode}};
    }
    return compact(list);
}

QString UserSettings::downloadPathsText() const
{
    QJsonArray list;
    for (auto it = downloadPaths.begin(); it != downloadPaths.end(); ++it) {
        list << QJsonObject{{QStringLiteral("SubCenterId"), it.key()},
                            {QStringLiteral("bAlwaysAsk"), it->alwaysAsk},
                            {QStringLiteral("bAlwaysUseDefaultPath"), it->alwaysUseDefaultPath},
                            {QStringLiteral("defaultPath"), it->defaultPath}};
    }
    return compact(list);
}
