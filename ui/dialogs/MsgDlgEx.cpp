#include "MsgDlgEx.h"

#include "MessageText.h"
#include "MovableGroupBox.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

MsgDlgEx::MsgDlgEx(QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_text(new MessageText(this))
    , m_ok(new QPushButton(tr("OK"), this))
{
    setModal(true);
    setWindowTitle(tr("Infomation"));
    m_frame.title()->setText(tr("title"));
    m_ok->setObjectName(QStringLiteral("ok"));
    m_ok->setDefault(true);
    m_frame.body()->addWidget(m_text);
    m_frame.buttons()->addWidget(m_ok);
    connect(m_ok, &QPushButton::clicked, this, &QDialog::accept);
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
    if (name == QLatin1String("ok"))
        m_ok->setVisible(visible);
}

void MsgDlgEx::setButtonText(const QString &name, const QString &text)
{
    if (name == QLatin1String("ok"))
        m_ok->setText(text);
}

bool MsgDlgEx::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == this && event->type() == QEvent::Show) {
        m_ok->setFocus();
        m_frame.present(text());
    }
    return QDialog::eventFilter(watched, event);
}
