// Prints how long a listing of many entries takes, beside the bare reading of the same folder by the system.

#include "Drive.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>

using namespace arkvale::service;

namespace {

class NoAccounts : public Context
{
public:
    std::vector<SubCenterInfo> subCenters() const override { return {}; }
    std::optional<SubCenterInfo> subCenter(const std::string &) const override { return std::nullopt; }
    std::optional<std::string> userHome(const std::string &, const std::string &) const override
    {
        return std::nullopt;
    }
    StorageUse storage(const std::string &, const std::string &) const override { return {}; }
    void addUsed(const std::string &, const std::string &, std::int64_t) override {}
    void recount(const std::string &, const std::string &) override {}
};

} // namespace

int main(int argc, char **argv)
{
    const int count = argc > 1 ? QByteArray(argv[1]).toInt() : 100000;
    const QTemporaryDir dir;
    for (int i = 0; i < count; ++i) {
        QFile file(dir.filePath(QStringLiteral("frame_%1.exr").arg(i, 7, 10, QLatin1Char('0'))));
        if (!file.open(QIODevice::WriteOnly))
            return 1;
    }
    NoAccounts context;
    UserHome home;
    home.context = &context;
    if (!zpdt::SafeFolder::open(dir.path().toStdString(), home.folder).ok())
        return 1;
    ContentTypes types;
    const Drive drive(home, types);
    for (int round = 0; round < 3; ++round) {
        QElapsedTimer timer;
        timer.start();
        home.folder.list("", [](const zpdt::SafeFolder::Entry &) { return true; });
        const qint64 bare = timer.restart();
        std::string json;
        drive.list("/", false, json);
        const qint64 full = timer.restart();
        std::string names;
        drive.list("/", true, names);
        const qint64 namesOnly = timer.restart();
        std::string found;
        drive.search("0077", "/", Drive::SearchLimits(), found);
        std::printf("%d entries: read and stat %lld ms, listing %lld ms (%zu bytes), names %lld ms, search %lld ms\n",
                    count, bare, full, json.size(), namesOnly, timer.elapsed());
    }
    return 0;
}
