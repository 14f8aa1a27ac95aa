#pragma once

#include "UserInfo.h"

#include <QHash>
#include <QList>
#include <QStringList>
#include <QTimer>
#include <QWidget>

class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class ShareService;

/// Finds users by a part of their name, while it is typed, and keeps those that were chosen. GUI thread only.
class UserPicker : public QWidget
{
    Q_OBJECT

public:
    UserPicker(ShareService *service, const QStringList &chosen, QWidget *parent = nullptr);

    QStringList chosen() const;

signals:
    void changed();

private:
    void search();
    void showFound(const QList<UserInfo> &users);
    void choose(const UserInfo &user);
    void removeSelected();
    void showIcons(const QList<UserInfo> &users);
    static QListWidgetItem *itemFor(const UserInfo &user);

    ShareService *m_service;
    QLineEdit *m_text;
    QListWidget *m_found;
    QListWidget *m_chosen;
    QLabel *m_nothing;
    QTimer m_pause;
    QHash<QString, QByteArray> m_pictures; ///< by address
};
