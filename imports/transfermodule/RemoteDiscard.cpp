#include "RemoteDiscard.h"

#include "StreamJob.h"
#include "TransferRules.h"

#include <QTimer>

using namespace TransferRules;

namespace {
constexpr qint64 kGiveUpMs = 15 * 60 * 1000;
}

RemoteDiscard::RemoteDiscard(LinkPool &links, std::shared_ptr<Mailbox> mailbox, QObject *parent)
    : QObject(parent)
    , m_links(links)
    , m_mailbox(std::move(mailbox))
    , m_tickets(this)
{
    connect(&m_tickets, &TicketClient::answered, this, &RemoteDiscard::onTicket);
}

QString RemoteDiscard::keyOf(const QString &subCenterId, const QString &folder)
{
    return subCenterId + QLatin1Char('\n') + folder;
}

void RemoteDiscard::setConfig(const ZpdtTransConfig &config)
{
    // Speeds alone may come without a login.
    if (config.clientTag.isEmpty() || config.asperaUser.isEmpty())
        return;
    m_configs.insert(config.subCenterId, std::make_shared<const ZpdtTransConfig>(config));
    for (const auto &[key, batch] : m_batches) {
        if (!batch.busy && batch.subCenterId == config.subCenterId)
            beginLater(key);
    }
}

void RemoteDiscard::add(const QString &subCenterId, const QString &folder, const QString &name)
{
    if (folder.isEmpty() || name.isEmpty())
        return;
    const QString key = keyOf(subCenterId, folder);
    Batch &batch = m_batches[key];
    const bool first = batch.names.isEmpty();
    batch.subCenterId = subCenterId;
    batch.folder = folder;
    batch.names.insert(name);
    batch.sent.remove(name);
    if (first)
        beginLater(key);
}

void RemoteDiscard::forget(const QString &subCenterId, const QString &folder, const QString &name)
{
    const auto batch = m_batches.find(keyOf(subCenterId, folder));
    if (batch != m_batches.end())
        batch->second.names.remove(name);
}

/// Those of one folder that are cancelled together go together.
void RemoteDiscard::beginLater(const QString &key)
{
    QMetaObject::invokeMethod(
        this, [this, key] { begin(key); }, Qt::QueuedConnection);
}

void RemoteDiscard::begin(const QString &key)
{
    const auto found = m_batches.find(key);
    if (found == m_batches.end() || found->second.busy)
        return;
    Batch &batch = found->second;
    if (batch.names.isEmpty()) {
        m_batches.erase(found);
        return;
    }
    const TaskTable::Config config = m_configs.value(batch.subCenterId);
    if (!config)
        return;
    batch.busy = true;
    TicketRequest request;
    request.service = config->clientTag;
    request.user = config->userId;
    request.accessId = config->asperaUser;
    request.accessToken = config->asperaPassword;
    request.subCenterId = batch.subCenterId;
    request.direction = ZPDT_UPLOAD;
    request.path = batch.folder;
    batch.ticket = m_tickets.ask(request);
    m_keyOfTicket.insert(batch.ticket, key);
}

void RemoteDiscard::onTicket(quint64 ticket, const TicketAnswer &answer)
{
    const QString key = m_keyOfTicket.take(ticket);
    const auto found = m_batches.find(key);
    if (found == m_batches.end() || found->second.ticket != ticket)
        return;
    Batch &batch = found->second;
    batch.sent = batch.names;
    if (answer.error != ZpdtError::None) {
        // What the service refuses for good asking again does not mend.
        onEnd(key, answer.error == ZpdtError::Network ? ZpdtError::Network : ZpdtError::None);
        return;
    }
    const TaskTable::Config config = m_configs.value(batch.subCenterId);
    const LinkAddress address = addressOf(batch.subCenterId, *config, answer);
    if (address.host.isEmpty() || address.port == 0) {
        onEnd(key, ZpdtError::Network);
        return;
    }
    zpdt::DiscardRequest request;
    request.ticket = answer.ticket.toStdString();
    for (const QString &name : batch.sent)
        request.names.push_back(name.toStdString());
    batch.line = address.key();
    zpdt::StreamCallbacks callbacks;
    callbacks.onEnd = [this, box = m_mailbox, key](const zpdt::StreamResult &result) {
        box->post([this, key, error = fromWire(result.error)] { onEnd(key, error); });
    };
    batch.stream = m_links.enter(address).any().openDiscard(std::move(request), std::move(callbacks));
}

void RemoteDiscard::onEnd(const QString &key, ZpdtError error)
{
    const auto found = m_batches.find(key);
    if (found == m_batches.end())
        return;
    Batch &batch = found->second;
    if (!batch.line.isEmpty())
        m_links.leave(batch.line);
    batch.line.clear();
    batch.stream.reset();
    if (error != ZpdtError::None && batch.failures == 0)
        batch.since.start();
    if (error == ZpdtError::None || batch.since.hasExpired(kGiveUpMs)) {
        batch.busy = false;
        batch.names -= batch.sent;
        batch.failures = 0;
        begin(key);
        return;
    }
    QTimer::singleShot(retryPause(batch.failures++), this, [this, key] {
        const auto again = m_batches.find(key);
        if (again == m_batches.end())
            return;
        again->second.busy = false;
        begin(key);
    });
}
