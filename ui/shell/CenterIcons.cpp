#include "CenterIcons.h"

#include "GlobalConfig.h"
#include "OrvClient.h"
#include "ServicePicture.h"

CenterIcons::CenterIcons(QObject *parent)
    : QObject(parent)
    , m_config(GlobalConfig::instance())
    , m_ordinary(QStringLiteral(":/ArkvaleTolmaMain/Icon/disk.svg"))
{
}

CenterIcons::~CenterIcons() = default;

void CenterIcons::fetch()
{
    const QList<SubCenter> centers = m_config->subCenters();
    for (const SubCenter &center : centers) {
        if (center.icon.isEmpty() || m_asked.contains(center.icon))
            continue;
        if (!m_client) {
            m_client = new OrvClient(m_config->client());
            m_client->setParent(this);
            connect(m_client, SIGNAL(getIconFinished(qint64, int, QByteArray)), this,
                    SLOT(take(qint64, int, QByteArray)));
        }
        m_asked << center.icon;
        m_pending.insert(m_client->getIcon(center.icon), center.icon);
    }
}

void CenterIcons::take(qint64 id, int code, QByteArray body)
{
    const QString address = m_pending.take(id);
    if (address.isEmpty())
        return;
    m_config->noteAnswer(code);
    if (code != 200)
        return;
    const QImage image = ServicePicture::decode(body);
    if (image.isNull())
        return;
    m_icons.insert(address, QIcon(QPixmap::fromImage(image)));
    emit changed();
}

QIcon CenterIcons::icon(const QString &subCenterId) const
{
    return m_icons.value(m_config->subCenter(subCenterId).icon, m_ordinary);
}
