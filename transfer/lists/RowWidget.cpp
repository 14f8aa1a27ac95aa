#include "RowWidget.h"

#include <QIcon>
#include <QPainter>

namespace {

constexpr int kButton = 28;
constexpr int kGap = 4;

} // namespace

ElidedLabel::ElidedLabel(QWidget *parent, const QString &name, Qt::TextElideMode mode)
    : QLabel(parent)
    , m_mode(mode)
{
    setObjectName(name);
    setTextFormat(Qt::PlainText);
}

void ElidedLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, foregroundRole()));
    // Names may hold line ends; a row has one line for them.
    QString line = text();
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    painter.drawText(rect(), static_cast<int>(alignment()), fontMetrics().elidedText(line, m_mode, width()));
}

RowWidget::RowWidget(QWidget *parent)
    : QWidget(parent)
{
    setFocusPolicy(Qt::NoFocus);
}

// The view paints the ground of its rows.
void RowWidget::enterEvent(QEvent *)
{
    parentWidget()->update(geometry());
}

void RowWidget::leaveEvent(QEvent *)
{
    parentWidget()->update(geometry());
}

QToolButton *RowWidget::addButton(const QString &name)
{
    auto *button = new QToolButton(this);
    button->setObjectName(name);
    button->setFocusPolicy(Qt::NoFocus);
    button->setAutoRaise(true);
    button->setIconSize(QSize(16, 16));
    button->resize(kButton, kButton);
    return button;
}

void RowWidget::setIcon(QToolButton *button, const QString &file)
{
    if (button->property("iconFile") == file)
        return;
    button->setProperty("iconFile", file);
    button->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/") + file));
}

void RowWidget::placeButtons(const QRect &cell, const QVector<QToolButton *> &buttons)
{
    int x = cell.left() + kGap;
    for (QToolButton *button : buttons) {
        button->move(x, cell.center().y() - button->height() / 2);
        x += button->width() + kGap;
    }
}

void RowWidget::placeLines(const QRect &cell, QWidget *upper, QWidget *lower)
{
    const int line = upper->fontMetrics().height() + 2;
    const int top = cell.center().y() - line;
    upper->setGeometry(cell.left(), top, cell.width(), line);
    lower->setGeometry(cell.left(), top + line, cell.width(), line);
}
