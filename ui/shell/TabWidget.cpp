#include "TabWidget.h"

#include "DropDecision.h"
#include "NetdiskPage.h"
#include "TabBar.h"

#include <QDrag>
#include <QDragEnterEvent>
#include <QEvent>
#include <QMenu>
#include <QMimeData>

namespace {

const char kTabFormat[] = "application/x-arkvale-tab";
constexpr int kRest = 500;     // ms
constexpr int kMarkHeight = 2; // pixels
constexpr int kSideShare = 4;  // a quarter of the pane's width at each side

bool isTab(const QDropEvent *event)
{
    return event->mimeData()->hasFormat(QLatin1String(kTabFormat)) && qobject_cast<TabWidget *>(event->source());
}

} // namespace

TabWidget::TabWidget(QWidget *parent)
    : QTabWidget(parent)
    , m_hint(new QWidget(this))
    , m_mark(new QWidget(this))
{
    auto *bar = new TabBar(this);
    setTabBar(bar);
    setTabsClosable(true);
    setMovable(true);
    setDocumentMode(true);
    setTabBarAutoHide(true);
    setElideMode(Qt::ElideMiddle);
    setUsesScrollButtons(true);
    setAcceptDrops(true);
    setAttribute(Qt::WA_StyledBackground);
    m_hint->setObjectName(QStringLiteral("dropHint"));
    m_hint->setAttribute(Qt::WA_StyledBackground);
    m_hint->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_hint->hide();
    m_mark->setObjectName(QStringLiteral("paneMark"));
    m_mark->setAttribute(Qt::WA_StyledBackground);
    m_mark->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_mark->hide();
    bar->setAcceptDrops(true);
    bar->installEventFilter(this);
    bar->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(bar, &QWidget::customContextMenuRequested, this, &TabWidget::showMenu);
    connect(bar, &TabBar::dragOut, this, &TabWidget::startDrag);
    connect(this, &QTabWidget::tabCloseRequested, this, &TabWidget::sigCloseTab);
    connect(this, &QTabWidget::tabBarDoubleClicked, this, [this](int index) {
        if (index < 0)
            emit sigAddTab();
    });
}

void TabWidget::setTitle(QWidget *page, const QString &text)
{
    QString shown = text;
    shown.replace(QLatin1Char('&'), QLatin1String("&&"));
    const int index = indexOf(page);
    setTabText(index, shown);
    setTabToolTip(index, QStringLiteral("<qt>%1</qt>").arg(text.toHtmlEscaped()));
}

void TabWidget::setMarked(bool marked)
{
    m_mark->setVisible(marked);
    m_mark->raise();
}

void TabWidget::resizeEvent(QResizeEvent *event)
{
    QTabWidget::resizeEvent(event);
    m_mark->setGeometry(0, 0, width(), kMarkHeight);
}

void TabWidget::tabInserted(int index)
{
    QTabWidget::tabInserted(index);
    retranslate();
}

void TabWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QTabWidget::changeEvent(event);
}

void TabWidget::retranslate()
{
    for (int i = 0; i < count(); ++i) {
        for (QTabBar::ButtonPosition side : {QTabBar::LeftSide, QTabBar::RightSide}) {
            if (QWidget *close = tabBar()->tabButton(i, side))
                close->setToolTip(tr("Close tab") + QStringLiteral(" (Ctrl+W)"));
        }
    }
}

void TabWidget::showMenu(const QPoint &position)
{
    const int index = tabBar()->tabAt(position);
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("New tab"), this, &TabWidget::sigAddTab);
    if (index >= 0) {
        QAction *split = menu->addAction(tr("Move to a new pane"), this, [this, index] { emit sigSplitWidget(index); });
        split->setEnabled(m_splittable && count() > 1);
        menu->addSeparator();
        menu->addAction(tr("Close tab"), this, [this, index] { emit sigCloseTab(index); });
        QAction *others = menu->addAction(tr("Close other tabs"), this, [this, index] { emit sigCloseOthers(index); });
        others->setEnabled(count() > 1);
    }
    menu->popup(tabBar()->mapToGlobal(position));
}

// Dragging

void TabWidget::startDrag(int index)
{
    if (index < 0 || index >= count())
        return;
    auto *content = new QMimeData;
    content->setData(QLatin1String(kTabFormat), QByteArray::number(index));
    auto *drag = new QDrag(this);
    drag->setMimeData(content);
    drag->setPixmap(tabBar()->grab(tabBar()->tabRect(index)));
    m_drop = Drop();
    const QPointer<QWidget> page = widget(index);
    const QPointer<TabWidget> alive(this);
    drag->exec(Qt::MoveAction);
    // Only now, for a pane that loses its last tab goes away, and the drag stands on this one.
    if (!alive || !m_drop.target || !page)
        return;
    const Drop drop = m_drop;
    m_drop = Drop();
    emit sigTabDropped(indexOf(page), drop.target, drop.place, drop.at);
}

TabWidget::Drop TabWidget::dropAt(const QPoint &position)
{
    Drop drop;
    drop.target = this;
    const QPoint onBar = tabBar()->mapFrom(this, position);
    if (tabBar()->isVisible() && tabBar()->rect().contains(onBar)) {
        drop.at = tabBar()->tabAt(onBar);
        return drop;
    }
    if (m_splittable && position.x() < width() / kSideShare)
        drop.place = LeftSide;
    else if (m_splittable && position.x() > width() - width() / kSideShare)
        drop.place = RightSide;
    return drop;
}

QRect TabWidget::roomOf(const Drop &drop) const
{
    QRect room = rect();
    if (drop.place == LeftSide)
        room.setRight(room.width() / 2);
    else if (drop.place == RightSide)
        room.setLeft(room.width() / 2);
    return room;
}

void TabWidget::dragEnterEvent(QDragEnterEvent *event)
{
    if (isTab(event))
        event->acceptProposedAction();
}

void TabWidget::dragMoveEvent(QDragMoveEvent *event)
{
    if (!isTab(event))
        return;
    m_hint->setGeometry(roomOf(dropAt(event->pos())));
    m_hint->raise();
    m_hint->show();
    event->acceptProposedAction();
}

void TabWidget::dragLeaveEvent(QDragLeaveEvent *)
{
    m_hint->hide();
}

void TabWidget::dropEvent(QDropEvent *event)
{
    m_hint->hide();
    if (!isTab(event))
        return;
    qobject_cast<TabWidget *>(event->source())->m_drop = dropAt(event->pos());
    event->acceptProposedAction();
}

bool TabWidget::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    const bool enters = type == QEvent::DragEnter, moves = type == QEvent::DragMove, drops = type == QEvent::Drop;
    if (type == QEvent::DragLeave || drops)
        m_rest.stop();
    if (watched != tabBar() || !(enters || moves || drops))
        return QTabWidget::eventFilter(watched, event);
    auto *drop = static_cast<QDropEvent *>(event);
    if (isTab(drop)) {
        event->ignore(); // the pane takes it
        return true;
    }
    const int index = tabBar()->tabAt(drop->pos());
    if (moves && index != m_restTab) {
        m_restTab = index;
        m_rest.start(kRest, this);
    }
    auto *page = qobject_cast<NetdiskPage *>(widget(index));
    const auto kind = DropDecision::Kind(page ? page->dropKind(drop->mimeData()) : 0);
    if (enters)
        drop->accept(); // over which tab the drop happens is not known yet
    else
        DropDecision::apply(kind, drop);
    if (drops && kind)
        page->takeDrop(drop->mimeData());
    return true;
}

void TabWidget::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_rest.timerId())
        return QTabWidget::timerEvent(event);
    m_rest.stop();
    if (m_restTab >= 0)
        setCurrentIndex(m_restTab);
}
