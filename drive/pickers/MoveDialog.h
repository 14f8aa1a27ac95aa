#pragma once

#include "MyDiskDirectoryBrowser.h"

#include <QStringList>

/// Chooses the folder of the drive to which entries are moved, and asks for the move. The entries themselves, what is
/// in them and the folder where they are already cannot be chosen. GUI thread only.
class MoveDialog : public MyDiskDirectoryBrowser
{
    Q_OBJECT

public:
    /// @param url address of the sub-center's service
    /// @param paths of the entries to move
    MoveDialog(const QString &url, const QStringList &paths, QWidget *parent = nullptr);

public slots:
    void accept() override;

signals:
    /// @param folder ends in "/"
    void sigMove(QStringList paths, QString folder);

protected:
    bool mayChoose(const QString &path) const override;

private:
    const QStringList m_paths;
};
