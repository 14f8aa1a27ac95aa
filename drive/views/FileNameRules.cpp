#include "FileNameRules.h"

#include <QRegularExpression>

QString FileNameRules::pattern()
{
    return QStringLiteral(R"(^[^.\\/:\*?\"<>|]{1}[^\\/:\*?\"<>|]{0,254}$)");
}

bool FileNameRules::matches(const QString &name)
{
    static const QRegularExpression rule(pattern());
    return rule.match(name).hasMatch();
}

QString FileNameRules::refusal(const QString &name, const QSet<QString> &existing)
{
    if (name.isEmpty())
        return tr("Please enter the file name!");
    return existing.contains(name) ? tr("File name already exists!") : QString();
}

QString FileNameRules::renameRefusal(const QString &name, const QString &oldName, const QSet<QString> &existing)
{
    if (!name.isEmpty() && name.compare(oldName, Qt::CaseInsensitive) == 0)
        return tr("Consistent with the original file name!");
    return refusal(name, existing);
}

QString FileNameRules::archiveName(const QString &name)
{
    return name.endsWith(QLatin1String(".zip")) ? name : name + QLatin1String(".zip");
}
