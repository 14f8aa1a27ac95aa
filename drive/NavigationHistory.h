#pragma once

#include <QStack>
#include <QString>

/// One location of a page: a folder or a search.
struct NavigationEntry
{
    QString kind;    ///< "IntoFolder", "SearchFile", empty before the first location
    QString path;    ///< ends in "/"
    QString title;   ///< the folder as it was asked for, or the title of the search
    QString keyword; ///< the text searched for; a folder keeps that of the entry before it

    bool operator==(const NavigationEntry &other) const
    {
        return kind == other.kind && path == other.path && title == other.title && keyword == other.keyword;
    }
};

/// Where a page is and the ways back and forward. Requests nothing itself. A plain value.
class NavigationHistory
{
public:
    const NavigationEntry &current() const { return m_current; }
    /// The last move: "IntoFolder", "SearchFile", "forward" or "backward".
    QString action() const { return m_action; }

    void intoFolder(const QString &path);
    void searchFile(const QString &keyword, const QString &title);
    /// False when there is nowhere to go; nothing has changed then.
    bool forward();
    bool backward();
    void refresh() { m_action = m_current.kind; }
    /// Undoes the last move; the location it led to is forgotten.
    void back();

    bool canForward() const { return !m_forwardStack.isEmpty(); }
    bool canBackward() const { return !m_backwardStack.isEmpty(); }
    void clearForward() { m_forwardStack.clear(); }
    void clearBackward() { m_backwardStack.clear(); }

private:
    void dropDuplicate();

    NavigationEntry m_current;
    QString m_action;
    QStack<NavigationEntry> m_backwardStack;
    QStack<NavigationEntry> m_forwardStack;
};
