#include "ProcessSetup.h"

#include <QSettings>
#include <QTextCodec>

#include <windows.h>

void ProcessSetup::enableDebugPrivilege()
{
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token))
        return;
    TOKEN_PRIVILEGES privileges = {};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (LookupPrivilegeValueW(nullptr, L"SeDebugPrivilege", &privileges.Privileges[0].Luid))
        AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr);
    CloseHandle(token);
}

void ProcessSetup::setLocaleCodec()
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("GB18030"));
}

bool ProcessSetup::prefersDark()
{
    const QSettings personal(
        QStringLiteral("HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize"),
        QSettings::NativeFormat);
    return personal.value(QStringLiteral("AppsUseLightTheme"), 1).toInt() == 0;
}

struct TerminationRequest::State
{
};

// A windowed program is asked to end through its windows.
TerminationRequest::TerminationRequest(QObject *parent)
    : QObject(parent)
{
}

TerminationRequest::~TerminationRequest() = default;
