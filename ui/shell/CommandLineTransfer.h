#pragma once

#include "FileItem.h"
#include "TransferSettings.h"

#include <QObject>
#include <QStringList>

class OrderedWork;

/// Carries out the transfer that the command line asked for, once. Finds out what of the named files and folders exists
/// and asks for the transfer of that by signals; what does not exist is told once, and the others go on. Needs no
/// window. Signals fire after start() returned; none fires after its destruction. GUI thread only.
class CommandLineTransfer : public QObject
{
    Q_OBJECT

public:
    /// @param shownFolder remote folder that stands in when the request names none
    CommandLineTransfer(const CommandLineRequest &request, const QString &shownFolder, QObject *parent = nullptr);

    /// The request asks for nothing at all.
    bool isEmpty() const;
    /// Ends in "/" and begins with it.
    QString remoteFolder() const { return m_remote; }
    void start();
    /// The answer to listingWanted().
    /// @param known false: the folder could not be listed
    void setListing(bool known, const QList<FileItem> &entries);

signals:
    void listingWanted(QString folder);
    /// No local folder was named: the person chooses what to upload.
    void uploadChoiceWanted(QString remoteFolder);
    void upload(QStringList files, QStringList folders, QString remoteFolder);
    /// @param localFolder exists; empty: the person chooses it
    void download(QList<FileItem> files, QList<FileItem> folders, QString localFolder);
    /// At most once. A text for the person and the log.
    void problem(QString text);

private:
    static QStringList namesOf(const CommandLineRequest &request);
    static bool isPlainName(const QString &name);
    void startUpload();
    /// Empty when nothing is missing.
    static QString missingText(const QStringList &names, const QString &folder);
    void tell(const QStringList &texts);

    CommandLineRequest m_request;
    QStringList m_names;
    QString m_remote;
    OrderedWork *m_work;
};
