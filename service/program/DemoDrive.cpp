#include "DemoDrive.h"

#include "AccountStore.h"
#include "DemoBrightPictures.h"
#include "DemoPictures.h"
#include "Service.h"
#include "Site.h"
#include "UpdateStore.h"

#include <QImage>

#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

namespace arkvale::service {

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t gibibyte = 1024LL * 1024 * 1024;
constexpr int frameCount = 1000;
/// Signs packages for the development builds, which trust its public half; no secret, and for nothing else.
constexpr char kDevelopmentKey[] = "6sQLevD6ABxtNV//RTtRETMh96QYzVt6eHjugv3j0iQ=\n";
constexpr std::uintmax_t sceneSize = 200u * 1024 * 1024;

struct DemoUser
{
    const char *name;
    const char *nickname;
    const char *login;
    bool verified;
    Restriction restriction;
    std::vector<const char *> centers;
};

std::vector<DemoUser> users()
{
    Restriction late;
    late.kind = Restriction::Kind::Violation;
    late.reason = "Unusual traffic from this account.";
    late.effectTime = nowMs();
    late.duration = 30LL * 86400;
    Restriction banned = late;
    banned.reason = "Repeated violation of the user agreement.";
    banned.duration = -1;
    Restriction limited;
    limited.kind = Restriction::Kind::Silent;
    return {
        {"demo", "Demo Studio", "ok; no home in the third sub-center", true, {}, {"1", "2"}},
        {"guest", "Guest", "ok; not verified", false, {}, {"1"}},
        {"late", "Late Payer", "frozen for 30 days", true, late, {"1"}},
        {"banned", "Banned", "frozen for good", true, banned, {"1"}},
        {"limited", "Limited", "restricted without details", true, limited, {"1"}},
    };
}

bool writeText(const fs::path &file, const std::string &text)
{
    std::ofstream out(file, std::ios::binary);
    out << text;
    out.close();
    return out.good();
}

bool makeImages(const fs::path &folder)
{
    struct Picture
    {
        const char *file;
        int width;
        int height;
        double hour;
        unsigned seed;
    };
    static constexpr Picture pictures[] = {
        {"sunrise.png", 1280, 720, 6.5, 1},    {"noon over the valley.jpg", 1920, 1080, 12, 2},
        {"evening.tiff", 1024, 768, 18, 3},    {"night.webp", 1280, 720, 22, 4},
        {"morning mist.bmp", 640, 360, 8, 5},  {"panorama.jpg", 6000, 1500, 15, 6},
        {"portrait.png", 720, 1280, 17.5, 7},  {"tiny.png", 16, 16, 10, 8},
        {"light probe.hdr", 1024, 512, 13, 9}, {"plate.exr", 960, 540, 17.2, 10},
        {"风景 山谷.png", 800, 450, 9, 11},
    };
    fs::create_directories(folder);
    for (const Picture &picture : pictures) {
        const fs::path file = folder / picture.file;
        const QImage image = demoLandscape(picture.width, picture.height, picture.hour, picture.seed);
        // Which of the other formats there are depends on the plug-ins of the machine.
        if (!saveBrightPicture(image, file.string()) && canWritePicture(file.extension().string().substr(1)) &&
            !savePicture(image, file.string()))
            return false;
    }
    return writeText(folder / "logo.svg",
                     "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"200\" height=\"200\" viewBox=\"0 0 200 200\">"
                     "<rect width=\"200\" height=\"200\" rx=\"30\" fill=\"#26424f\"/>"
                     "<circle cx=\"100\" cy=\"90\" r=\"46\" fill=\"#f0963c\"/>"
                     "<path d=\"M0 150 Q60 110 110 145 T200 140 V200 H0 Z\" fill=\"#4f7f6a\"/></svg>\n") &&
           writeText(folder / "broken.png", "This only calls itself a picture.\n");
}

bool makeFrames(const fs::path &folder)
{
    fs::create_directories(folder);
    for (int i = 1; i <= frameCount; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "frame_%04d.png", i);
        if (!savePicture(demoFrame(160, 90, static_cast<double>(i - 1) / (frameCount - 1)), (folder / name).string()))
            return false;
    }
    return true;
}

bool makeNames(const fs::path &folder)
{
    static const char *const names[] = {
        "read me first.txt", "It's a \"quoted\" name.txt",
        "100%1 done %2.txt", "a+b & c=d; e#f?.txt",
        "项目 说明.txt",     "渲染结果（最终）.txt",
        "take 🎬 one.txt",    "Übergröße ça été.txt",
        "UPPER.TXT",         "no ending",
        "file2.txt",         "file10.txt",
    };
    fs::create_directories(folder / "文件夹 with blanks" / "deeper" / "deepest");
    bool ok = writeText(folder / "文件夹 with blanks" / "deeper" / "deepest" / "treasure.txt", "Found.\n");
    int line = 0;
    for (const char *name : names)
        ok = writeText(folder / name, "Sample text number " + std::to_string(++line) + ".\n") && ok;
    return writeText(folder / "empty.txt", "") && ok;
}

bool makeScenes(const fs::path &folder)
{
    fs::create_directories(folder / "textures");
    const fs::path scene = folder / "castle.scene";
    if (!writeText(scene, "scene castle\ncamera main\n"))
        return false;
    // Only as large as it says, not as much on disk.
    fs::resize_file(scene, sceneSize);
    return savePicture(demoLandscape(512, 512, 11, 21), (folder / "textures" / "stone wall.png").string()) &&
           writeText(folder / "textures" / "materials.json", "{\"stone\": {\"map\": \"stone wall.png\"}}\n");
}

bool fillHome(const fs::path &home, const std::string &user, const std::string &center)
{
    fs::create_directories(home);
    bool ok = writeText(home / "Welcome.txt", "This is the drive of " + user + " in sub-center " + center + ".\n");
    if (user != "demo")
        return ok;
    if (center == "1") {
        fs::create_directories(home / "Empty folder");
        return ok && makeImages(home / "Images") && makeFrames(home / "Frames") && makeNames(home / "Documents") &&
               makeScenes(home / "Scenes");
    }
    return ok && makeNames(home / "文档");
}

/// Whoever starts the service may keep its log here from the start.
bool looksEmpty(const fs::path &folder)
{
    for (const fs::directory_entry &entry : fs::directory_iterator(folder)) {
        if (!entry.is_regular_file() || entry.path().extension() != ".log")
            return false;
    }
    return true;
}

StoreResult fill(AccountStore &store, const std::string &dataFolder)
{
    static const char *const centers[][2] = {{"1", "Nordic Render"}, {"2", "云海 Center \"South\""}, {"3", "Archive"}};
    for (const auto &center : centers) {
        SubCenterRecord record;
        record.id = center[0];
        record.name = center[1];
        record.root = dataFolder + "/centers/" + record.id;
        for (StoreResult result : {Site::prepareRoot(record.root), store.addSubCenter(record)}) {
            if (!result)
                return result;
        }
    }
    for (const DemoUser &user : users()) {
        Account account;
        account.name = user.name;
        account.nickname = user.nickname;
        account.email = account.name + "@studio.example";
        account.mobile = "+00 555 0100";
        account.verified = user.verified;
        account.restriction = user.restriction;
        if (StoreResult added = store.addAccount(account, user.name); !added)
            return added;
        for (const char *center : user.centers) {
            if (StoreResult added = store.addHome({user.name, center, user.name, 20 * gibibyte, 0}); !added)
                return added;
            if (!fillHome(fs::path(dataFolder) / "centers" / center / user.name, user.name, center))
                return {false, "The sample files cannot be written to " + dataFolder + "."};
        }
    }
    for (const AdvertisementRecord &ad : std::vector<AdvertisementRecord>{
             {"en_us", "2024-03-01", "Faster frames", "https://drive.example/news/1", "New machines have arrived."},
             {"en_us", "2024-02-01", "Maintenance", "https://drive.example/news/2",
              "Sub-center Archive rests on Sunday."},
             {"zh_cn", "2024-03-01", "更快的渲染", "https://drive.example/news/1", "新机器已经上线。"},
             {"zh_tw", "2024-03-01", "更快的算圖", "https://drive.example/news/1", "新機器已經上線。"},
         }) {
        if (StoreResult added = store.addAdvertisement(ad); !added)
            return added;
    }
    return {};
}

} // namespace

bool makeDemoDrive(const std::string &dataFolder, const PasswordCost &cost, std::string *error)
{
    const fs::path unfinished = fs::path(dataFolder) / "demo-unfinished";
    try {
        if (fs::create_directories(dataFolder))
            fs::permissions(dataFolder, fs::perms::owner_all);
        if (fs::exists(unfinished)) {
            fs::remove_all(fs::path(dataFolder) / "centers");
            for (const char *ending : {"", "-wal", "-shm"})
                fs::remove(Service::databaseFile(dataFolder) + ending);
        } else if (fs::exists(Service::databaseFile(dataFolder))) {
            return true;
        } else if (!looksEmpty(dataFolder)) {
            *error = "The folder " + dataFolder + " holds something else already.";
            return false;
        }
        if (!writeText(unfinished, "") || !initSecrets()) {
            *error = "The folder " + dataFolder + " cannot be written to.";
            return false;
        }
        AccountStore store(cost);
        StoreResult result = store.open(Service::databaseFile(dataFolder));
        if (result)
            result = fill(store, dataFolder);
        if (!result) {
            *error = result.error;
            return false;
        }
        fs::create_directories(Service::updatesFolder(dataFolder));
        writeText(UpdateStore(Service::updatesFolder(dataFolder)).keyFile(), kDevelopmentKey);
        fs::remove(unfinished);
        return true;
    } catch (const fs::filesystem_error &failure) {
        *error = std::string("The sample drive cannot be made: ") + failure.what();
        return false;
    }
}

nlohmann::json demoUsers()
{
    nlohmann::json list = nlohmann::json::array();
    for (const DemoUser &user : users())
        list.push_back({{"username", user.name}, {"password", user.name}, {"login", user.login}});
    return list;
}

} // namespace arkvale::service
