#pragma once

#include "BodyInflater.h"
#include "HttpLanes.h"
#include "OrvOperation.h"
#include "RequestSignature.h"

#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QSaveFile>
#include <QTimer>

#include <memory>

/// One call on its way: connects, sends, reads, follows redirects and jobs, and tells its client the answer once.
/// Child of the client; destroying it ends the call without an answer.
class OrvCall : public QObject
{
    Q_OBJECT

public:
    /// Begins with the next turn of the event loop.
    /// @param agent text of the User-Agent header
    OrvCall(OrvClient *client, const OrvOperation &operation, qint64 id, const OrvRequest &request,
            const RequestSignature &signature, const QByteArray &agent);
    ~OrvCall() override;

private slots:
    void begin();
    void start();

private:
    enum Phase
    {
        Idle,
        Connecting,
        Asking,
        Polling
    };

    void enterLane(HttpLanes::Lane lane);
    void leaveLane();
    void dropReply();
    void startTimer(int milliseconds);
    void timedOut();

    void connectFirst();
    void connected();
    void ask();
    void headersArrived();
    void dataArrived();
    void keepBody(const QByteArray &data, qint64 limit, int status);
    void writeFile(const QByteArray &data);
    void dataFinished();
    void answered(int httpStatus);
    bool follow(int httpStatus);
    bool adjustClock(const QString &word);
    void pollJob(const QByteArray &body);
    void jobAnswered(int httpStatus);
    void retryPoll(int error);
    void saveFile();
    int transportError() const;
    int replyStatus() const;
    bool isTorn() const;
    void finish(int code, const QByteArray &body = QByteArray());

    OrvClient *m_client;
    const OrvOperation &m_operation;
    const qint64 m_id;
    OrvRequest m_request;
    const RequestSignature m_signature;
    const QByteArray m_agent;

    QPointer<HttpLanes> m_lanes;
    HttpLanes::Lane m_lane = HttpLanes::Quick;
    QByteArray m_laneOrigin; ///< empty while the call is in no lane
    QByteArray m_method;
    QPointer<QNetworkReply> m_reply;
    QTimer m_timer;
    Phase m_phase = Idle;
    bool m_polling = false;
    bool m_signed = false;
    bool m_done = false;
    bool m_clockAdjusted = false;
    int m_redirects = 0;
    int m_pollFailures = 0;
    int m_pollPause = 0;
    QByteArray m_body;
    std::unique_ptr<BodyInflater> m_inflater;
    std::unique_ptr<QSaveFile> m_file;
};
