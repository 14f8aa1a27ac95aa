#include "LinkShareDialog.h"

#include "FileTexts.h"
#include "ShareService.h"
#include "ShareTexts.h"

#include <QButtonGroup>
#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {

constexpr int kWidth = 460;
constexpr int kLongestPassword = 64;

void copy(const QString &text)
{
    QGuiApplication::clipboard()->setText(text);
}

} // namespace

LinkShareDialog::LinkShareDialog(ShareService *service, const ShareRecord &record, QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_service(service)
    , m_record(record)
    , m_pages(new QStackedWidget(this))
    , m_hint(new QLabel(this))
{
    setModal(true);
    setObjectName(QStringLiteral("linkShareDialog"));
    setFixedWidth(kWidth);
    m_frame.setTitle(tr("Share by link"));
    auto *name = new QLabel(FileTexts::line(record.name), this);
    name->setTextFormat(Qt::PlainText);
    name->setText(name->fontMetrics().elidedText(FileTexts::line(record.name), Qt::ElideMiddle, kWidth - 60));
    name->setToolTip(FileTexts::plainToolTip(record.name));
    QFont bold = name->font();
    bold.setWeight(QFont::DemiBold);
    name->setFont(bold);
    m_hint->setWordWrap(true);
    m_hint->setTextFormat(Qt::PlainText);
    m_hint->setProperty("hint", true);
    m_pages->addWidget(buildQuestion());
    m_pages->addWidget(buildAnswer());
    m_frame.body()->addWidget(name);
    m_frame.body()->addWidget(m_pages);
    m_frame.body()->addWidget(m_hint);
    m_frame.addAnswers(tr("Close"));
    if (auto *close = findChild<QPushButton *>(QStringLiteral("ok"))) {
        close->setDefault(false);
        close->setAutoDefault(false);
    }
    m_make->setDefault(true);

    const auto made = [this](const ShareRecord &answer) {
        setBusy(false);
        showLink(answer);
        copy(ShareTexts::invitation(answer));
        tell(answer.password.isEmpty() ? tr("The link was made and copied.")
                                       : tr("The link was made and copied with its password."));
        emit sigMyShared(answer);
    };
    connect(service, &ShareService::handlerPublicShareFinished, this, made);
    connect(service, &ShareService::handlerPrivateShareFinished, this, made);
    connect(service, &ShareService::handlerModifyPasswordFinished, this, [this](const ShareRecord &answer) {
        setBusy(false);
        showLink(answer);
        tell(tr("The password was changed; the old one opens nothing any more."));
        emit sigMyShared(answer);
    });
    connect(service, &ShareService::handlerDeleteShareFinished, this, [this](const QStringList &ids) {
        if (!ids.contains(m_record.shareId))
            return;
        emit ended(m_record.shareId);
        accept();
    });
    connect(service, &ShareService::handlerRequestFailed, this, [this](const QString &, int code) {
        if (!m_asked)
            return;
        setBusy(false);
        tell(ShareService::reasonOf(code), true);
    });
    connect(service, &ShareService::sigLogout, this, &QDialog::reject);
    if (!record.shareId.isEmpty())
        showLink(record);
}

QWidget *LinkShareDialog::buildQuestion()
{
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    auto *open = new QRadioButton(tr("Everybody with the link can see it"), page);
    open->setObjectName(QStringLiteral("publicLink"));
    auto *closed = new QRadioButton(tr("Only with this password:"), page);
    closed->setObjectName(QStringLiteral("privateLink"));
    closed->setChecked(true);
    m_kinds = new QButtonGroup(this);
    m_kinds->addButton(open, ShareRecord::PublicLink);
    m_kinds->addButton(closed, ShareRecord::PrivateLink);
    m_newPassword = new QLineEdit(ShareTexts::proposedPassword(), page);
    m_newPassword->setObjectName(QStringLiteral("newPassword"));
    m_newPassword->setAccessibleName(tr("Password"));
    m_newPassword->setMaxLength(kLongestPassword);
    auto *other = new QPushButton(tr("Another one"), page);
    m_make = new QPushButton(tr("Make the link"), page);
    m_make->setObjectName(QStringLiteral("makeLink"));
    m_make->setProperty("primary", true);
    auto *row = new QHBoxLayout;
    row->setContentsMargins(24, 0, 0, 0);
    row->addWidget(m_newPassword, 1);
    row->addWidget(other);
    auto *last = new QHBoxLayout;
    last->addStretch(1);
    last->addWidget(m_make);
    layout->addWidget(closed);
    layout->addLayout(row);
    layout->addWidget(open);
    layout->addStretch(1);
    layout->addLayout(last);
    connect(closed, &QRadioButton::toggled, m_newPassword, &QWidget::setEnabled);
    connect(closed, &QRadioButton::toggled, other, &QWidget::setEnabled);
    connect(other, &QPushButton::clicked, this, [this] { m_newPassword->setText(ShareTexts::proposedPassword()); });
    connect(m_make, &QPushButton::clicked, this, &LinkShareDialog::make);
    return page;
}

QWidget *LinkShareDialog::buildAnswer()
{
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    m_link = new QLineEdit(page);
    m_link->setObjectName(QStringLiteral("link"));
    m_link->setReadOnly(true);
    m_link->setAccessibleName(tr("Link"));
    auto *copyAll = new QPushButton(tr("Copy"), page);
    copyAll->setObjectName(QStringLiteral("copyLink"));
    copyAll->setProperty("primary", true);
    auto *row = new QHBoxLayout;
    row->addWidget(m_link, 1);
    row->addWidget(copyAll);
    m_passwordRow = new QWidget(page);
    auto *passwordLayout = new QHBoxLayout(m_passwordRow);
    passwordLayout->setContentsMargins(0, 0, 0, 0);
    m_password = new QLineEdit(m_passwordRow);
    m_password->setObjectName(QStringLiteral("password"));
    m_password->setMaxLength(kLongestPassword);
    m_password->setAccessibleName(tr("Password"));
    m_save = new QPushButton(tr("Change"), m_passwordRow);
    m_save->setObjectName(QStringLiteral("changePassword"));
    auto *label = new QLabel(tr("Password"), m_passwordRow);
    label->setBuddy(m_password);
    passwordLayout->addWidget(label);
    passwordLayout->addWidget(m_password, 1);
    passwordLayout->addWidget(m_save);
    m_end = new QPushButton(tr("End this share"), page);
    m_end->setObjectName(QStringLiteral("endShare"));
    m_end->setProperty("link", true);
    auto *last = new QHBoxLayout;
    last->addWidget(m_end);
    last->addStretch(1);
    layout->addLayout(row);
    layout->addWidget(m_passwordRow);
    layout->addStretch(1);
    layout->addLayout(last);
    connect(copyAll, &QPushButton::clicked, this, [this] {
        copy(ShareTexts::invitation(m_record));
        tell(m_record.password.isEmpty() ? tr("The link was copied.") : tr("Link and password were copied."));
    });
    connect(m_password, &QLineEdit::textChanged, this, [this](const QString &text) {
        m_save->setEnabled(!m_asked && !text.isEmpty() && text != m_record.password);
    });
    connect(m_password, &QLineEdit::returnPressed, this, &LinkShareDialog::savePassword);
    connect(m_save, &QPushButton::clicked, this, &LinkShareDialog::savePassword);
    connect(m_end, &QPushButton::clicked, this, &LinkShareDialog::endShare);
    return page;
}

void LinkShareDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    m_frame.present(m_record.name);
    (m_pages->currentIndex() == 0 ? static_cast<QWidget *>(m_make) : m_link)->setFocus();
}

void LinkShareDialog::make()
{
    m_record.shareType = m_kinds->checkedId();
    m_record.permission = QStringLiteral("read");
    const bool closed = m_record.shareType == ShareRecord::PrivateLink;
    m_record.password = closed ? m_newPassword->text() : QString();
    if (closed && m_record.password.isEmpty()) {
        tell(tr("Please type a password."), true);
        m_newPassword->setFocus();
        return;
    }
    setBusy(true);
    m_record.shareTime = QDateTime::currentDateTime();
    if (closed)
        m_service->privateShare(m_record);
    else
        m_service->publicShare(m_record);
}

void LinkShareDialog::showLink(const ShareRecord &record)
{
    m_record = record;
    m_link->setText(record.link);
    m_link->setCursorPosition(0);
    m_password->setText(record.password);
    m_save->setEnabled(false);
    m_passwordRow->setVisible(record.shareType == ShareRecord::PrivateLink);
    m_pages->setCurrentIndex(1);
}

void LinkShareDialog::savePassword()
{
    if (!m_save->isEnabled())
        return;
    ShareRecord changed = m_record;
    changed.password = m_password->text();
    setBusy(true);
    m_service->modifyPassword(changed);
}

void LinkShareDialog::endShare()
{
    setBusy(true);
    m_service->deleteShare({m_record.shareId});
}

void LinkShareDialog::setBusy(bool busy)
{
    m_asked = busy;
    for (QWidget *widget : {static_cast<QWidget *>(m_make), static_cast<QWidget *>(m_end)})
        widget->setEnabled(!busy);
    m_save->setEnabled(!busy && m_password->text() != m_record.password);
    if (busy)
        tell(tr("One moment..."));
}

void LinkShareDialog::tell(const QString &text, bool warning)
{
    m_hint->setText(text);
    m_hint->setProperty("hint", !warning);
    m_hint->setProperty("warning", warning);
    m_hint->setStyleSheet(QString()); // reads the properties anew
}
