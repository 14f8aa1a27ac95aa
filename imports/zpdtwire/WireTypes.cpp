#include "WireTypes.h"

namespace zpdt {

const char *errorName(Error error)
{
    switch (error) {
    case Error::None:
        return "none";
    case Error::Network:
        return "network";
    case Error::Refused:
        return "refused";
    case Error::NotFound:
        return "not found";
    case Error::NoSpace:
        return "no space";
    case Error::ChangedSource:
        return "source changed";
    case Error::BadName:
        return "bad name";
    case Error::Integrity:
        return "integrity";
    case Error::Cancelled:
        return "cancelled";
    case Error::LocalFile:
        return "file access";
    }
    return "unknown";
}

} // namespace zpdt
