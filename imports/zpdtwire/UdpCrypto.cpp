#include "UdpCrypto.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include <cstring>
#include <utility>

namespace zpdt {

namespace {

constexpr std::size_t kBlock = 64; // of SHA-256
constexpr std::size_t kKey = 16;

EVP_PKEY *pkey(void *key)
{
    return static_cast<EVP_PKEY *>(key);
}

EVP_CIPHER_CTX *cipher(void *context)
{
    return static_cast<EVP_CIPHER_CTX *>(context);
}

struct Hash
{
    Hash()
        : context(EVP_MD_CTX_new())
    {
        good = context && EVP_DigestInit_ex(context, EVP_sha256(), nullptr) == 1;
    }
    ~Hash() { EVP_MD_CTX_free(context); }
    Hash(const Hash &) = delete;
    Hash &operator=(const Hash &) = delete;
    void add(const void *data, std::size_t size) { good = good && EVP_DigestUpdate(context, data, size) == 1; }
    UdpSecret result()
    {
        UdpSecret out{};
        good = good && EVP_DigestFinal_ex(context, out.data(), nullptr) == 1;
        return good ? out : UdpSecret{};
    }
    EVP_MD_CTX *context;
    bool good;
};

} // namespace

UdpSecret udpSha256(std::initializer_list<UdpSpan> pieces)
{
    Hash hash;
    for (const UdpSpan &piece : pieces)
        hash.add(piece.data, piece.size);
    return hash.result();
}

UdpSecret udpMac(const void *key, std::size_t keySize, std::initializer_list<UdpSpan> pieces)
{
    std::array<std::uint8_t, kBlock> padded{};
    if (keySize > kBlock) {
        const UdpSecret shorter = udpSha256({{key, keySize}});
        std::memcpy(padded.data(), shorter.data(), shorter.size());
    } else {
        std::memcpy(padded.data(), key, keySize);
    }
    for (std::uint8_t &byte : padded)
        byte ^= 0x36;
    Hash inner;
    inner.add(padded.data(), padded.size());
    for (const UdpSpan &piece : pieces)
        inner.add(piece.data, piece.size);
    const UdpSecret middle = inner.result();
    for (std::uint8_t &byte : padded)
        byte ^= 0x36 ^ 0x5c;
    const UdpSecret out = udpSha256({{padded.data(), padded.size()}, {middle.data(), middle.size()}});
    OPENSSL_cleanse(padded.data(), padded.size());
    return out;
}

UdpSecret udpExpand(const UdpSecret &secret, const char *label, const UdpSecret &context)
{
    const std::uint8_t one = 1;
    return udpMac(secret.data(), secret.size(),
                  {{label, std::strlen(label)}, {context.data(), context.size()}, {&one, 1}});
}

bool udpEqual(const void *a, const void *b, std::size_t size)
{
    return CRYPTO_memcmp(a, b, size) == 0;
}

bool udpRandom(void *out, std::size_t size)
{
    return RAND_bytes(static_cast<unsigned char *>(out), int(size)) == 1;
}

UdpExchange::UdpExchange()
{
    EVP_PKEY *key = EVP_PKEY_Q_keygen(nullptr, nullptr, "X25519");
    std::size_t size = m_public.size();
    if (key && EVP_PKEY_get_raw_public_key(key, m_public.data(), &size) == 1 && size == m_public.size())
        m_key = key;
    else
        EVP_PKEY_free(key);
}

UdpExchange::~UdpExchange()
{
    EVP_PKEY_free(pkey(m_key));
}

bool UdpExchange::shared(const std::uint8_t *otherPublic, UdpSecret &secret) const
{
    EVP_PKEY *other = EVP_PKEY_new_raw_public_key(EVP_PKEY_X25519, nullptr, otherPublic, m_public.size());
    EVP_PKEY_CTX *context = m_key ? EVP_PKEY_CTX_new(pkey(m_key), nullptr) : nullptr;
    std::size_t size = secret.size();
    const bool good = other && context && EVP_PKEY_derive_init(context) == 1 &&
                      EVP_PKEY_derive_set_peer(context, other) == 1 &&
                      EVP_PKEY_derive(context, secret.data(), &size) == 1 && size == secret.size();
    EVP_PKEY_CTX_free(context);
    EVP_PKEY_free(other);
    return good;
}

UdpCipher::UdpCipher() = default;

UdpCipher::~UdpCipher()
{
    EVP_CIPHER_CTX_free(cipher(m_context));
    OPENSSL_cleanse(m_secret.data(), m_secret.size());
}

UdpCipher::UdpCipher(UdpCipher &&other) noexcept
{
    *this = std::move(other);
}

UdpCipher &UdpCipher::operator=(UdpCipher &&other) noexcept
{
    std::swap(m_context, other.m_context);
    std::swap(m_secret, other.m_secret);
    std::swap(m_iv, other.m_iv);
    std::swap(m_sealing, other.m_sealing);
    return *this;
}

bool UdpCipher::setSecret(const UdpSecret &secret, bool sealing)
{
    m_secret = secret;
    m_sealing = sealing;
    UdpSecret key = udpExpand(secret, "packet key", {});
    const UdpSecret iv = udpExpand(secret, "packet nonce", {});
    std::memcpy(m_iv.data(), iv.data(), m_iv.size());
    if (!m_context)
        m_context = EVP_CIPHER_CTX_new();
    const bool good = m_context && EVP_CipherInit_ex(cipher(m_context), EVP_aes_128_gcm(), nullptr, key.data(),
                                                     m_iv.data(), sealing ? 1 : 0) == 1;
    static_assert(kKey <= sizeof(key));
    OPENSSL_cleanse(key.data(), key.size());
    return good;
}

bool UdpCipher::advanceTo(UdpCipher &next) const
{
    return next.setSecret(udpExpand(m_secret, "next phase", {}), m_sealing);
}

std::array<std::uint8_t, 12> UdpCipher::nonce(std::uint64_t number) const
{
    std::array<std::uint8_t, 12> out = m_iv;
    for (std::size_t i = 0; i < 8; ++i)
        out[i + 4] ^= static_cast<std::uint8_t>(number >> (8 * i));
    return out;
}

bool UdpCipher::seal(std::uint64_t number, const std::uint8_t *head, std::size_t headSize, std::uint8_t *data,
                     std::size_t size)
{
    EVP_CIPHER_CTX *context = cipher(m_context);
    const auto iv = nonce(number);
    int done = 0;
    return context && EVP_EncryptInit_ex(context, nullptr, nullptr, nullptr, iv.data()) == 1 &&
           EVP_EncryptUpdate(context, nullptr, &done, head, int(headSize)) == 1 &&
           EVP_EncryptUpdate(context, data, &done, data, int(size)) == 1 &&
           EVP_EncryptFinal_ex(context, data + size, &done) == 1 &&
           EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, 16, data + size) == 1;
}

bool UdpCipher::open(std::uint64_t number, const std::uint8_t *head, std::size_t headSize, const std::uint8_t *data,
                     std::size_t size, std::uint8_t *out)
{
    EVP_CIPHER_CTX *context = cipher(m_context);
    if (!context || size < 16)
        return false;
    const auto iv = nonce(number);
    const std::size_t plain = size - 16;
    std::uint8_t tag[16];
    std::memcpy(tag, data + plain, sizeof(tag));
    int done = 0;
    return EVP_DecryptInit_ex(context, nullptr, nullptr, nullptr, iv.data()) == 1 &&
           EVP_DecryptUpdate(context, nullptr, &done, head, int(headSize)) == 1 &&
           EVP_DecryptUpdate(context, out, &done, data, int(plain)) == 1 &&
           EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_TAG, 16, tag) == 1 &&
           EVP_DecryptFinal_ex(context, out + plain, &done) == 1;
}

} // namespace zpdt
