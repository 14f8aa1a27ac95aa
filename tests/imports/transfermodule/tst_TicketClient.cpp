#include "TicketClient.h"

#include "TestSupport.h"

#include <QNetworkReply>
#include <QPointer>
#include <QTcpServer>

class TicketClientTest : public StrictTest
{
    Q_OBJECT

private slots:
    void givenUpWhileItFails();
};

/// A service that dies takes the stream and the request for the next ticket with it, in any order.
void TicketClientTest::givenUpWhileItFails()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    TicketRequest request;
    request.service = QStringLiteral("http://127.0.0.1:%1").arg(server.serverPort());
    request.user = request.accessId = QStringLiteral("user");
    request.accessToken = QStringLiteral("token");
    request.subCenterId = QStringLiteral("1");
    request.path = QStringLiteral("/");
    server.close();
    TicketClient client;
    int answers = 0;
    connect(&client, &TicketClient::answered, this, [&answers] { ++answers; });
    const quint64 id = client.ask(request);
    QTRY_VERIFY(client.findChild<QNetworkReply *>());
    const QPointer<QNetworkReply> reply = client.findChild<QNetworkReply *>();
    connect(reply, &QNetworkReply::errorOccurred, &client, [&client, id] { client.drop(id); });
    QTRY_VERIFY(!reply);
    QCOMPARE(answers, 0);
}

ARKVALE_GUILESS_TEST(TicketClientTest)
#include "tst_TicketClient.moc"
