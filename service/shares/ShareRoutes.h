#pragma once

#include "AccountStore.h"
#include "Context.h"
#include "FileRoutes.h"
#include "Router.h"
#include "ShareStore.h"
#include "SharedItems.h"

#include <functional>
#include <string>

namespace arkvale::service {

/// What the share routes work with. Everything outlives the server.
struct ShareServices
{
    AccountStore &accounts;
    ShareStore &shares;
    const SharedItems &items;
    FileRoutes &files;
    Context &context;
    std::string reportFolder;                                ///< for what users report; made when needed
    std::function<std::string(const Request &)> accountBase; ///< address as the caller reaches it
};

/// A file of a share; the whole request must have been judged. With @p attach a browser stores it and never shows it.
Response sharedFile(const Request &request, const SharedItem &item, const std::string &path, bool attach);

/// Everything below "shares/", below the account base (for shares of all sub-centers) and below each sub-center.
void registerShareRoutes(Router &router, const ShareServices &services);

} // namespace arkvale::service
