#include "UpdateDownload.h"

#include <QCryptographicHash>
#include <QDir>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QStorageInfo>
#include <QThread>

namespace {

constexpr int kIdleTime = 30 * 1000;
constexpr qint64 kReadBuffer = 1024 * 1024;
constexpr qint64 kSpareSpace = 64 * 1024 * 1024;

int statusOf(const QNetworkReply *reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

} // namespace

UpdateDownload::UpdateDownload(QNetworkAccessManager *manager, const UpdateManifest &manifest, const QString &folder,
                               QObject *parent)
    : QObject(parent)
    , m_manager(manager)
    , m_manifest(manifest)
    , m_folder(folder)
{
    m_pause.setSingleShot(true);
    connect(&m_pause, &QTimer::timeout, this, &UpdateDownload::fetch);
}

UpdateDownload::~UpdateDownload()
{
    m_stop = true;
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->deleteLater();
    }
    if (m_thread) {
        m_thread->wait();
        delete m_thread;
    }
}

QString UpdateDownload::file() const
{
    return m_folder + QLatin1Char('/') + m_manifest.name;
}

QString UpdateDownload::partFile() const
{
    // Named after what it shall become: the rest of another package is never taken for a beginning of this one.
    return m_folder + QLatin1Char('/') + QString::fromLatin1(m_manifest.sha256.toHex()) + QStringLiteral(".part");
}

void UpdateDownload::start()
{
    const auto mode = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    if (!QDir().mkpath(m_folder) || !QFile::setPermissions(m_folder, mode)) {
        QMetaObject::invokeMethod(
            this, [this] { end(Disk); }, Qt::QueuedConnection);
        return;
    }
    // The package of an earlier run is as good as a new one, if it is whole.
    if (QFile::exists(file()) && !QFile::exists(partFile()))
        QFile::rename(file(), partFile());
    m_part.setFileName(partFile());
    m_pause.start(0);
}

void UpdateDownload::fetch()
{
    if (!m_part.isOpen() && !m_part.open(QIODevice::ReadWrite | QIODevice::Unbuffered)) {
        end(Disk);
        return;
    }
    const qint64 held = m_part.size();
    if (held >= m_manifest.size) {
        verify();
        return;
    }
    if (QStorageInfo(m_folder).bytesAvailable() < m_manifest.size - held + kSpareSpace) {
        end(Disk);
        return;
    }
    QNetworkRequest request(m_manifest.package);
    request.setTransferTimeout(kIdleTime);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(5);
    request.setRawHeader("Accept-Encoding", "identity");
    if (held > 0)
        request.setRawHeader("Range", "bytes=" + QByteArray::number(held) + '-');
    m_accepted = false;
    m_reply = m_manager->get(request);
    m_reply->setReadBufferSize(kReadBuffer);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &UpdateDownload::headersArrived);
    connect(m_reply, &QNetworkReply::readyRead, this, &UpdateDownload::dataArrived);
    connect(m_reply, &QNetworkReply::finished, this, &UpdateDownload::replyFinished);
}

void UpdateDownload::headersArrived()
{
    const int status = statusOf(m_reply);
    const QByteArray begin = "bytes " + QByteArray::number(m_part.size()) + '-';
    m_accepted = status == 200 || (status == 206 && m_reply->rawHeader("Content-Range").startsWith(begin));
    if (status == 200 && m_accepted && !m_part.resize(0))
        end(Disk);
}

void UpdateDownload::dataArrived()
{
    const QByteArray data = m_reply->readAll();
    if (!m_accepted || data.isEmpty())
        return;
    if (m_part.size() + data.size() > m_manifest.size) {
        end(Foreign); // without an end, perhaps
        return;
    }
    if (!m_part.seek(m_part.size()) || m_part.write(data) != data.size()) {
        end(Disk);
        return;
    }
    // Only news counts as progress: a service that sends the same beginning for ever is given up.
    if (m_part.size() > m_most) {
        m_most = m_part.size();
        m_tries = 0;
    }
    emit progress(m_part.size(), m_manifest.size);
}

void UpdateDownload::replyFinished()
{
    if (m_reply->bytesAvailable() > 0)
        dataArrived();
    if (m_done)
        return;
    const QNetworkReply::NetworkError error = m_reply->error();
    const int status = statusOf(m_reply);
    m_reply->deleteLater();
    m_reply.clear();
    if (m_part.size() == m_manifest.size)
        verify();
    else if (error == QNetworkReply::InsecureRedirectError || error == QNetworkReply::TooManyRedirectsError)
        end(Foreign);
    else if (status >= 400 && status < 500 && status != 408 && status != 416 && status != 429)
        end(Network); // asking again brings the same answer
    else if ((status == 416 || status == 206) && !m_accepted && !m_part.resize(0))
        end(Disk);
    else
        retry();
}

void UpdateDownload::retry()
{
    if (m_tries >= m_pauses.size())
        end(Network);
    else
        m_pause.start(m_pauses.at(m_tries++));
}

void UpdateDownload::verify()
{
    m_part.close();
    m_thread = QThread::create([this] {
        const bool good = hasDigest(partFile(), m_manifest.size, m_manifest.sha256, m_stop);
        QMetaObject::invokeMethod(
            this,
            [this, good] {
                if (!good)
                    end(Foreign);
                else if ((QFile::exists(file()) && !QFile::remove(file())) || !m_part.rename(file()))
                    end(Disk);
                else
                    end(Ready);
            },
            Qt::QueuedConnection);
    });
    m_thread->start();
}

bool UpdateDownload::hasDigest(const QString &file, qint64 size, const QByteArray &sha256,
                               const std::atomic<bool> &stop)
{
    QFile package(file);
    if (!package.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || package.size() != size)
        return false;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    QByteArray block;
    do {
        block = package.read(kReadBuffer);
        hash.addData(block);
    } while (!block.isEmpty() && !stop);
    return !stop && package.error() == QFile::NoError && hash.result() == sha256;
}

void UpdateDownload::end(Outcome outcome)
{
    if (m_done)
        return;
    m_done = true;
    m_pause.stop();
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->deleteLater();
        m_reply.clear();
    }
    const bool empty = m_part.isOpen() && m_part.size() == 0;
    m_part.close();
    if (outcome == Foreign || empty)
        QFile::remove(partFile());
    emit finished(outcome);
}
