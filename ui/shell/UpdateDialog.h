#pragma once

#include "DialogFrame.h"

#include <QDialog>

class QLabel;
class QProgressBar;
class QPushButton;
class QTextBrowser;

/// Tells how the look for a new version goes: asking, fetching, and what came of it; then lets the person have it
/// installed. Not modal: the work goes on meanwhile, and closing it stops nothing. The updater outlives it or goes
/// first. GUI thread only.
class UpdateDialog : public QDialog
{
    Q_OBJECT

public:
    /// @param updater object with Update(), InstallOnExit(), canInstall(), UpdateFinished(int) and
    /// UpdateProgress(qint64, qint64)
    UpdateDialog(QObject *updater, QWidget *parent);

    QString text() const;

public slots:
    /// @param retcode as UpdateFinished tells it
    void showResult(int retcode);
    void showProgress(qint64 received, qint64 total);

signals:
    /// The program is to end now, and the new version to be installed.
    void installNow();

protected:
    void showEvent(QShowEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    bool canInstall() const;
    void retranslate();
    void installLater();

    DialogFrame m_frame;
    QObject *m_updater;
    int m_result = -1; ///< as UpdateFinished told it; -1: not yet
    qint64 m_received = -1;
    qint64 m_total = -1;
    QLabel *m_text;
    QProgressBar *m_bar;
    QTextBrowser *m_notes;
    QPushButton *m_now;
    QPushButton *m_later;
};
