#include "ImageWorkers.h"

#include "ThumbnailWire.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace arkvale::service {

namespace {

using Clock = std::chrono::steady_clock;
using thumbnails::Reply;
using thumbnails::Request;

bool sendRequest(int socket, const Request &request, int file)
{
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    iovec piece{const_cast<Request *>(&request), sizeof(request)};
    msghdr message = {};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    cmsghdr *header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(header), &file, sizeof(file));
    return sendmsg(socket, &message, MSG_NOSIGNAL) == static_cast<ssize_t>(sizeof(request));
}

bool receiveAll(int socket, void *data, std::size_t size, Clock::time_point deadline)
{
    char *at = static_cast<char *>(data);
    while (size > 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd waiting{socket, POLLIN, 0};
        const int ready = left > 0 ? poll(&waiting, 1, static_cast<int>(left)) : 0;
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return false;
        const ssize_t n = recv(socket, at, size, 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        at += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace

ImageWorkers::ImageWorkers(Options options)
    : m_options(std::move(options))
    , m_workers(m_options.processes)
{
}

ImageWorkers::~ImageWorkers()
{
    for (Worker &worker : m_workers)
        end(worker, false);
}

bool ImageWorkers::start(Worker &worker) const
{
    int ends[2] = {-1, -1};
    if (m_options.program.empty() || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return false;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    // Away from the numbers that the actions below give anew.
    const int theirs = fcntl(ends[1], F_DUPFD_CLOEXEC, 10);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_adddup2(&actions, 0, 1);
    posix_spawn_file_actions_adddup2(&actions, 0, 2);
    posix_spawn_file_actions_adddup2(&actions, theirs, thumbnails::kSocket);
    posix_spawn_file_actions_addclosefrom_np(&actions, thumbnails::kSocket + 1);
    // The service's own choice of signals, such as a blocked SIGTERM, is not for the child.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::string program = m_options.program;
    char *arguments[] = {&program[0], nullptr};
    pid_t pid = -1;
    const int code =
        theirs < 0 ? EMFILE : posix_spawn(&pid, program.c_str(), &actions, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    if (theirs >= 0)
        ::close(theirs);
    if (code != 0) {
        ::close(ends[0]);
        return false;
    }
    worker.pid = pid;
    worker.socket = ends[0];
    return true;
}

void ImageWorkers::end(Worker &worker, bool atOnce)
{
    if (worker.pid < 0)
        return;
    // Without its socket an idle process ends by itself.
    ::close(worker.socket);
    if (atOnce)
        kill(static_cast<pid_t>(worker.pid), SIGKILL);
    int status = 0;
    while (waitpid(static_cast<pid_t>(worker.pid), &status, 0) < 0 && errno == EINTR) {
    }
    worker.pid = -1;
    worker.socket = -1;
}

Outcome ImageWorkers::render(const zpdt::SafeFile &file, const std::string &format, unsigned width, unsigned height,
                             std::string &png)
{
    Worker *worker = nullptr;
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        const auto isFree = [&] {
            const auto found =
                std::find_if(m_workers.begin(), m_workers.end(), [](const Worker &w) { return !w.busy; });
            worker = found == m_workers.end() ? nullptr : &*found;
            return worker != nullptr;
        };
        if (!m_freed.wait_for(lock, m_options.time, isFree))
            return Outcome::failure(503, "busy", "Too many images are being read.");
        worker->busy = true;
    }
    Request request;
    request.width = width;
    request.height = height;
    request.seconds = static_cast<std::uint32_t>(m_options.time.count() / 1000 + 5);
    std::strncpy(request.format, format.c_str(), sizeof(request.format) - 1);

    Outcome outcome = Outcome::failure(422, "bad-image", "The image cannot be read.");
    const auto deadline = Clock::now() + m_options.time;
    const int fd = static_cast<int>(file.native());
    bool sent = worker->pid >= 0 && sendRequest(worker->socket, request, fd);
    if (!sent) {
        // Not started yet, or it ended between two images.
        end(*worker, true);
        sent = start(*worker) && sendRequest(worker->socket, request, fd);
    }
    Reply reply;
    if (!sent) {
        outcome = Outcome::failure(503, "no-thumbnails", "The service cannot read images now.");
        end(*worker, true);
    } else if (!receiveAll(worker->socket, &reply, sizeof(reply), deadline) || reply.size > thumbnails::kMaxReply) {
        end(*worker, true);
    } else if (reply.decoded == 1) {
        png.resize(reply.size);
        if (receiveAll(worker->socket, &png[0], png.size(), deadline))
            outcome = Outcome();
        else
            end(*worker, true);
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        worker->busy = false;
    }
    m_freed.notify_one();
    return outcome;
}

} // namespace arkvale::service
