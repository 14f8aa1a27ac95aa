#pragma once

#include "TransferModule.h"

#include <QIcon>
#include <QList>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

class QTimer;

/// The icon in the system tray with its menu and balloons. Keeps no state of its own: every command leaves as a signal.
/// Many transfers that are created or finished within a second make one balloon. On a desktop without a tray nothing is
/// seen and no command comes. GUI thread only.
class ArkvaleTray : public QObject
{
    Q_OBJECT

public:
    ArkvaleTray(const QIcon &icon, QObject *parent = nullptr);
    ~ArkvaleTray() override;

    /// Shows the icon, and the actions that make sense only for a logged-in user when @p visible is true.
    void setLoggedInActionsVisible(bool visible);
    void setVisible(bool visible);
    /// The desktop has a tray and the icon is in it, so that the person can bring a hidden window back.
    bool isShown() const { return m_icon.isVisible() && QSystemTrayIcon::isSystemTrayAvailable(); }
    const QMenu *menu() const { return &m_menu; }
    QSystemTrayIcon *icon() { return &m_icon; }

signals:
    void sigRaise();
    void sigShowTransfering();
    void sigShowSetting();
    void sigSwitchShow(bool show);
    void sigLogout();
    void sigQuit();

public slots:
    void slotChangeLanguage();
    /// Takes the application's icon of the present skin.
    void onChangedSkin();
    /// A balloon was clicked: whoever wants to know more looks into the window.
    void slotTrayMessageClicked();
    void slotShowFileTransferringFinishedMsg(QStringList names, ZPDTCMDTYPE type);
    void slotShowFileTransferringCreatedMsg(ZPDTCMDTYPE type);
    void slotShowMessage(QString message);
    void slotShowLoginMessage();
    void slotTrayActivated(QSystemTrayIcon::ActivationReason reason);

protected:
    /// @param milliseconds how long the balloon is wanted; the system may show it longer
    virtual void showBalloon(const QString &title, const QString &text, int milliseconds);

private:
    /// What happened within a second after a balloon of the same kind.
    struct Gathered
    {
        int count = 0;
        QStringList names;
        QTimer *timer = nullptr;
    };
    enum Kind
    {
        DownloadCreated,
        UploadCreated,
        DownloadFinished,
        UploadFinished,
        KindCount
    };
    QAction *addAction(const char *text, const char *signal);
    /// Shows it at once, or with whatever else comes within the second.
    void gather(Kind kind, const QStringList &names);
    void showGathered(Kind kind);
    void showEvents(Kind kind, int count, const QStringList &names);

    QMenu m_menu;
    QSystemTrayIcon m_icon;
    QAction *m_transferList = nullptr;
    QAction *m_logout = nullptr;
    Gathered m_gathered[KindCount];
};
