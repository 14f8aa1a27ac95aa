#include "SessionFake.h"

#include "GlobalConfig.h"
#include "TestSupport.h"

#include <QFile>
#include <QJsonObject>
#include <QSignalSpy>

SessionFake::SessionFake()
{
    QFile::copy(builtProgram("Config/ArkvaleTolma"), m_folder.filePath("ArkvaleTolma"));
    qputenv("ARKVALE_CONFIG_DIR", m_folder.path().toUtf8());
    reset();
}

void SessionFake::reset()
{
    m_answers.clear();
    m_http = std::make_unique<HttpFake>([this](const HttpFake::Request &request) { return serve(request); });
    const QByteArray base = m_http->address().toUtf8();
    QFile file(m_folder.filePath("arkvale.ini"));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("no settings file");
    file.write("{\"Auth\": \"" + base + "\", \"ListSubCenter\": \"" + base + "/subcenters\", \"UpdateUrl\": \"" + base +
               "/version\", \"Version\": \"1.0.0\", \"WSSProt\": 0, " +
               "\"ResetPassword\": {\"default\": \"http://pages.example/reset\"}, " +
               "\"Register\": {\"default\": \"file:///bin/sh\"}, " +
               "\"UserProtocol\": {\"default\": \"http://pages.example/agree?a='b'&c=<d>\"}}");
}

int SessionFake::asked(const QByteArray &path) const
{
    int count = 0;
    for (const HttpFake::Request &request : m_http->requests())
        count += request.path() == "/base/" + path;
    return count;
}

GlobalConfig *SessionFake::beginCycle()
{
    reset();
    GlobalConfig *config = GlobalConfig::instance();
    config->setSubCenters({});
    config->setState(GlobalConfig::NotLoggedIn);
    config->setViolation(Violation());
    QSignalSpy listed(config, SIGNAL(handlerListSubCenterFinished()));
    config->reload();
    if (listed.isEmpty())
        listed.wait();
    return config;
}

QByteArray SessionFake::loginAnswer()
{
    return "{\"username\": \"demo\", \"access_id\": \"ID\", \"access_token\": \"TOKEN\", \"asperauser\": \"au\", "
           "\"asperapasswd\": \"cMOkc3M=\", \"asperatcpport\": \"33001\", \"authentication\": true}";
}

QByteArray SessionFake::violation(const QByteArray &effectTime, const QByteArray &duration)
{
    return "{\"username\": \"demo\", \"access_id\": \"no\", \"violation\": {\"reason\": \"spam\", \"effectTime\": \"" +
           effectTime + "\", \"duration\": \"" + duration + "\"}}";
}

HttpFake::Answer SessionFake::serve(const HttpFake::Request &request) const
{
    const QByteArray path = request.path().mid(int(qstrlen("/base/")));
    if (m_answers.contains(path))
        return m_answers.value(path);
    const QByteArray base = m_http->address().toUtf8();
    if (path == "subcenters") {
        QByteArray list;
        for (const char *id : {"1", "2", "3"}) {
            list += (list.isEmpty() ? "" : ", ") + QByteArray("{\"id\": \"") + id + "\", \"name\": \"Center " + id +
                    "\", \"orv\": \"" + base + "/sc/" + id + "\"}";
        }
        return json("{\"subCenters\": [" + list + "]}");
    }
    if (path == "auth/login") {
        const QJsonObject asked = request.json();
        const bool known = asked.value("username") == "demo" && asked.value("password") == "secret";
        return known ? json(loginAnswer()) : json("{\"error\": \"login\"}", 401);
    }
    if (path == "users/demo")
        return json(
            "{\"username\": \"demo\", \"nickname\": \"Demo\", \"mobile\": \"5\", \"email\": \"d@x\", \"icon\": \"" +
            base + "/icons/demo.png\", \"path\": \"/home/demo\"}");
    if (path == "icons/demo.png")
        return json("PNG bytes");
    if (path == "sc/3/users/demo/path")
        return json("{}", 404);
    if (path.startsWith("sc/") && path.endsWith("/users/demo/path"))
        return json("{\"path\": \"/home/demo\"}");
    if (path.startsWith("sc/") && path.endsWith("/users/demo/storage"))
        return json("{\"storage\": {\"used\": 5, \"quota\": 9007199254740993}}");
    if (path == "version")
        return json("{\"version\": \"1.0.1\"}");
    if (path.endsWith("/files/list"))
        return json("{\"items\": []}");
    return json("{}", 404);
}
