#include "ImageDecoder.h"

#include "OrderedWork.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QUrl>

#include <algorithm>

namespace {

constexpr qint64 MostPixels = 64 * 1000 * 1000; // held; a larger image is made smaller, a vastly larger one is refused

/// What the decoder wrote, as memory. Goes away with its last user.
struct PixelsFile
{
    explicit PixelsFile(const QString &path)
        : file(path)
    {
        if (file.open(QIODevice::ReadOnly)) {
            size = file.size();
            memory = file.map(0, size);
        }
#ifndef Q_OS_WIN
        QFile::remove(path); // the memory stays as long as it is mapped
#endif
    }
    ~PixelsFile()
    {
        if (memory)
            file.unmap(memory);
        file.close();
        QFile::remove(file.fileName()); // where that was not possible before
    }

    QFile file;
    qint64 size = 0;
    uchar *memory = nullptr;
};

void release(void *owner)
{
    delete static_cast<std::shared_ptr<PixelsFile> *>(owner);
}

/// The decoder is as foreign as what it read: its answer is checked.
Picture pictureOf(const QByteArray &answer, const QString &path)
{
    const auto pixels = std::make_shared<PixelsFile>(path);
    const QList<QByteArray> words = answer.trimmed().split(' ');
    if (words.size() != 5 || !pixels->memory)
        return {};
    const QSize size(words.at(1).toInt(), words.at(2).toInt()), stored(words.at(3).toInt(), words.at(4).toInt());
    const bool bright = words.at(0) == "light";
    const qint64 count = qint64(size.width()) * size.height();
    if (size.isEmpty() || stored.isEmpty() || count > MostPixels || pixels->size != count * (bright ? 8 : 4))
        return {};
    if (bright) {
        const auto light =
            std::make_shared<LightPixels>(size, reinterpret_cast<const quint16 *>(pixels->memory), pixels);
        return Picture::of(light, stored, light->goodStops());
    }
    const QImage image(pixels->memory, size.width(), size.height(), size.width() * 4,
                       QImage::Format_ARGB32_Premultiplied, release, new std::shared_ptr<PixelsFile>(pixels));
    return Picture::of(image, stored);
}

QByteArray encoded(const QString &text)
{
    return QUrl::toPercentEncoding(text);
}

} // namespace

ImageDecoder::ImageDecoder(QObject *parent, const QString &program, int time)
    : QObject(parent)
    , m_program(program.isEmpty() ? QCoreApplication::applicationDirPath() + QStringLiteral("/ArkvaleTolmaImage")
                                  : program)
    , m_work(new OrderedWork(this))
{
    qRegisterMetaType<Picture>("Picture");
    m_time.setSingleShot(true);
    m_time.setInterval(time);
    connect(&m_time, &QTimer::timeout, this, &ImageDecoder::giveUp);
}

ImageDecoder::~ImageDecoder()
{
    stopProcess();
}

quint64 ImageDecoder::decode(const QString &file, const QString &name)
{
    const quint64 id = m_nextId++;
    m_queue.push_back({id, file, name});
    // From the event loop, so that the number is known before the answer, and a failed start is an answer too.
    QMetaObject::invokeMethod(this, &ImageDecoder::startNext, Qt::QueuedConnection);
    return id;
}

void ImageDecoder::cancel(quint64 id)
{
    const auto found = std::find_if(m_queue.begin(), m_queue.end(), [id](const Request &r) { return r.id == id; });
    if (found == m_queue.end())
        return;
    const bool running = m_busy && found == m_queue.begin();
    m_queue.erase(found);
    if (!running)
        return;
    // To start anew takes less time than the rest of a large image may.
    stopProcess();
    startNext();
}

QString ImageDecoder::pixelsFile() const
{
    return m_folder.filePath(QString::number(m_file));
}

void ImageDecoder::startNext()
{
    if (m_busy || m_queue.empty())
        return;
    m_busy = true;
    if (!m_process) {
        QProcess *process = m_process = new QProcess(this);
        m_process->setStandardErrorFile(QProcess::nullDevice());
        connect(m_process, &QProcess::readyReadStandardOutput, this, &ImageDecoder::readAnswer);
        connect(m_process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this, &ImageDecoder::giveUp);
        connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart)
                giveUp();
        });
        m_process->start(m_program, QStringList());
        if (m_process != process) // it could not be started, and that has been dealt with
            return;
    }
    ++m_file;
    const Request &request = m_queue.front();
    const QByteArray line = QByteArray::number(MostPixels) + ' ' + encoded(request.name) + ' ' +
                            encoded(QDir::toNativeSeparators(request.file)) + ' ' + encoded(pixelsFile()) + '\n';
    m_time.start();
    m_process->write(line);
}

void ImageDecoder::readAnswer()
{
    if (m_process->canReadLine())
        finish(m_process->readLine(256));
}

void ImageDecoder::giveUp()
{
    const bool busy = m_busy;
    stopProcess();
    if (busy)
        finish({});
    else
        startNext(); // it ended while it had nothing to do
}

void ImageDecoder::finish(const QByteArray &answer)
{
    if (m_queue.empty())
        return;
    m_time.stop();
    m_busy = false;
    const quint64 id = m_queue.front().id;
    m_queue.pop_front();
    m_work->run([this, id, answer, path = pixelsFile()]() -> OrderedWork::Deliver {
        const Picture picture = pictureOf(answer, path);
        return [this, id, picture] {
            if (picture.isNull())
                emit failed(id);
            else
                emit decoded(id, picture);
        };
    });
    startNext();
}

void ImageDecoder::stopProcess()
{
    m_time.stop();
    m_busy = false;
    if (!m_process)
        return;
    QProcess *process = m_process;
    m_process = nullptr;
    process->disconnect(this);
    process->kill();
    // Waited for elsewhere: a process that hangs in the kernel would hold the window.
    process->setParent(QCoreApplication::instance());
    connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), process, &QObject::deleteLater);
    if (process->state() == QProcess::NotRunning)
        process->deleteLater();
}
