#include "ShareTexts.h"

#include <QRandomGenerator>

namespace {

constexpr int kNamedUsers = 2;
constexpr int kPasswordLength = 12;

} // namespace

QString ShareTexts::audience(const ShareRecord &record)
{
    if (record.shareType == ShareRecord::PublicLink)
        return tr("Everybody with the link");
    if (record.shareType == ShareRecord::PrivateLink)
        return tr("Whoever has link and password");
    const QString named = QStringList(record.shareTo.mid(0, kNamedUsers)).join(QStringLiteral(", "));
    const int more = record.shareTo.size() - kNamedUsers;
    return more > 0 ? tr("%1 and %2 more").arg(named).arg(more) : named;
}

QString ShareTexts::invitation(const ShareRecord &record)
{
    if (record.password.isEmpty())
        return record.link;
    return record.link + QLatin1Char('\n') + tr("Password: %1").arg(record.password);
}

QString ShareTexts::proposedPassword()
{
    static const char letters[] = "abcdefghijkmnpqrstuvwxyzABCDEFGHJKLMNPQRSTUVWXYZ23456789";
    QString password;
    for (int i = 0; i < kPasswordLength; ++i)
        password += QLatin1Char(letters[QRandomGenerator::system()->bounded(int(sizeof letters) - 1)]);
    return password;
}
