#pragma once

#include "DialogFrame.h"

#include <QDialog>
#include <QTimer>

class QLabel;
class QProgressBar;

/// Shows how far the fetch of one file is, once it has taken a moment, and lets the person cancel it. Does not hold up
/// its window. GUI thread only.
class PreviewProgress : public QDialog
{
    Q_OBJECT

public:
    PreviewProgress(const QString &name, QWidget *parent);

public slots:
    /// Bytes.
    void setProgress(qint64 done, qint64 total);

signals:
    void cancelled();

protected:
    void showEvent(QShowEvent *event) override;

private:
    DialogFrame m_frame;
    QProgressBar *m_bar;
    QLabel *m_text;
    QTimer m_moment;
};
