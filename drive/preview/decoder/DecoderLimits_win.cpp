#include "DecoderLimits.h"

#include <windows.h>

void limitDecoder(quint64 memory)
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    if (!job)
        return;
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION info = {};
    info.BasicLimitInformation.LimitFlags =
        JOB_OBJECT_LIMIT_PROCESS_MEMORY | JOB_OBJECT_LIMIT_ACTIVE_PROCESS | JOB_OBJECT_LIMIT_DIE_ON_UNHANDLED_EXCEPTION;
    info.BasicLimitInformation.ActiveProcessLimit = 1;
    info.ProcessMemoryLimit = SIZE_T(memory);
    // The handle stays open: the limits hold as long as the process lives.
    if (SetInformationJobObject(job, JobObjectExtendedLimitInformation, &info, sizeof(info)))
        AssignProcessToJobObject(job, GetCurrentProcess());
}
