#pragma once

#include "MessageDialog.h"

/// A question with "OK" and "Cancel"; callers that only inform hide "cancel".
class MsgDlg : public MessageDialog
{
    Q_OBJECT

public:
    explicit MsgDlg(QWidget *parent = nullptr);
};
