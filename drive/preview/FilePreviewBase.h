#pragma once

#include "CacheFolders.h"
#include "FetchJob.h"
#include "FileItem.h"
#include "PreviewBackend.h"

#include <QHash>
#include <QObject>
#include <QPointer>

class OrderedWork;
class PreviewProgress;
class QWidget;

/// Opens remote files with the programs of this machine: checks type and size, fetches the file into the cache unless
/// it is there, and hands it over. A fetch shows its progress after a moment and can be cancelled there. How a file is
/// asked for is the derived class's. Refusals are modal notices over the window given. GUI thread only.
class FilePreviewBase : public QObject
{
    Q_OBJECT

public:
    /// @param window over which notices are shown; may go away
    FilePreviewBase(const CacheFolders &folders, QWidget *window, QObject *parent = nullptr);
    ~FilePreviewBase() override;

    /// Replaces the platform's; null: nothing opens.
    void setBackend(std::unique_ptr<PreviewBackend> backend);
    void open(const FileItem &item);

    /// A file that would run instead of being shown, by the ending of its name.
    static bool isProgram(const QString &name);
    /// @p name as the name of a file that every disk takes and nobody misreads.
    static QString harmlessName(const QString &name);

signals:
    /// The file was handed to its program.
    void opened(FileItem item);

protected:
    /// Null when there is no client to ask.
    virtual const OrvClient *client() const = 0;
    virtual FetchJob::Request request(const FileItem &item) const = 0;

private:
    struct Opening
    {
        std::shared_ptr<FetchJob> job;
        QPointer<PreviewProgress> progress;
    };

    void fetch(const FileItem &item, const QString &path);
    void end(const QString &path);
    void show(const FileItem &item, const QString &path);
    void tell(const QString &text);

    const CacheFolders m_folders;
    QPointer<QWidget> m_window;
    std::unique_ptr<PreviewBackend> m_backend;
    OrderedWork *m_work;
    QHash<QString, Opening> m_openings; ///< by local path
};
