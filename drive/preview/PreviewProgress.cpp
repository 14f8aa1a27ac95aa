#include "PreviewProgress.h"

#include "FileTexts.h"
#include "SizeText.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

namespace {

constexpr int Moment = 300; // ms

} // namespace

PreviewProgress::PreviewProgress(const QString &name, QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_bar(new QProgressBar(this))
    , m_text(new QLabel(this))
{
    setObjectName(QStringLiteral("PreviewProgress"));
    setModal(false);
    m_frame.setTitle(tr("Preview"));
    m_frame.addAnswers(tr("Cancel"));
    auto *label = new QLabel(this);
    label->setTextFormat(Qt::PlainText);
    label->setText(fontMetrics().elidedText(FileTexts::line(name), Qt::ElideMiddle, 340));
    m_bar->setObjectName(QStringLiteral("previewProgressBar"));
    m_bar->setAccessibleName(tr("Progress"));
    m_bar->setRange(0, 0);
    m_bar->setTextVisible(false);
    m_bar->setMinimumWidth(340);
    m_bar->setFixedHeight(8);
    m_frame.body()->addWidget(label);
    m_frame.body()->addWidget(m_bar);
    m_frame.body()->addWidget(m_text);
    m_moment.setSingleShot(true);
    connect(&m_moment, &QTimer::timeout, this, &QWidget::show);
    m_moment.start(Moment);
    // However it is closed, that is a wish to stop.
    connect(this, &QDialog::finished, this, &PreviewProgress::cancelled);
}

void PreviewProgress::setProgress(qint64 done, qint64 total)
{
    m_bar->setRange(0, total > 0 ? 1000 : 0);
    if (total > 0)
        m_bar->setValue(int(qBound(0.0, double(done) / double(total), 1.0) * 1000));
    m_text->setText(QStringLiteral("%1/%2").arg(sizeText(quint64(done)), sizeText(quint64(qMax<qint64>(0, total)))));
}

void PreviewProgress::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    m_frame.present(windowTitle());
}
