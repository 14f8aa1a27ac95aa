#include "AboutText.h"

#include <QStringList>
#include <QSysInfo>
#include <QUrl>

namespace {

/// What goes with the program or is linked by it.
struct Software
{
    const char *name;
    const char *licence;
};
const Software kSoftware[] = {{"Qt 5", "LGPL 3"},           {"OpenSSL 3", "Apache 2.0"}, {"Asio", "Boost 1.0"},
                              {"xxHash", "BSD 2-Clause"},   {"SQLite", "Public Domain"}, {"nlohmann json", "MIT"},
                              {"spdlog, fmt", "MIT"},       {"OpenEXR", "BSD 3-Clause"}, {"zlib", "zlib"},
                              {"KImageFormats", "LGPL 2.1"}};

QString link(const QString &address, const QString &text)
{
    const QString scheme = QUrl(address).scheme();
    if (scheme != QLatin1String("http") && scheme != QLatin1String("https"))
        return {};
    return QStringLiteral("<a href=\"%1\">%2</a>").arg(address.toHtmlEscaped(), text.toHtmlEscaped());
}

} // namespace

QString AboutText::html(const QString &version, const QString &agreement, const QString &site)
{
    const QString rowText = QStringLiteral("<tr><td style=\"padding-right:18px\">%1</td><td>%2</td></tr>");
    QString html = QStringLiteral("<p style=\"font-size:large\"><b>NRX Net Disk</b></p><table>");
    html += rowText.arg(tr("Version"), version.toHtmlEscaped());
    html += rowText.arg(tr("Build"),
                        QStringLiteral(__DATE__) + QStringLiteral(", ") + QSysInfo::buildAbi().toHtmlEscaped());
    html += rowText.arg(QStringLiteral("Qt"), QString::fromLatin1(qVersion()));
    html += QStringLiteral("</table>");
    QStringList links{link(agreement, tr("User agreement")), link(site, tr("Help"))};
    links.removeAll(QString());
    if (!links.isEmpty())
        html += QStringLiteral("<p>%1</p>").arg(links.join(QStringLiteral(" &nbsp; ")));
    html += QStringLiteral("<p>%1</p><table>")
                .arg(tr("This program uses the software below. Each is under the licence named.").toHtmlEscaped());
    for (const Software &software : kSoftware)
        html += rowText.arg(QLatin1String(software.name), QLatin1String(software.licence));
    return html + QStringLiteral("</table>");
}
