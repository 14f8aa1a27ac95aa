#include "PartialFile.h"

#include <map>
#include <mutex>

namespace zpdt {

namespace {

struct Taken
{
    const void *owner;
    SafeFolder folder;
    std::string name;
    std::uint64_t token;
};

struct Locks
{
    std::mutex mutex;
    std::map<std::pair<std::uint64_t, std::uint64_t>, Taken> taken;
    std::uint64_t lastToken = 0;
};

Locks &locks()
{
    // Never destroyed: locks are given back until the last thread has ended.
    static Locks *const only = new Locks;
    return *only;
}

} // namespace

FileResult PartialLock::take(const SafeFolder &folder, const std::string &name, const FileStat &stat, const void *owner)
{
    const std::pair<std::uint64_t, std::uint64_t> file(stat.volume, stat.id);
    Locks &all = locks();
    const std::lock_guard<std::mutex> lock(all.mutex);
    m_token = ++all.lastToken;
    // Of a system that does not number its files nothing can be told.
    if (stat.id == 0)
        return {};
    const auto found = all.taken.find(file);
    if (found != all.taken.end()) {
        // One that somebody removed may have left its number to this one.
        FileStat now;
        const Taken &other = found->second;
        if (other.folder.stat(other.name, now).ok() && now.id == stat.id && now.volume == stat.volume) {
            m_token = 0;
            return {other.owner == owner ? FileError::BadName : FileError::Denied, 0};
        }
        all.taken.erase(found);
    }
    m_file = file;
    all.taken.insert({file, {owner, folder, name, m_token}});
    return {};
}

void PartialLock::release()
{
    const std::uint64_t token = std::exchange(m_token, 0);
    if (token == 0)
        return;
    Locks &all = locks();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto found = all.taken.find(m_file);
    if (found != all.taken.end() && found->second.token == token)
        all.taken.erase(found);
}

FileResult openPartial(const SafeFolder &folder, const std::string &name, const void *owner, SafeFile &file,
                       FileStat &stat, PartialLock &lock)
{
    for (int attempt = 0; attempt < 3; ++attempt) {
        FileResult result = folder.openWrite(name, {true, false, false}, file);
        if (result.ok())
            result = file.stat(stat);
        if (result.ok() && stat.links > 1) {
            // The other name is of a file that has to stay as it is.
            (void)file.close();
            result = folder.removeFile(name);
            if (result.ok())
                result = folder.openWrite(name, {true, true, false}, file);
            if (result.ok())
                result = file.stat(stat);
        }
        if (result.ok())
            result = lock.take(folder, name, stat, owner);
        if (!result.ok()) {
            (void)file.close();
            return result;
        }
        // Whoever had it until now may just have given it its name.
        FileStat now;
        if (folder.stat(name, now).ok() && now.id == stat.id)
            return {};
        lock.release();
    }
    (void)file.close();
    return {FileError::Denied, 0};
}

} // namespace zpdt
