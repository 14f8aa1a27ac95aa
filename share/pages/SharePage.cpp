#include "SharePage.h"

#include "FileTexts.h"
#include "GlobalConfig.h"
#include "LinkShareDialog.h"
#include "MsgDlg.h"
#include "MyDiskDirectoryBrowser.h"
#include "NoticeBar.h"
#include "ReportDialog.h"
#include "ShareBrowser.h"
#include "ShareListView.h"
#include "SharePreview.h"
#include "ShareService.h"
#include "UserShareDialog.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QSet>
#include <QShortcut>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

/// Of so many sharers the nickname is looked up at a time; the account's name does for the others.
constexpr int kMostAsked = 100;

/// The id that downloads of shared files carry in place of a sub-center's.
const QLatin1String kShare("share");

QIcon iconOf(const char *name)
{
    return QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(QLatin1String(name)));
}

QString nameOf(const QString &path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

} // namespace

SharePage::SharePage(QWidget *parent)
    : QWidget(parent)
    , m_url(GlobalConfig::instance()->auth())
    , m_service(new ShareService(m_url, this))
{
    setObjectName(QStringLiteral("sharePage"));
    build();
    connectService(m_service);
    connect(m_service, &ShareService::handlerListMyShareFinished, m_mine, &ShareListView::show);
    connect(m_service, &ShareService::handlerListShareToMeFinished, this, [this](const QList<ShareRecord> &records) {
        m_toMe->show(records);
        askNicknames(records);
    });
    connect(m_service, &ShareService::handlerGetUserInfoFinished, this, [this](const QList<UserInfo> &users) {
        for (const UserInfo &user : users) {
            if (!user.nickname.isEmpty())
                m_toMe->model()->setNickname(user.username, user.nickname);
        }
    });
    connect(m_service, &ShareService::handlerIgnoreShareFinished, this,
            [this](const ShareRecord &record) { m_toMe->model()->remove({record.shareId}); });
    connect(m_service, &ShareService::handlerShareToMeFileRealPathFinished, this, &SharePage::placeKnown);
    connect(m_service, &ShareService::handlerReportShareFinished, this,
            [this] { m_notice->showText(tr("Thank you. The report was sent.")); });
    retranslate();
    showPart(Mine);
}

SharePage::~SharePage() = default;

void SharePage::connectService(ShareService *service)
{
    connect(service, &ShareService::sigLogout, this, &SharePage::sigLogout);
    connect(service, &ShareService::handlerRequestFailed, this, [this](const QString &operation, int code) {
        if (operation == QLatin1String("shareToMeFileRealPath"))
            m_downloads.clear();
        // Somebody has ended the share meanwhile.
        if ((code == 203 || code == 404) &&
            (operation.startsWith(QLatin1String("shareToMe")) || operation == QLatin1String("ignoreShare")))
            m_service->listShareToMe();
        // A dialog says it itself; a face or a nickname that is missing is no trouble.
        if (!m_inDialog && operation != QLatin1String("getUserInfo"))
            m_notice->showText(ShareService::reasonOf(code), operation.startsWith(QLatin1String("list")));
    });
    connect(service, &ShareService::handlerModifyPasswordFinished, this, &SharePage::slotAddMyShareRecord);
    connect(service, &ShareService::handlerModifyUsersFinished, this, &SharePage::slotAddMyShareRecord);
    connect(service, &ShareService::handlerPublicShareFinished, this, &SharePage::slotAddMyShareRecord);
    connect(service, &ShareService::handlerPrivateShareFinished, this, &SharePage::slotAddMyShareRecord);
    connect(service, &ShareService::handlerFriendShareFinished, this, &SharePage::slotAddMyShareRecord);
    connect(service, &ShareService::handlerDeleteShareFinished, m_mine->model(), &ShareListModel::remove);
    connect(service, &ShareService::handlerShareToMeSaveAsFinished, this,
            [this, service](const ShareRecord &, const QString &dest) {
                m_notice->showText(tr("Saved to your disk."));
                const QString folder = dest.endsWith(QLatin1Char('/')) ? dest : dest + QLatin1Char('/');
                emit sigCopyToMyDiskFinished({folder + nameOf(service->answeredPath())});
            });
}

ShareService *SharePage::serviceOf(const SubCenter &center)
{
    ShareService *&service = m_services[center.id];
    if (!service) {
        service = new ShareService(center.address, this);
        connectService(service);
    }
    return service;
}

// Layout

QToolButton *SharePage::addButton(QHBoxLayout *bar, const char *name, const char *icon, void (SharePage::*slot)())
{
    auto *button = new QToolButton(this);
    button->setObjectName(QLatin1String(name));
    button->setIcon(iconOf(icon));
    button->setIconSize(QSize(18, 18));
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    if (slot)
        connect(button, &QToolButton::clicked, this, slot);
    bar->addWidget(button);
    return button;
}

void SharePage::buildBars(QWidget *bar)
{
    auto *layout = new QHBoxLayout(bar);
    layout->setContentsMargins(10, 6, 10, 6);
    layout->setSpacing(4);
    m_mineButton = addButton(layout, "mineButton", "upload", nullptr);
    m_toMeButton = addButton(layout, "toMeButton", "download", nullptr);
    for (QToolButton *button : {m_mineButton, m_toMeButton})
        button->setCheckable(true);
    connect(m_mineButton, &QToolButton::clicked, this, [this] { showPart(Mine); });
    connect(m_toMeButton, &QToolButton::clicked, this, [this] { showPart(ToMe); });
    layout->addSpacing(18);
    m_edit = addButton(layout, "editButton", "rename", &SharePage::edit);
    m_place = addButton(layout, "placeButton", "folder", &SharePage::showPlace);
    m_open = addButton(layout, "openButton", "eye", &SharePage::openFile);
    m_download = addButton(layout, "downloadButton", "download", &SharePage::download);
    m_save = addButton(layout, "saveButton", "disk", &SharePage::saveAs);
    m_remove = addButton(layout, "removeButton", "delete", &SharePage::remove);
    m_report = addButton(layout, "reportButton", "warning", &SharePage::report);
    layout->addStretch(1);
    m_filter = new QLineEdit(bar);
    m_filter->setObjectName(QStringLiteral("shareFilter"));
    m_filter->setClearButtonEnabled(true);
    m_filter->setMinimumWidth(90);
    m_filter->setMaximumWidth(200);
    m_filter->addAction(iconOf("search"), QLineEdit::LeadingPosition);
    layout->addWidget(m_filter, 1);
    m_refresh = addButton(layout, "refreshButton", "refresh", &SharePage::refresh);
    m_refresh->setToolButtonStyle(Qt::ToolButtonIconOnly);
}

void SharePage::build()
{
    auto *bar = new QWidget(this);
    bar->setObjectName(QStringLiteral("netdiskToolbar"));
    bar->setAttribute(Qt::WA_StyledBackground);
    buildBars(bar);
    m_notice = new NoticeBar(this);
    m_notice->setObjectName(QStringLiteral("noticeBar"));
    m_notice->hide();
    m_mine = new ShareListView(ShareListModel::Mine, this);
    m_toMe = new ShareListView(ShareListModel::ToMe, this);
    m_inside = new ShareBrowser(m_service, this);
    m_stack = new QStackedWidget(this);
    for (QWidget *part :
         {static_cast<QWidget *>(m_mine), static_cast<QWidget *>(m_toMe), static_cast<QWidget *>(m_inside)})
        m_stack->addWidget(part);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addWidget(bar);
    all->addWidget(m_notice);
    all->addWidget(m_stack, 1);

    for (ShareListView *view : {m_mine, m_toMe}) {
        connect(view, &ShareListView::opened, this, &SharePage::openRecord);
        connect(view, &ShareListView::menuAsked, this, &SharePage::showMenu);
        connect(view, &ShareListView::selectionChanged, this, &SharePage::selectionChanged);
        connect(view, &ShareListView::removeAsked, this, &SharePage::remove);
    }
    connect(m_inside, &ShareBrowser::left, this, [this] { showPart(ToMe); });
    connect(m_inside, &ShareBrowser::fileOpened, this, [this] { openFile(); });
    connect(m_inside, &ShareBrowser::menuAsked, this, &SharePage::showMenu);
    connect(m_inside, &ShareBrowser::selectionChanged, this, &SharePage::selectionChanged);
    connect(m_notice, &NoticeBar::tryAgain, this, &SharePage::refresh);
    connect(m_filter, &QLineEdit::textChanged, this, [this](const QString &text) {
        m_mine->setFilter(text);
        m_toMe->setFilter(text);
        m_inside->setFilter(text);
    });
    const auto key = [this](const QKeySequence &keys, const std::function<void()> &act) {
        auto *shortcut = new QShortcut(keys, this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
        connect(shortcut, &QShortcut::activated, this, act);
    };
    key(QKeySequence::Refresh, [this] { refresh(); });
    key(QKeySequence::Find, [this] {
        m_filter->setFocus();
        m_filter->selectAll();
    });
}

void SharePage::retranslate()
{
    m_mineButton->setText(tr("Shared by me"));
    m_toMeButton->setText(tr("Shared with me"));
    m_edit->setText(tr("Link and users"));
    m_place->setText(tr("Show on my disk"));
    m_open->setText(tr("Open"));
    m_download->setText(tr("Download"));
    m_save->setText(tr("Save to my disk"));
    m_report->setText(tr("Report"));
    m_filter->setPlaceholderText(tr("Search"));
    m_filter->setAccessibleName(tr("Search"));
    m_refresh->setToolTip(tr("Refresh"));
    m_refresh->setAccessibleName(tr("Refresh"));
    m_remove->setText(part() == Mine ? tr("End sharing") : tr("Ignore"));
}

void SharePage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange && m_filter)
        retranslate();
    QWidget::changeEvent(event);
}

void SharePage::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!m_asked)
        refresh();
}

SharePage::Part SharePage::part() const
{
    return Part(m_stack->currentIndex());
}

void SharePage::showPart(Part part)
{
    m_stack->setCurrentIndex(part);
    m_mineButton->setChecked(part == Mine);
    m_toMeButton->setChecked(part != Mine);
    m_edit->setVisible(part == Mine);
    m_place->setVisible(part == Mine);
    m_open->setVisible(part != Mine);
    m_download->setVisible(part != Mine);
    m_save->setVisible(part != Mine);
    m_remove->setVisible(part != Inside);
    m_report->setVisible(part != Mine);
    m_filter->clear();
    retranslate();
    selectionChanged();
    m_stack->currentWidget()->setFocus();
}

void SharePage::refresh()
{
    m_asked = true;
    if (part() == Inside)
        m_inside->refresh();
    m_service->listMyShare();
    m_service->listShareToMe();
}

void SharePage::askNicknames(const QList<ShareRecord> &records)
{
    QSet<QString> names;
    QList<UserInfo> users;
    for (const ShareRecord &record : records) {
        if (users.size() == kMostAsked)
            break;
        if (record.owner.isEmpty() || names.contains(record.owner) || m_toMe->model()->knowsNickname(record.owner))
            continue;
        names << record.owner;
        UserInfo user;
        user.username = record.owner;
        users << user;
    }
    m_service->getUserInfo(users);
}

// What is picked

QList<SharePage::Picked> SharePage::picked() const
{
    QList<Picked> all;
    if (part() == Inside) {
        for (const FileItem &item : m_inside->selectedItems())
            all << Picked{m_inside->record(), item};
        return all;
    }
    for (const ShareRecord &record : (part() == Mine ? m_mine : m_toMe)->selectedRecords()) {
        FileItem item;
        item.name = record.name;
        item.type = record.isDir ? FileItem::Folder : FileItem::File;
        item.size = record.size;
        item.datetime = quint64(record.shareTime.toMSecsSinceEpoch());
        item.contentType = record.contentType;
        item.path = part() == Mine ? record.path : QLatin1Char('/') + record.name;
        all << Picked{record, item};
    }
    return all;
}

void SharePage::selectionChanged()
{
    const QList<Picked> all = picked();
    const bool one = all.size() == 1;
    m_edit->setEnabled(one);
    m_place->setEnabled(one);
    m_open->setEnabled(one);
    m_report->setEnabled(one || part() == Inside);
    m_download->setEnabled(!all.isEmpty());
    m_remove->setEnabled(!all.isEmpty());
    bool mayBeSaved = !all.isEmpty();
    for (const Picked &picked : all)
        mayBeSaved = mayBeSaved && picked.record.permission == QLatin1String("save");
    m_save->setEnabled(mayBeSaved);
}

void SharePage::showMenu(const QPoint &globalPos)
{
    if (picked().isEmpty())
        return;
    QMenu menu(this);
    for (QToolButton *button : {m_open, m_edit, m_place, m_download, m_save, m_remove, m_report}) {
        // A hidden page hides its buttons too, so isVisible() would not do.
        if (!button->isHidden())
            connect(menu.addAction(button->icon(), button->text()), &QAction::triggered, button, &QToolButton::click);
    }
    if (part() == Mine && picked().size() == 1 && !picked().first().record.link.isEmpty()) {
        const QString link = picked().first().record.link;
        connect(menu.addAction(iconOf("copy"), tr("Copy the link")), &QAction::triggered, this,
                [link] { QGuiApplication::clipboard()->setText(link); });
    }
    const auto actions = menu.actions();
    for (QAction *action : actions) {
        for (QToolButton *button : {m_open, m_edit, m_place, m_download, m_save, m_remove, m_report}) {
            if (action->text() == button->text())
                action->setEnabled(button->isEnabled());
        }
    }
    menu.exec(globalPos);
}

void SharePage::openRecord(const ShareRecord &record)
{
    if (part() == Mine) {
        edit();
    } else if (record.isDir) {
        showPart(Inside);
        m_inside->enter(record);
    } else {
        openFile();
    }
}

void SharePage::openFile()
{
    const QList<Picked> all = picked();
    if (all.size() != 1)
        return;
    const Picked &wanted = all.first();
    if (wanted.item.isFolder()) {
        if (part() == ToMe)
            openRecord(wanted.record);
        return;
    }
    if (!m_preview || m_preview->record().shareId != wanted.record.shareId) {
        m_preview = std::make_unique<SharePreview>(m_url, wanted.record, this);
        connect(m_preview.get(), &SharePreview::downloadAsked, this, [this](const FileItem &item) {
            download({{m_preview->record(), item}});
        });
    }
    m_preview->show(wanted.item, part() == Inside ? m_inside->items() : QList<FileItem>{wanted.item});
}

// Own shares

template <typename Dialog>
void SharePage::runDialog(ShareService *service, const ShareRecord &record)
{
    const QPointer<SharePage> self(this);
    const QPointer<Dialog> dialog = new Dialog(service, record, window());
    if (dialog->metaObject()->indexOfSignal("sigMyShared(ShareRecord)") >= 0)
        connect(dialog, SIGNAL(sigMyShared(ShareRecord)), this, SLOT(slotAddMyShareRecord(ShareRecord)));
    m_inDialog = true;
    dialog->exec();
    delete dialog;
    if (self)
        m_inDialog = false;
}

void SharePage::share(const FileItem &item, bool withUsers, const SubCenter &center)
{
    ShareRecord record;
    record.name = item.name;
    record.path = item.path;
    record.isDir = item.isFolder() ? 1 : 0;
    record.size = item.size;
    record.contentType = item.contentType;
    record.icon = item.icon;
    record.owner = GlobalConfig::instance()->currentUser().username;
    record.subCenterId = center.id;
    // A share is made where its item lies.
    if (withUsers)
        runDialog<UserShareDialog>(serviceOf(center), record);
    else
        runDialog<LinkShareDialog>(serviceOf(center), record);
}

void SharePage::slotAddMyShareRecord(ShareRecord record)
{
    m_mine->model()->put(record);
}

void SharePage::edit()
{
    const QList<Picked> all = picked();
    if (all.size() != 1)
        return;
    if (all.first().record.shareType == ShareRecord::WithUsers)
        runDialog<UserShareDialog>(m_service, all.first().record);
    else
        runDialog<LinkShareDialog>(m_service, all.first().record);
}

void SharePage::showPlace()
{
    const QList<Picked> all = picked();
    if (all.size() != 1)
        return;
    const QString path = all.first().record.path;
    m_placeCenter = all.first().record.subCenterId;
    emit sigIntoFolder(path.left(path.lastIndexOf(QLatin1Char('/')) + 1));
    m_placeCenter.clear();
}

void SharePage::remove()
{
    const QList<Picked> all = picked();
    if (all.isEmpty() || part() == Inside)
        return;
    QStringList names, ids;
    for (const Picked &picked : all) {
        names << picked.record.name;
        ids << picked.record.shareId;
    }
    const QString list = FileTexts::list(names);
    if (!confirm(part() == Mine
                     ? tr("End sharing of %1? The files stay; links to them open nothing any more.").arg(list)
                     : tr("Ignore %1? It disappears from this list.").arg(list)))
        return;
    if (part() == Mine) {
        m_service->deleteShare(ids);
        return;
    }
    for (const Picked &picked : all)
        m_service->ignoreShare(picked.record);
}

// Shares of others

void SharePage::download()
{
    download(picked());
}

void SharePage::download(const QList<Picked> &all)
{
    if (all.isEmpty())
        return;
    const QPointer<SharePage> self(this);
    const QString folder = askLocalFolder();
    if (folder.isEmpty() || !self)
        return;
    for (const Picked &picked : all) {
        auto &waiting = m_downloads[picked.record.shareId];
        waiting.first = folder;
        waiting.second << picked;
    }
    // Where the files of a share are found is the same for all of them.
    const auto shares = m_downloads.values();
    for (const auto &waiting : shares)
        m_service->shareToMeFileRealPath(waiting.second.first().record, waiting.second.first().item.path);
}

void SharePage::placeKnown(const QString &userPath)
{
    const auto waiting = m_downloads.take(m_service->answeredRecord().shareId);
    if (waiting.second.isEmpty() || !userPath.startsWith(QLatin1Char('/')))
        return;
    SubCenter center;
    center.id = kShare;
    center.path = QStringLiteral("/");
    QList<FileItem> files, folders;
    for (const Picked &picked : waiting.second) {
        FileItem item = picked.item;
        item.path.prepend(userPath);
        (item.isFolder() ? folders : files) << item;
    }
    emit sigShareToMeFileDownloadStart(files, folders, center, waiting.first);
}

void SharePage::saveAs()
{
    const QList<Picked> all = picked();
    const QPointer<SharePage> self(this);
    const GlobalConfig *config = GlobalConfig::instance();
    const SubCenter center = config->subCenter(config->currentSubCenterId());
    const QString folder = all.isEmpty() ? QString() : askDriveFolder(center);
    if (folder.isEmpty() || !self)
        return;
    for (const Picked &picked : all)
        serviceOf(center)->shareToMeSaveAs(picked.record, picked.item.path, folder);
}

void SharePage::report()
{
    const QList<Picked> all = picked();
    if (all.size() == 1 || part() == Inside)
        runDialog<ReportDialog>(m_service, part() == Inside ? m_inside->record() : all.first().record);
}

// Questions

QString SharePage::askLocalFolder()
{
    const GlobalConfig *config = GlobalConfig::instance();
    const QString usual = config->downloadPath(config->currentSubCenterId()).defaultPath;
    // Over the viewer of images, when it was asked there.
    QWidget *over = QApplication::activeWindow();
    return QFileDialog::getExistingDirectory(over ? over : this, tr("Select target folder"),
                                             QDir(usual).exists() && !usual.isEmpty() ? usual : QDir::homePath());
}

QString SharePage::askDriveFolder(const SubCenter &center)
{
    const QPointer<MyDiskDirectoryBrowser> dialog = new MyDiskDirectoryBrowser(center.address, window());
    const bool accepted = dialog->exec() == QDialog::Accepted;
    const QString folder = dialog && accepted ? dialog->folder() : QString();
    delete dialog;
    return folder;
}

bool SharePage::confirm(const QString &text)
{
    const QPointer<MsgDlg> question = new MsgDlg(window());
    question->setTitle(tr("Tip"));
    question->setText(text);
    const bool yes = question->exec() == QDialog::Accepted;
    delete question;
    return yes;
}
