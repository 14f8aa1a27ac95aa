#include "SignatureCheck.h"

#include "Secrets.h"
#include "Sessions.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace arkvale::service {

namespace {

Response unauthorized(const char *word, const char *message)
{
    return Response::error(401, word, message);
}

bool isHex(const std::string &text, std::size_t size)
{
    return text.size() == size && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
           });
}

std::optional<std::int64_t> timeOf(const std::string &text)
{
    std::int64_t time = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), time);
    if (error != std::errc() || end != text.data() + text.size() || time < 0)
        return std::nullopt;
    return time;
}

std::string lower(std::string text)
{
    for (char &c : text) {
        if (c >= 'A' && c <= 'F')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

} // namespace

SignatureCheck::SignatureCheck(Sessions &sessions)
    : m_sessions(sessions)
{
    const std::int64_t now = nowMs();
    const auto saved = m_sessions.takeNonces();
    if (!saved) {
        m_notBefore = now;
        return;
    }
    for (const NonceMemory::Entry &entry : *saved)
        m_nonces.remember(entry.accessId, entry.nonce, entry.time, now);
}

void SignatureCheck::save()
{
    m_sessions.saveNonces(m_nonces.entries(nowMs()));
}

std::optional<Response> SignatureCheck::check(Request &request, Access access)
{
    if (access == Access::Open)
        return std::nullopt;
    const auto accessId = percentDecode(request.header("arkvale-access"));
    const auto user = percentDecode(request.header("arkvale-user"));
    const auto time = timeOf(request.header("arkvale-time"));
    const std::string &timeText = request.header("arkvale-time");
    const std::string &nonce = request.header("arkvale-nonce");
    const std::string &digest = request.header("arkvale-digest");
    const std::string &signature = request.header("arkvale-signature");
    if (!accessId || !user || !time || !isHex(nonce, 32) || !isHex(digest, 64) || !isHex(signature, 64))
        return unauthorized("unsigned", "The request is not signed.");

    const auto key = m_sessions.key(*accessId);
    // One word for all of these: it must not tell a stranger which part of a guess was right.
    if (!key || key->user != *user || key->transfer != (access == Access::Transfer))
        return unauthorized("session", "The session is unknown or has expired.");
    const std::string message = request.method + '\n' + request.rawPath + '\n' + request.rawQuery + '\n' + timeText +
                                '\n' + nonce + '\n' + digest;
    if (!sameSecret(hmacSha256Hex(key->token, message), lower(signature)) ||
        !sameSecret(sha256Hex(request.body), lower(digest)))
        return unauthorized("session", "The session is unknown or has expired.");

    const std::int64_t now = nowMs();
    if (*time < now - NonceMemory::windowMs || *time > now + NonceMemory::windowMs || *time < m_notBefore) {
        Response refusal = unauthorized("time", "The request's time is too far from the service's.");
        refusal.setHeader("Arkvale-Time", std::to_string(now));
        return refusal;
    }
    switch (m_nonces.remember(*accessId, lower(nonce), *time, now)) {
    case NonceMemory::Verdict::Fresh:
        break;
    case NonceMemory::Verdict::Repeated:
        return unauthorized("repeated", "The request was sent before.");
    case NonceMemory::Verdict::Full:
        return Response::error(429, "too-many", "Too many requests.").setHeader("Retry-After", "30");
    }
    if (key->restricted)
        return Response::error(403, "restricted", "The account is restricted.");
    m_sessions.touch(*accessId);
    request.user = key->user;
    request.accessId = *accessId;
    return std::nullopt;
}

} // namespace arkvale::service
