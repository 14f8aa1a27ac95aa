#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace asio {
class io_context;
class thread_pool;
} // namespace asio

namespace zpdt {

class BufferBudget;
class ActiveFiles;

/// Owns the I/O thread on which all connections and callbacks of this library run, a small pool of threads for disk
/// work, and the memory budget that they share. Outlives every Connection made with it. One per process is enough.
class Context
{
public:
    /// @param diskThreads 1 to 16
    explicit Context(unsigned diskThreads = 4);
    /// Stops as stop() does.
    ~Context();
    Context(const Context &) = delete;
    Context &operator=(const Context &) = delete;

    /// Runs @p work on the I/O thread; may be called from any thread. Nothing runs after stop().
    void post(std::function<void()> work);
    /// Ends both kinds of threads once their current piece of work is done. Connections that are still open are
    /// dropped without further callbacks. Not to be called on the I/O thread.
    void stop();

    asio::io_context &io();
    asio::thread_pool &disk();
    BufferBudget &budget();
    ActiveFiles &activeFiles();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace zpdt
