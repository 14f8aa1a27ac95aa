#pragma once

#include "DialogFrame.h"

#include <QDialog>

class QButtonGroup;
class QStackedWidget;

/// The settings dialog: pages "page_..." that are chosen by buttons "btn_...". A page that the installation's option
/// "SubPage" sets to 0 is not offered. GUI thread only.
class Settings : public QDialog
{
    Q_OBJECT

public:
    explicit Settings(QWidget *parent = nullptr);
    ~Settings() override;

    /// Makes it a part of the window that it is put into, without a frame of its own. Before it is shown.
    void embed();
    /// The installation lets its users see the settings.
    static bool offered();

signals:
    /// @param subCenterId the sub-center whose transfer parameters were set
    void SettingChanged(QString subCenterId);
    /// How many tasks run at once was set.
    void concurrenceChanged();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void addPage(QWidget *page, const QString &option, const QString &title);

    DialogFrame m_frame;
    QButtonGroup *m_buttons;
    QStackedWidget *m_pages;
};
