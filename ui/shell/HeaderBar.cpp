#include "HeaderBar.h"

#include "AdTicker.h"
#include "ServicePicture.h"
#include "SizeText.h"

#include <QButtonGroup>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QToolButton>
#include <QVariant>

namespace {

constexpr int kAvatar = 28;        // pixels
constexpr int kLongestName = 140;  // pixels
constexpr int kStorageWidth = 110; // pixels
constexpr int kWideWindow = 980;   // pixels; below it words give way to icons
constexpr int kRoomyWindow = 1280; // pixels; below it figures give way to advertisements
constexpr int kTickerShare = 4;    // of the window's width
constexpr int kLeastTicker = 120;  // pixels; less shows nothing that could be read

QIcon iconOf(const char *name)
{
    return QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/") + QLatin1String(name));
}

QToolButton *toolButton(const char *objectName, const char *icon)
{
    auto *button = new QToolButton;
    button->setObjectName(QLatin1String(objectName));
    button->setIcon(iconOf(icon));
    button->setIconSize(QSize(18, 18));
    button->setAutoRaise(true);
    return button;
}

void setTip(QToolButton *button, const QString &text, const char *keys = "")
{
    button->setToolTip(*keys ? text + QStringLiteral(" (%1)").arg(QLatin1String(keys)) : text);
    button->setAccessibleName(text);
}

} // namespace

HeaderBar::HeaderBar(QWidget *parent)
    : QWidget(parent)
    , m_group(new QButtonGroup(this))
    , m_newTab(toolButton("btn_new_tab", "plus.svg"))
    , m_reopen(toolButton("btn_reopen", "reopen.svg"))
    , m_split(toolButton("btn_split", "split.svg"))
    , m_closePane(toolButton("btn_close_pane", "closepane.svg"))
    , m_ticker(new AdTicker)
    , m_storageBar(new QProgressBar)
    , m_storage(new QLabel)
    , m_user(toolButton("btn_user", "user.svg"))
    , m_tray(toolButton("btn_tray", "tray.svg"))
    , m_menu(toolButton("btn_menu", "menu.svg"))
{
    setObjectName(QStringLiteral("titleBar"));
    setAttribute(Qt::WA_StyledBackground);
    auto *logo = new QLabel;
    logo->setObjectName(QStringLiteral("label_logo"));
    logo->setPixmap(iconOf("logo.svg").pixmap(26, 26));

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 8, 10, 8);
    layout->setSpacing(4);
    layout->addWidget(logo);
    layout->addSpacing(10);
    static const char *const names[PageCount] = {"btn_disk", "btn_transfer", "btn_share", "btn_setting"};
    static const char *const icons[PageCount] = {"disk.svg", "transfer.svg", "share.svg", "settings.svg"};
    m_group->setExclusive(true);
    for (int i = 0; i < PageCount; ++i) {
        m_pages[i] = new QPushButton;
        m_pages[i]->setObjectName(QLatin1String(names[i]));
        m_pages[i]->setIcon(iconOf(icons[i]));
        m_pages[i]->setIconSize(QSize(18, 18));
        m_pages[i]->setCheckable(true);
        m_pages[i]->setProperty("pageButton", true);
        m_group->addButton(m_pages[i], i);
        layout->addWidget(m_pages[i]);
        connect(m_pages[i], &QPushButton::clicked, this, &HeaderBar::pageChosen);
    }
    m_pages[Disk]->setChecked(true);
    layout->addSpacing(8);
    for (QToolButton *button : {m_newTab, m_split, m_closePane, m_reopen})
        layout->addWidget(button);
    connect(m_newTab, &QToolButton::clicked, this, &HeaderBar::newTabAsked);
    connect(m_reopen, &QToolButton::clicked, this, &HeaderBar::reopenAsked);
    connect(m_split, &QToolButton::clicked, this, &HeaderBar::splitAsked);
    connect(m_closePane, &QToolButton::clicked, this, &HeaderBar::closePaneAsked);

    m_storageBar->setObjectName(QStringLiteral("bar_storage"));
    m_storageBar->setTextVisible(false);
    m_storageBar->setFixedWidth(kStorageWidth);
    m_storage->setObjectName(QStringLiteral("label_storage"));
    m_user->setIconSize(QSize(kAvatar, kAvatar));
    connect(m_user, &QToolButton::clicked, this, &HeaderBar::userClicked);

    layout->addStretch(1);
    layout->addWidget(m_ticker);
    layout->addSpacing(8);
    layout->addWidget(m_storageBar);
    layout->addWidget(m_storage);
    layout->addSpacing(8);
    layout->addWidget(m_user);
    layout->addWidget(m_tray);
    layout->addWidget(m_menu);
    setStorage(0, 0);
    setTabActions(false, false, false);
    retranslate();
}

HeaderBar::Page HeaderBar::page() const
{
    return static_cast<Page>(m_group->checkedId());
}

void HeaderBar::setPage(Page page)
{
    m_pages[page]->setChecked(true);
    const bool disk = page == Disk;
    m_newTab->setEnabled(disk);
}

void HeaderBar::setPageVisible(Page page, bool visible)
{
    m_pages[page]->setVisible(visible);
}

bool HeaderBar::isPageVisible(Page page) const
{
    return !m_pages[page]->isHidden();
}

void HeaderBar::setRunningTransfers(int count)
{
    m_running = count;
    showTexts();
}

void HeaderBar::showTexts()
{
    QString texts[PageCount] = {tr("My Disk"), tr("Transfer List"), tr("Share"), tr("Setting")};
    if (m_running > 0)
        texts[Transfers] += QStringLiteral(" (%1)").arg(m_running);
    for (int i = 0; i < PageCount; ++i) {
        m_pages[i]->setText(m_wide ? texts[i] : QString());
        m_pages[i]->setToolTip(m_wide ? QString() : texts[i]);
        m_pages[i]->setAccessibleName(texts[i]);
    }
}

void HeaderBar::showUser()
{
    QString shown = fontMetrics().elidedText(m_userName, Qt::ElideRight, kLongestName);
    m_user->setText(shown.replace(QLatin1Char('&'), QLatin1String("&&")));
    m_user->setToolButtonStyle(m_wide ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonIconOnly);
}

void HeaderBar::setUser(const QString &name, const QString &tip, const QImage &picture)
{
    m_userName = name;
    showUser();
    m_user->setToolTip(tip.toHtmlEscaped());
    m_user->setIcon(picture.isNull() ? iconOf("user.svg")
                                     : QIcon(ServicePicture::round(picture, kAvatar, devicePixelRatioF())));
}

void HeaderBar::setStorage(qint64 used, qint64 quota)
{
    m_storageKnown = quota > 0;
    showStorage();
    if (!m_storageKnown)
        return;
    const double share = 100.0 * static_cast<double>(used) / static_cast<double>(quota);
    m_storageBar->setValue(static_cast<int>(qBound(0.0, share, 100.0)));
    m_storage->setText(QStringLiteral("%1/%2").arg(sizeText(static_cast<quint64>(qMax<qint64>(0, used))),
                                                   sizeText(static_cast<quint64>(quota))));
    m_storageBar->setToolTip(m_storage->text());
}

void HeaderBar::showStorage()
{
    m_storageBar->setVisible(m_storageKnown && m_wide);
    m_storage->setVisible(m_storageKnown && m_wide && (m_roomy || m_ticker->isHidden()));
}

void HeaderBar::setTabActions(bool canReopen, bool canSplit, bool canClosePane)
{
    m_reopen->setVisible(canReopen);
    m_split->setEnabled(canSplit);
    m_closePane->setVisible(canClosePane);
}

void HeaderBar::fit(int windowWidth)
{
    const int room = windowWidth / kTickerShare;
    const bool wide = windowWidth >= kWideWindow;
    m_ticker->setMaximumWidth(wide && room >= kLeastTicker ? room : 0);
    const bool changed = wide != m_wide;
    m_wide = wide;
    m_roomy = windowWidth >= kRoomyWindow;
    showStorage();
    if (!changed)
        return;
    showTexts();
    showUser();
}

void HeaderBar::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}

void HeaderBar::retranslate()
{
    showTexts();
    setTip(m_newTab, tr("New tab"), "Ctrl+T");
    setTip(m_reopen, tr("Reopen the closed tab"), "Ctrl+Shift+T");
    setTip(m_split, tr("Split side by side"), "F3");
    setTip(m_closePane, tr("Close this pane"), "Ctrl+Shift+W");
    setTip(m_tray, tr("Minimize to tray"));
    setTip(m_menu, tr("Menu"));
    m_storageBar->setAccessibleName(tr("Storage used"));
}
