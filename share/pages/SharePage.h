#pragma once

#include "FileItem.h"
#include "ShareRecord.h"
#include "SubCenter.h"

#include <QHash>
#include <QWidget>

#include <memory>

class NoticeBar;
class QLineEdit;
class QHBoxLayout;
class QStackedWidget;
class QToolButton;
class ShareBrowser;
class ShareListView;
class SharePreview;
class ShareService;

/// The page behind "Share": what the user shares and what others share with the user, with everything that can be done
/// about it; also opens the dialogs in which a drive page's entry is shared. Asks for nothing before it is first shown.
/// GUI thread only.
class SharePage : public QWidget
{
    Q_OBJECT

public:
    explicit SharePage(QWidget *parent = nullptr);
    ~SharePage() override;

    /// Opens the dialog in which @p item of the sub-center's drive is shared.
    void share(const FileItem &item, bool withUsers, const SubCenter &center);
    /// Id of the sub-center that sigIntoFolder is about, while it fires; may be empty.
    QString placeCenter() const { return m_placeCenter; }

public slots:
    void refresh();
    /// A share of one's own was made or changed.
    void slotAddMyShareRecord(ShareRecord record);

signals:
    /// Shows the folder of a shared item on the drive.
    void sigIntoFolder(QString path);
    void sigShareToMeFileDownloadStart(QList<FileItem> files, QList<FileItem> folders, SubCenter center,
                                       QString localFolder);
    /// Items of a share were saved on the drive: their paths there.
    void sigCopyToMyDiskFinished(QStringList paths);
    void sigLogout(QString message);

protected:
    /// The questions to the person, apart for callers that answer them otherwise.
    virtual QString askLocalFolder();
    virtual QString askDriveFolder(const SubCenter &center);
    virtual bool confirm(const QString &text);
    void showEvent(QShowEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    enum Part
    {
        Mine,
        ToMe,
        Inside
    };
    /// What is picked, in whichever list is shown.
    struct Picked
    {
        ShareRecord record;
        FileItem item;
    };

    void build();
    QToolButton *addButton(QHBoxLayout *bar, const char *name, const char *icon, void (SharePage::*slot)());
    void buildBars(QWidget *bar);
    void connectService(ShareService *service);
    /// Of the shares that are made, and the items that are saved, in one sub-center.
    ShareService *serviceOf(const SubCenter &center);
    void retranslate();
    void showPart(Part part);
    Part part() const;
    QList<Picked> picked() const;
    void selectionChanged();
    void showMenu(const QPoint &globalPos);
    void openRecord(const ShareRecord &record);
    void edit();
    void remove();
    void showPlace();
    void download();
    void download(const QList<Picked> &all);
    void saveAs();
    void openFile();
    void report();
    void askNicknames(const QList<ShareRecord> &records);
    void placeKnown(const QString &userPath);
    template <typename Dialog>
    void runDialog(ShareService *service, const ShareRecord &record);

    const QString m_url; ///< address of the account
    ShareService *m_service;
    QHash<QString, ShareService *> m_services; ///< by sub-center
    std::unique_ptr<SharePreview> m_preview;   ///< of the share that a file was opened of last
    QToolButton *m_mineButton = nullptr;
    QToolButton *m_toMeButton = nullptr;
    QLineEdit *m_filter = nullptr;
    QToolButton *m_refresh = nullptr;
    NoticeBar *m_notice = nullptr;
    QStackedWidget *m_stack = nullptr;
    ShareListView *m_mine = nullptr;
    ShareListView *m_toMe = nullptr;
    ShareBrowser *m_inside = nullptr;
    QToolButton *m_edit = nullptr;
    QToolButton *m_remove = nullptr;
    QToolButton *m_place = nullptr;
    QToolButton *m_download = nullptr;
    QToolButton *m_save = nullptr;
    QToolButton *m_open = nullptr;
    QToolButton *m_report = nullptr;
    QString m_placeCenter;
    bool m_asked = false;
    bool m_inDialog = false;
    QHash<QString, QPair<QString, QList<Picked>>> m_downloads; ///< by share: local folder, and what waits for its place
};
