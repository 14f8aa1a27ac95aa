#pragma once

class QDialog;

/// Closes every popup and rejects every dialog of the program that is open, but @p except. Dialogs run event loops of
/// their own, inside which nothing around them can end; a dialog that opens afterwards needs another call.
void rejectOpenDialogs(const QDialog *except = nullptr);
