#pragma once

#include "Permission.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace arkvale::service {

class PendingResponse;

/// Fills @p buffer with up to @p size bytes of the body from @p offset on. Called on a worker thread, one call at a
/// time, offsets ascending. Returns the bytes written; 0 or less ends the answer early, which closes the connection.
using BodyProvider = std::function<std::int64_t(std::uint64_t offset, char *buffer, std::size_t size)>;

/// What a handler answers. A value that is cheap to move; the body is a text, a piece of a file, a provider, or comes
/// later through a PendingResponse.
class Response
{
public:
    Response() = default;
    explicit Response(int status)
        : m_status(status)
    {
    }

    static Response json(int status, const nlohmann::json &value);
    static Response json(const nlohmann::json &value);
    /// {"error": word, "message": sentence}
    static Response error(int status, const std::string &word, const std::string &message);
    static Response bytes(std::string body, const std::string &contentType, int status = 200);

    /// @p length bytes of the open file @p fd from @p offset on; the response owns and closes @p fd. A file that
    /// turns out shorter ends the connection, so that the client sees a broken reply and not a short file.
    static Response file(int fd, std::uint64_t offset, std::uint64_t length, const std::string &contentType,
                         int status = 200);
    static Response provider(BodyProvider provider, std::uint64_t length, const std::string &contentType,
                             int status = 200);
    /// The answer is given later by PendingResponse::complete(); no thread waits meanwhile. When @p seconds pass, or
    /// when the service stops, @p otherwise is called on a worker thread for the answer instead.
    static Response later(std::shared_ptr<PendingResponse> pending, int seconds, std::function<Response()> otherwise);

    /// The answer is made by @p make, on a worker thread, after @p milliseconds in which no thread waits.
    static Response after(int milliseconds, std::function<Response()> make);

    Response &setHeader(const std::string &name, const std::string &value);
    /// A body that is long under way ends early, as a provider can end it, when @p permission holds no more.
    Response &onlyWhile(Permission permission);

    int status() const { return m_status; }
    const std::vector<std::pair<std::string, std::string>> &headers() const { return m_headers; }
    const std::string &body() const { return m_body; }
    /// Set for a file or a provider.
    const BodyProvider &bodyProvider() const { return m_provider; }
    std::uint64_t length() const { return m_provider ? m_length : m_body.size(); }

    const std::shared_ptr<PendingResponse> &pending() const { return m_pending; }
    int pendingMilliseconds() const { return m_pendingMilliseconds; }
    const std::function<Response()> &otherwise() const { return m_otherwise; }

    std::string takeBody() { return std::move(m_body); }

private:
    int m_status = 200;
    std::vector<std::pair<std::string, std::string>> m_headers;
    std::string m_body;
    BodyProvider m_provider;
    std::uint64_t m_length = 0;
    std::shared_ptr<PendingResponse> m_pending;
    int m_pendingMilliseconds = 0;
    std::function<Response()> m_otherwise;
};

/// An answer that is not there yet. complete() may be called from any thread, also before the handler has returned;
/// the first answer counts, later ones are dropped.
class PendingResponse
{
public:
    PendingResponse();
    ~PendingResponse();

    void complete(Response response);
    /// For the server: @p deliver is called once with the answer, at once when it is there already.
    void whenComplete(std::function<void(Response)> deliver);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace arkvale::service
