#include "FileDialog.h"

#include "NewFolderWidget.h"

#include <QDir>
#include <QFileSystemModel>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

/// Where the last choice of this run was made.
QString &lastFolder()
{
    static QString folder;
    return folder;
}

QToolButton *toolButton(QWidget *parent, const QString &objectName, const QString &icon, const QString &text)
{
    auto *button = new QToolButton(parent);
    button->setObjectName(objectName);
    button->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(icon)));
    button->setIconSize(QSize(18, 18));
    button->setAutoRaise(true);
    button->setToolTip(text);
    button->setAccessibleName(text);
    return button;
}

} // namespace

FileDialog::FileDialog(const QString &title, const QString &startFolder, QWidget *parent)
    : QDialog(parent)
    , m_model(new QFileSystemModel(this))
    , m_list(new QListView(this))
    , m_tree(new QTreeView(this))
    , m_views(new QStackedWidget(this))
    , m_listMode(toolButton(this, QStringLiteral("listModeButton"), QStringLiteral("grid"), tr("Icons")))
    , m_detailMode(toolButton(this, QStringLiteral("detailModeButton"), QStringLiteral("list"), tr("Details")))
    , m_newFolder(toolButton(this, QStringLiteral("newFolderButton"), QStringLiteral("newfolder"), tr("New Folder")))
    , m_up(toolButton(this, QStringLiteral("upButton"), QStringLiteral("up"), tr("Parent folder")))
    , m_path(new QLineEdit(this))
    , m_name(new QLineEdit(this))
    , m_select(new QPushButton(tr("Select(&S)"), this))
{
    setObjectName(QStringLiteral("FileDialog"));
    setWindowTitle(title);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    resize(760, 500);

    m_model->setFilter(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System);
    m_model->setReadOnly(true);
    m_list->setObjectName(QStringLiteral("listView"));
    m_tree->setObjectName(QStringLiteral("treeView"));
    m_list->setModel(m_model);
    m_tree->setModel(m_model);
    m_selection = m_list->selectionModel();
    QItemSelectionModel *unused = m_tree->selectionModel();
    m_tree->setSelectionModel(m_selection);
    delete unused;
    m_tree->setRootIsDecorated(false);
    m_tree->setItemsExpandable(false);
    m_tree->setUniformRowHeights(true);
    m_tree->setSortingEnabled(true);
    m_tree->sortByColumn(0, Qt::AscendingOrder);
    m_tree->setColumnHidden(2, true);
    m_tree->header()->resizeSection(0, 380);
    m_tree->header()->setStretchLastSection(true);
    m_list->setUniformItemSizes(true);
    m_list->setWrapping(true);
    m_list->setResizeMode(QListView::Adjust);
    for (QAbstractItemView *view :
         {static_cast<QAbstractItemView *>(m_list), static_cast<QAbstractItemView *>(m_tree)}) {
        view->setSelectionMode(QAbstractItemView::ExtendedSelection);
        view->setSelectionBehavior(QAbstractItemView::SelectRows);
        view->setEditTriggers(QAbstractItemView::NoEditTriggers);
        view->setAccessibleName(tr("Local files"));
        connect(view, &QAbstractItemView::activated, this, &FileDialog::open);
        m_views->addWidget(view);
    }
    connect(m_selection, &QItemSelectionModel::selectionChanged, this, &FileDialog::selectionChanged);
    buildBars();
    setMode(false);

    QString start = startFolder.isEmpty() ? lastFolder() : startFolder;
    if (start.isEmpty() || !QFileInfo(start).isDir())
        start = QDir::homePath();
    setFolder(start);
}

void FileDialog::buildBars()
{
    m_path->setObjectName(QStringLiteral("pathEdit"));
    m_path->setAccessibleName(tr("Folder"));
    m_name->setObjectName(QStringLiteral("fileNameEdit"));
    m_name->setAccessibleName(tr("Name"));
    m_listMode->setCheckable(true);
    m_detailMode->setCheckable(true);
    m_select->setObjectName(QStringLiteral("selectButton"));
    m_select->setDefault(true);
    auto *cancel = new QPushButton(tr("Cancel(&C)"), this);
    cancel->setObjectName(QStringLiteral("cancelButton"));
    cancel->setAutoDefault(false);

    auto *top = new QHBoxLayout;
    top->addWidget(m_up);
    top->addWidget(m_path, 1);
    top->addWidget(m_newFolder);
    top->addWidget(m_listMode);
    top->addWidget(m_detailMode);
    auto *bottom = new QHBoxLayout;
    auto *label = new QLabel(tr("Name"), this);
    label->setBuddy(m_name);
    bottom->addWidget(label);
    bottom->addWidget(m_name, 1);
    bottom->addWidget(m_select);
    bottom->addWidget(cancel);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 12, 14, 12);
    layout->setSpacing(10);
    layout->addLayout(top);
    layout->addWidget(m_views, 1);
    layout->addLayout(bottom);

    connect(m_select, &QPushButton::clicked, this, &FileDialog::onSelect);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_up, &QToolButton::clicked, this, [this] { setFolder(QFileInfo(m_folder).path()); });
    connect(m_newFolder, &QToolButton::clicked, this, &FileDialog::newFolder);
    connect(m_listMode, &QToolButton::clicked, this, [this] { setMode(true); });
    connect(m_detailMode, &QToolButton::clicked, this, [this] { setMode(false); });
    // Enter in the path goes there; it must not press the default button as well.
    connect(m_path, &QLineEdit::returnPressed, this, [this] {
        if (QFileInfo(m_path->text()).isDir())
            setFolder(m_path->text());
        else
            m_path->selectAll();
    });
    connect(m_path, &QLineEdit::textEdited, m_select, [this] { m_select->setDefault(false); });
    connect(m_path, &QLineEdit::editingFinished, m_select, [this] { m_select->setDefault(true); });
    auto *up = new QShortcut(QKeySequence(Qt::ALT + Qt::Key_Up), this);
    connect(up, &QShortcut::activated, m_up, &QToolButton::click);
}

void FileDialog::setFolder(const QString &folder)
{
    m_folder = QDir(folder).absolutePath();
    const QModelIndex root = m_model->setRootPath(m_folder);
    m_selection->clear();
    m_list->setRootIndex(root);
    m_tree->setRootIndex(root);
    m_path->setText(QDir::toNativeSeparators(m_folder));
    m_up->setEnabled(!QDir(m_folder).isRoot());
    m_name->clear();
}

void FileDialog::setMode(bool list)
{
    m_listMode->setChecked(list);
    m_detailMode->setChecked(!list);
    m_views->setCurrentIndex(list ? 0 : 1);
}

void FileDialog::open(const QModelIndex &index)
{
    if (m_model->isDir(index))
        setFolder(m_model->filePath(index));
    else
        onSelect();
}

void FileDialog::newFolder()
{
    const QPointer<FileDialog> self(this);
    const QPointer<NewFolderWidget> question = new NewFolderWidget(NewFolderWidget::NewFolder, {}, {}, this);
    const bool accepted = question->exec() == QDialog::Accepted;
    const QString name = question ? question->name() : QString();
    delete question;
    if (!self || !accepted)
        return;
    QDir folder(m_folder);
    if (folder.mkdir(name) || folder.exists(name))
        m_selection->setCurrentIndex(m_model->index(folder.filePath(name)),
                                     QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    else
        m_name->setPlaceholderText(tr("The folder could not be made here."));
}

QStringList FileDialog::selection() const
{
    QStringList paths;
    for (const QModelIndex &index : m_selection->selectedRows())
        paths.append(m_model->filePath(index));
    return paths;
}

QStringList FileDialog::typed() const
{
    const QString text = m_name->text();
    const QFileInfo file(QDir(m_folder), text);
    return text.isEmpty() || !file.exists() ? QStringList() : QStringList{file.absoluteFilePath()};
}

void FileDialog::selectionChanged()
{
    const QStringList paths = selection();
    if (paths.size() == 1)
        m_name->setText(QFileInfo(paths.first()).fileName());
    else
        m_name->setText(paths.isEmpty() ? QString() : tr("%1 selected").arg(paths.size()));
}

void FileDialog::onSelect()
{
    QStringList paths = selection();
    // A name typed over the shown one wins.
    const bool edited = m_name->isModified() && !typed().isEmpty();
    if (paths.isEmpty() || edited)
        paths = typed();
    if (paths.isEmpty()) {
        m_name->setFocus();
        m_name->selectAll();
        return;
    }
    m_chosen = paths;
    lastFolder() = m_folder;
    accept();
}
