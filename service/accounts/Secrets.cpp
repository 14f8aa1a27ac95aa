#include "Secrets.h"

#include <sodium.h>

#include <chrono>
#include <iterator>
#include <vector>

namespace arkvale::service {

namespace {

const unsigned char *bytesOf(const std::string &text)
{
    return reinterpret_cast<const unsigned char *>(text.data());
}

std::string hex(const unsigned char *bytes, std::size_t size)
{
    std::string text(size * 2 + 1, '\0');
    sodium_bin2hex(text.data(), text.size(), bytes, size);
    text.pop_back();
    return text;
}

std::string base64Of(const unsigned char *bytes, std::size_t size, int variant)
{
    std::string text(sodium_base64_encoded_len(size, variant), '\0');
    sodium_bin2base64(text.data(), text.size(), bytes, size, variant);
    text.pop_back();
    return text;
}

std::vector<unsigned char> randomBytes(std::size_t size)
{
    std::vector<unsigned char> bytes(size);
    randombytes_buf(bytes.data(), size);
    return bytes;
}

} // namespace

bool initSecrets()
{
    return sodium_init() >= 0;
}

std::string randomHex(std::size_t bytes)
{
    return hex(randomBytes(bytes).data(), bytes);
}

std::string randomText(std::size_t bytes)
{
    return base64Of(randomBytes(bytes).data(), bytes, sodium_base64_VARIANT_URLSAFE_NO_PADDING);
}

std::string sha256Hex(const std::string &data)
{
    unsigned char digest[crypto_hash_sha256_BYTES];
    crypto_hash_sha256(digest, bytesOf(data), data.size());
    return hex(digest, sizeof digest);
}

std::string hmacSha256Hex(const std::string &key, const std::string &message)
{
    unsigned char digest[crypto_auth_hmacsha256_BYTES];
    crypto_auth_hmacsha256_state state;
    crypto_auth_hmacsha256_init(&state, bytesOf(key), key.size());
    crypto_auth_hmacsha256_update(&state, bytesOf(message), message.size());
    crypto_auth_hmacsha256_final(&state, digest);
    return hex(digest, sizeof digest);
}

std::string base64(const std::string &data)
{
    return base64Of(bytesOf(data), data.size(), sodium_base64_VARIANT_ORIGINAL);
}

std::string fromBase64(const std::string &text)
{
    std::string data(text.size(), '\0');
    std::size_t size = 0;
    if (sodium_base642bin(reinterpret_cast<unsigned char *>(data.data()), data.size(), text.data(), text.size(),
                          " \r\n", &size, nullptr, sodium_base64_VARIANT_ORIGINAL) != 0)
        return {};
    data.resize(size);
    return data;
}

namespace {

/// The two halves that the library makes of a signing key of the right length.
struct KeyPair
{
    explicit KeyPair(const std::string &signingKey)
    {
        good = signingKey.size() == crypto_sign_SEEDBYTES &&
               crypto_sign_seed_keypair(open, secret, bytesOf(signingKey)) == 0;
    }
    ~KeyPair() { sodium_memzero(secret, sizeof secret); }

    unsigned char open[crypto_sign_PUBLICKEYBYTES];
    unsigned char secret[crypto_sign_SECRETKEYBYTES];
    bool good;
};

} // namespace

std::string newSigningKey()
{
    const auto bytes = randomBytes(crypto_sign_SEEDBYTES);
    return {bytes.begin(), bytes.end()};
}

std::string publicKeyOf(const std::string &signingKey)
{
    const KeyPair keys(signingKey);
    return keys.good ? std::string(std::begin(keys.open), std::end(keys.open)) : std::string();
}

std::string signature(const std::string &signingKey, const std::string &message)
{
    const KeyPair keys(signingKey);
    unsigned char text[crypto_sign_BYTES];
    if (!keys.good || crypto_sign_detached(text, nullptr, bytesOf(message), message.size(), keys.secret) != 0)
        return {};
    return {std::begin(text), std::end(text)};
}

bool sameSecret(const std::string &a, const std::string &b)
{
    return a.size() == b.size() && sodium_memcmp(a.data(), b.data(), a.size()) == 0;
}

std::string hashPassword(const std::string &password, const PasswordCost &cost)
{
    char text[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str_alg(text, password.data(), password.size(), cost.passes, cost.memory,
                              crypto_pwhash_ALG_ARGON2ID13) != 0)
        return {};
    return text;
}

bool checkPassword(const std::string &hash, const std::string &password)
{
    return crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
}

std::int64_t nowMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace arkvale::service
