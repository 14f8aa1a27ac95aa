#include "SystemBrowser.h"

#include <QDesktopServices>

bool openWebPage(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    if (scheme != QLatin1String("http") && scheme != QLatin1String("https"))
        return false;
    if (!url.isValid() || url.host().isEmpty())
        return false;
    return QDesktopServices::openUrl(url);
}
