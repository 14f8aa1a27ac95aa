#pragma once

#include "Router.h"
#include "UpdateStore.h"

namespace arkvale::service {

/// The paths below "/updates/", open to everyone: what is served there is public, and signed.
void registerUpdateRoutes(Router &router, const UpdateStore &store);

} // namespace arkvale::service
