#include "Storeroom.h"

#include <algorithm>
#include <random>
#include <tuple>
#include <vector>

namespace arkvale::service {

namespace {

constexpr std::uint64_t kThumbsLimit = 512ull << 20; // bytes
constexpr std::size_t kThumbsStep = 64u << 20;       // bytes written between two trimmings

} // namespace

std::string randomName()
{
    static const char digits[] = "0123456789abcdef";
    std::random_device device;
    std::string name;
    while (name.size() < 32) {
        const unsigned value = device();
        for (int shift = 0; shift < 32; shift += 4)
            name += digits[(value >> shift) & 15u];
    }
    return name;
}

std::shared_ptr<Storeroom> Storeroom::open(const std::string &root, zpdt::FileResult &result)
{
    std::shared_ptr<Storeroom> room(new Storeroom);
    zpdt::SafeFolder base;
    result = zpdt::SafeFolder::open(root, base);
    const struct
    {
        const char *path;
        zpdt::SafeFolder *folder;
    } parts[] = {
        {".arkvale/trash", &room->m_trash}, {".arkvale/work", &room->m_work}, {".arkvale/thumbs", &room->m_thumbs}};
    for (const auto &part : parts) {
        if (result.ok())
            result = base.mkdirs(part.path);
        if (result.ok())
            result = base.openFolder(part.path, *part.folder);
    }
    if (!result.ok())
        return nullptr;
    // Before anyone can begin new work: what lies there belongs to nobody.
    std::vector<std::string> leftOver;
    room->m_work.list(
        "",
        [&](const zpdt::SafeFolder::Entry &entry) {
            leftOver.push_back(entry.name);
            return true;
        },
        false);
    for (const std::string &name : leftOver)
        zpdt::SafeFolder::renameBetween(room->m_work, name, room->m_trash, randomName(), false);
    room->m_discarded = 1;
    room->m_thread = std::thread([raw = room.get()] { raw->run(); });
    return room;
}

Storeroom::~Storeroom()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

zpdt::FileResult Storeroom::discard(const zpdt::SafeFolder &folder, const std::string &path)
{
    const zpdt::FileResult result = zpdt::SafeFolder::renameBetween(folder, path, m_trash, randomName(), false);
    if (result.ok()) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_discarded;
        m_changed.notify_all();
    }
    return result;
}

void Storeroom::thumbWritten(std::size_t bytes)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_newThumbs += bytes;
    if (m_newThumbs >= kThumbsStep)
        m_changed.notify_all();
}

void Storeroom::waitUntilEmpty()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const std::uint64_t target = m_discarded;
    m_changed.wait(lock, [&] { return m_stopping || m_deleted >= target; });
}

void Storeroom::run()
{
    const auto stopping = [this] { return m_stopping.load(); };
    trimThumbs();
    for (;;) {
        std::uint64_t target = 0;
        bool trim = false;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait(lock,
                           [this] { return m_stopping || m_deleted < m_discarded || m_newThumbs >= kThumbsStep; });
            if (m_stopping)
                return;
            target = m_discarded;
            trim = m_newThumbs >= kThumbsStep;
            if (trim)
                m_newThumbs = 0;
        }
        if (trim)
            trimThumbs();
        std::vector<std::string> names;
        m_trash.list(
            "",
            [&](const zpdt::SafeFolder::Entry &entry) {
                names.push_back(entry.name);
                return true;
            },
            false);
        for (const std::string &name : names) {
            if (m_stopping)
                return;
            m_trash.removeTree(name, stopping);
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_deleted = target;
        m_changed.notify_all();
    }
}

void Storeroom::trimThumbs()
{
    // Oldest first, by the time of writing, which is the only one that every disk keeps.
    std::vector<std::tuple<std::int64_t, std::uint64_t, std::string>> files;
    std::uint64_t total = 0;
    m_thumbs.list("", [&](const zpdt::SafeFolder::Entry &entry) {
        if (entry.stat.isFile()) {
            files.emplace_back(entry.stat.modifiedNs, entry.stat.size, entry.name);
            total += entry.stat.size;
        }
        return !m_stopping;
    });
    if (total <= kThumbsLimit)
        return;
    std::sort(files.begin(), files.end());
    for (const auto &file : files) {
        if (total <= kThumbsLimit / 2 || m_stopping)
            return;
        if (m_thumbs.removeFile(std::get<2>(file)).ok())
            total -= std::get<1>(file);
    }
}

Storeroom::WorkFolder::WorkFolder(Storeroom &storeroom)
    : m_storeroom(storeroom)
    , m_name(randomName())
{
    m_result = storeroom.m_work.mkdir(m_name);
    if (m_result.ok())
        m_result = storeroom.m_work.openFolder(m_name, m_folder);
}

Storeroom::WorkFolder::~WorkFolder()
{
    m_folder = zpdt::SafeFolder();
    m_storeroom.discard(m_storeroom.m_work, m_name);
}

} // namespace arkvale::service
