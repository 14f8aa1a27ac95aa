#include "CommandLineRunner.h"

#include "CommandLineTransfer.h"
#include "FileItemReader.h"
#include "GlobalConfig.h"
#include "NetdiskPage.h"
#include "OrderedWork.h"
#include "OrvClient.h"

#include <QPointer>
#include <QTimer>

namespace {

constexpr int kListingTries = 3;
constexpr int kListingPause = 2000; // milliseconds

} // namespace

CommandLineRunner::CommandLineRunner(const CommandLineRequest &request, NetdiskPage *page)
    : QObject(page)
    , m_page(page)
    , m_center(page->subCenter())
    , m_transfer(new CommandLineTransfer(request, page->currentPath(), this))
    , m_work(new OrderedWork(this))
{
    connect(m_transfer, &CommandLineTransfer::problem, this, &CommandLineRunner::problem);
    connect(m_transfer, &CommandLineTransfer::upload, page, &NetdiskPage::UploadTo);
    connect(m_transfer, &CommandLineTransfer::download, page,
            [page](const QList<FileItem> &files, const QList<FileItem> &folders, const QString &localFolder) {
                if (localFolder.isEmpty())
                    page->Download(files + folders);
                else
                    page->DownloadTo(files, folders, localFolder);
            });
    connect(m_transfer, &CommandLineTransfer::uploadChoiceWanted, page, [page](const QString &folder) {
        page->IntoFolder(folder);
        page->Upload(true);
    });
    connect(m_transfer, &CommandLineTransfer::listingWanted, this, [this](const QString &folder) { list(folder, 1); });
}

void CommandLineRunner::start()
{
    m_transfer->start();
}

void CommandLineRunner::list(const QString &folder, int tries)
{
    auto *client = new OrvClient(GlobalConfig::instance()->client());
    client->setParent(this);
    client->setUrl(m_center.address);
    connect(client, &OrvClient::listFileFinished, this, [=](qint64, int code, const QByteArray &body) {
        client->deleteLater();
        GlobalConfig::instance()->noteAnswer(code);
        if (code == 201)
            return;
        if (code == 200 || code == 203) {
            // A large folder's listing takes its time to read.
            const QPointer<CommandLineTransfer> alive(m_transfer);
            m_work->run([alive, code, body]() -> OrderedWork::Deliver {
                QList<FileItem> entries;
                if (code == 200)
                    entries = FileItemReader::items(body, FileItemReader::ListingTime);
                return [alive, entries] {
                    if (alive)
                        alive->setListing(true, entries);
                };
            });
        } else if (code == 404 || tries >= kListingTries) {
            m_transfer->setListing(code == 404, {});
        } else {
            QTimer::singleShot(kListingPause, this, [=] { list(folder, tries + 1); });
        }
    });
    client->listFile(folder, 1);
}
