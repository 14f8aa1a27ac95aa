#pragma once

#include <QString>

class QApplication;

/// The look of the program: one style sheet, written in the colours of a light desktop, with a palette that goes with
/// it. On a dark desktop each colour is replaced by its dark counterpart. Nothing of the desktop's own palette shows
/// through, so that texts are readable whatever it is.
namespace Theme {

/// The desktop is a dark one; the environment variable ARKVALE_THEME ("light" or "dark") decides otherwise.
bool isDark();
/// Sets style, palette and style sheet.
void apply(QApplication *application, bool dark);
/// @p sheet with every colour of the form #rrggbb replaced by its dark counterpart.
QString darkened(const QString &sheet);

} // namespace Theme
