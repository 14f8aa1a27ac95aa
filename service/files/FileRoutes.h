#pragma once

#include "ContentTypes.h"
#include "Context.h"
#include "Drive.h"
#include "DriveJob.h"
#include "JobRunner.h"
#include "Router.h"
#include "Thumbnails.h"
#include "UserHome.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace arkvale::service {

/// The HTTP face of the drives: every path below "/sc/{id}/files/" and "/sc/{id}/jobs/". Owns the background jobs, the
/// image processes and the storeroom of each sub-center; lives as long as the server that it serves. Handlers run on
/// the server's worker threads.
class FileRoutes
{
public:
    struct Options
    {
        /// Program that decodes images; empty: no thumbnails are made.
        std::string thumbnailer;
        JobRunner::Limits jobs;
        /// Told when an entry of the home has another path, or is gone: "/a/b".
        std::function<void(const UserHome &, const std::string &from, const std::string &to)> moved;
        std::function<void(const UserHome &, const std::string &path)> gone;
    };

    /// Opens the storerooms of all sub-centers, so that what is left over from an earlier run is cleared away.
    FileRoutes(Context &context, Options options);
    ~FileRoutes();

    FileRoutes(const FileRoutes &) = delete;
    FileRoutes &operator=(const FileRoutes &) = delete;

    void addTo(Router &router);
    /// Cancels the background jobs and waits for them: to be called before the server stops, so that whoever waits for
    /// a job is answered.
    void stop();

    /// The user's home, for other routes that reach into drives.
    Outcome openHome(const std::string &user, const std::string &subCenterId, UserHome &home);
    /// Starts a job, whose state the user then asks for as for any other, or tells why not.
    Response startJob(const std::string &user, std::shared_ptr<DriveJob> job);

private:
    using HomeHandler = std::function<Response(const Request &, const UserHome &)>;

    void addHomeRoute(Router &router, const std::string &method, const std::string &name, HomeHandler handler);
    std::shared_ptr<Storeroom> storeroom(const SubCenterInfo &subCenter);

    Response list(const Request &request, const UserHome &home);
    Response search(const Request &request, const UserHome &home);
    Response thumbnail(const Request &request, const UserHome &home);
    Response preview(const Request &request, const UserHome &home);
    Response change(const Request &request, const UserHome &home, const std::string &name);
    Response moveEntries(const UserHome &home, const std::vector<std::string> &sources, const std::string &target);
    Response removeEntries(const UserHome &home, const std::vector<std::string> &paths, Drive::Kind kind);
    Response renameEntry(const UserHome &home, const std::string &source, const std::string &target, Drive::Kind kind);
    bool isGone(const UserHome &home, const std::string &path) const;
    void tellMoved(const UserHome &home, const std::string &from, const std::string &to) const;
    Response startWork(const std::string &user, JobRunner::Work work);
    Response jobState(const Request &request);

    Context &m_context;
    const Options m_options;
    ContentTypes m_types;
    Thumbnails m_thumbnails;
    std::mutex m_mutex;
    std::map<std::string, std::shared_ptr<Storeroom>> m_storerooms; ///< by sub-center id
    JobRunner m_jobs;
};

/// Makes the routes and adds them. The result has to outlive the router's last request.
std::shared_ptr<FileRoutes> registerFileRoutes(Router &router, Context &context,
                                               FileRoutes::Options options = FileRoutes::Options());

} // namespace arkvale::service
