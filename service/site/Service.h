#pragma once

#include "HttpServer.h"
#include "Secrets.h"

#include <chrono>
#include <memory>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace arkvale::service {

struct ServiceOptions
{
    std::string dataFolder; ///< holds the database, certificate and icons; made when it is missing
    HttpOptions http;
    std::string publicUrl;      ///< account base as told to clients; empty: as their requests come in
    std::string transferListen; ///< address of the transfer listeners; empty: that of HTTP
    bool udp = true;            ///< transfers over UDP as well as TCP
    std::chrono::seconds partialAge = std::chrono::hours(14 * 24); ///< after which abandoned partial files go; 0: never
    PasswordCost passwordCost;
};

/// The whole service in one process: database, HTTP server, and one transfer listener for each sub-center. Started and
/// stopped on one thread.
class Service
{
public:
    explicit Service(ServiceOptions options);
    /// Stops.
    ~Service();
    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;

    /// False with an English sentence in @p error. Only one service at a time runs on a data folder.
    bool start(std::string *error);
    /// Running requests finish, files stay whole.
    void stop();

    /// Where it is reached: {"http": account base, "subCenters": [{"id", "name", "orv", "transferPort", "udpPort"}]}.
    nlohmann::json addresses() const;

    /// Port of HTTP, after start().
    std::uint16_t port() const;

    /// The database of a data folder.
    static std::string databaseFile(const std::string &dataFolder) { return dataFolder + "/arkvale.db"; }

    /// The packages of a data folder that clients update themselves with.
    static std::string updatesFolder(const std::string &dataFolder) { return dataFolder + "/updates"; }

private:
    struct Parts;

    ServiceOptions m_options;
    std::unique_ptr<Parts> m_parts;
};

} // namespace arkvale::service
