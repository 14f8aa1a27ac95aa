#include "TabWidget.h"

#include <QEvent>
#include <QMenu>
#include <QTabBar>

TabWidget::TabWidget(QWidget *parent)
    : QTabWidget(parent)
{
    setTabsClosable(true);
    setMovable(true);
    setDocumentMode(true);
    setTabBarAutoHide(true);
    setElideMode(Qt::ElideMiddle);
    tabBar()->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(tabBar(), &QWidget::customContextMenuRequested, this, &TabWidget::showMenu);
    connect(this, &QTabWidget::tabCloseRequested, this, &TabWidget::sigCloseTab);
    connect(this, &QTabWidget::tabBarDoubleClicked, this, [this](int index) {
        if (index < 0)
            emit sigAddTab();
    });
}

void TabWidget::setTitle(QWidget *page, const QString &text)
{
    QString shown = text;
    shown.replace(QLatin1Char('&'), QLatin1String("&&"));
    const int index = indexOf(page);
    setTabText(index, shown);
    setTabToolTip(index, QStringLiteral("<qt>%1</qt>").arg(text.toHtmlEscaped()));
}

void TabWidget::tabInserted(int index)
{
    QTabWidget::tabInserted(index);
    retranslate();
}

void TabWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QTabWidget::changeEvent(event);
}

void TabWidget::retranslate()
{
    for (int i = 0; i < count(); ++i) {
        for (QTabBar::ButtonPosition side : {QTabBar::LeftSide, QTabBar::RightSide}) {
            if (QWidget *close = tabBar()->tabButton(i, side))
                close->setToolTip(tr("Close tab"));
        }
    }
}

void TabWidget::showMenu(const QPoint &position)
{
    const int index = tabBar()->tabAt(position);
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("New tab"), this, &TabWidget::sigAddTab);
    if (index >= 0) {
        menu->addAction(tr("Move to a new pane"), this, [this, index] { emit sigSplitWidget(index); });
        menu->addAction(tr("Close tab"), this, [this, index] { emit sigCloseTab(index); });
    }
    menu->popup(tabBar()->mapToGlobal(position));
}
