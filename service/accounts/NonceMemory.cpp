#include "NonceMemory.h"

namespace arkvale::service {

NonceMemory::Verdict NonceMemory::remember(const std::string &accessId, const std::string &nonce, std::int64_t time,
                                           std::int64_t now)
{
    const std::lock_guard lock(m_mutex);
    Memory &memory = m_memories[accessId];
    expire(memory, now);
    if (memory.nonces.count(nonce) > 0)
        return Verdict::Repeated;
    if (m_count >= mostOfAll) {
        for (auto it = m_memories.begin(); it != m_memories.end();) {
            expire(it->second, now);
            it = it->second.nonces.empty() && &it->second != &memory ? m_memories.erase(it) : std::next(it);
        }
    }
    if (memory.nonces.size() >= mostOfOne || m_count >= mostOfAll)
        return Verdict::Full;
    memory.nonces.insert(nonce);
    memory.byTime.emplace(time, nonce);
    ++m_count;
    return Verdict::Fresh;
}

void NonceMemory::forget(const std::string &accessId)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_memories.find(accessId);
    if (found == m_memories.end())
        return;
    m_count -= found->second.nonces.size();
    m_memories.erase(found);
}

std::vector<NonceMemory::Entry> NonceMemory::entries(std::int64_t now) const
{
    const std::lock_guard lock(m_mutex);
    std::vector<Entry> entries;
    for (const auto &[accessId, memory] : m_memories) {
        for (const auto &[time, nonce] : memory.byTime) {
            if (time >= now - windowMs)
                entries.push_back({accessId, nonce, time});
        }
    }
    return entries;
}

void NonceMemory::expire(Memory &memory, std::int64_t now)
{
    while (!memory.byTime.empty() && memory.byTime.begin()->first < now - windowMs) {
        memory.nonces.erase(memory.byTime.begin()->second);
        memory.byTime.erase(memory.byTime.begin());
        --m_count;
    }
}

} // namespace arkvale::service
