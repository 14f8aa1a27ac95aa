#pragma once

#include <string>
#include <vector>

namespace arkvale::service {

/// "serve" and "--demo": runs the service until SIGTERM or SIGINT. Returns the exit code: 0, 1 when the service cannot
/// run, 2 for a wrong command line.
int serveCommand(const std::vector<std::string> &arguments);

} // namespace arkvale::service
