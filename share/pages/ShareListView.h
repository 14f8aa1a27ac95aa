#pragma once

#include "ShareListModel.h"

#include <QSet>
#include <QWidget>

class QLabel;
class QTreeView;

/// A list of shares with order, filter and selection of several, and a line in its place when there is none. GUI thread
/// only.
class ShareListView : public QWidget
{
    Q_OBJECT

public:
    explicit ShareListView(ShareListModel::Side side, QWidget *parent = nullptr);

    ShareListModel *model() const { return m_model; }
    QList<ShareRecord> selectedRecords() const;
    void setFilter(const QString &text);
    /// Also shows that there is nothing, which is not known before.
    void show(const QList<ShareRecord> &records);

signals:
    void opened(ShareRecord record);
    void menuAsked(QPoint globalPos);
    void selectionChanged();
    void removeAsked();

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void retranslate();
    void refreshEmpty();
    void fitColumns();
    void keepPlace();
    void findPlace();

    ShareListModel *m_model;
    QTreeView *m_view;
    QLabel *m_empty;
    bool m_known = false;
    QSet<QString> m_selected; ///< while the model is reset
    QString m_current;
    int m_scrolled = 0;
};
