#include "SignatureTable.h"

#include "ArkvaleTolmaMain.h"
#include "ArkvaleTray.h"

namespace {

constexpr auto kSignal = QMetaMethod::Signal;
constexpr auto kSlot = QMetaMethod::Slot;

const SignatureTable s_table({
    {&ArkvaleTolmaMain::staticMetaObject, kSignal, false,
     "Close() languageChanged() sigShowTrayMessage(QString) sigWriteLog(int,int,QString,const wchar_t*,int) "
     "StartUpload(QStringList,QStringList,SubCenter,QString) "
     "StartDownload(QList<FileItem>,QList<FileItem>,SubCenter,QString)"},
    {&ArkvaleTolmaMain::staticMetaObject, kSlot, false,
     "initSplitWidget() Logout() Logout(QString) Exit() onRaise() onShowSetting() onShowTransfering() "
     "onShowTransfering(bool) UpdateFinished(int) ProcessDownloadRequest(QString,QList<FileItem>) "
     "ProcessUploadRequest(QString,QString) CloseMinimizedToTray() initSubCenter() refreshSubCenter()"},
    {&ArkvaleTray::staticMetaObject, kSignal, true,
     "sigRaise() sigShowTransfering() sigShowSetting() sigSwitchShow(bool) sigLogout() sigQuit()"},
    {&ArkvaleTray::staticMetaObject, kSlot, true,
     "slotChangeLanguage() onChangedSkin() slotTrayMessageClicked() "
     "slotShowFileTransferringFinishedMsg(QStringList,ZPDTCMDTYPE) slotShowFileTransferringCreatedMsg(ZPDTCMDTYPE) "
     "slotShowMessage(QString) slotShowLoginMessage() slotTrayActivated(QSystemTrayIcon::ActivationReason)"},
});

} // namespace
