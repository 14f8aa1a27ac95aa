#pragma once

#include "FetchJob.h"
#include "FileItem.h"

#include <QList>
#include <QWidget>

#include <functional>

class CacheFolders;
class PictureLoader;
class PictureView;
class QLabel;
class QToolButton;
struct Picture;

/// The viewer of a folder's images, in a window of its own: one image large, the others a key away. Downloads and
/// deletions of the shown image leave as signals. Bytes for the cache leave as sigWritePreviewCache; sigCheckCache asks
/// for them and is answered through the two preview slots. GUI thread only.
class ImagePreviewWidget : public QWidget
{
    Q_OBJECT

public:
    /// @param url address of the sub-center's service
    ImagePreviewWidget(const QString &url, const CacheFolders &folders, QWidget *parent = nullptr);
    ~ImagePreviewWidget() override;

    /// Whether an entry is shown by this viewer.
    static bool isImage(const FileItem &item);

    /// Before the first image: the images are of somebody else. They come by these requests, and stay where they are.
    void setForeign(const std::function<FetchJob::Request(const FileItem &)> &requests);
    /// Shows the image at @p index of @p images.
    void setImages(const QList<FileItem> &images, int index);
    /// The image shown; its path is empty when there is none.
    FileItem current() const;

public slots:
    /// Takes deleted images out; the window closes with the last one.
    void removeImages(QStringList paths);
    void previewCacheVaild(FileItem item, QSize size, QByteArray bytes);
    void previewCacheInvaild(FileItem item, QSize size);
    void next();
    void previous();

signals:
    void sigCheckCache(FileItem item, QSize size);
    void sigWritePreviewCache(FileItem item, QSize size, QByteArray bytes);
    void sigDownload();
    void sigDelete();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QWidget *buildBar();
    QToolButton *button(QWidget *parent, const char *objectName, const char *icon);
    void retranslate();
    void go(int index);
    void showPicture(const Picture &picture, bool sameImage);
    void showState();
    void showTexts();
    void showProgress(qint64 done, qint64 total);
    void changeStops(double by);
    void resetStops();
    void toggleFullScreen();
    void placeOverPicture();

    PictureLoader *m_loader;
    PictureView *m_view;
    QWidget *m_bar = nullptr;
    QToolButton *m_left = nullptr;
    QToolButton *m_right = nullptr;
    QToolButton *m_fit = nullptr;
    QToolButton *m_full = nullptr;
    QToolButton *m_darker = nullptr;
    QToolButton *m_brighter = nullptr;
    QToolButton *m_download = nullptr;
    QToolButton *m_delete = nullptr;
    QLabel *m_name = nullptr;
    QLabel *m_position = nullptr;
    QLabel *m_size = nullptr;
    QLabel *m_scale = nullptr;
    QLabel *m_stopsLabel = nullptr;
    QLabel *m_hint = nullptr;
    QList<FileItem> m_images;
    int m_index = -1;
    bool m_forward = true; ///< the way the person steps
    double m_stops = 0;
    double m_firstStops = 0;
    bool m_stopsKnown = false;
};
