#pragma once

#include <QString>

#include <string>

namespace arkvale::service {

/// "Contains, upper and lower case being one" for file names in any script, also where one side writes an accent as a
/// character of its own. May be used from any thread.
class NameMatch
{
public:
    explicit NameMatch(const std::string &keyword);

    bool isEmpty() const { return m_keyword.isEmpty(); }
    /// @param name well-formed UTF-8
    bool matches(const std::string &name) const;

private:
    QString m_keyword;
    std::string m_ascii; ///< the keyword in lower case when it is ASCII, else empty
};

} // namespace arkvale::service
