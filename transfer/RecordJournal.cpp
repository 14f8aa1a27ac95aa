#include "RecordJournal.h"

#include <QDataStream>
#include <QDebug>
#include <QSaveFile>

namespace {

constexpr quint32 kMark = 0x54524a31;
constexpr QFile::Permissions kOwnFile = QFile::ReadOwner | QFile::WriteOwner;

void write(QDataStream &out, const TaskRecord &record)
{
    out << record.Path << record.Type << record.FileSize << record.Offset << record.Status << record.CreateDate
        << record.FinishDate << record.From << record.Dest << record.SubCenterId << record.taskExtra;
}

TaskRecord readRecord(QDataStream &in)
{
    TaskRecord record;
    in >> record.Path >> record.Type >> record.FileSize >> record.Offset >> record.Status >> record.CreateDate >>
        record.FinishDate >> record.From >> record.Dest >> record.SubCenterId >> record.taskExtra;
    return record;
}

quint32 checksum(const QByteArray &data)
{
    quint32 sum = 2166136261u;
    for (const char c : data)
        sum = (sum ^ static_cast<uchar>(c)) * 16777619u;
    return sum;
}

} // namespace

bool RecordJournal::open(const QString &path)
{
    QMutexLocker lock(&m_mutex);
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered)) {
        qWarning() << "transfer journal:" << m_file.errorString();
        return false;
    }
    m_file.setPermissions(kOwnFile);
    m_size = m_file.size();
    return true;
}

void RecordJournal::close()
{
    QMutexLocker lock(&m_mutex);
    m_file.close();
}

void RecordJournal::read(const std::function<void(const Entry &)> &handler)
{
    QList<Entry> entries;
    QMutexLocker lock(&m_mutex);
    if (!m_file.isOpen())
        return;
    m_file.seek(0);
    qint64 good = 0;
    while (true) {
        QDataStream head(m_file.read(3 * sizeof(quint32)));
        quint32 mark = 0, length = 0, sum = 0;
        head >> mark >> length >> sum;
        if (head.status() != QDataStream::Ok || mark != kMark || length > m_size)
            break;
        const QByteArray body = m_file.read(length);
        if (body.size() != static_cast<int>(length) || checksum(body) != sum)
            break;
        QDataStream in(body);
        in.setVersion(QDataStream::Qt_5_15);
        quint8 bucket = 0, operation = 0;
        qint32 count = 0;
        Entry entry;
        in >> bucket >> entry.clear >> operation >> count;
        for (qint32 i = 0; i < count && in.status() == QDataStream::Ok; ++i)
            entry.records << readRecord(in);
        if (in.status() != QDataStream::Ok || bucket > Finished || operation > PendingRecords::Change)
            break;
        entry.bucket = static_cast<Bucket>(bucket);
        entry.operation = static_cast<PendingRecords::Operation>(operation);
        entries << entry;
        good = m_file.pos();
    }
    // New entries are to follow the last whole one.
    if (good < m_size && m_file.resize(good))
        m_size = good;
    m_file.seek(m_size);
    lock.unlock();
    for (const Entry &entry : qAsConst(entries))
        handler(entry);
}

QByteArray RecordJournal::frame(const Entry &entry)
{
    QByteArray body;
    QDataStream out(&body, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_5_15);
    out << static_cast<quint8>(entry.bucket) << entry.clear << static_cast<quint8>(entry.operation)
        << static_cast<qint32>(entry.records.size());
    for (const TaskRecord &record : entry.records)
        write(out, record);
    QByteArray whole;
    QDataStream head(&whole, QIODevice::WriteOnly);
    head << kMark << static_cast<quint32>(body.size()) << checksum(body);
    return whole + body;
}

void RecordJournal::append(const Entry &entry)
{
    const QByteArray data = frame(entry);
    QMutexLocker lock(&m_mutex);
    if (!m_file.isOpen())
        return;
    m_file.seek(m_size);
    if (m_file.write(data) == data.size()) {
        m_size += data.size();
        return;
    }
    // A full disk: no half entry may stand before the next one.
    qWarning() << "transfer journal:" << m_file.errorString();
    m_file.resize(m_size);
}

void RecordJournal::replace(const QList<Entry> &entries)
{
    QMutexLocker lock(&m_mutex);
    if (!m_file.isOpen() || (entries.isEmpty() && m_size == 0))
        return;
    if (entries.isEmpty()) {
        if (m_file.resize(0))
            m_size = 0;
        return;
    }
    QSaveFile fresh(m_file.fileName());
    bool good = fresh.open(QIODevice::WriteOnly);
    fresh.setPermissions(kOwnFile);
    for (const Entry &entry : entries) {
        const QByteArray data = frame(entry);
        good = good && fresh.write(data) == data.size();
    }
    // Some systems replace no file that is open. When it fails, the longer old file says the same.
    m_file.close();
    if (!good || !fresh.commit())
        qWarning() << "transfer journal:" << fresh.errorString();
    m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered);
    m_size = m_file.size();
}

qint64 RecordJournal::size() const
{
    QMutexLocker lock(&m_mutex);
    return m_size;
}
