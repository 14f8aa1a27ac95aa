#pragma once

#include <QCoreApplication>
#include <QSet>
#include <QStringList>

/// What is asked when names that are to be transferred exist at the target already. A plain value.
class CollisionQuestion
{
    Q_DECLARE_TR_FUNCTIONS(CollisionQuestion)

public:
    /// @param files, folders names to transfer, in their order
    /// @param existing names at the target; compared as they stand
    CollisionQuestion(const QStringList &files, const QStringList &folders, const QSet<QString> &existing);

    bool isNeeded() const { return !m_text.isEmpty(); }
    /// Names the first file and the first folder that collide.
    QString text() const { return m_text; }
    /// "Merge(Replace)", "Replace" or "Merge".
    QString button() const { return m_button; }

private:
    QString m_text;
    QString m_button;
};
