#include "UserShareDialog.h"

#include "FileTexts.h"
#include "ShareService.h"
#include "UserPicker.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QVariant>

namespace {

constexpr int kWidth = 560;

} // namespace

UserShareDialog::UserShareDialog(ShareService *service, const ShareRecord &record, QWidget *parent)
    : QDialog(parent)
    , m_frame(this)
    , m_service(service)
    , m_record(record)
    , m_users(new UserPicker(service, record.shareTo, this))
    , m_hint(new QLabel(this))
{
    setModal(true);
    setObjectName(QStringLiteral("userShareDialog"));
    setFixedWidth(kWidth);
    m_frame.setTitle(tr("Share with users"));
    auto *name = new QLabel(this);
    name->setTextFormat(Qt::PlainText);
    name->setText(name->fontMetrics().elidedText(FileTexts::line(record.name), Qt::ElideMiddle, kWidth - 60));
    name->setToolTip(FileTexts::plainToolTip(record.name));
    m_hint->setProperty("warning", QVariant(true));
    m_hint->setWordWrap(true);
    m_hint->setTextFormat(Qt::PlainText);
    m_hint->hide();
    m_frame.body()->addWidget(name);
    m_frame.body()->addWidget(m_users, 1);
    m_frame.body()->addWidget(m_hint);
    m_frame.addAnswers(record.shareId.isEmpty() ? tr("Share") : tr("Save"), tr("Cancel"));
    // Enter in the search field looks for users; only a click, or Enter on the button, shares.
    if (auto *ok = findChild<QPushButton *>(QStringLiteral("ok"))) {
        ok->setDefault(false);
        ok->setAutoDefault(false);
        ok->setProperty("primary", QVariant(true));
    }
    connect(m_users, &UserPicker::changed, this, &UserShareDialog::refresh);
    connect(service, &ShareService::handlerFriendShareFinished, this, &UserShareDialog::finish);
    connect(service, &ShareService::handlerModifyUsersFinished, this, &UserShareDialog::finish);
    connect(service, &ShareService::handlerDeleteShareFinished, this, [this](const QStringList &ids) {
        if (!ids.contains(m_record.shareId))
            return;
        emit ended(m_record.shareId);
        QDialog::accept();
    });
    connect(service, &ShareService::handlerRequestFailed, this, [this](const QString &operation, int code) {
        if (operation == QLatin1String("getUserInfo"))
            return; // the account's name does as well
        // A search that fails leaves a request that is under way alone.
        m_asked = m_asked && operation == QLatin1String("searchUser");
        m_hint->setText(ShareService::reasonOf(code));
        m_hint->show();
        refresh();
    });
    connect(service, &ShareService::sigLogout, this, &QDialog::reject);
    refresh();
}

void UserShareDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    m_frame.present(m_record.name);
    m_users->setFocus();
}

void UserShareDialog::refresh()
{
    const QStringList users = m_users->chosen();
    const bool fresh = m_record.shareId.isEmpty();
    if (auto *ok = findChild<QPushButton *>(QStringLiteral("ok"))) {
        ok->setEnabled(!m_asked && (fresh ? !users.isEmpty() : users != m_record.shareTo));
        if (!fresh)
            ok->setText(users.isEmpty() ? tr("End this share") : tr("Save"));
    }
}

void UserShareDialog::accept()
{
    ShareRecord record = m_record;
    record.shareType = ShareRecord::WithUsers;
    record.shareTo = m_users->chosen();
    m_asked = true;
    m_hint->hide();
    refresh();
    if (!record.shareId.isEmpty() && record.shareTo.isEmpty()) {
        m_service->deleteShare({record.shareId});
    } else if (!record.shareId.isEmpty()) {
        m_service->modifyUsers(record);
    } else {
        record.shareTime = QDateTime::currentDateTime();
        record.permission = QStringLiteral("save");
        m_service->friendShare(record);
    }
}

void UserShareDialog::finish(const ShareRecord &record)
{
    emit sigMyShared(record);
    QDialog::accept();
}
