#pragma once

#include <mutex>
#include <string>
#include <unordered_map>

namespace arkvale::service {

/// Content type and kind of icon of a file by its name alone. May be used from any thread.
class ContentTypes
{
public:
    struct Type
    {
        std::string contentType; ///< "image/png"; "application/octet-stream" for what is not known
        std::string icon;        ///< address of the icon below the account base: "icons/file/image.png"
    };

    Type ofFile(const std::string &name);
    static Type ofFolder();

private:
    std::mutex m_mutex;
    std::unordered_map<std::string, Type> m_known; ///< by suffix
};

} // namespace arkvale::service
