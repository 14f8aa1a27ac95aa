#pragma once

#include "HttpLanes.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

class OrvClient;

/// One row of the table of operations: how an operation is asked and how its answer is told. Times and limits are
/// those of HttpLanes; the wire is described in docs/protocol.md.
struct OrvOperation
{
    enum Flag
    {
        NoFlags = 0,
        Unsigned = 1,     ///< never carries the access pair
        Login = 2,        ///< a 401 tells of a wrong password, not of an expired session
        MissingIs203 = 4, ///< a 404 means that there is nothing, which the caller shows as such
        JobIs202 = 8,     ///< a job that ended well is reported as 202 and not as 200
        ToFile = 16,      ///< the body goes to a file
        NoSizeLimit = 32  ///< with ToFile: a file of any size
    };
    using Answer = void (OrvClient::*)(qint64, int, QByteArray);

    const char *method;
    const char *path; ///< below the base address; "%1" stands for an encoded name
    Answer answer;
    int flags = NoFlags;
    HttpLanes::Lane lane = HttpLanes::Quick;

    bool has(Flag flag) const { return (flags & flag) != 0; }
};

/// What one call asks for.
struct OrvRequest
{
    QUrl url;        ///< whole address; not valid when the service address is none
    QByteArray body; ///< JSON, or empty
    bool sign = true;
    QString localFile; ///< target of an operation that goes to a file
    int failed = 0;    ///< a LocalError known before anything was sent, else 0
};

/// The client's code for an HTTP status.
/// @param word value of "error" in an error body
int orvStatus(const OrvOperation &operation, int httpStatus, const QString &word, bool wasSigned);

/// The value of "error" in an error body; empty when there is none.
QString orvErrorWord(const QByteArray &body);

/// Scheme, host and port in one text, for comparing.
QByteArray orvOrigin(const QUrl &url);

/// True for an http or https address with a host.
bool orvIsHttp(const QUrl &url);
