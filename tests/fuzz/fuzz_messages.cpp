// Every message of the transfer protocol: what is read and written again is what was read.

#include "FuzzInput.h"
#include "Messages.h"

#include <algorithm>

using namespace zpdt;

namespace {

template <typename Message>
void decode(FuzzInput &in)
{
    WireReader reader(in.data(), in.left());
    Message message;
    if (!message.decode(reader))
        return;
    WireWriter writer;
    message.encode(writer);
    const Bytes again = writer.take();
    // A greeting may be followed by what a later version says.
    require(again.size() <= in.left() && (again.size() == in.left() || Message::kType == Msg::Hello));
    require(std::equal(again.begin(), again.end(), in.data()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput in(data, size);
    switch (Msg(in.byte())) {
    case Msg::Hello:
        decode<HelloMessage>(in);
        break;
    case Msg::Ping:
    case Msg::Pong:
        decode<PingMessage>(in);
        break;
    case Msg::Bye:
        decode<ByeMessage>(in);
        break;
    case Msg::Rate:
        decode<RateMessage>(in);
        break;
    case Msg::Open:
        decode<OpenMessage>(in);
        break;
    case Msg::Close:
        decode<CloseMessage>(in);
        break;
    case Msg::Priority:
        decode<PriorityMessage>(in);
        break;
    case Msg::Want:
        decode<WantMessage>(in);
        break;
    case Msg::Scan:
        decode<ScanMessage>(in);
        break;
    case Msg::Item:
        decode<ItemMessage>(in);
        break;
    case Msg::ItemError:
        decode<ItemErrorMessage>(in);
        break;
    case Msg::Data:
        decode<DataMessage>(in);
        break;
    case Msg::Sum:
        decode<SumMessage>(in);
        break;
    case Msg::End:
        decode<EndMessage>(in);
        break;
    case Msg::Abort:
    case Msg::Fail:
        decode<ItemStopMessage>(in);
        break;
    case Msg::Have:
        decode<HaveMessage>(in);
        break;
    case Msg::Need:
        decode<NeedMessage>(in);
        break;
    case Msg::Done:
        decode<DoneMessage>(in);
        break;
    case Msg::Progress:
        decode<ProgressMessage>(in);
        break;
    default:
        break;
    }
    return 0;
}
