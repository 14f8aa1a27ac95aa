#pragma once

#include "Codec.h"

#include <array>
#include <initializer_list>
#include <memory>
#include <string>

namespace zpdt {

using UdpSecret = std::array<std::uint8_t, 32>;

/// A piece of memory that goes into a digest.
struct UdpSpan
{
    const void *data;
    std::size_t size;
};

/// HMAC-SHA-256 over the pieces in order. All zero when the library failed.
UdpSecret udpMac(const void *key, std::size_t keySize, std::initializer_list<UdpSpan> pieces);
UdpSecret udpSha256(std::initializer_list<UdpSpan> pieces);
/// One block of HKDF's second step.
UdpSecret udpExpand(const UdpSecret &secret, const char *label, const UdpSecret &context);
/// In a time that does not tell where they differ.
bool udpEqual(const void *a, const void *b, std::size_t size);
/// False when the system has no random numbers.
bool udpRandom(void *out, std::size_t size);

/// One side of an X25519 exchange; its private half is new each time.
class UdpExchange
{
public:
    UdpExchange();
    ~UdpExchange();
    /// False when the library failed.
    bool valid() const { return m_key != nullptr; }
    const std::array<std::uint8_t, 32> &publicKey() const { return m_public; }
    /// False for a key of the other side that yields nothing secret.
    bool shared(const std::uint8_t *otherPublic, UdpSecret &secret) const;

private:
    void *m_key = nullptr;
    std::array<std::uint8_t, 32> m_public{};
};

/// AES-128-GCM for the packets of one direction, by packet number. The keys follow from a secret, and each secret
/// from the one before.
class UdpCipher
{
public:
    UdpCipher();
    ~UdpCipher();
    UdpCipher(UdpCipher &&other) noexcept;
    UdpCipher &operator=(UdpCipher &&other) noexcept;

    /// @param sealing whether it is to encrypt
    bool setSecret(const UdpSecret &secret, bool sealing);
    /// The cipher of the next phase.
    bool advanceTo(UdpCipher &next) const;

    /// Encrypts in place; @p data has room for the tag behind its @p size bytes.
    bool seal(std::uint64_t number, const std::uint8_t *head, std::size_t headSize, std::uint8_t *data,
              std::size_t size);
    /// Decrypts to @p out, which may be @p data. @p size counts the tag. False when it is not authentic.
    bool open(std::uint64_t number, const std::uint8_t *head, std::size_t headSize, const std::uint8_t *data,
              std::size_t size, std::uint8_t *out);

private:
    std::array<std::uint8_t, 12> nonce(std::uint64_t number) const;

    void *m_context = nullptr;
    UdpSecret m_secret{};
    std::array<std::uint8_t, 12> m_iv{};
    bool m_sealing = false;
};

} // namespace zpdt
