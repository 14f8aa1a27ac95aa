// Names and paths of other people: what is let through stays below its folder.

#include "FuzzInput.h"
#include "NameRules.h"
#include "TargetTree.h"
#include "TreeScan.h"

using namespace zpdt;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput in(data, size);
    const std::string text = in.rest();
    std::vector<std::string> names;
    if (splitPath(text, names)) {
        std::vector<std::string> again;
        for (const std::string &name : names)
            require(validComponent(name) && name != ".." && name != "." && !name.empty() && isValidUtf8(name) &&
                    name.find('/') == std::string::npos && name.size() <= kMaxNameBytes);
        require(splitPath(joinPath(names), again) && again == names);
        if (!names.empty())
            require(isCacheName(cacheNameOf(names.back())) && validComponent(cacheNameOf(names.back())));
    }
    (void)splitDrivePath(text, names);
    (void)validWindowsComponent(text);
    return 0;
}
