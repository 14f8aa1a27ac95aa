#include "FilePreviewForWindows.h"

#include <QDir>

#include <windows.h>

#include <objbase.h>
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>

FilePreviewForWindows::FilePreviewForWindows()
    : m_initialized(SUCCEEDED(CoInitialize(nullptr)))
{
}

FilePreviewForWindows::~FilePreviewForWindows()
{
    if (m_initialized)
        CoUninitialize();
}

bool FilePreviewForWindows::isSupported(const std::wstring &fileName) const
{
    const std::size_t dot = fileName.rfind(L'.');
    if (dot == std::wstring::npos || dot + 1 == fileName.size())
        return false;
    const std::wstring ending = fileName.substr(dot);

    // The person's own choice, or the one that the type's program registered.
    IQueryAssociations *associations = nullptr;
    bool found = false;
    if (SUCCEEDED(
            AssocCreate(CLSID_QueryAssociations, IID_IQueryAssociations, reinterpret_cast<void **>(&associations)))) {
        DWORD length = 0;
        found = SUCCEEDED(associations->Init(ASSOCF_INIT_IGNOREUNKNOWN, ending.c_str(), nullptr, nullptr)) &&
                associations->GetString(ASSOCF_NONE, ASSOCSTR_COMMAND, L"open", nullptr, &length) == S_FALSE &&
                length > 1;
        associations->Release();
    }
    if (found)
        return true;

    // Else any that offers itself.
    IEnumAssocHandlers *handlers = nullptr;
    if (FAILED(SHAssocEnumHandlers(ending.c_str(), ASSOC_FILTER_RECOMMENDED, &handlers)))
        return false;
    IAssocHandler *handler = nullptr;
    if (handlers->Next(1, &handler, nullptr) == S_OK) {
        found = true;
        handler->Release();
    }
    handlers->Release();
    return found;
}

bool FilePreviewForWindows::open(const QString &localPath) const
{
    const std::wstring path = QDir::toNativeSeparators(localPath).toStdWString();
    const HINSTANCE result = ShellExecuteW(nullptr, L"open", path.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    return reinterpret_cast<INT_PTR>(result) > 32; // anything smaller is an error, by the function's contract
}

std::unique_ptr<PreviewBackend> PreviewBackend::create()
{
    return std::make_unique<FilePreviewForWindows>();
}
