#include "PictureLoader.h"

#include "GlobalConfig.h"
#include "ImageDecoder.h"
#include "OrderedWork.h"

#include <QBuffer>
#include <QImageReader>

namespace {

constexpr int RestTime = 200;                        // ms until the whole file is read for a picture that is there
constexpr qint64 MostKept = 320LL * 1024 * 1024;     // bytes of pictures
constexpr qint64 LargePicture = 100LL * 1024 * 1024; // bytes; kept whole only while it is looked at
constexpr int StandInSide = 1024;                    // pixels, the most that the service makes

} // namespace

PictureLoader::PictureLoader(const QString &url, const CacheFolders &folders, QObject *parent)
    : QObject(parent)
    , m_client(GlobalConfig::instance()->client())
    , m_folders(folders)
    , m_decoder(new ImageDecoder(this))
    , m_work(new OrderedWork(this))
    , m_tones(new OrderedWork(this))
{
    m_client.setUrl(url);
    m_rest.setSingleShot(true);
    m_rest.setInterval(RestTime);
    connect(&m_rest, &QTimer::timeout, this, [this] {
        if (Entry *first = m_wanted.isEmpty() ? nullptr : entry(m_wanted.first(), Entry::Preview))
            loadFile(*first);
    });
    connect(m_decoder, &ImageDecoder::decoded, this, &PictureLoader::decoded);
    connect(m_decoder, &ImageDecoder::failed, this, [this](quint64 id) { decoded(id, Picture()); });
}

PictureLoader::~PictureLoader() = default;

QString PictureLoader::keyOf(const FileItem &item)
{
    return item.path + QLatin1Char('\n') + QString::number(item.datetime);
}

PictureLoader::Entry *PictureLoader::entry(const QString &key, Entry::Stage stage)
{
    const auto found = m_entries.find(key);
    return found != m_entries.end() && found->stage == stage ? &*found : nullptr;
}

Picture PictureLoader::picture(const FileItem &item) const
{
    return m_entries.value(keyOf(item)).picture;
}

bool PictureLoader::hasFailed(const FileItem &item) const
{
    return m_entries.value(keyOf(item)).stage == Entry::Failed;
}

void PictureLoader::want(const QList<FileItem> &items)
{
    m_rest.stop();
    m_wanted.clear();
    for (const FileItem &item : items) {
        const QString key = keyOf(item);
        if (!m_wanted.contains(key))
            m_wanted.append(key);
        m_entries[key].item = item;
    }
    for (const QString &key : m_entries.keys()) {
        if (!m_wanted.contains(key))
            giveUp(m_entries[key]);
    }
    makeRoom();
    m_rest.start();
    goOn();
}

void PictureLoader::retry()
{
    for (const QString &key : qAsConst(m_wanted)) {
        if (Entry *again = entry(key, Entry::Failed))
            again->stage = Entry::New;
    }
    goOn();
}

void PictureLoader::giveUp(Entry &entry)
{
    if (entry.stage == Entry::Done || entry.stage == Entry::Failed)
        return;
    if (entry.decoding)
        m_decoder->cancel(entry.decoding);
    entry.decoding = 0;
    entry.fetch.reset();
    entry.client.reset();
    entry.stage = entry.picture.isNull() ? Entry::New : Entry::Preview;
}

void PictureLoader::makeRoom()
{
    const QString first = m_wanted.value(0);
    qint64 sum = 0;
    for (auto it = m_entries.begin(); it != m_entries.end(); ++it) {
        Entry &kept = *it;
        if (it.key() != first && kept.stage == Entry::Done && kept.picture.bytes() > LargePicture) {
            kept.picture = kept.picture.reduced(m_box);
            kept.stage = Entry::Preview;
        }
        sum += kept.picture.bytes();
    }
    for (const QString &key : QStringList(m_recent)) {
        if (m_wanted.contains(key) || (sum <= MostKept && !m_entries.value(key).picture.isNull()))
            continue;
        sum -= m_entries.take(key).picture.bytes();
        m_recent.removeOne(key);
    }
    for (const QString &key : m_entries.keys()) {
        if (!m_recent.contains(key) && !m_wanted.contains(key))
            m_entries.remove(key);
    }
}

void PictureLoader::goOn()
{
    for (const QString &key : qAsConst(m_wanted)) {
        if (Entry *next = entry(key, Entry::New)) {
            next->stage = Entry::Checking;
            emit sigCheckCache(next->item, m_box);
        }
        // The others wait until there is something to look at.
        const Entry current = m_entries.value(m_wanted.first());
        if (current.picture.isNull() && current.stage != Entry::Failed)
            return;
    }
}

void PictureLoader::previewCacheVaild(FileItem item, QSize size, QByteArray data)
{
    const QString key = keyOf(item);
    Entry *known = entry(key, Entry::Checking);
    if (!known || size != m_box)
        return;
    known->stage = Entry::Unpacking;
    m_work->run([this, key, data]() -> OrderedWork::Deliver {
        const Picture picture = Picture::fromCache(data);
        return [this, key, picture] {
            Entry *waiting = entry(key, Entry::Unpacking);
            if (!waiting)
                return;
            if (picture.isNull()) // no more than a miss
                return loadFile(*waiting);
            waiting->cached = true;
            take(key, picture);
        };
    });
}

void PictureLoader::previewCacheInvaild(FileItem item, QSize size)
{
    Entry *known = entry(keyOf(item), Entry::Checking);
    if (known && size == m_box)
        loadFile(*known);
}

void PictureLoader::loadFile(Entry &entry)
{
    const QString path = m_folders.file(entry.item);
    const quint64 most = quint64(GlobalConfig::instance()->previewFileMaxSize()) * 1048576;
    if (FetchJob::isThere(entry.item, path))
        decode(entry);
    else if (entry.item.size < most)
        fetch(entry);
    else
        askForStandIn(entry);
}

void PictureLoader::fetch(Entry &entry)
{
    entry.stage = Entry::Fetching;
    const FileItem item = entry.item;
    const auto own = [item](OrvClient &client, const QString &localPath) {
        return client.getPreviewFile(item.path, localPath);
    };
    entry.fetch = FetchJob::start(item, m_folders.file(item), m_client, m_requests ? m_requests(item) : own);
    connect(entry.fetch.get(), &FetchJob::progress, this, [this, item](qint64 done, qint64 total) {
        if (this->entry(keyOf(item), Entry::Fetching))
            emit progress(item, done, total);
    });
    connect(entry.fetch.get(), &FetchJob::finished, this, [this, item](bool ok) { fetched(keyOf(item), ok); });
}

void PictureLoader::fetched(const QString &key, bool ok)
{
    Entry *known = entry(key, Entry::Fetching);
    if (!known)
        return;
    // Not let go of inside its own signal.
    QMetaObject::invokeMethod(
        this, [job = known->fetch] { Q_UNUSED(job) }, Qt::QueuedConnection);
    known->fetch.reset();
    if (ok)
        decode(*known);
    else
        fail(key);
}

void PictureLoader::askForStandIn(Entry &entry)
{
    entry.stage = Entry::Fetching;
    const QString key = keyOf(entry.item);
    if (m_requests) {
        const auto giveUp = [this, key] {
            if (this->entry(key, Entry::Fetching))
                fail(key);
        };
        QMetaObject::invokeMethod(this, giveUp, Qt::QueuedConnection);
        return;
    }
    entry.client = std::make_shared<OrvClient>(m_client);
    const auto answered = [this, key](qint64, int code, const QByteArray &body) {
        Entry *known = this->entry(key, Entry::Fetching);
        if (!known || !known->client)
            return;
        known->client.reset();
        GlobalConfig::instance()->noteAnswer(code);
        if (code != 200)
            return fail(key);
        known->stage = Entry::Decoding;
        m_work->run([this, key, body]() -> OrderedWork::Deliver {
            QBuffer buffer;
            buffer.setData(body);
            QImageReader reader(&buffer, "png");
            reader.setAutoDetectImageFormat(false);
            const QSize size = reader.size();
            Picture picture;
            if (size.isValid() && qMax(size.width(), size.height()) <= StandInSide)
                picture = Picture::of(reader.read(), size);
            picture.isStandIn = true;
            return [this, key, picture] {
                if (this->entry(key, Entry::Decoding))
                    take(key, picture);
            };
        });
    };
    connect(entry.client.get(), &OrvClient::getThumbnailFinished, this, answered, Qt::QueuedConnection);
    entry.client->getThumbnail(entry.item.path, QSize(StandInSide, StandInSide));
}

void PictureLoader::decode(Entry &entry)
{
    entry.stage = Entry::Decoding;
    entry.decoding = m_decoder->decode(m_folders.file(entry.item), entry.item.name);
}

void PictureLoader::decoded(quint64 id, const Picture &picture)
{
    for (auto it = m_entries.begin(); it != m_entries.end(); ++it) {
        if (it->decoding != id || it->stage != Entry::Decoding)
            continue;
        it->decoding = 0;
        return take(it.key(), picture);
    }
}

void PictureLoader::take(const QString &key, const Picture &picture)
{
    if (picture.isNull())
        return fail(key);
    Entry &known = m_entries[key];
    known.picture = picture;
    known.stage = picture.isComplete ? Entry::Done : Entry::Preview;
    m_recent.removeOne(key);
    m_recent.append(key);
    if (!known.cached && picture.isComplete && !picture.isStandIn) {
        known.cached = true;
        m_work->run([this, picture, item = known.item, box = m_box]() -> OrderedWork::Deliver {
            const QByteArray bytes = picture.toCache(box);
            return [this, item, box, bytes] { emit sigWritePreviewCache(item, box, bytes); };
        });
    }
    const FileItem item = known.item;
    const bool current = key == m_wanted.value(0);
    if (current)
        m_stops = picture.stops;
    makeRoom();
    emit loaded(item, picture);
    if (current && !picture.isComplete && !m_rest.isActive())
        m_rest.start();
    goOn();
}

void PictureLoader::fail(const QString &key)
{
    Entry &known = m_entries[key];
    // A preview that is there is better than none.
    known.stage = known.picture.isNull() ? Entry::Failed : Entry::Done;
    if (known.stage == Entry::Failed)
        emit failed(known.item);
    goOn();
}

void PictureLoader::setStops(double stops)
{
    m_stops = qBound(-12.0, stops, 12.0);
    tone();
}

void PictureLoader::tone()
{
    const Entry current = m_entries.value(m_wanted.value(0));
    if (m_toning || !current.picture.light || qFuzzyCompare(current.picture.stops + 100, m_stops + 100))
        return;
    m_toning = true;
    m_tones->run([this, key = m_wanted.first(), old = current.picture, stops = m_stops]() -> OrderedWork::Deliver {
        const Picture picture = Picture::of(old.light, old.stored, stops);
        return [this, key, picture] {
            m_toning = false;
            const auto known = m_entries.find(key);
            if (known != m_entries.end() && known->picture.light == picture.light) {
                known->picture = picture;
                emit loaded(known->item, picture);
            }
            tone(); // to where the person has gone meanwhile
        };
    });
}
