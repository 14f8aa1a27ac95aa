#pragma once

#include <QToolButton>

/// One folder of the path shown. Long names are shortened in the middle. GUI thread only.
class AddressBarButton : public QToolButton
{
    Q_OBJECT

public:
    AddressBarButton(const QString &name, const QString &path, QWidget *parent = nullptr);
    QString path() const { return m_path; }
    QString name() const { return m_name; }

private:
    QString m_name;
    QString m_path;
};
