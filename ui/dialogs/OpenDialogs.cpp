#include "OpenDialogs.h"

#include <QApplication>
#include <QDialog>
#include <QPointer>

void rejectOpenDialogs(const QDialog *except)
{
    while (QWidget *popup = QApplication::activePopupWidget()) {
        popup->close();
        if (QApplication::activePopupWidget() == popup)
            break; // it does not let itself be closed
    }
    // Rejecting one may destroy others.
    QList<QPointer<QDialog>> open;
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        auto *dialog = qobject_cast<QDialog *>(window);
        if (dialog && dialog != except && dialog->isVisible())
            open << dialog;
    }
    for (const QPointer<QDialog> &dialog : qAsConst(open)) {
        // Past what the dialog's own reject() would ask or decide.
        if (dialog)
            dialog->QDialog::reject();
    }
}
