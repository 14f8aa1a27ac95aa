#include "ItemJson.h"

namespace arkvale::service {

void appendJsonText(std::string &json, const std::string &text)
{
    static const char digits[] = "0123456789abcdef";
    json += '"';
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            json += '\\';
            json += c;
        } else if (byte < 0x20 || byte == 0x7f) {
            json += "\\u00";
            json += digits[byte >> 4];
            json += digits[byte & 15u];
        } else {
            json += c;
        }
    }
    json += '"';
}

void appendItem(std::string &json, const std::string &name, const std::string &path, const zpdt::FileStat &stat,
                ContentTypes &types)
{
    const ContentTypes::Type type = stat.isFolder() ? ContentTypes::ofFolder() : types.ofFile(name);
    // Milliseconds, rounded down also before 1970.
    const std::int64_t ns = stat.modifiedNs;
    const std::string time = std::to_string(ns >= 0 ? ns / 1000000 : -((-ns + 999999) / 1000000));
    json += "{\"name\":";
    appendJsonText(json, name);
    json += stat.isFolder() ? ",\"type\":1,\"size\":" : ",\"type\":0,\"size\":";
    json += std::to_string(stat.size);
    json += ",\"icon\":";
    appendJsonText(json, type.icon);
    json += ",\"datetime\":" + time + ",\"modifiedTime\":" + time + ",\"path\":";
    appendJsonText(json, path);
    json += ",\"contentType\":";
    appendJsonText(json, type.contentType);
    json += '}';
}

void ItemList::next()
{
    if (m_count++ > 0)
        m_json += ',';
}

void ItemList::add(const std::string &name, const std::string &path, const zpdt::FileStat &stat)
{
    next();
    appendItem(m_json, name, path, stat, m_types);
}

void ItemList::addName(const std::string &name, bool isFolder)
{
    next();
    m_json += "{\"name\":";
    appendJsonText(m_json, name);
    m_json += isFolder ? ",\"type\":1}" : ",\"type\":0}";
}

std::string ItemList::take(const std::string &extra)
{
    std::string whole = std::move(m_json);
    whole += "]" + extra + "}";
    m_json = "{\"items\":[";
    m_count = 0;
    return whole;
}

} // namespace arkvale::service
