#include "UdtSettings.h"

#include "GlobalConfig.h"
#include "MsgDlg.h"
#include "SpeedGroup.h"

#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>

namespace {

QStringList transferTypes()
{
    return {QStringLiteral("ZPDT"), QStringLiteral("ASPERA")};
}

/// Text of the choice and value of the engine's switch.
struct VerifyMethod
{
    const char *name;
    int value;
};
constexpr VerifyMethod kVerifyMethods[] = {{"FILESIZE", 1}, {"NONE", 0}};

QLabel *note(const QString &text)
{
    auto *label = new QLabel(text);
    label->setProperty("hint", true);
    label->setWordWrap(true);
    return label;
}

} // namespace

UdtSettings::UdtSettings(QWidget *parent)
    : QWidget(parent)
    , m_center(new QComboBox)
    , m_type(new QComboBox)
    , m_upload(new SpeedGroup(QStringLiteral("group_upload"), tr("Upload")))
    , m_download(new SpeedGroup(QStringLiteral("group_download"), tr("Download")))
    , m_verify(new QComboBox)
    , m_alwaysAsk(new QRadioButton(tr("Always ask before starting")))
    , m_alwaysSame(new QRadioButton(tr("Always use the same path")))
    , m_path(new QLineEdit)
    , m_browse(new QPushButton(tr("Browse...")))
    , m_notice(new QLabel)
{
    setObjectName(QStringLiteral("page_transfer"));
    m_center->setObjectName(QStringLiteral("combo_center"));
    m_type->setObjectName(QStringLiteral("combo_type"));
    m_type->addItems(transferTypes());
    m_verify->setObjectName(QStringLiteral("combo_verify"));
    for (const VerifyMethod &method : kVerifyMethods)
        m_verify->addItem(QLatin1String(method.name), method.value);
    m_alwaysAsk->setObjectName(QStringLiteral("radio_ask"));
    m_alwaysSame->setObjectName(QStringLiteral("radio_same"));
    m_path->setObjectName(QStringLiteral("edit_path"));
    m_browse->setObjectName(QStringLiteral("btn_browse"));
    m_browse->setAutoDefault(false);
    m_notice->setObjectName(QStringLiteral("label_notice"));
    m_notice->setWordWrap(true);

    auto *apply = new QPushButton(tr("Apply"));
    apply->setObjectName(QStringLiteral("btn_apply"));
    apply->setProperty("primary", true);
    auto *foot = new QHBoxLayout;
    foot->addWidget(m_notice, 1);
    foot->addWidget(apply);

    auto *fields = new QWidget;
    auto *column = new QVBoxLayout(fields);
    column->setContentsMargins(0, 0, 12, 0);
    column->setSpacing(10);
    column->addWidget(buildHead());
    column->addWidget(m_upload);
    column->addWidget(m_download);
    column->addWidget(note(tr("1Mbps = 125KB/s") + QStringLiteral("    ") +
                           tr("Target speeds hold at once, also for what is being transferred. Modes hold from the "
                              "next start of a task.")));
    column->addWidget(buildDownloadPath());
    column->addStretch(1);
    // On a small screen the fields scroll and the button stays.
    auto *area = new QScrollArea;
    area->setObjectName(QStringLiteral("settingsArea"));
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidget(fields);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(area, 1);
    layout->addLayout(foot);

    GlobalConfig *config = GlobalConfig::instance();
    const QList<SubCenter> centers = config->subCenters();
    for (const SubCenter &center : centers) {
        if (center.hasHome())
            m_center->addItem(center.name.isEmpty() ? center.id : center.name, center.id);
    }
    m_center->setCurrentIndex(qMax(0, m_center->findData(config->currentSubCenterId())));
    showLimits();
    load();

    connect(m_center, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &UdtSettings::load);
    connect(m_type, SIGNAL(currentIndexChanged(int)), this, SLOT(OnTransferTypeChanged(int)));
    connect(m_alwaysSame, &QRadioButton::toggled, m_path, &QWidget::setEnabled);
    connect(m_alwaysSame, &QRadioButton::toggled, m_browse, &QWidget::setEnabled);
    connect(m_browse, &QPushButton::clicked, this, &UdtSettings::browse);
    connect(apply, &QPushButton::clicked, this, &UdtSettings::ApplySetting);
    connect(config, &GlobalConfig::handlerGetTransferLimitFinished, this, &UdtSettings::showLimits);
    config->requestTransferLimit();
}

QWidget *UdtSettings::buildHead()
{
    auto *head = new QWidget;
    auto *form = new QFormLayout(head);
    form->setContentsMargins(0, 0, 0, 0);
    form->setHorizontalSpacing(14);
    form->setVerticalSpacing(8);
    const auto row = [form](const QString &label, QWidget *field, const QString &hint) {
        auto *line = new QHBoxLayout;
        line->setSpacing(10);
        field->setMinimumWidth(150);
        line->addWidget(field);
        line->addWidget(note(hint), 1);
        form->addRow(label, line);
    };
    row(tr("Sub-center"), m_center, tr("Each sub-center has settings of its own."));
    row(tr("Transfer type"), m_type, tr("Holds from the next start of a task."));
    row(tr("FileVerify"), m_verify, tr("Method. For all sub-centers, from the next start of a task."));
    m_verify->setToolTip(tr("Method"));
    return head;
}

QWidget *UdtSettings::buildDownloadPath()
{
    auto *box = new QGroupBox(tr("Download Path"));
    auto *layout = new QVBoxLayout(box);
    layout->setContentsMargins(14, 10, 14, 12);
    layout->setSpacing(6);
    layout->addWidget(m_alwaysAsk);
    layout->addWidget(m_alwaysSame);
    auto *line = new QHBoxLayout;
    line->setContentsMargins(24, 0, 0, 0);
    line->setSpacing(8);
    line->addWidget(m_path, 1);
    line->addWidget(m_browse);
    layout->addLayout(line);
    m_path->setPlaceholderText(tr("Specified a default path for downloading"));
    return box;
}

QString UdtSettings::subCenterId() const
{
    return m_center->currentData().toString();
}

void UdtSettings::load()
{
    const GlobalConfig *config = GlobalConfig::instance();
    const QString id = subCenterId();
    m_stored = TargetSpeed();
    m_stored.transferType = config->zpdt().transferType;
    config->targetSpeed(id, &m_stored);

    const QSignalBlocker quiet(m_type);
    m_type->setCurrentIndex(qMax(0, transferTypes().indexOf(m_stored.transferType)));
    m_upload->setSpeed(m_stored.upMode, m_stored.uploadTargetSpeed);
    m_download->setSpeed(m_stored.downMode, m_stored.downloadTargetSpeed);
    m_verify->setCurrentIndex(m_verify->findData(config->zpdt().beVerify == 0 ? 0 : 1));

    const DownloadPathSetting path = config->downloadPath(id);
    (path.alwaysUseDefaultPath ? m_alwaysSame : m_alwaysAsk)->setChecked(true);
    m_path->setText(QDir::toNativeSeparators(path.defaultPath));
    m_path->setEnabled(path.alwaysUseDefaultPath);
    m_browse->setEnabled(path.alwaysUseDefaultPath);
    tell(QString(), false);
    setEnabled(!id.isEmpty());
}

void UdtSettings::showLimits()
{
    const TransferLimit limit = GlobalConfig::instance()->transferLimit();
    m_upload->setLimit(limit.upload);
    m_download->setLimit(limit.download);
}

void UdtSettings::OnTransferTypeChanged(int index)
{
    const int stored = qMax(0, transferTypes().indexOf(m_stored.transferType));
    if (index == stored)
        return;
    const QPointer<UdtSettings> alive(this);
    MsgDlg question(window());
    question.setTitle(tr("Are you sure to switch transfer type?"));
    question.setText(
        QStringLiteral("%1\n%2").arg(tr("To switch transfer type for ongoing jobs, please pause then resume them."),
                                     tr("Files will be transferred from BEGINNING after switching transfer type.")));
    // The English sentences are long; in a narrow dialog they would stand in many short lines.
    question.setMinimumWidth(GlobalConfig::instance()->language() == QLatin1String("en_us") ? 520 : 400);
    if (question.exec() == QDialog::Accepted || !alive)
        return;
    const QSignalBlocker quiet(m_type);
    m_type->setCurrentIndex(stored);
}

QString UdtSettings::chooseFolder(const QString &start)
{
    return QFileDialog::getExistingDirectory(window(), tr("Select target folder"), start);
}

void UdtSettings::browse()
{
    const QPointer<UdtSettings> alive(this);
    const QString chosen = chooseFolder(m_path->text().isEmpty() ? QDir::homePath() : m_path->text());
    if (alive && !chosen.isEmpty())
        m_path->setText(QDir::toNativeSeparators(chosen));
}

void UdtSettings::tell(const QString &text, bool warning)
{
    m_notice->setText(text);
    m_notice->setProperty("warning", warning);
    m_notice->style()->unpolish(m_notice);
    m_notice->style()->polish(m_notice);
}

void UdtSettings::ApplySetting()
{
    const QString id = subCenterId();
    if (id.isEmpty())
        return;
    DownloadPathSetting path;
    path.alwaysUseDefaultPath = m_alwaysSame->isChecked();
    path.alwaysAsk = !path.alwaysUseDefaultPath;
    path.defaultPath = QDir::fromNativeSeparators(m_path->text().trimmed());
    const QFileInfo folder(path.defaultPath);
    if (path.alwaysUseDefaultPath && (path.defaultPath.isEmpty() || !folder.isAbsolute() || !folder.isDir())) {
        tell(tr("The download path is no folder of this computer."), true);
        m_path->setFocus();
        return;
    }

    GlobalConfig *config = GlobalConfig::instance();
    TargetSpeed speed = m_stored;
    speed.transferType = m_type->currentText();
    speed.downMode = m_download->mode(speed.downMode);
    speed.upMode = m_upload->mode(speed.upMode);
    speed.downloadTargetSpeed = m_download->speed();
    speed.uploadTargetSpeed = m_upload->speed();
    config->setTargetSpeed(id, speed);
    config->setDownloadPath(id, path);
    m_stored = speed;
    bool kept = config->saveUserSettings();

    ZpdtSettings engine = config->zpdt();
    const int verify = m_verify->currentData().toInt();
    if ((engine.beVerify != 0) != (verify != 0)) {
        engine.beVerify = verify;
        config->setZpdt(engine);
        kept = config->save() && kept;
    }
    tell(kept ? tr("Saved.") : tr("The settings could not be saved and hold until the program ends."), !kept);
    emit SettingChanged(id);
}
