#include "AddressBar.h"

#include "AddressBarButton.h"
#include "DropDecision.h"

#include <QAbstractItemView>
#include <QAction>
#include <QCompleter>
#include <QDropEvent>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QStringListModel>
#include <QToolButton>
#include <QWidgetAction>

namespace {

constexpr int Margin = 6;
constexpr int SeparatorWidth = 14;
constexpr int MenuLines = 12;
constexpr int MostCompletions = 100;

} // namespace

AddressBar::AddressBar(QWidget *parent)
    : QFrame(parent)
    , m_path(QStringLiteral("/"))
    , m_edit(new QLineEdit(this))
    , m_titleLabel(new QLabel(this))
    , m_fold(new QToolButton(this))
    , m_foldMenu(new QMenu(this))
    , m_completer(new QCompleter(this))
    , m_completions(new QStringListModel(this))
{
    setObjectName(QStringLiteral("addressBar"));
    setCursor(Qt::IBeamCursor);
    setMinimumWidth(140);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    m_edit->setObjectName(QStringLiteral("addressEdit"));
    m_edit->setFrame(false);
    m_edit->hide();
    m_edit->installEventFilter(this);
    auto *search =
        m_edit->addAction(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/search.svg")), QLineEdit::TrailingPosition);
    search->setObjectName(QStringLiteral("addressSearch"));
    connect(search, &QAction::triggered, this, &AddressBar::OnSearch);
    connect(m_edit, &QLineEdit::returnPressed, this, &AddressBar::HandleReturn);

    m_titleLabel->setObjectName(QStringLiteral("addressTitle"));
    m_titleLabel->setTextFormat(Qt::PlainText);
    m_titleLabel->hide();

    m_fold->setObjectName(QStringLiteral("addressFold"));
    m_fold->setText(QStringLiteral("\u2026"));
    m_fold->setAutoRaise(true);
    m_fold->setCursor(Qt::ArrowCursor);
    m_fold->setPopupMode(QToolButton::InstantPopup);
    m_fold->setMenu(m_foldMenu);
    m_fold->hide();
    buildFoldMenu();

    // Which names fit is worked out here: very long lists are cut before the completer sees them.
    m_completer->setModel(m_completions);
    m_completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    m_completer->setWidget(m_edit);
    m_completer->popup()->setObjectName(QStringLiteral("addressCompletions"));
    connect(m_edit, &QLineEdit::textEdited, this, &AddressBar::edited);
    connect(m_completer, QOverload<const QString &>::of(&QCompleter::activated), this, [this](const QString &text) {
        m_edit->setText(text);
        edited(text);
    });

    const int line = fontMetrics().height();
    setFixedHeight(qMax(34, line + 16));
    retranslate();
}

void AddressBar::setRootName(const QString &name)
{
    m_rootName = name;
    rebuild();
}

void AddressBar::retranslate()
{
    m_edit->setAccessibleName(tr("Path"));
    m_edit->findChild<QAction *>(QStringLiteral("addressSearch"))->setToolTip(tr("Search"));
    m_fold->setAccessibleName(tr("Hidden folders"));
    m_fold->setToolTip(tr("Hidden folders"));
    m_scrollUp->defaultWidget()->setAccessibleName(tr("Scroll up"));
    m_scrollDown->defaultWidget()->setAccessibleName(tr("Scroll down"));
    rebuild();
}

void AddressBar::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QFrame::changeEvent(event);
}

void AddressBar::setPath(const QString &path)
{
    m_title.clear();
    m_path = path.isEmpty() ? QStringLiteral("/") : path;
    stopEditing();
    rebuild();
}

void AddressBar::setTitle(const QString &title)
{
    m_title = title;
    stopEditing();
    rebuild();
}

bool AddressBar::isEditing() const
{
    return !m_edit->isHidden();
}

QStringList AddressBar::shownCrumbs() const
{
    QStringList result;
    for (const AddressBarButton *crumb : m_crumbs) {
        if (!crumb->isHidden())
            result.append(crumb->name());
    }
    return result;
}

void AddressBar::rebuild()
{
    // The button whose click led here is still on the stack.
    for (AddressBarButton *crumb : qAsConst(m_crumbs)) {
        crumb->hide();
        crumb->deleteLater();
    }
    qDeleteAll(m_separators);
    m_crumbs.clear();
    m_separators.clear();
    m_titleLabel->setText(m_title);
    if (m_title.isEmpty()) {
        QString path = QStringLiteral("/");
        const auto addCrumb = [this](const QString &name, const QString &target) {
            auto *crumb = new AddressBarButton(name, target, this);
            crumb->setCursor(Qt::PointingHandCursor);
            connect(crumb, &AddressBarButton::clicked, this, [this, target] { emit sigIntoFolder(target); });
            crumb->setAcceptDrops(true);
            crumb->installEventFilter(this);
            m_crumbs.append(crumb);
            auto *separator = new QLabel(this);
            separator->setPixmap(
                QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/chevron-right.svg")).pixmap(QSize(10, 10)));
            separator->setAlignment(Qt::AlignCenter);
            m_separators.append(separator);
        };
        addCrumb(m_rootName.isEmpty() ? tr("All Files") : m_rootName, path);
        for (const QString &name : m_path.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
            path += name + QLatin1Char('/');
            addCrumb(name, path);
        }
    }
    layoutCrumbs();
}

void AddressBar::layoutCrumbs()
{
    const bool editing = isEditing();
    const QRect area = contentsRect();
    m_edit->setGeometry(area.adjusted(1, 1, -1, -1));
    m_titleLabel->setVisible(!editing && !m_title.isEmpty());
    m_titleLabel->setGeometry(area.adjusted(Margin + 6, 0, -Margin, 0));

    // From the last folder backwards: what fits is shown, the folder shown always is.
    int first = m_crumbs.size();
    int used = 0;
    const int room = area.width() - 2 * Margin - 24;
    while (!editing && first > 0) {
        const int needed = m_crumbs.at(first - 1)->sizeHint().width() + SeparatorWidth;
        const int fold = first - 1 > 0 ? m_fold->sizeHint().width() : 0;
        if (first < m_crumbs.size() && used + needed + fold > room)
            break;
        used += needed;
        --first;
    }
    const bool folded = !editing && first > 0 && !m_crumbs.isEmpty();
    m_fold->setVisible(folded);
    m_folded = folded ? first : 0;
    int x = area.x() + Margin;
    const auto place = [&](QWidget *widget, int width) {
        const int height = qMin(widget->sizeHint().height(), area.height() - 4);
        widget->setGeometry(x, area.y() + (area.height() - height) / 2, width, height);
        x += width;
    };
    if (folded)
        place(m_fold, m_fold->sizeHint().width());
    for (int i = 0; i < m_crumbs.size(); ++i) {
        AddressBarButton *crumb = m_crumbs.at(i);
        const bool visible = !editing && i >= first;
        crumb->setVisible(visible);
        m_separators.at(i)->setVisible(visible && i + 1 < m_crumbs.size());
        if (visible) {
            place(crumb, qMin(crumb->sizeHint().width(), qMax(40, area.right() - Margin - x)));
            place(m_separators.at(i), SeparatorWidth);
        }
    }
    m_firstInMenu = 0;
    fillFoldMenu();
}

// The menu of hidden folders. A deep path may hold more of them than the screen has lines.

void AddressBar::buildFoldMenu()
{
    const auto scroller = [this](const char *name, const char *icon, void (AddressBar::*slot)()) {
        auto *button = new QToolButton(m_foldMenu);
        button->setObjectName(QLatin1String(name));
        button->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(QLatin1String(icon))));
        button->setIconSize(QSize(12, 12));
        button->setAutoRaise(true);
        button->setAutoRepeat(true);
        button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        connect(button, &QToolButton::clicked, this, slot);
        // A plain entry would close the menu.
        auto *action = new QWidgetAction(m_foldMenu);
        action->setDefaultWidget(button);
        return action;
    };
    m_scrollUp = scroller("scrollUp", "chevron-up", &AddressBar::scrollUp);
    m_scrollDown = scroller("scrollDown", "chevron-down", &AddressBar::scrollDown);
    m_foldMenu->installEventFilter(this);
    connect(m_foldMenu, &QMenu::triggered, this, &AddressBar::SlotClickFloder);
}

void AddressBar::fillFoldMenu()
{
    m_foldMenu->removeAction(m_scrollUp);
    m_foldMenu->removeAction(m_scrollDown);
    m_foldMenu->clear();
    const bool scrolls = m_folded > MenuLines;
    if (scrolls)
        m_foldMenu->addAction(m_scrollUp);
    for (int i = m_firstInMenu; i < qMin(m_folded, m_firstInMenu + MenuLines); ++i) {
        QAction *action = m_foldMenu->addAction(m_crumbs.at(i)->text());
        action->setData(m_crumbs.at(i)->path());
    }
    if (scrolls)
        m_foldMenu->addAction(m_scrollDown);
    m_scrollUp->defaultWidget()->setEnabled(m_firstInMenu > 0);
    m_scrollDown->defaultWidget()->setEnabled(m_firstInMenu + MenuLines < m_folded);
}

void AddressBar::scrollMenu(int by)
{
    const int first = qBound(0, m_firstInMenu + by, qMax(0, m_folded - MenuLines));
    if (first == m_firstInMenu)
        return;
    m_firstInMenu = first;
    fillFoldMenu();
}

void AddressBar::scrollUp()
{
    scrollMenu(-1);
}

void AddressBar::scrollDown()
{
    scrollMenu(1);
}

// Typing

void AddressBar::edit()
{
    m_edit->setText(m_title.isEmpty() ? m_path : QString());
    m_edit->show();
    layoutCrumbs();
    m_edit->selectAll();
    m_edit->setFocus(Qt::ShortcutFocusReason);
    m_namesParent.clear();
}

void AddressBar::edited(const QString &text)
{
    const QString parent = text.left(text.lastIndexOf(QLatin1Char('/')) + 1);
    if (!parent.startsWith(QLatin1Char('/'))) {
        m_completer->popup()->hide();
        return;
    }
    if (parent == m_namesParent)
        return complete();
    m_namesParent = parent;
    m_names.clear();
    emit folderNamesAsked(parent);
}

void AddressBar::setFolderNames(const QString &parent, const QStringList &names)
{
    if (!isEditing() || parent != m_namesParent)
        return;
    m_names = names;
    complete();
}

void AddressBar::complete()
{
    const QString begun = m_edit->text().mid(m_namesParent.size());
    QStringList found;
    for (const QString &name : qAsConst(m_names)) {
        if (!name.startsWith(begun, Qt::CaseInsensitive))
            continue;
        found << m_namesParent + name + QLatin1Char('/');
        if (found.size() == MostCompletions)
            break;
    }
    m_completions->setStringList(found);
    if (found.isEmpty() || !m_edit->hasFocus())
        m_completer->popup()->hide();
    else
        m_completer->complete();
}

void AddressBar::stopEditing()
{
    if (!isEditing())
        return;
    m_completer->popup()->hide();
    m_edit->hide();
    layoutCrumbs();
}

void AddressBar::HandleReturn()
{
    QString path = m_edit->text().trimmed();
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    stopEditing();
    if (path.isEmpty())
        return;
    if (!path.startsWith(QLatin1Char('/')))
        path.prepend(QLatin1Char('/'));
    emit sigIntoFolder(path);
}

void AddressBar::OnSearch(bool checked)
{
    Q_UNUSED(checked)
    const QString keyword = m_edit->text().trimmed();
    stopEditing();
    if (!keyword.isEmpty())
        emit sigSearch(keyword);
}

void AddressBar::SlotClickFloder(QAction *action)
{
    emit sigIntoFolder(action->data().toString());
}

void AddressBar::resizeEvent(QResizeEvent *event)
{
    QFrame::resizeEvent(event);
    layoutCrumbs();
}

void AddressBar::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        edit();
}

bool AddressBar::crumbEvent(AddressBarButton *crumb, QEvent *event)
{
    if (event->type() != QEvent::DragEnter && event->type() != QEvent::DragMove && event->type() != QEvent::Drop)
        return false;
    auto *drop = static_cast<QDropEvent *>(event);
    const DropDecision::Kind kind = DropDecision::of(drop->mimeData(), crumb->path(), m_subCenterId);
    DropDecision::apply(kind, drop);
    if (kind && event->type() == QEvent::Drop)
        emit dropped(drop->mimeData(), crumb->path());
    return true;
}

bool AddressBar::editEvent(QEvent *event)
{
    if (event->type() == QEvent::FocusOut && static_cast<QFocusEvent *>(event)->reason() != Qt::PopupFocusReason) {
        stopEditing();
        return false;
    }
    if (event->type() != QEvent::KeyPress)
        return false;
    switch (static_cast<QKeyEvent *>(event)->key()) {
    case Qt::Key_Escape:
        stopEditing();
        emit left();
        return true;
    case Qt::Key_Tab:
        // Takes the first name that fits, as a shell does.
        if (m_completions->rowCount() > 0) {
            m_edit->setText(m_completions->stringList().first());
            edited(m_edit->text());
        }
        return true;
    default:
        return false;
    }
}

bool AddressBar::eventFilter(QObject *watched, QEvent *event)
{
    if (auto *crumb = qobject_cast<AddressBarButton *>(watched))
        return crumbEvent(crumb, event);
    if (watched == m_edit)
        return editEvent(event);
    if (watched == m_foldMenu && event->type() == QEvent::Wheel) {
        static_cast<QWheelEvent *>(event)->angleDelta().y() > 0 ? scrollUp() : scrollDown();
        return true;
    }
    if (watched == m_foldMenu && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_PageUp || key == Qt::Key_PageDown) {
            scrollMenu(key == Qt::Key_PageUp ? -MenuLines : MenuLines);
            return true;
        }
    }
    return QFrame::eventFilter(watched, event);
}
