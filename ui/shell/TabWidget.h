#pragma once

#include <QBasicTimer>
#include <QPointer>
#include <QTabWidget>

/// One pane of drive pages. Its tab bar hides while there is a single tab. What the person wants of the tabs leaves as
/// signals; the pane itself only lets tabs be moved among each other. Tabs can be dragged to other panes and to the
/// sides of a pane; what else is dropped on a tab goes to its page, and a tab opens under a drag that rests on it. GUI
/// thread only.
class TabWidget : public QTabWidget
{
    Q_OBJECT

public:
    /// Where on a pane a tab was dropped.
    enum DropPlace
    {
        Inside,
        LeftSide,
        RightSide
    };

    explicit TabWidget(QWidget *parent = nullptr);

    /// @param text shown as it is, also where it holds an ampersand
    void setTitle(QWidget *page, const QString &text);
    /// Marks the pane in which the person works, while there are several.
    void setMarked(bool marked);
    /// More panes may be opened beside this one.
    void setSplittable(bool splittable) { m_splittable = splittable; }

signals:
    void sigAddTab();
    /// The tab of that number is to stand in a pane of its own.
    void sigSplitWidget(int index);
    void sigCloseTab(int index);
    void sigCloseOthers(int index);
    /// The tab of that number was dropped onto @p target.
    /// @param at number that it gets there, for a drop inside; -1: the last
    void sigTabDropped(int index, TabWidget *target, int place, int at);

protected:
    void tabInserted(int index) override;
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Drop
    {
        QPointer<TabWidget> target;
        DropPlace place = Inside;
        int at = -1;
    };
    Drop dropAt(const QPoint &position);
    QRect roomOf(const Drop &drop) const;
    void startDrag(int index);
    void retranslate();
    void showMenu(const QPoint &position);

    bool m_splittable = true;
    QWidget *m_hint;
    QWidget *m_mark;    ///< a line at the top
    QBasicTimer m_rest; ///< runs while a drag rests on a tab that is not open
    int m_restTab = -1;
    Drop m_drop; ///< of the drag that this pane started
};
