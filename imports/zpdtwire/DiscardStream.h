#pragma once

#include "SafeFolder.h"
#include "StreamBase.h"

#include <atomic>
#include <functional>
#include <string>
#include <vector>

namespace zpdt {

/// Either end of a stream that moves nothing: the client names files and folders below the ticket's folder, and the
/// service removes the partial files that earlier streams left of them. Finished files stay, and so do partial files
/// that another stream is writing: with any of those it ends with Refused.
class DiscardStream : public StreamBase
{
public:
    /// What the service's end works on.
    struct Target
    {
        std::function<FileResult(SafeFolder &)> open; ///< makes nothing; disk threads
        std::string key;                              ///< stands for that folder among the files in use
        std::function<void(std::int64_t)> addUsed;    ///< may be empty; disk threads
    };

    /// The client's end.
    DiscardStream(Session &session, StreamCallbacks callbacks);
    /// The service's end.
    DiscardStream(Session &session, Target target);

    bool message(Msg type, WireReader &body) override;
    void lost(Error error, const std::string &text) override;
    void stop(Error error, const std::string &text, bool discard) override;

private:
    bool wantMessage(WireReader &body);
    void carryOut();
    void finish(Error error, const std::string &text);

    const bool m_serving;
    Target m_target;
    std::vector<std::string> m_names;
    bool m_complete = false;
    bool m_working = false;
    std::atomic<bool> m_stopped{false}; ///< looked at by the disk thread
};

} // namespace zpdt
