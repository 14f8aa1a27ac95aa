#pragma once

#include "TransferModule.h"

#include <QHash>
#include <QObject>
#include <QQueue>

class QNetworkAccessManager;
class QNetworkReply;

struct TicketRequest
{
    QString service; ///< account base of the service, such as https://drive.example/api/v1
    QString user;
    QString accessId; ///< transfer credentials of the login
    QString accessToken;
    QString subCenterId;
    ZPDTCMDTYPE direction = ZPDT_DOWNLOAD;
    QString path; ///< remote folder
};

struct TicketAnswer
{
    /// None; Refused and NotFound, which asking again does not mend; Network for everything else
    ZpdtError error = ZpdtError::None;
    /// With Refused: the service does not know the credentials, or not any more. The login that they belong to is over,
    /// or about to be renewed.
    bool loginOver = false;
    QString errorText;
    QString ticket;
    QString fingerprint; ///< of the transfer server's certificate, lower-case hexadecimal
    QString host;
    quint16 port = 0;    ///< 0: the service named none
    quint16 udpPort = 0; ///< 0: no UDP there
    QString udpKey;      ///< opens one UDP connection within a minute
};

/// Asks the service for transfer tickets, four requests at once, the others in their order. Lives on the engine's
/// worker thread; each request is answered exactly once from the event loop unless it is dropped.
class TicketClient : public QObject
{
    Q_OBJECT

public:
    explicit TicketClient(QObject *parent = nullptr);

    quint64 ask(const TicketRequest &request);
    /// No answer will come for this request.
    void drop(quint64 id);
    /// Requests to come use new connections: the network is another one.
    void forgetConnections();

    /// Reads the body of a positive answer. Network when it is not one.
    static TicketAnswer parse(const QByteArray &body);

signals:
    void answered(quint64 id, const TicketAnswer &answer);

private:
    struct Asked
    {
        quint64 id = 0;
        TicketRequest request;
        bool clockCorrected = false;
    };

    void next();
    void send(const Asked &asked);
    void onReply(QNetworkReply *reply, Asked asked);
    void answerLater(quint64 id, ZpdtError error, const QString &text);

    QNetworkAccessManager *m_network = nullptr;
    QQueue<Asked> m_waiting;
    QHash<quint64, QNetworkReply *> m_running;
    QHash<QString, qint64> m_clockOffsets; ///< by service, milliseconds that it is ahead
    quint64 m_lastId = 0;
};
