#include "MyDiskDirectoryBrowser.h"

#include "FileItemReader.h"
#include "FileListing.h"
#include "FileOrder.h"
#include "GlobalConfig.h"
#include "MyDiskDirectoryBrowserTree.h"
#include "NewFolderWidget.h"
#include "OrderedWork.h"

#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int Interval = 10;      // ms between portions of new folders
constexpr int Portion = 8;        // ms that a portion may take
constexpr int ReadHere = 1 << 16; // bytes of an answer that is read at once

/// The folders of a listing, in the order of the views.
QVector<FileItem> foldersOf(const QByteArray &body)
{
    QVector<FileItem> folders;
    for (const FileItem &item : FileItemReader::items(body, FileItemReader::PlainTime)) {
        // A name that is missing or reaches elsewhere is no folder that could be entered.
        if (item.isFolder() && !item.name.isEmpty() && item.path.startsWith(QLatin1Char('/')))
            folders.append(item);
    }
    FileOrder::sort(folders, FileOrder::FileName);
    return folders;
}

} // namespace

MyDiskDirectoryBrowser::MyDiskDirectoryBrowser(const QString &url, QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_client(GlobalConfig::instance()->client())
    , m_work(new OrderedWork(this))
    , m_tree(new MyDiskDirectoryBrowserTree(this))
    , m_newFolder(new QPushButton(tr("New Folder"), this))
    , m_notice(new QLabel(this))
{
    setObjectName(QStringLiteral("widFolderBrowser"));
    m_client.setUrl(url);
    m_frame.setTitle(tr("Please select the location copy to"));
    m_frame.addAnswers(tr("OK"), tr("Cancel"));
    m_newFolder->setObjectName(QStringLiteral("newFolderButton"));
    m_newFolder->setAutoDefault(false);
    m_frame.buttons()->insertWidget(0, m_newFolder);
    m_notice->setObjectName(QStringLiteral("pickerNotice"));
    m_notice->setTextFormat(Qt::PlainText);
    m_notice->setWordWrap(true);
    m_notice->hide();
    m_tree->setMinimumSize(460, 340);
    m_frame.body()->addWidget(m_tree, 1);
    m_frame.body()->addWidget(m_notice);

    m_timer.setInterval(Interval);
    connect(&m_timer, SIGNAL(timeout()), this, SLOT(slotAddChildren()));
    connect(m_tree, SIGNAL(itemExpanded(QTreeWidgetItem *)), this, SLOT(slotExpand(QTreeWidgetItem *)));
    connect(m_tree, &QTreeWidget::itemSelectionChanged, this, &MyDiskDirectoryBrowser::updateButtons);
    connect(m_newFolder, &QPushButton::clicked, this, &MyDiskDirectoryBrowser::newFolder);
    connect(&m_client, SIGNAL(listFileFinished(qint64, int, QByteArray)), this,
            SLOT(slotHandleListFinished(qint64, int, QByteArray)), Qt::QueuedConnection);
    connect(&m_client, &OrvClient::mkdirFinished, this, &MyDiskDirectoryBrowser::handleMkdir, Qt::QueuedConnection);
    m_tree->root()->setExpanded(true);
}

MyDiskDirectoryBrowser::~MyDiskDirectoryBrowser() = default;

void MyDiskDirectoryBrowser::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    m_frame.present(windowTitle());
    m_tree->setFocus();
    updateButtons();
}

bool MyDiskDirectoryBrowser::mayChoose(const QString &path) const
{
    return !path.isEmpty() && !m_tree->isForbidden(path);
}

void MyDiskDirectoryBrowser::updateButtons()
{
    const QString path = MyDiskDirectoryBrowserTree::pathOf(m_tree->currentItem());
    if (auto *ok = findChild<QPushButton *>(QStringLiteral("ok")))
        ok->setEnabled(mayChoose(path));
    m_newFolder->setEnabled(!path.isEmpty() && !m_tree->isForbidden(path) && m_mkdir == 0);
}

void MyDiskDirectoryBrowser::accept()
{
    const QString path = MyDiskDirectoryBrowserTree::pathOf(m_tree->currentItem());
    if (!mayChoose(path))
        return;
    m_folder = FileListing::withSlash(path);
    QDialog::accept();
}

// Listing

QPersistentModelIndex MyDiskDirectoryBrowser::place(QTreeWidgetItem *item) const
{
    return m_tree->indexOf(item);
}

QTreeWidgetItem *MyDiskDirectoryBrowser::itemAt(const QPersistentModelIndex &index) const
{
    return index.isValid() ? m_tree->itemOf(index) : nullptr;
}

void MyDiskDirectoryBrowser::slotExpand(QTreeWidgetItem *item)
{
    if (!MyDiskDirectoryBrowserTree::wantsChildren(item))
        return;
    m_tree->setLoading(item);
    const QString folder = FileListing::withSlash(MyDiskDirectoryBrowserTree::pathOf(item));
    m_requests.insert(m_client.listFile(folder, 2), place(item));
}

void MyDiskDirectoryBrowser::slotHandleListFinished(qint64 id, int code, QByteArray body)
{
    const auto found = m_requests.find(id);
    if (found == m_requests.end())
        return;
    const QPersistentModelIndex parent = *found;
    m_requests.erase(found);
    GlobalConfig::instance()->noteAnswer(code);
    if (code != 200) {
        if (QTreeWidgetItem *item = itemAt(parent))
            m_tree->setLoaded(item, code == 203 ? tr("Path not found!") : tr("The folder could not be opened."));
        return;
    }
    m_work->runIf(body.size() > ReadHere, [this, parent, body]() -> OrderedWork::Deliver {
        const QVector<FileItem> folders = foldersOf(body);
        return [this, parent, folders] {
            m_arrivals.append({parent, folders.toList(), 0});
            m_timer.start();
        };
    });
}

void MyDiskDirectoryBrowser::slotAddChildren()
{
    QElapsedTimer spent;
    spent.start();
    while (!m_arrivals.isEmpty() && spent.elapsed() < Portion) {
        Arrivals &first = m_arrivals.first();
        QTreeWidgetItem *parent = itemAt(first.parent);
        if (!parent || first.next >= first.folders.size()) {
            if (parent)
                m_tree->setLoaded(parent);
            m_arrivals.removeFirst();
            continue;
        }
        // By the handful, because looking at the clock takes longer than a row.
        for (int i = 0; i < 20 && first.next < first.folders.size(); ++i)
            m_tree->addFolder(parent, first.folders.at(first.next++));
    }
    if (m_arrivals.isEmpty())
        m_timer.stop();
}

// A new folder

void MyDiskDirectoryBrowser::newFolder()
{
    QTreeWidgetItem *parent = m_tree->currentItem();
    const QString path = MyDiskDirectoryBrowserTree::pathOf(parent);
    if (path.isEmpty() || m_mkdir != 0)
        return;
    const QPersistentModelIndex where = place(parent);
    const QPointer<MyDiskDirectoryBrowser> self(this);
    const QPointer<NewFolderWidget> question =
        new NewFolderWidget(NewFolderWidget::NewFolder, MyDiskDirectoryBrowserTree::names(parent), QString(), this);
    const bool accepted = question->exec() == QDialog::Accepted;
    const QString name = question ? question->name() : QString();
    delete question;
    if (!self || !accepted)
        return;
    m_notice->hide();
    m_made = FileItem();
    m_made.name = name;
    m_made.type = FileItem::Folder;
    m_made.path = FileListing::withSlash(path) + name;
    m_madeIn = where;
    m_mkdir = m_client.mkdir(m_made.path);
    updateButtons();
}

void MyDiskDirectoryBrowser::handleMkdir(qint64 id, int code)
{
    if (id != m_mkdir)
        return;
    m_mkdir = 0;
    GlobalConfig::instance()->noteAnswer(code);
    updateButtons();
    QTreeWidgetItem *parent = itemAt(m_madeIn);
    if (code != 200)
        return tell(tr("The folder could not be created."));
    if (!parent)
        return;
    // A folder that is not listed yet will show the new one when it is.
    if (MyDiskDirectoryBrowserTree::wantsChildren(parent)) {
        parent->setExpanded(true);
        return;
    }
    parent->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    QTreeWidgetItem *item = m_tree->addFolder(parent, m_made);
    m_tree->setLoaded(item); // nothing is in it
    parent->setExpanded(true);
    m_tree->setCurrentItem(item);
    m_tree->scrollToItem(item);
}

void MyDiskDirectoryBrowser::tell(const QString &text)
{
    m_notice->setText(text);
    m_notice->show();
}
