#include "TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QMutex>
#include <QMutexLocker>

#include <clocale>
#include <cstdlib>

namespace {

QtMessageHandler s_previous = nullptr;
QMutex s_mutex;
QStringList s_messages;
QStringList s_faults;
QStringList s_allowed;

const char *const kFatalParts[] = {
    "QObject::connect",
    "QObject::disconnect",
    "QObject::startTimer",
    "QObject::killTimer",
    "QObject: Cannot create",
    "QObject::setParent",
    "QObject::moveToThread",
    "QObject::installEventFilter",
    "QSqlDatabase",
    "QSqlQuery",
    "QTimer",
    "QSocketNotifier",
    "QMetaObject::",
    "QMetaMethod::",
    "QMetaProperty",
    "QThread",
    "QWidget",
    "QLayout",
    "QPainter",
    "QPixmap",
    "QIODevice",
    "QNetworkAccess",
    "QNetworkReply",
    "QAbstractSocket",
    "QFont",
    "QCoreApplication::",
    "QApplication",
    "Could not parse",
    "QCss",
    "QImage",
    "Cannot queue arguments",
    "QModelIndex",
    "QSortFilterProxyModel",
};

void strictHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    {
        QMutexLocker lock(&s_mutex);
        s_messages << message;
        if (type == QtWarningMsg || type == QtCriticalMsg) {
            bool allowed = false;
            for (const QString &part : qAsConst(s_allowed))
                allowed = allowed || message.contains(part);
            for (const char *part : kFatalParts) {
                if (!allowed && message.contains(QLatin1String(part))) {
                    s_faults << message;
                    break;
                }
            }
        }
    }
    if (s_previous)
        s_previous(type, context, message);
}

} // namespace

void StrictTest::allowMessage(const QString &part)
{
    QMutexLocker lock(&s_mutex);
    s_allowed << part;
}

QStringList StrictTest::messages()
{
    QMutexLocker lock(&s_mutex);
    return s_messages;
}

void StrictTest::beginStrict()
{
    QMutexLocker lock(&s_mutex);
    s_messages.clear();
    s_faults.clear();
    s_allowed.clear();
    s_previous = qInstallMessageHandler(strictHandler);
}

void StrictTest::endStrict()
{
    qInstallMessageHandler(s_previous);
    s_previous = nullptr;
    QStringList faults;
    {
        QMutexLocker lock(&s_mutex);
        faults = s_faults;
    }
    QVERIFY2(faults.isEmpty(), qPrintable(faults.join(QLatin1Char('\n'))));
}

TestHome::TestHome()
{
    std::setlocale(LC_ALL, "C.UTF-8");
    QByteArray pattern = QDir::tempPath().toUtf8() + "/arkvale-test-XXXXXX";
#ifdef Q_OS_WIN
    m_path = QDir::tempPath() + QStringLiteral("/arkvale-test-%1").arg(qrand());
    QDir().mkpath(m_path);
#else
    if (!mkdtemp(pattern.data()))
        std::abort();
    m_path = QString::fromUtf8(pattern);
#endif
    const struct
    {
        const char *variable;
        const char *folder;
    } folders[] = {{"HOME", ""},
                   {"XDG_CONFIG_HOME", "/config"},
                   {"XDG_DATA_HOME", "/data"},
                   {"XDG_STATE_HOME", "/state"},
                   {"XDG_CACHE_HOME", "/cache"},
                   {"XDG_RUNTIME_DIR", "/run"}};
    for (const auto &f : folders) {
        const QString path = m_path + QLatin1String(f.folder);
        QDir().mkpath(path);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv(f.variable, path.toUtf8());
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

TestHome::~TestHome()
{
    QDir(m_path).removeRecursively();
}

QString builtProgram(const QString &name)
{
    const QString folder = qEnvironmentVariable("ARKVALE_BIN", QCoreApplication::applicationDirPath());
    return folder + QLatin1Char('/') + name;
}
