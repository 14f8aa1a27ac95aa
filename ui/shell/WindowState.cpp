#include "WindowState.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {

constexpr qint64 kLargestFile = 1024 * 1024;
constexpr int kMostPanes = 4;
constexpr int kMostTabs = 64;
constexpr int kLongestPath = 4096;
constexpr int kFarthest = 100000; // pixels, far beyond any desk of screens
constexpr int kSmallest = 200;    // pixels

int number(const QJsonValue &value, int least, int most, int otherwise)
{
    const double read = value.toDouble(otherwise);
    return read >= least && read <= most ? static_cast<int>(read) : otherwise;
}

QRect readPlace(const QJsonArray &numbers)
{
    if (numbers.size() != 4)
        return QRect();
    const QRect place(number(numbers.at(0), -kFarthest, kFarthest, 0), number(numbers.at(1), -kFarthest, kFarthest, 0),
                      number(numbers.at(2), kSmallest, kFarthest, 0), number(numbers.at(3), kSmallest, kFarthest, 0));
    return place.isEmpty() ? QRect() : place;
}

WindowState::Pane readPane(const QJsonObject &object)
{
    WindowState::Pane pane;
    pane.width = number(object.value(QLatin1String("width")), 0, kFarthest, 0);
    const QJsonArray tabs = object.value(QLatin1String("tabs")).toArray();
    for (const QJsonValue &value : tabs) {
        const QJsonObject tab = value.toObject();
        const QString center = tab.value(QLatin1String("center")).toString();
        const QString path = tab.value(QLatin1String("path")).toString();
        if (!center.isEmpty() && path.startsWith(QLatin1Char('/')) && path.size() <= kLongestPath &&
            pane.tabs.size() < kMostTabs)
            pane.tabs << WindowState::Tab{center, path};
    }
    pane.current = number(object.value(QLatin1String("current")), 0, qMax(0, pane.tabs.size() - 1), 0);
    return pane;
}

} // namespace

WindowState WindowState::read(const QString &file)
{
    WindowState state;
    QFile source(file);
    if (!source.open(QIODevice::ReadOnly))
        return state;
    const QJsonObject object = QJsonDocument::fromJson(source.read(kLargestFile)).object();
    state.place = readPlace(object.value(QLatin1String("place")).toArray());
    state.maximized = object.value(QLatin1String("maximized")).toBool();
    const QJsonArray panes = object.value(QLatin1String("panes")).toArray();
    for (const QJsonValue &value : panes) {
        const Pane pane = readPane(value.toObject());
        if (!pane.tabs.isEmpty() && state.panes.size() < kMostPanes)
            state.panes << pane;
    }
    state.currentPane = number(object.value(QLatin1String("pane")), 0, qMax(0, state.panes.size() - 1), 0);
    return state;
}

bool WindowState::write(const QString &file) const
{
    QJsonArray paneList;
    for (const Pane &pane : panes) {
        QJsonArray tabs;
        for (const Tab &tab : pane.tabs)
            tabs << QJsonObject{{QStringLiteral("center"), tab.center}, {QStringLiteral("path"), tab.path}};
        paneList << QJsonObject{{QStringLiteral("width"), pane.width},
                                {QStringLiteral("current"), pane.current},
                                {QStringLiteral("tabs"), tabs}};
    }
    QJsonObject object{{QStringLiteral("maximized"), maximized},
                       {QStringLiteral("pane"), currentPane},
                       {QStringLiteral("panes"), paneList}};
    if (!place.isNull())
        object.insert(QStringLiteral("place"), QJsonArray{place.x(), place.y(), place.width(), place.height()});
    QSaveFile target(file);
    if (!target.open(QIODevice::WriteOnly))
        return false;
    target.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    target.write(QJsonDocument(object).toJson());
    return target.commit();
}

QRect WindowState::fitted(const QRect &wanted, const QList<QRect> &screens)
{
    if (screens.isEmpty() || wanted.isEmpty())
        return wanted;
    QRect room = screens.first();
    int most = 0;
    for (const QRect &screen : screens) {
        const QRect common = screen & wanted;
        if (common.width() * common.height() > most) {
            most = common.width() * common.height();
            room = screen;
        }
    }
    QRect place = wanted;
    place.setSize(wanted.size().boundedTo(room.size()));
    place.moveLeft(qBound(room.left(), place.left(), room.right() - place.width() + 1));
    place.moveTop(qBound(room.top(), place.top(), room.bottom() - place.height() + 1));
    return place;
}
