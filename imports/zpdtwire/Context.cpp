#include "Context.h"

#include "BufferBudget.h"

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <asio/thread_pool.hpp>

#include <algorithm>
#include <thread>

namespace zpdt {

namespace {
// A quarter of the promised total stays for what the budget does not count: TLS buffers, queues, journals.
constexpr std::size_t kBufferLimit = 192u << 20;
} // namespace

struct Context::Private
{
    explicit Private(unsigned diskThreads)
        : budget(kBufferLimit)
        , io(1)
        , work(asio::make_work_guard(io))
        , disk(std::clamp(diskThreads, 1u, 16u))
        , thread([this] { io.run(); })
    {
    }

    // First, so that they outlive the streams that handlers still hold when the loop and the pool go.
    BufferBudget budget;
    ActiveFiles activeFiles;
    asio::io_context io;
    asio::executor_work_guard<asio::io_context::executor_type> work;
    asio::thread_pool disk;
    std::thread thread;
};

Context::Context(unsigned diskThreads)
    : d(std::make_unique<Private>(diskThreads))
{
}

Context::~Context()
{
    stop();
}

void Context::post(std::function<void()> work)
{
    asio::post(d->io, std::move(work));
}

void Context::stop()
{
    d->disk.stop();
    d->disk.join();
    d->io.stop();
    if (d->thread.joinable())
        d->thread.join();
}

asio::io_context &Context::io()
{
    return d->io;
}

asio::thread_pool &Context::disk()
{
    return d->disk;
}

BufferBudget &Context::budget()
{
    return d->budget;
}

ActiveFiles &Context::activeFiles()
{
    return d->activeFiles;
}

} // namespace zpdt
