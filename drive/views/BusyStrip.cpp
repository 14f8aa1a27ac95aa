#include "BusyStrip.h"

#include <QEvent>
#include <QPainter>
#include <QTimerEvent>

namespace {

constexpr int Patience = 200; // ms
constexpr int Frame = 30;     // ms
constexpr int Round = 50;     // frames in which the line crosses once
constexpr int Height = 3;

} // namespace

BusyStrip::BusyStrip(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("busyStrip"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibleName(tr("Loading"));
    parent->installEventFilter(this);
    hide();
}

void BusyStrip::start()
{
    if (!m_patience.isActive() && isHidden())
        m_patience.start(Patience, this);
}

void BusyStrip::stop()
{
    m_patience.stop();
    m_frames.stop();
    hide();
}

void BusyStrip::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == m_patience.timerId()) {
        m_patience.stop();
        m_step = 0;
        setGeometry(0, 0, parentWidget()->width(), Height);
        raise();
        show();
        m_frames.start(Frame, this);
    } else {
        m_step = (m_step + 1) % Round;
        update();
    }
}

void BusyStrip::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    QColor colour = palette().color(QPalette::Link);
    painter.fillRect(rect(), QColor(colour.red(), colour.green(), colour.blue(), 40));
    const int length = width() / 4;
    painter.fillRect(QRect((width() + length) * m_step / Round - length, 0, length, height()), colour);
}

void BusyStrip::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        setAccessibleName(tr("Loading"));
    QWidget::changeEvent(event);
}

bool BusyStrip::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize)
        setGeometry(0, 0, parentWidget()->width(), Height);
    return QWidget::eventFilter(watched, event);
}
