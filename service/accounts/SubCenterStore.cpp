// The part of AccountStore that keeps sub-centers and the users' homes in them.
#include "AccountStore.h"
#include "Sql.h"

#include <algorithm>

namespace arkvale::service {

namespace {

const char *const homeColumns = "SELECT user, sub_center, folder, quota, used FROM homes";

Home homeOf(const Statement &row)
{
    return {row.text(0), row.text(1), row.text(2), row.number(3), row.number(4)};
}

bool isId(const std::string &id)
{
    return !id.empty() && id.size() <= 32 && std::all_of(id.begin(), id.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' || c == '_';
    });
}

/// Whether one folder lies in the other, or both are the same.
bool overlap(std::string a, std::string b)
{
    a += '/';
    b += '/';
    return a.compare(0, b.size(), b) == 0 || b.compare(0, a.size(), a) == 0;
}

} // namespace

StoreResult AccountStore::addSubCenter(const SubCenterRecord &record)
{
    if (!isId(record.id))
        return {false, "\"" + record.id + "\" cannot be a sub-center's id: letters, digits, '-' and '_' only."};
    // Homes of one name would be one folder, and a user of one sub-center would reach the files of the other.
    for (const SubCenterRecord &other : subCenters()) {
        if (overlap(other.root, record.root))
            return {false, "The root folder overlaps that of sub-center \"" + other.id + "\"."};
    }
    const std::lock_guard lock(m_mutex);
    Statement insert(*m_database, "INSERT INTO sub_centers VALUES (?,?,?,?,?,?)");
    insert.bind(record.id).bind(record.name).bind(record.root).bind(record.icon).bind(record.transferHost);
    insert.bind(record.transferPort);
    return result(insert.run(), "The sub-center \"" + record.id + "\" cannot be added; is the id taken?");
}

std::vector<SubCenterRecord> AccountStore::subCenters() const
{
    const std::lock_guard lock(m_mutex);
    Statement select(*m_database,
                     "SELECT id, name, root, icon, transfer_host, transfer_port FROM sub_centers ORDER BY rowid");
    std::vector<SubCenterRecord> records;
    while (select.row())
        records.push_back({select.text(0), select.text(1), select.text(2), select.text(3), select.text(4),
                           static_cast<std::uint16_t>(select.number(5))});
    return records;
}

StoreResult AccountStore::addHome(const Home &home)
{
    const std::lock_guard lock(m_mutex);
    Statement insert(*m_database, "INSERT INTO homes (user, sub_center, folder, quota) VALUES (?,?,?,?)");
    insert.bind(home.user).bind(home.subCenterId).bind(home.folder).bind(home.quota);
    return result(insert.run(), "\"" + home.user + "\" cannot get a home in sub-center \"" + home.subCenterId + "\".");
}

std::optional<Home> AccountStore::home(const std::string &user, const std::string &subCenterId) const
{
    const std::lock_guard lock(m_mutex);
    Statement select(*m_database, (std::string(homeColumns) + " WHERE user = ? AND sub_center = ?").c_str());
    if (!select.bind(user).bind(subCenterId).row())
        return std::nullopt;
    return homeOf(select);
}

std::vector<Home> AccountStore::homes() const
{
    const std::lock_guard lock(m_mutex);
    Statement select(*m_database, (std::string(homeColumns) + " ORDER BY user, sub_center").c_str());
    std::vector<Home> homes;
    while (select.row())
        homes.push_back(homeOf(select));
    return homes;
}

StoreResult AccountStore::setQuota(const std::string &user, const std::string &subCenterId, std::int64_t quota)
{
    const std::lock_guard lock(m_mutex);
    Statement update(*m_database, "UPDATE homes SET quota = ? WHERE user = ? AND sub_center = ?");
    if (!update.bind(quota).bind(user).bind(subCenterId).run())
        return result(false, "The quota cannot be changed.");
    if (m_database->changes() == 0)
        return {false, "\"" + user + "\" has no home in sub-center \"" + subCenterId + "\"."};
    return {};
}

StoreResult AccountStore::setUsed(const std::string &user, const std::string &subCenterId, std::int64_t used)
{
    const std::lock_guard lock(m_mutex);
    Statement update(*m_database, "UPDATE homes SET used = ? WHERE user = ? AND sub_center = ?");
    return result(update.bind(used).bind(user).bind(subCenterId).run(), "The used space cannot be stored.");
}

} // namespace arkvale::service
