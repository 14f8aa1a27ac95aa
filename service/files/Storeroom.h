#pragma once

#include "SafeFolder.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace arkvale::service {

/// 32 random hexadecimal digits.
std::string randomName();

/// The folder ".arkvale" of a sub-center, beside the homes and out of every user's reach: "trash" for what is being
/// deleted, "work" for what is not complete yet, "thumbs" for thumbnails. What is in trash or work when the service
/// starts is left over and goes. A thread of its own deletes, so that the deletion of a large tree is one rename for
/// whoever asks, and a crash in the middle leaves nothing half deleted in a home. May be used from any thread.
class Storeroom
{
public:
    /// Null, with the reason in @p result, when the folders cannot be made in @p root.
    static std::shared_ptr<Storeroom> open(const std::string &root, zpdt::FileResult &result);
    /// Stops deleting; the rest is deleted after the next start.
    ~Storeroom();

    Storeroom(const Storeroom &) = delete;
    Storeroom &operator=(const Storeroom &) = delete;

    /// Takes a file or folder out of @p folder in one step; its bytes are freed later.
    zpdt::FileResult discard(const zpdt::SafeFolder &folder, const std::string &path);

    const zpdt::SafeFolder &thumbs() const { return m_thumbs; }
    /// Tells of a thumbnail that was written; when much was, the oldest go.
    void thumbWritten(std::size_t bytes);

    /// How often a home of this sub-center was to be counted anew.
    std::uint64_t recounts() const { return m_recounts; }
    void countRecount() { ++m_recounts; }

    /// Returns once everything discarded so far is deleted.
    void waitUntilEmpty();

    /// A fresh folder below "work" whose contents go with the object.
    class WorkFolder
    {
    public:
        explicit WorkFolder(Storeroom &storeroom);
        ~WorkFolder();
        WorkFolder(const WorkFolder &) = delete;
        WorkFolder &operator=(const WorkFolder &) = delete;

        const zpdt::FileResult &result() const { return m_result; }
        const zpdt::SafeFolder &folder() const { return m_folder; }

    private:
        Storeroom &m_storeroom;
        std::string m_name;
        zpdt::SafeFolder m_folder;
        zpdt::FileResult m_result;
    };

private:
    Storeroom() = default;
    void run();
    void trimThumbs();

    zpdt::SafeFolder m_trash;
    zpdt::SafeFolder m_work;
    zpdt::SafeFolder m_thumbs;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::uint64_t m_discarded = 0; ///< counts discards
    std::uint64_t m_deleted = 0;   ///< value of m_discarded up to which everything is deleted
    std::size_t m_newThumbs = 0;   ///< bytes since the last trimming
    std::atomic<std::uint64_t> m_recounts{0};
    std::atomic<bool> m_stopping{false};
    std::thread m_thread;
};

} // namespace arkvale::service
