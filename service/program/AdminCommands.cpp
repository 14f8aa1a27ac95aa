#include "AdminCommands.h"

#include "AccountStore.h"
#include "Arguments.h"
#include "Log.h"
#include "Service.h"
#include "Site.h"
#include "UpdateStore.h"

#include <filesystem>
#include <functional>
#include <iostream>
#include <system_error>

#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace arkvale::service {

namespace {

constexpr std::int64_t defaultQuota = 100LL * 1024 * 1024 * 1024;

/// One run of one command: its arguments, and the opened database.
struct Run
{
    const Arguments &arguments;
    AccountStore &store;

    const std::string &word(std::size_t i) const { return arguments.words()[i]; }
};

/// How a command is called and what it does.
struct Command
{
    const char *usage;
    std::size_t words;
    std::set<std::string> flags;
    std::set<std::string> valued;
    std::function<StoreResult(const Run &)> run;
};

/// The password of --password, or a line of standard input, which a terminal does not show.
StoreResult readPassword(const Arguments &arguments, std::string *password)
{
    if (arguments.has("password")) {
        *password = arguments.value("password");
    } else {
        termios before = {};
        const bool terminal = ::isatty(STDIN_FILENO) != 0 && ::tcgetattr(STDIN_FILENO, &before) == 0;
        if (terminal) {
            termios silent = before;
            silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
            std::cerr << "Password: " << std::flush;
        }
        std::getline(std::cin, *password);
        if (terminal) {
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
            std::cerr << std::endl;
        }
    }
    if (password->empty() || password->size() > 1024)
        return {false, "A password has 1 to 1024 bytes."};
    return {};
}

StoreResult addUser(const Run &run)
{
    const auto quota = parseSize(run.arguments.value("quota", std::to_string(defaultQuota)));
    if (!quota)
        return {false, "--quota takes a size such as 500M or 20G."};
    Account account;
    account.name = run.word(0);
    account.nickname = run.arguments.value("nickname", account.name);
    account.email = run.arguments.value("email");
    account.mobile = run.arguments.value("mobile");
    account.verified = run.arguments.has("verified");
    std::vector<std::string> centers = run.arguments.values("sub-center");
    if (centers.empty()) {
        for (const SubCenterRecord &record : run.store.subCenters())
            centers.push_back(record.id);
    }
    std::string password;
    if (StoreResult read = readPassword(run.arguments, &password); !read)
        return read;
    if (StoreResult added = run.store.addAccount(account, password); !added)
        return added;
    for (const std::string &center : centers) {
        if (StoreResult added = run.store.addHome({account.name, center, account.name, *quota, 0}); !added)
            return added;
    }
    return {};
}

StoreResult setPassword(const Run &run)
{
    std::string password;
    if (StoreResult read = readPassword(run.arguments, &password); !read)
        return read;
    return run.store.setPassword(run.word(0), password);
}

StoreResult addSubCenter(const Run &run)
{
    const auto port = parseNumber(run.arguments.value("transfer-port", "0"), 0, 65535);
    if (!port)
        return {false, "--transfer-port takes 0 to 65535."};
    SubCenterRecord record;
    record.id = run.word(0);
    record.name = run.word(1);
    record.transferPort = static_cast<std::uint16_t>(*port);
    record.transferHost = run.arguments.value("transfer-host");
    std::error_code failure;
    std::string root = run.arguments.value("root");
    if (root.empty())
        root = run.arguments.value("data") + "/centers/" + record.id;
    // With links resolved, so that two names of one folder are seen to be one.
    const auto resolved = std::filesystem::weakly_canonical(std::filesystem::absolute(root), failure);
    if (failure)
        return {false, "The folder " + root + " cannot be used: " + failure.message() + "."};
    record.root = resolved.lexically_normal().string();
    while (record.root.size() > 1 && record.root.back() == '/')
        record.root.pop_back();
    if (StoreResult prepared = Site::prepareRoot(record.root); !prepared)
        return prepared;
    return run.store.addSubCenter(record);
}

StoreResult setQuota(const Run &run)
{
    const auto quota = parseSize(run.word(2));
    if (!quota)
        return {false, "\"" + run.word(2) + "\" is no size; write 500M or 20G."};
    // A user who had no home in the sub-center gets one.
    if (!run.store.home(run.word(0), run.word(1)))
        return run.store.addHome({run.word(0), run.word(1), run.word(0), *quota, 0});
    return run.store.setQuota(run.word(0), run.word(1), *quota);
}

StoreResult freeze(const Run &run)
{
    Restriction restriction;
    restriction.kind = run.arguments.has("without-details") ? Restriction::Kind::Silent : Restriction::Kind::Violation;
    const auto duration = parseDuration(run.arguments.value("for", "forever"));
    if (!duration)
        return {false, "--for takes a time such as 12h or 30d, or forever."};
    restriction.duration = *duration;
    restriction.effectTime = nowMs();
    restriction.reason = run.arguments.value("reason");
    return run.store.setRestriction(run.word(0), restriction);
}

StoreResult list(const Run &run)
{
    for (const SubCenterRecord &record : run.store.subCenters())
        std::cout << "sub-center\t" << record.id << '\t' << record.name << '\t' << record.root << '\t'
                  << "transfer port " << record.transferPort << '\n';
    const auto homes = run.store.homes();
    for (const Account &account : run.store.accounts()) {
        std::cout << "user\t" << account.name << '\t' << account.nickname << '\t'
                  << (account.verified ? "verified" : "not verified");
        if (account.restriction.holds(nowMs())) {
            const std::int64_t seconds = account.restriction.duration;
            std::cout << "\tfrozen "
                      << (seconds < 0 ? "for good"
                                      : "until " + isoTime(account.restriction.effectTime + seconds * 1000));
        }
        std::cout << '\n';
        for (const Home &home : homes) {
            if (home.user == account.name)
                std::cout << "home\t" << home.user << '\t' << home.subCenterId << '\t' << home.used << " of "
                          << home.quota << " bytes\n";
        }
    }
    std::cout.flush();
    return {};
}

StoreResult publish(const Run &run)
{
    const UpdateStore updates(Service::updatesFolder(run.arguments.value("data")));
    UpdateStore::Publication publication;
    publication.file = run.word(0);
    publication.version = run.arguments.value("version");
    publication.platform = run.arguments.value("platform", "windows-x86_64");
    publication.notes = run.arguments.value("notes");
    std::string key;
    if (StoreResult read = updates.signingKey(run.arguments.value("key", updates.keyFile()), &key); !read)
        return read;
    if (StoreResult published = updates.publish(publication, key); !published)
        return published;
    std::cout << "published\t" << publication.version << '\t' << publication.platform << '\n'
              << "clients have to be built with\tARKVALE_UPDATE_KEY=" << base64(publicKeyOf(key)) << std::endl;
    return {};
}

const std::map<std::string, Command> &commands()
{
    static const std::map<std::string, Command> all = {
        {"add-user",
         {"add-user NAME [--password P] [--nickname N] [--email E] [--mobile M] [--verified] [--quota SIZE] "
          "[--sub-center ID ...]",
          1,
          {"verified"},
          {"password", "nickname", "email", "mobile", "quota", "sub-center"},
          &addUser}},
        {"set-password", {"set-password NAME [--password P]", 1, {}, {"password"}, &setPassword}},
        {"add-subcenter",
         {"add-subcenter ID NAME [--root FOLDER] [--transfer-port N] [--transfer-host HOST]",
          2,
          {},
          {"root", "transfer-port", "transfer-host"},
          &addSubCenter}},
        {"set-quota", {"set-quota USER SUB-CENTER SIZE", 3, {}, {}, &setQuota}},
        {"freeze",
         {"freeze USER [--for TIME] [--reason TEXT] [--without-details]",
          1,
          {"without-details"},
          {"for", "reason"},
          &freeze}},
        {"unfreeze",
         {"unfreeze USER", 1, {}, {}, [](const Run &run) { return run.store.setRestriction(run.word(0), {}); }}},
        {"list", {"list", 0, {}, {}, &list}},
        {"publish",
         {"publish FILE --version V [--platform windows-x86_64] [--notes TEXT] [--key FILE]",
          1,
          {},
          {"version", "platform", "notes", "key"},
          &publish}},
    };
    return all;
}

} // namespace

bool isAdminCommand(const std::string &command)
{
    return commands().count(command) > 0;
}

int adminCommand(const std::string &name, const std::vector<std::string> &list)
{
    Command command = commands().at(name);
    command.valued.insert("data");
    const Arguments arguments(list, command.flags, command.valued);
    const std::string folder = arguments.value("data");
    if (!arguments.error().empty() || arguments.words().size() != command.words || folder.empty()) {
        if (!arguments.error().empty())
            std::cerr << "arkvale-service: " << arguments.error() << '\n';
        std::cerr << "usage: arkvale-service " << command.usage << " --data DIR" << std::endl;
        return 2;
    }
    std::error_code failure;
    if (std::filesystem::create_directories(folder, failure))
        ::chmod(folder.c_str(), 0700);
    AccountStore store;
    StoreResult result =
        initSecrets() ? store.open(Service::databaseFile(folder)) : StoreResult{false, "No random numbers."};
    if (result)
        result = command.run({arguments, store});
    if (!result)
        std::cerr << "arkvale-service: " << result.error << std::endl;
    return result ? 0 : 1;
}

} // namespace arkvale::service
