#include "FileNameDelegate.h"

#include "FileNameRules.h"

#include <QLineEdit>
#include <QPointer>
#include <QRegularExpressionValidator>

FileNameDelegate::FileNameDelegate(QObject *parent)
    : QStyledItemDelegate(parent)
{
}

void FileNameDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    // Narrow pictures keep the room of wide ones, so that the names stand in line.
    const QSize room = option->decorationSize;
    QStyledItemDelegate::initStyleOption(option, index);
    option->decorationSize = room;
}

QWidget *FileNameDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                                        const QModelIndex &index) const
{
    Q_UNUSED(option)
    Q_UNUSED(index)
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(QStringLiteral("nameEditor"));
    edit->setAccessibleName(tr("New name"));
    edit->setMaxLength(255);
    edit->setValidator(new QRegularExpressionValidator(QRegularExpression(FileNameRules::pattern()), edit));
    return edit;
}

void FileNameDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    auto *edit = qobject_cast<QLineEdit *>(editor);
    if (!edit || !edit->property("oldName").isNull())
        return;
    const QString name = index.data(Qt::EditRole).toString();
    // A name that breaks the rules already could not be mended key by key under the validator; it is checked at the
    // end.
    if (!FileNameRules::matches(name))
        edit->setValidator(nullptr);
    edit->setMaxLength(qMax(edit->maxLength(), name.size()));
    edit->setText(name);
    // As the field holds it: a name that it shows otherwise is not a name that somebody changed.
    edit->setProperty("oldName", edit->text());
    // The view selects the whole text right after this call; the ending is seldom what is to change.
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot > 0)
        QMetaObject::invokeMethod(
            edit, [edit, dot] { edit->setSelection(0, dot); }, Qt::QueuedConnection);
}

void FileNameDelegate::setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const
{
    Q_UNUSED(model)
    // The view commits again when the editor loses the focus on its way out.
    auto *edit = qobject_cast<QLineEdit *>(editor);
    if (!edit || edit->property("committed").toBool() || edit->text() == edit->property("oldName").toString())
        return;
    edit->setProperty("committed", true);
    emit committed(index, edit->text());
}

void FileNameDelegate::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                                            const QModelIndex &index) const
{
    QStyledItemDelegate::updateEditorGeometry(editor, option, index);
    const int needed = editor->sizeHint().height();
    if (option.decorationPosition == QStyleOptionViewItem::Top) {
        // The grid: over the name, below the picture.
        const int top = option.rect.top() + option.decorationSize.height() + 8;
        editor->setGeometry(option.rect.left(), top, option.rect.width(), needed);
        return;
    }
    QRect box = editor->geometry();
    if (box.height() < needed)
        box = QRect(box.x(), box.center().y() - needed / 2, box.width(), needed);
    box.setWidth(qMax(box.width(), 160));
    editor->setGeometry(box);
}
