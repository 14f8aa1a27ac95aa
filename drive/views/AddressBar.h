#pragma once

#include <QFrame>
#include <QList>

class AddressBarButton;
class QAction;
class QLabel;
class QLineEdit;
class QMenu;
class QToolButton;

/// The path of the folder shown as a row of buttons, or as text to type over. When the row is too narrow the first
/// folders fold into a menu. Every way to another folder leaves as sigIntoFolder. GUI thread only.
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

public slots:
    void edit();
    void HandleReturn();
    void OnSearch(bool checked);
    void SlotClickFloder(QAction *action);

signals:
    void sigIntoFolder(const QString &path);
    void sigSearch(const QString &keyword);

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

    QString m_rootName;
    QString m_path;
    QString m_title;
    QLineEdit *m_edit;
    QLabel *m_titleLabel;
    QToolButton *m_fold;
    QMenu *m_foldMenu;
    QList<AddressBarButton *> m_crumbs;
    QList<QLabel *> m_separators;
};
