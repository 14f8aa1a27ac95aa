#include "TestSupport.h"

#include "Secrets.h"
#include "Sessions.h"
#include "SignatureCheck.h"
#include "SignedRequest.h"
#include "Sql.h"

#include <QDateTime>
#include <QTemporaryDir>

using namespace arkvale::service;

Q_DECLARE_METATYPE(SignedRequest)

namespace {

const QByteArray nonceText = "0123456789abcdef0123456789ABCDEF";

/// The request as the server would hand it to the gate.
Request received(const SignedRequest &sent, const QByteArray &headers)
{
    Request request;
    request.method = sent.method.toStdString();
    const int mark = sent.target.indexOf('?');
    request.rawPath = (mark < 0 ? sent.target : sent.target.left(mark)).toStdString();
    request.rawQuery = mark < 0 ? std::string() : sent.target.mid(mark + 1).toStdString();
    request.body = sent.body.toStdString();
    for (const QByteArray &line : headers.split('\n')) {
        const int colon = line.indexOf(':');
        if (colon > 0)
            request.headers[line.left(colon).toLower().toStdString()] = line.mid(colon + 1).trimmed().toStdString();
    }
    return request;
}

QByteArray verdictOf(SignatureCheck &check, Request request, Access access = Access::Session)
{
    const auto refusal = check.check(request, access);
    if (!refusal)
        return "in as " + QByteArray::fromStdString(request.user);
    const QByteArray body = QByteArray::fromStdString(refusal->body());
    const int from = body.indexOf("\"error\":\"") + 9;
    return QByteArray::number(refusal->status()) + ' ' + body.mid(from, body.indexOf('"', from) - from);
}

/// Makes a session end at another time.
void setExpiry(AccountStore &store, const std::string &accessId, std::int64_t time)
{
    Statement(store.database(), "UPDATE sessions SET expires = ? WHERE access_id = ?").bind(time).bind(accessId).run();
}

} // namespace

/// Which signed requests get in. The signatures are made by code of the tests' own.
class TestSignatures : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(initSecrets()); }
    void init()
    {
        beginStrict();
        m_folder = std::make_unique<QTemporaryDir>();
        m_store = std::make_unique<AccountStore>(PasswordCost{1, 8192});
        QVERIFY(m_store->open(m_folder->filePath("db").toStdString()));
        for (const char *name : {"安娜 a", "bert"}) {
            Account account;
            account.name = name;
            QVERIFY(m_store->addAccount(account, "secret"));
        }
        m_sessions = std::make_unique<Sessions>(*m_store);
        SignatureCheck(*m_sessions).save(); // as after a clean stop, so that times before now are fine
        m_check = std::make_unique<SignatureCheck>(*m_sessions);
        m_session = login("安娜 a");
    }

    void cleanup()
    {
        m_check.reset();
        m_sessions.reset();
        m_store.reset();
        endStrict();
    }

    void bentAfterSigning_data()
    {
        QTest::addColumn<QByteArray>("header"); // this header, or part of the request,
        QTest::addColumn<QByteArray>("value");  // has this value in the end
        QTest::addColumn<QByteArray>("verdict");

        const QByteArray wrong = "401 session";
        const QByteArray notSigned = "401 unsigned";
        QTest::newRow("untouched") << QByteArray() << QByteArray() << QByteArray("in as 安娜 a");
        QTest::newRow("method") << QByteArray("method") << QByteArray("GET") << wrong;
        QTest::newRow("path") << QByteArray("path") << QByteArray("/api/v1/sc/2/files/mkdir") << wrong;
        QTest::newRow("path in other escapes")
            << QByteArray("path") << QByteArray("/api/v1/sc/%31/files/mkdir") << wrong;
        QTest::newRow("query") << QByteArray("query") << QByteArray("a=%20c") << wrong;
        QTest::newRow("body") << QByteArray("body") << QByteArray("{\"path\":\"/y\"}") << wrong;
        QTest::newRow("time") << QByteArray("arkvale-time")
                              << QByteArray::number(QDateTime::currentMSecsSinceEpoch() + 1234) << wrong;
        QTest::newRow("nonce") << QByteArray("arkvale-nonce") << QByteArray(32, 'a') << wrong;
        QTest::newRow("signature") << QByteArray("arkvale-signature") << QByteArray(64, 'a') << wrong;
        QTest::newRow("digest") << QByteArray("arkvale-digest") << QByteArray(64, 'a') << wrong;
        QTest::newRow("other user") << QByteArray("arkvale-user") << QByteArray("bert") << wrong;
        QTest::newRow("user's case") << QByteArray("arkvale-user") << QByteArray("%E5%AE%89%E5%A8%9C A") << wrong;
        QTest::newRow("unknown access id") << QByteArray("arkvale-access") << QByteArray(32, 'f') << wrong;
        QTest::newRow("signature short") << QByteArray("arkvale-signature") << QByteArray("ab") << notSigned;
        QTest::newRow("nonce short") << QByteArray("arkvale-nonce") << QByteArray("ab") << notSigned;
        QTest::newRow("nonce no digits") << QByteArray("arkvale-nonce") << QByteArray(32, 'z') << notSigned;
        QTest::newRow("time no number") << QByteArray("arkvale-time") << QByteArray("now") << notSigned;
        QTest::newRow("time below zero") << QByteArray("arkvale-time") << QByteArray("-5") << notSigned;
        QTest::newRow("time too large") << QByteArray("arkvale-time") << QByteArray("99999999999999999999")
                                        << notSigned;
        QTest::newRow("broken escape") << QByteArray("arkvale-user") << QByteArray("%zz") << notSigned;
        QTest::newRow("zero byte") << QByteArray("arkvale-access") << QByteArray("%00") << notSigned;
    }

    void bentAfterSigning()
    {
        QFETCH(QByteArray, header);
        QFETCH(QByteArray, value);
        QFETCH(QByteArray, verdict);
        Request request = received(good(), good().headers());
        const std::string text = value.toStdString();
        if (header == "method")
            request.method = text;
        else if (header == "path")
            request.rawPath = text;
        else if (header == "query")
            request.rawQuery = text;
        else if (header == "body")
            request.body = text;
        else if (!header.isEmpty())
            request.headers[header.toStdString()] = text;
        QCOMPARE(verdictOf(*m_check, request), verdict);
    }

    void bentBeforeSigning_data()
    {
        QTest::addColumn<int>("seconds"); // from now
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("token"); // empty: the right one
        QTest::addColumn<QByteArray>("verdict");

        const QByteArray in = "in as 安娜 a";
        const QByteArray none;
        QTest::newRow("binary body") << 0 << QByteArray("POST") << QByteArray("\0\n\xFF", 3) << none << in;
        QTest::newRow("a little old") << -290 << QByteArray("GET") << none << none << in;
        QTest::newRow("a little ahead") << 290 << QByteArray("GET") << none << none << in;
        QTest::newRow("old") << -310 << QByteArray("GET") << none << none << QByteArray("401 time");
        QTest::newRow("ahead") << 310 << QByteArray("GET") << none << none << QByteArray("401 time");
        QTest::newRow("wrong token") << 0 << QByteArray("GET") << none << QByteArray("guess")
                                     << QByteArray("401 session");
        // Who cannot sign learns nothing of the clock.
        QTest::newRow("wrong token, old")
            << -310 << QByteArray("GET") << none << QByteArray("guess") << QByteArray("401 session");
    }

    void bentBeforeSigning()
    {
        QFETCH(int, seconds);
        QFETCH(QByteArray, method);
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, token);
        QFETCH(QByteArray, verdict);
        SignedRequest request = good();
        request.time = QDateTime::currentMSecsSinceEpoch() + seconds * 1000;
        request.method = method;
        request.body = body;
        request.target = "/api/v1/limits";
        if (!token.isEmpty())
            request.token = token;
        QCOMPARE(verdictOf(*m_check, received(request, request.headers())), verdict);
    }

    void repeated()
    {
        SignedRequest request = good();
        request.nonce = nonceText;
        const QByteArray headers = request.headers();
        QCOMPARE(verdictOf(*m_check, received(request, headers)), QByteArray("in as 安娜 a"));
        QCOMPARE(verdictOf(*m_check, received(request, headers)), QByteArray("401 repeated"));
        // The same nonce in other letters, and under another time.
        request.nonce = nonceText.toLower();
        request.time = QDateTime::currentMSecsSinceEpoch() + 1000;
        QCOMPARE(verdictOf(*m_check, received(request, request.headers())), QByteArray("401 repeated"));
        // A refused request used up no nonce.
        SignedRequest wrong = good();
        wrong.nonce = QByteArray(32, '7');
        wrong.token = "guess";
        QCOMPARE(verdictOf(*m_check, received(wrong, wrong.headers())), QByteArray("401 session"));
        wrong.token = good().token;
        QCOMPARE(verdictOf(*m_check, received(wrong, wrong.headers())), QByteArray("in as 安娜 a"));
    }

    void credentialsOpenTheirOwnDoorsOnly()
    {
        SignedRequest transfer = good();
        transfer.accessId = QByteArray::fromStdString(m_session.transferId);
        transfer.token = QByteArray::fromStdString(m_session.transferToken);
        const auto verdict = [&](const SignedRequest &request, Access access) {
            return verdictOf(*m_check, received(request, request.headers()), access);
        };
        QCOMPARE(verdict(transfer, Access::Transfer), QByteArray("in as 安娜 a"));
        QCOMPARE(verdict(transfer, Access::Session), QByteArray("401 session"));
        QCOMPARE(verdict(good(), Access::Transfer), QByteArray("401 session"));
        // Crossed ids and tokens.
        transfer.token = good().token;
        QCOMPARE(verdict(transfer, Access::Transfer), QByteArray("401 session"));
        // An open route asks for nothing.
        QCOMPARE(verdict(SignedRequest(), Access::Open), QByteArray("in as "));
    }

    void accountStateCounts()
    {
        const auto verdict = [&] { return verdictOf(*m_check, received(good(), good().headers())); };
        QVERIFY(m_store->setRestriction("安娜 a", {Restriction::Kind::Silent, "", 0, -1}));
        QCOMPARE(verdict(), QByteArray("403 restricted"));
        QVERIFY(m_store->setRestriction("安娜 a", {}));
        QCOMPARE(verdict(), QByteArray("in as 安娜 a"));
        setExpiry(*m_store, m_session.accessId, nowMs() - 1);
        QCOMPARE(verdict(), QByteArray("401 session"));
    }

    void restart_data()
    {
        QTest::addColumn<bool>("clean");
        QTest::newRow("stopped") << true;
        QTest::newRow("killed") << false;
    }

    void restart()
    {
        QFETCH(bool, clean);
        SignedRequest seen = good();
        seen.nonce = nonceText;
        const QByteArray headers = seen.headers();
        QCOMPARE(verdictOf(*m_check, received(seen, headers)), QByteArray("in as 安娜 a"));
        if (clean)
            m_check->save();
        QTest::qWait(5); // why: the next run begins at a later millisecond
        m_check = std::make_unique<SignatureCheck>(*m_sessions);
        // What was seen before gets in neither time; the session itself goes on.
        QCOMPARE(verdictOf(*m_check, received(seen, headers)), QByteArray(clean ? "401 repeated" : "401 time"));
        QCOMPARE(verdictOf(*m_check, received(good(), good().headers())), QByteArray("in as 安娜 a"));
    }

private:
    SignedRequest good() const
    {
        SignedRequest request;
        request.user = "安娜 a";
        request.accessId = QByteArray::fromStdString(m_session.accessId);
        request.token = QByteArray::fromStdString(m_session.accessToken);
        request.method = "POST";
        request.target = "/api/v1/sc/1/files/mkdir?a=%20b";
        request.body = "{\"path\":\"/x\"}";
        return request;
    }

    Session login(const std::string &user) { return m_sessions->login(user, "secret", "10.0.0.1").session; }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<AccountStore> m_store;
    std::unique_ptr<Sessions> m_sessions;
    std::unique_ptr<SignatureCheck> m_check;
    Session m_session;
};

ARKVALE_GUILESS_TEST(TestSignatures)
#include "tst_service_signatures.moc"
