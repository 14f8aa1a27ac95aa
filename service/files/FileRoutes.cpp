#include "FileRoutes.h"

#include "CompressJob.h"
#include "CopyJob.h"
#include "DecompressJob.h"
#include "Drive.h"
#include "JsonBody.h"
#include "RangedFile.h"
#include "Response.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <ctime>
#include <utility>

namespace arkvale::service {

using nlohmann::json;

namespace {

constexpr std::size_t kMaxPaths = 100000; // of one request
constexpr int kLongestWait = 30;          // seconds
const char *const kJson = "application/json";

Response answer(const Outcome &outcome)
{
    return outcome.ok() ? Response::json(json::object())
                        : Response::error(outcome.status, outcome.word, outcome.message);
}

Response answer(const Outcome &outcome, std::string body)
{
    return outcome.ok() ? Response::bytes(std::move(body), kJson) : answer(outcome);
}

Response badRequest()
{
    return Response::error(400, "bad-request", "The request lacks a path, or one is not a text.");
}

Response stateOf(const std::optional<Outcome> &outcome)
{
    if (!outcome)
        return Response::json(json{{"state", "running"}});
    if (outcome->ok())
        return Response::json(json{{"state", "done"}, {"status", 200}});
    return Response::json(json{
        {"state", "failed"}, {"status", outcome->status}, {"error", outcome->word}, {"message", outcome->message}});
}

std::string entityTag(const zpdt::FileStat &stat)
{
    return "\"" + std::to_string(stat.modifiedNs) + "-" + std::to_string(stat.size) + "\"";
}

} // namespace

FileRoutes::FileRoutes(Context &context, Options options)
    : m_context(context)
    , m_options(std::move(options))
    , m_thumbnails({m_options.thumbnailer})
    , m_jobs(m_options.jobs)
{
    for (const SubCenterInfo &subCenter : m_context.subCenters())
        storeroom(subCenter);
}

FileRoutes::~FileRoutes()
{
    stop();
}

void FileRoutes::stop()
{
    m_jobs.stop();
}

std::shared_ptr<Storeroom> FileRoutes::storeroom(const SubCenterInfo &subCenter)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::shared_ptr<Storeroom> &room = m_storerooms[subCenter.id];
    if (!room) {
        zpdt::FileResult result;
        room = Storeroom::open(subCenter.rootFolder, result);
        if (!room)
            std::fprintf(stderr, "sub-center %s: %s: %s\n", subCenter.id.c_str(), subCenter.rootFolder.c_str(),
                         result.message().c_str());
    }
    return room;
}

Outcome FileRoutes::openHome(const std::string &user, const std::string &id, UserHome &home)
{
    const std::optional<SubCenterInfo> subCenter = m_context.subCenter(id);
    if (!subCenter)
        return Outcome::failure(404, "no-sub-center", "There is no such sub-center.");
    const std::optional<std::string> path = m_context.userHome(user, id);
    if (!path)
        return Outcome::failure(404, "no-home", "The user has no home in this sub-center.");
    home.user = user;
    home.subCenter = id;
    home.context = &m_context;
    home.storeroom = storeroom(*subCenter);
    if (!home.storeroom || !zpdt::SafeFolder::open(*path, home.folder).ok())
        return Outcome::failure(503, "no-disk", "The disk of this sub-center is not there.");
    return {};
}

void FileRoutes::addHomeRoute(Router &router, const std::string &method, const std::string &name, HomeHandler handler)
{
    router.add(method, "/sc/{id}/files/" + name, [this, handler = std::move(handler)](const Request &request) {
        UserHome home;
        const Outcome outcome = openHome(request.user, request.param("id"), home);
        return outcome.ok() ? handler(request, home) : answer(outcome);
    });
}

void FileRoutes::addTo(Router &router)
{
    const auto add = [&](const char *method, const char *name,
                         Response (FileRoutes::*function)(const Request &, const UserHome &)) {
        addHomeRoute(router, method, name, [this, function](const Request &request, const UserHome &home) {
            return (this->*function)(request, home);
        });
    };
    add("GET", "list", &FileRoutes::list);
    add("GET", "search", &FileRoutes::search);
    add("GET", "thumbnail", &FileRoutes::thumbnail);
    add("GET", "preview", &FileRoutes::preview);
    addHomeRoute(router, "GET", "info", [this](const Request &request, const UserHome &home) {
        std::string body;
        const Outcome outcome = Drive(home, m_types).info(request.queryValue("path"), body);
        return answer(outcome, std::move(body));
    });
    for (const char *name : {"mkdir", "remove-files", "remove-folders", "move", "rename-file", "rename-folder", "copy",
                             "compress", "decompress"}) {
        addHomeRoute(router, "POST", name, [this, name](const Request &request, const UserHome &home) {
            return change(request, home, name);
        });
    }
    for (const char *pattern : {"/jobs/{job}", "/sc/{id}/jobs/{job}"})
        router.add("GET", pattern, [this](const Request &request) { return jobState(request); });
}

Response FileRoutes::list(const Request &request, const UserHome &home)
{
    std::string body;
    const bool namesOnly = request.queryValue("mode") == "1";
    const Outcome outcome = Drive(home, m_types).list(request.queryValue("path"), namesOnly, body);
    return answer(outcome, std::move(body));
}

Response FileRoutes::search(const Request &request, const UserHome &home)
{
    std::string body;
    const std::string &path = request.queryValue("path");
    const Outcome outcome =
        Drive(home, m_types)
            .search(request.queryValue("keyword"), path.empty() ? "/" : path, Drive::SearchLimits(), body);
    return answer(outcome, std::move(body));
}

Response FileRoutes::thumbnail(const Request &request, const UserHome &home)
{
    const auto side = [&](const char *name) {
        const auto asked = request.queryNumber(name, 1, 100000, 256);
        return static_cast<unsigned>(asked < 16 ? 16 : asked > 1024 ? 1024 : asked);
    };
    std::string png;
    const Outcome outcome = m_thumbnails.get(home, request.queryValue("path"), side("w"), side("h"), png);
    return outcome.ok() ? Response::bytes(std::move(png), "image/png") : answer(outcome);
}

Response FileRoutes::preview(const Request &request, const UserHome &home)
{
    const std::string &path = request.queryValue("path");
    zpdt::SafeFile file;
    zpdt::FileStat stat;
    const Outcome outcome = Drive(home, m_types).openFile(path, file, stat);
    if (!outcome.ok())
        return answer(outcome);
    const std::string type = m_types.ofFile(path.substr(path.rfind('/') + 1)).contentType;
    return rangedFile(request, static_cast<int>(file.release()), stat.size, entityTag(stat), type);
}

Response FileRoutes::change(const Request &request, const UserHome &home, const std::string &name)
{
    const std::optional<json> body = parseJsonObject(request.body);
    if (!body)
        return Response::error(400, "bad-request", "The body is not a JSON object.");
    const Drive drive(home, m_types);
    if (name == "mkdir") {
        const auto path = jsonText(*body, "path");
        return path ? answer(drive.makeFolder(*path)) : badRequest();
    }
    if (name == "remove-files" || name == "remove-folders") {
        const auto paths = jsonTexts(*body, "paths");
        if (!paths || paths->size() > kMaxPaths)
            return badRequest();
        return removeEntries(home, *paths, name == "remove-files" ? Drive::Kind::File : Drive::Kind::Folder);
    }
    const auto target = jsonText(*body, "dest");
    if (!target)
        return badRequest();
    if (name == "rename-file" || name == "rename-folder" || name == "decompress") {
        const auto source = jsonText(*body, "src");
        if (!source)
            return badRequest();
        if (name == "decompress")
            return startJob(home.user, std::make_shared<DecompressJob>(home, *source, *target));
        const Drive::Kind kind = name == "rename-file" ? Drive::Kind::File : Drive::Kind::Folder;
        return renameEntry(home, *source, *target, kind);
    }
    const auto sources = jsonTexts(*body, "src");
    if (!sources || sources->size() > kMaxPaths)
        return badRequest();
    if (name == "move")
        return moveEntries(home, *sources, *target);
    if (name == "copy")
        return startJob(home.user, std::make_shared<CopyJob>(home, *sources, *target));
    return startJob(home.user, std::make_shared<CompressJob>(home, *sources, *target));
}

Response FileRoutes::startJob(const std::string &user, std::shared_ptr<DriveJob> job)
{
    const Outcome outcome = job->check();
    if (!outcome.ok())
        return Response::error(outcome.status, outcome.word, outcome.message);
    return startWork(user, [job = std::move(job)](const std::atomic<bool> &cancelled) mutable {
        Outcome end = job->run(cancelled);
        job.reset(); // The home is closed when the job ends, not when its result is forgotten.
        return end;
    });
}

Response FileRoutes::startWork(const std::string &user, JobRunner::Work work)
{
    const auto id = m_jobs.start(user, std::move(work));
    if (!id)
        return Response::error(429, "too-many-jobs", "Too many operations are under way already.");
    return Response::json(202, json{{"job", *id}});
}

bool FileRoutes::isGone(const UserHome &home, const std::string &path) const
{
    std::vector<std::string> names;
    zpdt::FileStat stat;
    return findEntry(home, path, names, stat).status == 404;
}

void FileRoutes::tellMoved(const UserHome &home, const std::string &from, const std::string &to) const
{
    std::vector<std::string> names;
    if (m_options.moved && isGone(home, from) && splitDrive(from, names).ok())
        m_options.moved(home, drivePath(names), to);
}

Response FileRoutes::moveEntries(const UserHome &home, const std::vector<std::string> &sources,
                                 const std::string &target)
{
    const Response response = answer(Drive(home, m_types).move(sources, target));
    std::vector<std::string> folder;
    for (const std::string &source : sources) {
        std::vector<std::string> names;
        if (!splitDrive(target, folder).ok() || !splitDrive(source, names).ok() || names.empty())
            continue;
        folder.push_back(names.back());
        tellMoved(home, source, drivePath(folder));
    }
    return response;
}

Response FileRoutes::renameEntry(const UserHome &home, const std::string &source, const std::string &target,
                                 Drive::Kind kind)
{
    const Outcome outcome = Drive(home, m_types).rename(source, target, kind);
    std::vector<std::string> names;
    if (outcome.ok() && splitDrive(target, names).ok())
        tellMoved(home, source, drivePath(names));
    return answer(outcome);
}

Response FileRoutes::removeEntries(const UserHome &home, const std::vector<std::string> &paths, Drive::Kind kind)
{
    const Response response = answer(Drive(home, m_types).remove(paths, kind));
    // Some may be gone although others could not be removed.
    for (const std::string &path : paths) {
        std::vector<std::string> names;
        if (m_options.gone && isGone(home, path) && splitDrive(path, names).ok())
            m_options.gone(home, drivePath(names));
    }
    return response;
}

Response FileRoutes::jobState(const Request &request)
{
    const std::string &id = request.param("job");
    std::optional<Outcome> outcome;
    if (!m_jobs.find(request.user, id, outcome))
        return Response::error(404, "no-job", "There is no such operation.");
    const auto wait = static_cast<int>(request.queryNumber("wait", 0, kLongestWait, 0));
    if (outcome || wait == 0)
        return stateOf(outcome);
    const auto pending = std::make_shared<PendingResponse>();
    m_jobs.whenDone(request.user, id, [pending](const Outcome &end) { pending->complete(stateOf(end)); });
    return Response::later(pending, wait, [] { return stateOf(std::nullopt); });
}

std::shared_ptr<FileRoutes> registerFileRoutes(Router &router, Context &context, FileRoutes::Options options)
{
    auto routes = std::make_shared<FileRoutes>(context, std::move(options));
    routes->addTo(router);
    return routes;
}

} // namespace arkvale::service
