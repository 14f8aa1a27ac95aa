#pragma once

#include "AccountStore.h"
#include "Context.h"
#include "UsageBook.h"

#include <mutex>
#include <string>
#include <vector>

namespace arkvale::service {

/// The sub-centers that this process serves, the users' homes on their disks, and what these hold. May be used from
/// any thread.
class Site : public Context
{
public:
    /// The mark of a sub-center's root folder. A root without it is a disk that is not mounted.
    static constexpr const char *rootMark = ".arkvale-root";

    enum class HomeState
    {
        Ready,
        None,
        Offline
    };

    /// Serves the sub-centers that the store has now.
    explicit Site(AccountStore &store);

    std::vector<SubCenterInfo> subCenters() const override;
    std::optional<SubCenterInfo> subCenter(const std::string &subCenterId) const override;
    std::optional<std::string> userHome(const std::string &user, const std::string &subCenterId) const override;
    StorageUse storage(const std::string &user, const std::string &subCenterId) const override;
    void addUsed(const std::string &user, const std::string &subCenterId, std::int64_t delta) override;
    void recount(const std::string &user, const std::string &subCenterId) override;

    /// @param path set when the state is Ready
    HomeState findHome(const std::string &user, const std::string &subCenterId, std::string *path) const;
    /// Counts every home anew.
    void recountAll();
    void setTransferPort(const std::string &subCenterId, std::uint16_t port);

    /// Makes a root folder ready for use: made when it is missing, and marked.
    static StoreResult prepareRoot(const std::string &root);

private:
    AccountStore &m_store;
    mutable std::mutex m_mutex;
    std::vector<SubCenterInfo> m_subCenters;
    mutable UsageBook m_usage;
};

} // namespace arkvale::service
