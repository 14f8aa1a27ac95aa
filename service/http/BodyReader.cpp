#include "BodyReader.h"

#include <microhttpd.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace arkvale::service {

BodyReader::BodyReader(BodyProvider provider, std::uint64_t length, FairPool &pool, std::string client,
                       MHD_Connection *connection, const std::atomic<bool> &giveUp)
    : m_provider(std::move(provider))
    , m_length(length)
    , m_pool(pool)
    , m_client(std::move(client))
    , m_connection(connection)
    , m_giveUp(giveUp)
{
}

std::int64_t BodyReader::read(std::uint64_t position, char *buffer, std::size_t most)
{
    const std::lock_guard lock(m_mutex);
    if (m_giveUp)
        return MHD_CONTENT_READER_END_WITH_ERROR;
    if (position >= m_current.offset + m_current.size && m_next.size > 0 && position == m_next.offset) {
        std::swap(m_current, m_next);
        m_next.size = 0;
    }
    const std::uint64_t end = m_current.offset + m_current.size;
    if (position >= m_current.offset && position < end) {
        const std::size_t count = std::min<std::uint64_t>(most, end - position);
        std::memcpy(buffer, m_current.bytes.data() + (position - m_current.offset), count);
        if (!m_fetching && m_next.size == 0 && !m_failed && end < m_length)
            fetch(end);
        return static_cast<std::int64_t>(count);
    }
    if (!m_fetching && !m_failed)
        fetch(position);
    if (m_failed)
        return MHD_CONTENT_READER_END_WITH_ERROR;
    m_asleep = true;
    MHD_suspend_connection(m_connection);
    return 0;
}

void BodyReader::fetch(std::uint64_t offset)
{
    m_fetching = true;
    // The spare piece's memory is used again.
    auto piece = std::make_shared<Piece>(std::move(m_next));
    m_next = {};
    piece->offset = offset;
    const std::size_t size = std::min<std::uint64_t>(pieceSize, m_length - offset);
    const bool posted = m_pool.post(m_client, [self = shared_from_this(), piece, size] {
        piece->bytes.resize(size);
        const std::int64_t got = self->m_provider(piece->offset, piece->bytes.data(), size);
        piece->size = got > 0 ? std::min(static_cast<std::size_t>(got), size) : 0;
        self->fetched(std::move(*piece), got <= 0);
    });
    if (!posted) {
        m_fetching = false;
        m_failed = true;
    }
}

void BodyReader::fetched(Piece piece, bool failed)
{
    const std::lock_guard lock(m_mutex);
    m_fetching = false;
    m_failed = failed;
    m_next = std::move(piece);
    if (m_asleep) {
        m_asleep = false;
        MHD_resume_connection(m_connection);
    }
}

} // namespace arkvale::service
