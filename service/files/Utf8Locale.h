#pragma once

#include <clocale>
#ifdef _WIN32
#include <string>
#else
#include <locale.h>
#endif

namespace arkvale::service {

/// Makes UTF-8 the encoding of the calling thread while it lives, whatever the environment of the process says: the
/// archive library passes names through the locale.
class Utf8Locale
{
public:
#ifdef _WIN32
    // The library speaks UTF-16 with the system there.
    Utf8Locale() = default;
#else
    Utf8Locale()
        : m_locale(newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr)))
    {
        if (m_locale != static_cast<locale_t>(nullptr))
            m_previous = uselocale(m_locale);
    }
    ~Utf8Locale()
    {
        if (m_locale != static_cast<locale_t>(nullptr)) {
            uselocale(m_previous);
            freelocale(m_locale);
        }
    }
#endif
    Utf8Locale(const Utf8Locale &) = delete;
    Utf8Locale &operator=(const Utf8Locale &) = delete;

private:
#ifndef _WIN32
    locale_t m_locale;
    locale_t m_previous = static_cast<locale_t>(nullptr);
#endif
};

} // namespace arkvale::service
