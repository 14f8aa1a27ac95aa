#pragma once

#include <QStyledItemDelegate>

/// Edits the name of an entry in place. The model keeps the old name; what was typed leaves as committed() when it
/// differs, and the entry changes once the service has renamed it.
class FileNameDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit FileNameDelegate(QObject *parent = nullptr);

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override;
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const override;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;

signals:
    void committed(const QModelIndex &index, const QString &name) const;
};
