#pragma once

#include "UpdateManifest.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVector>

#include <memory>

class QNetworkAccessManager;
class QNetworkReply;
class UpdateDownload;

/// Asks an address for a newer package of the program, brings it in the background, and offers it only when the
/// maker's signature and the package's digest are right. Installs nothing while the program runs: the package's own
/// installer is started after its end. Lives on the thread that made it, which needs an event loop; a destroyed
/// service answers no more.
class UpdateService : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString latestVersion READ latestVersion)
    Q_PROPERTY(QString notes READ notes)

public:
    /// Values of UpdateFinished().
    enum Result
    {
        UpToDate = 0,
        NewerAvailable = 1, ///< and, where packages are brought, it lies here, checked
        Failed = 2,         ///< no address, no line, or no sensible answer
        Rejected = 3,       ///< not signed by the maker, not the signed package, or an older manifest than was seen
        NoSpace = 4         ///< the package cannot be kept on this disk
    };
    enum class Mode
    {
        Bring, ///< the package is fetched and can be installed
        Tell   ///< a package manager owns this installation: only the version is told
    };

    /// @param url http or https address that answers {"manifest", "signature"}
    /// @param version version of this installation, numbers separated by dots
    /// @param language language code such as "en_us", sent along
    UpdateService(const QString &url, const QString &version, const QString &language, QObject *parent = nullptr);
    ~UpdateService() override;

    /// Before the first Update(): another public key (32 bytes) than the built-in one, another folder than the user's
    /// cache, another mode than that of this installation.
    void setKey(const QByteArray &key) { m_key = key; }
    void setFolder(const QString &folder) { m_folder = folder; }
    void setMode(Mode mode) { m_mode = mode; }
    /// Milliseconds between the tries to go on with a package; by default they grow to a minute.
    void setPauses(const QVector<int> &pauses) { m_pauses = pauses; }
    Mode mode() const { return m_mode; }

    /// Of the last manifest that was trusted; empty before.
    QString latestVersion() const { return m_manifest.version; }
    /// Plain text about the newer version; may be empty.
    QString notes() const { return m_manifest.notes; }
    /// Whether a checked package lies here for InstallOnExit().
    Q_INVOKABLE bool canInstall() const { return m_ready; }

    /// The package that shall be installed when the program has ended, checked once more by startInstaller().
    struct Installation
    {
        QString file;
        qint64 size = 0;
        QByteArray sha256;

        bool isWanted() const { return !file.isEmpty(); }
    };
    Installation installation() const { return m_installation; }
    /// Starts the package by itself and returns; false when it is not the checked one any more, or cannot be started.
    static bool startInstaller(const Installation &installation);

    /// Compares number by number; a missing number counts as 0. Text after the numbers ("-rc1") does not count.
    /// @return less than, equal to or greater than 0; @p ok tells whether both are versions
    static int compareVersions(const QString &left, const QString &right, bool *ok = nullptr);

public slots:
    /// Asks once; while a question or a download is under way further calls join it.
    void Update();
    /// The package is to be installed when the program ends. Without a checked package nothing happens.
    void InstallOnExit();

signals:
    /// Once for each question, never before Update() has returned. @p retcode is one of Result.
    void UpdateFinished(int retcode);
    /// While the package comes: bytes.
    void UpdateProgress(qint64 received, qint64 total);

private:
    void answered();
    Result judge(const QByteArray &answer);
    qint64 newestSeen() const;
    void remember(qint64 issued) const;
    void bring();
    void finish(Result result);
    void removeLeftovers() const;

    const QString m_url;
    const QString m_version;
    const QString m_language;
    QByteArray m_key;
    QString m_folder;
    Mode m_mode;
    QVector<int> m_pauses;
    UpdateManifest m_manifest;
    Installation m_installation;
    QNetworkAccessManager *m_manager;
    QPointer<QNetworkReply> m_reply;
    std::unique_ptr<UpdateDownload> m_download;
    bool m_asking = false;
    bool m_ready = false;
};
