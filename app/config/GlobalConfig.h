#pragma once

#include "SubCenter.h"
#include "TransferSettings.h"
#include "UserInfo.h"

#include "OrvClient.h"

#include <QMutex>
#include <QObject>

#include <memory>

class QTranslator;

/// The configuration store of the process: installation settings, per-user settings, known users, session state,
/// sub-centers, the master OrvClient and the command line's request. Every accessor takes the store's one mutex and
/// returns a copy, so it may be called from any thread; requests and their answers run on the GUI thread. The mutex is
/// never held across a request, a signal or a dialog.
class GlobalConfig : public QObject
{
    Q_OBJECT

public:
    /// Values of the session state.
    enum SessionState
    {
        NotLoggedIn = 0,
        LoggedOut = 1,
        LoggingIn = 2,
        LoggedIn = 3,
        ProfileFailed = 4,
        Frozen = 5,
        Quitting = 6
    };

    /// The one store, made at the first call (on the GUI thread, after the application object) and destroyed with the
    /// application object.
    static GlobalConfig *instance();
    ~GlobalConfig() override;

    // Installation settings and known users
    /// Starts a login cycle: forgets the current user and the homes in the sub-centers, reads the settings file and the
    /// known users, makes the master client anew and asks the service for its sub-centers.
    void reload();
    /// Writes the settings file through a temporary file. Returns false when the disk refused; the old file stays.
    bool save();
    /// "en_us" when none is chosen, or when no translator was loaded for the chosen one.
    QString language() const;
    void setLanguage(const QString &code);
    /// Language code and display name, in the order of the menu.
    QList<QPair<QString, QString>> languages() const;
    /// Of the current language; empty when none was loaded for it.
    QList<QTranslator *> translators() const;
    /// Names of the text encodings that the client deals with.
    QStringList encodings() const;
    QString auth() const;
    QString listSubCenterUrl() const;
    QString resetPasswordUrl() const; ///< for the current language, else the entry "default"
    QString registerUrl() const;
    QString userProtocolUrl() const;
    QString helpUrl() const;
    QString updateUrl() const;
    QString version() const;
    QString sid() const;
    QString platform() const;
    QString userType() const;
    bool shareDisabled() const;
    bool startWssWhenOpen() const;
    quint16 wssPort() const;
    int previewFileMaxSize() const; ///< MB
    ZpdtSettings zpdt() const;
    void setZpdt(const ZpdtSettings &settings); ///< kept by save()
    SettingsPageOptions settingsPage() const;
    /// Most recent first, at most 5.
    QList<KnownUser> knownUsers() const;
    QStringList knownUserNames() const;
    /// Puts the user first; the oldest goes when there are more than 5. Writes the file; false when the disk refused.
    bool rememberUser(const UserInfo &user);

    // Locations
    /// Beside the executable, or what the environment variable ARKVALE_CONFIG_DIR names; ends in "/".
    QString configFolder() const;
    QString userFolder(const QString &userKey) const; ///< created when missing, ends in "/"
    /// The user's database, copied from the template when it does not exist.
    QString userDatabase(const QString &userKey) const;
    bool userDatabaseExists(const QString &userKey) const;

    // Per-user settings
    /// @param subCenterId becomes the current sub-center; when it is empty, the user's stored default does
    void loadUserSettings(const QString &userKey, const QString &subCenterId);
    /// Of the user loaded last. False when the database refused.
    bool saveUserSettings();
    QString defaultSubCenterId() const;
    void setDefaultSubCenterId(const QString &id);
    QString currentSubCenterId() const;
    void setCurrentSubCenterId(const QString &id);
    /// False when the user has no entry for that sub-center; @p out is then untouched.
    bool targetSpeed(const QString &subCenterId, TargetSpeed *out) const;
    void setTargetSpeed(const QString &subCenterId, const TargetSpeed &speed);
    DownloadPathSetting downloadPath(const QString &subCenterId) const;
    void setDownloadPath(const QString &subCenterId, const DownloadPathSetting &setting);

    // Session
    int state() const;
    void setState(int state);
    UserInfo currentUser() const;
    /// Another user name forgets the homes and storage figures in the sub-centers.
    void setCurrentUser(const UserInfo &user);
    QMap<QString, UserInfo> users() const;
    void storeUser(const UserInfo &user); ///< current user and user map
    Violation violation() const;
    void setViolation(const Violation &violation);
    OrvClient client() const;
    void setClient(const OrvClient &client);
    CommandLineRequest request() const;
    void setRequest(const CommandLineRequest &request);
    /// Sub-center that a web page asked for at its login; empty when none.
    QString requestedSubCenterId() const;
    void setRequestedSubCenterId(const QString &id);

    // What the service told
    QList<SubCenter> subCenters() const;
    SubCenter subCenter(const QString &id) const; ///< an empty record when unknown
    /// Replaces the record of the same id; an unknown id changes nothing.
    void updateSubCenter(const SubCenter &center);
    void setSubCenters(const QList<SubCenter> &centers);
    QList<Advertisement> advertisements() const;
    TransferLimit transferLimit() const;

    /// Asks the service; nothing happens without an address or while an earlier request is unanswered.
    /// @param quiet a failure is not told to the person
    void requestSubCenters(bool quiet = false);
    /// In the current language. A failure leaves the old list and has no signal.
    void requestAdvertisements();
    /// A failure leaves the old limit and has no signal.
    void requestTransferLimit();

public slots:
    void handlerListSubCenter(qint64 id, int code, QByteArray body);
    void handlerGetAD(qint64 id, int code, QByteArray body);
    void handlerGetTransferLimit(qint64 id, int code, QByteArray body);
    /// Tells the person about a failed request: 0 sub-center list, 1 user info, other values unknown.
    void handlerRequstFailured(int error);
    /// For whoever gets an answer to a request of the session and has no signal of its own for its end: the code
    /// "session expired or account restricted" (201) ends it, any other changes nothing.
    void noteAnswer(int code);

signals:
    void handlerListSubCenterFinished();
    void handlerGetADFinished();
    void handlerGetTransferLimitFinished();
    void handlerRequestFailured(int error);
    /// The service no longer knows the session of the user who is logged in. May fire several times for one session.
    void sessionEnded();

private:
    GlobalConfig();
    struct Data;
    QString pageAddress(const QMap<QString, QString> &pages) const;
    void loadTranslators();
    /// The good answer to one of the store's requests of the session.
    bool isAnswer(qint64 id, int code);

    mutable QMutex m_mutex;
    std::unique_ptr<Data> m_data;
};
