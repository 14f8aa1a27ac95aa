#include "SmallFiles.h"

#include "BlockHash.h"
#include "DiskHints.h"
#include "PartialFile.h"
#include "TargetTree.h"
#include "TreeScan.h"

#include <map>

namespace zpdt {

namespace {

struct Written
{
    SafeFolder folder;
    std::string leaf;
    std::string cache;
    PartialLock lock;
    std::uint64_t id = 0;
    bool good = false;
};

/// From here on one sync of the whole volume is cheaper than one for each file.
constexpr std::size_t kManyFiles = 4;

bool intact(const SmallFile &small)
{
    BlockHash whole;
    if (!small.data.empty()) {
        if (BlockHash::of(small.data.data(), small.data.size()) != small.block)
            return false;
        whole.add(small.block.data(), small.block.size());
    }
    return whole.digest() == small.whole;
}

FileResult writeOne(TargetTree &tree, const SmallFile &small, Written &written, SafeFile &file)
{
    FileResult result = tree.parentOf(small.path, written.folder, written.leaf);
    if (!result.ok())
        return result;
    written.cache = cacheNameOf(written.leaf);
    FileStat stat;
    result = openPartial(written.folder, written.cache, &tree, file, stat, written.lock);
    // Some file systems write a file out at once when it was ever truncated.
    if (result.ok() && stat.size > 0)
        result = file.truncate(0);
    if (result.ok() && !small.data.empty())
        result = file.writeAt(0, small.data.data(), small.data.size());
    if (result.ok())
        result = file.setModified(small.modifiedMs * kNsPerMs);
    if (result.ok())
        result = file.stat(stat);
    if (result.ok() && stat.size != small.data.size())
        result = {FileError::Other, 0};
    written.id = stat.id;
    return result;
}

/// Whether the disk has what was written to it.
bool readsBack(const SmallFile &small, const SafeFile &file)
{
    thread_local Bytes buffer;
    buffer.resize(small.data.size());
    std::size_t got = 0;
    return file.readAt(0, buffer.data(), buffer.size(), got).ok() && got == buffer.size() && buffer == small.data;
}

FileResult syncOne(const Written &written)
{
    SafeFile file;
    FileResult result = written.folder.openWrite(written.cache, {false, false, false}, file);
    if (result.ok())
        result = file.sync();
    return result.ok() ? file.close() : result;
}

} // namespace

std::vector<SmallFileResult> storeSmallFiles(TargetTree &tree, const std::vector<SmallFile> &files, bool verify)
{
    std::vector<SmallFileResult> results(files.size());
    std::vector<Written> written(files.size());
    const auto failed = [&](std::size_t i, const FileResult &result) {
        results[i].error = errorOf(result);
        results[i].text = result.message();
        written[i].good = false;
        tree.unreserve(files[i].data.size());
        if (written[i].lock.held())
            (void)written[i].folder.removeFile(written[i].cache);
    };
    SafeFile last; ///< stands for the volume
    for (std::size_t i = 0; i < files.size(); ++i) {
        results[i].no = files[i].no;
        results[i].size = files[i].data.size();
        if (!intact(files[i])) {
            results[i].damaged = true;
            tree.unreserve(files[i].data.size());
            continue;
        }
        // Kept open no longer than needed: a batch has more files than a process has descriptors.
        SafeFile file;
        FileResult result = writeOne(tree, files[i], written[i], file);
        if (result.ok() && verify && !readsBack(files[i], file)) {
            results[i].damaged = true;
            failed(i, {FileError::Other, 0});
            continue;
        }
        if (result.ok() && files.size() < kManyFiles)
            result = file.sync();
        if (result.ok() && files.size() >= kManyFiles && !last.isOpen())
            last = std::move(file);
        else if (result.ok() && file.isOpen())
            result = file.close();
        written[i].good = result.ok();
        if (!result.ok())
            failed(i, result);
    }
    const bool synced = files.size() < kManyFiles || (last.isOpen() && syncVolume(last));
    last.close();
    // Folder by folder, so that each is looked at once after all its files.
    std::map<std::string, std::vector<std::size_t>> folders;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (!written[i].good)
            continue;
        const FileResult result = synced ? FileResult() : syncOne(written[i]);
        if (result.ok())
            folders[files[i].path.substr(0, files[i].path.size() - written[i].leaf.size())].push_back(i);
        else
            failed(i, result);
    }
    for (const auto &folder : folders) {
        std::vector<TargetTree::Placement> placements(folder.second.size());
        for (std::size_t at = 0; at < placements.size(); ++at) {
            const std::size_t i = folder.second[at];
            placements[at].cache = written[i].cache;
            placements[at].path = files[i].path;
            placements[at].size = files[i].data.size();
            placements[at].id = written[i].id;
        }
        const SafeFolder &handle = written[folder.second.front()].folder;
        tree.putInPlace(handle, placements);
        for (std::size_t at = 0; at < placements.size(); ++at) {
            results[folder.second[at]].item.created = placements[at].created;
            if (!placements[at].result.ok())
                failed(folder.second[at], placements[at].result);
        }
    }
    // The first one mostly brings the names in all of them to the disk.
    for (const auto &folder : folders)
        (void)written[folder.second.front()].folder.syncFolder("");
    return results;
}

} // namespace zpdt
