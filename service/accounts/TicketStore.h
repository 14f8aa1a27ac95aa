#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace arkvale::service {

/// What a transfer ticket opens. A plain value.
struct Ticket
{
    enum class Direction
    {
        Upload,
        Download
    };

    std::string user;
    std::string subCenterId;
    std::string homeRoot; ///< absolute folder on disk
    std::string folder;   ///< path on the user's drive, "/" for the home itself
    Direction direction = Direction::Upload;
    std::string onlyName{}; ///< of a download: the one name in the folder that it opens; empty: all
    std::string shareId{};  ///< the share by which the files of somebody else are reached; empty: the user's own
};

/// The tickets that were issued and not yet used. They live in memory alone: a restarted service knows none, and
/// clients ask for new ones. May be used from any thread; never waits for a disk.
class TicketStore
{
public:
    static constexpr std::int64_t lifetimeMs = 60 * 1000;
    static constexpr std::size_t mostOfUser = 4096;

    /// The ticket's text; empty when the user has too many unused tickets.
    std::string issue(Ticket ticket, std::int64_t now);
    /// Takes the ticket out: it opens once.
    std::optional<Ticket> redeem(const std::string &text, std::int64_t now);
    void revoke(const std::string &user);

private:
    struct Issued
    {
        Ticket ticket;
        std::int64_t expires = 0;
    };

    void erase(std::map<std::string, Issued>::iterator it);
    void expire(std::int64_t now);

    std::mutex m_mutex;
    std::map<std::string, Issued> m_issued; ///< by digest of the text: looking one up tells nothing by its time
    std::multimap<std::int64_t, std::string> m_byExpiry;
    std::map<std::string, std::size_t> m_ofUser;
};

} // namespace arkvale::service
