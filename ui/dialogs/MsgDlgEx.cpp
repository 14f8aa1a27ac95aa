#include "MsgDlgEx.h"

#include "MessageText.h"
#include "MovableGroupBox.h"

#include <QEvent>
#include <QLabel>
#include <QVBoxLayout>

MsgDlgEx::MsgDlgEx(QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_text(new MessageText(this))
{
    setModal(true);
    setWindowTitle(tr("Infomation"));
    m_frame.title()->setText(tr("title"));
    m_frame.body()->addWidget(m_text);
    m_frame.addAnswers(tr("OK"));
    m_frame.titleBar()->installEventFilter(this);
    installEventFilter(this);
}

MsgDlgEx::~MsgDlgEx() = default;

void MsgDlgEx::setTitle(const QString &title)
{
    m_frame.setTitle(title);
}

void MsgDlgEx::setText(const QString &text)
{
    m_text->setText(text);
    setAccessibleDescription(text);
}

QString MsgDlgEx::text() const
{
    return m_text->text();
}

void MsgDlgEx::setButtonVisible(const QString &name, bool visible)
{
    m_frame.setButtonVisible(name, visible);
}

void MsgDlgEx::setButtonText(const QString &name, const QString &text)
{
    m_frame.setButtonText(name, text);
}

bool MsgDlgEx::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == this && event->type() == QEvent::Show) {
        m_frame.focusAnswer();
        m_frame.present(text());
    }
    return QDialog::eventFilter(watched, event);
}
