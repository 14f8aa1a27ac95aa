#include "SingleApplication.h"

#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTimer>

#include <cstdio>

namespace {

constexpr int kConnectTime = 500; // ms
constexpr int kWordTime = 1000;   // ms

} // namespace

SingleApplication::SingleApplication(int &argc, char **argv)
    : QApplication(argc, argv)
    , m_serverName(QFileInfo(applicationFilePath()).fileName())
{
    // Every wait of the program is a loop of its own; closing a window must end none of them.
    setQuitOnLastWindowClosed(false);
    m_isRunning = answers(kConnectTime);
    if (!m_isRunning)
        listen();
    if (m_isRunning)
        std::fprintf(stderr, "%s already running.\n", m_serverName.toUtf8().constData());
}

bool SingleApplication::answers(int milliseconds) const
{
    QLocalSocket socket;
    socket.connectToServer(m_serverName, QIODevice::ReadWrite);
    return socket.waitForConnected(milliseconds);
}

void SingleApplication::listen()
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, &SingleApplication::_newLocalConnection);
    if (m_server->listen(m_serverName) || m_server->serverError() != QAbstractSocket::AddressInUseError)
        return;
    // Left behind by a crash, unless an instance that started together with this one was faster.
    if (answers(kConnectTime)) {
        m_isRunning = true;
        return;
    }
    QLocalServer::removeServer(m_serverName);
    m_server->listen(m_serverName);
}

void SingleApplication::_newLocalConnection()
{
    QLocalSocket *socket = m_server->nextPendingConnection();
    if (!socket)
        return;
    // The bare connection is the message. Its end, a word, or a second's silence: whatever comes first, without
    // making the window wait.
    auto *patience = new QTimer(socket);
    patience->setSingleShot(true);
    const auto done = [this, socket, patience] {
        patience->stop();
        socket->disconnect(this);
        socket->deleteLater();
        raiseWindow();
    };
    connect(socket, &QLocalSocket::readyRead, this, done);
    connect(socket, &QLocalSocket::disconnected, this, done);
    connect(patience, &QTimer::timeout, this, done);
    patience->start(kWordTime);
    if (socket->state() != QLocalSocket::ConnectedState)
        done();
}

void SingleApplication::raiseWindow()
{
    if (!m_window) {
        // Before a login there is at most the login dialog, which has one size. Started by a web page it is hidden, and
        // a person who starts the program meanwhile wants to see it.
        if (m_dialog) {
            m_dialog->setWindowState(m_dialog->windowState() & ~Qt::WindowMinimized);
            m_dialog->show();
            m_dialog->raise();
            m_dialog->activateWindow();
        }
        return;
    }
    // Through both states, since window managers refuse to bring forward a window that merely asks.
    if (m_window->isMaximized()) {
        m_window->showNormal();
        m_window->showMaximized();
    } else {
        m_window->showMaximized();
        m_window->showNormal();
    }
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}
