#include "NetdiskPage.h"

#include "AddressBar.h"
#include "BusyStrip.h"
#include "FileWidget.h"
#include "NoticeBar.h"

#include <QAbstractScrollArea>
#include <QAction>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QProgressBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

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
    m_share = toolButton(toolbar, "shareButton", "share", true);
    m_share->setPopupMode(QToolButton::InstantPopup);
    m_share->hide();
    m_mode = toolButton(toolbar, "modeButton", "list", true);
    auto *more = toolButton(toolbar, "menuButton", "more", false);
    more->setPopupMode(QToolButton::InstantPopup);
    more->setMenu(new QMenu(more));
    m_search = new QLineEdit(toolbar);
    m_search->setObjectName(QStringLiteral("searchEdit"));
    m_search->setClearButtonEnabled(true);
    m_search->setMaximumWidth(240);
    m_search->setMinimumWidth(100);
    m_search->installEventFilter(this);
    auto *searchButton = m_search->addAction(iconOf("search"), QLineEdit::LeadingPosition);
    searchButton->setObjectName(QStringLiteral("searchAction"));

    auto *layout = new QHBoxLayout(toolbar);
    layout->setContentsMargins(10, 6, 10, 6);
    layout->setSpacing(4);
    for (QWidget *button : {m_upload, download, m_newFolder, remove, rename, m_share})
        layout->addWidget(button);
    layout->addStretch(1);
    layout->addWidget(m_mode);
    layout->addSpacing(6);
    layout->addWidget(m_search, 1);
    layout->addWidget(more);
    // Less than the texts need: they give way to the icons alone in a narrow pane.
    toolbar->setMinimumWidth(360);

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
    connect(more->menu(), &QMenu::aboutToShow, this, [this, more] { fillMenu(more->menu()); });
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
    m_address->setSubCenterId(m_center.id);
    m_filter = new QLineEdit(places);
    m_filter->setObjectName(QStringLiteral("filterEdit"));
    m_filter->setClearButtonEnabled(true);
    m_filter->addAction(iconOf("filter"), QLineEdit::LeadingPosition);
    m_filter->setMinimumWidth(100);
    m_filter->setMaximumWidth(170);
    m_filter->installEventFilter(this);
    auto *placesLayout = new QHBoxLayout(places);
    placesLayout->setContentsMargins(10, 6, 10, 6);
    placesLayout->setSpacing(4);
    for (QWidget *part :
         {static_cast<QWidget *>(m_back), static_cast<QWidget *>(m_forward), static_cast<QWidget *>(home)})
        placesLayout->addWidget(part);
    placesLayout->addWidget(m_address, 4);
    placesLayout->addWidget(refresh);
    placesLayout->addWidget(m_filter, 1);

    m_notice = new NoticeBar(this);
    m_view = new FileWidget(this);
    m_busy = new BusyStrip(m_view);

    auto *bottom = new QWidget(this);
    bottom->setObjectName(QStringLiteral("netdiskStatus"));
    m_count = new QLabel(bottom);
    m_count->setObjectName(QStringLiteral("itemCount"));
    m_selected = new QLabel(bottom);
    m_selected->setObjectName(QStringLiteral("selectionText"));
    m_selected->hide();
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
    bottom->setMinimumWidth(300);
    bottomLayout->addWidget(m_count);
    bottomLayout->addWidget(m_selected);
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
    connect(m_filter, &QLineEdit::textChanged, m_view, &FileWidget::setFilter);
    for (QAbstractScrollArea *view : m_view->findChildren<QAbstractScrollArea *>()) {
        view->installEventFilter(this);
        view->viewport()->installEventFilter(this);
    }
    buildActions();
    m_share->setMenu(createShareMenu(m_share));
    retranslate();
}

void NetdiskPage::fitToolbar()
{
    // The button texts go as soon as one of them would be cut off.
    auto *toolbar = findChild<QWidget *>(QStringLiteral("netdiskToolbar"));
    const QList<QToolButton *> buttons = toolbar->findChildren<QToolButton *>(QString(), Qt::FindDirectChildrenOnly);
    int needed = 60 + m_search->minimumWidth();
    for (QToolButton *button : buttons) {
        if (button->isHidden())
            continue;
        const bool text = button->objectName() != QLatin1String("menuButton");
        needed +=
            button->iconSize().width() + 24 + (text ? button->fontMetrics().horizontalAdvance(button->text()) : 0);
    }
    const bool texts = needed <= width();
    for (QToolButton *button : buttons) {
        if (button->objectName() != QLatin1String("menuButton"))
            button->setToolButtonStyle(texts ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonIconOnly);
    }
    m_filter->setVisible(width() > 420);
}

void NetdiskPage::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitToolbar();
}

void NetdiskPage::retranslate()
{
    const struct
    {
        const char *name;
        QString text;
        const char *keys;
    } buttons[] = {
        {"uploadButton", tr("Upload"), " (Ctrl+U)"},
        {"downloadButton", tr("Download"), ""},
        {"newFolderButton", tr("New Folder"), " (Ctrl+Shift+N)"},
        {"deleteButton", tr("Delete"), " (Del)"},
        {"renameButton", tr("Rename"), " (F2)"},
        {"backButton", tr("Back"), " (Alt+Left)"},
        {"forwardButton", tr("Forward"), " (Alt+Right)"},
        {"homeButton", tr("Home"), " (Alt+Home)"},
        {"refreshButton", tr("Refresh"), " (F5)"},
        {"shareButton", tr("Share"), ""},
        {"menuButton", tr("All commands"), ""},
    };
    for (const auto &entry : buttons) {
        auto *button = findChild<QToolButton *>(QLatin1String(entry.name));
        button->setText(entry.text);
        button->setToolTip(entry.text + QLatin1String(entry.keys));
        button->setAccessibleName(entry.text);
    }
    retranslateActions();
    m_share->menu()->setTitle(tr("Share"));
    m_filter->setPlaceholderText(tr("Filter"));
    m_filter->setAccessibleName(tr("Filter"));
    m_filter->setToolTip(tr("Show only names that hold this text") + QLatin1String(" (Ctrl+Shift+F)"));
    m_search->setToolTip(tr("Search the whole drive") + QLatin1String(" (Ctrl+F)"));
    m_search->setPlaceholderText(tr("Search"));
    m_search->setAccessibleName(tr("Search"));
    for (QLineEdit *field : {m_search, m_filter}) {
        for (QToolButton *inner : field->findChildren<QToolButton *>())
            inner->setAccessibleName(field->accessibleName());
    }
    m_search->findChild<QAction *>(QStringLiteral("searchAction"))->setToolTip(tr("Search"));
    m_storageBar->setAccessibleName(tr("Storage used"));
    showMode();
    showTransferStatus();
    RefreshItemCount();
    showSelection();
    fitToolbar();
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
