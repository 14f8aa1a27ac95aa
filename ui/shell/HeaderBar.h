#pragma once

#include <QImage>
#include <QWidget>

class AdTicker;
class QButtonGroup;
class QLabel;
class QProgressBar;
class QPushButton;
class QToolButton;

/// The bar at the top of the main window: buttons of the pages and of the tabs, ticker, storage, user, tray, menu. It
/// shows what it is told and says what was clicked; a click on a page's button is chosen already when pageChosen()
/// fires. GUI thread only.
class HeaderBar : public QWidget
{
    Q_OBJECT

public:
    enum Page
    {
        Disk,
        Transfers,
        Share,
        Settings,
        PageCount
    };

    explicit HeaderBar(QWidget *parent = nullptr);

    Page page() const;
    /// Checks the page's button; no signal.
    void setPage(Page page);
    void setPageVisible(Page page, bool visible);
    bool isPageVisible(Page page) const;
    void setRunningTransfers(int count);
    void setUser(const QString &name, const QString &tip, const QImage &picture);
    /// @param quota bytes; 0: not known, nothing is shown
    void setStorage(qint64 used, qint64 quota);
    void setTabActions(bool canReopen, bool canSplit, bool canClosePane);
    /// Leaves out of a narrow window what can be left out: words beside icons, the ticker, the storage figures.
    void fit(int windowWidth);
    AdTicker *ticker() const { return m_ticker; }
    QToolButton *trayButton() const { return m_tray; }
    QToolButton *menuButton() const { return m_menu; }

signals:
    void pageChosen();
    void newTabAsked();
    void reopenAsked();
    void splitAsked();
    void closePaneAsked();
    void userClicked();

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();
    void showTexts();
    void showUser();
    void showStorage();

    QButtonGroup *m_group;
    QPushButton *m_pages[PageCount];
    QToolButton *m_newTab;
    QToolButton *m_reopen;
    QToolButton *m_split;
    QToolButton *m_closePane;
    AdTicker *m_ticker;
    QProgressBar *m_storageBar;
    QLabel *m_storage;
    QToolButton *m_user;
    QToolButton *m_tray;
    QToolButton *m_menu;
    int m_running = 0;
    bool m_wide = true;
    bool m_roomy = true;
    bool m_storageKnown = false;
    QString m_userName;
};
