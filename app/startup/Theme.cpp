#include "Theme.h"

#include "ProcessSetup.h"

#include <QApplication>
#include <QColor>
#include <QFile>
#include <QHash>
#include <QPalette>
#include <QRegularExpression>
#include <QStyleFactory>

namespace {

// Grounds and lines, whose order of brightness is not simply turned round: what lies on top stays the brighter one.
const QHash<QString, QString> &darkGrounds()
{
    static const QHash<QString, QString> table = {
        {QStringLiteral("#ffffff"), QStringLiteral("#242a33")},
        {QStringLiteral("#f4f6fa"), QStringLiteral("#1b1f26")},
        {QStringLiteral("#fafbfd"), QStringLiteral("#272d37")},
        {QStringLiteral("#f7faff"), QStringLiteral("#2a313c")},
        {QStringLiteral("#f7f9fc"), QStringLiteral("#20252d")},
        {QStringLiteral("#f1f3f7"), QStringLiteral("#20252d")},
        {QStringLiteral("#2f6fde"), QStringLiteral("#5b93f5")},
        {QStringLiteral("#2459b8"), QStringLiteral("#8ab2fa")},
        {QStringLiteral("#3c7bea"), QStringLiteral("#6d9ff7")},
        {QStringLiteral("#24324a"), QStringLiteral("#dde3ec")},
        {QStringLiteral("#66758c"), QStringLiteral("#98a5b8")},
        {QStringLiteral("#c8443c"), QStringLiteral("#f0766e")},
        // Edges of fields and boxes, and lines.
        {QStringLiteral("#cfd8e6"), QStringLiteral("#4a5567")},
        {QStringLiteral("#b7c3d4"), QStringLiteral("#76859b")},
        {QStringLiteral("#dfe5ee"), QStringLiteral("#373f4c")},
        {QStringLiteral("#e6ebf3"), QStringLiteral("#323944")},
        {QStringLiteral("#c3cddc"), QStringLiteral("#4a5567")},
    };
    return table;
}

QString darkOf(const QString &name)
{
    const auto known = darkGrounds().constFind(name);
    if (known != darkGrounds().constEnd())
        return *known;
    const QColor colour(name);
    // Brightness turned round, into the range between the dark ground and its ink; a tint stays a hint of one.
    const qreal lightness = 0.14 + (1.0 - colour.lightnessF()) * 0.74;
    QColor dark;
    dark.setHslF(qMax(0.0, colour.hslHueF()), qMin(0.45, colour.hslSaturationF()), lightness);
    return dark.name();
}

QPalette paletteOf(bool dark)
{
    const auto colour = [dark](const char *name) {
        const QString light = QString::fromLatin1(name);
        return QColor(dark ? darkOf(light) : light);
    };
    const QColor ink = colour("#24324a");
    const QColor faint = colour("#a3aebd");
    QPalette palette(colour("#f4f6fa"));
    palette.setColor(QPalette::Window, colour("#f4f6fa"));
    palette.setColor(QPalette::Base, colour("#ffffff"));
    palette.setColor(QPalette::AlternateBase, colour("#e8f0fe"));
    palette.setColor(QPalette::ToolTipBase, colour("#ffffff"));
    palette.setColor(QPalette::Button, colour("#ffffff"));
    for (QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText, QPalette::BrightText})
        palette.setColor(role, ink);
    for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, faint);
    palette.setColor(QPalette::PlaceholderText, colour("#66758c"));
    palette.setColor(QPalette::Mid, faint);
    palette.setColor(QPalette::Midlight, colour("#dfe5ee"));
    palette.setColor(QPalette::Highlight, colour("#2f6fde"));
    palette.setColor(QPalette::HighlightedText, dark ? colour("#f4f6fa") : QColor(Qt::white));
    palette.setColor(QPalette::Link, colour("#2459b8"));
    palette.setColor(QPalette::LinkVisited, colour("#2459b8"));
    return palette;
}

} // namespace

bool Theme::isDark()
{
    const QByteArray wanted = qgetenv("ARKVALE_THEME");
    if (!wanted.isEmpty())
        return wanted == "dark";
    return ProcessSetup::prefersDark();
}

QString Theme::darkened(const QString &sheet)
{
    static const QRegularExpression colour(QStringLiteral("#[0-9a-fA-F]{6}\\b"));
    QString result;
    int from = 0;
    for (auto it = colour.globalMatch(sheet); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        result += sheet.mid(from, match.capturedStart() - from) + darkOf(match.captured().toLower());
        from = match.capturedEnd();
    }
    return result + sheet.mid(from);
}

void Theme::apply(QApplication *application, bool dark)
{
    application->setStyleSheet(QString());
    // The desktop's own style draws what the sheet leaves to it in colours of its own.
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(paletteOf(dark));
    QFile file(QStringLiteral(":/ArkvaleTolmaMain/style.qss"));
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QString sheet = QString::fromUtf8(file.readAll());
    application->setStyleSheet(dark ? darkened(sheet) : sheet);
}
