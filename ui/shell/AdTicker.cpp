#include "AdTicker.h"

#include "SystemBrowser.h"

#include <QTimer>
#include <QUrl>
#include <QVariant>

namespace {

constexpr int kShownFor = 6000; // milliseconds
constexpr int kWidth = 320;
constexpr int kLeastWidth = 60;
constexpr int kPadding = 12;

} // namespace

AdTicker::AdTicker(QWidget *parent)
    : QPushButton(parent)
    , m_timer(new QTimer(this))
{
    setObjectName(QStringLiteral("btn_advertisement"));
    setProperty("flat", true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_timer->setInterval(kShownFor);
    connect(m_timer, &QTimer::timeout, this, &AdTicker::next);
    connect(this, &QPushButton::clicked, this, &AdTicker::openCurrent);
    hide();
}

QSize AdTicker::sizeHint() const
{
    return QSize(kWidth, QPushButton::sizeHint().height());
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
    if (advertisements.size() > 1)
        m_timer->start();
    else
        m_timer->stop();
    fit();
}

void AdTicker::next()
{
    m_current = (m_current + 1) % qMax(1, m_advertisements.size());
    fit();
}

void AdTicker::fit()
{
    if (m_advertisements.isEmpty())
        return;
    const Advertisement &shown = m_advertisements.at(m_current);
    QString text = fontMetrics().elidedText(shown.title.simplified(), Qt::ElideRight, width() - kPadding);
    setText(text.replace(QLatin1Char('&'), QLatin1String("&&")));
    setToolTip(QStringLiteral("<qt>%1</qt>").arg(shown.content.toHtmlEscaped()));
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
