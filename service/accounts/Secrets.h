#pragma once

#include <cstdint>
#include <string>

namespace arkvale::service {

/// What a password's hash costs: passes, and bytes of memory.
struct PasswordCost
{
    unsigned long long passes = 2;
    std::size_t memory = 64 * 1024 * 1024;
};

/// Prepares the library of secrets; to be called once before anything else here. False when the system has no source
/// of random bytes.
bool initSecrets();

/// @p bytes random bytes as lower-case hexadecimal digits, or as text of letters, digits, '-' and '_'.
std::string randomHex(std::size_t bytes);
std::string randomText(std::size_t bytes);

/// Lower-case hexadecimal.
std::string sha256Hex(const std::string &data);
std::string hmacSha256Hex(const std::string &key, const std::string &message);
std::string base64(const std::string &data);
/// Empty when @p text is no base64.
std::string fromBase64(const std::string &text);

/// Ed25519. A signing key is 32 secret bytes; so is, in public, the key that checks its signatures of 64 bytes.
std::string newSigningKey();
std::string publicKeyOf(const std::string &signingKey);
std::string signature(const std::string &signingKey, const std::string &message);

/// Takes the same time for every place where two texts of one length differ.
bool sameSecret(const std::string &a, const std::string &b);

/// Argon2id, with its salt and cost in the text. Empty when there is not enough memory.
std::string hashPassword(const std::string &password, const PasswordCost &cost);
bool checkPassword(const std::string &hash, const std::string &password);

/// Milliseconds since the epoch.
std::int64_t nowMs();

} // namespace arkvale::service
