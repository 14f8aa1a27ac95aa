#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace arkvale::service {

/// One sub-center as the service runs it. A plain value.
struct SubCenterInfo
{
    std::string id;
    std::string name;
    std::string rootFolder;         ///< absolute folder on disk that holds the homes of this sub-center's users
    std::string icon;               ///< path of the icon below the account base, such as "icons/subcenters/1.png"
    std::string transferHost;       ///< as told to clients; empty: the host by which the client reached the service
    std::uint16_t transferPort = 0; ///< as told to clients; 0 while no transfer listener runs
};

/// Bytes that a user has, and may have, in one sub-center.
struct StorageUse
{
    std::int64_t used = 0;
    std::int64_t quota = 0;

    std::int64_t left() const { return used < quota ? quota - used : 0; }
};

/// What request handlers learn of the service around them. All functions may be called from any thread and never
/// throw; an unknown user or sub-center is an empty answer.
class Context
{
public:
    virtual ~Context() = default;

    virtual std::vector<SubCenterInfo> subCenters() const = 0;
    virtual std::optional<SubCenterInfo> subCenter(const std::string &subCenterId) const = 0;

    /// Absolute path, without a trailing slash, of the user's home folder. It exists when it is returned. Empty when
    /// the user has no home in that sub-center, or when the sub-center's disk is not there.
    virtual std::optional<std::string> userHome(const std::string &user, const std::string &subCenterId) const = 0;

    virtual StorageUse storage(const std::string &user, const std::string &subCenterId) const = 0;

    /// Tells of @p delta bytes that were written (above 0) or removed (below 0) in the user's home.
    virtual void addUsed(const std::string &user, const std::string &subCenterId, std::int64_t delta) = 0;

    /// Asks for a new count of the user's home, made in the background: for changes whose size is not known.
    virtual void recount(const std::string &user, const std::string &subCenterId) = 0;
};

} // namespace arkvale::service
