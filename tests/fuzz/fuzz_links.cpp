// What a browser says to the page behind a link: paths, forms, cookies, languages. Whatever it is, the page names only
// what is shared, and is well-formed.

#include "AccountStore.h"
#include "FileRoutes.h"
#include "FuzzInput.h"
#include "LinkPages.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include <unistd.h>

using namespace arkvale::service;

namespace {

namespace fs = std::filesystem;

/// One sub-center with one user's home in it.
class OneHome : public Context
{
public:
    explicit OneHome(fs::path home)
        : m_home(std::move(home))
    {
    }
    std::vector<SubCenterInfo> subCenters() const override { return {*subCenter("1")}; }
    std::optional<SubCenterInfo> subCenter(const std::string &id) const override
    {
        SubCenterInfo info;
        info.id = id;
        info.rootFolder = m_home.parent_path();
        return info;
    }
    std::optional<std::string> userHome(const std::string &, const std::string &) const override { return m_home; }
    StorageUse storage(const std::string &, const std::string &) const override { return {}; }
    void addUsed(const std::string &, const std::string &, std::int64_t) override {}
    void recount(const std::string &, const std::string &) override {}

private:
    const fs::path m_home;
};

void write(const fs::path &file, const char *text)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

struct World
{
    World()
        : folder(fs::temp_directory_path() / ("fuzz-links-" + std::to_string(::getpid())))
        , home(folder / "root" / "anna")
        , files(home, {})
        , shares(store)
        , items(store, shares, home, files)
    {
        write(folder / "root" / "anna" / "scene" / "a <b>&'\".ma", "shared");
        write(folder / "root" / "anna" / "scene" / "sub" / "c.txt", "shared");
        write(folder / "root" / "anna" / "hidden.txt", "hidden");
        fs::create_symlink("../hidden.txt", folder / "root" / "anna" / "scene" / "way");
        Account anna;
        anna.name = "anna";
        anna.verified = true;
        require(initSecrets() && store.open(folder / "db"));
        require(store.addSubCenter({"1", "One", folder / "root", "", "", 0}) && store.addAccount(anna, "secret"));
        require(bool(shares.open()));
        for (Share *share : {&open, &locked}) {
            share->owner = "anna";
            share->subCenter = "1";
            share->path = "/scene";
            share->isFolder = true;
            share->kind = share == &open ? Share::PublicLink : Share::PasswordLink;
            share->password = share == &open ? "" : "p";
            require(bool(shares.add(share)));
        }
    }
    ~World()
    {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }

    fs::path folder;
    AccountStore store{{1, 8192}};
    OneHome home;
    FileRoutes files;
    ShareStore shares;
    SharedItems items;
    Share open;
    Share locked;
};

/// Every tag is one of the page's own, and closes what it quotes.
void checkPage(const std::string &html)
{
    static const std::set<std::string> tags = {"!DOCTYPE", "html", "head", "meta",  "title", "style",
                                               "body",     "main", "h1",   "p",     "a",     "table",
                                               "tr",       "td",   "form", "label", "input", "button"};
    for (std::size_t at = html.find('<'); at != std::string::npos; at = html.find('<', at + 1)) {
        const std::size_t end = html.find('>', at);
        require(end != std::string::npos);
        const std::string tag = html.substr(at + 1, end - at - 1);
        require(tags.count(tag.substr(tag[0] == '/', tag.find(' ') - (tag[0] == '/'))) == 1);
        require(std::count(tag.begin(), tag.end(), '"') % 2 == 0 && tag.find('<') == std::string::npos);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static World world;
    // The pages are made anew: the attempts of one input are not counted for the next.
    Router router;
    LinkPages::registerRoutes(router, std::make_shared<LinkPages>(world.shares, world.items, "key"));
    FuzzInput in(data, size);
    const std::uint8_t kind = in.byte();
    const bool isPost = kind & 1;
    const std::string token = kind & 2 ? world.open.token : kind & 4 ? in.text(in.byte()) : world.locked.token;
    Request request;
    request.method = isPost ? "POST" : "GET";
    request.peer = "127.0.0.1";
    request.headers["accept-language"] = in.text(in.byte() % 32);
    request.headers["cookie"] = (kind & 8 ? "arkvale_share=" : "") + in.text(in.byte() % 64);
    request.headers["range"] = in.text(in.byte() % 16);
    std::string target = "/api/v1/s/" + token + (kind & 16 ? "/file?" : "?") + (kind & 32 ? "path=/scene" : "");
    if (isPost)
        request.body = (kind & 64 ? "password=" : "") + in.rest();
    else
        target += in.rest();
    if (!parseTarget(target, "/api/v1", request))
        return 0;
    const Router::Match match = router.find(request);
    if (!match.handler)
        return 0;
    Response response = (*match.handler)(request);
    if (response.pending())
        response = response.otherwise()();
    std::string body = response.body();
    const bool isFile = static_cast<bool>(response.bodyProvider());
    if (isFile) {
        body.resize(response.length());
        require(body.empty() || response.bodyProvider()(0, body.data(), body.size()) > 0);
        require(request.param("token") == world.open.token && std::string("shared").find(body) != std::string::npos);
    } else if (response.status() != 416 && response.status() != 303) {
        checkPage(body);
    }
    require(body.find("hidden") == std::string::npos);
    require(request.param("token") != world.locked.token || body.find("c.txt") == std::string::npos);
    return 0;
}
