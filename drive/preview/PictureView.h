#pragma once

#include "Picture.h"

#include <QWidget>

/// Draws one picture: as large as fits, or at a scale of the person's choice, which the wheel changes around the
/// pointer and dragging moves about. Scales are in pixels of the screen for a pixel of the stored image, so that 1 is
/// sharp on every screen. GUI thread only.
class PictureView : public QWidget
{
    Q_OBJECT

public:
    explicit PictureView(QWidget *parent = nullptr);

    /// @param sameImage keeps scale and place: the picture is a better one of the same image
    void setPicture(const Picture &picture, bool sameImage);
    /// Shown in the middle while there is no picture.
    void setMessage(const QString &text);
    QString message() const { return m_message; }
    double scale() const { return m_fits ? fitScale() : m_scale; }
    bool fits() const { return m_fits; }

public slots:
    void fit();
    void fullSize();
    void zoomIn();
    void zoomOut();
    /// By these pixels of the widget.
    void moveBy(const QPoint &distance);

signals:
    void scaleChanged();

protected:
    void paintEvent(QPaintEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    double fitScale() const;
    QSizeF screenSize() const;
    /// Changes the scale and keeps what is under @p point, in pixels of the screen.
    void zoomTo(double scale, const QPointF &point);
    void zoomAboutMiddle(double factor);
    void holdInside();
    void showCursor();
    bool canMove() const;

    Picture m_picture;
    QString m_message;
    bool m_fits = true;
    double m_scale = 1;
    QPointF m_middle; ///< of the view, in pixels of the stored image
    QPoint m_dragged;
    bool m_dragging = false;
};
