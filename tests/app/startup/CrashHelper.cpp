// Installs the crash handler and crashes in the way that argument 1 names.

#include "CrashHandler.h"

#include <QByteArray>
#include <QString>

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>

namespace {

volatile int s_sink = 0;

__attribute__((noinline)) int overflow(int depth)
{
    volatile char room[4096];
    room[0] = char(depth);
    s_sink = s_sink + room[0];
    return depth < 0 ? 0 : overflow(depth + 1) + room[0];
}

__attribute__((noinline)) void writeToNowhere()
{
    *reinterpret_cast<volatile int *>(s_sink + 0xdead0) = 1;
}

} // namespace

int main(int argc, char **argv)
{
    const rlimit noCore = {0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    CrashHandler::install();
    const std::string kind = argc > 1 ? argv[1] : "";
    if (argc > 2)
        CrashHandler::setTexts(QString::fromUtf8(argv[2]), QString::fromUtf8("t \"q\""), QString::fromUtf8("好"));
    if (kind == "segv")
        writeToNowhere();
    if (kind == "abort")
        std::abort();
    if (kind == "throw")
        throw std::runtime_error("nobody catches this");
    if (kind == "overflow")
        s_sink = overflow(1);
    if (kind == "thread")
        std::thread(writeToNowhere).join();
    if (kind == "threads") {
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i)
            threads.emplace_back(writeToNowhere);
        for (std::thread &thread : threads)
            thread.join();
    }
    if (kind == "broken stack") {
        // Walking a stack that leads nowhere must not keep the handler from ending.
#if defined(__x86_64__)
        __asm__ volatile("xor %%rbp, %%rbp\n\tmov $0x1000, %%rsp\n\tmovl $1, 0\n\t" ::: "memory");
#else
        writeToNowhere();
#endif
    }
    return 0;
}
