#pragma once

#include <QUrl>

/// Opens a web page in the system's browser. Only http and https addresses with a host are opened: an address may come
/// from a settings file or from the service, and no other scheme may start a program here. Returns false otherwise.
bool openWebPage(const QUrl &url);
