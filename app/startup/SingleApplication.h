#pragma once

#include <QApplication>
#include <QPointer>
#include <QWidget>

class QLocalServer;

/// The application object, one per user session: a second process finds the first through a local socket named after
/// the executable, and the first then brings its window forward. GUI thread only.
class SingleApplication : public QApplication
{
    Q_OBJECT

public:
    /// Looks for a running instance (at most 500 ms) and says so on the standard error stream when there is one.
    SingleApplication(int &argc, char **argv);

    /// Another instance answered; this process should end.
    bool isRunning() const { return m_isRunning; }
    /// The window that a second instance brings forward; null while there is none. It may go away by itself.
    void setWindow(QWidget *window) { m_window = window; }
    /// What a second instance brings forward while there is no such window.
    void setDialog(QWidget *dialog) { m_dialog = dialog; }

private slots:
    void _newLocalConnection();

private:
    bool answers(int milliseconds) const;
    void listen();
    void raiseWindow();

    bool m_isRunning = false;
    QString m_serverName;
    QLocalServer *m_server = nullptr;
    QPointer<QWidget> m_window;
    QPointer<QWidget> m_dialog;
};
