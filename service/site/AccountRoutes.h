#pragma once

#include <string>

namespace arkvale::service {

class AccountStore;
class Icons;
struct Request;
class Router;
class Sessions;
class Site;

/// How clients reach this service.
struct PublicAddress
{
    std::string url;  ///< account base as told to clients, without a slash at the end; empty: as the request came in
    std::string base; ///< path of the account base, such as "/api/v1"

    std::string accountBase(const Request &request) const;
    /// Host part of the account base.
    std::string host(const Request &request) const;
};

/// What the account routes work with. Everything outlives the server.
struct AccountServices
{
    AccountStore &store;
    Sessions &sessions;
    Site &site;
    const Icons &icons;
    PublicAddress address;
};

/// Login, profile, sub-centers, limits, advertisements and icons, below the account base and below each sub-center.
void registerAccountRoutes(Router &router, const AccountServices &services);

} // namespace arkvale::service
