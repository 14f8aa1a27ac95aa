// A client that sends anything to a server's session: frames of every kind in any order, with right and wrong digests.
// Nothing comes of it outside the folder, and the session ends in order.

#include "BlockHash.h"
#include "Context.h"
#include "FuzzInput.h"
#include "Session.h"
#include "StreamReceiver.h"
#include "StreamSender.h"

#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <asio/thread_pool.hpp>

#include <filesystem>
#include <fstream>
#include <future>
#include <unistd.h>

using namespace zpdt;

namespace {

class DeafChannel : public Channel
{
public:
    void start(Listener *listener) override { m_listener = listener; }
    void send(Bytes) override {}
    std::size_t queuedBytes() const override { return 0; }
    void setReading(bool) override {}
    void close() override { m_listener = nullptr; }
    Metrics metrics() const override { return {}; }
    std::uint64_t bytesReceived() const override { return 0; }
    std::string peer() const override { return "fuzz"; }
    void ready()
    {
        if (m_listener)
            m_listener->channelReady();
    }
    void deliver(const Bytes &frame)
    {
        if (m_listener)
            m_listener->channelFrame(frame[4], std::uint32_t(frame[5]), frame.data() + kFrameHeader,
                                     frame.size() - kFrameHeader);
    }

private:
    Listener *m_listener = nullptr;
};

struct World
{
    World()
        : folder(std::filesystem::temp_directory_path() / ("arkvale-fuzz-" + std::to_string(getpid())))
        , context(1)
    {
        std::filesystem::create_directories(folder / "in");
        std::filesystem::create_directories(folder / "out/deeper");
        std::ofstream(folder / "sentinel") << "untouched";
        std::ofstream(folder / "out/small") << "small";
        std::ofstream(folder / "out/deeper/large") << std::string(300000, 'x');
    }
    ~World()
    {
        context.stop();
        std::filesystem::remove_all(folder);
    }
    /// Until no thread has anything of this run left to do.
    void settle()
    {
        for (int i = 0; i < 12; ++i) {
            std::promise<void> done;
            asio::post(context.disk(), [&] { context.post([&] { done.set_value(); }); });
            done.get_future().wait();
        }
    }
    void onIo(const std::function<void()> &work)
    {
        std::promise<void> done;
        context.post([&] {
            work();
            done.set_value();
        });
        done.get_future().wait();
    }

    const std::filesystem::path folder;
    Context context;
};

World &world()
{
    static World only;
    return only;
}

std::string pathFrom(FuzzInput &in)
{
    static const char *const kPaths[] = {
        "f",    "F",   "d",   "d/f", "../sentinel", "/etc/arkvale", "a/../b", "d/../../s", "f.ZPDT.cache",
        "d//f", "CON", "a\\b"};
    const std::uint8_t which = in.byte();
    return which < sizeof(kPaths) / sizeof(kPaths[0]) ? kPaths[which] : in.text(which % 32);
}

std::uint64_t sizeFrom(FuzzInput &in)
{
    static const std::uint64_t kSizes[] = {0,           1, 100, kSmallFile, kSmallFile + 1, kMinBlock, kMinBlock + 1,
                                           kMaxFileSize};
    return kSizes[in.byte() % 8];
}

Bytes makeFrame(FuzzInput &in)
{
    const std::uint8_t kind = in.byte();
    const std::uint32_t no = in.byte() % 4 + 1;
    switch (kind % 12) {
    case 0: {
        ItemMessage item;
        item.no = no;
        item.ask = kind & 16;
        item.info.kind = kind & 32 ? ItemKind::Folder : ItemKind::File;
        item.info.path = pathFrom(in);
        item.info.size = item.info.kind == ItemKind::File ? sizeFrom(in) : 0;
        // Space for the largest ones would really be taken.
        if (item.info.size > 2 * kMinBlock)
            item.info.size = kMaxFileSize + 1;
        item.blockSize = item.info.kind == ItemKind::File ? blockSizeFor(item.info.size) : 0;
        return frame(1, item);
    }
    case 1: {
        DataMessage data;
        data.no = no;
        data.block = in.byte() % 3;
        data.size = std::min<std::uint64_t>(sizeFrom(in), kMaxPiece);
        data.offset = in.byte() % 5 * static_cast<std::uint32_t>(kMaxPiece);
        data.last = kind & 16;
        const Bytes content(data.size + 1, 'x');
        data.data = content.data();
        data.digest = kind & 32 ? BlockHash::of(content.data(), data.size) : Digest{};
        return frame(1, data);
    }
    case 2: {
        EndMessage end;
        end.no = no;
        end.same = kind & 16;
        const Digest block = BlockHash::of("x", 1);
        end.digest = kind & 32 ? BlockHash::of(block.data(), block.size()) : Digest{};
        return frame(1, end);
    }
    case 3: {
        SumMessage sum;
        sum.no = no;
        sum.block = in.byte();
        sum.digests.resize(in.byte() % 4 + 1);
        return frame(1, sum);
    }
    case 4: {
        ItemStopMessage stop;
        stop.no = no;
        stop.error = Error(in.byte() % 10);
        return frame(1, stop, kind & 16 ? Msg::Abort : Msg::Fail);
    }
    case 5:
        return emptyFrame(1, kind & 16 ? Msg::Finish : Msg::Opened);
    case 6: {
        CloseMessage close;
        close.error = Error(in.byte() % 10);
        close.discard = kind & 16;
        return frame(1, close);
    }
    case 7: {
        HaveMessage have;
        have.no = no;
        have.more = kind & 16;
        have.existing = kind & 32;
        if (!have.existing)
            have.runs = {{in.byte(), in.byte()}};
        return frame(1, have);
    }
    case 8: {
        NeedMessage need;
        need.no = no;
        need.block = in.byte();
        return frame(1, need);
    }
    case 9: {
        DoneMessage done;
        done.no = no;
        return frame(1, done);
    }
    case 10: {
        WantMessage want;
        want.last = kind & 16;
        if (kind & 32)
            want.names = {pathFrom(in)};
        return frame(1, want);
    }
    default: {
        WireWriter w;
        w.begin(in.byte(), kind & 16 ? 0 : 1);
        const std::string body = in.text(in.byte());
        w.raw(body.data(), body.size());
        w.end();
        return w.take();
    }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    World &w = world();
    FuzzInput in(data, size);
    const std::uint8_t way = in.byte();
    const auto channel = std::make_shared<DeafChannel>();
    std::shared_ptr<Session> session;
    const auto folderOf = [&](const char *name) {
        return [path = (w.folder / name).string()](SafeFolder &folder) { return SafeFolder::open(path, folder); };
    };
    w.onIo([&] {
        Session::Handler handler;
        handler.onOpen = [&](std::uint32_t id, const OpenMessage &) -> std::shared_ptr<SessionStream> {
            if (way & 1) {
                StreamSender::Source source;
                source.open = folderOf("out");
                source.wanted = true;
                source.resumed = way & 2;
                auto stream = std::make_shared<StreamSender>(*session, std::move(source), StreamCallbacks());
                stream->setId(id);
                return stream;
            }
            StreamReceiver::Target target;
            target.open = folderOf("in");
            target.key = "in";
            target.resumed = way & 2;
            target.limits.freeBytes = [] { return 64u << 20; };
            auto stream = std::make_shared<StreamReceiver>(*session, std::move(target), StreamCallbacks());
            stream->setId(id);
            stream->begin();
            return stream;
        };
        session = std::make_shared<Session>(w.context, channel, Session::Role::Server, "fuzz", handler);
        session->start();
        channel->ready();
        channel->deliver(frame(0, HelloMessage()));
        OpenMessage open;
        open.ticket = "t";
        channel->deliver(frame(1, open));
    });
    for (int frames = 0; frames < 64 && !in.empty(); ++frames) {
        const bool wait = in.byte() & 1;
        const Bytes one = makeFrame(in);
        w.onIo([&] { channel->deliver(one); });
        if (wait)
            w.settle();
    }
    w.onIo([&] {
        session->close(Error::Cancelled, "over");
        session.reset();
    });
    w.settle();
    require(w.context.activeFiles().take("in/f.ZPDT.cache"));
    w.context.activeFiles().release("in/f.ZPDT.cache");
    std::size_t outside = 0;
    for (const auto &entry : std::filesystem::directory_iterator(w.folder))
        outside += entry.path().filename() != "in" && entry.path().filename() != "out";
    std::string sentinel;
    std::ifstream(w.folder / "sentinel") >> sentinel;
    require(outside == 1 && sentinel == "untouched");
    for (const auto &entry : std::filesystem::directory_iterator(w.folder / "in"))
        std::filesystem::remove_all(entry.path());
    return 0;
}
