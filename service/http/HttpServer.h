#pragma once

#include "Router.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace arkvale::service {

/// Where and how the server listens, and its limits. Times are seconds, sizes bytes.
struct HttpOptions
{
    std::string listen = "127.0.0.1"; ///< IPv4 or IPv6 address
    std::uint16_t port = 0;           ///< 0: any free port
    std::string base = "/api/v1";
    std::string tlsCertificate;        ///< PEM text; empty: plain HTTP
    std::string tlsKey;                ///< PEM text
    std::size_t maxHeader = 32 * 1024; ///< request line and headers together, roughly
    std::size_t maxBody = 8 * 1024 * 1024;
    std::size_t maxOpenBody = 64 * 1024;       ///< on open routes
    std::size_t maxBodies = 256 * 1024 * 1024; ///< of all requests together
    unsigned maxConnections = 1000;
    unsigned maxConnectionsPerPeer = 400;
    unsigned idleTimeout = 30; ///< neither side moved a byte
    unsigned headTimeout = 60; ///< from connecting, or the last answer, to the end of the headers
    unsigned bodyTimeout = 60; ///< from the end of the headers to the end of the body
    unsigned stopTimeout = 30; ///< how long stop() waits for running requests
    unsigned networkThreads = 2;
    unsigned workers = 8;
    unsigned readers = 4;        ///< threads that read bodies of files and providers
    std::size_t maxQueue = 2048; ///< requests that wait for a worker
};

/// Serves HTTP/1.1. Network threads only move bytes: requests are judged and handled on worker threads, shared fairly
/// among clients, and bodies of files are read on threads of their own. Made, started and stopped on one thread.
class HttpServer
{
public:
    /// Checks a request's signature for a route's access: fills user and accessId, or returns the refusal.
    using Gate = std::function<std::optional<Response>(Request &, Access)>;

    HttpServer(HttpOptions options, Router router, Gate gate);
    /// Stops.
    ~HttpServer();

    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    /// False, with an English sentence in @p error, when the address cannot be listened on or the certificate is bad.
    bool start(std::string *error);
    /// Takes no new connections, lets running requests finish, then closes. Requests that came after it are refused.
    void stop();

    std::uint16_t port() const;
    /// Requests that are being received, handled or answered.
    std::size_t running() const;

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace arkvale::service
