// The transfer engine without a window, for the scripts beside it. Reads one JSON order a line from its input and tells
// what the engine tells as JSON lines; ends with its input.
//   {"config": {"http", "user", "access", "token", "center", "host", "port", "speed" (KB/s), "mode", "verify"}}
//   {"up": true, "folder": "/source/tree" or "files": ["/source/a", ...], "to": "/target", "resume": false}
//   {"speed": KB/s}   {"concurrence": N}   {"pauseAll": true}   {"cancelAll": true}

#include "TransferModule.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

namespace {

void say(const QJsonObject &line)
{
    std::puts(QJsonDocument(line).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

} // namespace

class Driver : public QObject
{
    Q_OBJECT

public:
    Driver()
        : m_engine(true)
        , m_input(STDIN_FILENO, QSocketNotifier::Read)
    {
        connect(&m_input, &QSocketNotifier::activated, this, &Driver::read);
        const auto tell = [](const char *event, const QList<TaskRecord> &tasks) {
            for (const TaskRecord &task : tasks)
                say({{"event", event}, {"path", task.Path}, {"status", task.Status}, {"bytes", task.FileSize}});
        };
        connect(&m_engine, &TransferModule::TaskFinished, this, [tell](const auto &tasks) { tell("finished", tasks); });
        connect(&m_engine, &TransferModule::TaskPauseEnd, this, [tell](const auto &tasks) { tell("paused", tasks); });
        connect(&m_engine, &TransferModule::TaskCancelEnd, this, [tell](const auto &tasks) { tell("gone", tasks); });
        connect(&m_engine, &TransferModule::TaskCreateCount, this, [](qint64 count) {
            say({{"event", "created"}, {"count", count}});
        });
        connect(&m_engine, &TransferModule::TaskProgressChanged, this,
                [](const TaskRecord &task, const ZpdtProgress &progress) {
                    say({{"event", "progress"},
                         {"path", task.Path},
                         {"status", task.Status},
                         {"offset", progress.offset},
                         {"total", progress.total},
                         {"files", progress.filesDone},
                         {"speed", progress.speed},
                         {"error", static_cast<int>(progress.error)},
                         {"text", progress.errorText}});
                });
        connect(&m_engine, &TransferModule::ConnectionInfoChanged, this,
                [](const QList<ZpdtConnectionInfo> &connections) {
                    for (const ZpdtConnectionInfo &info : connections) {
                        say({{"event", "line"},
                             {"carrier", info.carrier},
                             {"state", info.state},
                             {"up", info.sendRateMbps},
                             {"down", info.receiveRateMbps},
                             {"rtt", info.roundTripMs},
                             {"loss", info.lossPercent},
                             {"times", info.connectTimes},
                             {"reason", info.reason}});
                    }
                });
    }

private:
    void read()
    {
        char buffer[65536];
        const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof(buffer));
        if (got <= 0) {
            QCoreApplication::quit();
            return;
        }
        m_text.append(buffer, static_cast<int>(got));
        for (int end = m_text.indexOf('\n'); end >= 0; end = m_text.indexOf('\n')) {
            obey(QJsonDocument::fromJson(m_text.left(end)).object());
            m_text.remove(0, end + 1);
        }
    }

    void obey(const QJsonObject &order)
    {
        if (order.contains("config"))
            configure(order.value("config").toObject());
        if (order.contains("speed")) {
            setSpeed(order.value("speed").toDouble());
            m_engine.SetZpdtParams(m_config);
        }
        for (const ZPDTCMDTYPE type : {ZPDT_UPLOAD, ZPDT_DOWNLOAD}) {
            if (order.contains("concurrence"))
                m_engine.SetMaxConcurrence(type, order.value("concurrence").toInt());
            if (order.contains("pauseAll"))
                m_engine.PauseAll(type);
            if (order.contains("cancelAll"))
                m_engine.CancelAll(type);
        }
        if (order.contains("to"))
            transfer(order);
    }

    void configure(const QJsonObject &config)
    {
        m_config.clientTag = config.value("http").toString();
        m_config.userId = config.value("user").toString();
        m_config.asperaUser = config.value("access").toString();
        m_config.asperaPassword = config.value("token").toString();
        m_config.subCenterId = config.value("center").toString();
        m_config.udtHost = config.value("host").toString();
        m_config.udtPort = config.value("port").toString();
        m_config.engineFlagA = m_config.engineFlagB = config.value("type").toString("ZPDT") != QLatin1String("ZPDT");
        m_config.beVerify = config.value("verify").toInt();
        m_config.uploadPacing.mode = m_config.downloadPacing.mode = config.value("mode").toString("fair");
        setSpeed(config.value("speed").toDouble(1e6));
    }

    void setSpeed(double kilobytes)
    {
        m_config.uploadTargetSpeed = m_config.downloadTargetSpeed = static_cast<qint64>(kilobytes);
        for (ZpdtRateControl *pacing : {&m_config.uploadPacing, &m_config.downloadPacing}) {
            pacing->pacingInterval = m_config.mss * 1e6 / (kilobytes * 1024.0) * 1.08;
            pacing->pacingLimit = 30000.0;
            pacing->rateFloor = kilobytes * 0.92 * 1024.0;
        }
    }

    void transfer(const QJsonObject &order)
    {
        const bool up = order.value("up").toBool();
        const QString to = order.value("to").toString();
        const QString folder = order.value("folder").toString();
        QList<FileInfo> files;
        for (const auto &path : order.value("files").toArray()) {
            const QFileInfo info(path.toString());
            files.append({info.fileName(), info.path()});
        }
        const ZPDTCMDTYPE type = up ? ZPDT_UPLOAD : ZPDT_DOWNLOAD;
        if (order.value("resume").toBool()) {
            QList<TaskRecord> tasks;
            if (!folder.isEmpty())
                files.append({QFileInfo(folder).fileName(), QFileInfo(folder).path()});
            for (const FileInfo &file : qAsConst(files)) {
                TaskRecord task;
                task.Type = type;
                task.Path = file.path + (file.path.endsWith('/') ? "" : "/") + file.fileName;
                task.From = file.path;
                task.Dest = to;
                task.SubCenterId = m_config.subCenterId;
                tasks.append(task);
            }
            m_engine.StartAll(tasks, type, m_config);
        } else if (!folder.isEmpty()) {
            up ? m_engine.UploadFolder(folder, to, m_config) : m_engine.DownloadFolder(folder, to, m_config);
        } else {
            up ? m_engine.UploadFiles(files, to, m_config) : m_engine.DownloadFiles(files, to, m_config);
        }
    }

    ZpdtTransConfig m_config;
    TransferModule m_engine;
    QSocketNotifier m_input;
    QByteArray m_text;
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    Driver driver;
    return QCoreApplication::exec();
}

#include "bench_engine.moc"
