// Scrolls a page through the 1,000 pictures of the sample drive, with the real service and the real window, and prints
// the longest time without events, how soon pictures are there, and the memory. Beside it the same way through the same
// view with no pictures at all, and the upload picker with 50,000 local files. Give it a display, or it runs offscreen.

#include "FileDialog.h"
#include "FileItemModel.h"
#include "FileListWidget.h"
#include "FileWidget.h"
#include "GlobalConfig.h"
#include "NetdiskPage.h"

#include "OrvClient.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeView>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <unistd.h>

namespace {

/// Milliseconds that this thread has worked.
double worked()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

/// Runs the event loop until @p done holds; writes down the longest time between two looks and how long the thread
/// worked in one, in milliseconds. On a shared machine the rest of a gap went to others.
struct Watch
{
    QVector<double> gaps;
    double work = 0;

    bool until(const std::function<bool()> &done, int limit = 60000)
    {
        QElapsedTimer all, one;
        all.start();
        one.start();
        while (!done()) {
            if (all.elapsed() > limit)
                return false;
            const double before = worked();
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 2);
            work = qMax(work, worked() - before);
            // Waiting for an event is no gap; a timer that fires each millisecond bounds it.
            gaps << double(one.nsecsElapsed()) / 1e6;
            one.restart();
        }
        return true;
    }
    double longest() const { return gaps.isEmpty() ? 0 : *std::max_element(gaps.begin(), gaps.end()); }
};

double megabytes()
{
    QFile file("/proc/self/statm");
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toDouble() * double(sysconf(_SC_PAGESIZE)) / 1e6;
}

QJsonObject answerOf(const std::function<qint64()> &ask, OrvClient *client,
                     void (OrvClient::*signal)(qint64, int, QByteArray))
{
    QJsonObject body;
    bool there = false;
    QObject context;
    QObject::connect(client, signal, &context, [&](qint64, int code, const QByteArray &bytes) {
        body = QJsonDocument::fromJson(bytes).object();
        there = true;
        if (code != 200)
            std::printf("the service answered %d\n", code);
    });
    ask();
    Watch().until([&] { return there; }, 20000);
    return body;
}

/// From the top to the end in about @p seconds, without stopping.
void scroll(FileListWidget *list, double seconds, Watch *watch)
{
    QScrollBar *bar = list->verticalScrollBar();
    bar->setValue(0);
    QElapsedTimer time;
    time.start();
    watch->until([&] {
        const double part = double(time.elapsed()) / 1000 / seconds;
        bar->setValue(int(part * bar->maximum()));
        return part >= 1;
    });
}

bool picturesShown(const FileListWidget *list, const FileItemModel *model)
{
    const auto rows = list->visibleRows();
    for (int row = rows.first; row <= rows.second; ++row) {
        if (!model->hasThumbnail(model->item(row)))
            return false;
    }
    return rows.second > rows.first;
}

/// Median and largest time until all that is in view has its picture, over jumps to places all over the list.
QVector<double> jumps(FileListWidget *list, const FileItemModel *model, Watch *watch)
{
    QVector<double> times;
    QScrollBar *bar = list->verticalScrollBar();
    for (int i = 0; i < 20; ++i) {
        bar->setValue(bar->maximum() * ((i * 7) % 20) / 20);
        QElapsedTimer time;
        time.start();
        if (!watch->until([&] { return picturesShown(list, model); }, 20000))
            std::printf("pictures are missing\n");
        times << double(time.nsecsElapsed()) / 1e6;
    }
    std::sort(times.begin(), times.end());
    return times;
}

void page(const SubCenter &center, const char *name)
{
    const double before = megabytes();
    NetdiskPage page(center, "/Frames");
    page.resize(1100, 700);
    page.ChangeShowMode(1);
    page.show();
    auto *list = page.findChild<FileListWidget *>();
    FileItemModel *model = page.findChild<FileWidget *>()->model();
    Watch opening, scrolling, jumping;
    QElapsedTimer time;
    time.start();
    opening.until([&] { return picturesShown(list, model); });
    const double first = double(time.nsecsElapsed()) / 1e6;
    scroll(list, 5, &scrolling);
    const QVector<double> times = jumps(list, model, &jumping);
    const double scrolled = megabytes();
    std::printf("%-12s first screen %5.0f ms; longest gap (own work): opening %4.1f (%.1f), scrolling %4.1f (%.1f), "
                "jumping %4.1f (%.1f) ms; pictures "
                "after a jump %4.0f ms (largest %4.0f); memory %+5.1f MB\n",
                name, first, opening.longest(), opening.work, scrolling.longest(), scrolling.work, jumping.longest(),
                jumping.work, times.at(times.size() / 2), times.last(), scrolled - before);
}

void plain(int count)
{
    QList<FileItem> items;
    for (int i = 0; i < count; ++i) {
        FileItem item;
        item.name = QString("frame_%1.png").arg(i, 4, 10, QLatin1Char('0'));
        item.path = "/Frames/" + item.name;
        item.contentType = "image/png";
        items << item;
    }
    FileWidget view;
    view.resize(1100, 700);
    view.setShowMode(FileWidget::IconMode);
    view.show();
    view.model()->show(items);
    Watch scrolling;
    scroll(view.findChild<FileListWidget *>(), 5, &scrolling);
    std::printf("%-12s longest gap (own work): scrolling %4.1f (%.1f) ms\n", "no pictures", scrolling.longest(),
                scrolling.work);
}

void picker(int count)
{
    QTemporaryDir disk;
    for (int i = 0; i < count; ++i)
        QFile(disk.filePath(QString("beauty.%1.exr").arg(i))).open(QIODevice::WriteOnly);
    Watch watch;
    QElapsedTimer time;
    time.start();
    FileDialog dialog("Upload", disk.path());
    dialog.show();
    auto *tree = dialog.findChild<QTreeView *>("treeView");
    watch.until([&] { return tree->model()->rowCount() == count; });
    const double there = double(time.nsecsElapsed()) / 1e6;
    watch.until([&] { return time.elapsed() > there + 300; });
    std::printf("upload picker, %d files: there after %.0f ms, longest gap %.1f (%.1f) ms\n", count, there,
                watch.longest(), watch.work);
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir home;
    for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(name, home.path().toLocal8Bit());
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTimer ticks; // so that no wait is longer than this
    ticks.start(1);

    QProcess service;
    service.setStandardErrorFile(QProcess::nullDevice());
    service.setStandardOutputFile(QProcess::nullDevice());
    const QString ready = home.filePath("ready");
    service.start(QCoreApplication::applicationDirPath() + "/arkvale-service",
                  {"--demo", home.filePath("drive"), "--port", "0", "--ready-file", ready});
    Watch().until([&] { return QFileInfo(ready).size() > 0; });
    QFile file(ready);
    if (!file.open(QIODevice::ReadOnly)) {
        std::printf("the service did not start\n");
        return 1;
    }
    const QString base = QJsonDocument::fromJson(file.readAll()).object().value("http").toString();
    OrvClient client("1", base, {}, {}, {});
    const QJsonObject login =
        answerOf([&] { return client.login("demo", "demo"); }, &client, &OrvClient::loginFinished);
    UserInfo user;
    user.username = login.value("username").toString();
    client.setUser(user.username);
    client.setAccess(login.value("access_id").toString(), login.value("access_token").toString());
    GlobalConfig::instance()->setClient(client);
    GlobalConfig::instance()->setCurrentUser(user);
    const QJsonObject first =
        answerOf([&] { return client.listSubCenter(base + "/subcenters"); }, &client, &OrvClient::listSubCenterFinished)
            .value("subCenters")
            .toArray()
            .first()
            .toObject();
    SubCenter center;
    center.id = first.value("id").toString();
    center.name = first.value("name").toString();
    center.address = first.value("orv").toString();

    std::printf("1,000 pictures; the machine may be shared\n");
    page(center, "from service");
    page(center, "from disk");
    plain(1000);
    picker(argc > 1 ? QByteArray(argv[1]).toInt() : 50000);
    service.terminate();
    service.waitForFinished(5000);
    return 0;
}
