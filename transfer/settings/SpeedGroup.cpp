#include "SpeedGroup.h"

#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>

namespace {

constexpr double kKilobytesPerMegabit = 1024 * 0.125;
constexpr double kLeast = 0.1;                // Mbps
constexpr double kMostWithoutLimit = 40000.0; // Mbps

QString modeFair()
{
    return QStringLiteral("fair");
}

QString modeFixed()
{
    return QStringLiteral("fixed");
}

QLabel *hint(const QString &text)
{
    auto *label = new QLabel(text);
    label->setProperty("hint", true);
    label->setWordWrap(true);
    return label;
}

} // namespace

SpeedGroup::SpeedGroup(const QString &prefix, const QString &title, QWidget *parent)
    : QGroupBox(title, parent)
    , m_smart(new QRadioButton(tr("Smart")))
    , m_highSpeed(new QRadioButton(tr("High-speed")))
    , m_target(new QDoubleSpinBox)
    , m_limitText(new QLabel)
{
    setObjectName(prefix);
    m_smart->setObjectName(prefix + QStringLiteral("_smart"));
    m_highSpeed->setObjectName(prefix + QStringLiteral("_highspeed"));
    m_target->setObjectName(prefix + QStringLiteral("_target"));
    m_limitText->setObjectName(prefix + QStringLiteral("_limit"));
    m_target->setDecimals(2);
    m_target->setSuffix(QStringLiteral(" Mbps"));
    m_target->setMinimumWidth(130);
    m_target->setStepType(QAbstractSpinBox::AdaptiveDecimalStepType);
    m_limitText->setProperty("hint", true);

    auto *targetLabel = new QLabel(tr("Target-speed"));
    targetLabel->setBuddy(m_target);
    auto *target = new QHBoxLayout;
    target->setSpacing(8);
    target->addWidget(m_target);
    target->addWidget(m_limitText);
    target->addWidget(hint(tr("the target speed is the upper limit of the speed")), 1);

    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(14, 10, 14, 12);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(8);
    grid->setColumnStretch(1, 1);
    grid->addWidget(m_smart, 0, 0, Qt::AlignTop);
    grid->addWidget(hint(tr("According to the network situation, the smart mode adjusts the transmission speed "
                            "dynamically")),
                    0, 1);
    grid->addWidget(m_highSpeed, 1, 0, Qt::AlignTop);
    grid->addWidget(hint(tr("High speed mode will seize the network to send data, in some network conditions can "
                            "effectively enhance the transmission rate of 5-10 times")),
                    1, 1);
    grid->addWidget(targetLabel, 2, 0);
    grid->addLayout(target, 2, 1);
    setLimit(0);
}

qint64 SpeedGroup::toKilobytes(double megabits)
{
    return static_cast<qint64>(megabits * kKilobytesPerMegabit);
}

double SpeedGroup::toMegabits(qint64 kilobytes)
{
    return static_cast<double>(kilobytes) * (1.0 / 1024.0) * 8.0;
}

void SpeedGroup::setSpeed(const QString &mode, qint64 speed)
{
    for (QRadioButton *button : {m_smart, m_highSpeed}) {
        button->setAutoExclusive(false);
        button->setChecked(mode == (button == m_smart ? modeFair() : modeFixed()));
        button->setAutoExclusive(true);
    }
    m_shownSpeed = m_limit > 0 ? qMin(speed, m_limit) : speed;
    m_target->setValue(toMegabits(m_shownSpeed));
    m_shownTarget = m_target->value();
}

void SpeedGroup::setLimit(qint64 limit)
{
    m_limit = limit;
    const double most = limit > 0 ? toMegabits(limit) : kMostWithoutLimit;
    const double before = m_target->value();
    m_target->setRange(qMin(kLeast, most), most);
    // The field holds two decimals; a maximum that is not whole hundredths must not let more through.
    m_limitText->setText(tr("( Max Target-speed: %1 Mbps )").arg(QString::number(m_target->maximum(), 'g', 8)));
    m_limitText->setVisible(limit > 0);
    if (m_target->value() < before) {
        m_shownSpeed = limit;
        m_shownTarget = m_target->value();
    }
}

QString SpeedGroup::mode(const QString &stored) const
{
    if (m_smart->isChecked())
        return modeFair();
    return m_highSpeed->isChecked() ? modeFixed() : stored;
}

qint64 SpeedGroup::speed() const
{
    if (qFuzzyCompare(m_target->value(), m_shownTarget))
        return m_shownSpeed;
    const qint64 speed = toKilobytes(m_target->value());
    return m_limit > 0 ? qMin(speed, m_limit) : speed;
}
