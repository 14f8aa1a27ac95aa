#pragma once

#include "FairPool.h"
#include "Response.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

struct MHD_Connection;

namespace arkvale::service {

/// Feeds the body of one answer to the network thread out of a provider that runs on the readers' pool, one piece
/// ahead. While a piece is not there the connection sleeps, so that a slow disk holds up nobody else.
class BodyReader : public std::enable_shared_from_this<BodyReader>
{
public:
    static constexpr std::size_t pieceSize = 256 * 1024;

    /// @param giveUp set once the server no longer waits for running answers
    BodyReader(BodyProvider provider, std::uint64_t length, FairPool &pool, std::string client,
               MHD_Connection *connection, const std::atomic<bool> &giveUp);

    /// On the network thread: as the HTTP library's content reader, bytes, 0 after putting the connection to sleep,
    /// or below zero for a body that cannot be completed.
    std::int64_t read(std::uint64_t position, char *buffer, std::size_t most);

private:
    struct Piece
    {
        std::uint64_t offset = 0;
        std::size_t size = 0;
        std::vector<char> bytes;
    };

    void fetch(std::uint64_t offset);
    void fetched(Piece piece, bool failed);

    const BodyProvider m_provider;
    const std::uint64_t m_length;
    FairPool &m_pool;
    const std::string m_client;
    MHD_Connection *const m_connection;
    const std::atomic<bool> &m_giveUp;

    std::mutex m_mutex;
    Piece m_current;
    Piece m_next; ///< read ahead; size 0 while there is none
    bool m_fetching = false;
    bool m_failed = false;
    bool m_asleep = false;
};

} // namespace arkvale::service
