#include "PartialCleaner.h"

#include "TransferServer.h"

namespace arkvale::service {

namespace {
constexpr auto kPause = std::chrono::hours(24);
}

PartialCleaner::PartialCleaner(std::shared_ptr<TransferRuntime> runtime, std::function<std::vector<Home>()> homes,
                               std::chrono::seconds age)
    : m_runtime(std::move(runtime))
    , m_homes(std::move(homes))
    , m_age(age)
    , m_thread([this] { run(); })
{
}

PartialCleaner::~PartialCleaner()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void PartialCleaner::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_stop) {
        lock.unlock();
        round();
        lock.lock();
        m_wake.wait_for(lock, kPause, [this] { return m_stop.load(); });
    }
}

void PartialCleaner::round()
{
    using namespace std::chrono;
    const auto before = system_clock::now().time_since_epoch() - m_age;
    for (const Home &home : m_homes()) {
        const std::uint64_t bytes = removeOldPartials(*m_runtime, home.root, duration_cast<nanoseconds>(before).count(),
                                                      [this] { return m_stop.load(); });
        if (bytes > 0)
            home.shrunk();
        if (m_stop)
            return;
    }
}

} // namespace arkvale::service
