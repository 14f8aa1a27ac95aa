#include "TransferStatusDockWidget.h"

#include "GlobalConfig.h"
#include "TaskDetailInfoWidget.h"

#include <QBoxLayout>
#include <QButtonGroup>
#include <QEvent>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QVariant>

#include <algorithm>

namespace {

constexpr int kWidth = 360;
constexpr int kAroundText = 68; ///< margins, icon and padding of a line
constexpr int kLeastName = 60;
constexpr int kBesideText = 6; ///< from the top of a line to its text

} // namespace

TransferStatusDockWidget::TransferStatusDockWidget(const TaskCount &tasks, QWidget *parent)
    : QFrame(parent)
    , m_taskCount(tasks)
    , m_title(new QLabel)
    , m_close(new QToolButton)
    , m_label(new QLabel)
    , m_none(new QLabel)
    , m_row(new QBoxLayout(QBoxLayout::TopToBottom))
    , m_lines(new QVBoxLayout)
    , m_group(new QButtonGroup(this))
    , m_detail(new TaskDetailInfoWidget)
{
    setObjectName(QStringLiteral("dock_transfer_status"));
    m_clock.start();
    m_title->setObjectName(QStringLiteral("label_dock_title"));
    m_close->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/close.svg")));
    m_close->setIconSize(QSize(12, 12));
    m_label->setProperty("hint", true);
    m_none->setProperty("hint", true);
    m_none->setWordWrap(true);
    m_lines->setSpacing(4);
    auto *head = new QHBoxLayout;
    head->addWidget(m_title, 1);
    head->addWidget(m_close);
    m_row->setSpacing(6);
    m_row->addWidget(m_label, 0, Qt::AlignTop);
    m_row->addLayout(m_lines, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 8, 12, 12);
    layout->setSpacing(8);
    layout->addLayout(head);
    layout->addLayout(m_row);
    layout->addWidget(m_none);
    layout->addWidget(m_detail);
    layout->addStretch(1);
    setFixedWidth(kWidth);

    connect(m_close, &QToolButton::clicked, this, &TransferStatusDockWidget::closed);
    connect(m_group, &QButtonGroup::idClicked, this, [this](int place) {
        if (place >= 0 && place < m_connections.size())
            m_chosen = ConnectionHealth::keyOf(m_connections.at(place));
        refresh();
    });
    retranslate();
}

QString TransferStatusDockWidget::nameOf(const ZpdtConnectionInfo &connection)
{
    const QString name = GlobalConfig::instance()->subCenter(connection.subCenterId).name;
    return name.isEmpty() ? connection.subCenterId : name;
}

void TransferStatusDockWidget::retranslate()
{
    m_title->setText(tr("Transfer Status Info"));
    m_close->setToolTip(tr("Close"));
    m_close->setAccessibleName(tr("Close"));
    m_label->setText(tr("sub-center"));
    m_none->setText(tr("No connection yet. One is made with the first transfer."));
    // The label and the lines stand in one row where the language is short enough for it.
    const bool english = GlobalConfig::instance()->language() == QLatin1String("en_us");
    m_row->setDirection(english ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    m_label->setContentsMargins(0, english ? 0 : kBesideText, 0, 0);
    rebuild();
}

void TransferStatusDockWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QFrame::changeEvent(event);
}

void TransferStatusDockWidget::OnConnectionInfoChanged(QList<ZpdtConnectionInfo> connections)
{
    const bool others = !std::equal(connections.begin(), connections.end(), m_connections.begin(), m_connections.end(),
                                    [](const ZpdtConnectionInfo &a, const ZpdtConnectionInfo &b) {
                                        return ConnectionHealth::keyOf(a) == ConnectionHealth::keyOf(b);
                                    });
    m_connections = connections;
    m_verdicts.clear();
    ConnectionHealth::Verdict worst = ConnectionHealth::Good;
    for (const ZpdtConnectionInfo &connection : qAsConst(m_connections)) {
        m_verdicts << m_health.judge(connection, m_taskCount(connection.subCenterId) > 0, m_clock.elapsed());
        worst = std::max(worst, m_verdicts.last());
    }
    if (others)
        rebuild();
    else if (isVisible())
        refresh();
    if (worst != m_worst) {
        m_worst = worst;
        emit worstChanged();
    }
}

void TransferStatusDockWidget::rebuild()
{
    for (QPushButton *line : qAsConst(m_buttons))
        delete line;
    m_buttons.clear();
    for (int i = 0; i < m_connections.size(); ++i) {
        auto *line = new QPushButton;
        line->setObjectName(QStringLiteral("line_connection"));
        line->setCheckable(true);
        m_group->addButton(line, i);
        m_lines->addWidget(line);
        m_buttons << line;
    }
    const bool any = !m_connections.isEmpty();
    m_label->setVisible(any);
    m_none->setVisible(!any);
    m_detail->setVisible(any);
    refresh();
}

void TransferStatusDockWidget::refresh()
{
    if (m_connections.isEmpty())
        return;
    int shown = 0;
    const bool beside = m_row->direction() == QBoxLayout::LeftToRight;
    for (int i = 0; i < m_connections.size(); ++i) {
        const ZpdtConnectionInfo &connection = m_connections.at(i);
        QPushButton *line = m_buttons.at(i);
        const auto text = [&connection](const QString &name) {
            return QStringLiteral("%1:%2 (%3:%4)")
                .arg(name, TaskDetailInfoWidget::stateText(connection.state), connection.host, connection.port);
        };
        const QString name = nameOf(connection);
        const int room = kWidth - kAroundText - (beside ? m_label->sizeHint().width() + 6 : 0);
        // What does not fit is cut out of the name: the state is what is looked for.
        const int rest = fontMetrics().horizontalAdvance(text(QString()));
        const QString shortened = fontMetrics().elidedText(name, Qt::ElideRight, qMax(kLeastName, room - rest));
        // A name may hold what a button takes for the mark of a shortcut.
        line->setText(fontMetrics()
                          .elidedText(text(shortened), Qt::ElideRight, room)
                          .replace(QLatin1Char('&'), QLatin1String("&&")));
        line->setToolTip(text(name).toHtmlEscaped());
        line->setIcon(
            QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/") + (m_verdicts.value(i) == ConnectionHealth::Good
                                                                    ? TaskDetailInfoWidget::stateIcon(connection.state)
                                                                    : QStringLiteral("warning.svg"))));
        if (ConnectionHealth::keyOf(connection) == m_chosen)
            shown = i;
    }
    m_buttons.at(shown)->setChecked(true);
    const ZpdtConnectionInfo &connection = m_connections.at(shown);
    m_detail->setConnection(connection, nameOf(connection), m_taskCount(connection.subCenterId),
                            m_verdicts.value(shown));
}
