#include "Outcome.h"

namespace arkvale::service {

Outcome Outcome::failure(int status, const std::string &word, const std::string &message)
{
    return {status, word, message};
}

Outcome Outcome::of(const zpdt::FileResult &result, const std::string &path)
{
    using zpdt::FileError;
    const std::string named = "\"" + path + "\"";
    switch (result.error) {
    case FileError::None:
        return {};
    case FileError::NotFound:
        return failure(404, "not-found", named + " does not exist.");
    case FileError::NotFolder:
        return failure(404, "not-a-folder", named + " is not a folder.");
    case FileError::Exists:
        return failure(409, "exists", named + " exists already.");
    case FileError::IsFolder:
        return failure(409, "is-a-folder", named + " is a folder.");
    case FileError::NotEmpty:
        return failure(409, "not-empty", named + " is not empty.");
    case FileError::BadName:
        return failure(400, "bad-name", named + " is not a name that can be stored.");
    case FileError::Denied:
        return failure(403, "denied", named + " cannot be reached.");
    case FileError::NoSpace:
        return failure(507, "no-space", "The disk of the service is full.");
    case FileError::Other:
        break;
    }
    return failure(500, "disk", named + ": " + result.message() + ".");
}

Outcome Outcome::quotaExceeded()
{
    return failure(507, "quota", "The storage of the account is used up.");
}

Outcome Outcome::cancelled()
{
    return failure(503, "stopping", "The service is stopping.");
}

} // namespace arkvale::service
