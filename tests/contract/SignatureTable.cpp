#include "SignatureTable.h"

#include "BrowserServer.h"
#include "GlobalConfig.h"
#include "LoginService.h"
#include "LoginUI.h"
#include "NetDiskServer.h"
#include "NetdiskPage.h"
#include "OrvClient.h"
#include "SelectCenterDialog.h"
#include "TransferModule.h"
#include "TransferringWidget.h"
#include "UpdateService.h"
#include "zpt_logger.h"

namespace {

constexpr auto kSignal = QMetaMethod::Signal;
constexpr auto kSlot = QMetaMethod::Slot;

#define ANSWER "(qint64,int,QByteArray) "

const SignatureTable s_table({
    {&OrvClient::staticMetaObject, kSignal, false,
     "authFinished" ANSWER "loginFinished" ANSWER "getUserInfoFinished" ANSWER "getIconFinished" ANSWER
     "getUserStorageFinished" ANSWER "getUserPathFinished" ANSWER "listSubCenterFinished" ANSWER
     "getTransferLimitFinished" ANSWER "getADFinished" ANSWER "getFileInfoFinished" ANSWER "getThumbnailFinished" ANSWER
     "listFileFinished" ANSWER "mkdirFinished" ANSWER "removeFileFinished" ANSWER "removeFolderFinished" ANSWER
     "moveFinished" ANSWER "copyFinished" ANSWER "renameFileFinished" ANSWER "renameFolderFinished" ANSWER
     "compressFinished" ANSWER "decompressFinished" ANSWER "searchFileFinished" ANSWER "getPreviewFileFinished" ANSWER
     "publicShareFinished" ANSWER "privateShareFinished" ANSWER "friendShareFinished" ANSWER
     "modifyPasswordFinished" ANSWER "modifyUsersFinished" ANSWER "deleteShareFinished" ANSWER
     "ignoreShareFinished" ANSWER "searchUsersFinished" ANSWER "listMyShareFinished" ANSWER
     "listShareToMeFinished" ANSWER "shareToMeSaveAsFinished" ANSWER "shareToMeListFileFinished" ANSWER
     "shareToMeFileRealPathFinished" ANSWER "shareDownloadFinished" ANSWER "reportShareFinished" ANSWER},
    {&TransferModule::staticMetaObject, kSignal, false,
     "TaskCreated(QList<TaskRecord>,ZPDTCMDTYPE) TaskStarted(QList<TaskRecord>,ZPDTCMDTYPE) "
     "TaskFinished(QList<TaskRecord>,ZPDTCMDTYPE) TaskRetrans(QList<TaskRecord>,ZPDTCMDTYPE) "
     "TaskDirCreated(QStringList) TaskPauseEnd(QList<TaskRecord>,ZPDTCMDTYPE) "
     "TaskCancelEnd(QList<TaskRecord>,ZPDTCMDTYPE) TaskExist(QList<TaskRecord>) "
     "TaskCreatePausedCount(qint64,ZPDTCMDTYPE) TaskCreateCount(qint64,ZPDTCMDTYPE) "
     "TaskProgressChanged(TaskRecord,ZpdtProgress) ConnectionInfoChanged(QList<ZpdtConnectionInfo>) "
     "UpdateSubcenterPath(QMap<QString,QString>) SigRegisterPausedTask(QList<TaskRecord>) "
     "SigUnRegisterPausedTask(QList<TaskRecord>)"},
    {&zpt_logger::staticMetaObject, kSlot, false, "SlotWriteLog(int,int,QString,const wchar_t*,int)"},
    {&UpdateService::staticMetaObject, kSignal, false, "UpdateFinished(int)"},
    {&GlobalConfig::staticMetaObject, kSignal, false,
     "handlerListSubCenterFinished() handlerGetADFinished() handlerGetTransferLimitFinished() "
     "handlerRequestFailured(int)"},
    {&GlobalConfig::staticMetaObject, kSlot, false,
     "handlerListSubCenter" ANSWER "handlerGetAD" ANSWER "handlerGetTransferLimit" ANSWER "handlerRequstFailured(int)"},
    {&LoginService::staticMetaObject, kSignal, true,
     "loginStatusChanged() handlerLoginFinished() handlerGetCurrentUserInfoFinished() "
     "handlerGetCurrentUserIconFinished() handlerCheckSubCenterFinished() handlerGetStorageFinished() "
     "handlerRequestFailured(int) sigCheckSubCenterAgain()"},
    {&LoginService::staticMetaObject, kSlot, true,
     "login(QString,QString) getCurrentUserInfo() getCurrentUserIcon() checkSubCenter() checkStorage() "
     "handlerLogin" ANSWER "handlerGetCurrentUserInfo" ANSWER "handlerGetCurrentUserIcon" ANSWER
     "handlerCheckSubCenter" ANSWER "handlerCheckStorage" ANSWER "handlerAuth" ANSWER},
    {&LoginUI::staticMetaObject, kSignal, false, "sigAutoLogin() accepted() rejected()"},
    {&LoginUI::staticMetaObject, kSlot, true,
     "login() ResetPassWord() Register() SwitchRemeberPwd() SwitchAutoLogin() UpdateUserCfg() RefreshUserList() "
     "RefreshUserCfg() Result() LoadUserCfg() SaveUserCfg() UpdateFinished(int)"},
    {&SelectCenterDialog::staticMetaObject, kSignal, true, "centerSelected(QString) sigLogout()"},
    {&SelectCenterDialog::staticMetaObject, kSlot, true,
     "refreshSubCenter() initSubCenter() onClick() onCancel() onExit()"},
    {&NetDiskServer::staticMetaObject, kSignal, false,
     "NavgationChanged() handlerGetFloderNameFinshed() handlerGetIconFinished(qint64,QByteArray) "
     "handlerIntoFloderFinished(QList<FileItem>) handlerIntoFloderFailured(int) "
     "handlerSearchFileFinished(QList<FileItem>) handlerGetStorageFinished() "
     "handlerNewFolderFinished(QList<FileItem>) handlerRemoveFinished(QStringList) "
     "handlerMoveFinished(QStringList,QString) handlerCopyFinished(QStringList,QString) "
     "handlerRenameFinished(QString,QString) handlerCompressFinished(QString) handlerDecompressFinished()"},
    {&NetDiskServer::staticMetaObject, kSlot, false,
     "getFloderName(QString) getIcon(qint64&,QString) intoFolder(QString) searchFile(QString) getStorage() "
     "newFloder(QString) removeFile(QStringList) removeFolder(QStringList) move(QStringList,QString) "
     "copy(QStringList,QString) renameFile(QString,QString) renameFolder(QString,QString) "
     "compress(QStringList,QString) decompress(QString,QString) forward() backward() refresh() "
     "handlerGetFloderName" ANSWER "handlerGetIcon" ANSWER "handlerIntoFloder" ANSWER "handlerSearchFile" ANSWER
     "handlerGetStorage" ANSWER "handlerNewFloder" ANSWER "handlerRemoveFile" ANSWER "handlerRemoveFolder" ANSWER
     "handlerMove" ANSWER "handlerCopy" ANSWER "handlerRename" ANSWER "handlerCompress" ANSWER
     "handlerDecompress" ANSWER},
    {&NetdiskPage::staticMetaObject, kSignal, false,
     "sigUpload(QStringList,QStringList,SubCenter,QString) "
     "sigDownload(QList<FileItem>,QList<FileItem>,SubCenter,QString) "
     "ClickedUpload() ClickedUploadFolder() ClickedNewFolder() ClickedSearchFile() IconChanged(QList<FileItem>) "
     "UserConfermRemove() sigGetFileInfo(QStringList) sigAddItems(QList<FileItem>) ChangeTransferStatus(int)"},
    {&NetdiskPage::staticMetaObject, kSlot, false,
     "Update() Refresh() Forward() Backward() IntoHome() IntoFolder(QString) SearchFile() NewFolder() Remove() "
     "Upload() "
     "Upload(QStringList,QString) Download() Preview() Preview(QString) Paste() Move(QStringList,QString) Rename() "
     "Compress() Decompress() GetFileInfo(QStringList) SetIcons(QList<FileItem>) HandlerRename(QString,QString) "
     "HandlerMove(QStringList,QString) HandlerCopy(QStringList,QString) HandlerIntoFloderFailured(int) "
     "ShowItems(QList<FileItem>) AddItems(QList<FileItem>) RemoveItems(QStringList) RefreshItemCount() "
     "showEmptyFolder(bool) SetStorage() refreshSubCenter() ChangeButtonStatus() SlotFolderChanged() ChangeShowMode() "
     "changeTransferStatus(int)"},
    {&BrowserServer::staticMetaObject, kSignal, true,
     "downloadRequest(QString,QList<FileItem>) uploadRequest(QString,QString) authRequest() "
     "sigWriteLog(int,int,QString,const wchar_t*,int) sigSwitchUser(QString)"},
    {&BrowserServer::staticMetaObject, kSlot, true,
     "onNewConnection() onServerClosed() receivedTextMessage(QString) receivedBinaryMessage(QByteArray) "
     "socketDisconnected() onSslErrors(QList<QSslError>) onAuthFinished" ANSWER},
    {&TransferringWidget::staticMetaObject, kSlot, false,
     "Upload(QStringList,QStringList,SubCenter,QString) Download(QList<FileItem>,QList<FileItem>,SubCenter,QString) "
     "StartTask(TaskRecord) PauseTask(TaskRecord) CancelTask(TaskRecord) StartAllTask(QList<TaskRecord>) "
     "PauseAllTask() "
     "CancelAllTask() RefreshTaskCount() OnFileTaskCreate(QList<TaskRecord>,ZPDTCMDTYPE) "
     "OnFileTaskStart(QList<TaskRecord>,ZPDTCMDTYPE) OnFileTaskFinished(QList<TaskRecord>,ZPDTCMDTYPE) "
     "OnFileTaskRetrans(QList<TaskRecord>,ZPDTCMDTYPE) OnFolderUploadFinished(QStringList) "
     "OnPauseEnd(QList<TaskRecord>,ZPDTCMDTYPE) OnCancelEnd(QList<TaskRecord>,ZPDTCMDTYPE) "
     "OnTaskExist(QList<TaskRecord>) TransferTaskCountChanged(qint64,ZPDTCMDTYPE) "
     "OnConnectionInfoChanged(QList<ZpdtConnectionInfo>)"},
});

} // namespace

SignatureTable::SignatureTable(std::vector<SignatureRow> rows)
{
    store().insert(store().end(), rows.begin(), rows.end());
}

const std::vector<SignatureRow> &SignatureTable::all()
{
    return store();
}

std::vector<SignatureRow> &SignatureTable::store()
{
    static std::vector<SignatureRow> rows;
    return rows;
}
