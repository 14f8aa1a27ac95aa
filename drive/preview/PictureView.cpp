#include "PictureView.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <cmath>

namespace {

constexpr double Step = 1.25;
constexpr double Largest = 32;
constexpr double Smallest = 1.0 / 64;
const QColor Ground(0x20, 0x24, 0x2b);

/// What shows through a transparent picture.
QBrush squares()
{
    QPixmap tile(16, 16);
    tile.fill(QColor(0x5a, 0x60, 0x6a));
    QPainter painter(&tile);
    painter.fillRect(0, 0, 8, 8, QColor(0x74, 0x7a, 0x84));
    painter.fillRect(8, 8, 8, 8, QColor(0x74, 0x7a, 0x84));
    return QBrush(tile);
}

} // namespace

PictureView::PictureView(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("pictureView"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(240, 160);
}

void PictureView::setPicture(const Picture &picture, bool sameImage)
{
    const bool keep = sameImage && !m_picture.isNull() && m_picture.stored == picture.stored;
    m_picture = picture;
    if (!keep) {
        m_fits = true;
        m_middle = QPointF(picture.stored.width() / 2.0, picture.stored.height() / 2.0);
    }
    showCursor();
    update();
    emit scaleChanged();
}

void PictureView::setMessage(const QString &text)
{
    m_message = text;
    update();
}

QSizeF PictureView::screenSize() const
{
    return QSizeF(size()) * devicePixelRatioF();
}

double PictureView::fitScale() const
{
    if (m_picture.isNull())
        return 1;
    // A small picture stays as it is; one of the service's stand-ins as well.
    return std::min(
        {1.0, screenSize().width() / m_picture.stored.width(), screenSize().height() / m_picture.stored.height()});
}

void PictureView::fit()
{
    m_fits = true;
    m_middle = QPointF(m_picture.stored.width() / 2.0, m_picture.stored.height() / 2.0);
    showCursor();
    update();
    emit scaleChanged();
}

void PictureView::fullSize()
{
    zoomTo(1, QPointF(screenSize().width() / 2, screenSize().height() / 2));
}

void PictureView::zoomIn()
{
    zoomAboutMiddle(Step);
}

void PictureView::zoomOut()
{
    zoomAboutMiddle(1 / Step);
}

void PictureView::zoomAboutMiddle(double factor)
{
    zoomTo(scale() * factor, QPointF(screenSize().width() / 2, screenSize().height() / 2));
}

void PictureView::zoomTo(double scale, const QPointF &point)
{
    if (m_picture.isNull())
        return;
    const double old = this->scale();
    // Full size is a stop on the way, whatever the steps are.
    if ((old < 0.99 && scale > 1) || (old > 1.01 && scale < 1))
        scale = 1;
    scale = qBound(qMin(Smallest, fitScale()), scale, Largest);
    const QPointF fromMiddle = point - QPointF(screenSize().width() / 2, screenSize().height() / 2);
    m_middle += fromMiddle / old - fromMiddle / scale;
    m_scale = scale;
    m_fits = false;
    holdInside();
    showCursor();
    update();
    emit scaleChanged();
}

void PictureView::moveBy(const QPoint &distance)
{
    if (m_fits)
        return;
    m_middle -= QPointF(distance) * devicePixelRatioF() / m_scale;
    holdInside();
    update();
}

void PictureView::holdInside()
{
    const auto held = [this](double middle, double view, double image) {
        const double half = view / m_scale / 2;
        return 2 * half >= image ? image / 2 : qBound(half, middle, image - half);
    };
    m_middle = QPointF(held(m_middle.x(), screenSize().width(), m_picture.stored.width()),
                       held(m_middle.y(), screenSize().height(), m_picture.stored.height()));
}

bool PictureView::canMove() const
{
    return !m_fits && (m_picture.stored.width() * m_scale > screenSize().width() + 1 ||
                       m_picture.stored.height() * m_scale > screenSize().height() + 1);
}

void PictureView::showCursor()
{
    if (!canMove())
        unsetCursor();
    else
        setCursor(m_dragging ? Qt::ClosedHandCursor : Qt::OpenHandCursor);
}

void PictureView::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.fillRect(rect(), Ground);
    if (m_picture.isNull()) {
        painter.setPen(QColor(0xd5, 0xda, 0xe3));
        painter.drawText(rect().adjusted(40, 0, -40, 0), Qt::AlignCenter | Qt::TextWordWrap, m_message);
        return;
    }
    // In pixels of the screen from here on.
    const double ratio = devicePixelRatioF(), scale = this->scale();
    painter.scale(1 / ratio, 1 / ratio);
    const QSizeF view = screenSize();
    QPointF corner(view.width() / 2 - m_middle.x() * scale, view.height() / 2 - m_middle.y() * scale);
    corner = QPointF(std::round(corner.x()), std::round(corner.y())); // a picture at full size meets the pixels
    const QRectF whole(corner, QSizeF(m_picture.stored) * scale);
    const QRectF seen = whole.intersected(QRectF(QPointF(), view));
    if (seen.isEmpty())
        return;
    const QImage &level = m_picture.levelFor(scale);
    // Only what is seen is drawn, so that a huge picture takes no longer than a small one.
    const double across = level.width() / whole.width(), down = level.height() / whole.height();
    const QRectF source((seen.x() - whole.x()) * across, (seen.y() - whole.y()) * down, seen.width() * across,
                        seen.height() * down);
    if (!m_picture.light) {
        static const QBrush ground = squares();
        painter.fillRect(seen, ground);
    }
    // Far enlarged, the single pixels are what somebody wants to see.
    painter.setRenderHint(QPainter::SmoothPixmapTransform, scale < 2 || level.width() < m_picture.stored.width());
    painter.drawImage(seen, level, source);
}

void PictureView::wheelEvent(QWheelEvent *event)
{
    const double turns = event->angleDelta().y() / 120.0;
    if (turns != 0)
        zoomTo(scale() * std::pow(Step, turns), event->position() * devicePixelRatioF());
    event->accept();
}

void PictureView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    m_dragged = event->pos();
    m_dragging = true;
    showCursor();
}

void PictureView::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_dragging)
        return;
    moveBy(event->pos() - m_dragged);
    m_dragged = event->pos();
}

void PictureView::mouseReleaseEvent(QMouseEvent *event)
{
    m_dragging = false;
    showCursor();
    QWidget::mouseReleaseEvent(event);
}

void PictureView::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_dragging = false;
    if (m_fits && fitScale() < 1)
        zoomTo(1, event->localPos() * devicePixelRatioF());
    else
        fit();
}

void PictureView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    if (!m_picture.isNull() && !m_fits)
        holdInside();
    emit scaleChanged();
}
