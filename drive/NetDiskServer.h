#pragma once

#include "FileItem.h"
#include "NavigationHistory.h"

#include "OrvClient.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>

class OrderedWork;

/// What a drive page asks of the remote drive of one sub-center, its history of locations, and the hourly look at the
/// storage. Owns a copy of the session's client. Answers are told in the order of their arrival; long ones are read on
/// a pool thread. After destruction nothing is told, and a lookup that still waits returns. GUI thread only.
class NetDiskServer : public QObject
{
    Q_OBJECT

public:
    enum Operation
    {
        MakeFolder,
        Delete,
        Move,
        Copy,
        Rename,
        Compress,
        Decompress,
        Search
    };

    /// @param url address of the sub-center's service
    explicit NetDiskServer(const QString &url, QObject *parent = nullptr);
    ~NetDiskServer() override;

    const NavigationEntry &current() const { return m_history.current(); }
    QString action() const { return m_history.action(); }
    /// While handlerIntoFloderFinished, handlerSearchFileFinished or handlerIntoFloderFailured fires: the answer
    /// belongs to the newest request for a location. An older one shows a place that the page has left.
    bool answerIsCurrent() const { return m_answerIsCurrent; }

public slots:
    /// Names in a folder. Waits in a nested event loop, in which this object may go away: check before going on.
    /// @param ok false when the names are not known: refused, session ended, or the object went away
    QStringList getFloderName(const QString &path, bool *ok = nullptr);
    void getIcon(qint64 &id, const QString &path);
    void intoFolder(const QString &path);
    void searchFile(const QString &keyword);
    void getStorage();
    void newFloder(const QString &name);
    void removeFile(const QStringList &paths);
    void removeFolder(const QStringList &paths);
    void move(const QStringList &src, const QString &dest);
    void copy(const QStringList &src, const QString &dest);
    void renameFile(const QString &src, const QString &dest);
    void renameFolder(const QString &src, const QString &dest);
    /// @param dest path of the archive without ".zip"
    void compress(const QStringList &src, const QString &dest);
    void decompress(const QString &src, const QString &dest);

    /// Asks for the names of the folders in a folder; foldersListed answers, without names where it fails.
    void listFolders(const QString &path);

    void forward();
    void backward();
    /// Undoes the last navigation step without asking for anything.
    void back();
    /// Asks for the current location again; the history stays.
    void navigation();
    /// The same, and empties the clipboard: a cut or copied selection does not outlive the list it was made in.
    void refresh();
    bool canForward() const { return m_history.canForward(); }
    bool canBackward() const { return m_history.canBackward(); }
    void clearForward() { m_history.clearForward(); }
    void clearBackward() { m_history.clearBackward(); }

signals:
    void NavgationChanged();
    void handlerGetFloderNameFinshed();
    void handlerGetIconFinished(qint64 id, QByteArray data);
    void handlerIntoFloderFinished(QList<FileItem> items);
    void handlerSearchFileFinished(QList<FileItem> items);
    void handlerGetStorageFinished();
    void handlerNewFolderFinished(QList<FileItem> items);
    void handlerRenameFinished(QString src, QString dest);
    void handlerCompressFinished(QString archive);
    void handlerDecompressFinished();
    void handlerRemoveFinished(QStringList paths);
    void handlerMoveFinished(QStringList src, QString dest);
    void handlerCopyFinished(QStringList src, QString dest);
    /// @param error 2: the folder is not there, 3: any other failure
    void handlerIntoFloderFailured(int error);
    void sigLogout(QString message);
    /// A location was asked for; one of the three answers above or sigLogout follows.
    void locationAsked();
    /// A change or search was refused or did not reach the service; told right before its own signal.
    /// @param operation a NetDiskServer::Operation
    /// @param paths the entries that it was about; for a new folder or archive its own path, for a search its text
    /// @param code as the client gave it
    void operationFailed(int operation, QStringList paths, int code);
    void foldersListed(QString path, QStringList names);

private slots:
    void handlerGetFloderName(qint64 id, int code, QByteArray body);
    void handlerGetIcon(qint64 id, int code, QByteArray body);
    void handlerListFolders(qint64 id, int code, QByteArray body);
    void handlerIntoFloder(qint64 id, int code, QByteArray body);
    void handlerSearchFile(qint64 id, int code, QByteArray body);
    void handlerGetStorage(qint64 id, int code, QByteArray body);
    void handlerNewFloder(qint64 id, int code, QByteArray body);
    void handlerRemoveFile(qint64 id, int code, QByteArray body);
    void handlerRemoveFolder(qint64 id, int code, QByteArray body);
    void handlerMove(qint64 id, int code, QByteArray body);
    void handlerCopy(qint64 id, int code, QByteArray body);
    void handlerRename(qint64 id, int code, QByteArray body);
    void handlerCompress(qint64 id, int code, QByteArray body);
    void handlerDecompress(qint64 id, int code, QByteArray body);

private:
    struct Lookup;
    using Reader = std::function<std::function<void()>()>;

    void connectClient();
    void requestLocation();
    void loginExpired();
    void accessDenied();
    void tellRemoved(QHash<qint64, QStringList> &pending, qint64 id, int code);
    /// Runs @p reader, on a pool thread when @p body is long, and what it returns here and in order.
    void read(const QByteArray &body, const Reader &reader);
    void tellItems(qint64 id, const std::function<void()> &tell);
    /// Tells of the change and, where @p good does not hold, first of its failure.
    void tellChange(bool good, Operation operation, const QStringList &paths, int code,
                    const std::function<void()> &tell);
    /// The same for a move or copy whose request was @p text.
    void tellPlaced(Operation operation, int code, bool good, const QByteArray &text,
                    void (NetDiskServer::*finished)(QStringList, QString));

    OrvClient m_client;
    NavigationHistory m_history;
    OrderedWork *m_work;
    QTimer m_storageTimer;
    qint64 m_lastLocationId = 0;
    bool m_answerIsCurrent = true;

    // Requests that wait for their answer, by request id.
    QHash<qint64, std::shared_ptr<Lookup>> m_lookups;
    QList<qint64> m_listings;
    QList<qint64> m_searches;
    QList<qint64> m_storages;
    QHash<qint64, FileItem> m_newFolders;
    QHash<qint64, QStringList> m_fileRemovals;
    QHash<qint64, QStringList> m_folderRemovals;
    QHash<qint64, QByteArray> m_moves;   ///< the request as compact JSON
    QHash<qint64, QByteArray> m_copies;  ///< the same
    QHash<qint64, QByteArray> m_renames; ///< the same
    QHash<qint64, QString> m_compressions;
    QHash<qint64, QString> m_decompressions;
    QHash<qint64, QString> m_folderLists;
    QHash<qint64, QByteArray> m_icons; ///< empty while the picture is on its way
};
