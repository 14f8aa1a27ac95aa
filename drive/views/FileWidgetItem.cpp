#include "FileWidgetItem.h"

#include "FileItemModel.h"
#include "FileTexts.h"

FileWidgetItem::FileWidgetItem(const FileItemModel *model, int row)
    : m_model(row >= 0 && row < model->rowCount() ? model : nullptr)
    , m_row(row)
{
}

const FileItem &FileWidgetItem::item() const
{
    return m_model->item(m_row);
}

bool FileWidgetItem::isUnfinished() const
{
    return m_model->isUnfinished(m_row);
}

QIcon FileWidgetItem::icon() const
{
    return m_model->icon(m_row);
}

QString FileWidgetItem::name() const
{
    return FileTexts::line(item().name);
}

QString FileWidgetItem::toolTip() const
{
    return FileTexts::plainToolTip(FileTexts::toolTip(item()));
}
