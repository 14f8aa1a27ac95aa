#include "MessageDialog.h"

#include "MessageText.h"
#include "MovableGroupBox.h"

#include <QEvent>
#include <QLabel>
#include <QVBoxLayout>

MessageDialog::MessageDialog(const Texts &texts, QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_text(new MessageText(this))
{
    setModal(true);
    setWindowTitle(texts.windowTitle);
    m_frame.title()->setText(texts.title);
    m_frame.body()->addWidget(m_text);
    m_frame.addAnswers(texts.ok, texts.cancel);
    m_frame.titleBar()->installEventFilter(this);
    installEventFilter(this);
}

MessageDialog::~MessageDialog() = default;

void MessageDialog::setTitle(const QString &title)
{
    m_frame.setTitle(title);
}

void MessageDialog::setText(const QString &text)
{
    m_text->setText(text);
    setAccessibleDescription(text);
}

QString MessageDialog::text() const
{
    return m_text->text();
}

void MessageDialog::setButtonVisible(const QString &name, bool visible)
{
    m_frame.setButtonVisible(name, visible);
}

void MessageDialog::setButtonText(const QString &name, const QString &text)
{
    m_frame.setButtonText(name, text);
}

bool MessageDialog::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == this && event->type() == QEvent::Show) {
        m_frame.focusAnswer();
        m_frame.present(text());
    }
    return QDialog::eventFilter(watched, event);
}
