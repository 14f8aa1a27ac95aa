#include "AccountStore.h"

#include "Request.h"
#include "Sql.h"

#include <algorithm>

namespace arkvale::service {

namespace {

const char *const schema = R"(
CREATE TABLE IF NOT EXISTS users (
    name TEXT PRIMARY KEY COLLATE NOCASE, password TEXT NOT NULL, nickname TEXT NOT NULL, email TEXT NOT NULL,
    mobile TEXT NOT NULL, icon TEXT NOT NULL, verified INTEGER NOT NULL, restriction INTEGER NOT NULL DEFAULT 0,
    reason TEXT NOT NULL DEFAULT '', effect_time INTEGER NOT NULL DEFAULT 0, duration INTEGER NOT NULL DEFAULT -1);
CREATE TABLE IF NOT EXISTS sub_centers (
    id TEXT PRIMARY KEY, name TEXT NOT NULL, root TEXT NOT NULL UNIQUE, icon TEXT NOT NULL,
    transfer_host TEXT NOT NULL, transfer_port INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS homes (
    user TEXT NOT NULL COLLATE NOCASE REFERENCES users(name), sub_center TEXT NOT NULL REFERENCES sub_centers(id),
    folder TEXT NOT NULL COLLATE NOCASE, quota INTEGER NOT NULL, used INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY (user, sub_center), UNIQUE (sub_center, folder));
CREATE TABLE IF NOT EXISTS sessions (
    access_id TEXT PRIMARY KEY, token TEXT NOT NULL, transfer_id TEXT NOT NULL UNIQUE, transfer_token TEXT NOT NULL,
    user TEXT NOT NULL COLLATE NOCASE REFERENCES users(name), expires INTEGER NOT NULL, started INTEGER NOT NULL);
CREATE INDEX IF NOT EXISTS sessions_of_user ON sessions (user, started);
CREATE TABLE IF NOT EXISTS nonces (access_id TEXT NOT NULL, nonce TEXT NOT NULL, time INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS advertisements (
    language TEXT NOT NULL, post_time TEXT NOT NULL, title TEXT NOT NULL, jump_link TEXT NOT NULL,
    content TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS settings (key TEXT PRIMARY KEY, value TEXT NOT NULL);
)";

const char *const accountColumns = "SELECT name, nickname, email, mobile, icon, verified, restriction, reason, "
                                   "effect_time, duration, password FROM users";

Account accountOf(const Statement &row)
{
    Account account;
    account.name = row.text(0);
    account.nickname = row.text(1);
    account.email = row.text(2);
    account.mobile = row.text(3);
    account.icon = row.text(4);
    account.verified = row.number(5) != 0;
    const std::int64_t kind = row.number(6);
    // A kind that this version does not know still locks the account.
    account.restriction.kind = kind == 0   ? Restriction::Kind::None
                               : kind == 1 ? Restriction::Kind::Violation
                                           : Restriction::Kind::Silent;
    account.restriction.reason = row.text(7);
    account.restriction.effectTime = row.number(8);
    account.restriction.duration = row.number(9);
    return account;
}

} // namespace

bool Restriction::holds(std::int64_t now) const
{
    switch (kind) {
    case Kind::None:
        return false;
    case Kind::Silent:
        return true;
    case Kind::Violation:
        break;
    }
    return duration < 0 || (now - effectTime) / 1000 < duration;
}

bool isUserName(const std::string &name)
{
    // The home's folder bears the name, so it has to be one that every file system takes.
    if (name.empty() || name.size() > 64 || name.front() == '.' || name.front() == ' ' || name.back() == '.' ||
        name.back() == ' ' || !isUtf8(name))
        return false;
    return std::all_of(name.begin(), name.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 0x20 && byte != 0x7F && std::string("/\\:*?\"<>|").find(c) == std::string::npos;
    });
}

AccountStore::AccountStore(PasswordCost cost)
    : m_cost(cost)
    , m_database(std::make_unique<Database>())
{
}

AccountStore::~AccountStore() = default;

StoreResult AccountStore::result(bool ok, const std::string &otherwise) const
{
    if (ok)
        return {};
    return {false, otherwise + " (" + m_database->error() + ")"};
}

StoreResult AccountStore::open(const std::string &file)
{
    m_dummyHash = hashPassword(randomText(12), m_cost);
    const std::lock_guard lock(m_mutex);
    if (!m_database->open(file) || !m_database->run(schema))
        return result(false, "The database " + file + " cannot be opened.");
    return {};
}

StoreResult AccountStore::addAccount(const Account &account, const std::string &password)
{
    if (!isUserName(account.name))
        return {false, "\"" + account.name + "\" cannot be a user name."};
    const std::string hash = hashPassword(password, m_cost);
    if (hash.empty())
        return {false, "There is not enough memory to hash the password."};
    const std::lock_guard lock(m_mutex);
    Statement insert(*m_database, "INSERT INTO users (name, password, nickname, email, mobile, icon, verified, "
                                  "restriction, reason, effect_time, duration) VALUES (?,?,?,?,?,?,?,?,?,?,?)");
    const Restriction &r = account.restriction;
    const std::int64_t kind = r.kind == Restriction::Kind::None ? 0 : r.kind == Restriction::Kind::Violation ? 1 : 2;
    insert.bind(account.name).bind(hash).bind(account.nickname).bind(account.email).bind(account.mobile);
    insert.bind(account.icon).bind(account.verified ? 1 : 0).bind(kind).bind(r.reason).bind(r.effectTime);
    insert.bind(r.duration);
    return result(insert.run(), "The user \"" + account.name + "\" cannot be added; is the name taken?");
}

StoreResult AccountStore::setPassword(const std::string &user, const std::string &password)
{
    const std::string hash = hashPassword(password, m_cost);
    if (hash.empty())
        return {false, "There is not enough memory to hash the password."};
    const std::lock_guard lock(m_mutex);
    Transaction transaction(*m_database);
    Statement update(*m_database, "UPDATE users SET password = ? WHERE name = ?");
    if (!update.bind(hash).bind(user).run() || m_database->changes() == 0)
        return {false, "There is no user \"" + user + "\"."};
    // Whoever knew the old password is out.
    Statement end(*m_database, "DELETE FROM sessions WHERE user = ?");
    return result(end.bind(user).run() && transaction.commit(), "The password cannot be changed.");
}

StoreResult AccountStore::setRestriction(const std::string &user, const Restriction &restriction)
{
    const std::int64_t kind = restriction.kind == Restriction::Kind::None        ? 0
                              : restriction.kind == Restriction::Kind::Violation ? 1
                                                                                 : 2;
    const std::lock_guard lock(m_mutex);
    Statement update(*m_database,
                     "UPDATE users SET restriction = ?, reason = ?, effect_time = ?, duration = ? WHERE name = ?");
    update.bind(kind).bind(restriction.reason).bind(restriction.effectTime).bind(restriction.duration).bind(user);
    if (!update.run())
        return result(false, "The restriction cannot be changed.");
    if (m_database->changes() == 0)
        return {false, "There is no user \"" + user + "\"."};
    return {};
}

std::optional<Account> AccountStore::account(const std::string &user) const
{
    const std::lock_guard lock(m_mutex);
    Statement select(*m_database, (std::string(accountColumns) + " WHERE name = ?").c_str());
    if (!select.bind(user).row())
        return std::nullopt;
    return accountOf(select);
}

std::vector<Account> AccountStore::accounts() const
{
    const std::lock_guard lock(m_mutex);
    Statement select(*m_database, (std::string(accountColumns) + " ORDER BY name").c_str());
    std::vector<Account> accounts;
    while (select.row())
        accounts.push_back(accountOf(select));
    return accounts;
}

std::optional<Account> AccountStore::checkLogin(const std::string &name, const std::string &password) const
{
    std::optional<Account> account;
    std::string hash = m_dummyHash;
    {
        const std::lock_guard lock(m_mutex);
        Statement select(*m_database, (std::string(accountColumns) + " WHERE name = ?").c_str());
        if (select.bind(name).row()) {
            account = accountOf(select);
            hash = select.text(10);
        }
    }
    if (!checkPassword(hash, password))
        return std::nullopt;
    return account;
}

StoreResult AccountStore::addAdvertisement(const AdvertisementRecord &record)
{
    const std::lock_guard lock(m_mutex);
    Statement insert(*m_database, "INSERT INTO advertisements VALUES (?,?,?,?,?)");
    insert.bind(record.language).bind(record.postTime).bind(record.title).bind(record.jumpLink).bind(record.content);
    return result(insert.run(), "The advertisement cannot be added.");
}

std::vector<AdvertisementRecord> AccountStore::advertisements(const std::string &language) const
{
    const std::lock_guard lock(m_mutex);
    Statement select(*m_database, "SELECT language, post_time, title, jump_link, content FROM advertisements "
                                  "WHERE language IN ('', ?) ORDER BY post_time DESC LIMIT 100");
    select.bind(language);
    std::vector<AdvertisementRecord> records;
    while (select.row())
        records.push_back({select.text(0), select.text(1), select.text(2), select.text(3), select.text(4)});
    return records;
}

StoreResult AccountStore::setSetting(const std::string &key, const std::string &value)
{
    const std::lock_guard lock(m_mutex);
    Statement replace(*m_database, "INSERT OR REPLACE INTO settings VALUES (?,?)");
    return result(replace.bind(key).bind(value).run(), "The setting cannot be changed.");
}

std::string AccountStore::setting(const std::string &key, const std::string &fallback) const
{
    const std::lock_guard lock(m_mutex);
    Statement select(*m_database, "SELECT value FROM settings WHERE key = ?");
    return select.bind(key).row() ? select.text(0) : fallback;
}

} // namespace arkvale::service
