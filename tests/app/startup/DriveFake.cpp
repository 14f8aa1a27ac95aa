#include "DriveFake.h"

#include "TestSupport.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

DriveFake::DriveFake()
    : m_http([this](const HttpFake::Request &request) { return answer(request); })
{
}

QString DriveFake::writeSettings(const QString &folder) const
{
    QDir().mkpath(folder);
    const QDir shipped(builtProgram(QStringLiteral("Config")));
    for (const QString &name : shipped.entryList(QDir::Files))
        QFile::copy(shipped.filePath(name), folder + QLatin1Char('/') + name);
    QFile file(folder + QStringLiteral("/arkvale.ini"));
    file.setPermissions(file.permissions() | QFile::WriteOwner);
    if (!file.open(QIODevice::ReadWrite))
        return {};
    QJsonObject settings = QJsonDocument::fromJson(file.readAll()).object();
    settings.insert(QStringLiteral("Auth"), m_http.address());
    settings.insert(QStringLiteral("ListSubCenter"), m_http.address() + QStringLiteral("/subcenters"));
    settings.insert(QStringLiteral("UpdateUrl"), m_http.address() + QStringLiteral("/version"));
    settings.insert(QStringLiteral("Version"), QStringLiteral("1.0.0"));
    settings.insert(QStringLiteral("WSSProt"), 0);
    file.resize(0);
    file.write(QJsonDocument(settings).toJson());
    return folder;
}

HttpFake::Answer DriveFake::answer(const HttpFake::Request &request)
{
    const QString path = QString::fromUtf8(request.path()).mid(5); // behind "/base"
    requests << QString::fromUtf8(request.method) + QLatin1Char(' ') + path;
    const auto json = [](const QJsonObject &object) { return HttpFake::reply(200, QJsonDocument(object).toJson()); };
    const QString center = path.startsWith(QLatin1String("/sc/")) ? path.section(QLatin1Char('/'), 2, 2) : QString();

    if (path == QLatin1String("/subcenters")) {
        QJsonArray centers;
        for (const char *id : {"1", "2", "3"}) {
            centers << QJsonObject{{"id", id},
                                   {"name", QStringLiteral("Center %1").arg(QLatin1String(id))},
                                   {"orv", m_http.address() + QStringLiteral("/sc/") + QLatin1String(id)}};
        }
        return json({{"subCenters", centers}});
    }
    if (path == QLatin1String("/auth/login")) {
        if (request.json().value(QLatin1String("password")).toString() != QLatin1String("secret"))
            return HttpFake::reply(401, "{}");
        return json({{"username", "alice"}, {"access_id", "id"}, {"access_token", "token"}, {"authentication", true}});
    }
    if (path == QLatin1String("/users/alice"))
        return json({{"username", "alice"}, {"nickname", "Al"}, {"path", "/home/alice"}});
    if (path.endsWith(QLatin1String("/path"))) {
        const QString home = homes.value(center);
        return home.isEmpty() ? HttpFake::reply(404, "{}") : json({{"path", home}});
    }
    if (path.endsWith(QLatin1String("/storage")))
        return json({{"storage", QJsonObject{{"used", 1}, {"quota", 100}}}});
    if (path.endsWith(QLatin1String("/files/list")))
        return json({{"items", QJsonArray()}});
    if (path == QLatin1String("/version"))
        return json({{"version", "1.0.1"}});
    return HttpFake::reply(404, "{}");
}
