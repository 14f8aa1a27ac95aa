#include "MsgBox.h"

#include "MovableGroupBox.h"
#include "SystemBrowser.h"

#include <QEvent>
#include <QGuiApplication>
#include <QLabel>
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
{
    setModal(true);
    setWindowTitle(tr("Infomation"));
    m_frame.title()->setText(tr("title"));
    m_body->setObjectName(QStringLiteral("text"));
    m_body->setReadOnly(true);
    m_body->setOpenLinks(false);
    m_body->setFrameShape(QFrame::NoFrame);
    m_body->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_body->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_body->setStyleSheet(QStringLiteral("#text { border: none; background: transparent; padding: 0; }"));
    m_body->document()->setDocumentMargin(0);
    m_body->document()->setDefaultStyleSheet(QStringLiteral("a { color: #2f6fde; }"));
    m_body->setFixedWidth(kBodyWidth);
    m_frame.body()->addWidget(m_body);
    connect(m_body, &QTextBrowser::anchorClicked, this, &MsgBox::SlotOpenLink);
    m_frame.addAnswers(tr("OK"), tr("Cancel"));
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
    const int most = screen ? qMax(120, screen->availableGeometry().height() * 2 / 3) : 400;
    const int wanted = qCeil(m_body->document()->size().height()) + 4;
    // Bars only where there is something to scroll: one that comes takes room, for which the other one would come.
    m_body->setVerticalScrollBarPolicy(wanted > most ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    m_body->setFixedHeight(qMin(most, wanted));
}

void MsgBox::setButtonVisible(const QString &name, bool visible)
{
    m_frame.setButtonVisible(name, visible);
}

void MsgBox::setButtonText(const QString &name, const QString &text)
{
    m_frame.setButtonText(name, text);
}

bool MsgBox::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == this && event->type() == QEvent::Show) {
        m_frame.focusAnswer();
        fit();
        m_frame.present(text());
    }
    return QDialog::eventFilter(watched, event);
}
