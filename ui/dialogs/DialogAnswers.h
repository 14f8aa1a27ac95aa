#pragma once

#include <QList>
#include <QString>

#include <functional>

class QDialog;

/// Answers modal dialogs in a test program, where nobody sits before the screen. While an object of this class lives,
/// every MsgDlg, MsgDlgEx, MsgBox and SelectCenterDialog that opens is written down and, from the event loop, handed to
/// the oldest answer not yet used; without one it is rejected. In the product no object exists and nothing happens.
///
///     DialogAnswers answers;
///     answers.accept();                       // the next dialog: OK
///     answers.answer([](QDialog *d) { ... }); // the one after it: click what you like
///     ...
///     QCOMPARE(answers.shown().first().text, QString("Sure?"));
///
/// GUI thread only; the newest living object is the one that answers.
class DialogAnswers
{
public:
    /// What a dialog showed when it opened.
    struct Shown
    {
        QString className;
        QString title;
        QString text; ///< as the caller set it
    };
    using Answer = std::function<void(QDialog *)>;

    DialogAnswers();
    ~DialogAnswers();
    DialogAnswers(const DialogAnswers &) = delete;
    DialogAnswers &operator=(const DialogAnswers &) = delete;

    void accept();
    void reject();
    void answer(const Answer &answer);
    QList<Shown> shown() const { return m_shown; }
    /// Answers that no dialog asked for yet.
    int unused() const { return m_answers.size(); }

    /// Called by each dialog when it opens.
    static void dialogShown(QDialog *dialog, const QString &title, const QString &text);

private:
    QList<Answer> m_answers;
    QList<Shown> m_shown;
    DialogAnswers *m_previous;
};
