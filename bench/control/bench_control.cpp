// How fast the transfer page obeys with many tasks: a service of its own, the real engine, the page on the screen.
//     bench_control [number of files]
// For each order: how long the click itself took, until the first row showed it, until all rows did, until the engine
// had carried it out, the longest time in which the window could not answer meanwhile, and the longest that its thread
// worked without a break (which other programs on the machine do not lengthen). All in milliseconds.

#include "DialogAnswers.h"
#include "GlobalConfig.h"
#include "LoginService.h"
#include "TransferListWidget.h"
#include "TransferTaskModel.h"
#include "TransferringWidget.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QPushButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <ctime>
#include <functional>

namespace {

constexpr int kFileSize = 64 * 1024;
constexpr int kPatience = 60000;

/// Milliseconds that this thread has used a core.
double usedByThread()
{
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

/// Notices how long the event loop does not come round.
class Pulse : public QObject
{
public:
    struct Stall
    {
        qint64 time = 0;
        double work = 0.0;
    };
    Pulse()
    {
        m_clock.start();
        startTimer(2, Qt::PreciseTimer);
    }
    Stall takeWorst() { return std::exchange(m_worst, {}); }

protected:
    void timerEvent(QTimerEvent *) override
    {
        m_worst.time = std::max(m_worst.time, m_clock.elapsed() - m_last);
        m_worst.work = std::max(m_worst.work, usedByThread() - m_lastUsed);
        m_last = m_clock.elapsed();
        m_lastUsed = usedByThread();
    }

private:
    QElapsedTimer m_clock;
    qint64 m_last = 0;
    double m_lastUsed = usedByThread();
    Stall m_worst;
};

/// Runs the event loop until @p done; returns the milliseconds it took, -1 when it never was.
qint64 until(const std::function<bool()> &done)
{
    QElapsedTimer clock;
    clock.start();
    QTimer wake; // the loop returns at least this often
    wake.start(1);
    while (!done()) {
        if (clock.elapsed() > kPatience)
            return -1;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return clock.elapsed();
}

class Control
{
public:
    explicit Control(int files)
        : m_files(files)
    {
    }
    int run();

private:
    bool startService();
    bool logIn();
    void makeFiles();
    int rowsWith(const std::function<bool(qint32)> &wanted) const;
    void measure(const char *order, const std::function<void()> &act, const std::function<bool(qint32)> &obeys,
                 const std::function<bool(qint32)> &carriedOut, int spared = 0);
    QPushButton *button(const char *name) const { return m_page->findChild<QPushButton *>(QLatin1String(name)); }
    const TransferTaskModel *model() const { return m_page->uploadList()->model(); }

    int m_files;
    QTemporaryDir m_folder;
    QProcess m_service;
    std::unique_ptr<LoginService> m_login;
    std::unique_ptr<TransferringWidget> m_page;
    std::unique_ptr<Pulse> m_pulse;
};

bool Control::startService()
{
    const QString bin = QCoreApplication::applicationDirPath();
    const QString ready = m_folder.filePath(QStringLiteral("ready"));
    m_service.setStandardOutputFile(QProcess::nullDevice());
    m_service.setStandardErrorFile(QProcess::nullDevice());
    m_service.start(bin + QStringLiteral("/arkvale-service"),
                    {QStringLiteral("--demo"), m_folder.filePath(QStringLiteral("data")), QStringLiteral("--port"),
                     QStringLiteral("0"), QStringLiteral("--ready-file"), ready});
    if (until([&] { return QFile(ready).size() > 0; }) < 0)
        return false;
    QFile told(ready);
    if (!told.open(QIODevice::ReadOnly))
        return false;
    const QString http = QJsonDocument::fromJson(told.readAll()).object().value(QStringLiteral("http")).toString();

    const QString config = m_folder.filePath(QStringLiteral("Config/"));
    QDir().mkpath(config);
    QFile::copy(bin + QStringLiteral("/Config/ArkvaleTolma"), config + QStringLiteral("ArkvaleTolma"));
    QFile settings(config + QStringLiteral("arkvale.ini"));
    if (!settings.open(QIODevice::WriteOnly))
        return false;
    settings.write(QJsonDocument(QJsonObject{{QStringLiteral("Auth"), http},
                                             {QStringLiteral("ListSubCenter"), http + QStringLiteral("/subcenters")}})
                       .toJson());
    qputenv("ARKVALE_CONFIG_DIR", config.toUtf8());
    return true;
}

bool Control::logIn()
{
    GlobalConfig *config = GlobalConfig::instance();
    config->reload();
    if (until([config] { return !config->subCenters().isEmpty(); }) < 0)
        return false;
    m_login = std::make_unique<LoginService>();
    m_login->login(QStringLiteral("demo"), QStringLiteral("demo"));
    if (until([config] { return config->subCenter(QStringLiteral("1")).hasHome(); }) < 0)
        return false;
    config->loadUserSettings(QStringLiteral("demo"), QStringLiteral("1"));
    return true;
}

void Control::makeFiles()
{
    QDir().mkpath(m_folder.filePath(QStringLiteral("source")));
    const QByteArray data(kFileSize, 'x');
    for (int i = 0; i < m_files; ++i) {
        QFile file(m_folder.filePath(QStringLiteral("source/frame %1.exr").arg(i, 6, 10, QLatin1Char('0'))));
        if (file.open(QIODevice::WriteOnly))
            file.write(data);
    }
}

int Control::rowsWith(const std::function<bool(qint32)> &wanted) const
{
    int count = 0;
    for (int row = 0; row < model()->rowCount(); ++row)
        count += wanted(model()->record(row).Status);
    return count;
}

void Control::measure(const char *order, const std::function<void()> &act, const std::function<bool(qint32)> &obeys,
                      const std::function<bool(qint32)> &carriedOut, int spared)
{
    const auto everyRow = [this, spared](const std::function<bool(qint32)> &does) {
        return [this, spared, does] { return rowsWith(does) >= model()->rowCount() - spared; };
    };
    m_pulse->takeWorst();
    QElapsedTimer clock;
    clock.start();
    act();
    const qint64 click = clock.elapsed();
    until([&] { return rowsWith(obeys) > 0 || model()->rowCount() == 0; });
    const qint64 first = clock.elapsed();
    until(everyRow(obeys));
    const qint64 all = clock.elapsed();
    until(everyRow(carriedOut));
    const qint64 done = clock.elapsed();
    const Pulse::Stall worst = m_pulse->takeWorst();
    std::printf("%-28s %8lld %8lld %8lld %8lld %8lld %8.1f   (%d rows)\n", order, static_cast<long long>(click),
                static_cast<long long>(first), static_cast<long long>(all), static_cast<long long>(done),
                static_cast<long long>(worst.time), worst.work, model()->rowCount());
    std::fflush(stdout);
}

int Control::run()
{
    if (!startService() || !logIn()) {
        std::printf("no service to transfer to\n");
        return 1;
    }
    makeFiles();
    QStringList files;
    for (const QFileInfo &info : QDir(m_folder.filePath(QStringLiteral("source"))).entryInfoList(QDir::Files))
        files << info.filePath();
    m_page = std::make_unique<TransferringWidget>();
    m_page->resize(1100, 640);
    m_page->show();
    m_pulse = std::make_unique<Pulse>();
    until([this] { return m_page->isVisible(); });

    const SubCenter center = GlobalConfig::instance()->subCenter(QStringLiteral("1"));
    m_pulse->takeWorst();
    QElapsedTimer clock;
    clock.start();
    m_page->Upload(files, {}, center, center.path);
    until([this] { return model()->rowCount() == m_files; });
    const auto say = [this](const char *what, qint64 after) {
        const Pulse::Stall worst = m_pulse->takeWorst();
        std::printf("%-28s %35lld %8lld %8.1f\n", what, static_cast<long long>(after),
                    static_cast<long long>(worst.time), worst.work);
    };
    std::printf("%-28s %8s %8s %8s %8s %8s %8s\n", "ms", "click", "first", "all", "done", "stall", "work");
    say("all tasks in the list", clock.elapsed());
    until([this] { return model()->rowCount() <= m_files - qMin(200, m_files / 2); });
    say("while they run", clock.elapsed());

    const auto paused = [](qint32 status) { return status == ZPDT_PAUSED; };
    const auto pausing = [](qint32 status) { return status == ZPDT_PAUSED || status == ZPDT_PAUSING; };
    const auto going = [](qint32 status) { return status != ZPDT_PAUSED && status != ZPDT_PAUSING; };
    const auto leaving = [](qint32 status) { return status == ZPDT_CANCELING; };
    const auto never = [](qint32) { return false; };
    auto *view = m_page->uploadList()->findChild<QAbstractItemView *>();
    TransferListWidget *list = m_page->uploadList();

    measure(
        "Pause All", [&] { button("btn_pause_all_upload")->click(); }, pausing, paused);
    measure(
        "Start All", [&] { button("btn_start_all_upload")->click(); }, going, going);
    view->selectAll();
    measure(
        "pause the selection", [&] { list->ToggleSelected(); }, pausing, paused);
    measure(
        "start the selection", [&] { list->ToggleSelected(); }, going, going);
    const auto allButOne = [view] {
        view->setCurrentIndex(view->model()->index(0, 0));
        view->selectAll();
        view->selectionModel()->select(view->model()->index(view->model()->rowCount() - 1, 0),
                                       QItemSelectionModel::Deselect | QItemSelectionModel::Rows);
    };
    allButOne();
    measure(
        "pause all but one", [&] { list->PauseSelected(); }, pausing, paused, 1);
    measure(
        "start all but one", [&] { list->StartSelected(); }, going, going, 1);
    view->setCurrentIndex(view->model()->index(view->model()->rowCount() / 2, 0));
    const int before = model()->rowCount();
    clock.start();
    m_pulse->takeWorst();
    list->CancelSelected();
    until([&] { return model()->rowCount() < before; });
    say("cancel one in the middle", clock.elapsed());
    DialogAnswers answers;
    answers.accept();
    view->clearSelection();
    view->selectionModel()->select({view->model()->index(0, 0), view->model()->index(model()->rowCount() / 2, 0)},
                                   QItemSelectionModel::Select | QItemSelectionModel::Rows);
    const int half = (model()->rowCount() + 1) / 2;
    measure(
        "cancel half of them", [&] { list->CancelSelected(); }, leaving, never, half);
    answers.accept();
    measure(
        "Cancel All", [&] { button("btn_cancel_all_upload")->click(); }, leaving, never);
    m_page.reset();
    m_service.terminate();
    m_service.waitForFinished(20000);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QTemporaryDir home;
    for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"})
        qputenv(name, home.path().toUtf8());
    QApplication app(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QFile style(QStringLiteral(":/ArkvaleTolmaMain/style.qss"));
    if (style.open(QIODevice::ReadOnly))
        app.setStyleSheet(QString::fromUtf8(style.readAll()));
    return Control(argc > 1 ? atoi(argv[1]) : 10000).run();
}
