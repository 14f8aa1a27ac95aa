#pragma once

#include "SafeFolder.h"

#include <string>

namespace arkvale::service {

/// How an operation on a drive ended: the HTTP status it stands for and, unless it is 200, a word for programs and an
/// English sentence for people. A plain value.
struct Outcome
{
    int status = 200;
    std::string word;
    std::string message;

    bool ok() const { return status == 200; }

    static Outcome failure(int status, const std::string &word, const std::string &message);
    /// @param path the path of the drive that the sentence is to name
    static Outcome of(const zpdt::FileResult &result, const std::string &path);
    static Outcome quotaExceeded();
    static Outcome cancelled();
};

} // namespace arkvale::service
