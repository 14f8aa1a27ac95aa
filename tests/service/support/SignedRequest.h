#pragma once

#include <QByteArray>

/// The parts of a signed request, each of which a test may bend. Signs by docs/protocol.md alone and shares no code
/// with the service.
struct SignedRequest
{
    QByteArray user;
    QByteArray accessId;
    QByteArray token;
    QByteArray method = "GET";
    QByteArray target; ///< path and query, as sent
    QByteArray body;
    qint64 time = 0;  ///< 0: now
    QByteArray nonce; ///< empty: random

    /// Time, nonce, digest and signature as header lines.
    QByteArray headers() const;
    QByteArray text() const;
};
