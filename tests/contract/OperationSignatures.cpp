// Operations that are no slots have no text signature; their types are checked by the compiler.

#include "BrowserServer.h"
#include "OrvClient.h"
#include "TransferModule.h"
#include "zpt_logger.h"

#include <type_traits>

namespace {

template <typename Class, typename Result, typename... Arguments>
constexpr bool takes(Result (Class::*)(Arguments...))
{
    return true;
}

using S = const QString &;
using L = const QStringList &;
using C = const ZpdtTransConfig &;
template <typename... Arguments>
using Ask = qint64 (OrvClient::*)(Arguments...);
template <typename... Arguments>
using Engine = void (TransferModule::*)(Arguments...);

static_assert(std::is_constructible_v<OrvClient, S, S, S, S, S>);
static_assert(std::is_copy_constructible_v<OrvClient> && std::is_copy_assignable_v<OrvClient>);
static_assert(takes(static_cast<void (OrvClient::*)(S)>(&OrvClient::setUrl)));
static_assert(takes(static_cast<void (OrvClient::*)(S)>(&OrvClient::setUser)));
static_assert(takes(static_cast<void (OrvClient::*)(S, S)>(&OrvClient::setAccess)));

static_assert(takes(static_cast<Ask<QString, QString>>(&OrvClient::auth)));
static_assert(takes(static_cast<Ask<S, S>>(&OrvClient::login)));
static_assert(takes(static_cast<Ask<S>>(&OrvClient::getUserInfo)));
static_assert(takes(static_cast<Ask<S>>(&OrvClient::getIcon)));
static_assert(takes(static_cast<Ask<S>>(&OrvClient::getUserStorage)));
static_assert(takes(static_cast<Ask<S, S, S>>(&OrvClient::getUserPath)));
static_assert(takes(static_cast<Ask<S>>(&OrvClient::listSubCenter)));
static_assert(takes(static_cast<Ask<>>(&OrvClient::getTranserLimit)));
static_assert(takes(static_cast<Ask<S>>(&OrvClient::getAD)));
static_assert(takes(static_cast<Ask<S>>(&OrvClient::getFileInfo)));
static_assert(takes(static_cast<Ask<S, const QSize &>>(&OrvClient::getThumbnail)));
static_assert(takes(static_cast<Ask<S, int>>(&OrvClient::listFile)));
static_assert(takes(static_cast<Ask<S>>(&OrvClient::mkdir)));
static_assert(takes(static_cast<Ask<L>>(&OrvClient::removeFile)));
static_assert(takes(static_cast<Ask<L>>(&OrvClient::removeFolder)));
static_assert(takes(static_cast<Ask<L, S>>(&OrvClient::move)));
static_assert(takes(static_cast<Ask<L, S>>(&OrvClient::copy)));
static_assert(takes(static_cast<Ask<S, S>>(&OrvClient::renameFile)));
static_assert(takes(static_cast<Ask<S, S>>(&OrvClient::renameFolder)));
static_assert(takes(static_cast<Ask<L, S>>(&OrvClient::compress)));
static_assert(takes(static_cast<Ask<S, S>>(&OrvClient::decompress)));
static_assert(takes(static_cast<Ask<S, S>>(&OrvClient::searchFile)));
static_assert(takes(static_cast<Ask<S, S>>(&OrvClient::getPreviewFile)));
static_assert(takes(static_cast<Ask<S, S>>(&OrvClient::publicShare)));
static_assert(takes(static_cast<Ask<S, S, S>>(&OrvClient::privateShare)));
static_assert(takes(static_cast<Ask<S, L>>(&OrvClient::friendShare)));
static_assert(takes(static_cast<Ask<S, S>>(&OrvClient::modifyPassword)));
static_assert(takes(static_cast<Ask<S, L>>(&OrvClient::modifyUsers)));
static_assert(takes(static_cast<Ask<L>>(&OrvClient::deleteShare)));
static_assert(takes(static_cast<Ask<S, S>>(&OrvClient::ignoreShare)));
static_assert(takes(static_cast<Ask<S, int>>(&OrvClient::searchUsers)));
static_assert(takes(static_cast<Ask<>>(&OrvClient::listMyShare)));
static_assert(takes(static_cast<Ask<>>(&OrvClient::listShareToMe)));
static_assert(takes(static_cast<Ask<S, S, S, S>>(&OrvClient::shareToMeSaveAs)));
static_assert(takes(static_cast<Ask<S, S, S>>(&OrvClient::shareToMeListFile)));
static_assert(takes(static_cast<Ask<S, S>>(&OrvClient::shareToMeFileRealPath)));
static_assert(takes(static_cast<Ask<S, S, S, S>>(&OrvClient::shareToMeDownload)));
static_assert(takes(static_cast<Ask<S, S, S, L, S>>(&OrvClient::reportShare)));

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
