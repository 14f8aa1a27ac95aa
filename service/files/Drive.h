#pragma once

#include "ContentTypes.h"
#include "Outcome.h"
#include "UserHome.h"

#include <chrono>
#include <string>
#include <vector>

namespace arkvale::service {

/// The quick file operations on one user's home. Paths are paths of the drive ("/" is the home). Functions block on
/// the disk and nothing else; one object is used by one thread, many objects at once on the same home do no harm.
class Drive
{
public:
    enum class Kind
    {
        File,
        Folder
    };
    struct SearchLimits
    {
        std::chrono::milliseconds time{8000};
        std::size_t results = 10000;
    };

    Drive(const UserHome &home, ContentTypes &types)
        : m_home(home)
        , m_types(types)
    {
    }

    /// @p json becomes {"items":[...]}, in no order. With @p namesOnly an item holds name and type alone.
    Outcome list(const std::string &path, bool namesOnly, std::string &json) const;
    Outcome info(const std::string &path, std::string &json) const;
    /// Everything beneath @p path whose name contains @p keyword, upper and lower case being one. Ends at a limit with
    /// what was found and "truncated": true.
    Outcome search(const std::string &keyword, const std::string &path, SearchLimits limits, std::string &json) const;
    Outcome makeFolder(const std::string &path) const;
    /// Removes what it can and answers with the first failure.
    Outcome remove(const std::vector<std::string> &paths, Kind kind) const;
    /// All of @p sources or none. What lies in @p target already stays as it is.
    Outcome move(const std::vector<std::string> &sources, const std::string &target) const;
    /// To another name or place that nothing bears; a change of case alone is fine on every disk.
    Outcome rename(const std::string &source, const std::string &target, Kind kind) const;
    /// Opens a file for reading.
    Outcome openFile(const std::string &path, zpdt::SafeFile &file, zpdt::FileStat &stat) const;

private:
    Outcome statOf(const std::string &path, Kind kind, std::vector<std::string> &names, zpdt::FileStat &stat) const;
    bool isSameEntry(const std::vector<std::string> &target, const zpdt::FileStat &source) const;

    const UserHome &m_home;
    ContentTypes &m_types;
};

/// True when @p inner is @p outer or lies in it.
bool liesWithin(const std::vector<std::string> &inner, const std::vector<std::string> &outer);

} // namespace arkvale::service
