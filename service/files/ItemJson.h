#pragma once

#include "ContentTypes.h"
#include "SafeFolder.h"

#include <string>

namespace arkvale::service {

/// Appends @p text as a JSON text, quotes included. @p text is well-formed UTF-8.
void appendJsonText(std::string &json, const std::string &text);

/// Appends the JSON object of one entry. @p path is its path on the drive.
void appendItem(std::string &json, const std::string &name, const std::string &path, const zpdt::FileStat &stat,
                ContentTypes &types);

/// Writes {"items":[...]} piece by piece: a listing of 100,000 entries is one text, never a tree of values.
class ItemList
{
public:
    explicit ItemList(ContentTypes &types)
        : m_json("{\"items\":[")
        , m_types(types)
    {
    }

    void add(const std::string &name, const std::string &path, const zpdt::FileStat &stat);
    void addName(const std::string &name, bool isFolder);
    std::size_t count() const { return m_count; }
    /// The whole text; the list is empty after it. @p extra is put in after the list, such as ",\"truncated\":true".
    std::string take(const std::string &extra = std::string());

private:
    void next();

    std::string m_json;
    std::size_t m_count = 0;
    ContentTypes &m_types;
};

} // namespace arkvale::service
