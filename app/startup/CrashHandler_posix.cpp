#include "CrashHandler.h"

#include <QByteArray>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

// Everything below "the handler" runs in a process that is broken: only async-signal-safe calls, no allocation, no
// formatted output, nothing of Qt. Memory that may be bad is only handed to write(), which answers EFAULT.

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
constexpr size_t kAlternateStack = 128 * 1024;
constexpr size_t kStackBytes = 16 * 1024; // of the crashed thread's stack, word by word
constexpr uint64_t kPage = 4096;
constexpr int kMostUnreadablePages = 8;
constexpr int kMostFrames = 128;
constexpr unsigned kTimeLimit = 5; // s, for an unwinder that hangs

char s_dumpPath[PATH_MAX];
char s_fallbackPath[PATH_MAX];
char s_dialogPath[PATH_MAX];
char s_message[512] = "ArkvaleTolma is crashed!";
char s_title[256] = "app crash";
char s_button[128] = "OK";
std::atomic<int> s_dumping{0};
std::atomic<pid_t> s_dumpingThread{0};
int s_signal = 0;

// --- the handler ---

pid_t threadId()
{
    return pid_t(::syscall(SYS_gettid));
}

void put(int fd, const char *text, size_t length)
{
    while (length > 0) {
        const ssize_t written = ::write(fd, text, length);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        text += written;
        length -= size_t(written);
    }
}

void put(int fd, const char *text)
{
    put(fd, text, ::strlen(text));
}

void putNumber(int fd, uint64_t number, unsigned base)
{
    char digits[24];
    char *end = digits + sizeof digits;
    char *begin = end;
    do {
        *--begin = "0123456789abcdef"[number % base];
        number /= base;
    } while (number > 0);
    put(fd, begin, size_t(end - begin));
}

void putField(int fd, const char *name, uint64_t number, unsigned base)
{
    put(fd, name);
    put(fd, base == 16 ? " 0x" : " ");
    putNumber(fd, number, base);
    put(fd, "\n");
}

uint64_t putRegisters(int fd, const ucontext_t *context)
{
    uint64_t stackPointer = 0;
    put(fd, "\n[registers]\n");
#if defined(__linux__) && defined(__x86_64__)
    static constexpr struct
    {
        const char *name;
        int index;
    } kRegisters[] = {{"rax", REG_RAX}, {"rbx", REG_RBX}, {"rcx", REG_RCX}, {"rdx", REG_RDX}, {"rsi", REG_RSI},
                      {"rdi", REG_RDI}, {"rbp", REG_RBP}, {"rsp", REG_RSP}, {"r8", REG_R8},   {"r9", REG_R9},
                      {"r10", REG_R10}, {"r11", REG_R11}, {"r12", REG_R12}, {"r13", REG_R13}, {"r14", REG_R14},
                      {"r15", REG_R15}, {"rip", REG_RIP}, {"efl", REG_EFL}, {"err", REG_ERR}, {"trapno", REG_TRAPNO},
                      {"cr2", REG_CR2}};
    for (const auto &r : kRegisters)
        putField(fd, r.name, uint64_t(context->uc_mcontext.gregs[r.index]), 16);
    stackPointer = uint64_t(context->uc_mcontext.gregs[REG_RSP]);
#elif defined(__linux__) && defined(__aarch64__)
    for (int i = 0; i < 31; ++i) {
        put(fd, "x");
        putNumber(fd, uint64_t(i), 10);
        putField(fd, "", context->uc_mcontext.regs[i], 16);
    }
    putField(fd, "sp", context->uc_mcontext.sp, 16);
    putField(fd, "pc", context->uc_mcontext.pc, 16);
    stackPointer = context->uc_mcontext.sp;
#else
    static_cast<void>(context);
#endif
    return stackPointer;
}

void putModules(int fd)
{
    put(fd, "\n[modules]\n");
    const int maps = ::open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    if (maps < 0)
        return;
    char block[4096];
    for (;;) {
        const ssize_t length = ::read(maps, block, sizeof block);
        if (length < 0 && errno == EINTR)
            continue;
        if (length <= 0)
            break;
        put(fd, block, size_t(length));
    }
    ::close(maps);
}

// Raw words of the stack, from which frames can be found where unwinding fails. A pipe tells which memory is readable.
void putStack(int fd, uint64_t stackPointer)
{
    put(fd, "\n[stack]\n");
    int probe[2];
    if (stackPointer == 0 || ::pipe(probe) != 0)
        return;
    stackPointer &= ~uint64_t(sizeof(void *) - 1);
    int unreadablePages = 0; // a stack that ran over points below its own end
    for (uint64_t at = stackPointer, end = at + kStackBytes; at < end;) {
        void *word = nullptr;
        // The bare call: a checking run-time would refuse to read what lies between variables.
        if (::syscall(SYS_write, probe[1], at, sizeof word) != long(sizeof word) ||
            ::read(probe[0], &word, sizeof word) != ssize_t(sizeof word)) {
            if (++unreadablePages > kMostUnreadablePages)
                break;
            at = (at | (kPage - 1)) + 1;
            end = at + kStackBytes;
            continue;
        }
        putNumber(fd, at, 16);
        putField(fd, "", reinterpret_cast<uint64_t>(word), 16);
        at += sizeof(void *);
    }
    ::close(probe[0]);
    ::close(probe[1]);
}

void putBacktrace(int fd)
{
    put(fd, "\n[backtrace]\n");
    void *frames[kMostFrames];
    const int count = ::backtrace(frames, kMostFrames);
    for (int i = 0; i < count; ++i)
        putField(fd, "#", reinterpret_cast<uint64_t>(frames[i]), 16);
}

int openDump()
{
    for (const char *path : {s_dumpPath, s_fallbackPath}) {
        if (!*path)
            continue;
        const int fd = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd >= 0)
            return fd;
    }
    return -1;
}

pid_t forkSafely()
{
#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 34)
    return ::_Fork(); // fork() runs handlers that take the allocator's lock
#else
    return ::fork();
#endif
}

void startDialog()
{
    if (!*s_dialogPath)
        return;
    const pid_t child = forkSafely();
    if (child != 0)
        return;
    ::setsid();
    for (int signal : kSignals)
        ::signal(signal, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::alarm(0);
    char *arguments[] = {s_dialogPath, s_message, s_title, s_button, nullptr};
    ::execve(s_dialogPath, arguments, environ);
    ::_exit(127);
}

[[noreturn]] void endProcess()
{
    ::alarm(0);
    startDialog();
    struct sigaction usual = {};
    usual.sa_handler = SIG_DFL;
    ::sigaction(s_signal, &usual, nullptr);
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, s_signal);
    ::raise(s_signal);
    ::pthread_sigmask(SIG_UNBLOCK, &mask, nullptr);
    ::_exit(128 + s_signal);
}

extern "C" void arkvaleAlarmSignal(int)
{
    endProcess();
}

extern "C" void arkvaleCrashSignal(int signal, siginfo_t *info, void *context)
{
    if (s_dumping.fetch_add(1) != 0) {
        // A crash while writing the dump: the dump ends here. A crash of another thread waits for the end.
        if (s_dumpingThread.load() == threadId())
            endProcess();
        for (;;)
            ::pause();
    }
    s_signal = signal;
    s_dumpingThread.store(threadId());
    struct sigaction limit = {};
    limit.sa_handler = arkvaleAlarmSignal;
    ::sigaction(SIGALRM, &limit, nullptr);
    ::alarm(kTimeLimit);

    const int fd = openDump();
    if (fd >= 0) {
        put(fd, "ArkvaleTolma crash report 1\n");
        putField(fd, "signal", uint64_t(signal), 10);
        putField(fd, "code", uint64_t(unsigned(info->si_code)), 10);
        putField(fd, "address", reinterpret_cast<uint64_t>(info->si_addr), 16);
        putField(fd, "process", uint64_t(::getpid()), 10);
        putField(fd, "thread", uint64_t(threadId()), 10);
        putField(fd, "time", uint64_t(::time(nullptr)), 10);
        const uint64_t stackPointer = putRegisters(fd, static_cast<const ucontext_t *>(context));
        putModules(fd);
        putStack(fd, stackPointer);
        putBacktrace(fd); // last, since walking a broken stack may itself fail
        put(fd, "\n[end]\n");
        ::close(fd);
    }
    endProcess();
}

// --- the preparation ---

void keep(char *target, size_t size, const QByteArray &text)
{
    std::memset(target, 0, size);
    // A path that does not fit would name something else; a text may be cut, between characters.
    int length = text.size();
    if (size_t(length) >= size) {
        length = int(size) - 1;
        while (length > 0 && (uchar(text.at(length)) & 0xc0) == 0x80)
            --length;
    }
    std::memcpy(target, text.constData(), size_t(length));
}

QByteArray executableFolder()
{
    char path[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0 || size_t(length) >= sizeof path)
        return {};
    const QByteArray whole(path, int(length));
    return whole.left(whole.lastIndexOf('/') + 1);
}

QByteArray stateFolder()
{
    QByteArray base = qgetenv("XDG_STATE_HOME");
    if (!base.startsWith('/'))
        base = qgetenv("HOME") + "/.local/state";
    if (!base.startsWith('/'))
        return {};
    QByteArray folder = base + "/ArkvaleTolma/";
    for (int slash = 1; (slash = folder.indexOf('/', slash)) > 0; ++slash)
        ::mkdir(folder.left(slash).constData(), 0700);
    return folder;
}

} // namespace

void CrashHandler::install()
{
    const QByteArray folder = executableFolder();
    const QByteArray fallback = stateFolder();
    keep(s_dumpPath, sizeof s_dumpPath, folder.isEmpty() ? folder : folder + "crash.dmp");
    keep(s_fallbackPath, sizeof s_fallbackPath, fallback.isEmpty() ? fallback : fallback + "crash.dmp");
    keep(s_dialogPath, sizeof s_dialogPath, folder.isEmpty() ? folder : folder + "ArkvaleTolmaDialog");

    // The first call loads the unwinder, which allocates.
    void *frame = nullptr;
    ::backtrace(&frame, 1);

    // Of its own, since a stack that ran over cannot carry the handler. Lives as long as the process.
    static char stackMemory[kAlternateStack];
    stack_t stack = {};
    stack.ss_sp = stackMemory;
    stack.ss_size = sizeof stackMemory;
    ::sigaltstack(&stack, nullptr);

    struct sigaction action = {};
    action.sa_sigaction = arkvaleCrashSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    sigemptyset(&action.sa_mask);
    for (int signal : kSignals)
        ::sigaction(signal, &action, nullptr);
}

void CrashHandler::setTexts(const QString &message, const QString &title, const QString &button)
{
    keep(s_message, sizeof s_message, message.toUtf8());
    keep(s_title, sizeof s_title, title.toUtf8());
    keep(s_button, sizeof s_button, button.toUtf8());
}
