#pragma once

#include "OrvClient.h"

#include <QByteArray>
#include <QList>
#include <QPointer>
#include <QStringList>

#include <functional>

/// One request that a client under test made.
struct FakeCall
{
    qint64 id = 0;
    QString operation;
    QStringList arguments; ///< lists joined by "|"
};

/// The other end of every OrvClient of the test program. Requests are written down; answers come from the test, or at
/// once, from the event loop, from the script.
class FakeService
{
public:
    using Script = std::function<bool(const FakeCall &call, int *code, QByteArray *body)>;

    static FakeService &instance();
    void reset();
    void setScript(const Script &script) { m_script = script; }
    QList<FakeCall> calls(const QString &operation = QString()) const;
    /// The newest request of that kind, with id 0 when there is none.
    FakeCall last(const QString &operation) const;
    void answer(const FakeCall &call, int code, const QByteArray &body = QByteArray());
    qint64 record(OrvClient *client, const QString &operation, const QStringList &arguments);

private:
    struct Entry
    {
        FakeCall call;
        QPointer<OrvClient> client;
    };
    QList<Entry> m_entries;
    Script m_script;
    qint64 m_nextId = 1;
};
