// Opens, sorts, scrolls and switches a folder of very many files in the real window, against a real service that it
// starts, and prints how long each took, for how long at most the window did not get its turn, and how much of such a
// time its thread worked: the rest went to others, of this program or of a machine that is shared.

#include "ArkvaleTolmaMain.h"
#include "ArkvaleTray.h"
#include "BrowserServer.h"
#include "FileItemModel.h"
#include "FileWidget.h"
#include "GlobalConfig.h"
#include "LiveService.h"
#include "LoginService.h"
#include "NetdiskPage.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QIcon>
#include <QLineEdit>
#include <QScrollBar>
#include <QThread>
#include <QTimer>

#include <cstdio>
#include <ctime>
#include <functional>

namespace {

constexpr int Patience = 30000; // ms

double residentMegabytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toDouble() * 4096 / 1e6 : 0;
}

/// Milliseconds that this thread has worked.
double worked()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

/// Keeps which delivery took longest, so that a gap has a name.
class TimedApplication : public QApplication
{
public:
    using QApplication::QApplication;
    bool notify(QObject *receiver, QEvent *event) override
    {
        if (m_inside || QThread::currentThread() != thread())
            return QApplication::notify(receiver, event);
        m_inside = true;
        const double before = worked();
        const QByteArray what =
            QByteArray(receiver->metaObject()->className()) + " event " + QByteArray::number(event->type());
        const bool result = QApplication::notify(receiver, event);
        const double time = worked() - before;
        m_inside = false;
        if (time > m_longest) {
            m_longest = time;
            m_what = what;
        }
        return result;
    }
    QByteArray takeLongest()
    {
        const QByteArray text = QByteArray::number(m_longest, 'f', 1) + " ms in " + m_what;
        m_longest = 0;
        m_what.clear();
        return text;
    }

private:
    bool m_inside = false;
    double m_longest = 0;
    QByteArray m_what;
};

class Driver
{
public:
    Driver(NetdiskPage *page, int count)
        : m_page(page)
        , m_view(page->findChild<FileWidget *>())
        , m_count(count)
    {
        m_beat.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_beat, &QTimer::timeout, [this] { note(); });
        QObject::connect(m_view->model(), &QAbstractItemModel::modelReset, [this] { ++m_resets; });
    }

    bool run()
    {
        const double before = residentMegabytes();
        const bool opened = step(
            "open", [this] { m_page->IntoFolder(QStringLiteral("/Big")); }, [this] { return rows() == m_count; });
        std::printf("%-28s %8.1f MB more than before\n", "the process holds", residentMegabytes() - before);
        return opened &&
               step(
                   "sort by time", [this] { sort("Modified"); }, [this] { return m_resets > 0; }) &&
               step(
                   "sort by size", [this] { sort("FileSize"); }, [this] { return m_resets > 0; }) &&
               step(
                   "sort by name", [this] { sort("FileName"); }, [this] { return m_resets > 0; }) &&
               step(
                   "scroll through the list", [this] { m_scrolled = 0; }, [this] { return scroll(); }) &&
               step(
                   "to icons", [this] { m_page->ChangeShowMode(1); }, [] { return true; }) &&
               step(
                   "scroll through the icons", [this] { m_scrolled = 0; }, [this] { return scroll(); }) &&
               step(
                   "to the list", [this] { m_page->ChangeShowMode(0); }, [] { return true; }) &&
               step(
                   "select all", [this] { m_view->selectAll(); }, [] { return true; }) &&
               step(
                   "copy all", [this] { m_page->Copy(); }, [] { return true; }) &&
               step(
                   "filter", [this] { filter("77"); }, [this] { return rows() < m_count; }) &&
               step(
                   "filter away", [this] { filter(""); }, [this] { return rows() == m_count; }) &&
               step(
                   "open again, all selected", [this] { m_page->Refresh(); }, [this] { return m_resets > 0; }) &&
               step(
                   "leave", [this] { m_page->Backward(); }, [this] { return rows() < m_count; });
    }

private:
    void note()
    {
        m_longest = qMax(m_longest, double(m_clock.nsecsElapsed()) / 1e6);
        m_work = qMax(m_work, worked() - m_workBefore);
        begin();
    }
    void begin()
    {
        m_clock.start();
        m_workBefore = worked();
    }
    int rows() const { return m_view->model()->rowCount(); }
    void sort(const char *type) { m_page->changeSortType(QLatin1String(type)); }
    void filter(const char *text)
    {
        m_page->findChild<QLineEdit *>(QStringLiteral("filterEdit"))->setText(QLatin1String(text));
    }
    bool scroll()
    {
        auto *bar = qobject_cast<QAbstractItemView *>(m_view->currentWidget())->verticalScrollBar();
        bar->setValue(int(double(bar->maximum()) * ++m_scrolled / 200));
        return m_scrolled == 200;
    }
    bool step(const char *what, const std::function<void()> &act, const std::function<bool()> &done)
    {
        m_resets = 0;
        m_longest = m_work = 0;
        static_cast<TimedApplication *>(qApp)->takeLongest();
        begin();
        m_beat.start(1);
        QElapsedTimer timer;
        timer.start();
        act();
        const bool reached = LiveService::wait(done, Patience);
        QApplication::processEvents(); // and painted
        const double time = double(timer.nsecsElapsed()) / 1e6;
        // What comes after it, such as pictures of what is in view, counts as well.
        LiveService::wait([&] { return timer.elapsed() > time + 300; }, Patience);
        note();
        m_beat.stop();
        std::printf("%-28s %8.1f ms, longest gap %5.1f ms, longest work %5.1f ms, %s%s\n", what, time, m_longest,
                    m_work, static_cast<TimedApplication *>(qApp)->takeLongest().constData(),
                    reached ? "" : "  NOT DONE");
        return reached;
    }

    NetdiskPage *m_page;
    FileWidget *m_view;
    const int m_count;
    QTimer m_beat;
    QElapsedTimer m_clock;
    double m_longest = 0;
    double m_work = 0;
    double m_workBefore = 0;
    int m_resets = 0;
    int m_scrolled = 0;
};

} // namespace

int main(int argc, char **argv)
{
    const int count = argc > 1 ? QByteArray(argv[1]).toInt() : 100000;
    const QTemporaryDir home;
    for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"})
        qputenv(name, QFile::encodeName(home.path()));
    TimedApplication app(argc, argv);
    LiveService live;
    if (!live.start() || !live.logIn(QStringLiteral("demo"), QStringLiteral("demo"))) {
        std::fprintf(stderr, "The service does not take the login.\n");
        return 1;
    }
    const QDir drive(live.home(QStringLiteral("1"), QStringLiteral("demo")));
    drive.mkpath(QStringLiteral("Big"));
    for (int i = 0; i < count; ++i) {
        QFile file(drive.filePath(QStringLiteral("Big/beauty_%1.%2.exr").arg(i * 7919 % 1000).arg(i)));
        if (!file.open(QIODevice::WriteOnly))
            return 1;
    }
    QFile style(QStringLiteral(":/ArkvaleTolmaMain/style.qss"));
    if (style.open(QIODevice::ReadOnly))
        app.setStyleSheet(QString::fromUtf8(style.readAll()));
    GlobalConfig::instance()->setCurrentSubCenterId(QStringLiteral("1"));
    LoginService login;
    ArkvaleTray tray{QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/icon.png"))};
    BrowserServer bridge{0, GlobalConfig::instance()->client()};
    ArkvaleTolmaMain window(&login, &tray, &bridge, nullptr, false);
    window.resize(1200, 800);
    window.show();
    window.initSplitWidget();
    if (!LiveService::wait([&] { return !window.pages().isEmpty(); }, Patience))
        return 1;
    NetdiskPage *page = window.pages().first();
    FileItemModel *model = page->findChild<FileWidget *>()->model();
    if (!LiveService::wait([model] { return model->rowCount() > 0; }, Patience))
        return 1;
    std::printf("%d files in the real window\n", count);
    return Driver(page, count).run() ? 0 : 1;
}
