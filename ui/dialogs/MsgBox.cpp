#include "MsgBox.h"

#include "MovableGroupBox.h"
#include "SystemBrowser.h"

#include <QEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTextBrowser>
#include <QTextDocument>
#include <QVBoxLayout>
#include <QtMath>

namespace {

constexpr int kBodyWidth = 440;

/// Shows the text alone: a picture or style sheet that the text names is neither read from disk nor fetched.
class TextOnlyBrowser : public QTextBrowser
{
public:
    using QTextBrowser::QTextBrowser;
    QVariant loadResource(int, const QUrl &) override { return QVariant(); }
};

} // namespace

MsgBox::MsgBox(QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_body(new TextOnlyBrowser(this))
    , m_ok(new QPushButton(tr("OK"), this))
    , m_cancel(new QPushButton(tr("Cancel"), this))
{
    setModal(true);
    setWindowTitle(tr("Infomation"));
    m_frame.title()->setText(tr("title"));
    m_ok->setObjectName(QStringLiteral("ok"));
    m_ok->setDefault(true);
    m_cancel->setObjectName(QStringLiteral("cancel"));
    m_body->setObjectName(QStringLiteral("text"));
    m_body->setReadOnly(true);
    m_body->setOpenLinks(false);
    m_body->setFrameShape(QFrame::NoFrame);
    m_body->setStyleSheet(QStringLiteral("#text { border: none; background: transparent; padding: 0; }"));
    m_body->document()->setDocumentMargin(0);
    m_body->document()->setDefaultStyleSheet(QStringLiteral("a { color: #2f6fde; }"));
    m_body->setFixedWidth(kBodyWidth);
    m_frame.body()->addWidget(m_body);
    connect(m_body, &QTextBrowser::anchorClicked, this, &MsgBox::SlotOpenLink);
    m_frame.buttons()->addWidget(m_ok);
    m_frame.buttons()->addWidget(m_cancel);
    connect(m_ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_cancel, &QPushButton::clicked, this, &QDialog::reject);
    m_frame.titleBar()->installEventFilter(this);
    installEventFilter(this);
}

MsgBox::~MsgBox() = default;

void MsgBox::setTitle(const QString &title)
{
    m_frame.setTitle(title);
}

void MsgBox::setText(const QString &html)
{
    m_html = html;
    m_body->setHtml(html);
    setAccessibleDescription(m_body->toPlainText());
}

void MsgBox::SlotOpenLink(const QUrl &link)
{
    openWebPage(link);
}

void MsgBox::fit()
{
    m_body->document()->setTextWidth(kBodyWidth - 2);
    const QScreen *screen = QGuiApplication::primaryScreen();
    const int most = screen ? qMax(120, screen->availableGeometry().height() / 2) : 400;
    m_body->setFixedHeight(qMin(most, qCeil(m_body->document()->size().height()) + 4));
}

QPushButton *MsgBox::button(const QString &name) const
{
    if (name == QLatin1String("ok"))
        return m_ok;
    if (name == QLatin1String("cancel"))
        return m_cancel;
    return nullptr;
}

void MsgBox::setButtonVisible(const QString &name, bool visible)
{
    QPushButton *named = button(name);
    if (!named)
        return;
    named->setVisible(visible);
    // Enter presses the default button, and never a hidden one.
    (m_ok->isHidden() ? m_cancel : m_ok)->setDefault(true);
}

void MsgBox::setButtonText(const QString &name, const QString &text)
{
    if (QPushButton *named = button(name))
        named->setText(text);
}

bool MsgBox::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == this && event->type() == QEvent::Show) {
        (m_ok->isHidden() ? m_cancel : m_ok)->setFocus();
        fit();
        m_frame.present(text());
    }
    return QDialog::eventFilter(watched, event);
}
