#pragma once

#include <QObject>
#include <QString>

class QNetworkAccessManager;
class QNetworkReply;

/// Asks an address whether a newer version of the program exists. Lives on the thread that made it, which needs an
/// event loop; a destroyed service answers no more. Downloads and installs nothing.
class UpdateService : public QObject
{
    Q_OBJECT

public:
    /// Values of UpdateFinished().
    enum Result
    {
        UpToDate = 0,
        NewerAvailable = 1,
        Failed = 2
    };

    /// @param url http or https address that answers {"version": "1.2.3"}
    /// @param version version of this installation, numbers separated by dots
    /// @param language language code such as "en_us", sent along
    UpdateService(const QString &url, const QString &version, const QString &language, QObject *parent = nullptr);
    ~UpdateService() override;

    /// The version that the last answer told of; empty before.
    QString latestVersion() const { return m_latest; }

    /// Compares number by number; a missing number counts as 0. Text after the numbers ("-rc1") does not count.
    /// @return less than, equal to or greater than 0; @p ok tells whether both are versions
    static int compareVersions(const QString &left, const QString &right, bool *ok = nullptr);

public slots:
    /// Asks once; while a question is under way further calls join it.
    void Update();

signals:
    /// Once for each question, never before Update() has returned. @p retcode is one of Result.
    void UpdateFinished(int retcode);

private:
    void answer();

    const QString m_url;
    const QString m_version;
    const QString m_language;
    QString m_latest;
    QNetworkAccessManager *m_manager;
    QNetworkReply *m_reply = nullptr;
    bool m_asking = false;
};
