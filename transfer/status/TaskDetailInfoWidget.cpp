#include "TaskDetailInfoWidget.h"

#include "DetailTexts.h"
#include "TransferTexts.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QVBoxLayout>
#include <QVariant>

namespace {

constexpr int kIcon = 16;

QPixmap icon(const QString &name)
{
    return QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/") + name).pixmap(kIcon, kIcon);
}

QString percent(double value)
{
    return QString::number(value, 'f', 2) + QStringLiteral(" %");
}

} // namespace

TaskDetailInfoWidget::TaskDetailInfoWidget(QWidget *parent)
    : QFrame(parent)
    , m_icon(new QLabel)
    , m_state(new QLabel)
    , m_warningIcon(new QLabel)
    , m_warning(new QLabel)
{
    setObjectName(QStringLiteral("widget_task_detail"));
    m_icon->setFixedSize(kIcon, kIcon);
    m_state->setObjectName(QStringLiteral("label_state"));
    m_state->setTextFormat(Qt::PlainText);
    m_state->setWordWrap(true);
    m_warning->setObjectName(QStringLiteral("label_warning"));
    m_warning->setProperty("warning", true);
    m_warning->setWordWrap(true);
    m_warningIcon->setPixmap(icon(QStringLiteral("warning.svg")));
    m_warningIcon->setFixedSize(kIcon, kIcon);

    auto *head = new QHBoxLayout;
    head->setSpacing(7);
    head->addWidget(m_icon, 0, Qt::AlignTop);
    head->addWidget(m_state, 1);
    auto *alarm = new QHBoxLayout;
    alarm->setSpacing(7);
    alarm->addWidget(m_warningIcon, 0, Qt::AlignTop);
    alarm->addWidget(m_warning, 1);
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(5);
    grid->setColumnStretch(1, 1);
    for (int row = 0; row < RowCount; ++row) {
        m_names << new QLabel;
        m_names.last()->setProperty("hint", true);
        m_values << new QLabel;
        m_values.last()->setTextFormat(Qt::PlainText);
        m_values.last()->setWordWrap(true);
        m_values.last()->setTextInteractionFlags(Qt::TextSelectableByMouse);
        grid->addWidget(m_names.last(), row, 0, Qt::AlignTop);
        grid->addWidget(m_values.last(), row, 1);
    }
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 10, 12, 10);
    layout->setSpacing(8);
    layout->addLayout(head);
    layout->addLayout(alarm);
    layout->addLayout(grid);
    layout->addStretch(1);
    retranslate();
}

void TaskDetailInfoWidget::retranslate()
{
    const QStringList names{tr("task :"),      tr("connect times :"), tr("loss :"),    tr("ack :"),   tr("sending :"),
                            tr("receiving :"), tr("sent again :"),    tr("carrier :"), tr("reason :")};
    for (int row = 0; row < RowCount; ++row)
        m_names.at(row)->setText(names.at(row));
}

void TaskDetailInfoWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QFrame::changeEvent(event);
}

QString TaskDetailInfoWidget::stateText(qint32 state)
{
    switch (state) {
    case ZpdtConnectionInfo::Connected:
        return tr("connected");
    case ZpdtConnectionInfo::Connecting:
        return tr("connecting");
    default:
        return tr("not connected");
    }
}

QString TaskDetailInfoWidget::stateIcon(qint32 state)
{
    switch (state) {
    case ZpdtConnectionInfo::Connected:
        return QStringLiteral("connected.svg");
    case ZpdtConnectionInfo::Connecting:
        return QStringLiteral("connecting.svg");
    default:
        return QStringLiteral("notconnected.svg");
    }
}

QString TaskDetailInfoWidget::warning(ConnectionHealth::Verdict verdict)
{
    switch (verdict) {
    case ConnectionHealth::Bad:
        return tr("The network is not good, please check the local network or parameter settings");
    case ConnectionHealth::OutOfReach:
        return tr("please check your network or firewall settings");
    case ConnectionHealth::Good:
        break;
    }
    return QString();
}

QString TaskDetailInfoWidget::reasonText(const QString &reason)
{
    if (reason == QLatin1String("idle"))
        return tr("nothing to transfer");
    return DetailTexts::inWords(reason);
}

void TaskDetailInfoWidget::setConnection(const ZpdtConnectionInfo &connection, const QString &centerName, qint64 tasks,
                                         ConnectionHealth::Verdict verdict)
{
    m_icon->setPixmap(icon(stateIcon(connection.state)));
    m_state->setText(QStringLiteral("%1: %2").arg(centerName, stateText(connection.state)));
    const QString alarm = warning(verdict);
    m_warning->setText(alarm);
    m_warning->setVisible(!alarm.isEmpty());
    m_warningIcon->setVisible(!alarm.isEmpty());

    const bool connected = connection.state == ZpdtConnectionInfo::Connected;
    const QString unknown = QStringLiteral("--");
    m_values.at(Task)->setText(QString::number(tasks));
    m_values.at(ConnectTimes)->setText(QString::number(connection.connectTimes));
    m_values.at(Loss)->setText(connected ? percent(connection.lossPercent) : unknown);
    m_values.at(Ack)->setText(connected && connection.roundTripMs >= 0.0
                                  ? tr("%1 ms").arg(QString::number(connection.roundTripMs, 'f', 1))
                                  : unknown);
    m_values.at(SendRate)->setText(connected ? TransferTexts::speed(connection.sendRateMbps) : unknown);
    m_values.at(ReceiveRate)->setText(connected ? TransferTexts::speed(connection.receiveRateMbps) : unknown);
    m_values.at(Retransmitted)->setText(connected ? percent(connection.retransmitPercent) : unknown);
    m_values.at(Carrier)->setText(connection.carrier.isEmpty() ? unknown : connection.carrier);
    m_values.at(Reason)->setText(connection.reason.isEmpty() ? unknown : reasonText(connection.reason));
}
