#include "NameMatch.h"

#include <algorithm>

namespace arkvale::service {

namespace {

bool isAscii(const std::string &text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

char lower(char c)
{
    return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
}

QString folded(const std::string &text)
{
    return QString::fromStdString(text).normalized(QString::NormalizationForm_C).toCaseFolded();
}

} // namespace

NameMatch::NameMatch(const std::string &keyword)
    : m_keyword(folded(keyword))
{
    if (isAscii(keyword)) {
        m_ascii = keyword;
        std::transform(m_ascii.begin(), m_ascii.end(), m_ascii.begin(), lower);
    }
}

bool NameMatch::matches(const std::string &name) const
{
    if (isAscii(name)) {
        return !m_ascii.empty() && std::search(name.begin(), name.end(), m_ascii.begin(), m_ascii.end(),
                                               [](char a, char b) { return lower(a) == b; }) != name.end();
    }
    return folded(name).contains(m_keyword);
}

} // namespace arkvale::service
