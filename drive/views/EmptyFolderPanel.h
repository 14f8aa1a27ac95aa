#pragma once

#include <QFrame>

class QLabel;
class QMimeData;
class QPushButton;

/// What is shown in place of the entries when there are none: an invitation with an "Upload" button, or, for a search,
/// a line that nothing was found. Takes local files that are dropped. GUI thread only.
class EmptyFolderPanel : public QFrame
{
    Q_OBJECT

public:
    explicit EmptyFolderPanel(QWidget *parent = nullptr);
    void setSearchResult(bool search);

signals:
    void uploadClicked();
    void dropped(const QMimeData *data);

protected:
    void changeEvent(QEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    QLabel *m_title;
    QLabel *m_text;
    QPushButton *m_upload;
    bool m_search = false;
};
