#pragma once

#include <chrono>
#include <functional>
#include <utility>

namespace arkvale::service {

/// Whether what was allowed when it began is so still; asks for that at most once a second. Used by one thread at a
/// time; a copy asks for itself.
class Permission
{
public:
    /// For good.
    Permission() = default;
    /// @param ask may take the time of a look into the database
    explicit Permission(std::function<bool()> ask)
        : m_ask(std::move(ask))
    {
    }

    bool holds()
    {
        const auto now = std::chrono::steady_clock::now();
        if (m_ask && m_holds && now - m_asked >= std::chrono::seconds(1)) {
            m_holds = m_ask();
            m_asked = now;
        }
        return m_holds;
    }

private:
    std::function<bool()> m_ask;
    std::chrono::steady_clock::time_point m_asked = std::chrono::steady_clock::now();
    bool m_holds = true;
};

} // namespace arkvale::service
