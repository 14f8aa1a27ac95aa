#include "TestSupport.h"

#include "AccountStore.h"
#include "LoginThrottle.h"
#include "NonceMemory.h"
#include "Sessions.h"
#include "Sql.h"
#include "TicketStore.h"

#include <QFileInfo>
#include <QTemporaryDir>

#include <set>
#include <thread>

using namespace arkvale::service;

namespace {

// As cheap as hashing gets: the tests are about what is done with it.
const PasswordCost cheap = {1, 8192};
constexpr std::int64_t minute = 60 * 1000;

Account named(const std::string &name)
{
    Account account;
    account.name = name;
    return account;
}

/// Makes a session end at another time.
void setExpiry(AccountStore &store, const std::string &accessId, std::int64_t time)
{
    Statement(store.database(), "UPDATE sessions SET expires = ? WHERE access_id = ?").bind(time).bind(accessId).run();
}

std::int64_t expiry(AccountStore &store, const std::string &accessId)
{
    Statement select(store.database(), "SELECT expires FROM sessions WHERE access_id = ?");
    return select.bind(accessId).row() ? select.number(0) : 0;
}

} // namespace

/// The database of accounts, and the memories beside it.
class TestAccounts : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(initSecrets()); }
    void init()
    {
        beginStrict();
        m_folder = std::make_unique<QTemporaryDir>();
        m_store = std::make_unique<AccountStore>(cheap);
        const StoreResult opened = m_store->open(file());
        QVERIFY2(opened.ok, opened.error.c_str());
        m_sessions = std::make_unique<Sessions>(*m_store);
    }

    void cleanup()
    {
        m_sessions.reset();
        m_store.reset();
        m_folder.reset();
        endStrict();
    }

    void userNames_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<bool>("good");
        QTest::newRow("plain") << QByteArray("anna") << true;
        QTest::newRow("blank, quote and percent") << QByteArray("o'hara 100%1") << true;
        QTest::newRow("Chinese") << QByteArray("用户") << true;
        QTest::newRow("longest") << QByteArray(64, 'x') << true;
        QTest::newRow("too long") << QByteArray(65, 'x') << false;
        QTest::newRow("empty") << QByteArray() << false;
        QTest::newRow("parent folder") << QByteArray("..") << false;
        QTest::newRow("slash") << QByteArray("a/b") << false;
        QTest::newRow("backslash") << QByteArray("a\\b") << false;
        QTest::newRow("line feed") << QByteArray("a\nb") << false;
        QTest::newRow("zero byte") << QByteArray("a\0b", 3) << false;
        QTest::newRow("not utf-8") << QByteArray("a\xFF") << false;
        QTest::newRow("blank at the end") << QByteArray("a ") << false;
    }

    void userNames()
    {
        QFETCH(QByteArray, name);
        QFETCH(bool, good);
        QCOMPARE(m_store->addAccount(named(name.toStdString()), "secret").ok, good);
        QCOMPARE(m_store->account(name.toStdString()).has_value(), good);
        QCOMPARE(m_store->accounts().size(), std::size_t(good ? 1 : 0));
    }

    void namesAreTakenWhateverTheirCase()
    {
        QVERIFY(m_store->addAccount(named("Anna"), "one"));
        QVERIFY(!m_store->addAccount(named("anna"), "two"));
        const auto account = m_store->checkLogin("ANNA", "one");
        QVERIFY(account);
        QCOMPARE(account->name, std::string("Anna"));
    }

    void passwords()
    {
        QVERIFY(m_store->addAccount(named("anna"), "right"));
        QVERIFY(m_store->checkLogin("anna", "right"));
        for (const char *wrong : {"", "Right", "right ", "righ"})
            QVERIFY(!m_store->checkLogin("anna", wrong));
        QVERIFY(!m_store->checkLogin("nobody", "right"));
        QVERIFY(!m_store->checkLogin("anna' OR '1'='1", "right"));
        QVERIFY(!m_store->setPassword("nobody", "x"));

        const Session session = m_sessions->login("anna", "right", "10.0.0.1").session;
        QVERIFY(m_sessions->key(session.accessId));
        QVERIFY(m_store->setPassword("anna", "new"));
        QVERIFY(!m_store->checkLogin("anna", "right"));
        QVERIFY(m_store->checkLogin("anna", "new"));
        QVERIFY(!m_sessions->key(session.accessId));
    }

    void recordsOutliveTheProcess()
    {
        Account account = named("anna");
        account.nickname = "安娜 \"A\" %1";
        account.email = "a@b.example";
        account.mobile = "+1";
        account.icon = "icons/user/x.png";
        account.verified = true;
        account.restriction = {Restriction::Kind::Violation, "it's ;-- a reason", 1234567890123, 77};
        QVERIFY(m_store->addAccount(account, "secret"));
        QVERIFY(m_store->setSetting("k", "v"));
        m_store = std::make_unique<AccountStore>(cheap);
        QVERIFY(m_store->open(file()));
        const Account read = m_store->account("anna").value();
        QCOMPARE(read.nickname, account.nickname);
        QCOMPARE(read.icon, account.icon);
        QVERIFY(read.verified);
        QVERIFY(read.restriction.kind == Restriction::Kind::Violation);
        QCOMPARE(read.restriction.reason, account.restriction.reason);
        QCOMPARE(read.restriction.effectTime, account.restriction.effectTime);
        QCOMPARE(read.restriction.duration, account.restriction.duration);
        QCOMPARE(m_store->setting("k", "-"), std::string("v"));
        QCOMPARE(m_store->setting("none", "-"), std::string("-"));
        // Hashes and session keys are in there.
        QVERIFY(!(QFileInfo(QString::fromStdString(file())).permissions() & (QFile::ReadGroup | QFile::ReadOther)));
    }

    void rootsNeverOverlap_data()
    {
        QTest::addColumn<QByteArray>("id");
        QTest::addColumn<QByteArray>("root");
        QTest::addColumn<bool>("good");
        QTest::newRow("longer name") << QByteArray("2") << QByteArray("/data/one2") << true;
        QTest::newRow("the same") << QByteArray("2") << QByteArray("/data/one") << false;
        QTest::newRow("inside") << QByteArray("2") << QByteArray("/data/one/inner") << false;
        QTest::newRow("around") << QByteArray("2") << QByteArray("/data") << false;
        QTest::newRow("id taken") << QByteArray("1") << QByteArray("/data/two") << false;
        QTest::newRow("id a path") << QByteArray("../1") << QByteArray("/data/two") << false;
    }

    void rootsNeverOverlap()
    {
        QFETCH(QByteArray, id);
        QFETCH(QByteArray, root);
        QFETCH(bool, good);
        QVERIFY(m_store->addSubCenter({"1", "One", "/data/one", "", "", 0}));
        QCOMPARE(m_store->addSubCenter({id.toStdString(), "Two", root.toStdString(), "", "", 4000}).ok, good);
        QCOMPARE(m_store->subCenters().size(), std::size_t(good ? 2 : 1));
    }

    void homesAndQuotas()
    {
        QVERIFY(m_store->addSubCenter({"1", "One", "/data/one", "", "", 0}));
        QVERIFY(m_store->addAccount(named("Anna"), "secret"));
        QVERIFY(m_store->addAccount(named("bert"), "secret"));
        QVERIFY(m_store->addHome({"Anna", "1", "Anna", 1000, 0}));
        QVERIFY(!m_store->addHome({"Anna", "1", "again", 1000, 0}));
        // Two users in one folder would read each other's files.
        QVERIFY(!m_store->addHome({"bert", "1", "anna", 1000, 0}));
        QVERIFY(!m_store->addHome({"nobody", "1", "nobody", 1000, 0}));
        QVERIFY(!m_store->addHome({"bert", "9", "bert", 1000, 0}));

        QVERIFY(m_store->setQuota("anna", "1", 1LL << 50));
        QVERIFY(m_store->setUsed("Anna", "1", 77));
        QCOMPARE(m_store->home("Anna", "1")->quota, 1LL << 50);
        QCOMPARE(m_store->home("Anna", "1")->used, 77);
        QVERIFY(!m_store->home("bert", "1"));
        QVERIFY(!m_store->setQuota("bert", "1", 5));
    }

    void advertisements()
    {
        QVERIFY(m_store->addAdvertisement({"en_us", "2024-01-01", "old", "", ""}));
        QVERIFY(m_store->addAdvertisement({"zh_cn", "2024-01-02", "chinese", "", ""}));
        QVERIFY(m_store->addAdvertisement({"", "2024-01-03", "all", "", ""}));
        const auto english = m_store->advertisements("en_us");
        QCOMPARE(english.size(), std::size_t(2));
        QCOMPARE(english[0].title, std::string("all"));
        QCOMPARE(english[1].title, std::string("old"));
        QCOMPARE(m_store->advertisements("xx").size(), std::size_t(1));
    }

    void sessionsEnd()
    {
        QVERIFY(m_store->addAccount(named("anna"), "secret"));
        const Session loggedOut = loggedIn("anna");
        const Session expired = loggedIn("anna");
        const Session other = loggedIn("anna");
        QVERIFY(m_sessions->logout(loggedOut.accessId));
        setExpiry(*m_store, expired.accessId, nowMs() - 1);
        for (const Session &ended : {loggedOut, expired})
            QVERIFY(!m_sessions->key(ended.accessId) && !m_sessions->key(ended.transferId));
        QVERIFY(m_sessions->key(other.accessId));
        // Used sessions live on.
        setExpiry(*m_store, other.accessId, nowMs() + minute);
        m_sessions->touch(other.transferId);
        QVERIFY(expiry(*m_store, other.accessId) > nowMs() + Sessions::lifetimeMs - minute);
    }

    void sessionsOfOneUserAreBounded()
    {
        QVERIFY(m_store->addAccount(named("anna"), "secret"));
        QVERIFY(m_store->addAccount(named("bert"), "secret"));
        const Session others = loggedIn("bert");
        const Session first = loggedIn("anna");
        Session last;
        for (int i = 0; i < Sessions::mostOfUser; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2)); // why: ages are told by milliseconds
            last = loggedIn("anna");
        }
        QVERIFY(!m_sessions->key(first.accessId));
        QVERIFY(m_sessions->key(last.accessId));
        QVERIFY(m_sessions->key(others.accessId));
    }

    void webTokens()
    {
        QVERIFY(m_store->addAccount(named("anna"), "secret"));
        QVERIFY(m_store->addAccount(named("bert"), "secret"));
        const std::string token = m_sessions->makeWebToken("anna").value();
        QVERIFY(m_sessions->loginWithToken("anna", "guess", "10.0.0.1").kind == LoginOutcome::Kind::Wrong);
        QVERIFY(m_sessions->loginWithToken("anna", token, "10.0.0.1").kind == LoginOutcome::Kind::Ok);
        QVERIFY(m_sessions->loginWithToken("anna", token, "10.0.0.1").kind == LoginOutcome::Kind::Wrong);

        // Shown under another name it is spent.
        const std::string stolen = m_sessions->makeWebToken("anna").value();
        QVERIFY(m_sessions->loginWithToken("bert", stolen, "10.0.0.1").kind == LoginOutcome::Kind::Wrong);
        QVERIFY(m_sessions->loginWithToken("anna", stolen, "10.0.0.1").kind == LoginOutcome::Kind::Wrong);

        int made = 0;
        while (made < 1000 && m_sessions->makeWebToken("anna"))
            ++made;
        QVERIFY(made > 0 && made < 1000);
        QVERIFY(m_sessions->makeWebToken("bert"));

        // Frozen after the token was made.
        const std::string late = m_sessions->makeWebToken("bert").value();
        QVERIFY(m_store->setRestriction("bert", {Restriction::Kind::Violation, "r", nowMs(), -1}));
        QVERIFY(m_sessions->loginWithToken("bert", late, "10.0.0.1").kind == LoginOutcome::Kind::Restricted);
    }

    void throttlePauses()
    {
        LoginThrottle throttle;
        QList<int> pauses;
        for (std::size_t i = 0; i < LoginThrottle::mostOfPair; ++i)
            pauses << throttle.attempt("anna", "10.0.0.1", 1000).value_or(-1);
        QCOMPARE(pauses, QList<int>({0, 0, 250, 500, 1000, 2000, 4000, 8000, 8000, 8000}));
        QVERIFY(!throttle.attempt("anna", "10.0.0.1", 1000));
        // The owner, from elsewhere, still gets in; and the guesser may err about others.
        QCOMPARE(throttle.attempt("anna", "10.0.0.2", 1000), std::optional<int>(0));
        QCOMPARE(throttle.attempt("bert", "10.0.0.1", 1000), std::optional<int>(0));
    }

    void throttleBounds()
    {
        LoginThrottle names, addresses;
        std::size_t madeForNames = 0, madeFromAddresses = 0;
        for (int i = 0; i < 500; ++i) {
            const std::string number = std::to_string(i);
            madeForNames += names.attempt("n" + number, "a", 1000) ? 1 : 0;
            madeFromAddresses += addresses.attempt("n", "a" + number, 1000) ? 1 : 0;
        }
        QCOMPARE(madeForNames, LoginThrottle::mostOfAddress);
        QCOMPARE(madeFromAddresses, LoginThrottle::mostOfName);
    }

    void throttleForgets()
    {
        LoginThrottle throttle;
        for (std::size_t i = 0; i < LoginThrottle::mostOfPair; ++i)
            throttle.attempt("anna", "a", 1000);
        QVERIFY(!throttle.attempt("anna", "a", 1000 + LoginThrottle::windowMs - 1));
        QCOMPARE(throttle.attempt("anna", "a", 1000 + LoginThrottle::windowMs), std::optional<int>(0));

        throttle.attempt("bert", "b", 5000);
        throttle.attempt("bert", "b", 5000);
        throttle.attempt("bert", "b", 5000);
        throttle.succeeded("bert", "b");
        QCOMPARE(throttle.attempt("bert", "b", 5000), std::optional<int>(0));

        // One's own good logins do not buy guesses at others' accounts.
        int guesses = 0;
        for (int i = 0; i < 200; ++i) {
            guesses += throttle.attempt("victim" + std::to_string(i), "c", 5000) ? 1 : 0;
            if (throttle.attempt("mine", "c", 5000))
                throttle.succeeded("mine", "c");
        }
        QVERIFY(guesses <= int(LoginThrottle::mostOfAddress));
    }

    void throttleStaysSmall()
    {
        LoginThrottle throttle;
        for (int i = 0; i < 30000; ++i)
            throttle.attempt("n" + std::to_string(i), "a" + std::to_string(i), 1000 + i);
        QVERIFY(throttle.counts() <= LoginThrottle::mostCounts);
    }

    void nonces()
    {
        using Verdict = NonceMemory::Verdict;
        NonceMemory memory;
        const std::int64_t now = 10000000;
        const std::int64_t window = NonceMemory::windowMs;
        QVERIFY(memory.remember("a", "n1", now, now) == Verdict::Fresh);
        QVERIFY(memory.remember("a", "n1", now, now) == Verdict::Repeated);
        QVERIFY(memory.remember("a", "n1", now + 5, now + window) == Verdict::Repeated);
        QVERIFY(memory.remember("b", "n1", now, now) == Verdict::Fresh);
        // A time ahead of the clock is accepted for longer, so its nonce is kept for longer.
        QVERIFY(memory.remember("a", "n2", now + window, now) == Verdict::Fresh);
        QVERIFY(memory.remember("a", "n2", now + window, now + 2 * window) == Verdict::Repeated);
        QCOMPARE(memory.entries(now + 2 * window).size(), std::size_t(1));
        QVERIFY(memory.remember("a", "n1", now + window + 1, now + window + 1) == Verdict::Fresh);

        for (std::size_t i = 0; i < NonceMemory::mostOfOne; ++i)
            memory.remember("flood", std::to_string(i), now, now);
        QVERIFY(memory.remember("flood", "one more", now, now) == Verdict::Full);
        QVERIFY(memory.remember("other", "x", now, now) == Verdict::Fresh);
        QVERIFY(memory.remember("flood", "later", now + window + 1, now + window + 1) == Verdict::Fresh);
        memory.forget("flood");
        QVERIFY(memory.remember("flood", "later", now + window + 1, now + window + 1) == Verdict::Fresh);
    }

    void tickets()
    {
        TicketStore store;
        const std::int64_t now = 1000000;
        Ticket ticket{"anna", "1", "/data/one/anna", "/in", Ticket::Direction::Download};
        const std::string text = store.issue(ticket, now);
        QVERIFY(!store.redeem(text + "x", now));
        QVERIFY(!store.redeem("", now));
        const auto redeemed = store.redeem(text, now + TicketStore::lifetimeMs - 1);
        QVERIFY(redeemed);
        QCOMPARE(redeemed->homeRoot, ticket.homeRoot);
        QCOMPARE(redeemed->folder, ticket.folder);
        QVERIFY(redeemed->direction == Ticket::Direction::Download);
        QVERIFY(!store.redeem(text, now));

        const std::string old = store.issue(ticket, now);
        QVERIFY(!store.redeem(old, now + TicketStore::lifetimeMs));

        const std::string revoked = store.issue(ticket, now);
        store.revoke("anna");
        QVERIFY(!store.redeem(revoked, now));

        std::size_t issued = 0;
        while (issued < 10000 && !store.issue(ticket, now).empty())
            ++issued;
        QCOMPARE(issued, TicketStore::mostOfUser);
        ticket.user = "bert";
        QVERIFY(!store.issue(ticket, now).empty());
        ticket.user = "anna";
        QVERIFY(!store.issue(ticket, now + TicketStore::lifetimeMs).empty());
    }

    void twoProcessesShareTheFile()
    {
        AccountStore other(cheap);
        QVERIFY(other.open(file()));
        QVERIFY(m_store->addAccount(named("shared"), "secret"));
        QVERIFY(other.account("shared"));
        // Both write at once: each waits for the other, and nothing is lost.
        const auto addMany = [](AccountStore &store, const std::string &prefix) {
            int failed = 0;
            for (int i = 0; i < 30; ++i)
                failed += store.addAccount(named(prefix + std::to_string(i)), "x").ok ? 0 : 1;
            return failed;
        };
        int failedThere = 0;
        std::thread thread([&] { failedThere = addMany(other, "b"); });
        const int failedHere = addMany(*m_store, "a");
        thread.join();
        QCOMPARE(failedHere + failedThere, 0);
        QCOMPARE(m_store->accounts().size(), std::size_t(61));
    }

private:
    std::string file() const { return m_folder->filePath("test.db").toStdString(); }
    Session loggedIn(const std::string &user) { return m_sessions->login(user, "secret", "10.0.0.1").session; }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<AccountStore> m_store;
    std::unique_ptr<Sessions> m_sessions;
};

ARKVALE_GUILESS_TEST(TestAccounts)
#include "tst_service_accounts.moc"
