#include "NetdiskPage.h"

#include "AddressBar.h"
#include "FileWidget.h"

#include <QAction>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr int kWordsWidth = 760; // pixels

QIcon iconOf(const char *name)
{
    return QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(QLatin1String(name)));
}

QToolButton *toolButton(QWidget *parent, const char *objectName, const char *icon, bool withText)
{
    auto *button = new QToolButton(parent);
    button->setObjectName(QLatin1String(objectName));
    button->setIcon(iconOf(icon));
    button->setIconSize(QSize(18, 18));
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setToolButtonStyle(withText ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonIconOnly);
    return button;
}

} // namespace

void NetdiskPage::buildToolbar(QWidget *toolbar)
{
    m_upload = toolButton(toolbar, "uploadButton", "upload", true);
    auto *download = toolButton(toolbar, "downloadButton", "download", true);
    m_newFolder = toolButton(toolbar, "newFolderButton", "newfolder", true);
    auto *remove = toolButton(toolbar, "deleteButton", "delete", true);
    auto *rename = toolButton(toolbar, "renameButton", "rename", true);
    m_mode = toolButton(toolbar, "modeButton", "list", true);
    m_search = new QLineEdit(toolbar);
    m_search->setObjectName(QStringLiteral("searchEdit"));
    m_search->setClearButtonEnabled(true);
    m_search->setMaximumWidth(240);
    m_search->setMinimumWidth(120);
    auto *searchButton = m_search->addAction(iconOf("search"), QLineEdit::LeadingPosition);
    searchButton->setObjectName(QStringLiteral("searchAction"));

    auto *layout = new QHBoxLayout(toolbar);
    layout->setContentsMargins(10, 6, 10, 6);
    layout->setSpacing(4);
    for (QWidget *button : {m_upload, download, m_newFolder, remove, rename})
        layout->addWidget(button);
    layout->addStretch(1);
    layout->addWidget(m_mode);
    layout->addSpacing(6);
    layout->addWidget(m_search, 1);

    // Not connected straight: a click carries a bool, which would be taken for the parameter.
    connect(m_upload, &QToolButton::clicked, this, [this] {
        emit ClickedUpload();
        Upload();
    });
    connect(download, &QToolButton::clicked, this, [this] { Download(); });
    connect(m_newFolder, &QToolButton::clicked, this, [this] {
        emit ClickedNewFolder();
        NewFolder();
    });
    connect(remove, &QToolButton::clicked, this, &NetdiskPage::Remove);
    connect(rename, &QToolButton::clicked, this, &NetdiskPage::Rename);
    connect(m_mode, &QToolButton::clicked, this, [this] { ChangeShowMode(); });
    connect(m_search, &QLineEdit::returnPressed, this, &NetdiskPage::SearchFile);
    connect(searchButton, &QAction::triggered, this, &NetdiskPage::SearchFile);
}

void NetdiskPage::buildLayout()
{
    auto *toolbar = new QWidget(this);
    toolbar->setObjectName(QStringLiteral("netdiskToolbar"));
    toolbar->setAttribute(Qt::WA_StyledBackground);
    buildToolbar(toolbar);

    auto *places = new QWidget(this);
    places->setObjectName(QStringLiteral("netdiskPlaces"));
    m_back = toolButton(places, "backButton", "back", false);
    m_forward = toolButton(places, "forwardButton", "forward", false);
    auto *home = toolButton(places, "homeButton", "home", false);
    auto *refresh = toolButton(places, "refreshButton", "refresh", false);
    m_address = new AddressBar(places);
    auto *placesLayout = new QHBoxLayout(places);
    placesLayout->setContentsMargins(10, 6, 10, 6);
    placesLayout->setSpacing(4);
    for (QWidget *part :
         {static_cast<QWidget *>(m_back), static_cast<QWidget *>(m_forward), static_cast<QWidget *>(home)})
        placesLayout->addWidget(part);
    placesLayout->addWidget(m_address, 1);
    placesLayout->addWidget(refresh);

    m_notice = new QLabel(this);
    m_notice->setObjectName(QStringLiteral("pageNotice"));
    m_notice->setTextFormat(Qt::PlainText);
    m_notice->setWordWrap(true);
    m_notice->setContentsMargins(14, 6, 14, 6);
    m_notice->hide();

    m_view = new FileWidget(this);

    auto *bottom = new QWidget(this);
    bottom->setObjectName(QStringLiteral("netdiskStatus"));
    m_count = new QLabel(bottom);
    m_count->setObjectName(QStringLiteral("itemCount"));
    m_status = new QLabel(bottom);
    m_status->setObjectName(QStringLiteral("statusText"));
    m_storageBar = new QProgressBar(bottom);
    m_storageBar->setObjectName(QStringLiteral("storageBar"));
    m_storageBar->setRange(0, 100);
    m_storageBar->setTextVisible(false);
    m_storageBar->setFixedSize(120, 6);
    m_storage = new QLabel(bottom);
    m_storage->setObjectName(QStringLiteral("storageText"));
    auto *bottomLayout = new QHBoxLayout(bottom);
    bottomLayout->setContentsMargins(14, 5, 14, 5);
    bottomLayout->setSpacing(10);
    bottomLayout->addWidget(m_count);
    bottomLayout->addStretch(1);
    bottomLayout->addWidget(m_status);
    bottomLayout->addStretch(1);
    bottomLayout->addWidget(m_storageBar);
    bottomLayout->addWidget(m_storage);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(toolbar);
    layout->addWidget(places);
    layout->addWidget(m_notice);
    layout->addWidget(m_view, 1);
    layout->addWidget(bottom);

    connect(m_back, &QToolButton::clicked, this, &NetdiskPage::Backward);
    connect(m_forward, &QToolButton::clicked, this, &NetdiskPage::Forward);
    connect(home, &QToolButton::clicked, this, &NetdiskPage::IntoHome);
    connect(refresh, &QToolButton::clicked, this, &NetdiskPage::Refresh);
    retranslate();
}

void NetdiskPage::retranslate()
{
    const struct
    {
        const char *name;
        QString text;
        const char *keys;
    } buttons[] = {
        {"uploadButton", tr("Upload"), ""},
        {"downloadButton", tr("Download"), ""},
        {"newFolderButton", tr("New Folder"), " (Ctrl+Shift+N)"},
        {"deleteButton", tr("Delete"), " (Del)"},
        {"renameButton", tr("Rename"), " (F2)"},
        {"backButton", tr("Back"), " (Alt+Left)"},
        {"forwardButton", tr("Forward"), " (Alt+Right)"},
        {"homeButton", tr("Home"), ""},
        {"refreshButton", tr("Refresh"), " (F5)"},
    };
    for (const auto &entry : buttons) {
        auto *button = findChild<QToolButton *>(QLatin1String(entry.name));
        button->setText(entry.text);
        button->setToolTip(entry.text + QLatin1String(entry.keys));
        button->setAccessibleName(entry.text);
    }
    m_search->setPlaceholderText(tr("Search"));
    m_search->setAccessibleName(tr("Search"));
    m_search->findChild<QAction *>(QStringLiteral("searchAction"))->setToolTip(tr("Search"));
    m_storageBar->setAccessibleName(tr("Storage used"));
    showMode();
    showTransferStatus();
    RefreshItemCount();
}

void NetdiskPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        retranslate();
        if (inSearch())
            SlotFolderChanged();
    }
    QWidget::changeEvent(event);
}

void NetdiskPage::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    // Side by side there is not room for words on the buttons.
    const Qt::ToolButtonStyle style = width() < kWordsWidth ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon;
    const QList<QToolButton *> buttons = m_upload->parentWidget()->findChildren<QToolButton *>();
    for (QToolButton *button : buttons) {
        if (!button->text().isEmpty())
            button->setToolButtonStyle(style);
    }
}

void NetdiskPage::addShortcuts()
{
    // Several pages share one window, so a key belongs to the page that has the focus.
    const auto add = [this](QWidget *owner, const QKeySequence &key, void (NetdiskPage::*slot)()) {
        auto *shortcut = new QShortcut(key, owner);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        connect(shortcut, &QShortcut::activated, this, slot);
    };
    add(this, QKeySequence(Qt::ALT + Qt::Key_Left), &NetdiskPage::Backward);
    add(this, QKeySequence(Qt::ALT + Qt::Key_Right), &NetdiskPage::Forward);
    add(this, QKeySequence(Qt::ALT + Qt::Key_Up), &NetdiskPage::IntoParent);
    add(m_view, QKeySequence(Qt::Key_Backspace), &NetdiskPage::Backward);
    add(this, QKeySequence(Qt::Key_F5), &NetdiskPage::Refresh);
    add(this, QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_N), &NetdiskPage::NewFolder);
    auto *edit = new QShortcut(QKeySequence(Qt::CTRL + Qt::Key_L), this);
    edit->setContext(Qt::WidgetWithChildrenShortcut);
    connect(edit, &QShortcut::activated, m_address, &AddressBar::edit);
    auto *search = new QShortcut(QKeySequence(QKeySequence::Find), this);
    search->setContext(Qt::WidgetWithChildrenShortcut);
    connect(search, &QShortcut::activated, m_search, [this] { m_search->setFocus(Qt::ShortcutFocusReason); });
}
