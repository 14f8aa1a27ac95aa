#pragma once

#include "AccountRoutes.h"
#include "Response.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace arkvale::service {

class TicketStore;
struct Ticket;

/// What clients are told of a sub-center's transfer listener.
struct TransferListener
{
    std::string fingerprint;             ///< SHA-256 of its certificate, lower-case hexadecimal
    std::uint16_t port = 0;              ///< 0: it does not run
    std::uint16_t udpPort = 0;           ///< 0: it takes TCP alone
    std::function<std::string()> udpKey; ///< a new one; any thread
};

/// Fills folder, home and name of a ticket for a path below SharedItems::mountName, or returns the refusal.
using FindShared =
    std::function<std::optional<Response>(const std::string &user, const std::string &path, Ticket *ticket)>;

/// Transfer tickets, for requests that are signed with the transfer credentials.
void registerTicketRoutes(Router &router, const AccountServices &services, TicketStore &tickets, FindShared shared,
                          std::function<TransferListener(const std::string &subCenterId)> listener);

/// A drive path brought to the form "/a/b". Empty when it is not absolute, or when one of its names is none: empty,
/// "." or "..".
std::string cleanDrivePath(const std::string &path);

} // namespace arkvale::service
