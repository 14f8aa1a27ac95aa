#pragma once

#include <vector>

namespace arkvale::service {

/// One file of the web page, as it was when the service was built.
struct WebFile
{
    const char *name;
    const char *type; ///< content type
    const char *content;
};

const std::vector<WebFile> &webFiles();

} // namespace arkvale::service
