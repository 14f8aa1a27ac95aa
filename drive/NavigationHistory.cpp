#include "NavigationHistory.h"

void NavigationHistory::intoFolder(const QString &path)
{
    m_forwardStack.clear();
    if (!m_current.kind.isEmpty())
        m_backwardStack.push(m_current);
    m_current.kind = QStringLiteral("IntoFolder");
    m_current.path = path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
    m_current.title = path;
    dropDuplicate();
    m_action = m_current.kind;
}

void NavigationHistory::searchFile(const QString &keyword, const QString &title)
{
    m_forwardStack.clear();
    m_backwardStack.push(m_current);
    m_current = {QStringLiteral("SearchFile"), QStringLiteral("/"), title, keyword};
    dropDuplicate();
    m_action = m_current.kind;
}

bool NavigationHistory::forward()
{
    if (m_forwardStack.isEmpty())
        return false;
    m_backwardStack.push(m_current);
    m_current = m_forwardStack.pop();
    m_action = QStringLiteral("forward");
    return true;
}

bool NavigationHistory::backward()
{
    if (m_backwardStack.isEmpty())
        return false;
    m_forwardStack.push(m_current);
    m_current = m_backwardStack.pop();
    m_action = QStringLiteral("backward");
    return true;
}

void NavigationHistory::back()
{
    QStack<NavigationEntry> *from = nullptr;
    if (m_action == QLatin1String("forward") || m_action == QLatin1String("IntoFolder"))
        from = &m_backwardStack;
    else if (m_action == QLatin1String("backward"))
        from = &m_forwardStack;
    if (from && !from->isEmpty())
        m_current = from->pop();
}

void NavigationHistory::dropDuplicate()
{
    // Going to the place where one is leaves one entry, not two.
    if (!m_backwardStack.isEmpty() && m_backwardStack.top() == m_current)
        m_backwardStack.pop();
}
