#include "NetdiskPage.h"

#include "AddressBar.h"
#include "FileItemModel.h"
#include "FileWidget.h"

#include <QAction>
#include <QActionGroup>
#include <QIcon>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QShortcut>
#include <QToolButton>

void NetdiskPage::buildActions()
{
    struct Entry
    {
        PageAction id;
        const char *icon;
        QKeySequence key;
        std::function<void()> run;
    };
    const Entry entries[] = {
        {UploadAction, "upload", QKeySequence(Qt::CTRL + Qt::Key_U), [this] { m_upload->click(); }},
        {NewFolderAction, "newfolder", QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_N),
         [this] { m_newFolder->click(); }},
        {LinkShareAction, nullptr, {}, [this] { LinkShare(); }},
        {UserShareAction, nullptr, {}, [this] { UserShare(); }},
        {BackAction, "back", QKeySequence(Qt::ALT + Qt::Key_Left), [this] { Backward(); }},
        {ForwardAction, "forward", QKeySequence(Qt::ALT + Qt::Key_Right), [this] { Forward(); }},
        {ParentAction, "up", QKeySequence(Qt::ALT + Qt::Key_Up), [this] { IntoParent(); }},
        {HomeAction, "home", QKeySequence(Qt::ALT + Qt::Key_Home), [this] { IntoHome(); }},
        {RefreshAction, "refresh", QKeySequence(Qt::Key_F5), [this] { Refresh(); }},
        {AddressAction, nullptr, QKeySequence(Qt::CTRL + Qt::Key_L), [this] { m_address->edit(); }},
        {SearchAction, "search", QKeySequence(QKeySequence::Find),
         [this] { m_search->setFocus(Qt::ShortcutFocusReason); }},
        {FilterAction, "filter", QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_F), [this] { focusFilter(); }},
        {SelectAllAction, nullptr, QKeySequence(QKeySequence::SelectAll), [this] { m_view->selectAll(); }},
        {DetailsAction, "list", QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_1), [this] { ChangeShowMode(0); }},
        {IconsAction, "grid", QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_2), [this] { ChangeShowMode(1); }},
    };
    for (const Entry &entry : entries) {
        auto *action = new QAction(this);
        if (entry.icon)
            action->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(QLatin1String(entry.icon))));
        // Several pages share one window, so a key belongs to the page that has the focus.
        action->setShortcut(entry.key);
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        connect(action, &QAction::triggered, this, entry.run);
        m_actions.insert(entry.id, action);
        (entry.id == SelectAllAction ? static_cast<QWidget *>(m_view) : this)->addAction(action);
    }
    auto *modes = new QActionGroup(this);
    for (PageAction mode : {DetailsAction, IconsAction}) {
        m_actions[mode]->setCheckable(true);
        modes->addAction(m_actions[mode]);
    }
    auto *backspace = new QShortcut(QKeySequence(Qt::Key_Backspace), m_view);
    backspace->setContext(Qt::WidgetWithChildrenShortcut);
    connect(backspace, &QShortcut::activated, this, &NetdiskPage::Backward);
    retranslateActions();
}

void NetdiskPage::retranslateActions()
{
    const QMap<PageAction, QString> texts{
        {UploadAction, tr("Upload")},
        {NewFolderAction, tr("New Folder")},
        {LinkShareAction, tr("Share by link")},
        {UserShareAction, tr("Share with users")},
        {BackAction, tr("Back")},
        {ForwardAction, tr("Forward")},
        {ParentAction, tr("Parent folder")},
        {HomeAction, tr("Home")},
        {RefreshAction, tr("Refresh")},
        {AddressAction, tr("Edit path")},
        {SearchAction, tr("Search")},
        {FilterAction, tr("Filter")},
        {SelectAllAction, tr("Select all")},
        {DetailsAction, tr("List")},
        {IconsAction, tr("Icon")},
    };
    for (auto text = texts.cbegin(); text != texts.cend(); ++text)
        m_actions[text.key()]->setText(text.value());
}

QMenu *NetdiskPage::createShareMenu(QWidget *parent)
{
    auto *menu = new QMenu(tr("Share"), parent);
    menu->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/share.svg")));
    menu->addAction(m_actions[LinkShareAction]);
    menu->addAction(m_actions[UserShareAction]);
    return menu;
}

void NetdiskPage::fillMenu(QMenu *menu)
{
    menu->clear();
    for (QMenu *old : menu->findChildren<QMenu *>(QString(), Qt::FindDirectChildrenOnly))
        old->deleteLater();
    const auto add = [this, menu](std::initializer_list<PageAction> actions) {
        for (PageAction action : actions)
            menu->addAction(m_actions[action]);
        menu->addSeparator();
    };
    add({UploadAction, NewFolderAction});
    m_view->updateActions();
    for (int command = FileWidget::Open; command <= FileWidget::Decompress; ++command)
        menu->addAction(m_view->action(FileWidget::Command(command)));
    if (m_shareAvailable)
        menu->addMenu(createShareMenu(menu));
    add({SelectAllAction});
    add({BackAction, ForwardAction, ParentAction, HomeAction, RefreshAction});
    add({AddressAction, SearchAction, FilterAction});
    const bool icons = m_view->showMode() == FileWidget::IconMode;
    m_actions[icons ? IconsAction : DetailsAction]->setChecked(true);
    add({DetailsAction, IconsAction});
    menu->addMenu(m_view->createSortMenu(menu));
}

void NetdiskPage::contextMenuRequested(const QPoint &globalPos)
{
    QMenu *menu = m_view->createContextMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (m_view->selectedCount() > 0) {
        if (m_shareAvailable)
            menu->addMenu(createShareMenu(menu));
    } else {
        // On the ground: what concerns the folder.
        menu->addSeparator();
        for (PageAction action : {UploadAction, NewFolderAction, SelectAllAction, RefreshAction}) {
            if (m_actions[action]->isEnabled())
                menu->addAction(m_actions[action]);
        }
    }
    menu->setStyleSheet(
        QStringLiteral("QMenu { background: white; font-size: 12px; }"
                       "QMenu::item { height: 30px; min-width: 95px; padding: 0 24px 0 30px; color: #2459b8; }"
                       "QMenu::icon { padding-left: 8px; }"
                       "QMenu::item:selected { background: #e8f0fe; }"
                       "QMenu::item:disabled { color: #a3aebd; }"));
    menu->popup(globalPos);
}

void NetdiskPage::focusFilter()
{
    m_filter->setFocus(Qt::ShortcutFocusReason);
    m_filter->selectAll();
}

bool NetdiskPage::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonPress) {
        const Qt::MouseButton button = static_cast<QMouseEvent *>(event)->button();
        if (button == Qt::BackButton || button == Qt::ForwardButton) {
            button == Qt::BackButton ? Backward() : Forward();
            return true;
        }
    }
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        const bool inField = watched == m_filter || watched == m_search;
        if (key == Qt::Key_Escape && (inField || !m_filter->text().isEmpty())) {
            if (watched != m_search)
                m_filter->clear();
            m_view->setFocus();
            return true;
        }
        if (inField && (key == Qt::Key_Down || (watched == m_filter && key == Qt::Key_Return))) {
            m_view->setFocus();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}
