#include "UserPicker.h"

#include "FileTexts.h"
#include "ShareService.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPixmap>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

constexpr int kTypingPause = 300; // ms
constexpr int kMostFound = 20;
constexpr int kFaceSide = 24;
constexpr int kListHeight = 190;

enum Role
{
    NameRole = Qt::UserRole,
    IconRole,
    NicknameRole
};

UserInfo userOf(const QListWidgetItem *item)
{
    UserInfo user;
    user.username = item->data(NameRole).toString();
    user.nickname = item->data(NicknameRole).toString();
    user.icon = item->data(IconRole).toString();
    return user;
}

QListWidget *makeList(QWidget *parent, const char *name)
{
    auto *list = new QListWidget(parent);
    list->setObjectName(QLatin1String(name));
    list->setIconSize({kFaceSide, kFaceSide});
    list->setMinimumHeight(kListHeight);
    list->setUniformItemSizes(true);
    list->setTextElideMode(Qt::ElideMiddle);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    return list;
}

} // namespace

UserPicker::UserPicker(ShareService *service, const QStringList &chosen, QWidget *parent)
    : QWidget(parent)
    , m_service(service)
    , m_text(new QLineEdit(this))
    , m_found(makeList(this, "foundUsers"))
    , m_chosen(makeList(this, "chosenUsers"))
    , m_nothing(new QLabel(this))
{
    m_text->setObjectName(QStringLiteral("userText"));
    m_text->setPlaceholderText(tr("Name of a user"));
    m_text->setAccessibleName(tr("Name of a user"));
    m_text->setClearButtonEnabled(true);
    m_text->setMaxLength(64);
    m_chosen->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_found->setAccessibleName(tr("Found users"));
    m_chosen->setAccessibleName(tr("Users that see the share"));
    m_nothing->setProperty("hint", true);
    m_nothing->setWordWrap(true);

    auto *left = new QVBoxLayout;
    left->addWidget(m_text);
    left->addWidget(m_found, 1);
    auto *right = new QVBoxLayout;
    auto *heading = new QLabel(tr("Shared with"), this);
    m_text->ensurePolished();
    heading->setMinimumHeight(m_text->sizeHint().height()); // the lists stand side by side
    right->addWidget(heading);
    right->addWidget(m_chosen, 1);
    auto *lists = new QHBoxLayout;
    lists->setSpacing(14);
    lists->addLayout(left, 1);
    lists->addLayout(right, 1);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->addLayout(lists);
    all->addWidget(m_nothing);
    m_nothing->setText(tr("A double click adds a user, and takes one away again."));

    m_pause.setSingleShot(true);
    m_pause.setInterval(kTypingPause);
    connect(&m_pause, &QTimer::timeout, this, &UserPicker::search);
    connect(m_text, &QLineEdit::textChanged, this, [this] { m_pause.start(); });
    connect(m_text, &QLineEdit::returnPressed, this, [this] {
        if (m_found->count() == 1)
            choose(userOf(m_found->item(0)));
        else
            search();
    });
    connect(m_found, &QListWidget::itemActivated, this, [this](QListWidgetItem *item) { choose(userOf(item)); });
    connect(m_chosen, &QListWidget::itemActivated, this, &UserPicker::removeSelected);
    auto *remove = new QShortcut(QKeySequence(Qt::Key_Delete), m_chosen, nullptr, nullptr, Qt::WidgetShortcut);
    connect(remove, &QShortcut::activated, this, &UserPicker::removeSelected);
    connect(service, &ShareService::handlerSearchUserFinished, this, &UserPicker::showFound);
    connect(service, &ShareService::handlerGetUserIconFinished, this, &UserPicker::showIcons);
    connect(service, &ShareService::handlerGetUserInfoFinished, this, [this](const QList<UserInfo> &users) {
        for (const UserInfo &user : users) {
            for (int row = 0; row < m_chosen->count(); ++row) {
                if (m_chosen->item(row)->data(NameRole).toString() != user.username)
                    continue;
                delete m_chosen->takeItem(row);
                m_chosen->insertItem(row, itemFor(user));
            }
            UserInfo wanted = user;
            m_service->getUserIcon(wanted);
        }
    });
    QList<UserInfo> known;
    for (const QString &name : chosen) {
        UserInfo user;
        user.username = name;
        known << user;
        m_chosen->addItem(itemFor(user));
    }
    if (!known.isEmpty())
        m_service->getUserInfo(known);
    setFocusProxy(m_text);
}

QListWidgetItem *UserPicker::itemFor(const UserInfo &user)
{
    const bool named = !user.nickname.isEmpty() && user.nickname != user.username;
    auto *item = new QListWidgetItem(
        FileTexts::line(named ? QStringLiteral("%1 (%2)").arg(user.nickname, user.username) : user.username));
    item->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/user.svg")));
    item->setToolTip(FileTexts::plainToolTip(user.username));
    item->setData(NameRole, user.username);
    item->setData(NicknameRole, user.nickname);
    item->setData(IconRole, user.icon);
    return item;
}

QStringList UserPicker::chosen() const
{
    QStringList names;
    for (int row = 0; row < m_chosen->count(); ++row)
        names << m_chosen->item(row)->data(NameRole).toString();
    return names;
}

void UserPicker::search()
{
    m_pause.stop();
    const QString text = m_text->text().trimmed();
    if (text.isEmpty())
        m_found->clear();
    else
        m_service->searchUser(text, kMostFound);
}

void UserPicker::showFound(const QList<UserInfo> &users)
{
    m_found->clear();
    for (const UserInfo &user : users) {
        m_found->addItem(itemFor(user));
        UserInfo wanted = user;
        if (!user.icon.isEmpty())
            m_service->getUserIcon(wanted);
    }
    m_nothing->setText(users.isEmpty() ? tr("No user has this in the name.")
                                       : tr("A double click adds a user, and takes one away again."));
}

void UserPicker::choose(const UserInfo &user)
{
    if (chosen().contains(user.username))
        return;
    QListWidgetItem *item = itemFor(user);
    m_chosen->addItem(item);
    UserInfo wanted = user;
    if (!user.icon.isEmpty())
        m_service->getUserIcon(wanted);
    emit changed();
}

void UserPicker::removeSelected()
{
    qDeleteAll(m_chosen->selectedItems());
    emit changed();
}

void UserPicker::showIcons(const QList<UserInfo> &users)
{
    for (const UserInfo &user : users) {
        QPixmap face;
        if (!face.loadFromData(user.iconData))
            continue;
        for (QListWidget *list : {m_found, m_chosen}) {
            for (int row = 0; row < list->count(); ++row) {
                if (list->item(row)->data(NameRole).toString() == user.username)
                    list->item(row)->setIcon(QIcon(face));
            }
        }
    }
}
