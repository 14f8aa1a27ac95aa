#include "AdTicker.h"

#include "SystemBrowser.h"

#include <QStyleOptionButton>
#include <QStylePainter>
#include <QTimer>
#include <QUrl>
#include <QVariant>

namespace {

constexpr int kShownFor = 6000; // milliseconds, of a text that fits
constexpr int kRest = 2500;     // milliseconds at both ends of one that does not
constexpr int kStep = 33;       // milliseconds
constexpr int kStepWidth = 1;   // pixels
constexpr int kWidth = 320;
constexpr int kLeastWidth = 60;
constexpr int kPadding = 10;

} // namespace

AdTicker::AdTicker(QWidget *parent)
    : QPushButton(parent)
    , m_timer(new QTimer(this))
{
    setObjectName(QStringLiteral("btn_advertisement"));
    setProperty("flat", true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this, &AdTicker::step);
    connect(this, &QPushButton::clicked, this, &AdTicker::openCurrent);
    hide();
}

QSize AdTicker::sizeHint() const
{
    // As wide as the longest needs, so that nothing moves when the next one comes.
    int width = kLeastWidth;
    for (const Advertisement &ad : m_advertisements)
        width = qMax(width, fontMetrics().horizontalAdvance(ad.title.simplified()) + 2 * kPadding + 2);
    return QSize(qMin(width, kWidth), QPushButton::sizeHint().height());
}

QSize AdTicker::minimumSizeHint() const
{
    return QSize(kLeastWidth, QPushButton::minimumSizeHint().height());
}

void AdTicker::setAdvertisements(const QList<Advertisement> &advertisements)
{
    m_advertisements = advertisements;
    m_current = 0;
    setVisible(!advertisements.isEmpty());
    updateGeometry();
    showCurrent();
}

void AdTicker::showCurrent()
{
    m_offset = 0;
    if (m_advertisements.isEmpty())
        return m_timer->stop();
    const Advertisement &shown = m_advertisements.at(m_current);
    setText(shown.title.simplified().replace(QLatin1Char('&'), QLatin1String("&&")));
    setToolTip(QStringLiteral("<qt>%1</qt>").arg(shown.content.toHtmlEscaped()));
    fit();
}

QRect AdTicker::room() const
{
    return rect().adjusted(kPadding, 0, -kPadding, 0);
}

int AdTicker::overflow() const
{
    return qMax(0, m_textWidth - room().width());
}

void AdTicker::fit()
{
    m_textWidth = fontMetrics().size(Qt::TextShowMnemonic, text()).width();
    m_offset = qMin(m_offset, overflow());
    goOn();
    update();
}

void AdTicker::goOn()
{
    const bool moves = overflow() > 0;
    if (!isVisible() || underMouse() || (!moves && m_advertisements.size() < 2))
        return m_timer->stop();
    const bool between = m_offset > 0 && m_offset < overflow();
    if (!m_timer->isActive() || between)
        m_timer->start(between ? kStep : moves ? kRest : kShownFor);
}

void AdTicker::step()
{
    if (m_advertisements.isEmpty())
        return;
    if (m_offset < overflow()) {
        m_offset = qMin(m_offset + kStepWidth, overflow());
        update(room());
        goOn();
        return;
    }
    m_current = (m_current + 1) % m_advertisements.size();
    showCurrent();
}

void AdTicker::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    painter.drawControl(QStyle::CE_PushButtonBevel, option);
    const QRect seen = room();
    painter.setClipRect(seen);
    option.rect = QRect(seen.left() - m_offset, 0, qMax(seen.width(), m_textWidth), height());
    painter.drawControl(QStyle::CE_PushButtonLabel, option);
}

void AdTicker::openCurrent()
{
    if (!m_advertisements.isEmpty())
        openWebPage(QUrl(m_advertisements.at(m_current).jumpLink));
}

void AdTicker::resizeEvent(QResizeEvent *event)
{
    QPushButton::resizeEvent(event);
    fit();
}

void AdTicker::showEvent(QShowEvent *event)
{
    QPushButton::showEvent(event);
    fit();
}

void AdTicker::hideEvent(QHideEvent *event)
{
    QPushButton::hideEvent(event);
    m_timer->stop();
}

void AdTicker::enterEvent(QEvent *event)
{
    QPushButton::enterEvent(event);
    m_timer->stop();
}

void AdTicker::leaveEvent(QEvent *event)
{
    QPushButton::leaveEvent(event);
    goOn();
}
