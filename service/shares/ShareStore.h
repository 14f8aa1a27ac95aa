#pragma once

#include "AccountStore.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace arkvale::service {

/// One item that its owner lets others see. A plain value.
struct Share
{
    enum Kind
    {
        PublicLink = 0,
        PasswordLink = 1,
        Users = 2
    };

    std::string id;
    std::string owner;
    std::string subCenter;
    std::string path; ///< on the owner's drive, "/a/b"
    bool isFolder = false;
    int kind = Users;
    std::string permission; ///< "read" or "save"
    std::string password;   ///< of a password link, as the owner is shown it
    std::string token;      ///< what a link ends in; empty for users
    std::int64_t time = 0;  ///< milliseconds since the epoch
    std::uint64_t fileId = 0;
    std::vector<std::string> users;

    bool isLink() const { return kind != Users; }
};

/// The shares in the service's database. May be used from any thread; what is asked for after a change knows of it.
class ShareStore
{
public:
    static constexpr std::size_t mostOfOwner = 10000;
    static constexpr std::size_t mostUsers = 500;

    explicit ShareStore(AccountStore &accounts);
    /// Makes the tables.
    StoreResult open();

    /// Gives it an id, a time and, for a link, a token.
    StoreResult add(Share *share);
    std::optional<Share> find(const std::string &id) const;
    std::optional<Share> findByToken(const std::string &token) const;
    /// Whether the share is there, and @p user is its owner or one of its users.
    bool isFor(const std::string &id, const std::string &user) const;
    /// @param subCenter empty: of all
    std::vector<Share> ofOwner(const std::string &owner, const std::string &subCenter) const;
    /// The shares of others that @p user has been let into and does not ignore; without who else has been.
    std::vector<Share> toUser(const std::string &user, const std::string &subCenter) const;

    StoreResult setPassword(const std::string &id, const std::string &password);
    /// Whoever stays keeps what he ignores; whoever comes new does not ignore it.
    StoreResult setUsers(const std::string &id, const std::vector<std::string> &users);
    StoreResult ignore(const std::string &id, const std::string &user);
    /// Accounts whose name or nickname contains @p text, upper and lower case of ASCII being one; none for no text.
    std::vector<Account> findUsers(const std::string &text, std::size_t limit) const;
    StoreResult remove(const std::vector<std::string> &ids);

    /// The item of that path, or the folder around it, got another path, or is gone.
    StoreResult moved(const std::string &owner, const std::string &subCenter, const std::string &from,
                      const std::string &to);
    StoreResult gone(const std::string &owner, const std::string &subCenter, const std::string &path);

private:
    enum Users
    {
        WithUsers,
        WithoutUsers
    };
    std::vector<Share> select(const char *condition, const std::vector<std::string> &values,
                              Users users = WithUsers) const;
    /// Shares of the item of that path, and of what lies below it.
    std::vector<Share> at(const std::string &owner, const std::string &subCenter, const std::string &path) const;
    StoreResult result(bool ok, const char *otherwise) const;
    StoreResult change(const char *sql, const std::vector<std::string> &values);
    bool insertUsers(const std::string &id, const std::vector<std::string> &users);

    AccountStore &m_accounts;
};

} // namespace arkvale::service
