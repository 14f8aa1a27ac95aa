#include "AdminCommands.h"
#include "ServeCommand.h"

#include <QCoreApplication>

#include <iostream>
#include <string>
#include <vector>

namespace {

const char *const usage = R"(usage: arkvale-service serve --data DIR [options]    serve what DIR holds
       arkvale-service --demo DIR [options]          the same, with a sample drive made when DIR is empty
       arkvale-service COMMAND --data DIR ...        change accounts and sub-centers

options of serve and --demo:
  --listen ADDRESS          address to listen on (127.0.0.1)
  --port N                  port of HTTP; 0, the default, takes a free one
  --tls-cert FILE, --tls-key FILE   serve HTTPS, with these PEM files
  --public-url URL          account base as clients reach it, for a service behind a proxy
  --transfer-listen ADDRESS address of the transfer listeners (that of --listen)
  --transfer-udp on|off     transfers over UDP as well as TCP (on)
  --ready-file FILE         written once the service can be reached; holds the same line as standard output
  --stop-timeout SECONDS    how long running requests may finish after SIGTERM (30)
  --workers N               requests handled at once (8)

commands: add-user, set-password, add-subcenter, set-quota, freeze, unfreeze, list
)";

} // namespace

int main(int argc, char **argv)
{
    // Image formats are plug-ins, which the library looks for beside an application object.
    const QCoreApplication application(argc, argv);
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const std::string command = arguments.empty() ? std::string() : arguments.front();
    if (command == "--help" || command == "help") {
        std::cout << usage << std::flush;
        return 0;
    }
    if (command.rfind("--demo", 0) == 0)
        return arkvale::service::serveCommand(arguments);
    if (!arguments.empty())
        arguments.erase(arguments.begin());
    if (command == "serve")
        return arkvale::service::serveCommand(arguments);
    if (arkvale::service::isAdminCommand(command))
        return arkvale::service::adminCommand(command, arguments);
    std::cerr << usage << std::flush;
    return 2;
}
