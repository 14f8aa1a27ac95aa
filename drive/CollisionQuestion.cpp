#include "CollisionQuestion.h"

#include "FileTexts.h"

namespace {

QString firstOf(const QStringList &names, const QSet<QString> &existing)
{
    for (const QString &name : names) {
        if (existing.contains(name))
            return QLatin1Char('"') + FileTexts::line(name) + QLatin1Char('"');
    }
    return {};
}

} // namespace

CollisionQuestion::CollisionQuestion(const QStringList &files, const QStringList &folders,
                                     const QSet<QString> &existing)
{
    const QString file = firstOf(files, existing), folder = firstOf(folders, existing);
    if (!file.isEmpty() && !folder.isEmpty()) {
        m_text = tr("The following file(s)/folder(s) exist: %1 etc.").arg(file + QLatin1String(", ") + folder);
        m_button = tr("Merge(Replace)");
    } else if (!file.isEmpty()) {
        m_text = tr("The following file(s) exist: %1 etc.").arg(file);
        m_button = tr("Replace");
    } else if (!folder.isEmpty()) {
        m_text = tr("The following folder(s) exist: %1 etc.").arg(folder);
        m_button = tr("Merge");
    }
}
