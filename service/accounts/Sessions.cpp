#include "Sessions.h"

#include "Sql.h"

#include <algorithm>

namespace arkvale::service {

namespace {

// Each hashing takes 64 MiB and a processor: a flood of logins must not take the machine.
constexpr int mostHashing = 2;
constexpr int mostHashingWaits = 6;
constexpr std::size_t mostWebTokens = 10000;
constexpr int mostWebTokensOfUser = 32;

} // namespace

bool Sessions::enterHashing()
{
    std::unique_lock lock(m_mutex);
    if (m_hashing >= mostHashing) {
        if (m_hashingWaits >= mostHashingWaits)
            return false;
        ++m_hashingWaits;
        m_hashingDone.wait(lock, [this] { return m_hashing < mostHashing; });
        --m_hashingWaits;
    }
    ++m_hashing;
    return true;
}

void Sessions::leaveHashing()
{
    {
        const std::lock_guard lock(m_mutex);
        --m_hashing;
    }
    m_hashingDone.notify_one();
}

LoginOutcome Sessions::login(const std::string &name, const std::string &password, const std::string &address)
{
    LoginOutcome outcome;
    const auto pause = m_throttle.attempt(name, address, nowMs());
    if (!pause) {
        outcome.kind = LoginOutcome::Kind::TooMany;
        return outcome;
    }
    if (!enterHashing()) {
        // Nothing was tried, so nothing is held against the client.
        m_throttle.withdraw(name, address);
        outcome.kind = LoginOutcome::Kind::Busy;
        return outcome;
    }
    const auto account = m_store.checkLogin(name, password);
    leaveHashing();
    if (!account) {
        outcome.kind = LoginOutcome::Kind::Wrong;
        outcome.pauseMs = *pause;
        return outcome;
    }
    m_throttle.succeeded(name, address);
    return open(*account);
}

LoginOutcome Sessions::loginWithToken(const std::string &name, const std::string &token, const std::string &address)
{
    LoginOutcome outcome;
    const std::int64_t now = nowMs();
    const auto pause = m_throttle.attempt(name, address, now);
    if (!pause) {
        outcome.kind = LoginOutcome::Kind::TooMany;
        return outcome;
    }
    bool good = false;
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_webTokens.find(sha256Hex(token));
        if (found != m_webTokens.end()) {
            good = found->second.user == name && found->second.expires > now;
            // Shown once, used once: also when it was shown under a wrong name.
            m_webTokens.erase(found);
        }
    }
    const auto account = good ? m_store.account(name) : std::nullopt;
    if (!account) {
        outcome.kind = LoginOutcome::Kind::Wrong;
        outcome.pauseMs = *pause;
        return outcome;
    }
    m_throttle.succeeded(name, address);
    return open(*account);
}

LoginOutcome Sessions::open(const Account &account)
{
    LoginOutcome outcome;
    outcome.account = account;
    const std::int64_t now = nowMs();
    if (account.restriction.holds(now)) {
        outcome.kind = LoginOutcome::Kind::Restricted;
        return outcome;
    }
    Session &session = outcome.session;
    session = {account.name, randomHex(16), randomText(32), randomHex(16), randomText(32)};

    const std::lock_guard lock(m_store.mutex());
    Database &database = m_store.database();
    Transaction transaction(database);
    Statement(database, "DELETE FROM sessions WHERE expires < ?").bind(now).run();
    Statement(database, "DELETE FROM sessions WHERE user = ?1 AND access_id NOT IN "
                        "(SELECT access_id FROM sessions WHERE user = ?1 ORDER BY started DESC LIMIT ?2)")
        .bind(account.name)
        .bind(mostOfUser - 1)
        .run();
    Statement insert(database, "INSERT INTO sessions VALUES (?,?,?,?,?,?,?)");
    insert.bind(session.accessId).bind(session.accessToken).bind(session.transferId).bind(session.transferToken);
    insert.bind(session.user).bind(now + lifetimeMs).bind(now);
    if (insert.run() && transaction.commit())
        outcome.kind = LoginOutcome::Kind::Ok;
    return outcome;
}

std::optional<std::string> Sessions::makeWebToken(const std::string &user)
{
    const std::int64_t now = nowMs();
    const std::lock_guard lock(m_mutex);
    int ofUser = 0;
    for (auto it = m_webTokens.begin(); it != m_webTokens.end();) {
        if (it->second.expires <= now) {
            it = m_webTokens.erase(it);
            continue;
        }
        ofUser += it->second.user == user ? 1 : 0;
        ++it;
    }
    if (ofUser >= mostWebTokensOfUser || m_webTokens.size() >= mostWebTokens)
        return std::nullopt;
    std::string token = randomText(32);
    m_webTokens[sha256Hex(token)] = {user, now + webTokenMs};
    return token;
}

bool Sessions::logout(const std::string &accessId)
{
    const std::lock_guard lock(m_store.mutex());
    Statement end(m_store.database(), "DELETE FROM sessions WHERE access_id = ?");
    return end.bind(accessId).run();
}

std::optional<AccessKey> Sessions::key(const std::string &accessId) const
{
    const std::int64_t now = nowMs();
    const std::lock_guard lock(m_store.mutex());
    Statement select(m_store.database(),
                     "SELECT s.access_id, s.token, s.transfer_token, u.name, u.restriction, u.effect_time, u.duration "
                     "FROM sessions s JOIN users u ON u.name = s.user "
                     "WHERE (s.access_id = ?1 OR s.transfer_id = ?1) AND s.expires > ?2");
    if (!select.bind(accessId).bind(now).row())
        return std::nullopt;
    AccessKey key;
    key.transfer = select.text(0) != accessId;
    key.token = select.text(key.transfer ? 2 : 1);
    key.user = select.text(3);
    Restriction restriction;
    const std::int64_t kind = select.number(4);
    restriction.kind = kind == 0   ? Restriction::Kind::None
                       : kind == 1 ? Restriction::Kind::Violation
                                   : Restriction::Kind::Silent;
    restriction.effectTime = select.number(5);
    restriction.duration = select.number(6);
    key.restricted = restriction.holds(now);
    return key;
}

void Sessions::touch(const std::string &accessId)
{
    // Not written anew for every request: a minute less of 12 hours is nothing.
    const std::int64_t now = nowMs();
    const std::lock_guard lock(m_store.mutex());
    Statement update(m_store.database(), "UPDATE sessions SET expires = ?1 "
                                         "WHERE (access_id = ?2 OR transfer_id = ?2) AND expires < ?3");
    update.bind(now + lifetimeMs).bind(accessId).bind(now + lifetimeMs - 60000).run();
}

bool Sessions::saveNonces(const std::vector<NonceMemory::Entry> &entries)
{
    const std::lock_guard lock(m_store.mutex());
    Database &database = m_store.database();
    Transaction transaction(database);
    bool ok = database.run("DELETE FROM nonces; INSERT OR REPLACE INTO settings VALUES ('nonces-saved', '1')");
    for (const NonceMemory::Entry &entry : entries) {
        Statement insert(database, "INSERT INTO nonces VALUES (?,?,?)");
        ok = insert.bind(entry.accessId).bind(entry.nonce).bind(entry.time).run() && ok;
    }
    return ok && transaction.commit();
}

std::optional<std::vector<NonceMemory::Entry>> Sessions::takeNonces()
{
    std::vector<NonceMemory::Entry> entries;
    const std::lock_guard lock(m_store.mutex());
    Database &database = m_store.database();
    Transaction transaction(database);
    {
        Statement saved(database, "SELECT value FROM settings WHERE key = 'nonces-saved'");
        if (!saved.row())
            return std::nullopt;
        Statement select(database, "SELECT access_id, nonce, time FROM nonces");
        while (select.row())
            entries.push_back({select.text(0), select.text(1), select.number(2)});
    }
    if (!database.run("DELETE FROM nonces; DELETE FROM settings WHERE key = 'nonces-saved'") || !transaction.commit())
        return std::nullopt;
    return entries;
}

} // namespace arkvale::service
