#include "DecoderLimits.h"

#include <sys/resource.h>

void limitDecoder(quint64 memory)
{
    const auto limit = [](auto what, rlim_t most) {
        const rlimit both{most, most};
        setrlimit(what, &both);
    };
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_NOFILE, 64);
    limit(RLIMIT_CPU, 3600); // over many images; a single one is timed by whoever asked for it
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    limit(RLIMIT_AS, rlim_t(memory));
#else
    Q_UNUSED(memory)
#endif
}
