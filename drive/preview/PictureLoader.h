#pragma once

#include "CacheFolders.h"
#include "FetchJob.h"
#include "FileItem.h"
#include "Picture.h"

#include "OrvClient.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <functional>

class ImageDecoder;
class OrderedWork;

/// Gets the pictures that a viewer shows and will show next: first the preview from the cache, then, for the one that
/// is looked at, everything that is in the file. Keeps a bounded amount of what it had. What is no longer wanted is
/// given up. GUI thread only; decoding and scaling run elsewhere.
class PictureLoader : public QObject
{
    Q_OBJECT

public:
    /// @param url address of the sub-center's service
    PictureLoader(const QString &url, const CacheFolders &folders, QObject *parent = nullptr);
    ~PictureLoader() override;

    /// Files come by these requests, and there are no stand-ins for what is too large.
    void setRequests(std::function<FetchJob::Request(const FileItem &)> requests) { m_requests = std::move(requests); }
    /// Pixels of the screen; previews are made to fit into it.
    void setBox(const QSize &box) { m_box = box; }
    /// @param items the one looked at, then those to have at hand, most urgent first
    void want(const QList<FileItem> &items);
    /// Tries again what failed.
    void retry();
    /// What is at hand; may be null.
    Picture picture(const FileItem &item) const;
    bool hasFailed(const FileItem &item) const;
    /// Of the picture looked at, if it has a high dynamic range.
    void setStops(double stops);

public slots:
    void previewCacheVaild(FileItem item, QSize size, QByteArray data);
    void previewCacheInvaild(FileItem item, QSize size);

signals:
    void sigCheckCache(FileItem item, QSize size);
    void sigWritePreviewCache(FileItem item, QSize size, QByteArray data);
    /// May come again for the same item, with a better picture.
    void loaded(FileItem item, Picture picture);
    void failed(FileItem item);
    /// Bytes of the file on its way.
    void progress(FileItem item, qint64 done, qint64 total);

private:
    struct Entry
    {
        enum Stage
        {
            New,
            Checking,  ///< the cache looks for a preview
            Unpacking, ///< which was there
            Preview,   ///< and is at hand
            Fetching,
            Decoding,
            Done,
            Failed
        };
        FileItem item;
        Stage stage = New;
        bool cached = false; ///< the preview is in the cache
        Picture picture;
        std::shared_ptr<FetchJob> fetch;
        std::shared_ptr<OrvClient> client; ///< of a request for a stand-in
        quint64 decoding = 0;
    };

    static QString keyOf(const FileItem &item);
    Entry *entry(const QString &key, Entry::Stage stage);
    void goOn();
    void loadFile(Entry &entry);
    void fetch(Entry &entry);
    void askForStandIn(Entry &entry);
    void fetched(const QString &key, bool ok);
    void decode(Entry &entry);
    void decoded(quint64 id, const Picture &picture);
    void take(const QString &key, const Picture &picture);
    void fail(const QString &key);
    void giveUp(Entry &entry);
    void makeRoom();
    void tone();

    OrvClient m_client;
    std::function<FetchJob::Request(const FileItem &)> m_requests;
    const CacheFolders m_folders;
    ImageDecoder *m_decoder;
    OrderedWork *m_work;
    OrderedWork *m_tones; ///< apart, so that they do not wait for others
    QSize m_box{1920, 1080};
    QTimer m_rest; ///< runs out when a picture has been looked at for a while
    QHash<QString, Entry> m_entries;
    QStringList m_wanted; ///< keys
    QStringList m_recent; ///< keys, newest last
    double m_stops = 0;
    bool m_toning = false;
};
