#include "NoticeBar.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QToolButton>

namespace {

constexpr int ShowTime = 12000; // ms

} // namespace

NoticeBar::NoticeBar(QWidget *parent)
    : QFrame(parent)
    , m_text(new QLabel(this))
    , m_again(new QToolButton(this))
    , m_close(new QToolButton(this))
{
    setObjectName(QStringLiteral("noticeBar"));
    setAttribute(Qt::WA_StyledBackground);
    m_text->setObjectName(QStringLiteral("pageNotice"));
    m_text->setTextFormat(Qt::PlainText);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_text->setWordWrap(true);
    m_again->setObjectName(QStringLiteral("noticeAgain"));
    m_again->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/retry.svg")));
    m_again->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_close->setObjectName(QStringLiteral("noticeClose"));
    m_close->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/close.svg")));
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 3, 8, 3);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_again);
    layout->addWidget(m_close);
    connect(m_again, &QToolButton::clicked, this, &QWidget::hide);
    connect(m_again, &QToolButton::clicked, this, &NoticeBar::tryAgain);
    connect(m_close, &QToolButton::clicked, this, &QWidget::hide);
    retranslate();
    hide();
}

void NoticeBar::showText(const QString &text, bool canTryAgain)
{
    m_text->setText(text);
    m_again->setVisible(canTryAgain);
    show();
    m_timer.start(ShowTime, this);
}

QString NoticeBar::text() const
{
    return isHidden() ? QString() : m_text->text();
}

void NoticeBar::timerEvent(QTimerEvent *event)
{
    Q_UNUSED(event)
    if (underMouse())
        return;
    m_timer.stop();
    hide();
}

void NoticeBar::retranslate()
{
    m_again->setText(tr("Try again"));
    m_close->setToolTip(tr("Close"));
    m_close->setAccessibleName(tr("Close"));
}

void NoticeBar::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QFrame::changeEvent(event);
}
