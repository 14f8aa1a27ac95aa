#pragma once

#include <optional>
#include <string>

namespace arkvale::service {

/// The pictures below "icons/". A file of the same name in the service's own icons folder comes first; everything else
/// is drawn: avatars and sub-centers in colours of their own, and one symbol for each kind of file. Thread-safe.
class Icons
{
public:
    /// @param folder may be missing
    explicit Icons(std::string folder)
        : m_folder(std::move(folder))
    {
    }

    /// PNG of @p name, such as "user/anna.png", "subcenter/2.png" or "file/image.png". A kind of file that is not
    /// known gets the plain sheet. Empty for any other name.
    std::optional<std::string> png(const std::string &name) const;

private:
    std::optional<std::string> stored(const std::string &name) const;

    const std::string m_folder;
};

} // namespace arkvale::service
