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

QString text(const QSize &value)
{
    return QStringLiteral("%1x%2").arg(value.width()).arg(value.height());
}

template <typename... Arguments>
QStringList texts(const Arguments &...arguments)
{
    return {text(arguments)...};
}

} // namespace

// An operation, the beginning of its answer's name, its parameters and what of them is written down.
#define OPERATION(name, answer, parameters, arguments)                                                                 \
    qint64 OrvClient::name parameters                                                                                  \
    {                                                                                                                  \
        return FakeService::instance().record(this, QStringLiteral(#answer), texts arguments);                         \
    }

OPERATION(getIcon, getIcon, (const QString &address), (address))
OPERATION(getUserStorage, getUserStorage, (const QString &user), (user))
OPERATION(listSubCenter, listSubCenter, (const QString &address), (address))
OPERATION(getTranserLimit, getTransferLimit, (), ())
OPERATION(getAD, getAD, (const QString &language), (language))
OPERATION(getFileInfo, getFileInfo, (const QString &path), (path))
OPERATION(getThumbnail, getThumbnail, (const QString &path, const QSize &size), (path, size))
OPERATION(listFile, listFile, (const QString &path, int mode), (path, mode))
OPERATION(mkdir, mkdir, (const QString &path), (path))
OPERATION(removeFile, removeFile, (const QStringList &paths), (paths))
OPERATION(removeFolder, removeFolder, (const QStringList &paths), (paths))
OPERATION(move, move, (const QStringList &src, const QString &dest), (src, dest))
OPERATION(copy, copy, (const QStringList &src, const QString &dest), (src, dest))
OPERATION(renameFile, renameFile, (const QString &src, const QString &dest), (src, dest))
OPERATION(renameFolder, renameFolder, (const QString &src, const QString &dest), (src, dest))
OPERATION(compress, compress, (const QStringList &src, const QString &dest), (src, dest))
OPERATION(decompress, decompress, (const QString &src, const QString &dest), (src, dest))
OPERATION(searchFile, searchFile, (const QString &keyword, const QString &folder), (keyword, folder))
OPERATION(getPreviewFile, getPreviewFile, (const QString &path, const QString &localPath), (path, localPath))
OPERATION(auth, auth, (QString user, QString token), (user, token))
OPERATION(login, login, (const QString &name, const QString &password), (name, password))
OPERATION(getUserInfo, getUserInfo, (const QString &user), (user))
OPERATION(getUserPath, getUserPath, (const QString &user, const QString &address, const QString &home),
          (user, address, home))
OPERATION(publicShare, publicShare, (const QString &path, const QString &permission), (path, permission))
OPERATION(privateShare, privateShare, (const QString &path, const QString &permission, const QString &password),
          (path, permission, password))
OPERATION(friendShare, friendShare, (const QString &path, const QStringList &users), (path, users))
OPERATION(modifyPassword, modifyPassword, (const QString &id, const QString &password), (id, password))
OPERATION(modifyUsers, modifyUsers, (const QString &id, const QStringList &users), (id, users))
OPERATION(deleteShare, deleteShare, (const QStringList &ids), (ids))
OPERATION(ignoreShare, ignoreShare, (const QString &owner, const QString &id), (owner, id))
OPERATION(searchUsers, searchUsers, (const QString &text, int limit), (text, limit))
OPERATION(listMyShare, listMyShare, (), ())
OPERATION(listShareToMe, listShareToMe, (), ())
OPERATION(shareToMeSaveAs, shareToMeSaveAs,
          (const QString &owner, const QString &id, const QString &path, const QString &dest), (owner, id, path, dest))
OPERATION(shareToMeListFile, shareToMeListFile, (const QString &owner, const QString &id, const QString &path),
          (owner, id, path))
OPERATION(shareToMeFileRealPath, shareToMeFileRealPath, (const QString &id, const QString &path), (id, path))
OPERATION(shareToMeDownload, shareDownload,
          (const QString &owner, const QString &id, const QString &path, const QString &local),
          (owner, id, path, local))
OPERATION(reportShare, reportShare,
          (const QString &owner, const QString &id, const QString &reason, const QStringList &pictures,
           const QString &text),
          (owner, id, reason, pictures, text))
