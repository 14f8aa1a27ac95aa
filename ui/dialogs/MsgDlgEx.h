#pragma once

#include "MessageDialog.h"

/// A notice with "OK" alone.
class MsgDlgEx : public MessageDialog
{
    Q_OBJECT

public:
    explicit MsgDlgEx(QWidget *parent = nullptr);
};
