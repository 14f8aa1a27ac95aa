#pragma once

#include <QSslConfiguration>

/// A fresh self-signed certificate for @p host with its key, as the configuration of a TLS server.
QSslConfiguration makeServerTls(const QByteArray &host);
