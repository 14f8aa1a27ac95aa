#include "FinishedItemWidget.h"

#include "DesktopFiles.h"
#include "FinishedTaskModel.h"
#include "MsgDlg.h"
#include "TransferTexts.h"

#include <QFileInfo>
#include <QIcon>

namespace {

constexpr int kIcon = 24;
constexpr int kGap = 8;

void tellMissing(QWidget *window)
{
    MsgDlg notice(window);
    notice.setTitle(FinishedItemWidget::tr("Error"));
    notice.setText(FinishedItemWidget::tr("File not found!"));
    notice.setButtonVisible(QStringLiteral("ok"), false);
    notice.setButtonText(QStringLiteral("cancel"), FinishedItemWidget::tr("cancel"));
    notice.exec();
}

} // namespace

FinishedItemWidget::FinishedItemWidget(QWidget *parent)
    : RowWidget(parent)
    , m_icon(new QLabel(this))
    , m_name(new ElidedLabel(this, QStringLiteral("label_name"), Qt::ElideMiddle))
    , m_target(new ElidedLabel(this, QStringLiteral("label_target"), Qt::ElideMiddle))
    , m_size(new ElidedLabel(this, QStringLiteral("label_size")))
    , m_center(new ElidedLabel(this, QStringLiteral("label_center")))
    , m_time(new ElidedLabel(this, QStringLiteral("label_time")))
    , m_result(new ElidedLabel(this, QStringLiteral("label_result")))
    , m_reason(new ElidedLabel(this, QStringLiteral("label_reason")))
    , m_open(addButton(QStringLiteral("btn_open")))
    , m_folder(addButton(QStringLiteral("btn_folder")))
    , m_retry(addButton(QStringLiteral("btn_retry")))
    , m_delete(addButton(QStringLiteral("btn_delete")))
{
    m_target->setProperty("hint", true);
    m_reason->setProperty("warning", true);
    setIcon(m_open, QStringLiteral("eye.svg"));
    setIcon(m_folder, QStringLiteral("folder.svg"));
    setIcon(m_retry, QStringLiteral("retry.svg"));
    setIcon(m_delete, QStringLiteral("delete.svg"));
    connect(m_open, &QToolButton::clicked, this, &FinishedItemWidget::OpenFile);
    connect(m_folder, &QToolButton::clicked, this, &FinishedItemWidget::OpenFolder);
    connect(m_retry, &QToolButton::clicked, this, [this] { emit sigRetryTask(m_task); });
    connect(m_delete, &QToolButton::clicked, this, [this] { emit sigRemove(m_task); });
}

void FinishedItemWidget::showRow(const QModelIndex &index)
{
    const TaskRecord task = index.data(FinishedTaskModel::TaskRole).value<TaskRecord>();
    const bool success = task.Status == ZPDT_SUCCESS;
    const auto text = [&index](int column) { return index.sibling(index.row(), column).data().toString(); };
    if (!m_task.sameTask(task)) {
        for (QToolButton *button : {m_open, m_folder, m_retry, m_delete})
            button->setDown(false);
        m_icon->setPixmap(index.data(Qt::DecorationRole).value<QIcon>().pixmap(kIcon, kIcon));
        m_name->setText(text(FinishedTaskModel::NameColumn));
        m_target->setText(task.Dest);
    }
    m_task = task;
    m_size->setText(text(FinishedTaskModel::SizeColumn));
    m_center->setText(text(FinishedTaskModel::CenterColumn));
    m_time->setText(text(FinishedTaskModel::TimeColumn));
    m_result->setText(text(FinishedTaskModel::ResultColumn));
    m_reason->setText(success ? QString() : index.data(FinishedTaskModel::ReasonRole).toString());
    m_open->setVisible(success);
    m_retry->setVisible(!success);
    m_open->setToolTip(tr("Open file"));
    m_folder->setToolTip(tr("Open folder where file resides"));
    m_retry->setToolTip(tr("Retry"));
    m_delete->setToolTip(tr("Delete"));
    for (QToolButton *button : {m_open, m_folder, m_retry, m_delete})
        button->setAccessibleName(button->toolTip());
    arrange(m_cells);
}

void FinishedItemWidget::arrange(const QVector<QRect> &cells)
{
    m_cells = cells;
    if (cells.isEmpty())
        return;
    const auto cell = [&cells](int column) { return cells.at(column).adjusted(kGap, 0, -kGap, -1); };
    const QRect name = cell(FinishedTaskModel::NameColumn);
    m_icon->setGeometry(name.left(), name.center().y() - kIcon / 2, kIcon, kIcon);
    placeLines(name.adjusted(kIcon + kGap, 0, 0, 0), m_name, m_target);
    m_size->setGeometry(cell(FinishedTaskModel::SizeColumn));
    m_center->setGeometry(cell(FinishedTaskModel::CenterColumn));
    m_time->setGeometry(cell(FinishedTaskModel::TimeColumn));
    const QRect result = cell(FinishedTaskModel::ResultColumn);
    if (m_reason->text().isEmpty())
        m_result->setGeometry(result);
    else
        placeLines(result, m_result, m_reason);
    m_reason->setVisible(!m_reason->text().isEmpty());
    const bool success = m_task.Status == ZPDT_SUCCESS;
    placeButtons(cells.at(FinishedTaskModel::ActionColumn), {success ? m_open : m_retry, m_folder, m_delete});
}

void FinishedItemWidget::openFile(const TaskRecord &task, QWidget *window)
{
    const QString path = TransferTexts::localPath(task);
    if (QFileInfo::exists(path))
        DesktopFiles::open(path);
    else
        tellMissing(window);
}

void FinishedItemWidget::openFolder(const TaskRecord &task, QWidget *window)
{
    const QString path = TransferTexts::localPath(task);
    if (QFileInfo::exists(path))
        DesktopFiles::showInFolder(path);
    else
        tellMissing(window);
}

void FinishedItemWidget::OpenFile()
{
    openFile(m_task, window());
}

void FinishedItemWidget::OpenFolder()
{
    openFolder(m_task, window());
}
