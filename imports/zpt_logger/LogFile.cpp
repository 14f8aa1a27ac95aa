#include "LogFile.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <mutex>

namespace LogFile {

namespace {

constexpr int kLongestMessage = 64 * 1024;

std::mutex s_mutex;
std::weak_ptr<spdlog::sinks::sink> s_sink; // guarded by s_mutex

void makePrivate(const QString &path, bool isFolder)
{
    QFile::setPermissions(path,
                          QFile::ReadOwner | QFile::WriteOwner | (isFolder ? QFile::ExeOwner : QFile::Permission()));
}

std::shared_ptr<spdlog::sinks::sink> openSink()
{
    const std::lock_guard lock(s_mutex);
    std::shared_ptr<spdlog::sinks::sink> sink = s_sink.lock();
    if (sink)
        return sink;
    const QString path = folder();
    if (!QDir().mkpath(path))
        return nullptr;
    makePrivate(path, true);
    const QString file = path + QStringLiteral("/ArkvaleTolma.log");
    spdlog::file_event_handlers handlers;
    handlers.after_open = [](const spdlog::filename_t &name, std::FILE *) {
        makePrivate(QFile::decodeName(QByteArray::fromStdString(name)), false);
    };
    try {
        sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(QFile::encodeName(file).toStdString(), kFileSize,
                                                                      kOldFiles, false, handlers);
        sink->set_pattern("%Y-%m-%dT%H:%M:%S.%e%z %l [%n] %v");
    } catch (const std::exception &) {
        return nullptr;
    }
    s_sink = sink;
    return sink;
}

} // namespace

QString folder()
{
#ifdef Q_OS_LINUX
    QString base = qEnvironmentVariable("XDG_STATE_HOME");
    if (!QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.local/state");
#else
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
#endif
    return base + QStringLiteral("/ArkvaleTolma/log");
}

std::shared_ptr<spdlog::logger> makeLogger(const QString &name)
{
    const std::shared_ptr<spdlog::sinks::sink> sink = openSink();
    if (!sink)
        return nullptr;
    auto logger = std::make_shared<spdlog::logger>(oneLine(name), sink);
    logger->set_level(spdlog::level::trace);
    logger->flush_on(spdlog::level::trace);                // a crash must not swallow the lines that led to it
    logger->set_error_handler([](const std::string &) {}); // a full disk drops lines and disturbs nobody
    return logger;
}

std::string oneLine(const QString &message)
{
    QString line;
    line.reserve(message.size() + 16);
    const int length = qMin(message.size(), kLongestMessage);
    for (int i = 0; i < length; ++i) {
        const ushort c = message.at(i).unicode();
        if (c == '\n')
            line += QLatin1String("\\n");
        else if (c == '\r')
            line += QLatin1String("\\r");
        else if (c == '\t')
            line += QLatin1Char('\t');
        else if (c < 0x20 || (c >= 0x7f && c < 0xa0) || c == 0x2028 || c == 0x2029)
            line += QStringLiteral("\\x%1").arg(c, 2, 16, QLatin1Char('0'));
        else
            line += message.at(i);
    }
    if (length < message.size())
        line += QStringLiteral(" ... (%1 characters more)").arg(message.size() - length);
    return line.toStdString();
}

} // namespace LogFile
