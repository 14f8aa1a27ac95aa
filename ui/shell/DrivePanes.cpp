#include "DrivePanes.h"

#include "NetdiskPage.h"
#include "TabWidget.h"

#include <QApplication>
#include <QTabBar>

namespace {

constexpr int kMostClosed = 20;

} // namespace

DrivePanes::DrivePanes(QWidget *parent)
    : QSplitter(Qt::Horizontal, parent)
{
    setObjectName(QStringLiteral("splitter_disk"));
    setChildrenCollapsible(false);
    setHandleWidth(1);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) { noteFocus(now); });
}

QList<TabWidget *> DrivePanes::panes() const
{
    QList<TabWidget *> found;
    for (int i = 0; i < count(); ++i) {
        if (auto *pane = qobject_cast<TabWidget *>(widget(i)))
            found << pane;
    }
    return found;
}

NetdiskPage *DrivePanes::page(const TabWidget *pane, int index)
{
    return pane ? qobject_cast<NetdiskPage *>(pane->widget(index)) : nullptr;
}

QList<NetdiskPage *> DrivePanes::pages() const
{
    QList<NetdiskPage *> found;
    const QList<TabWidget *> all = panes();
    for (const TabWidget *pane : all) {
        for (int i = 0; i < pane->count(); ++i) {
            if (NetdiskPage *one = page(pane, i))
                found << one;
        }
    }
    return found;
}

TabWidget *DrivePanes::pane(const QString &name) const
{
    return findChild<TabWidget *>(name, Qt::FindDirectChildrenOnly);
}

TabWidget *DrivePanes::paneOf(const NetdiskPage *page) const
{
    const QList<TabWidget *> all = panes();
    for (TabWidget *pane : all) {
        if (pane->indexOf(const_cast<NetdiskPage *>(page)) >= 0)
            return pane;
    }
    return nullptr;
}

TabWidget *DrivePanes::currentPane() const
{
    return m_current && indexOf(m_current) >= 0 ? m_current.data() : panes().value(0);
}

NetdiskPage *DrivePanes::currentPage() const
{
    const TabWidget *pane = currentPane();
    return pane ? page(pane, pane->currentIndex()) : nullptr;
}

NetdiskPage *DrivePanes::findPage(const QString &subCenterId) const
{
    NetdiskPage *current = currentPage();
    if (current && current->subCenter().id == subCenterId)
        return current;
    const QList<NetdiskPage *> all = pages();
    for (NetdiskPage *one : all) {
        if (one->subCenter().id == subCenterId)
            return one;
    }
    return nullptr;
}

TabWidget *DrivePanes::addPane(int at)
{
    auto *pane = new TabWidget;
    pane->setObjectName(QStringLiteral("SplitWidget%1").arg(++m_number));
    connect(pane, &QTabWidget::currentChanged, this, [this] { emit changed(); });
    connect(pane, &TabWidget::sigTabDropped, this, &DrivePanes::takeDroppedTab);
    insertWidget(at < 0 ? count() : at, pane);
    shareWidth();
    emit paneAdded(pane);
    if (!m_current)
        m_current = pane;
    refreshMarks();
    return pane;
}

void DrivePanes::shareWidth()
{
    const int each = qMax(1, width() / qMax(1, count()));
    QList<int> widths;
    for (int i = 0; i < count(); ++i)
        widths << each;
    setSizes(widths);
}

void DrivePanes::removePane(TabWidget *pane)
{
    if (!pane || pane->count() > 0 || panes().size() < 2)
        return;
    const int place = indexOf(pane);
    const bool focused = currentPane() == pane;
    pane->setParent(nullptr);
    pane->deleteLater();
    if (focused)
        setCurrentPane(panes().value(qMax(0, place - 1)));
    refreshMarks();
}

void DrivePanes::addPage(TabWidget *pane, NetdiskPage *page)
{
    pane->addTab(page, QString());
    pane->setCurrentWidget(page);
    refreshMarks();
}

void DrivePanes::remember(const NetdiskPage *page)
{
    m_closed << WindowState::Tab{page->subCenter().id, page->currentPath()};
    if (m_closed.size() > kMostClosed)
        m_closed.removeFirst();
}

bool DrivePanes::closePage(NetdiskPage *page)
{
    TabWidget *pane = paneOf(page);
    if (!pane || pages().size() < 2)
        return false;
    const bool focused = currentPage() == page;
    remember(page);
    pane->removeTab(pane->indexOf(page));
    page->hide();
    page->setParent(nullptr);
    page->deleteLater();
    removePane(pane);
    if (focused && currentPage())
        activate(currentPage());
    refreshMarks();
    return true;
}

void DrivePanes::closeOthers(TabWidget *pane, int index)
{
    const NetdiskPage *kept = page(pane, index);
    for (int i = pane->count() - 1; kept && i >= 0; --i) {
        if (page(pane, i) != kept)
            closePage(page(pane, i));
    }
}

void DrivePanes::closePane(TabWidget *pane)
{
    if (!pane || panes().size() < 2)
        return;
    // With its last tab the pane goes by itself.
    for (int i = pane->count() - 1; i >= 0; --i)
        closePage(page(pane, i));
}

void DrivePanes::movePage(NetdiskPage *page, TabWidget *target, int at)
{
    TabWidget *from = paneOf(page);
    if (!from || !target)
        return;
    const int index = from->indexOf(page);
    if (from == target) {
        if (at >= 0)
            from->tabBar()->moveTab(index, at);
        return;
    }
    const QString text = from->tabText(index);
    const QString tip = from->tabToolTip(index);
    const QIcon icon = from->tabIcon(index);
    from->removeTab(index);
    const int place = target->insertTab(at < 0 ? target->count() : at, page, icon, text);
    target->setTabToolTip(place, tip);
    page->show();
    removePane(from);
    activate(page);
}

bool DrivePanes::splitPage(NetdiskPage *page)
{
    TabWidget *from = paneOf(page);
    // A pane's only tab has the room that a pane of its own would give it.
    if (!from || from->count() < 2 || !canSplit())
        return false;
    movePage(page, addPane(indexOf(from) + 1), -1);
    return true;
}

void DrivePanes::takeDroppedTab(int index, TabWidget *target, int place, int at)
{
    auto *from = qobject_cast<TabWidget *>(sender());
    NetdiskPage *moved = from ? page(from, index) : nullptr;
    if (!moved || indexOf(target) < 0)
        return;
    if (place == TabWidget::Inside) {
        movePage(moved, target, at);
        return;
    }
    // Beside itself, a pane with one tab would only change places with nothing.
    if (!canSplit() || (from == target && from->count() < 2))
        return;
    movePage(moved, addPane(indexOf(target) + (place == TabWidget::RightSide ? 1 : 0)), -1);
}

void DrivePanes::activate(NetdiskPage *page)
{
    TabWidget *pane = paneOf(page);
    if (!pane)
        return;
    pane->setCurrentWidget(page);
    setCurrentPane(pane);
    page->setFocus();
    refreshMarks();
}

void DrivePanes::noteFocus(QWidget *now)
{
    const QList<TabWidget *> all = panes();
    for (TabWidget *pane : all) {
        if (now && pane->isAncestorOf(now) && pane != currentPane()) {
            setCurrentPane(pane);
            refreshMarks();
        }
    }
}

void DrivePanes::setCurrentPane(TabWidget *pane)
{
    m_current = pane;
}

void DrivePanes::stepPane(int step)
{
    const QList<TabWidget *> all = panes();
    if (all.size() < 2)
        return;
    const int next = (all.indexOf(currentPane()) + step + all.size()) % all.size();
    if (NetdiskPage *shown = page(all.at(next), all.at(next)->currentIndex()))
        activate(shown);
}

void DrivePanes::stepTab(int step)
{
    const TabWidget *pane = currentPane();
    if (pane && pane->count() > 1)
        selectTab((pane->currentIndex() + step + pane->count()) % pane->count());
}

void DrivePanes::shiftTab(int step)
{
    const TabWidget *pane = currentPane();
    const int to = pane ? pane->currentIndex() + step : -1;
    if (to >= 0 && to < pane->count())
        pane->tabBar()->moveTab(pane->currentIndex(), to);
}

void DrivePanes::selectTab(int index)
{
    if (NetdiskPage *wanted = page(currentPane(), index))
        activate(wanted);
}

void DrivePanes::refreshMarks()
{
    const QList<TabWidget *> all = panes();
    for (TabWidget *pane : all) {
        pane->setMarked(all.size() > 1 && pane == currentPane());
        pane->setSplittable(all.size() < kMostPanes);
    }
    emit changed();
}

QList<WindowState::Pane> DrivePanes::state() const
{
    QList<WindowState::Pane> list;
    const QList<TabWidget *> all = panes();
    for (TabWidget *pane : all) {
        WindowState::Pane one;
        one.width = pane->width();
        one.current = pane->currentIndex();
        for (int i = 0; i < pane->count(); ++i) {
            if (const NetdiskPage *shown = page(pane, i))
                one.tabs << WindowState::Tab{shown->subCenter().id, shown->currentPath()};
        }
        list << one;
    }
    return list;
}

int DrivePanes::currentPaneIndex() const
{
    return qMax(0, panes().indexOf(currentPane()));
}
