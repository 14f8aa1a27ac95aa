#pragma once

#include "TransferManager.h"

#include <QHash>

#include <map>
#include <random>
#include <tuple>

/// A sequence of store operations that is the same for the same seed, on few tasks with trying names.
class RecordScript
{
public:
    enum Kind
    {
        Add,
        Update,
        Del,
        AddFinished,
        DelFinished,
        ClearTransfers,
        ClearFinished,
        Push, ///< writes something, changes nothing
        KindCount
    };
    struct Step
    {
        Kind kind;
        ZPDTCMDTYPE type;
        QList<TaskRecord> tasks;
        int push;
    };

    explicit RecordScript(quint32 seed)
        : m_random(seed)
    {
    }

    static QStringList centers() { return {QStringLiteral("1"), QStringLiteral("o'2")}; }

    Step next()
    {
        static const int kWeights[KindCount] = {30, 15, 20, 20, 8, 1, 1, 5};
        std::discrete_distribution<int> kinds(kWeights, kWeights + KindCount);
        Step step{static_cast<Kind>(kinds(m_random)), below(2) ? ZPDT_UPLOAD : ZPDT_DOWNLOAD, {}, below(6)};
        // Clearing everything is rare, or nothing would ever be there.
        if ((step.kind == ClearTransfers || step.kind == ClearFinished) && below(4))
            step.kind = Push;
        for (int i = below(4) ? 1 : 1 + below(600); i > 0 && step.kind < ClearTransfers; --i)
            step.tasks << task(step.type, step.kind);
        return step;
    }

    static void run(TransferManager *store, const Step &step)
    {
        switch (step.kind) {
        case Add:
            return store->OnAddTransferRecord(step.tasks, step.type);
        case Update:
            return store->OnUpdateTransferRecord(step.tasks, step.type);
        case Del:
            return store->OnDelTransferRecord(step.tasks, step.type);
        case AddFinished:
            return store->OnAddFinishedRecord(step.tasks, step.type);
        case DelFinished:
            return store->OnDelFinishedRecord(step.tasks);
        case ClearTransfers:
            return store->OnClearTransferTaskRecord(step.type);
        case ClearFinished:
            return store->OnClearFinishedTaskRecord();
        case Push:
        case KindCount:
            break;
        }
        switch (step.push) {
        case 0:
            return store->OnPushTransferRecordForAdd(step.type);
        case 1:
            return store->OnPushTransferRecordForDel(step.type);
        case 2:
            return store->OnPushFinishedRecordForAdd();
        case 3:
            return store->OnPushFinishedRecordForDel();
        default:
            return store->TriggerSignal();
        }
    }

private:
    int below(int end) { return static_cast<int>(m_random() % static_cast<quint32>(end)); }

    TaskRecord task(ZPDTCMDTYPE type, Kind kind)
    {
        static const QStringList kNames{QStringLiteral("plain"),    QStringLiteral("it's 'quoted'"),
                                        QStringLiteral("%1 %2 %3"), QStringLiteral("a_b_c"),
                                        QStringLiteral("渲染 ü"),   QStringLiteral("'); drop table x; --")};
        static const QStringList kCenters{QStringLiteral("1"), QStringLiteral("o'2"), QStringLiteral("share"),
                                          QStringLiteral("foreign")};
        TaskRecord record;
        record.Path = QStringLiteral("/l/") + kNames.at(below(kNames.size())) + QString::number(below(60));
        record.Type = type;
        record.From = below(2) ? QStringLiteral("/l") : QString();
        record.Dest = below(2) ? QStringLiteral("/r_1") : QStringLiteral("1_/r");
        record.SubCenterId = kCenters.at(below(kCenters.size()));
        record.FileSize = below(1000);
        record.Offset = kind == Update ? below(1000) : 0;
        record.Status = kind == AddFinished ? (below(2) ? ZPDT_SUCCESS : ZPDT_FAILED) : below(2) ? ZPDT_PAUSED : 0;
        if (record.Status == ZPDT_FAILED)
            record.taskExtra = static_cast<quint64>(below(10));
        return record;
    }

    std::mt19937 m_random;
};

/// What the tables must hold after some steps.
class RecordModel
{
public:
    void apply(const RecordScript::Step &step)
    {
        for (const TaskRecord &task : step.tasks) {
            switch (step.kind) {
            case RecordScript::Add:
                transfers[key(task, task.Type)] = {task.Type, task.FileSize, 0, task.Status};
                break;
            case RecordScript::Update:
                if (const auto it = transfers.find(key(task, task.Type)); it != transfers.end())
                    it->second = {task.Type, task.FileSize, task.Offset, task.Status};
                break;
            case RecordScript::Del:
                transfers.erase(key(task, task.Type));
                break;
            case RecordScript::AddFinished:
                finished[key(task, 0)] = {task.Type, task.FileSize, 0, task.Status + qint32(task.taskExtra)};
                break;
            default:
                finished.erase(key(task, 0));
            }
        }
        if (step.kind == RecordScript::ClearTransfers)
            clear(transfers, step.type);
        else if (step.kind == RecordScript::ClearFinished)
            clear(finished, 0);
    }

    /// What the file holds, by a connection of its own.
    static RecordModel read(const QString &path);

    bool operator==(const RecordModel &o) const { return transfers == o.transfers && finished == o.finished; }

private:
    using Key = std::tuple<QString, qint32, QString, QString, QString>;
    using Values = std::tuple<qint32, qint64, qint64, qint32>;
    using Table = std::map<Key, Values>;

    static Key key(const TaskRecord &t, qint32 type) { return {t.Path, type, t.Dest, t.From, t.SubCenterId}; }
    static void clear(Table &table, qint32 type)
    {
        for (auto it = table.begin(); it != table.end();) {
            const bool gone = std::get<1>(it->first) == type && std::get<4>(it->first) != QLatin1String("foreign");
            it = gone ? table.erase(it) : std::next(it);
        }
    }

    Table transfers;
    Table finished;
};
