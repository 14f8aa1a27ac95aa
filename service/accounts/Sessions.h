#pragma once

#include "AccountStore.h"
#include "LoginThrottle.h"
#include "NonceMemory.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace arkvale::service {

/// The access pairs of one login.
struct Session
{
    std::string user;
    std::string accessId;
    std::string accessToken;
    std::string transferId; ///< opens transfer tickets and nothing else
    std::string transferToken;
};

/// The key behind an access id.
struct AccessKey
{
    std::string user;
    std::string token;
    bool transfer = false;
    bool restricted = false; ///< the account was restricted after the login
};

struct LoginOutcome
{
    enum class Kind
    {
        Ok,
        Wrong,
        TooMany,
        Busy,
        Restricted,
        Failed
    };

    Kind kind = Kind::Failed;
    int pauseMs = 0; ///< of a wrong password: how long the answer is held back
    Account account; ///< of Ok and Restricted
    Session session; ///< of Ok
};

/// Logins and what they leave behind: sessions in the database, which last 12 hours beyond their last use, and
/// single-use web tokens in memory, which last 5 minutes. May be used from any thread.
class Sessions
{
public:
    static constexpr std::int64_t lifetimeMs = 12 * 3600 * 1000;
    static constexpr std::int64_t webTokenMs = 5 * 60 * 1000;
    static constexpr int mostOfUser = 64;

    explicit Sessions(AccountStore &store)
        : m_store(store)
    {
    }

    LoginOutcome login(const std::string &name, const std::string &password, const std::string &address);
    LoginOutcome loginWithToken(const std::string &name, const std::string &token, const std::string &address);
    /// Empty when the user has too many tokens that wait.
    std::optional<std::string> makeWebToken(const std::string &user);
    bool logout(const std::string &accessId);

    std::optional<AccessKey> key(const std::string &accessId) const;
    /// Lets the session of a checked request live on.
    void touch(const std::string &accessId);

    /// Nonces outlive a restart: what was refused before it is refused after it.
    bool saveNonces(const std::vector<NonceMemory::Entry> &entries);
    /// Empty when the last run did not get to save its nonces.
    std::optional<std::vector<NonceMemory::Entry>> takeNonces();

private:
    struct WebToken
    {
        std::string user;
        std::int64_t expires = 0;
    };

    bool enterHashing();
    void leaveHashing();
    LoginOutcome open(const Account &account);

    AccountStore &m_store;
    LoginThrottle m_throttle;

    std::mutex m_mutex;                          ///< of everything below
    std::map<std::string, WebToken> m_webTokens; ///< by the token's digest
    std::condition_variable m_hashingDone;
    int m_hashing = 0;
    int m_hashingWaits = 0;
};

} // namespace arkvale::service
