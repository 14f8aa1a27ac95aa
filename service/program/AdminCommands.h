#pragma once

#include <string>
#include <vector>

namespace arkvale::service {

/// The commands that change accounts and sub-centers. They work while the service runs; a new sub-center is served
/// from its next start on. Returns the exit code: 0, 1 when the change cannot be made, 2 for a wrong command line.
int adminCommand(const std::string &command, const std::vector<std::string> &arguments);

/// True for a name that adminCommand() knows.
bool isAdminCommand(const std::string &command);

} // namespace arkvale::service
