#pragma once

#include "Outcome.h"
#include "SafeFolder.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace arkvale::service {

/// Decodes images in processes of their own, with bounded memory and time: a crafted image costs such a process, not
/// the service. The processes start when they are needed and serve many images. May be used from any thread; a call
/// blocks until its image is done, at most for the time limit plus the same time for a free process.
class ImageWorkers
{
public:
    struct Options
    {
        std::string program; ///< absolute path of arkvale-thumbnailer
        unsigned processes = 2;
        std::chrono::milliseconds time{10000};
    };

    explicit ImageWorkers(Options options);
    /// Ends the processes. No call may be running.
    ~ImageWorkers();

    ImageWorkers(const ImageWorkers &) = delete;
    ImageWorkers &operator=(const ImageWorkers &) = delete;

    /// A PNG of at most @p width x @p height pixels of the image in @p file, never larger than the image. Failures: 422
    /// for what cannot be decoded, 503 when all processes are busy or none can be started.
    Outcome render(const zpdt::SafeFile &file, const std::string &format, unsigned width, unsigned height,
                   std::string &png);

private:
    struct Worker
    {
        long pid = -1;
        int socket = -1;
        bool busy = false;
    };

    bool start(Worker &worker) const;
    static void end(Worker &worker, bool atOnce);

    const Options m_options;
    std::mutex m_mutex;
    std::condition_variable m_freed;
    std::vector<Worker> m_workers;
};

} // namespace arkvale::service
