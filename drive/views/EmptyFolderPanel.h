#pragma once

#include <QFrame>

class FileItemModel;
class QLabel;
class QPushButton;

/// What is shown in place of the entries when there are none: an invitation with an "Upload" button, or a line that the
/// search or the filter found nothing. Takes local files that are dropped. GUI thread only.
class EmptyFolderPanel : public QFrame
{
    Q_OBJECT

public:
    enum Kind
    {
        EmptyFolder,
        NothingFound,  ///< by a search
        NothingMatches ///< the filter
    };

    explicit EmptyFolderPanel(QWidget *parent = nullptr);
    void setKind(Kind kind);
    /// Where drops go, as if they fell on the ground of a view.
    void setModel(FileItemModel *model) { m_model = model; }

signals:
    void uploadClicked();

protected:
    void changeEvent(QEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    FileItemModel *m_model = nullptr;
    QLabel *m_picture;
    QLabel *m_title;
    QLabel *m_text;
    QPushButton *m_upload;
    Kind m_kind = EmptyFolder;
};
