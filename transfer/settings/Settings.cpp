#include "Settings.h"

#include "ConcurrenceSettings.h"
#include "GlobalConfig.h"
#include "MovableGroupBox.h"
#include "UdtSettings.h"

#include <QButtonGroup>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScreen>
#include <QStackedWidget>
#include <QVBoxLayout>

Settings::Settings(QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_buttons(new QButtonGroup(this))
    , m_pages(new QStackedWidget)
{
    setObjectName(QStringLiteral("Settings"));
    setWindowTitle(tr("Transfer Settings"));
    m_frame.setTitle(tr("Transfer Settings"));

    auto *bar = new QVBoxLayout;
    bar->setSpacing(4);
    auto *columns = new QHBoxLayout;
    columns->setSpacing(18);
    columns->addLayout(bar);
    columns->addWidget(m_pages, 1);
    m_frame.body()->addLayout(columns, 1);
    m_frame.body()->setContentsMargins(16, 16, 16, 0);

    auto *transfer = new UdtSettings;
    connect(transfer, SIGNAL(SettingChanged(QString)), this, SIGNAL(SettingChanged(QString)));
    addPage(transfer, QStringLiteral("Transfer"), tr("Transfer"));
    auto *tasks = new ConcurrenceSettings;
    connect(tasks, &ConcurrenceSettings::concurrenceChanged, this, &Settings::concurrenceChanged);
    addPage(tasks, QStringLiteral("Tasks"), tr("Tasks"));
    const QList<QAbstractButton *> buttons = m_buttons->buttons();
    for (QAbstractButton *button : buttons)
        bar->addWidget(button);
    bar->addStretch(1);
    if (!buttons.isEmpty())
        buttons.first()->setChecked(true);
    connect(m_buttons, QOverload<int>::of(&QButtonGroup::idClicked), m_pages, &QStackedWidget::setCurrentIndex);
}

Settings::~Settings() = default;

bool Settings::offered()
{
    return GlobalConfig::instance()->settingsPage().show != 0;
}

void Settings::addPage(QWidget *page, const QString &option, const QString &title)
{
    if (GlobalConfig::instance()->settingsPage().subPage.value(option, 1) == 0) {
        delete page;
        return;
    }
    auto *button = new QPushButton(title);
    button->setObjectName(QString(page->objectName()).replace(QStringLiteral("page_"), QStringLiteral("btn_")));
    button->setProperty("pageButton", true);
    button->setCheckable(true);
    button->setAutoDefault(false);
    m_buttons->addButton(button, m_pages->addWidget(page));
}

void Settings::embed()
{
    setWindowFlags(Qt::Widget);
    m_frame.titleBar()->hide();
}

void Settings::showEvent(QShowEvent *event)
{
    if (!isWindow())
        return QDialog::showEvent(event);
    const QScreen *on = screen();
    const QSize room = on ? on->availableSize() : QSize(800, 600);
    setFixedSize(QSize(860, 750).boundedTo(room * 9 / 10));
    m_frame.present(QString());
    if (QWidget *page = m_pages->currentWidget())
        page->nextInFocusChain()->setFocus();
    QDialog::showEvent(event);
}
