#pragma once

#include <QTabWidget>

/// One pane of drive pages. Its tab bar hides while there is a single tab. What the person wants of the tabs leaves as
/// signals; the pane itself only lets tabs be moved among each other.
class TabWidget : public QTabWidget
{
    Q_OBJECT

public:
    explicit TabWidget(QWidget *parent = nullptr);

    /// @param text shown as it is, also where it holds an ampersand
    void setTitle(QWidget *page, const QString &text);

signals:
    void sigAddTab();
    /// The tab of that number is to stand in a pane of its own.
    void sigSplitWidget(int index);
    void sigCloseTab(int index);

protected:
    void tabInserted(int index) override;
    void changeEvent(QEvent *event) override;

private:
    void retranslate();
    void showMenu(const QPoint &position);
};
