#include "Site.h"

#include "Request.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace arkvale::service {

Site::Site(AccountStore &store)
    : m_store(store)
    , m_usage(store,
              [this](const std::string &user, const std::string &subCenterId) { return userHome(user, subCenterId); })
{
    for (const SubCenterRecord &record : store.subCenters()) {
        SubCenterInfo info;
        info.id = record.id;
        info.name = record.name;
        info.rootFolder = record.root;
        info.icon = record.icon.empty() ? "icons/subcenter/" + percentEncode(record.id) + ".png" : record.icon;
        info.transferHost = record.transferHost;
        m_subCenters.push_back(info);
    }
}

std::vector<SubCenterInfo> Site::subCenters() const
{
    const std::lock_guard lock(m_mutex);
    return m_subCenters;
}

std::optional<SubCenterInfo> Site::subCenter(const std::string &subCenterId) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = std::find_if(m_subCenters.begin(), m_subCenters.end(),
                                    [&](const SubCenterInfo &info) { return info.id == subCenterId; });
    if (found == m_subCenters.end())
        return std::nullopt;
    return *found;
}

std::optional<std::string> Site::userHome(const std::string &user, const std::string &subCenterId) const
{
    std::string path;
    if (findHome(user, subCenterId, &path) != HomeState::Ready)
        return std::nullopt;
    return path;
}

Site::HomeState Site::findHome(const std::string &user, const std::string &subCenterId, std::string *path) const
{
    const auto center = subCenter(subCenterId);
    const auto home = center ? m_store.home(user, subCenterId) : std::nullopt;
    if (!home)
        return HomeState::None;
    // Without this look a home would be made on the empty mount point, and uploads would go to the wrong disk.
    if (::access((center->rootFolder + '/' + rootMark).c_str(), F_OK) != 0)
        return HomeState::Offline;
    *path = center->rootFolder + '/' + home->folder;
    struct stat info = {};
    if (::mkdir(path->c_str(), 0700) != 0 && errno != EEXIST)
        return HomeState::Offline;
    // A link in a home's place would lead out of the root.
    if (::lstat(path->c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
        return HomeState::Offline;
    return HomeState::Ready;
}

StorageUse Site::storage(const std::string &user, const std::string &subCenterId) const
{
    return m_usage.storage(user, subCenterId);
}

void Site::addUsed(const std::string &user, const std::string &subCenterId, std::int64_t delta)
{
    m_usage.add(user, subCenterId, delta);
}

void Site::recount(const std::string &user, const std::string &subCenterId)
{
    m_usage.recount(user, subCenterId);
}

void Site::recountAll()
{
    for (const Home &home : m_store.homes())
        m_usage.recount(home.user, home.subCenterId);
}

void Site::setTransferPort(const std::string &subCenterId, std::uint16_t port)
{
    const std::lock_guard lock(m_mutex);
    for (SubCenterInfo &info : m_subCenters) {
        if (info.id == subCenterId)
            info.transferPort = port;
    }
}

StoreResult Site::prepareRoot(const std::string &root)
{
    std::error_code error;
    std::filesystem::create_directories(root, error);
    if (error)
        return {false, "The folder " + root + " cannot be made: " + error.message() + "."};
    const int fd = ::open((root + '/' + rootMark).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        return {false, "The folder " + root + " cannot be written to: " + std::strerror(errno) + "."};
    ::close(fd);
    return {};
}

} // namespace arkvale::service
