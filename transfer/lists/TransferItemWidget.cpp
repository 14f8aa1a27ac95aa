#include "TransferItemWidget.h"

#include "TransferTaskModel.h"
#include "TransferTexts.h"

#include <QIcon>
#include <QProgressBar>
#include <QStyle>

namespace {

constexpr int kIcon = 24;
constexpr int kGap = 8;
constexpr int kBar = 6;
constexpr int kBarSteps = 1000;

} // namespace

TransferItemWidget::TransferItemWidget(QWidget *parent)
    : RowWidget(parent)
    , m_icon(new QLabel(this))
    , m_name(new ElidedLabel(this, QStringLiteral("label_name"), Qt::ElideMiddle))
    , m_target(new ElidedLabel(this, QStringLiteral("label_target"), Qt::ElideMiddle))
    , m_progress(new ElidedLabel(this, QStringLiteral("label_progress")))
    , m_bar(new QProgressBar(this))
    , m_speed(new ElidedLabel(this, QStringLiteral("label_speed")))
    , m_left(new ElidedLabel(this, QStringLiteral("label_left")))
    , m_status(new ElidedLabel(this, QStringLiteral("label_status")))
    , m_reason(new ElidedLabel(this, QStringLiteral("label_reason")))
    , m_toggle(addButton(QStringLiteral("btn_toggle")))
    , m_cancel(addButton(QStringLiteral("btn_cancel")))
{
    m_target->setProperty("hint", true);
    m_reason->setProperty("warning", true);
    m_bar->setRange(0, kBarSteps);
    m_bar->setTextVisible(false);
    m_toggle->setCheckable(true);
    setIcon(m_cancel, QStringLiteral("cancel.svg"));
    connect(m_toggle, &QToolButton::clicked, this, &TransferItemWidget::toggle);
    connect(m_cancel, &QToolButton::clicked, this, &TransferItemWidget::ClickCancel);
}

void TransferItemWidget::showRow(const QModelIndex &index)
{
    setTask(index.data(TransferTaskModel::TaskRole).value<TaskRecord>(),
            index.data(TransferTaskModel::ProgressRole).value<ZpdtProgress>());
}

void TransferItemWidget::setTask(const TaskRecord &task, const ZpdtProgress &progress)
{
    if (!m_task.sameTask(task)) {
        // A click that began on another task's row ends nowhere.
        m_toggle->setDown(false);
        m_cancel->setDown(false);
        m_icon->setPixmap(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/file.svg")).pixmap(kIcon, kIcon));
        m_name->setText(TransferTexts::taskName(task));
        m_target->setText(task.Dest);
    }
    m_task = task;
    setStatus(task.Status);
    m_progress->setText(TransferTexts::progress(task.Offset, task.FileSize));
    m_bar->setValue(TransferTexts::share(task, kBarSteps));
    const bool moves = task.Status == ZPDT_TRANSFERRING;
    if (moves)
        m_speed->setText(TransferTexts::speed(progress.speed));
    m_left->setText(moves && !progress.scanning ? TransferTexts::duration(progress.secondsLeft) : QString());
    const bool trouble = progress.error != ZpdtError::None && task.Status != ZPDT_CANCELING;
    m_reason->setText(trouble                   ? TransferTexts::reason(progress.error)
                      : progress.filesTotal > 1 ? tr("%1 of %2 files").arg(progress.filesDone).arg(progress.filesTotal)
                                                : QString());
    placeStatus();
    if (m_reason->property("warning").toBool() != trouble) {
        m_reason->setProperty("warning", trouble);
        m_reason->setProperty("hint", !trouble);
        // Takes the colour of its new kind.
        m_reason->style()->unpolish(m_reason);
        m_reason->style()->polish(m_reason);
    }
}

void TransferItemWidget::setStatus(qint32 status)
{
    const bool paused = status == ZPDT_PAUSED;
    m_status->setText(TransferTexts::status(status));
    m_speed->setText(QStringLiteral("--"));
    setIcon(m_toggle, paused ? QStringLiteral("start.svg") : QStringLiteral("pause.svg"));
    m_toggle->setChecked(!paused);
    m_toggle->setEnabled(status != ZPDT_PAUSING && status != ZPDT_CANCELING);
    m_toggle->setToolTip(TransferTexts::toggleTip(status));
    m_toggle->setAccessibleName(m_toggle->toolTip());
    m_cancel->setEnabled(status != ZPDT_CANCELING);
    m_cancel->setToolTip(tr("Cancel"));
    m_cancel->setAccessibleName(m_cancel->toolTip());
}

void TransferItemWidget::arrange(const QVector<QRect> &cells)
{
    const auto cell = [&cells](int column) { return cells.at(column).adjusted(kGap, 0, -kGap, -1); };
    const QRect name = cell(TransferTaskModel::NameColumn);
    m_icon->setGeometry(name.left(), name.center().y() - kIcon / 2, kIcon, kIcon);
    placeLines(name.adjusted(kIcon + kGap, 0, 0, 0), m_name, m_target);
    const QRect progress = cell(TransferTaskModel::ProgressColumn);
    placeLines(progress, m_progress, m_bar);
    m_bar->setGeometry(progress.left(), m_bar->y() + kBar / 2, progress.width(), kBar);
    m_speed->setGeometry(cell(TransferTaskModel::SpeedColumn));
    m_left->setGeometry(cell(TransferTaskModel::LeftColumn));
    m_statusCell = cell(TransferTaskModel::StatusColumn);
    placeStatus();
    placeButtons(cells.at(TransferTaskModel::ActionColumn), {m_toggle, m_cancel});
}

void TransferItemWidget::placeStatus()
{
    placeLines(m_statusCell, m_status, m_reason);
    m_reason->setVisible(!m_reason->text().isEmpty());
    if (m_reason->text().isEmpty())
        m_status->setGeometry(m_statusCell);
}

void TransferItemWidget::toggle()
{
    if (m_task.Status == ZPDT_PAUSED)
        ClickStart();
    else
        ClickPause();
    // The button shows what is, not what was asked for.
    m_toggle->setChecked(m_task.Status != ZPDT_PAUSED);
}

void TransferItemWidget::ClickStart()
{
    emit sigStartTask(m_task);
}

void TransferItemWidget::ClickPause()
{
    emit sigPauseTask(m_task);
}

void TransferItemWidget::ClickCancel()
{
    emit sigCancelTask(m_task);
}
