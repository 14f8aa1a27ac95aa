#include "MsgDlg.h"

#include "MessageText.h"
#include "MovableGroupBox.h"

#include <QEvent>
#include <QLabel>
#include <QVBoxLayout>

MsgDlg::MsgDlg(QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_text(new MessageText(this))
{
    setModal(true);
    setWindowTitle(tr("Infomation"));
    m_frame.title()->setText(tr("title"));
    m_frame.body()->addWidget(m_text);
    m_frame.addAnswers(tr("OK"), tr("Cancel"));
    m_frame.titleBar()->installEventFilter(this);
    installEventFilter(this);
}

MsgDlg::~MsgDlg() = default;

void MsgDlg::setTitle(const QString &title)
{
    m_frame.setTitle(title);
}

void MsgDlg::setText(const QString &text)
{
    m_text->setText(text);
    setAccessibleDescription(text);
}

QString MsgDlg::text() const
{
    return m_text->text();
}

void MsgDlg::setButtonVisible(const QString &name, bool visible)
{
    m_frame.setButtonVisible(name, visible);
}

void MsgDlg::setButtonText(const QString &name, const QString &text)
{
    m_frame.setButtonText(name, text);
}

bool MsgDlg::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == this && event->type() == QEvent::Show) {
        m_frame.focusAnswer();
        m_frame.present(text());
    }
    return QDialog::eventFilter(watched, event);
}
