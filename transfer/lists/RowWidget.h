#pragma once

#include <QLabel>
#include <QModelIndex>
#include <QToolButton>
#include <QVector>
#include <QWidget>

/// A line of text that ends in dots where its room ends. GUI thread only.
class ElidedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget *parent, const QString &name, Qt::TextElideMode mode = Qt::ElideRight);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Qt::TextElideMode m_mode;
};

/// What a RowListView shows for one row: a widget that shows a row of the model, and later another one. It takes the
/// widths of its parts from the view's columns and leaves clicks beside its buttons to the view. GUI thread only.
class RowWidget : public QWidget
{
    Q_OBJECT

public:
    explicit RowWidget(QWidget *parent);

    /// Shows what the model says now about the row.
    virtual void showRow(const QModelIndex &index) = 0;
    /// @param cells for each column of the model its place in this widget
    virtual void arrange(const QVector<QRect> &cells) = 0;

protected:
    void enterEvent(QEvent *event) override;
    void leaveEvent(QEvent *event) override;
    /// A small button with an icon of the resources, which takes no focus from the list.
    QToolButton *addButton(const QString &name);
    static void setIcon(QToolButton *button, const QString &file);
    /// Puts the buttons side by side into the cell.
    static void placeButtons(const QRect &cell, const QVector<QToolButton *> &buttons);
    /// The upper and the lower half of a cell with two lines of text.
    static void placeLines(const QRect &cell, QWidget *upper, QWidget *lower);
};
