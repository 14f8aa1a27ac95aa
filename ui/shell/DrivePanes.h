#pragma once

#include "WindowState.h"

#include <QPointer>
#include <QSplitter>

class NetdiskPage;
class TabWidget;

/// The panes side by side and the tabs in them, each with one drive page. There is always one page left once there was
/// one: the last tab of the last pane cannot be closed. Remembers closed tabs. Knows nothing of what pages do; whoever
/// adds a page connects it. GUI thread only.
class DrivePanes : public QSplitter
{
    Q_OBJECT

public:
    static constexpr int kMostPanes = 4;

    explicit DrivePanes(QWidget *parent = nullptr);

    QList<TabWidget *> panes() const;
    QList<NetdiskPage *> pages() const;
    TabWidget *pane(const QString &name) const;
    TabWidget *paneOf(const NetdiskPage *page) const;
    /// The pane in which the person works; null only while there is no pane at all.
    TabWidget *currentPane() const;
    NetdiskPage *currentPage() const;
    static NetdiskPage *page(const TabWidget *pane, int index);
    /// The current page when it is of that sub-center, else the first one that is; null when there is none.
    NetdiskPage *findPage(const QString &subCenterId) const;
    bool canSplit() const { return panes().size() < kMostPanes; }

    /// @param at place among the panes, -1: the last
    TabWidget *addPane(int at = -1);
    /// Removes an empty pane unless it is the only one.
    void removePane(TabWidget *pane);
    void addPage(TabWidget *pane, NetdiskPage *page);
    /// False for the last page of all.
    bool closePage(NetdiskPage *page);
    void closeOthers(TabWidget *pane, int index);
    /// Closes a pane with all its tabs, unless it is the only one.
    void closePane(TabWidget *pane);
    /// Moves a tab into a pane of its own at the right of its pane; false where it has one or there are too many.
    bool splitPage(NetdiskPage *page);
    /// Brings a page to the front of its pane, which becomes the current one.
    void activate(NetdiskPage *page);
    /// The next pane, or the next tab of the current pane, going round; @p step is 1 or -1.
    void stepPane(int step);
    void stepTab(int step);
    /// Moves the current tab among its neighbours.
    void shiftTab(int step);
    void selectTab(int index);

    bool hasClosed() const { return !m_closed.isEmpty(); }
    /// The tab that was closed last; it is forgotten. Only while hasClosed().
    WindowState::Tab takeClosed() { return m_closed.takeLast(); }

    QList<WindowState::Pane> state() const;
    int currentPaneIndex() const;

signals:
    /// A pane is there whose requests nobody hears yet.
    void paneAdded(TabWidget *pane);
    /// Another page is the current one, or there are more or fewer panes and tabs.
    void changed();

private:
    void noteFocus(QWidget *now);
    void setCurrentPane(TabWidget *pane);
    void takeDroppedTab(int index, TabWidget *target, int place, int at);
    void movePage(NetdiskPage *page, TabWidget *target, int at);
    void remember(const NetdiskPage *page);
    void refreshMarks();
    void shareWidth();

    QPointer<TabWidget> m_current;
    QList<WindowState::Tab> m_closed;
    int m_number = 0;
};
