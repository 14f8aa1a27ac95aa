#pragma once

#include "OrvClient.h"

#include <QEventLoop>
#include <QHash>
#include <QMetaMethod>
#include <QObject>
#include <QTimer>

/// Collects every answer of one client, whichever signal brings it.
class AnswerLog : public QObject
{
    Q_OBJECT

public:
    struct Answer
    {
        int code = 0;
        QByteArray body;
        QByteArray signal;
        int count = 0;
    };

    explicit AnswerLog(OrvClient *client)
    {
        const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot("record(qint64,int,QByteArray)"));
        for (int i = QObject::staticMetaObject.methodCount(); i < client->metaObject()->methodCount(); ++i) {
            if (client->metaObject()->method(i).methodType() == QMetaMethod::Signal)
                connect(client, client->metaObject()->method(i), this, slot);
        }
    }

    Answer of(qint64 id) const { return m_answers.value(id); }
    int size() const { return m_answers.size(); }
    /// Waits in the event loop until @p count calls are answered.
    bool wait(int count, int milliseconds = 20000)
    {
        QEventLoop loop;
        connect(this, &AnswerLog::recorded, &loop, [&] {
            if (size() >= count)
                loop.quit();
        });
        QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
        if (size() < count)
            loop.exec();
        return size() == count;
    }

signals:
    void recorded();

public slots:
    void record(qint64 id, int code, const QByteArray &body)
    {
        Answer &answer = m_answers[id];
        answer.code = code;
        answer.body = body;
        answer.signal = sender()->metaObject()->method(senderSignalIndex()).name();
        ++answer.count;
        emit recorded();
    }

private:
    QHash<qint64, Answer> m_answers;
};
