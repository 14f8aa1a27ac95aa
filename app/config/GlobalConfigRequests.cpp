#include "GlobalConfig.h"

#include "GlobalConfigData.h"
#include "ServiceReplies.h"

#include "MsgDlg.h"

#include <QApplication>
#include <QMutexLocker>

// What the store asks the service itself. All of it runs on the GUI thread.

void GlobalConfig::requestSubCenters(bool quiet)
{
    const QString address = listSubCenterUrl();
    if (address.isEmpty() || !m_data->pendingSubCenters.isEmpty())
        return;
    m_data->requester = client();
    m_data->pendingSubCenters.insert(m_data->requester.listSubCenter(address), quiet);
}

void GlobalConfig::requestAdvertisements()
{
    m_data->requester = client();
    m_data->pendingOthers << m_data->requester.getAD(language());
}

void GlobalConfig::requestTransferLimit()
{
    m_data->requester = client();
    m_data->pendingOthers << m_data->requester.getTranserLimit();
}

void GlobalConfig::handlerListSubCenter(qint64 id, int code, QByteArray body)
{
    const auto pending = m_data->pendingSubCenters.find(id);
    if (pending == m_data->pendingSubCenters.end())
        return;
    const bool quiet = *pending;
    m_data->pendingSubCenters.erase(pending);

    std::optional<QList<SubCenter>> told;
    if (code == 200)
        told = ServiceReplies::subCenters(body);
    if (!told) {
        if (!quiet)
            emit handlerRequestFailured(0);
        return;
    }
    {
        QMutexLocker lock(&m_mutex);
        // What is known of the user's homes was asked for after the login and stays.
        for (SubCenter &center : *told) {
            for (const SubCenter &known : qAsConst(m_data->subCenters)) {
                if (known.id == center.id && known.address == center.address) {
                    center.path = known.path;
                    center.used = known.used;
                    center.quota = known.quota;
                    center.requestId = known.requestId;
                }
            }
        }
        m_data->subCenters = *told;
    }
    emit handlerListSubCenterFinished();
}

void GlobalConfig::noteAnswer(int code)
{
    if (code == 201 && state() == LoggedIn)
        emit sessionEnded();
}

bool GlobalConfig::isAnswer(qint64 id, int code)
{
    if (!m_data->pendingOthers.removeOne(id))
        return false;
    noteAnswer(code);
    return code == 200;
}

void GlobalConfig::handlerGetAD(qint64 id, int code, QByteArray body)
{
    if (!isAnswer(id, code))
        return;
    const std::optional<QList<Advertisement>> told = ServiceReplies::advertisements(body);
    if (!told)
        return;
    {
        QMutexLocker lock(&m_mutex);
        m_data->advertisements = *told;
    }
    emit handlerGetADFinished();
}

void GlobalConfig::handlerGetTransferLimit(qint64 id, int code, QByteArray body)
{
    if (!isAnswer(id, code))
        return;
    const std::optional<TransferLimit> told = ServiceReplies::transferLimit(body);
    if (!told)
        return;
    {
        QMutexLocker lock(&m_mutex);
        m_data->transferLimit = *told;
    }
    emit handlerGetTransferLimitFinished();
}

void GlobalConfig::handlerRequstFailured(int error)
{
    // A service that is away fails many requests; one notice at a time tells enough.
    static bool open = false;
    if (open || !qobject_cast<QApplication *>(QCoreApplication::instance()))
        return;
    open = true;
    QString text = tr("Unknown Request Error!");
    if (error == 0)
        text = tr("Failed to get subcenter list.");
    else if (error == 1)
        text = tr("Failed to get user info.");
    MsgDlg dialog(QApplication::activeWindow());
    dialog.setTitle(tr("Request Error"));
    dialog.setText(text);
    dialog.setButtonVisible(QStringLiteral("ok"), false);
    dialog.exec();
    open = false;
}
