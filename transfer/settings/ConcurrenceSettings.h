#pragma once

#include <QWidget>

class QLabel;
class QSpinBox;

/// The settings page for how many tasks run at once in each direction, for the whole installation. Nothing is kept
/// before ApplySetting(). GUI thread only.
class ConcurrenceSettings : public QWidget
{
    Q_OBJECT

public:
    explicit ConcurrenceSettings(QWidget *parent = nullptr);

public slots:
    void ApplySetting();

signals:
    void concurrenceChanged();

private:
    QSpinBox *m_upload;
    QSpinBox *m_download;
    QLabel *m_notice;
};
