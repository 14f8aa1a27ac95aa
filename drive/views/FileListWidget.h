#pragma once

#include <QListView>

class FileItemModel;

/// The icon grid over the same entries as the detailed list. GUI thread only.
class FileListWidget : public QListView
{
    Q_OBJECT

public:
    explicit FileListWidget(QWidget *parent = nullptr);
    void setFileModel(FileItemModel *model);

protected:
    void changeEvent(QEvent *event) override;
};
