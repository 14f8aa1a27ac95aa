#include "ConfigLocations.h"
#include "InstallSettings.h"
#include "ServiceReplies.h"
#include "SizeText.h"
#include "TestSupport.h"
#include "UserSettings.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace {

/// Every key with a value that differs from its default.
QJsonObject unusualSettings()
{
    return {{"Language", "zh_cn"},
            {"Auth", "https://drive.example/api"},
            {"ListSubCenter", "https://drive.example/list"},
            {"ResetPassword", QJsonObject{{"default", "r"}, {"zh_cn", "rz"}}},
            {"Register", QJsonObject{{"default", "g"}}},
            {"UserProtocol", QJsonObject{{"default", "p"}}},
            {"HelpUrl", QJsonObject{{"default", "h"}}},
            {"UpdateUrl", "https://drive.example/update"},
            {"Version", "9.8"},
            {"SID", "sid"},
            {"Platform", "plat"},
            {"UserType", "type"},
            {"DisableShare", true},
            {"StartWssWhenOpen", true},
            {"WSSProt", 1234},
            {"ZPDT", QJsonObject{{"MSS", 1}, {"BeVerify", 2}, {"DownloadLimitCount", 3}, {"UploadLimitCount", 4}}},
            {"Settings", QJsonObject{{"Show", 7}, {"SubPage", QJsonObject{{"Transfer", 8}}}}},
            {"PreviewFileMaxSize", 55}};
}

/// All settings as one JSON object, by way of the written file.
QJsonObject written(const InstallSettings &settings)
{
    QTemporaryDir folder;
    if (!settings.write(folder.filePath("arkvale.ini")))
        return {};
    QFile file(folder.filePath("arkvale.ini"));
    file.open(QIODevice::ReadOnly);
    return QJsonDocument::fromJson(file.readAll()).object();
}

QJsonObject defaults()
{
    return written(InstallSettings());
}

} // namespace

class TestConfigFiles : public StrictTest
{
    Q_OBJECT

private slots:
    void sizes_data();
    void sizes();
    void settingsSurviveTheFile();
    void wrongTypes_data();
    void wrongTypes();
    void absentKeys();
    void brokenFiles_data();
    void brokenFiles();
    void failedWriteKeepsTheOldFile();
    void unknownKeysStay();
    void shippedTemplateIsComplete();
    void knownUsers();
    void userSettingsText_data();
    void userSettingsText();
    void folderNames();
    void subCenterReply();
    void otherReplies();

private:
    QTemporaryDir m_folder;
    QString put(const QByteArray &content)
    {
        QString path = m_folder.filePath("arkvale.ini");
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(content);
        return path;
    }
};

void TestConfigFiles::sizes_data()
{
    QTest::addColumn<quint64>("bytes");
    QTest::addColumn<QString>("text");
    const auto row = [](quint64 bytes, const char *text) { QTest::newRow(text) << bytes << QString(text); };
    row(0, "0B");
    row(1024, "1024B");
    row(1025, "1K");
    row(1536, "1.5K");
    row(1048577, "1M");
    row(1073741824, "1024M");
    row(1152921504606846976, "1024P");
    row(1152921504606846977, "1E");
    row(1300000, "1.24M");
    row(Q_UINT64_C(0xffffffffffffffff), "16E");
}

void TestConfigFiles::sizes()
{
    QFETCH(quint64, bytes);
    QFETCH(QString, text);
    QCOMPARE(sizeText(bytes), text);
}

void TestConfigFiles::settingsSurviveTheFile()
{
    InstallSettings settings;
    QVERIFY(settings.read(put("\xEF\xBB\xBF" + QJsonDocument(unusualSettings()).toJson())));
    QCOMPARE(settings.wssPort, quint16(1234));
    QCOMPARE(settings.zpdt.uploadTargetSpeed, qint64(5120));
    QCOMPARE(settings.resetPassword.value("zh_cn"), QStringLiteral("rz"));
    QCOMPARE(written(settings), unusualSettings());
}

void TestConfigFiles::wrongTypes_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonValue>("value");
    const QJsonObject unusual = unusualSettings();
    const QList<QPair<const char *, QJsonValue>> values{{"null", QJsonValue::Null},
                                                        {"number", -3.5},
                                                        {"huge", 1e300},
                                                        {"text", "text"},
                                                        {"bool", false},
                                                        {"array", QJsonArray{1, "x"}},
                                                        {"object", QJsonObject{{"x", QJsonArray()}}}};
    for (const QString &key : unusual.keys()) {
        for (const auto &value : values) {
            const bool fits = (unusual.value(key).isString() && value.second.isString()) ||
                              (unusual.value(key).isBool() && value.second.isBool()) ||
                              (unusual.value(key).isObject() && value.second.isObject());
            if (!fits)
                QTest::addRow("%s %s", qPrintable(key), value.first) << key << value.second;
        }
    }
}

void TestConfigFiles::wrongTypes()
{
    QFETCH(QString, key);
    QFETCH(QJsonValue, value);
    QJsonObject object = unusualSettings();
    object.insert(key, value);
    InstallSettings settings;
    settings.previewFileMaxSize = 77; // of an earlier file, must not shine through
    QVERIFY(settings.read(put(QJsonDocument(object).toJson())));
    QJsonObject expected = unusualSettings();
    expected.insert(key, defaults().value(key));
    QCOMPARE(written(settings), expected);
}

void TestConfigFiles::absentKeys()
{
    InstallSettings settings;
    QVERIFY(settings.read(put(R"({"Auth": "a", "ZPDT": {"MSS": "x", "BeVerify": true, "UploadLimitCount": 2},
        "Settings": {"Show": [], "SubPage": {"A": 1, "B": "no"}}, "WSSProt": 70000, "ResetPassword": {"en_us": 1}})")));
    QCOMPARE(settings.auth, QStringLiteral("a"));
    QCOMPARE(settings.zpdt.mss, 0);
    QCOMPARE(settings.zpdt.beVerify, 0);
    QCOMPARE(settings.zpdt.uploadLimitCount, 2);
    QCOMPARE(settings.zpdt.downloadLimitCount, 5);
    QCOMPARE(settings.settingsPage.show, 0);
    QCOMPARE(settings.settingsPage.subPage, (QMap<QString, int>{{"A", 1}, {"B", 0}}));
    QCOMPARE(settings.wssPort, quint16(9998));
    QVERIFY(settings.resetPassword.isEmpty());

    QVERIFY(settings.read(put(R"({"Settings": {}})")));
    QCOMPARE(settings.settingsPage.show, 1);
    QCOMPARE(settings.zpdt.mss, 1024);
    QVERIFY(settings.auth.isEmpty());
}

void TestConfigFiles::brokenFiles_data()
{
    QTest::addColumn<QByteArray>("content");
    const QByteArray good = QJsonDocument(unusualSettings()).toJson();
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("truncated") << good.left(good.size() / 2);
    QTest::newRow("no UTF-8") << QByteArray("{\"Auth\": \"\xff\xfe\"}");
    QTest::newRow("binary") << QByteArray(5000, '\0');
    QTest::newRow("old format") << QByteArray("[General]\nAuth=x\n");
    QTest::newRow("deep") << "{\"x\":" + QByteArray(200000, '[') + QByteArray(200000, ']') + "}";
    QTest::newRow("endless") << "{\"Auth\": \"" + QByteArray(5 * 1024 * 1024, 'a') + "\"}";
}

void TestConfigFiles::brokenFiles()
{
    QFETCH(QByteArray, content);
    InstallSettings settings;
    QVERIFY(settings.read(put(QJsonDocument(unusualSettings()).toJson())));
    const QString path = put(content);
    QVERIFY(!settings.read(path));
    QCOMPARE(written(settings), unusualSettings());

    // A save replaces it, but what a person wrote there by hand is not lost.
    QFile::remove(path + ".unreadable");
    QVERIFY(settings.write(path));
    InstallSettings again;
    QVERIFY(again.read(path));
    QCOMPARE(again.auth, settings.auth);
    QFile kept(path + ".unreadable");
    QCOMPARE(kept.exists(), !content.isEmpty());
    if (kept.open(QIODevice::ReadOnly))
        QCOMPARE(kept.readAll(), content);
}

void TestConfigFiles::failedWriteKeepsTheOldFile()
{
    const QString path = put("{\"Auth\": \"old\"}");
    InstallSettings settings;
    QVERIFY(!settings.write(m_folder.filePath("nowhere/arkvale.ini")));
    QVERIFY(!settings.read(m_folder.filePath("nowhere/arkvale.ini")));
    QVERIFY(!settings.write(m_folder.path()));
    QVERIFY(settings.read(path));
    QCOMPARE(settings.auth, QStringLiteral("old"));
    // Nothing half-written is left beside the file.
    QVERIFY(settings.write(path));
    const QStringList left = QDir(m_folder.path()).entryList({"arkvale.ini?*"}, QDir::Files);
    QVERIFY2(left.isEmpty() || left == QStringList{"arkvale.ini.unreadable"}, qPrintable(left.join(' ')));
}

void TestConfigFiles::unknownKeysStay()
{
    const QString path = put(R"({"Zoo": {"a": [1, null, "é"]}, "Auth": "a", "Later": 5})");
    InstallSettings settings;
    QVERIFY(settings.read(path));
    settings.auth = "b";
    QVERIFY(settings.write(path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QJsonObject object = QJsonDocument::fromJson(file.readAll()).object();
    QCOMPARE(object.value("Auth").toString(), QStringLiteral("b"));
    QCOMPARE(object.value("Later").toInt(), 5);
    QCOMPARE(object.value("Zoo"), QJsonValue(QJsonObject{{"a", QJsonArray{1, QJsonValue::Null, "é"}}}));
}

void TestConfigFiles::shippedTemplateIsComplete()
{
    QFile file(builtProgram("Config/arkvale.ini"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QJsonObject shipped = QJsonDocument::fromJson(file.readAll()).object();
    QCOMPARE(shipped.keys(), unusualSettings().keys());
    InstallSettings settings;
    QVERIFY(settings.read(file.fileName()));
    QCOMPARE(written(settings), shipped);
}

void TestConfigFiles::knownUsers()
{
    const QString path = m_folder.filePath("users.ini");
    QVERIFY(KnownUsers::read(path, 5).isEmpty());
    QList<KnownUser> users;
    for (const char *name : {"a", "b", "c", "d", "e", "f", "b"})
        users = KnownUsers::withFirst(users, KnownUser{name, "1", QString(name) + "@x", "t"}, 5);
    QVERIFY(KnownUsers::write(path, users));
    QStringList names;
    for (const KnownUser &user : KnownUsers::read(path, 5)) {
        names << user.id;
        QCOMPARE(user.email, user.id + "@x");
    }
    QCOMPARE(names, (QStringList{"b", "f", "e", "d", "c"}));
#ifndef Q_OS_WIN
    QCOMPARE(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
#endif

    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(R"({"Users": [{"ID": 5}, "x", null, {"Mobile": "1"}, {"ID": "a"}, {"ID": "b"}, {"ID": "c", "Email": []},
        {"ID": "d"}, {"ID": "e"}, {"ID": "f"}]})");
    file.close();
    QCOMPARE(KnownUsers::read(path, 5).size(), 5);
    QCOMPARE(KnownUsers::read(path, 5).last().id, QStringLiteral("e"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(R"({"Users": {"ID": "a"}})");
    file.close();
    QVERIFY(KnownUsers::read(path, 5).isEmpty());
}

void TestConfigFiles::userSettingsText_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<int>("speeds");
    QTest::addColumn<qint64>("upload");
    QTest::addColumn<bool>("ask");
    QTest::newRow("never written") << QString() << 0 << qint64(0) << true;
    QTest::newRow("garbage") << QStringLiteral("}{") << 0 << qint64(0) << true;
    QTest::newRow("no id") << QStringLiteral("[{\"UploadTargetSpeed\": 5}, 7]") << 0 << qint64(0) << true;
    QTest::newRow("only id") << QStringLiteral("[{\"SubCenterId\": \"1\"}]") << 1 << qint64(2048) << true;
    QTest::newRow("wrong types") << QStringLiteral("[{\"SubCenterId\": \"1\", \"UploadTargetSpeed\": \"9\", "
                                                   "\"bAlwaysAsk\": 0, \"TransferType\": 5, \"defaultPath\": {}}]")
                                 << 1 << qint64(2048) << true;
    QTest::newRow("negative") << QStringLiteral("[{\"SubCenterId\": \"1\", \"UploadTargetSpeed\": -1}]") << 1
                              << qint64(2048) << true;
    QTest::newRow("whole") << QStringLiteral(
                                  "[{\"SubCenterId\": \"1\", \"UploadTargetSpeed\": 7, \"bAlwaysAsk\": false}]")
                           << 1 << qint64(7) << false;
}

void TestConfigFiles::userSettingsText()
{
    QFETCH(QString, json);
    QFETCH(int, speeds);
    QFETCH(qint64, upload);
    QFETCH(bool, ask);
    UserSettings settings;
    settings.targetSpeeds = UserSettings::targetSpeedsFromText(json);
    settings.downloadPaths = UserSettings::downloadPathsFromText(json);
    QCOMPARE(settings.targetSpeeds.size(), speeds);
    QCOMPARE(settings.downloadPaths.size(), speeds);
    if (speeds == 0)
        return;
    QCOMPARE(settings.targetSpeeds.value("1").uploadTargetSpeed, upload);
    QCOMPARE(settings.targetSpeeds.value("1").transferType, QStringLiteral("ZPDT"));
    QCOMPARE(settings.downloadPaths.value("1").alwaysAsk, ask);
    QCOMPARE(UserSettings::targetSpeedsFromText(settings.targetSpeedsText()).value("1").uploadTargetSpeed, upload);
    QCOMPARE(UserSettings::downloadPathsFromText(settings.downloadPathsText()).value("1").alwaysAsk, ask);
}

void TestConfigFiles::folderNames()
{
    QStringList keys =
        QString::fromUtf8("|.|..|...|/|a/b|a\\b|a:b|con|con.|Con|aux.x|com1|com10|lpt0|nul|a|A|%|%41|a b| a|a.|"
                          "a.b|用户|a\nb|../../etc|%2e%2e|~|ab*?")
            .split('|');
    keys << "a|b" << QString(300, 'x') << QString(301, 'x') << QString(100, QChar(0x7528)) << QString(QChar(0));
    QSet<QString> seen;
    static const QRegularExpression harmless("^[a-z0-9_@%-]([a-z0-9_@%.-]*[a-z0-9_@%-])?$");
    static const QRegularExpression device("^(con|prn|aux|nul|com\\d|lpt\\d)(\\..*)?$");
    for (const QString &key : keys) {
        const QString name = ConfigLocations::folderName(key);
        QVERIFY2(harmless.match(name).hasMatch(), qPrintable(name));
        QVERIFY2(!device.match(name).hasMatch(), qPrintable(name));
        QVERIFY2(name.size() <= 120, qPrintable(name));
        QVERIFY2(!seen.contains(name.toLower()), qPrintable(key + " " + name));
        seen.insert(name.toLower());
    }
    QCOMPARE(ConfigLocations::folderName("demo-user_1@drive.example"), QStringLiteral("demo-user_1@drive.example"));
}

void TestConfigFiles::subCenterReply()
{
    for (const char *body : {"", "[]", "null", "{\"subCenters\": [", "\"x\""})
        QVERIFY2(!ServiceReplies::subCenters(body), body);
    for (const char *body : {"{}", "{\"subCenters\": {}}", "{\"subCenters\": [1, null, [], {}, {\"id\": \"\"}]}"})
        QVERIFY2(ServiceReplies::subCenters(body) && ServiceReplies::subCenters(body)->isEmpty(), body);
    QVERIFY(!ServiceReplies::subCenters(QByteArray(100000, '[')));
    QVERIFY(!ServiceReplies::subCenters("{\"x\": \"" + QByteArray(5 * 1024 * 1024, 'a') + "\"}"));

    const auto centers = ServiceReplies::subCenters(R"({"subCenters": [
        {"id": "1", "name": "One", "orv": "http://a", "icon": "i", "udtServer": [{"ip": "h", "port": "5"}, {}, 4,
            {"ip": "g", "port": 6}], "asperaServer": [{"ip": "f", "port": "7"}]},
        {"id": "1", "name": "Twin"},
        {"id": 2, "name": [], "orv": 5, "udtServer": {"ip": "x"}, "path": "/not/from/here"}]})");
    QVERIFY(centers);
    QCOMPARE(centers->size(), 2);
    const SubCenter one = centers->at(0);
    QCOMPARE(one.name, QStringLiteral("One"));
    QCOMPARE(one.udtServers, (QList<ServerAddress>{{"h", "5"}, {"g", "6"}}));
    QCOMPARE(one.asperaServers, (QList<ServerAddress>{{"f", "7"}}));
    QCOMPARE(centers->at(1).id, QStringLiteral("2"));
    QVERIFY(centers->at(1).name.isEmpty() && centers->at(1).udtServers.isEmpty() && centers->at(1).path.isEmpty());
}

void TestConfigFiles::otherReplies()
{
    const auto ads = ServiceReplies::advertisements(R"({"ads": [{"postTime": "p", "title": "t", "jumpLink": "j",
        "content": "c"}, 5, {"title": 5}]})");
    QVERIFY(ads);
    QCOMPARE(ads->size(), 2);
    QCOMPARE(ads->at(0).jumpLink, QStringLiteral("j"));
    QVERIFY(ads->at(1).title.isEmpty());
    QVERIFY(!ServiceReplies::advertisements("[]"));

    const auto limit = ServiceReplies::transferLimit(R"({"transferTypes": {"default": "ZPDT", "ZPDT": "z"},
        "available": true, "transferRateLimit": {"upload": 1024, "download": 2048}})");
    QVERIFY(limit && limit->available);
    QCOMPARE(limit->upload, qint64(1024));
    QCOMPARE(limit->download, qint64(2048));
    QCOMPARE(limit->zpdtType, QStringLiteral("z"));
    const auto odd = ServiceReplies::transferLimit(R"({"transferTypes": [], "available": "yes",
        "transferRateLimit": {"upload": -5, "download": 1e300}})");
    QVERIFY(odd && !odd->available);
    QCOMPARE(odd->upload + odd->download, qint64(0));
    QVERIFY(!ServiceReplies::transferLimit("7"));
}

ARKVALE_GUILESS_TEST(TestConfigFiles)
#include "test_config_files.moc"
