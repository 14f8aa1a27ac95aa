#include "SelectCenterDialog.h"

#include "DialogAnswers.h"
#include "GlobalConfig.h"
#include "LoginService.h"
#include "MovableGroupBox.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QTextDocument>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr int kColumns = 4;
constexpr int kButtonHeight = 45;
constexpr int kGap = 10;
constexpr int kWidth = 700;
constexpr int kNameWidth = 96; // what a button leaves beside its picture

// Room at the left of a button for its picture.
const QString kIndent(11, QLatin1Char(' '));

} // namespace

SelectCenterDialog::SelectCenterDialog(QWidget *parent)
    : QDialog(parent)
    , m_config(GlobalConfig::instance())
    , m_frame(this)
    , m_list(new QWidget)
    , m_grid(new QGridLayout(m_list))
    , m_scroll(new QScrollArea(this))
    , m_prompt(new QLabel(tr("Please select default subcenter"), this))
    , m_hint(new QLabel(tr("Tips: Files are different among sub centers"), this))
    , m_ok(new QPushButton(tr("OK"), this))
    , m_cancel(new QPushButton(tr("Cancel"), this))
{
    setModal(true);
    m_frame.setTitle(tr("Select Subcenter"));
    disconnect(m_frame.closeButton(), nullptr, this, nullptr);
    connect(m_frame.closeButton(), SIGNAL(clicked()), this, SLOT(onExit()));

    m_prompt->setObjectName(QStringLiteral("prompt"));
    m_hint->setObjectName(QStringLiteral("tips"));
    m_ok->setObjectName(QStringLiteral("ok"));
    m_ok->setDefault(true);
    m_ok->setEnabled(false);
    m_cancel->setObjectName(QStringLiteral("cancel"));
    m_cancel->setAutoDefault(false);
    connect(m_ok, SIGNAL(clicked()), this, SLOT(accept()));
    connect(m_cancel, SIGNAL(clicked()), this, SLOT(onCancel()));

    m_list->setObjectName(QStringLiteral("centerList"));
    m_grid->setContentsMargins(0, 0, 0, 0);
    m_grid->setSpacing(kGap);
    m_grid->setAlignment(Qt::AlignTop);
    for (int column = 0; column < kColumns; ++column)
        m_grid->setColumnStretch(column, 1);
    m_scroll->setObjectName(QStringLiteral("centerArea"));
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidgetResizable(true);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_scroll->setWidget(m_list);

    m_frame.body()->setContentsMargins(24, 14, 24, 10);
    m_frame.body()->setSpacing(10);
    m_frame.body()->addWidget(m_prompt);
    m_frame.body()->addWidget(m_scroll);
    m_frame.body()->addStretch(1);
    m_frame.buttons()->setContentsMargins(24, 0, 24, 16);
    m_frame.buttons()->insertWidget(0, m_hint);
    m_frame.buttons()->addWidget(m_ok);
    m_frame.buttons()->addWidget(m_cancel);
    setFixedWidth(kWidth);

    connect(m_config, SIGNAL(handlerListSubCenterFinished()), this, SLOT(initSubCenter()));
    initSubCenter();
}

SelectCenterDialog::~SelectCenterDialog() = default;

void SelectCenterDialog::watch(LoginService *service)
{
    connect(service, SIGNAL(handlerCheckSubCenterFinished()), this, SLOT(refreshSubCenter()));
}

bool SelectCenterDialog::undecided()
{
    const GlobalConfig *config = GlobalConfig::instance();
    if (config->subCenters().isEmpty())
        return true;
    const SubCenter current = config->subCenter(config->currentSubCenterId());
    return !current.id.isEmpty() && current.path.isEmpty();
}

bool SelectCenterDialog::needed()
{
    const GlobalConfig *config = GlobalConfig::instance();
    return !undecided() && !config->subCenter(config->currentSubCenterId()).hasHome();
}

QPushButton *SelectCenterDialog::findButton(const QString &id) const
{
    return m_list->findChild<QPushButton *>(id, Qt::FindDirectChildrenOnly);
}

void SelectCenterDialog::initSubCenter()
{
    for (const QString &id : qAsConst(m_ids))
        delete findButton(id);
    m_ids.clear();

    const QList<SubCenter> centers = m_config->subCenters();
    for (const SubCenter &center : centers) {
        auto *button = new QPushButton(m_list);
        QString label = button->fontMetrics().elidedText(center.name, Qt::ElideRight, kNameWidth);
        button->setText(kIndent + label.replace(QLatin1Char('&'), QLatin1String("&&")));
        button->setObjectName(center.id);
        // A tool tip that looks like markup would be shown as such.
        button->setToolTip(Qt::mightBeRichText(center.name) ? center.name.toHtmlEscaped() : center.name);
        button->setAccessibleName(center.name);
        button->setCheckable(true);
        button->setAutoDefault(false);
        button->setFixedHeight(kButtonHeight);
        button->setMinimumWidth(0);
        button->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        button->setProperty("subCenter", true);
        connect(button, SIGNAL(clicked()), this, SLOT(onClick()));
        const int number = m_ids.size();
        m_grid->addWidget(button, number / kColumns, number % kColumns);
        m_ids << center.id;
    }
    fit(centers.size());
    if (m_chosen.isEmpty())
        m_chosen = m_config->currentSubCenterId();
    refreshSubCenter();
}

void SelectCenterDialog::refreshSubCenter()
{
    bool chosen = false;
    for (const QString &id : qAsConst(m_ids)) {
        QPushButton *button = findButton(id);
        const bool usable = m_config->subCenter(id).hasHome();
        button->setEnabled(usable);
        button->setChecked(usable && id == m_chosen);
        chosen = chosen || button->isChecked();
    }
    m_ok->setEnabled(chosen);
}

void SelectCenterDialog::fit(int count)
{
    const int rows = count > 8 ? 3 : count >= 5 ? 2 : 1;
    const int list = rows * kButtonHeight + (rows - 1) * kGap;
    m_scroll->setMinimumHeight(list);
    m_scroll->setMaximumHeight(list);
    setMinimumHeight(list + 160);
    setMaximumHeight(list + 160);
}

void SelectCenterDialog::onClick()
{
    auto *clicked = qobject_cast<QPushButton *>(sender());
    if (!clicked || !m_ids.contains(clicked->objectName()))
        return;
    for (const QString &id : qAsConst(m_ids)) {
        QPushButton *button = findButton(id);
        if (button->isEnabled())
            button->setChecked(button == clicked);
    }
    m_chosen = clicked->objectName();
    m_ok->setEnabled(true);
}

bool SelectCenterDialog::anyChecked() const
{
    for (const QString &id : m_ids) {
        if (findButton(id)->isChecked())
            return true;
    }
    return false;
}

void SelectCenterDialog::accept()
{
    if (!anyChecked())
        return;
    m_config->setCurrentSubCenterId(m_chosen);
    if (!m_config->subCenter(m_config->defaultSubCenterId()).hasHome()) {
        m_config->setDefaultSubCenterId(m_chosen);
        m_config->saveUserSettings();
    }
    QDialog::accept();
    emit centerSelected(m_chosen);
}

void SelectCenterDialog::finish(int stateWithoutChoice)
{
    if (!anyChecked()) {
        m_config->setState(stateWithoutChoice);
        emit sigLogout();
    }
    done(QDialog::Rejected);
}

void SelectCenterDialog::onCancel()
{
    finish(GlobalConfig::LoggedOut);
}

void SelectCenterDialog::onExit()
{
    finish(GlobalConfig::Quitting);
}

void SelectCenterDialog::reject()
{
    onCancel();
}

void SelectCenterDialog::closeEvent(QCloseEvent *event)
{
    if (isVisible())
        onExit();
    event->accept();
}

void SelectCenterDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    if (event->spontaneous())
        return;
    m_frame.present(m_prompt->text());
    QPushButton *chosen = findButton(m_chosen);
    (chosen && chosen->isEnabled() ? chosen : m_cancel)->setFocus();
}
