#include "OperationTable.h"

#include <QDir>

namespace {

const QString kPath = QString::fromUtf8("/a b/\xe5\x90\x8d&=+%1?#\n'\"");
const QStringList kPaths{QStringLiteral("/a"), QStringLiteral("/b,c")};
#define P "path=%2Fa%20b%2F%E5%90%8D%26%3D%2B%251%3F%23%0A%27%22"
#define PJ "\"/a b/\xe5\x90\x8d&=+%1?#\\n'\\\"\""
#define PS "[\"/a\",\"/b,c\"]"

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

} // namespace

const std::vector<OperationRow> &operationTable()
{
    using C = OrvClient;
    using F = const QString;
    static const std::vector<OperationRow> rows = {
        {"auth", "auth", [](C &c, F &) { return c.auth(s("al"), s("tok")); }, "POST /base/auth/token",
         R"({"username":"al","token":"tok","version":"1.2"})", false},
        {"login", "login", [](C &c, F &) { return c.login(s("al"), s("pw\"")); }, "POST /base/auth/login",
         R"({"username":"al","password":"pw\"","version":"1.2"})", false},
        {"getUserInfo", "getUserInfo", [](C &c, F &) { return c.getUserInfo(s("a/../b?c")); },
         "GET /base/users/a%2F..%2Fb%3Fc", ""},
        {"getIcon", "getIcon", [](C &c, F &) { return c.getIcon(s("icons/a%20b.png?s=1")); },
         "GET /base/icons/a%20b.png?s=1", ""},
        {"getUserStorage", "getUserStorage", [](C &c, F &) { return c.getUserStorage(s("al")); },
         "GET /base/users/al/storage", ""},
        {"getUserPath", "getUserPath", [](C &c, F &) { return c.getUserPath(s("al"), QString(), s("/h&1")); },
         "GET /base/users/al/path?home=%2Fh%261", ""},
        {"listSubCenter", "listSubCenter", [](C &c, F &) { return c.listSubCenter(QString()); }, "GET /base/subcenters",
         "", false},
        {"getTranserLimit", "getTransferLimit", [](C &c, F &) { return c.getTranserLimit(); }, "GET /base/limits", ""},
        {"getAD", "getAD", [](C &c, F &) { return c.getAD(s("zh_cn")); }, "GET /base/ads?lang=zh_cn", ""},

        {"getFileInfo", "getFileInfo", [](C &c, F &) { return c.getFileInfo(kPath); }, "GET /base/files/info?" P, ""},
        {"getThumbnail", "getThumbnail", [](C &c, F &) { return c.getThumbnail(kPath, QSize(64, 48)); },
         "GET /base/files/thumbnail?" P "&w=64&h=48", ""},
        {"listFile", "listFile", [](C &c, F &) { return c.listFile(kPath, 2); }, "GET /base/files/list?" P "&mode=2",
         ""},
        {"mkdir", "mkdir", [](C &c, F &) { return c.mkdir(kPath); }, "POST /base/files/mkdir", "{\"path\":" PJ "}"},
        {"removeFile", "removeFile", [](C &c, F &) { return c.removeFile(kPaths); }, "POST /base/files/remove-files",
         "{\"paths\":" PS "}"},
        {"removeFolder", "removeFolder", [](C &c, F &) { return c.removeFolder(kPaths); },
         "POST /base/files/remove-folders", "{\"paths\":" PS "}"},
        {"move", "move", [](C &c, F &) { return c.move(kPaths, s("/d")); }, "POST /base/files/move",
         "{\"src\":" PS ",\"dest\":\"/d\"}"},
        {"copy", "copy", [](C &c, F &) { return c.copy(kPaths, s("/d")); }, "POST /base/files/copy",
         "{\"src\":" PS ",\"dest\":\"/d\"}"},
        {"renameFile", "renameFile", [](C &c, F &) { return c.renameFile(s("/a"), kPath); },
         "POST /base/files/rename-file", "{\"src\":\"/a\",\"dest\":" PJ "}"},
        {"renameFolder", "renameFolder", [](C &c, F &) { return c.renameFolder(s("/a"), s("/b")); },
         "POST /base/files/rename-folder", R"({"src":"/a","dest":"/b"})"},
        {"compress", "compress", [](C &c, F &) { return c.compress(kPaths, s("/z")); }, "POST /base/files/compress",
         "{\"src\":" PS ",\"dest\":\"/z\"}"},
        {"decompress", "decompress", [](C &c, F &) { return c.decompress(s("/z.zip"), s("/d")); },
         "POST /base/files/decompress", R"({"src":"/z.zip","dest":"/d"})"},
        {"searchFile", "searchFile", [](C &c, F &) { return c.searchFile(s("a&b"), s("/")); },
         "GET /base/files/search?keyword=a%26b&path=%2F", ""},
        {"getPreviewFile", "getPreviewFile",
         [](C &c, F &folder) { return c.getPreviewFile(kPath, folder + s("/preview.bin")); },
         "GET /base/files/preview?" P, "", true, "preview.bin"},

        {"publicShare", "publicShare", [](C &c, F &) { return c.publicShare(s("/a"), s("read")); },
         "POST /base/shares/public", R"({"path":"/a","permission":"read"})"},
        {"privateShare", "privateShare", [](C &c, F &) { return c.privateShare(s("/a"), s("save"), s("pw")); },
         "POST /base/shares/private", R"({"path":"/a","permission":"save","password":"pw"})"},
        {"friendShare", "friendShare",
         [](C &c, F &) {
             return c.friendShare(s("/a"), {s("u"), s("v")});
         },
         "POST /base/shares/friends", R"({"path":"/a","shareTo":["u","v"]})"},
        {"modifyPassword", "modifyPassword", [](C &c, F &) { return c.modifyPassword(s("7"), s("pw")); },
         "POST /base/shares/password", R"({"shareId":"7","password":"pw"})"},
        {"modifyUsers", "modifyUsers", [](C &c, F &) { return c.modifyUsers(s("7"), {}); }, "POST /base/shares/users",
         R"({"shareId":"7","shareTo":[]})"},
        {"deleteShare", "deleteShare",
         [](C &c, F &) {
             return c.deleteShare({s("7"), s("8")});
         },
         "POST /base/shares/remove", R"({"shareIds":["7","8"]})"},
        {"ignoreShare", "ignoreShare", [](C &c, F &) { return c.ignoreShare(s("bo"), s("7")); },
         "POST /base/shares/ignore", R"({"owner":"bo","shareId":"7"})"},
        {"searchUsers", "searchUsers", [](C &c, F &) { return c.searchUsers(s("b o"), 5); },
         "GET /base/shares/find-users?text=b%20o&limit=5", ""},
        {"listMyShare", "listMyShare", [](C &c, F &) { return c.listMyShare(); }, "GET /base/shares/mine", ""},
        {"listShareToMe", "listShareToMe", [](C &c, F &) { return c.listShareToMe(); }, "GET /base/shares/to-me", ""},
        {"shareToMeSaveAs", "shareToMeSaveAs",
         [](C &c, F &) { return c.shareToMeSaveAs(s("bo"), s("7"), s("/x"), s("/d")); }, "POST /base/shares/save",
         R"({"owner":"bo","shareId":"7","path":"/x","dest":"/d"})"},
        {"shareToMeListFile", "shareToMeListFile",
         [](C &c, F &) { return c.shareToMeListFile(s("bo"), s("7"), s("/")); },
         "GET /base/shares/list?owner=bo&shareId=7&path=%2F", ""},
        {"shareToMeFileRealPath", "shareToMeFileRealPath",
         [](C &c, F &) { return c.shareToMeFileRealPath(s("7"), s("/x")); },
         "GET /base/shares/real-path?shareId=7&path=%2Fx", ""},
        {"shareToMeDownload", "shareDownload",
         [](C &c, F &folder) { return c.shareToMeDownload(s("bo"), s("7"), s("/x"), folder + s("/share.bin")); },
         "GET /base/shares/file?owner=bo&shareId=7&path=%2Fx", "", true, "share.bin"},
        {"reportShare", "reportShare",
         [](C &c, F &folder) { return c.reportShare(s("bo"), s("7"), s("spam"), {folder + s("/pic.png")}, s("t")); },
         "POST /base/shares/report", R"({"owner":"bo","shareId":"7","reason":"spam","pictures":["UElD"],"text":"t"})"},
    };
    return rows;
}
