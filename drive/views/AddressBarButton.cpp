#include "AddressBarButton.h"

#include "FileTexts.h"

AddressBarButton::AddressBarButton(const QString &name, const QString &path, QWidget *parent)
    : QToolButton(parent)
    , m_name(name)
    , m_path(path)
{
    // An ampersand in a name is no shortcut.
    QString shownName = fontMetrics().elidedText(FileTexts::line(name), Qt::ElideMiddle, 200);
    shownName.replace(QLatin1Char('&'), QLatin1String("&&"));
    setText(shownName);
    setToolTip(FileTexts::plainToolTip(FileTexts::line(path)));
    setAccessibleName(FileTexts::line(name));
    setToolButtonStyle(Qt::ToolButtonTextOnly);
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
}
