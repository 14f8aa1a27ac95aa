#include "ConcurrenceSettings.h"

#include "GlobalConfig.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

constexpr int kMost = 64;

QSpinBox *counter(const QString &name, int value)
{
    auto *box = new QSpinBox;
    box->setObjectName(name);
    box->setRange(1, qMax(kMost, value));
    box->setValue(value);
    box->setMinimumWidth(130);
    return box;
}

} // namespace

ConcurrenceSettings::ConcurrenceSettings(QWidget *parent)
    : QWidget(parent)
    , m_notice(new QLabel)
{
    setObjectName(QStringLiteral("page_tasks"));
    const ZpdtSettings engine = GlobalConfig::instance()->zpdt();
    m_upload = counter(QStringLiteral("spin_uploads"), engine.uploadLimitCount);
    m_download = counter(QStringLiteral("spin_downloads"), engine.downloadLimitCount);
    auto *hint = new QLabel(tr("Holds at once, for all sub-centers. Tasks above the number go back to the front of the "
                               "queue and lose nothing; small files travel together and do not count."));
    hint->setProperty("hint", true);
    hint->setWordWrap(true);
    m_notice->setWordWrap(true);
    auto *apply = new QPushButton(tr("Apply"));
    apply->setObjectName(QStringLiteral("btn_apply_tasks"));
    apply->setProperty("primary", true);

    auto *form = new QFormLayout;
    form->setHorizontalSpacing(14);
    form->setVerticalSpacing(8);
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    form->addRow(tr("Uploads at the same time"), m_upload);
    form->addRow(tr("Downloads at the same time"), m_download);
    auto *foot = new QHBoxLayout;
    foot->addWidget(m_notice, 1);
    foot->addWidget(apply);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addLayout(form);
    layout->addWidget(hint);
    layout->addStretch(1);
    layout->addLayout(foot);
    connect(apply, &QPushButton::clicked, this, &ConcurrenceSettings::ApplySetting);
}

void ConcurrenceSettings::ApplySetting()
{
    GlobalConfig *config = GlobalConfig::instance();
    ZpdtSettings engine = config->zpdt();
    engine.uploadLimitCount = m_upload->value();
    engine.downloadLimitCount = m_download->value();
    config->setZpdt(engine);
    m_notice->setText(config->save() ? tr("Saved.")
                                     : tr("The settings could not be saved and hold until the program ends."));
    emit concurrenceChanged();
}
