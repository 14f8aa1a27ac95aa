#include "DataBaseManager.h"

#include <QMutex>
#include <QMutexLocker>
#include <QSqlRecord>
#include <QSqlTableModel>

DataBaseManager::DataBaseManager(const QString &path, const QString &driver, QObject *parent)
    : m_connection(QStringLiteral("db_connection_%1").arg(nextConnectionNumber()))
    , m_database(QSqlDatabase::addDatabase(driver, m_connection))
{
    // Another connection may be writing the same file; a window never waits long for it.
    if (driver == QLatin1String("QSQLITE"))
        m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=1000"));
    m_model = std::make_unique<QSqlTableModel>(parent, m_database);
    m_database.setDatabaseName(path);
    if (!m_database.open())
        return;
    m_model->setEditStrategy(QSqlTableModel::OnManualSubmit);
    m_model->setTable(QStringLiteral("tb_user_info"));
}

DataBaseManager::~DataBaseManager()
{
    m_database.close();
    m_model.reset();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connection);
}

bool DataBaseManager::find(const QString &key) const
{
    if (!m_database.isOpen())
        return false;
    m_model->setFilter(QStringLiteral("key = '%1'").arg(key));
    return m_model->select();
}

QString DataBaseManager::value(const QString &key) const
{
    if (!find(key) || m_model->rowCount() != 1)
        return QString();
    const QSqlRecord record = m_model->record(0);
    return record.contains(QStringLiteral("value")) ? record.value(QStringLiteral("value")).toString() : QString();
}

bool DataBaseManager::setValue(const QString &key, const QString &value)
{
    if (!find(key))
        return false;
    bool placed = false;
    if (m_model->rowCount() == 1) {
        QSqlRecord record = m_model->record(0);
        record.setValue(QStringLiteral("value"), value);
        placed = m_model->setRecord(0, record);
    } else {
        QSqlRecord record = m_model->record();
        record.setValue(QStringLiteral("key"), key);
        record.setValue(QStringLiteral("value"), value);
        placed = m_model->insertRecord(0, record);
    }
    if (placed && m_model->submitAll())
        return true;
    // A refused row must not be sent again along with the next one.
    m_model->revertAll();
    return false;
}

bool DataBaseManager::setValues(const QList<QPair<QString, QString>> &values)
{
    if (!m_database.isOpen() || !m_database.transaction())
        return false;
    for (const auto &entry : values) {
        if (!setValue(entry.first, entry.second)) {
            m_database.rollback();
            return false;
        }
    }
    if (m_database.commit())
        return true;
    m_database.rollback();
    return false;
}

int DataBaseManager::nextConnectionNumber()
{
    static QMutex mutex;
    static int last = 0;
    QMutexLocker lock(&mutex);
    return ++last;
}
