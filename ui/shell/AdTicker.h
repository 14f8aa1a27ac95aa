#pragma once

#include "TransferSettings.h"

#include <QList>
#include <QPushButton>

class QTimer;

/// Shows the service's advertisements one after the other, as plain text; a click opens the one shown in the system's
/// browser when it has a web address. Hidden while there are none. GUI thread only.
class AdTicker : public QPushButton
{
    Q_OBJECT

public:
    explicit AdTicker(QWidget *parent = nullptr);

    void setAdvertisements(const QList<Advertisement> &advertisements);
    /// Cuts the text shown to the present width.
    void fit();
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void next();
    void openCurrent();

    QList<Advertisement> m_advertisements;
    int m_current = 0;
    QTimer *m_timer;
};
