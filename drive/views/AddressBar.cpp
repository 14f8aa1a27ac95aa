#include "AddressBar.h"

#include "AddressBarButton.h"

#include <QAction>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QStyle>
#include <QToolButton>

namespace {

constexpr int Margin = 6;
constexpr int SeparatorWidth = 14;

} // namespace

AddressBar::AddressBar(QWidget *parent)
    : QFrame(parent)
    , m_path(QStringLiteral("/"))
    , m_edit(new QLineEdit(this))
    , m_titleLabel(new QLabel(this))
    , m_fold(new QToolButton(this))
    , m_foldMenu(new QMenu(this))
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
    // A deep path may hold more folders than the screen has lines.
    m_foldMenu->setStyleSheet(QStringLiteral("QMenu { menu-scrollable: 1; }"));
    m_fold->hide();
    connect(m_foldMenu, &QMenu::triggered, this, &AddressBar::SlotClickFloder);

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
    m_foldMenu->clear();
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
        } else if (folded) {
            QAction *action = m_foldMenu->addAction(crumb->text());
            action->setData(crumb->path());
        }
    }
}

void AddressBar::edit()
{
    m_edit->setText(m_title.isEmpty() ? m_path : QString());
    m_edit->show();
    layoutCrumbs();
    m_edit->selectAll();
    m_edit->setFocus(Qt::ShortcutFocusReason);
}

void AddressBar::stopEditing()
{
    if (!isEditing())
        return;
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

bool AddressBar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_edit && event->type() == QEvent::FocusOut &&
        static_cast<QFocusEvent *>(event)->reason() != Qt::PopupFocusReason)
        stopEditing();
    if (watched == m_edit && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
        stopEditing();
        return true;
    }
    return QFrame::eventFilter(watched, event);
}
