#include "FakeOrvClient.h"

#include <QTimer>

class OrvClientPrivate
{
};

FakeService &FakeService::instance()
{
    static FakeService service;
    return service;
}

void FakeService::reset()
{
    m_entries.clear();
    m_script = nullptr;
}

QList<FakeCall> FakeService::calls(const QString &operation) const
{
    QList<FakeCall> result;
    for (const Entry &entry : m_entries) {
        if (operation.isEmpty() || entry.call.operation == operation)
            result.append(entry.call);
    }
    return result;
}

FakeCall FakeService::last(const QString &operation) const
{
    const QList<FakeCall> all = calls(operation);
    return all.isEmpty() ? FakeCall() : all.last();
}

void FakeService::answer(const FakeCall &call, int code, const QByteArray &body)
{
    for (const Entry &entry : qAsConst(m_entries)) {
        if (entry.call.id == call.id && entry.client) {
            const QByteArray signal = call.operation.toLatin1() + "Finished";
            QMetaObject::invokeMethod(entry.client, signal.constData(), Qt::DirectConnection, Q_ARG(qint64, call.id),
                                      Q_ARG(int, code), Q_ARG(QByteArray, body));
            return;
        }
    }
}

qint64 FakeService::record(OrvClient *client, const QString &operation, const QStringList &arguments)
{
    const FakeCall call{m_nextId++, operation, arguments};
    m_entries.append({call, client});
    int code = 0;
    QByteArray body;
    if (m_script && m_script(call, &code, &body))
        QTimer::singleShot(0, client, [this, call, code, body] { answer(call, code, body); });
    return call.id;
}

OrvClient::OrvClient(const QString &, const QString &, const QString &, const QString &, const QString &) {}
OrvClient::OrvClient(const OrvClient &)
    : QObject()
{
}
OrvClient &OrvClient::operator=(const OrvClient &)
{
    return *this;
}
OrvClient::~OrvClient() = default;
void OrvClient::setUrl(const QString &) {}
void OrvClient::setUser(const QString &) {}
void OrvClient::setAccess(const QString &, const QString &) {}

namespace {

QString text(const QString &value)
{
    return value;
}

QString text(const QStringList &value)
{
    return value.join(QLatin1Char('|'));
}

QString text(int value)
{
    return QString::number(value);
}

template <typename... Arguments>
qint64 record(OrvClient *client, const char *operation, const Arguments &...arguments)
{
    return FakeService::instance().record(client, QLatin1String(operation), {text(arguments)...});
}

} // namespace

qint64 OrvClient::getIcon(const QString &address)
{
    return record(this, "getIcon", address);
}
qint64 OrvClient::getUserStorage(const QString &user)
{
    return record(this, "getUserStorage", user);
}
qint64 OrvClient::listSubCenter(const QString &address)
{
    return record(this, "listSubCenter", address);
}
qint64 OrvClient::getTranserLimit()
{
    return record(this, "getTransferLimit");
}
qint64 OrvClient::getAD(const QString &language)
{
    return record(this, "getAD", language);
}
qint64 OrvClient::getFileInfo(const QString &path)
{
    return record(this, "getFileInfo", path);
}
qint64 OrvClient::getThumbnail(const QString &path, const QSize &size)
{
    return record(this, "getThumbnail", path, size.width(), size.height());
}
qint64 OrvClient::listFile(const QString &path, int mode)
{
    return record(this, "listFile", path, mode);
}
qint64 OrvClient::mkdir(const QString &path)
{
    return record(this, "mkdir", path);
}
qint64 OrvClient::removeFile(const QStringList &paths)
{
    return record(this, "removeFile", paths);
}
qint64 OrvClient::removeFolder(const QStringList &paths)
{
    return record(this, "removeFolder", paths);
}
qint64 OrvClient::move(const QStringList &src, const QString &dest)
{
    return record(this, "move", src, dest);
}
qint64 OrvClient::copy(const QStringList &src, const QString &dest)
{
    return record(this, "copy", src, dest);
}
qint64 OrvClient::renameFile(const QString &src, const QString &dest)
{
    return record(this, "renameFile", src, dest);
}
qint64 OrvClient::renameFolder(const QString &src, const QString &dest)
{
    return record(this, "renameFolder", src, dest);
}
qint64 OrvClient::compress(const QStringList &src, const QString &dest)
{
    return record(this, "compress", src, dest);
}
qint64 OrvClient::decompress(const QString &src, const QString &dest)
{
    return record(this, "decompress", src, dest);
}
qint64 OrvClient::searchFile(const QString &keyword, const QString &folder)
{
    return record(this, "searchFile", keyword, folder);
}
qint64 OrvClient::getPreviewFile(const QString &path, const QString &localPath)
{
    return record(this, "getPreviewFile", path, localPath);
}
qint64 OrvClient::auth(QString user, QString token)
{
    return record(this, "auth", user, token);
}
qint64 OrvClient::login(const QString &name, const QString &password)
{
    return record(this, "login", name, password);
}
qint64 OrvClient::getUserInfo(const QString &user)
{
    return record(this, "getUserInfo", user);
}
qint64 OrvClient::getUserPath(const QString &user, const QString &address, const QString &home)
{
    return record(this, "getUserPath", user, address, home);
}

// Shares
qint64 OrvClient::publicShare(const QString &path, const QString &permission)
{
    return FakeService::instance().record(this, QStringLiteral("publicShare"), {path, permission});
}
qint64 OrvClient::privateShare(const QString &path, const QString &permission, const QString &password)
{
    return FakeService::instance().record(this, QStringLiteral("privateShare"), {path, permission, password});
}
qint64 OrvClient::friendShare(const QString &path, const QStringList &users)
{
    return FakeService::instance().record(this, QStringLiteral("friendShare"), QStringList{path} + users);
}
qint64 OrvClient::modifyPassword(const QString &id, const QString &password)
{
    return FakeService::instance().record(this, QStringLiteral("modifyPassword"), {id, password});
}
qint64 OrvClient::modifyUsers(const QString &id, const QStringList &users)
{
    return FakeService::instance().record(this, QStringLiteral("modifyUsers"), QStringList{id} + users);
}
qint64 OrvClient::deleteShare(const QStringList &ids)
{
    return FakeService::instance().record(this, QStringLiteral("deleteShare"), ids);
}
qint64 OrvClient::ignoreShare(const QString &owner, const QString &id)
{
    return FakeService::instance().record(this, QStringLiteral("ignoreShare"), {owner, id});
}
qint64 OrvClient::searchUsers(const QString &text, int limit)
{
    return FakeService::instance().record(this, QStringLiteral("searchUsers"), {text, QString::number(limit)});
}
qint64 OrvClient::listMyShare()
{
    return FakeService::instance().record(this, QStringLiteral("listMyShare"), {});
}
qint64 OrvClient::listShareToMe()
{
    return FakeService::instance().record(this, QStringLiteral("listShareToMe"), {});
}
qint64 OrvClient::shareToMeSaveAs(const QString &owner, const QString &id, const QString &path, const QString &dest)
{
    return FakeService::instance().record(this, QStringLiteral("shareToMeSaveAs"), {owner, id, path, dest});
}
qint64 OrvClient::shareToMeListFile(const QString &owner, const QString &id, const QString &path)
{
    return FakeService::instance().record(this, QStringLiteral("shareToMeListFile"), {owner, id, path});
}
qint64 OrvClient::shareToMeFileRealPath(const QString &id, const QString &path)
{
    return FakeService::instance().record(this, QStringLiteral("shareToMeFileRealPath"), {id, path});
}
qint64 OrvClient::shareToMeDownload(const QString &owner, const QString &id, const QString &path, const QString &local)
{
    return FakeService::instance().record(this, QStringLiteral("shareDownload"), {owner, id, path, local});
}
qint64 OrvClient::reportShare(const QString &owner, const QString &id, const QString &reason,
                              const QStringList &pictures, const QString &text)
{
    return FakeService::instance().record(this, QStringLiteral("reportShare"),
                                          QStringList{owner, id, reason, text} + pictures);
}
