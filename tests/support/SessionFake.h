#pragma once

#include "HttpFake.h"

#include <QHash>
#include <QTemporaryDir>

#include <memory>

class GlobalConfig;

/// A service to log in to: account "demo" with password "secret", three sub-centers, in the third of which the
/// user has no home. Any path can be given another answer. It also makes the process's "Config" folder, so it is to be
/// made before the store.
class SessionFake
{
public:
    SessionFake();

    /// @param path below the account base, such as "auth/login" or "sc/2/users/demo/path"
    void answer(const QByteArray &path, const HttpFake::Answer &answer) { m_answers.insert(path, answer); }
    void forgetAnswers() { m_answers.clear(); }
    /// Back to the ordinary answers, on a port of its own: what an earlier test still had on its way comes no more.
    void reset();
    int asked(const QByteArray &path) const;
    /// A login cycle's beginning: the store as start-up leaves it before the login dialog, sub-centers known.
    GlobalConfig *beginCycle();
    QString configFolder() const { return m_folder.path(); }
    HttpFake &http() { return *m_http; }

    static HttpFake::Answer json(const QByteArray &body, int status = 200) { return HttpFake::reply(status, body); }
    static QByteArray loginAnswer();
    static QByteArray violation(const QByteArray &effectTime, const QByteArray &duration);

private:
    HttpFake::Answer serve(const HttpFake::Request &request) const;

    QTemporaryDir m_folder;
    QHash<QByteArray, HttpFake::Answer> m_answers;
    std::unique_ptr<HttpFake> m_http;
};

Q_DECLARE_METATYPE(HttpFake::Answer)
