#include "ShareStore.h"

#include "Secrets.h"
#include "Sql.h"

#include <algorithm>

namespace arkvale::service {

namespace {

const char *const schema = R"(
CREATE TABLE IF NOT EXISTS shares (
    id TEXT PRIMARY KEY, owner TEXT NOT NULL COLLATE NOCASE REFERENCES users(name),
    sub_center TEXT NOT NULL REFERENCES sub_centers(id), path TEXT NOT NULL, is_folder INTEGER NOT NULL,
    kind INTEGER NOT NULL, permission TEXT NOT NULL, password TEXT NOT NULL, token TEXT NOT NULL,
    time INTEGER NOT NULL, file_id INTEGER NOT NULL);
CREATE INDEX IF NOT EXISTS shares_of_owner ON shares (owner, time);
CREATE UNIQUE INDEX IF NOT EXISTS shares_of_token ON shares (token) WHERE token <> '';
CREATE TABLE IF NOT EXISTS share_users (
    share TEXT NOT NULL REFERENCES shares(id) ON DELETE CASCADE, user TEXT NOT NULL COLLATE NOCASE REFERENCES users(name),
    ignored INTEGER NOT NULL DEFAULT 0, PRIMARY KEY (share, user));
CREATE INDEX IF NOT EXISTS shares_to_user ON share_users (user, ignored);
)";

// One row for each user of a share, and one for a share without any.
const char *const withUsers = "SELECT id, owner, sub_center, path, is_folder, kind, permission, password, token, time, "
                              "file_id, share_users.user FROM shares LEFT JOIN share_users ON share = id ";
const char *const withoutUsers = "SELECT id, owner, sub_center, path, is_folder, kind, permission, password, token, "
                                 "time, file_id, '' FROM shares ";

bool liesBelow(const std::string &path, const std::string &folder)
{
    return path.size() > folder.size() && path[folder.size()] == '/' && path.compare(0, folder.size(), folder) == 0;
}

} // namespace

ShareStore::ShareStore(AccountStore &accounts)
    : m_accounts(accounts)
{
}

StoreResult ShareStore::result(bool ok, const char *otherwise) const
{
    return ok ? StoreResult{} : StoreResult{false, otherwise};
}

StoreResult ShareStore::open()
{
    const std::lock_guard lock(m_accounts.mutex());
    return result(m_accounts.database().run(schema), "The tables of shares cannot be made.");
}

bool ShareStore::insertUsers(const std::string &id, const std::vector<std::string> &users)
{
    return std::all_of(users.begin(), users.end(), [&](const std::string &user) {
        Statement insert(m_accounts.database(), "INSERT OR IGNORE INTO share_users (share, user) VALUES (?,?)");
        return insert.bind(id).bind(user).run();
    });
}

StoreResult ShareStore::add(Share *share)
{
    share->id = randomHex(12);
    share->token = share->isLink() ? randomText(16) : std::string();
    share->time = nowMs();
    const std::lock_guard lock(m_accounts.mutex());
    Database &database = m_accounts.database();
    Transaction transaction(database);
    Statement count(database, "SELECT count(*) FROM shares WHERE owner = ?");
    if (count.bind(share->owner).row() && count.number(0) >= static_cast<std::int64_t>(mostOfOwner))
        return {false, "Too many shares."};
    Statement insert(database, "INSERT INTO shares VALUES (?,?,?,?,?,?,?,?,?,?,?)");
    insert.bind(share->id).bind(share->owner).bind(share->subCenter).bind(share->path);
    insert.bind(static_cast<std::int64_t>(share->isFolder)).bind(static_cast<std::int64_t>(share->kind));
    insert.bind(share->permission).bind(share->password).bind(share->token).bind(share->time);
    insert.bind(static_cast<std::int64_t>(share->fileId));
    return result(insert.run() && insertUsers(share->id, share->users) && transaction.commit(),
                  "The share cannot be stored.");
}

std::vector<Share> ShareStore::select(const char *condition, const std::vector<std::string> &values, Users users) const
{
    std::vector<Share> shares;
    const std::lock_guard lock(m_accounts.mutex());
    const std::string order =
        users == WithUsers ? " ORDER BY time DESC, id, share_users.rowid" : " ORDER BY time DESC, id";
    Statement rows(m_accounts.database(),
                   ((users == WithUsers ? withUsers : withoutUsers) + (condition + order)).c_str());
    for (const std::string &value : values)
        rows.bind(value);
    while (rows.row()) {
        if (!shares.empty() && shares.back().id == rows.text(0)) {
            shares.back().users.push_back(rows.text(11));
            continue;
        }
        Share share;
        share.id = rows.text(0);
        share.owner = rows.text(1);
        share.subCenter = rows.text(2);
        share.path = rows.text(3);
        share.isFolder = rows.number(4) != 0;
        share.kind = static_cast<int>(rows.number(5));
        share.permission = rows.text(6);
        share.password = rows.text(7);
        share.token = rows.text(8);
        share.time = rows.number(9);
        share.fileId = static_cast<std::uint64_t>(rows.number(10));
        if (const std::string user = rows.text(11); !user.empty())
            share.users.push_back(user);
        shares.push_back(std::move(share));
    }
    return shares;
}

std::optional<Share> ShareStore::find(const std::string &id) const
{
    const auto found = select("WHERE id = ?", {id});
    return found.empty() ? std::nullopt : std::optional(found.front());
}

std::optional<Share> ShareStore::findByToken(const std::string &token) const
{
    if (token.empty())
        return std::nullopt;
    const auto found = select("WHERE token = ?", {token});
    return found.empty() ? std::nullopt : std::optional(found.front());
}

bool ShareStore::isFor(const std::string &id, const std::string &user) const
{
    const std::lock_guard lock(m_accounts.mutex());
    Statement row(m_accounts.database(), "SELECT 1 FROM shares WHERE id = ?1 AND (owner = ?2 OR EXISTS (SELECT 1 FROM "
                                         "share_users WHERE share = ?1 AND user = ?2))");
    return row.bind(id).bind(user).row();
}

std::vector<Share> ShareStore::ofOwner(const std::string &owner, const std::string &subCenter) const
{
    return select("WHERE owner = ?1 AND (?2 = '' OR sub_center = ?2)", {owner, subCenter});
}

std::vector<Share> ShareStore::toUser(const std::string &user, const std::string &subCenter) const
{
    return select("WHERE kind = 2 AND (?2 = '' OR sub_center = ?2) AND id IN (SELECT share FROM share_users WHERE "
                  "user = ?1 AND ignored = 0)",
                  {user, subCenter}, WithoutUsers);
}

StoreResult ShareStore::change(const char *sql, const std::vector<std::string> &values)
{
    const std::lock_guard lock(m_accounts.mutex());
    Statement statement(m_accounts.database(), sql);
    for (const std::string &value : values)
        statement.bind(value);
    return result(statement.run(), "The share cannot be changed.");
}

StoreResult ShareStore::setPassword(const std::string &id, const std::string &password)
{
    return change("UPDATE shares SET password = ?2 WHERE id = ?1", {id, password});
}

StoreResult ShareStore::setUsers(const std::string &id, const std::vector<std::string> &users)
{
    const std::lock_guard lock(m_accounts.mutex());
    Database &database = m_accounts.database();
    Transaction transaction(database);
    Statement now(database, "SELECT user FROM share_users WHERE share = ?");
    now.bind(id);
    std::vector<std::string> leaving;
    while (now.row()) {
        if (std::find(users.begin(), users.end(), now.text(0)) == users.end())
            leaving.push_back(now.text(0));
    }
    bool ok = !now.failed();
    for (const std::string &user : leaving) {
        Statement remove(database, "DELETE FROM share_users WHERE share = ? AND user = ?");
        ok = ok && remove.bind(id).bind(user).run();
    }
    return result(ok && insertUsers(id, users) && transaction.commit(), "The users cannot be stored.");
}

StoreResult ShareStore::ignore(const std::string &id, const std::string &user)
{
    return change("UPDATE share_users SET ignored = 1 WHERE share = ? AND user = ?", {id, user});
}

std::vector<Account> ShareStore::findUsers(const std::string &text, std::size_t limit) const
{
    std::vector<std::string> names;
    if (!text.empty() && text.size() <= 64) {
        const std::lock_guard lock(m_accounts.mutex());
        // A part in the case of ASCII alone, without the wildcards that LIKE would see in it.
        Statement rows(m_accounts.database(), "SELECT name FROM users WHERE instr(lower(name), lower(?1)) OR "
                                              "instr(lower(nickname), lower(?1)) ORDER BY name LIMIT ?2");
        rows.bind(text).bind(static_cast<std::int64_t>(limit));
        while (rows.row())
            names.push_back(rows.text(0));
    }
    std::vector<Account> accounts;
    for (const std::string &name : names) {
        if (auto account = m_accounts.account(name))
            accounts.push_back(std::move(*account));
    }
    return accounts;
}

StoreResult ShareStore::remove(const std::vector<std::string> &ids)
{
    const std::lock_guard lock(m_accounts.mutex());
    Transaction transaction(m_accounts.database());
    for (const std::string &id : ids) {
        Statement statement(m_accounts.database(), "DELETE FROM shares WHERE id = ?");
        if (!statement.bind(id).run())
            return {false, "The shares cannot be removed."};
    }
    return result(transaction.commit(), "The shares cannot be removed.");
}

std::vector<Share> ShareStore::at(const std::string &owner, const std::string &subCenter, const std::string &path) const
{
    std::vector<Share> found = select("WHERE owner = ?1 AND sub_center = ?2", {owner, subCenter}, WithoutUsers);
    const auto elsewhere = [&](const Share &share) { return share.path != path && !liesBelow(share.path, path); };
    found.erase(std::remove_if(found.begin(), found.end(), elsewhere), found.end());
    return found;
}

StoreResult ShareStore::moved(const std::string &owner, const std::string &subCenter, const std::string &from,
                              const std::string &to)
{
    std::vector<Share> found = at(owner, subCenter, from);
    if (found.empty())
        return {};
    const std::lock_guard lock(m_accounts.mutex());
    Transaction transaction(m_accounts.database());
    const bool ok = std::all_of(found.begin(), found.end(), [&](const Share &share) {
        Statement update(m_accounts.database(), "UPDATE shares SET path = ?2 WHERE id = ?1");
        return update.bind(share.id).bind(to + share.path.substr(from.size())).run();
    });
    return result(ok && transaction.commit(), "The shares cannot be changed.");
}

StoreResult ShareStore::gone(const std::string &owner, const std::string &subCenter, const std::string &path)
{
    std::vector<std::string> ids;
    for (const Share &share : at(owner, subCenter, path))
        ids.push_back(share.id);
    return ids.empty() ? StoreResult{} : remove(ids);
}

} // namespace arkvale::service
