#include "FileDialog.h"

#include "DataBaseManager.h"
#include "FileItemModel.h"
#include "FileListWidget.h"
#include "FileTreeWidget.h"
#include "GlobalConfig.h"
#include "LocalFolder.h"
#include "NewFolderWidget.h"

#include <QDir>
#include <QHBoxLayout>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr int KeptSelection = 5000; ///< entries that stay selected when the folder changes

const char *const SettingsKey = "UploadPicker";

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

/// The user's database; before a login there is none.
QString database()
{
    GlobalConfig *config = GlobalConfig::instance();
    const QString user = config->currentUser().username;
    return !user.isEmpty() && config->userDatabaseExists(user) ? config->userDatabase(user) : QString();
}

/// What was remembered last; also for as long as the program runs without a user.
QJsonObject &memory()
{
    static QJsonObject settings;
    return settings;
}

} // namespace

FileDialog::FileDialog(const QString &title, const QString &startFolder, QWidget *parent)
    : QDialog(parent)
    , m_disk(new LocalFolder(this))
    , m_model(new FileItemModel(this))
    , m_list(new FileListWidget(this))
    , m_tree(new FileTreeWidget(this))
    , m_places(new QListWidget(this))
    , m_views(new QStackedWidget(this))
    , m_listMode(toolButton(this, QStringLiteral("listModeButton"), QStringLiteral("grid"), tr("Icons")))
    , m_detailMode(toolButton(this, QStringLiteral("detailModeButton"), QStringLiteral("list"), tr("Details")))
    , m_newFolder(toolButton(this, QStringLiteral("newFolderButton"), QStringLiteral("newfolder"), tr("New Folder")))
    , m_up(toolButton(this, QStringLiteral("upButton"), QStringLiteral("up"), tr("Parent folder")))
    , m_path(new QLineEdit(this))
    , m_filter(new QLineEdit(this))
    , m_name(new QLineEdit(this))
    , m_notice(new QLabel(this))
    , m_select(new QPushButton(tr("Select(&S)"), this))
{
    setObjectName(QStringLiteral("FileDialog"));
    setWindowTitle(title);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    resize(880, 560);
    buildViews();
    auto *middle = new QHBoxLayout;
    middle->setSpacing(10);
    middle->addWidget(m_places);
    middle->addWidget(m_views, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 12, 14, 12);
    layout->setSpacing(10);
    layout->addLayout(buildTop());
    layout->addWidget(m_notice);
    layout->addLayout(middle, 1);
    layout->addLayout(buildBottom());
    connect(m_disk, &LocalFolder::listed, this, &FileDialog::showItems);
    // A folder that changes twice in a moment is shown twice; the second time, what the first restored has to stay.
    connect(m_model, &QAbstractItemModel::modelAboutToBeReset, this, [this] {
        if (m_toSelect.isEmpty() && selectedCount() > 0 && selectedCount() <= KeptSelection)
            m_toSelect = selection();
    });
    connect(m_model, &FileItemModel::shown, this, [this] {
        selectPaths(m_toSelect);
        if (m_place > 0)
            currentView()->verticalScrollBar()->setValue(m_place);
    });
    restore(startFolder);
}

FileDialog::~FileDialog() = default;

void FileDialog::buildViews()
{
    m_list->setObjectName(QStringLiteral("listView"));
    m_tree->setObjectName(QStringLiteral("treeView"));
    m_list->setIconSize(QSize(64, 64));
    m_list->setFileModel(m_model);
    m_tree->setFileModel(m_model);
    m_selection = m_list->selectionModel();
    QItemSelectionModel *unused = m_tree->selectionModel();
    m_tree->setSelectionModel(m_selection);
    delete unused;
    for (QAbstractItemView *view :
         {static_cast<QAbstractItemView *>(m_list), static_cast<QAbstractItemView *>(m_tree)}) {
        view->setDragEnabled(false);
        view->setAcceptDrops(false);
        view->setAccessibleName(tr("Local files"));
        connect(view, &QAbstractItemView::activated, this, &FileDialog::openEntry);
        m_views->addWidget(view);
    }
    connect(m_tree, &FileTreeWidget::orderAsked, this, &FileDialog::setOrder);
    connect(m_selection, &QItemSelectionModel::selectionChanged, this, &FileDialog::selectionChanged);

    m_places->setObjectName(QStringLiteral("placesList"));
    m_places->setAccessibleName(tr("Places"));
    m_places->setFixedWidth(150);
    m_places->setIconSize(QSize(18, 18));
    m_places->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    addPlaces();
    connect(m_places, &QListWidget::itemClicked, this,
            [this](QListWidgetItem *item) { setFolder(item->data(Qt::UserRole).toString()); });
    connect(m_places, &QListWidget::itemActivated, this,
            [this](QListWidgetItem *item) { setFolder(item->data(Qt::UserRole).toString()); });
}

void FileDialog::addPlaces()
{
    const auto add = [this](const QString &path, const QString &icon, const QString &text) {
        if (path.isEmpty() || !QFileInfo(path).isDir())
            return;
        auto *item = new QListWidgetItem(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(icon)),
                                         text.isEmpty() ? QDir::toNativeSeparators(path) : text, m_places);
        item->setData(Qt::UserRole, path);
        item->setToolTip(QDir::toNativeSeparators(path));
    };
    add(QDir::homePath(), QStringLiteral("home"), tr("Home"));
    const auto place = QStandardPaths::writableLocation;
    const QString folder = QStringLiteral("folder");
    const QString home = QDir::homePath();
    const QPair<QStandardPaths::StandardLocation, QString> places[] = {
        {QStandardPaths::DesktopLocation, tr("Desktop")},    {QStandardPaths::DocumentsLocation, tr("Documents")},
        {QStandardPaths::DownloadLocation, tr("Downloads")}, {QStandardPaths::PicturesLocation, tr("Pictures")},
        {QStandardPaths::MoviesLocation, tr("Videos")},
    };
    for (const auto &entry : places) {
        if (place(entry.first) != home) // where there is no such folder
            add(place(entry.first), folder, entry.second);
    }
    for (const QFileInfo &drive : QDir::drives())
        add(drive.absoluteFilePath(), QStringLiteral("disk"), QString());
}

QHBoxLayout *FileDialog::buildTop()
{
    m_path->setObjectName(QStringLiteral("pathEdit"));
    m_path->setAccessibleName(tr("Folder"));
    m_filter->setObjectName(QStringLiteral("filterEdit"));
    m_filter->setPlaceholderText(tr("Filter"));
    m_filter->setAccessibleName(tr("Filter"));
    m_filter->setClearButtonEnabled(true);
    m_filter->setMaximumWidth(160);
    m_listMode->setCheckable(true);
    m_detailMode->setCheckable(true);
    m_notice->setObjectName(QStringLiteral("pickerNotice"));
    m_notice->setTextFormat(Qt::PlainText);
    m_notice->setWordWrap(true);
    m_notice->hide();
    auto *top = new QHBoxLayout;
    top->addWidget(m_up);
    top->addWidget(m_path, 1);
    top->addWidget(m_filter);
    top->addWidget(m_newFolder);
    top->addWidget(m_listMode);
    top->addWidget(m_detailMode);
    connect(m_up, &QToolButton::clicked, this, [this] {
        const QString left = m_folder;
        setFolder(QFileInfo(m_folder).path());
        m_toSelect = QStringList{left};
    });
    connect(m_newFolder, &QToolButton::clicked, this, &FileDialog::newFolder);
    connect(m_listMode, &QToolButton::clicked, this, [this] { setMode(true); });
    connect(m_detailMode, &QToolButton::clicked, this, [this] { setMode(false); });
    connect(m_filter, &QLineEdit::textChanged, m_model, &FileItemModel::setFilter);
    auto *up = new QShortcut(QKeySequence(Qt::ALT + Qt::Key_Up), this);
    connect(up, &QShortcut::activated, m_up, &QToolButton::click);
    auto *hidden = new QShortcut(QKeySequence(Qt::CTRL + Qt::Key_H), this);
    connect(hidden, &QShortcut::activated, this, [this] { m_disk->setHiddenShown(!m_disk->isHiddenShown()); });
    auto *path = new QShortcut(QKeySequence(Qt::CTRL + Qt::Key_L), this);
    connect(path, &QShortcut::activated, m_path, [this] {
        m_path->setFocus();
        m_path->selectAll();
    });
    auto *filter = new QShortcut(QKeySequence(QKeySequence::Find), this);
    connect(filter, &QShortcut::activated, m_filter, [this] { m_filter->setFocus(); });
    return top;
}

QHBoxLayout *FileDialog::buildBottom()
{
    m_name->setObjectName(QStringLiteral("fileNameEdit"));
    m_name->setAccessibleName(tr("Name"));
    m_select->setObjectName(QStringLiteral("selectButton"));
    m_select->setDefault(true);
    auto *cancel = new QPushButton(tr("Cancel(&C)"), this);
    cancel->setObjectName(QStringLiteral("cancelButton"));
    cancel->setAutoDefault(false);
    auto *label = new QLabel(tr("Name"), this);
    label->setBuddy(m_name);
    auto *bottom = new QHBoxLayout;
    bottom->addWidget(label);
    bottom->addWidget(m_name, 1);
    bottom->addWidget(m_select);
    bottom->addWidget(cancel);
    connect(m_select, &QPushButton::clicked, this, &FileDialog::onSelect);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    return bottom;
}

void FileDialog::keyPressEvent(QKeyEvent *event)
{
    // Enter in a field does what the field is for; it must not press the default button as well.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (m_path->hasFocus())
            return goTo(m_path->text());
        if (m_filter->hasFocus())
            return m_views->currentWidget()->setFocus();
    }
    if (event->key() == Qt::Key_Escape && m_filter->hasFocus() && !m_filter->text().isEmpty())
        return m_filter->clear();
    if (event->key() == Qt::Key_Backspace && m_views->currentWidget()->hasFocus())
        return m_up->click();
    QDialog::keyPressEvent(event);
}

// Places

void FileDialog::goTo(const QString &typed)
{
    QString path = QDir::fromNativeSeparators(typed.trimmed());
    if (path == QLatin1String("~") || path.startsWith(QLatin1String("~/")))
        path.replace(0, 1, QDir::homePath());
    const QFileInfo file(QDir(m_folder), path);
    if (path.isEmpty() || !file.exists()) {
        m_notice->setText(tr("There is no such folder."));
        m_notice->show();
        m_path->selectAll();
    } else if (file.isDir()) {
        setFolder(file.absoluteFilePath());
        m_views->currentWidget()->setFocus();
    } else {
        setFolder(file.absolutePath());
        m_toSelect = QStringList{file.absoluteFilePath()};
    }
}

void FileDialog::setFolder(const QString &folder)
{
    m_folder = QDir(folder).absolutePath();
    m_toSelect.clear();
    m_notice->hide();
    m_filter->clear();
    m_path->setText(QDir::toNativeSeparators(m_folder));
    m_up->setEnabled(!QDir(m_folder).isRoot());
    m_name->clear();
    m_selection->clear();
    m_model->show({}); // the entries of the old folder are no choice any more, however long the disk takes
    m_model->setFolder(m_folder);
    m_disk->open(m_folder);
    for (int i = 0; i < m_places->count(); ++i)
        m_places->item(i)->setSelected(m_places->item(i)->data(Qt::UserRole).toString() == m_folder);
}

void FileDialog::showItems(const QList<FileItem> &items, bool again)
{
    // What the person has chosen so far, and where, outlives a change of the folder.
    m_place = again ? currentView()->verticalScrollBar()->value() : 0;
    if (again && selectedCount() > 0)
        m_toSelect = selectedCount() <= KeptSelection ? selection() : QStringList();
    if (items.isEmpty() && !QFileInfo(m_folder).isReadable()) {
        m_notice->setText(tr("The folder cannot be read."));
        m_notice->show();
    }
    m_model->show(items);
}

void FileDialog::selectPaths(const QStringList &paths)
{
    QItemSelection selected;
    QModelIndex first;
    for (const QString &path : paths) {
        const int row = m_model->rowOf(path);
        if (row < 0)
            continue;
        const QModelIndex index = m_model->index(row, FileItemModel::NameColumn);
        selected.select(index, m_model->index(row, FileItemModel::ColumnCount - 1));
        if (!first.isValid())
            first = index;
    }
    if (!first.isValid())
        return;
    m_toSelect.clear();
    m_selection->select(selected, QItemSelectionModel::ClearAndSelect);
    m_selection->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
    if (m_place == 0)
        currentView()->scrollTo(first);
}

QAbstractItemView *FileDialog::currentView() const
{
    return static_cast<QAbstractItemView *>(m_views->currentWidget());
}

void FileDialog::setMode(bool list)
{
    m_listMode->setChecked(list);
    m_detailMode->setChecked(!list);
    m_views->setCurrentIndex(list ? 0 : 1);
}

void FileDialog::setOrder(int order)
{
    m_model->setOrder(FileOrder::Type(order));
    m_tree->setSortIndicator(m_model->order());
}

void FileDialog::openEntry(const QModelIndex &index)
{
    // Enter on several takes them as they are; one folder is entered.
    const FileItem item = m_model->item(index.row());
    if (item.isFolder() && selectedCount() <= 1)
        setFolder(item.path);
    else
        onSelect();
}

void FileDialog::newFolder()
{
    const QPointer<FileDialog> self(this);
    const QPointer<NewFolderWidget> question =
        new NewFolderWidget(NewFolderWidget::NewFolder, m_model->names(), {}, this);
    const bool accepted = question->exec() == QDialog::Accepted;
    const QString name = question ? question->name() : QString();
    delete question;
    if (!self || !accepted)
        return;
    QDir folder(m_folder);
    if (folder.mkdir(name) || folder.exists(name)) {
        const QString made = folder.filePath(name);
        setFolder(m_folder);
        m_toSelect = QStringList{made};
    } else {
        m_notice->setText(tr("The folder could not be made here."));
        m_notice->show();
    }
}

// The choice

int FileDialog::selectedCount() const
{
    int rows = 0;
    const QItemSelection selected = m_selection->selection();
    for (const QItemSelectionRange &range : selected)
        rows += range.height();
    return rows;
}

QStringList FileDialog::selection() const
{
    QStringList paths;
    const QItemSelection selected = m_selection->selection();
    for (const QItemSelectionRange &range : selected) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            paths.append(m_model->item(row).path);
    }
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
    const int count = selectedCount();
    if (count == 1)
        m_name->setText(m_model->item(m_selection->selection().first().top()).name);
    else
        m_name->setText(count == 0 ? QString() : tr("%1 selected").arg(count));
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
    remember();
    accept();
}

// What is kept

void FileDialog::restore(const QString &startFolder)
{
    const QString file = database();
    QJsonObject settings = memory();
    if (!file.isEmpty()) {
        const QString text = DataBaseManager(file, QStringLiteral("QSQLITE")).value(QLatin1String(SettingsKey));
        if (!text.isEmpty())
            settings = QJsonDocument::fromJson(text.toUtf8()).object();
    }
    setMode(settings.value(QLatin1String("icons")).toBool());
    setOrder(FileOrder::typeOf(settings.value(QLatin1String("order")).toString()));
    const int width = settings.value(QLatin1String("width")).toInt();
    const int height = settings.value(QLatin1String("height")).toInt();
    if (width >= 480 && height >= 320 && width <= 4000 && height <= 3000)
        resize(width, height);
    QString start = startFolder.isEmpty() ? settings.value(QLatin1String("folder")).toString() : startFolder;
    if (start.isEmpty() || !QFileInfo(start).isDir())
        start = QDir::homePath();
    setFolder(start);
}

void FileDialog::remember() const
{
    memory() = QJsonObject{{QStringLiteral("folder"), m_folder},
                           {QStringLiteral("icons"), m_views->currentIndex() == 0},
                           {QStringLiteral("order"), FileOrder::nameOf(m_model->order())},
                           {QStringLiteral("width"), width()},
                           {QStringLiteral("height"), height()}};
    const QString file = database();
    if (!file.isEmpty()) // a database that refuses costs the memory of the place, no more
        DataBaseManager(file, QStringLiteral("QSQLITE"))
            .setValue(QLatin1String(SettingsKey),
                      QString::fromUtf8(QJsonDocument(memory()).toJson(QJsonDocument::Compact)));
}
