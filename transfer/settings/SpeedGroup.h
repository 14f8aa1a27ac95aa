#pragma once

#include <QGroupBox>

class QDoubleSpinBox;
class QLabel;
class QRadioButton;

/// The speed settings of one direction: mode and target speed. Knows nothing of where they are kept. GUI thread only.
class SpeedGroup : public QGroupBox
{
    Q_OBJECT

public:
    /// @param prefix of the object names of its fields
    SpeedGroup(const QString &prefix, const QString &title, QWidget *parent = nullptr);

    /// @param mode "fair" or "fixed"; with any other text neither button is checked
    /// @param speed KB/s, shown as the limit where it is above it
    void setSpeed(const QString &mode, qint64 speed);
    /// @param limit KB/s; 0: no limit known
    void setLimit(qint64 limit);

    /// What the checked button stands for; @p stored when none is checked.
    QString mode(const QString &stored) const;
    /// KB/s. What was shown and not touched comes back as it was, so that rounding never creeps.
    qint64 speed() const;

    /// 128 KB/s for each Mbps, cut to whole KB/s.
    static qint64 toKilobytes(double megabits);
    static double toMegabits(qint64 kilobytes);

private:
    QRadioButton *m_smart;
    QRadioButton *m_highSpeed;
    QDoubleSpinBox *m_target;
    QLabel *m_limitText;
    qint64 m_limit = 0;
    qint64 m_shownSpeed = 0;
    double m_shownTarget = 0.0;
};
