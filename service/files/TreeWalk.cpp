#include "TreeWalk.h"

#include "NameRules.h"

#include <vector>

namespace arkvale::service {

bool isVisible(const zpdt::SafeFolder::Entry &entry)
{
    return (entry.stat.isFile() || entry.stat.isFolder()) && zpdt::isValidUtf8(entry.name);
}

zpdt::FileResult walkTree(const zpdt::SafeFolder &folder, const std::string &start, bool tolerant,
                          const std::function<WalkStep(const WalkEntry &)> &visit)
{
    std::vector<std::string> waiting{start};
    WalkEntry found;
    bool stopped = false;
    while (!waiting.empty() && !stopped) {
        const std::string at = std::move(waiting.back());
        waiting.pop_back();
        const std::string prefix = at.empty() ? at : at + '/';
        const zpdt::FileResult result = folder.list(at, [&](const zpdt::SafeFolder::Entry &entry) {
            if (!isVisible(entry))
                return true;
            found.path = prefix + entry.name;
            found.name = entry.name;
            found.stat = entry.stat;
            const WalkStep step = visit(found);
            stopped = step == WalkStep::Stop;
            if (step == WalkStep::Go && entry.stat.isFolder())
                waiting.push_back(found.path);
            return !stopped;
        });
        const bool vanished = result.error == zpdt::FileError::NotFound && at != start;
        if (!result.ok() && !tolerant && !vanished)
            return result;
    }
    return {};
}

} // namespace arkvale::service
