#include "MsgDlg.h"

#include "MessageText.h"
#include "MovableGroupBox.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

MsgDlg::MsgDlg(QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_text(new MessageText(this))
    , m_ok(new QPushButton(tr("OK"), this))
    , m_cancel(new QPushButton(tr("Cancel"), this))
{
    setModal(true);
    setWindowTitle(tr("Infomation"));
    m_frame.title()->setText(tr("title"));
    m_ok->setObjectName(QStringLiteral("ok"));
    m_ok->setDefault(true);
    m_cancel->setObjectName(QStringLiteral("cancel"));
    m_frame.body()->addWidget(m_text);
    m_frame.buttons()->addWidget(m_ok);
    m_frame.buttons()->addWidget(m_cancel);
    connect(m_ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_cancel, &QPushButton::clicked, this, &QDialog::reject);
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

QPushButton *MsgDlg::button(const QString &name) const
{
    if (name == QLatin1String("ok"))
        return m_ok;
    if (name == QLatin1String("cancel"))
        return m_cancel;
    return nullptr;
}

void MsgDlg::setButtonVisible(const QString &name, bool visible)
{
    QPushButton *named = button(name);
    if (!named)
        return;
    named->setVisible(visible);
    // Enter presses the default button, and never a hidden one.
    (m_ok->isHidden() ? m_cancel : m_ok)->setDefault(true);
}

void MsgDlg::setButtonText(const QString &name, const QString &text)
{
    if (QPushButton *named = button(name))
        named->setText(text);
}

bool MsgDlg::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == this && event->type() == QEvent::Show) {
        (m_ok->isHidden() ? m_cancel : m_ok)->setFocus();
        m_frame.present(text());
    }
    return QDialog::eventFilter(watched, event);
}
