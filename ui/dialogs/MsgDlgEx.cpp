#include "MsgDlgEx.h"

MsgDlgEx::MsgDlgEx(QWidget *parent)
    : MessageDialog({tr("Infomation"), tr("title"), tr("OK"), QString()}, parent)
{
}
