#pragma once

#include "Secrets.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace arkvale::service {

class Database;

/// Why an account may not be used.
struct Restriction
{
    enum class Kind
    {
        None,
        Violation, ///< told to the user, with reason and time
        Silent     ///< "restricted", without details
    };

    Kind kind = Kind::None;
    std::string reason;
    std::int64_t effectTime = 0; ///< milliseconds since the epoch
    std::int64_t duration = -1;  ///< seconds; -1: for good

    bool holds(std::int64_t now) const;
};

/// One account without its password.
struct Account
{
    std::string name;
    std::string nickname;
    std::string email;
    std::string mobile;
    std::string icon; ///< path below the account base; empty: drawn from the name
    bool verified = false;
    Restriction restriction;
};

/// A user's place in a sub-center.
struct Home
{
    std::string user;
    std::string subCenterId;
    std::string folder; ///< name of the folder below the sub-center's root
    std::int64_t quota = 0;
    std::int64_t used = 0;
};

/// A sub-center as it is configured.
struct SubCenterRecord
{
    std::string id;
    std::string name;
    std::string root;               ///< absolute folder
    std::string icon;               ///< empty: drawn from the id
    std::string transferHost;       ///< told to clients; empty: the host of their request
    std::uint16_t transferPort = 0; ///< to listen on; 0: any free one
};

struct AdvertisementRecord
{
    std::string language; ///< empty: for all
    std::string postTime;
    std::string title;
    std::string jumpLink;
    std::string content;
};

/// Whether a change was made, and if not, why, as an English sentence.
struct StoreResult
{
    bool ok = true;
    std::string error;

    explicit operator bool() const { return ok; }
};

/// The service's database: accounts, sub-centers, homes, sessions. Every function may be called from any thread and
/// from several processes at once; changes are on disk when it returns. Passwords are hashed outside of the lock.
class AccountStore
{
public:
    explicit AccountStore(PasswordCost cost = {});
    ~AccountStore();
    AccountStore(const AccountStore &) = delete;
    AccountStore &operator=(const AccountStore &) = delete;

    /// Opens or makes the database file.
    StoreResult open(const std::string &file);

    // Accounts. A name is 1 to 64 bytes of UTF-8 that can be a folder's name; two names differ in more than case.
    StoreResult addAccount(const Account &account, const std::string &password);
    StoreResult setPassword(const std::string &user, const std::string &password);
    StoreResult setRestriction(const std::string &user, const Restriction &restriction);
    std::optional<Account> account(const std::string &user) const;
    std::vector<Account> accounts() const;
    /// The account when name and password go together. Takes as long for a name that does not exist.
    std::optional<Account> checkLogin(const std::string &name, const std::string &password) const;

    // Sub-centers and homes
    StoreResult addSubCenter(const SubCenterRecord &record);
    std::vector<SubCenterRecord> subCenters() const;
    StoreResult addHome(const Home &home);
    std::optional<Home> home(const std::string &user, const std::string &subCenterId) const;
    std::vector<Home> homes() const;
    StoreResult setQuota(const std::string &user, const std::string &subCenterId, std::int64_t quota);
    StoreResult setUsed(const std::string &user, const std::string &subCenterId, std::int64_t used);

    // What the service tells its users
    StoreResult addAdvertisement(const AdvertisementRecord &record);
    std::vector<AdvertisementRecord> advertisements(const std::string &language) const;
    StoreResult setSetting(const std::string &key, const std::string &value);
    std::string setting(const std::string &key, const std::string &fallback) const;

    /// For the classes that keep further tables in this database: the connection, and its lock.
    Database &database() const { return *m_database; }
    std::mutex &mutex() const { return m_mutex; }

private:
    StoreResult result(bool ok, const std::string &otherwise) const;

    const PasswordCost m_cost;
    std::string m_dummyHash;
    mutable std::mutex m_mutex;
    std::unique_ptr<Database> m_database;
};

/// Whether a text can be a user's name.
bool isUserName(const std::string &name);

} // namespace arkvale::service
