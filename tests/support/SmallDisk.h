#pragma once

#include <QString>

/// A disk of a few megabytes in memory, mounted while the object lives. Only root may; isMounted() tells.
class SmallDisk
{
public:
    /// @param folder made when it does not exist
    SmallDisk(const QString &folder, int megabytes);
    ~SmallDisk();
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    bool isMounted() const { return m_mounted; }
    bool grow(int megabytes);

private:
    QString m_folder;
    bool m_mounted;
};
