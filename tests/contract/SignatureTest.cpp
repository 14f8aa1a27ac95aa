#include "TestSupport.h"

#include "ArkvaleTolmaMain.h"
#include "ArkvaleTray.h"
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

#include <QMetaMethod>

#include <type_traits>
#include <vector>

namespace {

/// Signatures that one class owes to the others.
struct Row
{
    const QMetaObject *meta;
    QMetaMethod::MethodType type;
    bool ordered;           ///< declared in this order
    const char *signatures; ///< without parameter names, separated by blanks; no blank inside one
};

constexpr auto kSignal = QMetaMethod::Signal;
constexpr auto kSlot = QMetaMethod::Slot;

#define ANSWER "(qint64,int,QByteArray) "

const std::vector<Row> s_table = {
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
};

// Operations that are no slots have no text signature; their types are checked by the compiler. Those of the service's
// client are spelled out a second time by the drive's stand-in for it.
template <typename Class, typename Result, typename... Arguments>
constexpr bool takes(Result (Class::*)(Arguments...))
{
    return true;
}

using S = const QString &;
using C = const ZpdtTransConfig &;
template <typename... Arguments>
using Engine = void (TransferModule::*)(Arguments...);

static_assert(std::is_constructible_v<TransferModule, bool, QObject *>);
static_assert(takes(static_cast<Engine<const QList<FileInfo> &, S, C>>(&TransferModule::UploadFiles)));
static_assert(takes(static_cast<Engine<S, S, C>>(&TransferModule::UploadFolder)));
static_assert(takes(static_cast<Engine<const QList<FileInfo> &, S, C>>(&TransferModule::DownloadFiles)));
static_assert(takes(static_cast<Engine<S, S, C>>(&TransferModule::DownloadFolder)));
static_assert(takes(static_cast<Engine<const TaskRecord &, C>>(&TransferModule::Start)));
static_assert(takes(static_cast<Engine<const QList<TaskRecord> &, ZPDTCMDTYPE, C>>(&TransferModule::StartAll)));
static_assert(takes(static_cast<Engine<const TaskRecord &>>(&TransferModule::Pause)));
static_assert(takes(static_cast<Engine<ZPDTCMDTYPE>>(&TransferModule::PauseAll)));
static_assert(takes(static_cast<Engine<const TaskRecord &>>(&TransferModule::Cancel)));
static_assert(takes(static_cast<Engine<ZPDTCMDTYPE>>(&TransferModule::CancelAll)));
static_assert(takes(static_cast<Engine<ZPDTCMDTYPE, int>>(&TransferModule::SetMaxConcurrence)));
static_assert(takes(static_cast<Engine<ZpdtTransConfig>>(&TransferModule::SetZpdtParams)));
static_assert(takes(static_cast<Engine<S, qint64>>(&TransferModule::UpdateStorageCapacity)));

static_assert(takes(static_cast<int (zpt_logger::*)(QString)>(&zpt_logger::RegisterLogger)));
static_assert(std::is_constructible_v<BrowserServer, quint16, const OrvClient &, QObject *>);

} // namespace

class SignatureTest : public StrictTest
{
    Q_OBJECT

private slots:
    void signatures_data()
    {
        QTest::addColumn<int>("row");
        for (size_t i = 0; i < s_table.size(); ++i)
            QTest::addRow("%s %s", s_table[i].meta->className(), s_table[i].type == kSignal ? "signals" : "slots")
                << int(i);
    }

    void signatures()
    {
        QFETCH(int, row);
        const Row &contract = s_table[size_t(row)];
        // Blanks separate, except the one inside a pointer to constant text.
        const QByteArray text = QByteArray(contract.signatures).replace("const wchar_t*", "const_wchar_t*");
        QStringList missing;
        int last = -1;
        for (QByteArray signature : text.simplified().split(' ')) {
            signature.replace("const_wchar_t*", "const wchar_t*");
            const QByteArray normalized = QMetaObject::normalizedSignature(signature.constData());
            const int index = contract.meta->indexOfMethod(normalized.constData());
            if (index < 0 || contract.meta->method(index).methodType() != contract.type)
                missing << QString::fromLatin1(signature);
            else if (contract.ordered && index < last)
                missing << QString::fromLatin1(signature) + QStringLiteral(" stands too early");
            last = qMax(last, index);
        }
        QVERIFY2(missing.isEmpty(), qPrintable(missing.join(QLatin1Char(' '))));
    }
};

ARKVALE_GUILESS_TEST(SignatureTest)
#include "SignatureTest.moc"
