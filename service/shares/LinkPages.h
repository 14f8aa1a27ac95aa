#pragma once

#include "LoginThrottle.h"
#include "Router.h"
#include "ShareStore.h"
#include "SharedItems.h"

#include <memory>
#include <string>

namespace arkvale::service {

/// What a browser sees of a share by link: a form for the password where there is one, then the item, or what lies in
/// the folder, to be downloaded. Nothing but the share is named. May be used from any thread.
class LinkPages
{
public:
    /// @param key secret that signs the cookies of those who know a password
    LinkPages(ShareStore &shares, const SharedItems &items, std::string key);

    /// "/s/{token}" with its form, and "/s/{token}/file".
    static void registerRoutes(Router &router, std::shared_ptr<LinkPages> pages);

private:
    Response page(const Request &request);
    Response file(const Request &request);
    Response unlock(const Request &request);
    /// The share and its item; a page that says why not otherwise.
    std::optional<Response> open(const Request &request, Share *share, SharedItem *item) const;
    bool isUnlocked(const Request &request, const Share &share) const;
    std::string cookie(const Share &share, std::int64_t expires) const;

    ShareStore &m_shares;
    const SharedItems &m_items;
    const std::string m_key;
    LoginThrottle m_throttle;
};

} // namespace arkvale::service
