#pragma once

#include <QFrame>
#include <QList>

class AddressBarButton;
class QAction;
class QCompleter;
class QLabel;
class QLineEdit;
class QMenu;
class QMimeData;
class QStringListModel;
class QToolButton;
class QWidgetAction;

/// The path of the folder shown as a row of buttons, or as text to type over, completed with the names of sub-folders.
/// When the row is too narrow the first folders fold into a menu. A button takes drops for its folder. Every way to
/// another folder leaves as sigIntoFolder. GUI thread only.
class AddressBar : public QFrame
{
    Q_OBJECT

public:
    explicit AddressBar(QWidget *parent = nullptr);

    /// What the top of the drive is called.
    void setRootName(const QString &name);
    void setPath(const QString &path);
    /// Shows a text, such as the title of a search result, instead of a path.
    void setTitle(const QString &title);
    QString path() const { return m_path; }
    bool isEditing() const;
    QStringList shownCrumbs() const;
    /// What drops on a button are measured by.
    void setSubCenterId(const QString &id) { m_subCenterId = id; }

public slots:
    void edit();
    void HandleReturn();
    void OnSearch(bool checked);
    void SlotClickFloder(QAction *action);
    /// Move the menu of hidden folders when they are more than it shows.
    void scrollUp();
    void scrollDown();
    /// The answer to folderNamesAsked; one for another folder than the one being typed is dropped.
    void setFolderNames(const QString &parent, const QStringList &names);

signals:
    void sigIntoFolder(const QString &path);
    void sigSearch(const QString &keyword);
    /// The person gave up typing.
    void left();
    /// The names of the folders in @p parent, which ends in "/", are wanted to complete what is typed.
    void folderNamesAsked(const QString &parent);
    /// Something that DropDecision accepts was dropped on the button of @p folder.
    void dropped(const QMimeData *data, const QString &folder);

protected:
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void retranslate();
    void rebuild();
    void layoutCrumbs();
    void stopEditing();
    void buildFoldMenu();
    void scrollMenu(int by);
    void fillFoldMenu();
    void edited(const QString &text);
    void complete();
    bool crumbEvent(AddressBarButton *crumb, QEvent *event);
    bool editEvent(QEvent *event);

    QString m_rootName;
    QString m_subCenterId;
    QString m_path;
    QString m_title;
    QLineEdit *m_edit;
    QLabel *m_titleLabel;
    QToolButton *m_fold;
    QMenu *m_foldMenu;
    QWidgetAction *m_scrollUp = nullptr;
    QWidgetAction *m_scrollDown = nullptr;
    int m_folded = 0; ///< so many buttons have no room
    int m_firstInMenu = 0;
    QCompleter *m_completer;
    QStringListModel *m_completions;
    QString m_namesParent; ///< folder that the names below are of
    QStringList m_names;
    QList<AddressBarButton *> m_crumbs;
    QList<QLabel *> m_separators;
};
