#pragma once

#include <QHash>
#include <QIcon>
#include <QObject>
#include <QSet>

class OrvClient;
class GlobalConfig;

/// The icons of the sub-centers, fetched from the addresses that the service names, each once. One that is not there,
/// or is no picture, is the ordinary disk. changed() fires for each that arrived. GUI thread only.
class CenterIcons : public QObject
{
    Q_OBJECT

public:
    explicit CenterIcons(QObject *parent = nullptr);
    ~CenterIcons() override;

    /// Asks for those of the store's sub-centers that were not asked for yet.
    void fetch();
    QIcon icon(const QString &subCenterId) const;

signals:
    void changed();

private slots:
    void take(qint64 id, int code, QByteArray body);

private:
    GlobalConfig *m_config;
    OrvClient *m_client = nullptr;
    QHash<qint64, QString> m_pending; ///< request to address
    QSet<QString> m_asked;            ///< addresses
    QHash<QString, QIcon> m_icons;    ///< by address
    QIcon m_ordinary;
};
