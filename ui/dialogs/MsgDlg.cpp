#include "MsgDlg.h"

MsgDlg::MsgDlg(QWidget *parent)
    : MessageDialog({tr("Infomation"), tr("title"), tr("OK"), tr("Cancel")}, parent)
{
}
