#include "NetdiskPage.h"

#include "AddressBar.h"
#include "FileListing.h"
#include "FileTexts.h"
#include "FileWidget.h"
#include "GlobalConfig.h"
#include "NetDiskServer.h"
#include "NoticeBar.h"
#include "SizeText.h"

#include <QIcon>
#include <QLabel>
#include <QProgressBar>
#include <QTimerEvent>
#include <QToolButton>

#include <limits>

namespace {

/// Failures that come within this time are told in one message: files and folders go by requests of their own.
constexpr int FailureTime = 300; // ms

} // namespace

// Counters and labels

void NetdiskPage::ClearItemCount()
{
    m_folders = 0;
    m_files = 0;
    RefreshItemCount();
}

void NetdiskPage::AddItemCount(int folders, int files)
{
    m_folders += folders;
    m_files += files;
    RefreshItemCount();
    showEmptyFolder(m_folders + m_files == 0);
}

void NetdiskPage::RemoveItemCount(int folders, int files)
{
    AddItemCount(-folders, -files);
}

void NetdiskPage::RefreshItemCount()
{
    QString text = QStringLiteral(" %1").arg(m_folders + m_files) + QLatin1Char(' ') + tr("items");
    text += QStringLiteral(" (%1").arg(m_files) + QLatin1Char(' ') + tr("files");
    text += QStringLiteral(", %1").arg(m_folders) + QLatin1Char(' ') + tr("folders") + QLatin1Char(')');
    m_count->setText(text.trimmed());
}

void NetdiskPage::showSelection()
{
    const int count = m_view->selectedCount();
    m_selected->setVisible(count > 0);
    if (count == 0)
        return;
    quint64 bytes = 0;
    bool folders = false;
    m_view->forEachSelected([&](const FileItem &item) {
        bytes += item.isFolder() ? 0 : item.size;
        folders = folders || item.isFolder();
    });
    // What folders hold is not known here.
    const QString text = tr("%1 selected").arg(count);
    m_selected->setText(folders ? text : text + QStringLiteral(", ") + sizeText(bytes));
}

void NetdiskPage::showEmptyFolder(bool visible)
{
    m_view->setEmptyPanelVisible(visible);
}

void NetdiskPage::SetStorage()
{
    const UserInfo user = GlobalConfig::instance()->currentUser();
    const qint64 used = qMax<qint64>(0, user.storageUsed), quota = user.storageQuota;
    if (quota > 0) {
        const bool fits = used <= std::numeric_limits<qint64>::max() / 100;
        const qint64 percent = fits ? used * 100 / quota : used / qMax<qint64>(1, quota / 100);
        m_storageBar->setValue(int(qMin<qint64>(100, percent)));
    }
    m_storage->setText(QStringLiteral("%1/%2").arg(sizeText(quint64(used)), sizeText(quint64(qMax<qint64>(0, quota)))));
}

void NetdiskPage::refreshStorage()
{
    m_server->getStorage();
}

void NetdiskPage::refreshSubCenter()
{
    const SubCenter center = GlobalConfig::instance()->subCenter(m_center.id);
    if (center.id != m_center.id)
        return;
    m_center = center;
    m_address->setRootName(center.name);
}

void NetdiskPage::ChangeShowMode(int index)
{
    const bool toIcons = index < 0 ? m_view->showMode() == FileWidget::ListMode : index == 1;
    m_view->setShowMode(toIcons ? FileWidget::IconMode : FileWidget::ListMode);
    showMode();
}

void NetdiskPage::showMode()
{
    const bool toIcons = m_view->showMode() == FileWidget::IconMode;
    m_mode->setText(toIcons ? tr("Icon") : tr("List"));
    m_mode->setAccessibleName(m_mode->text());
    m_mode->setToolTip(toIcons ? tr("Switch to list mode") : tr("Switch to icon mode"));
    m_mode->setIcon(QIcon(toIcons ? QStringLiteral(":/ArkvaleTolmaMain/Icon/grid.svg")
                                  : QStringLiteral(":/ArkvaleTolmaMain/Icon/list.svg")));
}

void NetdiskPage::changeTransferStatus(int state)
{
    m_transferState = state;
    showTransferStatus();
    emit ChangeTransferStatus(state);
}

void NetdiskPage::showTransferStatus()
{
    m_status->setText(m_transferState == 1   ? tr("Adding to the transfer list...")
                      : m_transferState == 2 ? tr("Tasks is running...")
                                             : QString());
}

void NetdiskPage::changeSortType(const QString &type)
{
    m_view->setSortType(type);
}

// What went wrong

void NetdiskPage::showNotice(const QString &text, bool canTryAgain)
{
    m_notice->showText(text, canTryAgain);
}

void NetdiskPage::operationFailed(int operation, const QStringList &paths, int code)
{
    if (operation == NetDiskServer::Search) {
        m_unknown = true;
        showFailedPlace(tr("Could not search for %1: %2.").arg(FileTexts::list(paths), reasonOf(code)));
        return;
    }
    QStringList &names = m_failures[{operation, code}];
    for (const QString &path : paths)
        names.append(FileListing::fileName(path));
    m_failureTimer.start(FailureTime, this);
}

void NetdiskPage::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_failureTimer.timerId())
        return QWidget::timerEvent(event);
    m_failureTimer.stop();
    showFailures();
}

QString NetdiskPage::reasonOf(int code)
{
    switch (code) {
    case 403:
        return tr("not allowed");
    case 404:
        return tr("not there any more");
    case 409:
        return tr("the name is taken");
    case 413:
    case 507:
        return tr("not enough room");
    default:
        return code < 0 ? tr("the service cannot be reached") : tr("the service refused, error %1").arg(code);
    }
}

void NetdiskPage::showFailures()
{
    const QMap<int, QString> what{
        {NetDiskServer::MakeFolder, tr("Could not create %1: %2.")},
        {NetDiskServer::Delete, tr("Could not delete %1: %2.")},
        {NetDiskServer::Move, tr("Could not move %1: %2.")},
        {NetDiskServer::Copy, tr("Could not copy %1: %2.")},
        {NetDiskServer::Rename, tr("Could not rename %1: %2.")},
        {NetDiskServer::Compress, tr("Could not compress into %1: %2.")},
        {NetDiskServer::Decompress, tr("Could not decompress %1: %2.")},
    };
    QStringList lines;
    for (auto failure = m_failures.cbegin(); failure != m_failures.cend(); ++failure)
        lines << what.value(failure.key().first).arg(FileTexts::list(failure.value()), reasonOf(failure.key().second));
    m_failures.clear();
    showNotice(lines.join(QLatin1Char('\n')));
}
