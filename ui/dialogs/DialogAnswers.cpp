#include "DialogAnswers.h"

#include <QDialog>
#include <QTimer>

static DialogAnswers *s_current = nullptr;

DialogAnswers::DialogAnswers()
    : m_previous(s_current)
{
    s_current = this;
}

DialogAnswers::~DialogAnswers()
{
    s_current = m_previous;
}

void DialogAnswers::accept()
{
    m_answers << [](QDialog *dialog) { dialog->accept(); };
}

void DialogAnswers::reject()
{
    m_answers << [](QDialog *dialog) { dialog->reject(); };
}

void DialogAnswers::answer(const Answer &answer)
{
    m_answers << answer;
}

void DialogAnswers::dialogShown(QDialog *dialog, const QString &title, const QString &text)
{
    if (!s_current)
        return;
    s_current->m_shown << Shown{QString::fromLatin1(dialog->metaObject()->className()), title, text};
    Answer answer = [](QDialog *shown) { shown->reject(); };
    if (!s_current->m_answers.isEmpty())
        answer = s_current->m_answers.takeFirst();
    // From the event loop, so that the dialog's own loop runs when the answer comes, as with a person.
    QTimer::singleShot(0, dialog, [dialog, answer] { answer(dialog); });
}
