#pragma once

namespace arkvale::service {

class Router;

/// Adds the web page and its parts at "/web" and "/web/{name}". They are the same for everybody and hold no secret;
/// what the page shows it asks for by signed requests like any other client.
void registerWebPage(Router &router);

} // namespace arkvale::service
