#include "zpt_logger.h"

#include "LogFile.h"

#include <QVector>

#include <spdlog/spdlog.h>

#include <mutex>

namespace {

struct Entry
{
    QString name;
    std::shared_ptr<spdlog::logger> logger; ///< null while the disk refuses
};

std::mutex s_mutex;
QVector<Entry> s_entries; // id minus 1 is the index; guarded by s_mutex
int s_loggers = 0;        // zpt_logger objects alive; guarded by s_mutex

spdlog::level::level_enum levelOf(int level)
{
    if (level <= 200)
        return spdlog::level::critical;
    if (level <= 300)
        return spdlog::level::err;
    if (level <= 400)
        return spdlog::level::warn;
    if (level <= 600)
        return spdlog::level::info;
    return level <= 700 ? spdlog::level::debug : spdlog::level::trace;
}

} // namespace

zpt_logger::zpt_logger(QObject *parent)
    : QObject(parent)
{
    const std::lock_guard lock(s_mutex);
    ++s_loggers;
}

zpt_logger::~zpt_logger()
{
    const std::lock_guard lock(s_mutex);
    if (--s_loggers > 0)
        return;
    // Ids hold for the process, the file does not: it is closed here and opened again by the next line.
    for (Entry &entry : s_entries)
        entry.logger.reset();
}

int zpt_logger::RegisterLogger(QString name)
{
    const std::lock_guard lock(s_mutex);
    for (int i = 0; i < s_entries.size(); ++i) {
        if (s_entries.at(i).name == name)
            return i + 1;
    }
    s_entries.append({name, nullptr});
    return s_entries.size();
}

void zpt_logger::SlotWriteLog(int loggerId, int logLevel, QString message, const wchar_t *fileName, int lineNum)
{
    std::shared_ptr<spdlog::logger> logger;
    {
        const std::lock_guard lock(s_mutex);
        if (loggerId < 1 || loggerId > s_entries.size())
            return;
        Entry &entry = s_entries[loggerId - 1];
        if (!entry.logger)
            entry.logger = LogFile::makeLogger(entry.name);
        logger = entry.logger;
    }
    if (!logger)
        return;
    if (fileName && *fileName)
        message += QStringLiteral(" (%1:%2)").arg(QString::fromWCharArray(fileName)).arg(lineNum);
    const std::string line = LogFile::oneLine(message);
    logger->log(levelOf(logLevel), spdlog::string_view_t(line.data(), line.size()));
}
