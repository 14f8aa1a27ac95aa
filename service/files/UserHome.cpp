#include "UserHome.h"

#include "NameRules.h"

#include <algorithm>

namespace arkvale::service {

namespace {

constexpr std::uint64_t kReserveStep = 4ull << 20; // bytes

} // namespace

Outcome splitDrive(const std::string &path, std::vector<std::string> &names)
{
    if (zpdt::splitDrivePath(path, names))
        return {};
    return Outcome::failure(400, "bad-name", "This is not a path of the drive.");
}

Outcome findEntry(const UserHome &home, const std::string &path, std::vector<std::string> &names, zpdt::FileStat &stat)
{
    Outcome outcome = splitDrive(path, names);
    if (!outcome.ok())
        return outcome;
    zpdt::FileResult result = home.folder.stat(zpdt::joinPath(names), stat);
    if (result.ok() && !stat.isFile() && !stat.isFolder())
        result.error = zpdt::FileError::NotFound;
    return Outcome::of(result, path);
}

Outcome findFolder(const UserHome &home, const std::string &path, std::vector<std::string> &names)
{
    Outcome outcome = splitDrive(path, names);
    if (!outcome.ok())
        return outcome;
    zpdt::FileStat stat;
    zpdt::FileResult result = home.folder.stat(zpdt::joinPath(names), stat);
    if (result.ok() && !stat.isFolder())
        result.error = zpdt::FileError::NotFolder;
    return Outcome::of(result, path);
}

std::string drivePath(const std::vector<std::string> &names)
{
    return "/" + zpdt::joinPath(names);
}

std::string numberedName(const std::string &name, bool isFolder, int number)
{
    const std::size_t dot = isFolder ? std::string::npos : name.rfind('.');
    const bool hasExtension = dot != std::string::npos && dot > 0 && name.size() - dot <= 32;
    std::string stem = hasExtension ? name.substr(0, dot) : name;
    const std::string end = " (" + std::to_string(number) + ")" + (hasExtension ? name.substr(dot) : std::string());
    if (stem.size() + end.size() > zpdt::kMaxNameBytes) {
        std::size_t cut = zpdt::kMaxNameBytes - end.size();
        while (cut > 0 && (static_cast<unsigned char>(stem[cut]) & 0xC0u) == 0x80u)
            --cut;
        stem.resize(cut);
    }
    return stem + end;
}

zpdt::FileResult moveNumbered(const zpdt::SafeFolder &from, const std::string &entry, const zpdt::SafeFolder &to,
                              std::string &name, bool isFolder)
{
    const std::string wanted = name;
    zpdt::FileResult result = zpdt::SafeFolder::renameBetween(from, entry, to, name, false);
    for (int number = 2; result.error == zpdt::FileError::Exists && number < 10000; ++number) {
        name = numberedName(wanted, isFolder, number);
        result = zpdt::SafeFolder::renameBetween(from, entry, to, name, false);
    }
    return result;
}

QuotaCharge::~QuotaCharge()
{
    if (m_reserved > 0)
        m_home.addUsed(-static_cast<std::int64_t>(m_reserved));
    if (m_home.storeroom->recounts() != m_recounts)
        m_home.recount();
}

bool QuotaCharge::charge(std::uint64_t bytes)
{
    if (m_used + bytes > m_reserved) {
        const std::uint64_t missing = m_used + bytes - m_reserved;
        const auto left = static_cast<std::uint64_t>(std::max<std::int64_t>(0, m_home.bytesLeft()));
        if (missing > left)
            return false;
        const std::uint64_t step = std::min(left, std::max(missing, kReserveStep));
        m_home.addUsed(static_cast<std::int64_t>(step));
        m_reserved += step;
    }
    m_used += bytes;
    return true;
}

void QuotaCharge::keep()
{
    if (m_reserved > m_used)
        m_home.addUsed(-static_cast<std::int64_t>(m_reserved - m_used));
    m_reserved = 0;
    m_used = 0;
}

} // namespace arkvale::service
