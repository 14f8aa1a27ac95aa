#pragma once

#include "TransferModule.h"

#include <QPair>

/// Small decisions of the engine that need neither network nor threads.
namespace TransferRules {

/// Suffixes, without the dot, of the video files that an account without verified name may not move. Case counts.
const QStringList &videoSuffixes();

/// Highest speed of one direction.
/// @return bytes a second, never 0: a target speed of 0 stands for the slowest pacing
quint64 targetRate(const ZpdtTransConfig &config, ZPDTCMDTYPE type);

/// Address of the transfer server that the configuration names; empty host when it names none or a bad port.
QPair<QString, quint16> configuredServer(const ZpdtTransConfig &config);

/// Pause before try number @p failures + 1, in milliseconds: 500, 1000, 2000, 4000, then 5000: together with the
/// time that a try may take, a line that is back is used again within ten seconds.
int retryPause(int failures);

/// @p path without trailing separators ("/" stays), as the folder part of a record.
QString folderPath(const QString &path);
/// Last name of a path; empty for the root.
QString lastName(const QString &path);
/// Folder that holds @p path.
QString parentFolder(const QString &path);
QString joined(const QString &folder, const QString &name);

} // namespace TransferRules
