#pragma once

#include <QString>

/// Writes "crash.dmp" when the process crashes and starts the crash dialog, then lets the crash take its course. The
/// file goes into the executable's folder, or into the user's state folder where that is not writable, and replaces an
/// older one. What the handler needs is prepared here; while it runs it allocates nothing and takes no lock.
namespace CrashHandler {

/// To be called once, first of all, before the application object.
void install();

/// The three texts of the crash dialog, which starts as @p program; until this is called they are English.
void setTexts(const QString &message, const QString &title, const QString &button);

} // namespace CrashHandler
