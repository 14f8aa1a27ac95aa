// A partial file that somebody wrote into: whatever its data and its journal hold, what the receiver makes of it with
// an honest sender is the sender's file, and only what was damaged is sent again.

#include "CacheFile.h"
#include "FuzzInput.h"
#include "TargetTree.h"

#include <filesystem>
#include <unistd.h>

using namespace zpdt;

namespace {

constexpr std::uint64_t kFileSize = 2 * kMinBlock + 5;
constexpr std::uint64_t kJournal = 2 * kMinBlock + 4096;
constexpr std::uint64_t kSlots = kJournal + 4096;
constexpr std::size_t kSlot = 32;
constexpr std::uint32_t kBlocks = 3;

struct World
{
    World()
        : folder(std::filesystem::temp_directory_path() / ("arkvale-fuzz-" + std::to_string(getpid())))
        , content(kFileSize)
    {
        std::filesystem::create_directories(folder);
        SafeFolder::open(folder.string(), root);
        for (std::size_t i = 0; i < content.size(); ++i)
            content[i] = static_cast<std::uint8_t>(i * 2654435761u >> 24);
        item.no = 1;
        item.info.path = "f";
        item.info.size = kFileSize;
        item.info.modifiedMs = 1000;
        item.ask = true;
        item.identity = 7;
        item.blockSize = kMinBlock;
        BlockHash all;
        for (std::uint32_t block = 0; block < kBlocks; ++block) {
            digests.push_back(BlockHash::of(content.data() + block * kMinBlock, sizeOf(block)));
            all.add(digests.back().data(), digests.back().size());
        }
        whole = all.digest();
        // As an interrupted transfer leaves it: the first two blocks are there.
        CacheFile cache(std::make_shared<TargetTree>(root, TargetTree::Limits()), item);
        cache.prepare();
        cache.process({piece(0), piece(1)});
        cache.leave();
        SafeFile file;
        root.openRead("f.ZPDT.cache", file);
        partial.resize(kSlots + kBlocks * kSlot);
        std::size_t got = 0;
        file.readAt(0, partial.data(), partial.size(), got);
        require(got == partial.size());
    }
    ~World() { std::filesystem::remove_all(folder); }

    static std::uint32_t sizeOf(std::uint32_t block) { return block < 2 ? kMinBlock : 5; }
    CacheFile::Op piece(std::uint32_t block) const
    {
        CacheFile::Op op;
        op.block = block;
        op.last = true;
        op.digest = digests[block];
        op.data = content.data() + block * kMinBlock;
        op.size = sizeOf(block);
        return op;
    }

    const std::filesystem::path folder;
    SafeFolder root;
    ItemMessage item;
    Bytes content;
    std::vector<Digest> digests;
    Digest whole;
    Bytes partial;
};

World &world()
{
    static World only;
    return only;
}

/// Changes the partial file as the input says; tells which blocks' data were touched.
Bytes damaged(FuzzInput &in)
{
    Bytes file = world().partial;
    for (int change = 0; change < 64 && !in.empty(); ++change) {
        const std::uint8_t what = in.byte();
        std::uint64_t at = 0;
        if (what % 4 == 0)
            at = in.number(3) % kFileSize;
        else if (what % 4 == 1)
            at = kJournal + in.byte() % 64;
        else if (what % 4 == 2)
            at = kSlots + in.byte() % (kBlocks * kSlot);
        if (what % 4 < 3 && at < file.size()) {
            file[at] ^= in.byte();
        } else if (what == 3) {
            file.resize(in.number(3) % (file.size() + 1));
        } else if (what == 7 && file.size() == world().partial.size()) {
            // A slot with a good check for any digest: somebody knows the salt.
            const std::uint32_t block = in.byte() % kBlocks;
            std::uint8_t *slot = file.data() + kSlots + block * kSlot;
            for (std::size_t i = 0; i < sizeof(Digest); ++i)
                slot[i] = what & 8 ? in.byte() : world().digests[block][i];
            WireReader salt(file.data() + kJournal + 36, 8);
            WireWriter record;
            record.raw(slot, sizeof(Digest));
            record.u32(block);
            Bytes raw = record.take();
            const std::uint64_t check = BlockHash::check(raw.data(), raw.size(), salt.u64());
            WireWriter end;
            end.u64(check);
            const Bytes tail = end.take();
            raw.insert(raw.end(), tail.begin(), tail.end());
            std::copy(raw.begin(), raw.end(), slot);
        }
    }
    return file;
}

bool rightIn(const Bytes &file, std::uint32_t block)
{
    const std::size_t begin = std::size_t(block) * kMinBlock, size = World::sizeOf(block);
    return file.size() >= begin + size && BlockHash::of(file.data() + begin, size) == world().digests[block];
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    World &w = world();
    FuzzInput in(data, size);
    const Bytes file = damaged(in);
    {
        SafeFile partial;
        require(w.root.openWrite("f.ZPDT.cache", {true, false, true}, partial).ok());
        require(partial.writeAt(0, file.data(), file.size()).ok());
    }
    CacheFile cache(std::make_shared<TargetTree>(w.root, TargetTree::Limits()), w.item, file.size() % 2 == 0);
    const auto check = [&cache](CacheFile::Outcome &outcome) {
        while (outcome.checks > 0 && !cache.checkSome(outcome)) {
        }
    };
    CacheFile::Outcome outcome = cache.prepare();
    require(outcome.error == Error::None);
    while (!cache.verifySome(outcome)) {
    }
    std::vector<CacheFile::Op> ops;
    std::vector<bool> held(kBlocks, false);
    for (const HaveMessage::Run &run : cache.runs())
        for (std::uint32_t block = run.first; block < run.first + run.count; ++block)
            held.at(block) = true;
    for (std::uint32_t block = 0; block < kBlocks; ++block) {
        CacheFile::Op op = w.piece(block);
        if (held[block]) {
            op = CacheFile::Op();
            op.kind = CacheFile::Op::Sum;
            op.block = block;
            op.sums = {w.digests[block]};
        }
        ops.push_back(op);
    }
    CacheFile::Op end;
    end.kind = CacheFile::Op::End;
    end.digest = w.whole;
    ops.push_back(end);
    outcome = cache.process(ops);
    check(outcome);
    for (int round = 0; round < 8 && !outcome.finished; ++round) {
        require(outcome.error == Error::None && !outcome.needed.empty());
        std::vector<CacheFile::Op> again;
        for (std::uint32_t block : outcome.needed) {
            // What was right on the disk and believed is not asked for again.
            require(round > 0 || !held[block] || !rightIn(file, block));
            again.push_back(w.piece(block));
        }
        outcome = cache.process(again);
        check(outcome);
    }
    require(outcome.finished);
    SafeFile result;
    Bytes read(kFileSize + 1);
    std::size_t got = 0;
    require(w.root.openRead("f", result).ok() && result.readAt(0, read.data(), read.size(), got).ok());
    require(got == kFileSize && std::equal(w.content.begin(), w.content.end(), read.begin()));
    require(w.root.removeFile("f").ok());
    return 0;
}
