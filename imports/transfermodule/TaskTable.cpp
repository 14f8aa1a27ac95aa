#include "TaskTable.h"

#include <utility>

namespace {

/// Ended tasks that are remembered, so that sending one again can be told from sending a new one.
constexpr std::size_t kEndedRemembered = 50000;

} // namespace

TaskTable::Task *TaskTable::task(TaskId id)
{
    for (Lane &lane : m_lanes) {
        const auto it = lane.tasks.find(id);
        if (it != lane.tasks.end())
            return &it->second;
    }
    return nullptr;
}

const TaskTable::Task *TaskTable::task(TaskId id) const
{
    return const_cast<TaskTable *>(this)->task(id);
}

std::optional<TaskId> TaskTable::find(const TaskRecord &record) const
{
    const auto it = m_index.find(TaskKey::of(record));
    if (it == m_index.end())
        return std::nullopt;
    return it->second;
}

const TaskRecord *TaskTable::record(TaskId id) const
{
    const Task *t = task(id);
    return t ? &t->record : nullptr;
}

TaskTable::Config TaskTable::config(TaskId id) const
{
    const Task *t = task(id);
    return t ? t->config : nullptr;
}

bool TaskTable::resumed(TaskId id) const
{
    const Task *t = task(id);
    return t && t->resumed;
}

TaskTable::Shape TaskTable::shape(TaskId id) const
{
    const Task *t = task(id);
    return t ? t->shape : Shape::Unknown;
}

int TaskTable::count(ZPDTCMDTYPE type) const
{
    return static_cast<int>(lane(type).tasks.size());
}

int TaskTable::running(ZPDTCMDTYPE type) const
{
    return lane(type).queue.taken();
}

TaskId TaskTable::insert(TaskRecord record, Shape shape, const Config &config)
{
    const TaskId id = ++m_lastId;
    record.taskIndex = static_cast<qint32>(id & 0x7fffffff);
    if (!record.CreateDate.isValid())
        record.CreateDate = QDateTime::currentDateTime();
    m_index.emplace(TaskKey::of(record), id);
    Task &t = lane(record.Type).tasks[id];
    t.record = std::move(record);
    t.shape = shape;
    t.config = config;
    t.told = m_reports.enter(TaskKey::of(t.record));
    return id;
}

void TaskTable::erase(TaskId id)
{
    Task *t = task(id);
    if (!t)
        return;
    dequeue(*t);
    m_reports.leave(TaskKey::of(t->record), t->told);
    m_index.erase(TaskKey::of(t->record));
    lane(t->record.Type).tasks.erase(id);
}

void TaskTable::enqueue(TaskId id, Task &task, bool front)
{
    task.turn = lane(task.record.Type).queue.newTurn(front);
    putBack(id, task);
}

void TaskTable::putBack(TaskId id, Task &task)
{
    task.state = State::Queued;
    task.workStatus = ZPDT_PREPARING;
    task.record.Status = ZPDT_WAITING;
    lane(task.record.Type).queue.put(task.turn, id);
}

void TaskTable::dequeue(Task &task)
{
    if (task.state == State::Queued || task.state == State::Ahead)
        lane(task.record.Type).queue.remove(task.turn);
}

void TaskTable::releaseSlot(Task &task)
{
    if (task.slot)
        lane(task.record.Type).queue.release();
    task.slot = false;
}

void TaskTable::begin(Task &task)
{
    task.state = State::Running;
    task.slot = true;
    task.record.Status = task.workStatus;
    report(TaskReport::Started, task);
}

void TaskTable::schedule(Lane &l)
{
    while (const auto next = l.queue.takeNext()) {
        begin(l.tasks.at(next->id));
        if (!next->begunAhead)
            m_orders.push_back({TaskOrder::Run, next->id});
    }
    const auto mayGoAhead = [&l](TaskId id) { return l.tasks.at(id).shape == Shape::SmallFile; };
    for (const TaskId id : l.queue.takeAhead(mayGoAhead)) {
        l.tasks.at(id).state = State::Ahead;
        m_orders.push_back({TaskOrder::Run, id});
    }
}

void TaskTable::stop(TaskId id, Task &task, AfterStop after)
{
    const bool abandon = after == AfterStop::Cancel;
    task.resumed = true;
    if (task.state != State::Stopping) {
        dequeue(task);
        task.state = State::Stopping;
        m_orders.push_back({abandon ? TaskOrder::Abandon : TaskOrder::Stop, id});
    } else if (abandon) {
        m_orders.push_back({TaskOrder::Abandon, id});
    }
    task.afterStop = after;
    switch (after) {
    case AfterStop::Cancel:
    case AfterStop::CancelThenCreate:
        task.record.Status = ZPDT_CANCELING;
        break;
    case AfterStop::Requeue:
        task.record.Status = ZPDT_WAITING;
        break;
    case AfterStop::Pause:
    case AfterStop::PauseThenStart:
        task.record.Status = ZPDT_PAUSING;
        break;
    }
}

void TaskTable::resume(TaskId id, Task &task, const Config &config, Place place)
{
    if (config)
        task.config = config;
    if (place == Place::First)
        task.urgency = ++m_lastUrgency;
    switch (task.state) {
    case State::Paused:
    case State::Queued: {
        Lane &l = lane(task.record.Type);
        dequeue(task);
        enqueue(id, task, place == Place::First);
        schedule(l);
        if (task.state != State::Running)
            report(TaskReport::Started, task);
        if (task.state == State::Queued && place == Place::First)
            makeWay(l);
        break;
    }
    case State::Stopping:
        if (task.afterStop == AfterStop::Pause)
            task.afterStop = AfterStop::PauseThenStart;
        break;
    case State::Ahead:
    case State::Running:
        report(TaskReport::Started, task);
        if (place == Place::First)
            m_orders.push_back({TaskOrder::Prefer, id});
        break;
    }
}

/// Of those that nobody moved first, the one whose turn is last goes back to its place.
void TaskTable::makeWay(Lane &l)
{
    if (!l.queue.full())
        return;
    std::pair<const TaskId, Task> *last = nullptr;
    for (auto &entry : l.tasks) {
        Task &t = entry.second;
        // One that gives way already is enough.
        if (t.state == State::Stopping && t.slot)
            return;
        if (t.state == State::Running && t.urgency == 0 && (!last || t.turn > last->second.turn))
            last = &entry;
    }
    if (!last)
        return;
    stop(last->first, last->second, AfterStop::Requeue);
    report(TaskReport::Started, last->second);
}

bool TaskTable::add(TaskRecord record, Shape shape, const Config &config)
{
    Lane &l = lane(record.Type);
    if (const auto held = find(record)) {
        Task &t = *task(*held);
        const bool stopping = t.state == State::Stopping;
        if (stopping && (t.afterStop == AfterStop::Cancel || t.afterStop == AfterStop::CancelThenCreate)) {
            t.afterStop = AfterStop::CancelThenCreate;
            t.config = config;
            t.shape = shape;
            return true;
        }
        if (t.state == State::Paused || (stopping && t.afterStop == AfterStop::Pause)) {
            if (shape != Shape::Unknown)
                t.shape = shape;
            resume(*held, t, config, Place::Back);
            report(TaskReport::Retrans, t);
            schedule(l);
            return true;
        }
        report(TaskReport::Exist, t);
        return false;
    }
    const bool again = m_ended.count(TaskKeyHash()(TaskKey::of(record))) > 0;
    record.FinishDate = {};
    const TaskId id = insert(std::move(record), shape, config);
    Task &t = *task(id);
    enqueue(id, t, false);
    report(TaskReport::Created, t);
    if (again)
        report(TaskReport::Retrans, t);
    schedule(l);
    return true;
}

void TaskTable::start(const TaskRecord &record, const Config &config, Shape shape)
{
    takeIn(record, config, shape, Place::First);
}

void TaskTable::takeIn(const TaskRecord &record, const Config &config, Shape shape, Place place)
{
    if (const auto held = find(record)) {
        Task &t = *task(*held);
        if (t.shape == Shape::Unknown)
            t.shape = shape;
        resume(*held, t, config, place);
    } else {
        TaskRecord taken = record;
        taken.FinishDate = {};
        const TaskId id = insert(std::move(taken), shape, config);
        Task &t = *task(id);
        t.resumed = true;
        t.state = State::Paused;
        resume(id, t, nullptr, Place::Back);
    }
}

void TaskTable::startAll(const QList<TaskRecord> &records, ZPDTCMDTYPE type, const Config &config,
                         const std::function<Shape(const TaskRecord &)> &shapeOf)
{
    for (const TaskRecord &record : records) {
        if (record.Type != type)
            continue;
        const auto held = find(record);
        // Tasks that wait keep their order: all of them were named, so none goes first.
        if (held && task(*held)->state == State::Queued) {
            task(*held)->config = config;
            report(TaskReport::Started, *task(*held));
            continue;
        }
        const bool known = held && task(*held)->shape != Shape::Unknown;
        takeIn(record, config, known || !shapeOf ? Shape::Unknown : shapeOf(record), Place::Back);
    }
}

void TaskTable::pauseTask(TaskId id, Task &task)
{
    switch (task.state) {
    case State::Queued:
        dequeue(task);
        task.state = State::Paused;
        task.record.Status = ZPDT_PAUSED;
        report(TaskReport::PauseEnd, task);
        break;
    case State::Paused:
        report(TaskReport::PauseEnd, task);
        break;
    case State::Ahead:
    case State::Running:
        stop(id, task, AfterStop::Pause);
        break;
    case State::Stopping:
        if (task.afterStop == AfterStop::PauseThenStart || task.afterStop == AfterStop::Requeue)
            stop(id, task, AfterStop::Pause);
        break;
    }
}

void TaskTable::pause(const TaskRecord &record)
{
    if (const auto held = find(record)) {
        pauseTask(*held, *task(*held));
        schedule(lane(record.Type));
        return;
    }
    TaskRecord answer = record;
    answer.Status = ZPDT_PAUSED;
    m_reports.addPassing(TaskReport::PauseEnd, answer);
}

void TaskTable::pauseAll(ZPDTCMDTYPE type)
{
    for (auto &[id, t] : lane(type).tasks) {
        if (t.state != State::Paused)
            pauseTask(id, t);
    }
}

void TaskTable::cancelTask(TaskId id)
{
    Task &t = *task(id);
    switch (t.state) {
    case State::Queued:
    case State::Paused:
        t.record.Status = ZPDT_CANCELING;
        report(TaskReport::CancelEnd, t);
        m_abandoned.append(t.record);
        erase(id);
        break;
    case State::Ahead:
    case State::Running:
        stop(id, t, AfterStop::Cancel);
        break;
    case State::Stopping:
        if (t.afterStop == AfterStop::CancelThenCreate)
            t.afterStop = AfterStop::Cancel;
        else if (t.afterStop != AfterStop::Cancel)
            stop(id, t, AfterStop::Cancel);
        break;
    }
}

void TaskTable::cancel(const TaskRecord &record)
{
    if (const auto held = find(record)) {
        cancelTask(*held);
        schedule(lane(record.Type));
        return;
    }
    TaskRecord answer = record;
    answer.Status = ZPDT_CANCELING;
    m_reports.addPassing(TaskReport::CancelEnd, answer);
    m_abandoned.append(answer);
}

void TaskTable::cancelAll(ZPDTCMDTYPE type)
{
    std::vector<TaskId> ids;
    ids.reserve(lane(type).tasks.size());
    for (const auto &entry : lane(type).tasks)
        ids.push_back(entry.first);
    for (TaskId id : ids)
        cancelTask(id);
}

int TaskTable::registerPaused(const QList<TaskRecord> &records)
{
    int added = 0;
    for (const TaskRecord &record : records) {
        if ((record.Type != ZPDT_UPLOAD && record.Type != ZPDT_DOWNLOAD) || find(record))
            continue;
        const TaskId id = insert(record, Shape::Unknown, nullptr);
        Task &t = *task(id);
        t.state = State::Paused;
        t.resumed = true;
        t.record.Status = ZPDT_PAUSED;
        ++added;
    }
    return added;
}

void TaskTable::unregisterPaused(const QList<TaskRecord> &records)
{
    for (const TaskRecord &record : records) {
        const auto held = find(record);
        if (held && task(*held)->state == State::Paused)
            erase(*held);
    }
}

void TaskTable::setMaxConcurrence(ZPDTCMDTYPE type, int count)
{
    Lane &l = lane(type);
    l.queue.setSlots(count);
    // The latest ones give way, and the turns they get back keep their order.
    int active = 0;
    for (const auto &entry : l.tasks)
        active += entry.second.state == State::Running;
    for (auto it = l.tasks.rbegin(); it != l.tasks.rend() && active > l.queue.slotCount(); ++it) {
        if (it->second.state != State::Running)
            continue;
        stop(it->first, it->second, AfterStop::Requeue);
        report(TaskReport::Started, it->second);
        --active;
    }
    schedule(l);
}

void TaskTable::setStatus(TaskId id, ZpdtTaskStatus status)
{
    Task *t = task(id);
    if (!t)
        return;
    t->workStatus = status;
    if (t->state == State::Running)
        t->record.Status = status;
}

void TaskTable::setProgress(TaskId id, qint64 offset, qint64 total)
{
    if (Task *t = task(id)) {
        t->record.Offset = offset;
        t->record.FileSize = total;
    }
}

void TaskTable::setReason(TaskId id, ZpdtError error)
{
    if (Task *t = task(id))
        t->record.taskExtra = static_cast<quint64>(error);
}

void TaskTable::takeOutOfGroup(TaskId id, Shape shape)
{
    Task *t = task(id);
    if (!t || t->shape != Shape::SmallFile)
        return;
    t->shape = shape;
    if (t->state == State::Ahead || t->state == State::Running)
        stop(id, *t, AfterStop::Requeue);
}

void TaskTable::finished(TaskId id, bool success)
{
    Task *t = task(id);
    if (!t || t->state == State::Queued || t->state == State::Paused)
        return;
    Lane &l = lane(t->record.Type);
    const bool cancelling = t->state == State::Stopping &&
                            (t->afterStop == AfterStop::Cancel || t->afterStop == AfterStop::CancelThenCreate);
    if (cancelling && !success) {
        stopped(id);
        return;
    }
    if (t->state == State::Ahead) {
        t->record.Status = ZPDT_TRANSFERRING;
        report(TaskReport::Started, *t);
    }
    const bool again = cancelling && t->afterStop == AfterStop::CancelThenCreate;
    releaseSlot(*t);
    t->record.Status = success ? ZPDT_SUCCESS : ZPDT_FAILED;
    t->record.FinishDate = QDateTime::currentDateTime();
    if (success)
        t->record.Offset = t->record.FileSize;
    report(TaskReport::Finished, *t);
    rememberEnd(TaskKey::of(t->record));
    TaskRecord record = t->record;
    const Shape shape = t->shape;
    const Config config = t->config;
    erase(id);
    if (again) {
        record.Offset = 0;
        add(std::move(record), shape, config);
    }
    schedule(l);
}

void TaskTable::stopped(TaskId id)
{
    Task *t = task(id);
    if (!t || t->state != State::Stopping)
        return;
    Lane &l = lane(t->record.Type);
    releaseSlot(*t);
    switch (t->afterStop) {
    case AfterStop::Pause:
    case AfterStop::PauseThenStart:
        t->state = State::Paused;
        t->record.Status = ZPDT_PAUSED;
        report(TaskReport::PauseEnd, *t);
        if (t->afterStop == AfterStop::PauseThenStart)
            resume(id, *t, nullptr, Place::Back);
        break;
    case AfterStop::Requeue:
        putBack(id, *t);
        break;
    case AfterStop::Cancel:
    case AfterStop::CancelThenCreate: {
        report(TaskReport::CancelEnd, *t);
        const bool again = t->afterStop == AfterStop::CancelThenCreate;
        // One that was between two streams had nobody to remove what is there.
        if (!again && t->record.Type == ZPDT_DOWNLOAD)
            m_abandoned.append(t->record);
        TaskRecord record = t->record;
        const Shape shape = t->shape;
        const Config config = t->config;
        erase(id);
        if (again) {
            record.Offset = 0;
            record.CreateDate = {};
            add(std::move(record), shape, config);
        }
        break;
    }
    }
    schedule(l);
}

void TaskTable::halted(TaskId id)
{
    Task *t = task(id);
    if (!t || t->state == State::Queued || t->state == State::Paused)
        return;
    if (t->state == State::Stopping) {
        stopped(id);
        return;
    }
    dequeue(*t);
    releaseSlot(*t);
    t->state = State::Paused;
    t->resumed = true;
    t->record.Status = ZPDT_PAUSED;
    report(TaskReport::PauseEnd, *t);
    schedule(lane(t->record.Type));
}

int TaskTable::urgency(TaskId id) const
{
    const Task *t = task(id);
    return t ? t->urgency : 0;
}

void TaskTable::rememberEnd(const TaskKey &key)
{
    const std::size_t hash = TaskKeyHash()(key);
    if (!m_ended.insert(hash).second)
        return;
    m_endedOrder.push_back(hash);
    if (m_endedOrder.size() > kEndedRemembered) {
        m_ended.erase(m_endedOrder.front());
        m_endedOrder.pop_front();
    }
}

std::vector<TaskOrder> TaskTable::takeOrders()
{
    return std::exchange(m_orders, {});
}

QList<TaskRecord> TaskTable::takeAbandoned()
{
    return std::exchange(m_abandoned, {});
}
