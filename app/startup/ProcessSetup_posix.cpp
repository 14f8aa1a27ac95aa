#include "ProcessSetup.h"

#include <QGuiApplication>
#include <QPalette>
#include <QSocketNotifier>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

namespace {

int s_writeEnd = -1;

extern "C" void arkvaleTerminationSignal(int)
{
    const int saved = errno;
    const char byte = 1;
    const ssize_t ignored = ::write(s_writeEnd, &byte, 1);
    static_cast<void>(ignored);
    errno = saved;
}

} // namespace

void ProcessSetup::enableDebugPrivilege() {}

void ProcessSetup::setLocaleCodec()
{
    std::setlocale(LC_CTYPE, "");
    if (std::strcmp(::nl_langinfo(CODESET), "ANSI_X3.4-1968") == 0)
        ::setenv("LC_ALL", "C.UTF-8", 1);
}

bool ProcessSetup::prefersDark()
{
    if (qgetenv("GTK_THEME").toLower().endsWith("dark"))
        return true;
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

struct TerminationRequest::State
{
    int pipe[2] = {-1, -1};
    struct sigaction oldTerm = {};
    struct sigaction oldInt = {};
};

TerminationRequest::TerminationRequest(QObject *parent)
    : QObject(parent)
    , m_state(new State)
{
    if (::pipe(m_state->pipe) != 0)
        return;
    for (int end : m_state->pipe) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    s_writeEnd = m_state->pipe[1];
    auto *notifier = new QSocketNotifier(m_state->pipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        char bytes[16];
        while (::read(m_state->pipe[0], bytes, sizeof bytes) > 0) {
        }
        emit requested();
    });
    struct sigaction action = {};
    action.sa_handler = arkvaleTerminationSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGTERM, &action, &m_state->oldTerm);
    ::sigaction(SIGINT, &action, &m_state->oldInt);
}

TerminationRequest::~TerminationRequest()
{
    if (m_state->pipe[0] >= 0) {
        ::sigaction(SIGTERM, &m_state->oldTerm, nullptr);
        ::sigaction(SIGINT, &m_state->oldInt, nullptr);
        s_writeEnd = -1;
        ::close(m_state->pipe[0]);
        ::close(m_state->pipe[1]);
    }
    delete m_state;
}
