#include "NavigationHistory.h"

void NavigationHistory::intoFolder(const QString &path)
{
    m_forward.clear();
    if (!m_current.kind.isEmpty())
        m_backward.push(m_current);
    m_current.kind = QStringLiteral("IntoFolder");
    m_current.path = path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
    m_current.title = path;
    dropDuplicate();
    m_action = m_current.kind;
}

void NavigationHistory::searchFile(const QString &keyword, const QString &title)
{
    m_forward.clear();
    m_backward.push(m_current);
    m_current = {QStringLiteral("SearchFile"), QStringLiteral("/"), title, keyword};
    dropDuplicate();
    m_action = m_current.kind;
}

bool NavigationHistory::forward()
{
    if (m_forward.isEmpty())
        return false;
    m_backward.push(m_current);
    m_current = m_forward.pop();
    m_action = QStringLiteral("forward");
    return true;
}

bool NavigationHistory::backward()
{
    if (m_backward.isEmpty())
        return false;
    m_forward.push(m_current);
    m_current = m_backward.pop();
    m_action = QStringLiteral("backward");
    return true;
}

void NavigationHistory::back()
{
    QStack<NavigationEntry> *from = nullptr;
    if (m_action == QLatin1String("forward") || m_action == QLatin1String("IntoFolder"))
        from = &m_backward;
    else if (m_action == QLatin1String("backward"))
        from = &m_forward;
    if (from && !from->isEmpty())
        m_current = from->pop();
}

void NavigationHistory::dropDuplicate()
{
    // Going to the place where one is leaves one entry, not two.
    if (!m_backward.isEmpty() && m_backward.top() == m_current)
        m_backward.pop();
}
