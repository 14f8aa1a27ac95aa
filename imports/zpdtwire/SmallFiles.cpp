#include "SmallFiles.h"

#include "BlockHash.h"
#include "DiskHints.h"
#include "TargetTree.h"
#include "TreeScan.h"

namespace zpdt {

namespace {

struct Written
{
    SafeFolder folder;
    std::string leaf;
    std::string cache;
    SafeFile file;
};

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

FileResult writeOne(TargetTree &tree, const SmallFile &small, Written &written)
{
    FileResult result = tree.parentOf(small.path, written.folder, written.leaf);
    if (!result.ok())
        return result;
    written.cache = cacheNameOf(written.leaf);
    result = written.folder.openWrite(written.cache, {true, false, true}, written.file);
    if (result.ok() && !small.data.empty())
        result = written.file.writeAt(0, small.data.data(), small.data.size());
    if (result.ok())
        result = written.file.setModified(small.modifiedMs * kNsPerMs);
    if (result.ok())
        startWriteback(written.file);
    return result;
}

} // namespace

std::vector<SmallFileResult> storeSmallFiles(TargetTree &tree, const std::vector<SmallFile> &files)
{
    std::vector<SmallFileResult> results(files.size());
    std::vector<Written> written(files.size());
    const auto failed = [&](std::size_t i, const FileResult &result) {
        results[i].error = errorOf(result);
        results[i].text = result.message();
        written[i].file.close();
        if (!written[i].cache.empty())
            (void)written[i].folder.removeFile(written[i].cache);
    };
    for (std::size_t i = 0; i < files.size(); ++i) {
        results[i].no = files[i].no;
        results[i].size = files[i].data.size();
        if (!intact(files[i])) {
            results[i].damaged = true;
            continue;
        }
        const FileResult result = writeOne(tree, files[i], written[i]);
        if (!result.ok())
            failed(i, result);
    }
    std::vector<SafeFolder> folders;
    std::string lastParent;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (!written[i].file.isOpen())
            continue;
        FileResult result = written[i].file.sync();
        if (result.ok())
            result = written[i].file.close();
        if (result.ok())
            result = tree.putInPlace(written[i].folder, written[i].cache, written[i].leaf, files[i].data.size(),
                                     results[i].item.created);
        if (!result.ok()) {
            failed(i, result);
            continue;
        }
        const std::string parent = files[i].path.substr(0, files[i].path.size() - written[i].leaf.size());
        if (folders.empty() || parent != lastParent)
            folders.push_back(written[i].folder);
        lastParent = parent;
    }
    for (const SafeFolder &folder : folders)
        (void)folder.syncFolder("");
    return results;
}

} // namespace zpdt
