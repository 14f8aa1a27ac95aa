#pragma once

#include "TransferSettings.h"

#include <QList>
#include <QPushButton>

class QTimer;

/// Shows the service's advertisements one after the other, as plain text; one that is too long for the room scrolls to
/// its end and rests there. Stands still under the mouse, and does nothing while it is not seen. A click opens the one
/// shown in the system's browser when it has a web address. Hidden while there are none. GUI thread only.
class AdTicker : public QPushButton
{
    Q_OBJECT

public:
    explicit AdTicker(QWidget *parent = nullptr);

    void setAdvertisements(const QList<Advertisement> &advertisements);
    /// Takes note of the present width, and of another font.
    void fit();
    /// Pixels that the text has moved to the left.
    int offset() const { return m_offset; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void enterEvent(QEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    QRect room() const;
    /// Pixels of the text that do not fit.
    int overflow() const;
    void showCurrent();
    /// The next step comes after a rest, or at once in the middle of a text.
    void goOn();
    void step();
    void openCurrent();

    QList<Advertisement> m_advertisements;
    int m_current = 0;
    int m_offset = 0;
    int m_textWidth = 0;
    QTimer *m_timer;
};
