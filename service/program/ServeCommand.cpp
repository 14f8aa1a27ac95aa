#include "ServeCommand.h"

#include "Arguments.h"
#include "DemoDrive.h"
#include "Log.h"
#include "Service.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <system_error>

#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace arkvale::service {

namespace {

const std::set<std::string> valuedOptions = {
    "data",         "demo",    "listen",          "port",         "ready-file",  "tls-cert", "tls-key", "public-url",
    "stop-timeout", "workers", "transfer-listen", "transfer-udp", "partial-days"};

int complain(const std::string &error, int code)
{
    std::cerr << "arkvale-service: " << error << std::endl;
    return code;
}

bool readFile(const std::string &path, std::string *text)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream all;
    all << file.rdbuf();
    *text = all.str();
    return file.good() && !text->empty();
}

/// Whoever waits for the file finds it whole.
bool writeReadyFile(const std::string &path, const std::string &line)
{
    const std::string partial = path + ".part";
    std::ofstream file(partial, std::ios::trunc);
    file << line << '\n';
    file.close();
    return file.good() && std::rename(partial.c_str(), path.c_str()) == 0;
}

bool readOptions(const Arguments &arguments, ServiceOptions *options, std::string *error)
{
    options->dataFolder = arguments.value("demo", arguments.value("data"));
    if (options->dataFolder.empty()) {
        *error = "A data folder is needed: serve --data DIR, or --demo DIR.";
        return false;
    }
    std::error_code failure;
    options->dataFolder = std::filesystem::absolute(options->dataFolder, failure).lexically_normal().string();
    HttpOptions &http = options->http;
    http.listen = arguments.value("listen", http.listen);
    options->transferListen = arguments.value("transfer-listen");
    options->udp = arguments.value("transfer-udp", "on") != "off";
    options->publicUrl = arguments.value("public-url");
    while (!options->publicUrl.empty() && options->publicUrl.back() == '/')
        options->publicUrl.pop_back();
    const auto port = parseNumber(arguments.value("port", "0"), 0, 65535);
    const auto stop = parseNumber(arguments.value("stop-timeout", "30"), 0, 3600);
    const auto workers = parseNumber(arguments.value("workers", "8"), 1, 256);
    const auto days = parseNumber(arguments.value("partial-days", "14"), 0, 36500);
    if (!port || !stop || !workers || !days) {
        *error = "--port takes 0 to 65535, --stop-timeout 0 to 3600 seconds, --workers 1 to 256, --partial-days 0 to "
                 "36500.";
        return false;
    }
    http.port = static_cast<std::uint16_t>(*port);
    http.stopTimeout = static_cast<unsigned>(*stop);
    http.workers = static_cast<unsigned>(*workers);
    options->partialAge = std::chrono::hours(24 * *days);
    if (arguments.has("tls-cert") != arguments.has("tls-key")) {
        *error = "--tls-cert and --tls-key go together.";
        return false;
    }
    if (arguments.has("tls-cert") && (!readFile(arguments.value("tls-cert"), &http.tlsCertificate) ||
                                      !readFile(arguments.value("tls-key"), &http.tlsKey))) {
        *error = "The TLS certificate or key cannot be read.";
        return false;
    }
    return true;
}

} // namespace

int serveCommand(const std::vector<std::string> &list)
{
    const Arguments arguments(list, {}, valuedOptions);
    ServiceOptions options;
    std::string error = arguments.error();
    if (!error.empty() || !readOptions(arguments, &options, &error))
        return complain(error, 2);
    if (!arguments.words().empty())
        return complain("\"" + arguments.words().front() + "\" is one word too many.", 2);

    // Held back in every thread that is started from here on, so that they wait for sigwait below.
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    ::umask(077);

    if (arguments.has("demo") && !makeDemoDrive(options.dataFolder, options.passwordCost, &error))
        return complain(error, 1);
    Service service(options);
    if (!service.start(&error))
        return complain(error, 1);
    nlohmann::json ready = service.addresses();
    ready["data"] = options.dataFolder;
    if (arguments.has("demo"))
        ready["demo"] = demoUsers();
    const std::string line = ready.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    // Before the line on standard output: whoever reads that finds the file of this run and not that of an earlier one.
    if (arguments.has("ready-file") && !writeReadyFile(arguments.value("ready-file"), line)) {
        service.stop();
        return complain("The file " + arguments.value("ready-file") + " cannot be written.", 1);
    }
    std::cout << line << std::endl;
    logLine("serving " + ready["http"].get<std::string>());

    int signal = 0;
    while (sigwait(&signals, &signal) != 0) {
    }
    logLine("stopping");
    service.stop();
    logLine("stopped");
    return 0;
}

} // namespace arkvale::service
