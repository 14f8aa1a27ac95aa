// Prints for how long the window is busy with a list of 10,000 shares: the answer read, first paint, each order, a
// search, everything selected and removed; beside a sorting filter over the same model. Run it at high priority, with
// QT_QPA_PLATFORM=offscreen where there is no display.

#include "ShareListView.h"
#include "ShareReader.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QSortFilterProxyModel>
#include <QTreeView>

#include <cstdio>
#include <functional>

namespace {

constexpr int kShares = 10000;

/// What the service would answer.
QByteArray answer()
{
    QByteArray body = "{\"share\":[";
    for (int i = 0; i < kShares; ++i) {
        const QByteArray no = QByteArray::number(i * 7919 % kShares);
        body += (i ? ",{" : "{") + QByteArray("\"shareId\":\"id") + no + "\",\"owner\":\"user" +
                QByteArray::number(i % 500) + "\",\"name\":\"rock surface " + no +
                ".exr\",\"path\":\"/shots/rock surface " + no +
                ".exr\",\"shareType\":2,\"isDir\":" + (i % 10 ? "0" : "1") +
                ",\"shareTime\":" + QByteArray::number(1700000000000 + i * 7919LL) +
                ",\"contentType\":\"image/x-exr\",\"icon\":\"icons/file/image.png\",\"size\":" + QByteArray::number(i) +
                ",\"link\":\"\",\"password\":\"\",\"shareTo\":[\"anna\",\"ben\",\"cleo\"],\"permission\":\"save\","
                "\"authentification\":true}";
    }
    return body + "]}";
}

void say(const char *what, const std::function<void()> &act)
{
    double least = 1e9;
    double most = 0;
    for (int round = 0; round < 5; ++round) {
        QElapsedTimer timer;
        timer.start();
        act();
        QApplication::processEvents();
        const double ms = static_cast<double>(timer.nsecsElapsed()) / 1e6;
        least = qMin(least, ms);
        most = qMax(most, ms);
    }
    std::printf("%-40s %7.1f to %7.1f ms\n", what, least, most);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QByteArray body = answer();
    QList<ShareRecord> records;
    say("answer read (off the window's thread)", [&] { records = ShareReader::records(body); });
    ShareListView view(ShareListModel::Mine);
    view.resize(1000, 700);
    view.setVisible(true);
    auto *tree = view.findChild<QTreeView *>();
    say("shown", [&] { view.show(records); });
    for (int column = 0; column < ShareListModel::ColumnCount; ++column) {
        char what[32];
        std::snprintf(what, sizeof what, "sorted by column %d", column);
        say(what, [&] {
            tree->sortByColumn(column, tree->header()->sortIndicatorOrder() == Qt::AscendingOrder ? Qt::DescendingOrder
                                                                                                  : Qt::AscendingOrder);
        });
    }
    int typed = 0;
    say("search, one key", [&] { view.setFilter(QStringLiteral("rock 12345").left(1 + typed++)); });
    view.setFilter(QString());
    say("everything selected", [&] { tree->selectAll(); });
    say("the selection read", [&] { (void)view.selectedRecords(); });
    say("shown anew, selection kept", [&] { view.show(records); });
    QStringList ids;
    for (const ShareRecord &record : qAsConst(records))
        ids << record.shareId;
    say("all removed", [&] { view.model()->remove(ids); });

    ShareListModel peer(ShareListModel::Mine);
    QSortFilterProxyModel proxy;
    proxy.setSourceModel(&peer);
    proxy.setSortLocaleAware(true);
    proxy.setFilterKeyColumn(-1);
    QTreeView other;
    other.setModel(&proxy);
    other.setUniformRowHeights(true);
    other.show();
    peer.show(records);
    say("peer: sorted by column 0",
        [&] { proxy.sort(0, proxy.sortOrder() == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder); });
    typed = 0;
    say("peer: search, one key", [&] { proxy.setFilterFixedString(QStringLiteral("rock 12345").left(1 + typed++)); });
    return 0;
}
