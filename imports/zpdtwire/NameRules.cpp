#include "NameRules.h"

#include <cstdint>

namespace zpdt {

namespace {

bool isDeviceName(const std::string &name)
{
    std::string stem;
    for (char c : name) {
        if (c == '.' || c == ':')
            break;
        stem += (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c;
    }
    while (!stem.empty() && stem.back() == ' ')
        stem.pop_back();
    for (const char *device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
        if (stem == device)
            return true;
    }
    const bool port = stem.compare(0, 3, "COM") == 0 || stem.compare(0, 3, "LPT") == 0;
    if (!port)
        return false;
    const std::string number = stem.substr(3);
    // The superscript digits count as digits of a port there.
    return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') || number == "\xC2\xB9" ||
           number == "\xC2\xB2" || number == "\xC2\xB3";
}

} // namespace

bool isValidUtf8(const std::string &text)
{
    const std::size_t size = text.size();
    for (std::size_t i = 0; i < size;) {
        const auto lead = static_cast<unsigned char>(text[i]);
        std::size_t length = 1;
        std::uint32_t code = lead;
        if (lead >= 0xF0 && lead < 0xF8) {
            length = 4;
            code = lead & 0x07u;
        } else if (lead >= 0xE0 && lead < 0xF0) {
            length = 3;
            code = lead & 0x0Fu;
        } else if (lead >= 0xC0 && lead < 0xE0) {
            length = 2;
            code = lead & 0x1Fu;
        } else if (lead >= 0x80) {
            return false;
        }
        if (i + length > size)
            return false;
        for (std::size_t k = 1; k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0u) != 0x80u)
                return false;
            code = (code << 6) | (next & 0x3Fu);
        }
        constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < kSmallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return false;
        i += length;
    }
    return true;
}

bool validWindowsComponent(const std::string &name)
{
    for (char c : name) {
        if (static_cast<unsigned char>(c) < 0x20 || std::string("<>:\"/\\|?*").find(c) != std::string::npos)
            return false;
    }
    return !name.empty() && name.back() != '.' && name.back() != ' ' && !isDeviceName(name);
}

bool validComponent(const std::string &name)
{
    if (name.empty() || name == "." || name == ".." || name.size() > kMaxNameBytes || !isValidUtf8(name))
        return false;
    if (name.find('/') != std::string::npos || name.find('\0') != std::string::npos)
        return false;
#ifdef _WIN32
    return validWindowsComponent(name);
#else
    return true;
#endif
}

bool splitPath(const std::string &path, std::vector<std::string> &names)
{
    names.clear();
    std::size_t begin = 0;
    while (begin <= path.size()) {
        std::size_t end = path.find('/', begin);
        if (end == std::string::npos)
            end = path.size();
        if (end > begin) {
            std::string name = path.substr(begin, end - begin);
            if (!validComponent(name) || names.size() >= kMaxPathDepth) {
                names.clear();
                return false;
            }
            names.push_back(std::move(name));
        }
        begin = end + 1;
    }
    return true;
}

bool splitDrivePath(const std::string &path, std::vector<std::string> &names)
{
    names.clear();
    return !path.empty() && path[0] == '/' && splitPath(path, names);
}

std::string joinPath(const std::vector<std::string> &names)
{
    std::string path;
    for (const std::string &name : names) {
        if (!path.empty())
            path += '/';
        path += name;
    }
    return path;
}

} // namespace zpdt
