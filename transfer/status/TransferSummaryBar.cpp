#include "TransferSummaryBar.h"

#include "SizeText.h"
#include "TaskDetailInfoWidget.h"
#include "TransferTexts.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>

namespace {

QString sizeOf(qint64 bytes)
{
    return sizeText(static_cast<quint64>(qMax<qint64>(0, bytes)));
}

} // namespace

TransferSummaryBar::TransferSummaryBar(QWidget *parent)
    : QFrame(parent)
    , m_text(new QLabel)
    , m_status(new QPushButton)
{
    setObjectName(QStringLiteral("bar_transfer_summary"));
    m_text->setObjectName(QStringLiteral("label_summary"));
    m_text->setTextFormat(Qt::PlainText);
    // A long text is cut rather than widening the window.
    m_text->setMinimumWidth(1);
    m_text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_status->setObjectName(QStringLiteral("btn_net_status"));
    m_status->setCheckable(true);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(12, 5, 12, 5);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_status);
    retranslate();
}

QString TransferSummaryBar::text() const
{
    return m_text->text();
}

QString TransferSummaryBar::describe(const TransferFigures &figures)
{
    QStringList parts;
    if (figures.tasks > 0) {
        parts << tr("%1 of %2 files").arg(figures.filesDone).arg(figures.filesTotal);
        parts << tr("%1 of %2").arg(sizeOf(figures.bytesDone), sizeOf(figures.bytesTotal));
        parts << TransferTexts::speed(figures.speed);
        if (figures.counting)
            parts << tr("still counting");
        else if (figures.secondsLeft >= 0)
            parts << tr("about %1 left").arg(TransferTexts::duration(figures.secondsLeft));
    } else if (figures.filesDone > 0) {
        parts << tr("%1 files done").arg(figures.filesDone) << sizeOf(figures.bytesDone);
    }
    if (figures.paused > 0)
        parts << tr("%1 paused").arg(figures.paused);
    if (figures.filesFailed > 0)
        parts << tr("%1 failed").arg(figures.filesFailed);
    return parts.join(QStringLiteral("  \u00b7  "));
}

void TransferSummaryBar::setFigures(const TransferFigures &up, const TransferFigures &down, const TransferFigures &all)
{
    m_up = up;
    m_down = down;
    m_all = all;
    m_text->setText(describe(all));
    QStringList lines;
    const QString upload = describe(up);
    const QString download = describe(down);
    if (!upload.isEmpty())
        lines << tr("Upload: %1").arg(upload);
    if (!download.isEmpty())
        lines << tr("Download: %1").arg(download);
    m_text->setToolTip(lines.join(QLatin1Char('\n')));
}

void TransferSummaryBar::setHealth(ConnectionHealth::Verdict verdict)
{
    m_verdict = verdict;
    const QString warning = TaskDetailInfoWidget::warning(verdict);
    m_status->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/") +
                            (warning.isEmpty() ? QStringLiteral("globe.svg") : QStringLiteral("warning.svg"))));
    m_status->setToolTip(warning);
}

void TransferSummaryBar::retranslate()
{
    m_status->setText(tr("Transfer Status"));
    setFigures(m_up, m_down, m_all);
    setHealth(m_verdict);
}

void TransferSummaryBar::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QFrame::changeEvent(event);
}
