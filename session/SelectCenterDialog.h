#pragma once

#include "DialogFrame.h"

#include <QDialog>
#include <QList>
#include <QString>

class GlobalConfig;
class LoginService;
class QGridLayout;
class QLabel;
class QPushButton;
class QScrollArea;

/// Lets the person choose one of the sub-centers in which the user has a home; the others are shown but disabled. The
/// buttons follow the store while the dialog is open. Accepted: the chosen sub-center is the store's current one, and
/// the user's default when the default has no home. Closed without any choice: the session state is 1 (Cancel) or 6
/// (close button) and sigLogout() fired. GUI thread only.
class SelectCenterDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SelectCenterDialog(QWidget *parent = nullptr);
    ~SelectCenterDialog() override;

    /// Refreshes the buttons whenever @p service learnt more of a sub-center.
    void watch(LoginService *service);
    /// Empty while none is chosen.
    QString chosenId() const { return m_chosen; }

    /// The current sub-center cannot be opened: there is none, the service does not list it, or the user has no home
    /// in it. False also while that is not known yet, see undecided().
    static bool needed();
    /// Whether a choice is needed is not known yet: the list of sub-centers, or the answer of the current one, is still
    /// to come (LoginService::handlerCheckSubCenterFinished() tells when to look again).
    static bool undecided();

signals:
    /// The choice was accepted; carries the id of the sub-center.
    void centerSelected(QString centerName);
    void sigLogout();

public slots:
    /// Takes over what the store knows of the sub-centers now; the choice stays while it can be opened.
    void refreshSubCenter();
    void initSubCenter();
    void onClick();
    void onCancel();
    void onExit();
    void accept() override;
    /// Esc, as Cancel.
    void reject() override;

protected:
    void closeEvent(QCloseEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    QPushButton *findButton(const QString &id) const;
    bool anyChecked() const;
    void fit(int count);
    void finish(int stateWithoutChoice);

    GlobalConfig *m_config;
    DialogFrame m_frame;
    QString m_chosen;
    QStringList m_ids; ///< of the buttons, in their order
    QWidget *m_list;
    QGridLayout *m_grid;
    QScrollArea *m_scroll;
    QLabel *m_prompt;
    QLabel *m_hint;
    QPushButton *m_ok;
    QPushButton *m_cancel;
};
