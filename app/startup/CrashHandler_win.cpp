#include "CrashHandler.h"

#include <windows.h>

#include <dbghelp.h>

#include <string>

namespace {

constexpr size_t kLongest = 2048;

wchar_t s_dialogPath[kLongest];
wchar_t s_fallbackPath[kLongest];
wchar_t s_commandLine[2 * kLongest];

void keep(wchar_t *target, size_t size, const std::wstring &text)
{
    if (text.size() >= size)
        return;
    text.copy(target, text.size());
    target[text.size()] = 0;
}

// One argument as the C run-time takes it apart again.
std::wstring quoted(const std::wstring &text)
{
    std::wstring out = L"\"";
    size_t slashes = 0;
    for (const wchar_t c : text) {
        if (c == L'\\') {
            ++slashes;
        } else {
            if (c == L'"')
                out.append(slashes + 1, L'\\');
            slashes = 0;
        }
        out += c;
    }
    out.append(slashes, L'\\');
    return out + L'"';
}

void writeDump(EXCEPTION_POINTERS *exception)
{
    // The current folder is the executable's.
    HANDLE file = CreateFileW(L"crash.dmp", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE && *s_fallbackPath)
        file = CreateFileW(s_fallbackPath, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return;
    MINIDUMP_EXCEPTION_INFORMATION information = {};
    information.ThreadId = GetCurrentThreadId();
    information.ExceptionPointers = exception;
    information.ClientPointers = TRUE;
    MiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), file, MiniDumpNormal, &information, nullptr, nullptr);
    CloseHandle(file);
}

LONG WINAPI crashFilter(EXCEPTION_POINTERS *exception)
{
    writeDump(exception);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(s_dialogPath, s_commandLine, nullptr, nullptr, FALSE, DETACHED_PROCESS, nullptr, nullptr,
                       &startup, &process)) {
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

void CrashHandler::install()
{
    wchar_t path[kLongest] = {};
    const DWORD length = GetModuleFileNameW(nullptr, path, DWORD(kLongest));
    if (length > 0 && length < kLongest) {
        const std::wstring whole(path);
        keep(s_dialogPath, kLongest, whole.substr(0, whole.find_last_of(L"\\/") + 1) + L"ArkvaleTolmaDialog.exe");
    }
    wchar_t base[kLongest] = {};
    const DWORD baseLength = GetEnvironmentVariableW(L"LOCALAPPDATA", base, DWORD(kLongest));
    if (baseLength > 0 && baseLength < kLongest) {
        const std::wstring folder = std::wstring(base) + L"\\ArkvaleTolma";
        CreateDirectoryW(folder.c_str(), nullptr);
        keep(s_fallbackPath, kLongest, folder + L"\\crash.dmp");
    }
    setTexts(QStringLiteral("ArkvaleTolma is crashed!"), QStringLiteral("app crash"), QStringLiteral("OK"));
    SetUnhandledExceptionFilter(crashFilter);
}

void CrashHandler::setTexts(const QString &message, const QString &title, const QString &button)
{
    keep(s_commandLine, 2 * kLongest,
         quoted(s_dialogPath) + L' ' + quoted(message.toStdWString()) + L' ' + quoted(title.toStdWString()) + L' ' +
             quoted(button.toStdWString()));
}
