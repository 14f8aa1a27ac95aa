#pragma once

#include "AccountStore.h"

#include <cstdint>
#include <optional>
#include <string>

namespace arkvale::service {

/// The client packages that this service offers, one newest for each platform, in a folder of their own: packages
/// under PLATFORM/VERSION/, and beside them the signed manifest, which is replaced only after the package is whole.
/// A plain value; may be used from several processes, published to by one at a time.
class UpdateStore
{
public:
    struct Publication
    {
        std::string file;     ///< the package, copied into the store
        std::string version;  ///< numbers separated by dots
        std::string platform; ///< such as "linux-x86_64" or "windows-x86_64"
        std::string notes;    ///< what is new, plain text; may be empty
    };
    struct Package
    {
        int fd = -1; ///< open file, the caller's
        std::uint64_t size = 0;
    };

    explicit UpdateStore(std::string folder);

    /// The key that signs manifests: 32 bytes as base64 in a file for the owner alone, made when it is missing.
    StoreResult signingKey(const std::string &file, std::string *key) const;
    /// Where the key is kept when no other file is named.
    std::string keyFile() const { return m_folder + "/signing-key"; }

    /// Refuses a version that is not newer than the one on offer, since no client would take it.
    StoreResult publish(const Publication &publication, const std::string &signingKey) const;

    /// {"manifest": base64 of JSON, "signature": base64 of Ed25519 over that JSON}; empty when nothing is on offer.
    std::optional<std::string> manifest(const std::string &platform) const;
    std::optional<Package> package(const std::string &platform, const std::string &version,
                                   const std::string &name) const;

private:
    std::string m_folder;
};

} // namespace arkvale::service
