#include "MessageText.h"

#include "DialogFrame.h"

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QScrollBar>

namespace {
constexpr int kLeastWidth = 320;
constexpr int kMostWidth = 480;
} // namespace

MessageText::MessageText(QWidget *parent)
    : QScrollArea(parent)
    , m_label(new QLabel(this))
{
    setObjectName(QStringLiteral("messageArea"));
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setStyleSheet(QStringLiteral("#messageArea, #text { background: transparent; }"));
    setWidgetResizable(true);
    m_label->setObjectName(QStringLiteral("text"));
    m_label->setTextFormat(Qt::PlainText);
    m_label->setWordWrap(true);
    m_label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    setWidget(m_label);
    setText(QString());
}

void MessageText::setText(const QString &text)
{
    m_message = text;
    const QString shown = DialogFrame::breakable(text);
    m_label->setText(shown);
    m_label->ensurePolished();
    const QRect room(0, 0, kMostWidth, QWIDGETSIZE_MAX);
    const int width = QFontMetrics(m_label->font()).boundingRect(room, Qt::TextWordWrap, shown).width() + 2;
    const int shownWidth = qBound(kLeastWidth, width, kMostWidth);
    const QScreen *screen = QGuiApplication::primaryScreen();
    const int most = screen ? qMax(120, screen->availableGeometry().height() / 2) : 400;
    const int wanted = qMax(m_label->heightForWidth(shownWidth), QFontMetrics(m_label->font()).height());
    m_hint =
        wanted > most ? QSize(shownWidth + verticalScrollBar()->sizeHint().width(), most) : QSize(shownWidth, wanted);
    updateGeometry();
}
