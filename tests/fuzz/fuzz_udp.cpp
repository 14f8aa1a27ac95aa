// Datagrams: heads, frames of a decrypted packet, the messages of the handshake, and the stream put together again.

#include "FuzzInput.h"
#include "UdpHandshake.h"
#include "UdpInbox.h"
#include "UdpPacket.h"

#include <algorithm>

using namespace zpdt;

namespace {

void readFrames(FuzzInput &in)
{
    UdpFrameReader reader(in.data(), in.left());
    UdpFrame frame;
    while (reader.next(frame)) {
        if (frame.type == UdpFrameType::Data)
            require(frame.size > 0 && frame.data >= in.data() && frame.data + frame.size <= in.data() + in.left());
        if (frame.type != UdpFrameType::Ack)
            continue;
        require(!frame.ack.ranges.empty() && frame.ack.ranges.size() <= kUdpMostRanges);
        std::uint64_t above = kUdpMaxNumber + 2;
        for (const UdpRanges::Range &range : frame.ack.ranges) {
            require(range.first < range.end && range.end < above);
            above = range.first;
        }
    }
}

/// Pieces of one stream in any order: what comes out is the stream.
void putTogether(FuzzInput &in)
{
    static const Bytes stream = [] {
        WireWriter w;
        for (std::uint32_t i = 0; i < 40; ++i) {
            w.begin(static_cast<std::uint8_t>(i), i);
            for (std::uint32_t k = 0; k < i * i; ++k)
                w.u8(static_cast<std::uint8_t>(i + k));
            w.end();
        }
        return w.take();
    }();
    UdpInbox inbox;
    std::uint32_t next = 0;
    while (!in.empty()) {
        const std::size_t from = in.number(2) % stream.size();
        const std::size_t size = std::min<std::size_t>(in.number(2) % 4096 + 1, stream.size() - from);
        require(inbox.add(from, stream.data() + from, size));
        UdpInbox::Frame frame;
        while (inbox.next(frame) == UdpInbox::Next::Frame) {
            require(frame.stream == next && frame.type == next && frame.size == std::size_t(next) * next);
            for (std::size_t k = 0; k < frame.size; ++k)
                require(frame.body[k] == static_cast<std::uint8_t>(next + k));
            ++next;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const UdpKeyring keyring;
    FuzzInput in(data, size);
    switch (in.byte() % 5) {
    case 0:
        readFrames(in);
        break;
    case 1:
        putTogether(in);
        break;
    case 2: {
        UdpHello hello;
        UdpSecret secret;
        if (UdpHello::read(in.data(), in.left(), hello))
            require(!keyring.check(hello, secret) && !keyring.checkCookie(hello, "address"));
        break;
    }
    case 3: {
        static UdpClientHandshake client(std::string(64, 'a'), UdpKeyring().issue());
        UdpMet met;
        (void)client.retry(in.data(), in.left());
        require(!client.welcome(in.data(), in.left(), met));
        break;
    }
    default: {
        UdpHeader header;
        if (UdpHeader::read(in.data(), in.left(), header)) {
            std::uint8_t again[kUdpHeader];
            header.write(again);
            require(std::equal(again, again + kUdpHeader, in.data()));
        }
        UdpInbox inbox;
        (void)inbox.add(0, in.data(), in.left());
        UdpInbox::Frame frame;
        while (inbox.next(frame) == UdpInbox::Next::Frame)
            require(frame.size <= in.left());
    }
    }
    return 0;
}
