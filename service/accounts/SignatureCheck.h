#pragma once

#include "NonceMemory.h"
#include "Response.h"
#include "Router.h"

#include <cstdint>
#include <optional>

namespace arkvale::service {

class Sessions;

/// Lets in requests that are signed as docs/protocol.md says, each once. Works as the HTTP server's gate, from any
/// thread.
class SignatureCheck
{
public:
    /// Takes over the nonces that the last run saved. When that run had no time to save them, requests from before
    /// this moment are refused as too old, since they may be repeated ones.
    explicit SignatureCheck(Sessions &sessions);
    /// Saves the nonces for the next run; to be called when no more requests come.
    void save();

    /// Fills user and accessId of the request, or returns the refusal.
    std::optional<Response> check(Request &request, Access access);

private:
    Sessions &m_sessions;
    NonceMemory m_nonces;
    std::int64_t m_notBefore = 0;
};

} // namespace arkvale::service
