#include "Response.h"

#include <nlohmann/json.hpp>

#include <mutex>
#include <optional>

#include <unistd.h>

namespace arkvale::service {

namespace {

/// Keeps a file open for as long as a body needs it.
class OpenFile
{
public:
    explicit OpenFile(int fd)
        : m_fd(fd)
    {
    }
    ~OpenFile()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;

    int fd() const { return m_fd; }

private:
    int m_fd;
};

} // namespace

Response Response::json(int status, const nlohmann::json &value)
{
    // Names on disk need not be UTF-8: what is not becomes a replacement character, never an exception.
    return bytes(value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace),
                 "application/json; charset=utf-8", status);
}

Response Response::json(const nlohmann::json &value)
{
    return json(200, value);
}

Response Response::error(int status, const std::string &word, const std::string &message)
{
    return json(status, {{"error", word}, {"message", message}});
}

Response Response::bytes(std::string body, const std::string &contentType, int status)
{
    Response response(status);
    response.m_body = std::move(body);
    response.setHeader("Content-Type", contentType);
    return response;
}

Response Response::file(int fd, std::uint64_t offset, std::uint64_t length, const std::string &contentType, int status)
{
    auto file = std::make_shared<OpenFile>(fd);
    return provider(
        [file, offset](std::uint64_t at, char *buffer, std::size_t size) -> std::int64_t {
            ssize_t got;
            do {
                got = ::pread(file->fd(), buffer, size, static_cast<off_t>(offset + at));
            } while (got < 0 && errno == EINTR);
            return got;
        },
        length, contentType, status);
}

Response Response::provider(BodyProvider provider, std::uint64_t length, const std::string &contentType, int status)
{
    Response response(status);
    response.m_provider = std::move(provider);
    response.m_length = length;
    response.setHeader("Content-Type", contentType);
    return response;
}

Response Response::later(std::shared_ptr<PendingResponse> pending, int seconds, std::function<Response()> otherwise)
{
    Response response;
    response.m_pending = std::move(pending);
    response.m_pendingMilliseconds = seconds * 1000;
    response.m_otherwise = std::move(otherwise);
    return response;
}

Response Response::after(int milliseconds, std::function<Response()> make)
{
    Response response = later(std::make_shared<PendingResponse>(), 0, std::move(make));
    response.m_pendingMilliseconds = milliseconds;
    return response;
}

Response &Response::setHeader(const std::string &name, const std::string &value)
{
    for (auto &header : m_headers) {
        if (header.first == name) {
            header.second = value;
            return *this;
        }
    }
    m_headers.emplace_back(name, value);
    return *this;
}

Response &Response::onlyWhile(Permission permission)
{
    if (m_provider) {
        m_provider = [provider = std::move(m_provider), permission = std::move(permission)](
                         std::uint64_t offset, char *buffer, std::size_t size) mutable -> std::int64_t {
            return permission.holds() ? provider(offset, buffer, size) : -1;
        };
    }
    return *this;
}

struct PendingResponse::State
{
    std::mutex mutex;
    bool complete = false;
    std::optional<Response> answer;
    std::function<void(Response)> deliver;
};

PendingResponse::PendingResponse()
    : m_state(std::make_unique<State>())
{
}

PendingResponse::~PendingResponse() = default;

void PendingResponse::complete(Response response)
{
    std::function<void(Response)> deliver;
    {
        const std::lock_guard lock(m_state->mutex);
        if (m_state->complete)
            return;
        m_state->complete = true;
        if (!m_state->deliver) {
            m_state->answer = std::move(response);
            return;
        }
        deliver = std::move(m_state->deliver);
    }
    deliver(std::move(response));
}

void PendingResponse::whenComplete(std::function<void(Response)> deliver)
{
    std::optional<Response> answer;
    {
        const std::lock_guard lock(m_state->mutex);
        if (!m_state->complete) {
            m_state->deliver = std::move(deliver);
            return;
        }
        answer = std::move(m_state->answer);
        m_state->answer.reset();
    }
    if (answer)
        deliver(std::move(*answer));
}

} // namespace arkvale::service
