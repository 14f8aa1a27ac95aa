#include "ShareBrowser.h"

#include "AddressBar.h"
#include "BusyStrip.h"
#include "FileItemModel.h"
#include "FileOrder.h"
#include "FileWidget.h"
#include "ShareService.h"

#include <QAbstractItemView>
#include <QEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QVBoxLayout>

ShareBrowser::ShareBrowser(ShareService *service, QWidget *parent)
    : QWidget(parent)
    , m_service(service)
    , m_address(new AddressBar(this))
    , m_busy(new BusyStrip(this))
    , m_view(new FileWidget(this))
    , m_empty(new QLabel(this))
{
    m_address->setObjectName(QStringLiteral("addressBar"));
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setProperty("hint", true);
    m_empty->hide();
    const auto views = m_view->findChildren<QAbstractItemView *>();
    for (QAbstractItemView *view : views) {
        view->setAcceptDrops(false);
        view->setDragEnabled(false);
        view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    }
    auto *bar = new QVBoxLayout;
    bar->setContentsMargins(12, 6, 12, 6);
    bar->addWidget(m_address);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(bar);
    all->addWidget(m_view, 1);
    all->addWidget(m_empty, 1);

    connect(m_address, &AddressBar::sigIntoFolder, this, &ShareBrowser::open);
    connect(m_view, &FileWidget::sigIntoFolder, this, &ShareBrowser::open);
    connect(m_view, &FileWidget::sigOpenFile, this, [this](const QString &path) {
        const int row = m_view->model()->rowOf(path);
        if (row >= 0)
            emit fileOpened(m_view->model()->item(row));
    });
    connect(m_view, &FileWidget::menuAsked, this, &ShareBrowser::menuAsked);
    connect(m_view, &FileWidget::selectionChanged, this, &ShareBrowser::selectionChanged);
    connect(m_view, &FileWidget::sortTypeAsked, m_view, &FileWidget::setSortType);
    connect(service, &ShareService::handlerShareToMeListFileFinished, this, &ShareBrowser::show);
    connect(service, &ShareService::handlerRequestFailed, this, [this](const QString &operation) {
        if (operation != QLatin1String("shareToMeListFile"))
            return;
        m_busy->stop();
        m_address->setPath(m_path); // still where it was
        if (m_path.isEmpty())
            emit left();
    });
    retranslate();
    setFocusProxy(m_view);
}

void ShareBrowser::enter(const ShareRecord &record)
{
    m_record = record;
    m_path.clear();
    m_view->setFilter(QString());
    m_view->model()->show({});
    m_empty->hide();
    m_view->show();
    open(QLatin1Char('/') + record.name);
}

QList<FileItem> ShareBrowser::selectedItems() const
{
    return m_view->selectedItems();
}

QList<FileItem> ShareBrowser::items() const
{
    QList<FileItem> all;
    const FileItemModel *model = m_view->model();
    for (int row = 0; row < model->rowCount(); ++row)
        all << model->item(row);
    return all;
}

void ShareBrowser::setFilter(const QString &text)
{
    m_view->setFilter(text);
}

void ShareBrowser::refresh()
{
    open(m_path);
}

void ShareBrowser::open(const QString &path)
{
    QString wanted = path;
    while (wanted.size() > 1 && wanted.endsWith(QLatin1Char('/')))
        wanted.chop(1);
    if (wanted.size() <= 1) {
        emit left();
        return;
    }
    m_wanted = wanted;
    m_busy->start();
    m_service->shareToMeListFile(m_record, wanted);
}

void ShareBrowser::show(const QList<FileItem> &items)
{
    if (m_service->answeredRecord().shareId != m_record.shareId || m_service->answeredPath() != m_wanted)
        return;
    m_busy->stop();
    m_path = m_wanted;
    m_address->setPath(m_path);
    m_view->model()->show(items, m_path, false);
    m_view->setVisible(!items.isEmpty());
    m_empty->setVisible(items.isEmpty());
    emit selectionChanged();
}

void ShareBrowser::goUp()
{
    open(m_path.left(m_path.lastIndexOf(QLatin1Char('/'))));
}

void ShareBrowser::keyPressEvent(QKeyEvent *event)
{
    const bool up = event->key() == Qt::Key_Backspace || (event->modifiers() & Qt::AltModifier &&
                                                          (event->key() == Qt::Key_Up || event->key() == Qt::Key_Left));
    if (up)
        goUp();
    else if (event->key() == Qt::Key_F5)
        refresh();
    else
        QWidget::keyPressEvent(event);
}

void ShareBrowser::retranslate()
{
    m_address->setRootName(tr("Shared with me"));
    m_empty->setText(tr("This folder is empty."));
}

void ShareBrowser::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
