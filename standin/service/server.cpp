// HTTP binding of the traffic service.
#include "standin/service/server.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>

#include <fmt/format.h>
#include <httplib.h>

namespace orv {

namespace {

constexpr const char* kLoopback = "127.0.0.1";
/// Held-back answers each keep a worker busy; leave room for the rest.
constexpr std::size_t kWorkerThreads = 24;

void lf_logRequest(RunningService& SERVICE, double ARRIVAL, const httplib::Request& REQUEST, int HTTP_STATUS,
                   int API_STATUS)
{
    if (!SERVICE.requestLog.is_open()) return;
    const nlohmann::json line = {{"time", ARRIVAL},      {"method", REQUEST.method}, {"path", REQUEST.path},
                                 {"body", REQUEST.body}, {"status", API_STATUS},     {"http", HTTP_STATUS}};
    std::lock_guard guard(SERVICE.logLock);
    SERVICE.requestLog << line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
    SERVICE.requestLog.flush();
}

/// Waits until the control path releases the answer, the time runs out or
/// the service stops.
void lf_holdBack(RunningService& SERVICE, std::unique_lock<std::mutex>& LOCK, int STALL_MS)
{
    const std::uint64_t generation = SERVICE.state.releaseGeneration;
    const auto done = [&] { return SERVICE.stopping || SERVICE.state.releaseGeneration != generation; };
    ++SERVICE.state.counters.heldAnswers;
    if (STALL_MS > 0) {
        SERVICE.released.wait_for(LOCK, std::chrono::milliseconds(STALL_MS), done);
    } else {
        SERVICE.released.wait(LOCK, done);
    }
    --SERVICE.state.counters.heldAnswers;
}

void lf_serviceRequest(RunningService& SERVICE, const httplib::Request& REQUEST, httplib::Response& RESPONSE)
{
    const double arrival = gf_serviceNow();
    ServiceAnswer answer;
    {
        std::unique_lock lock(SERVICE.lock);
        const std::uint64_t generation = SERVICE.state.releaseGeneration;
        answer = gf_handleRequest(SERVICE.state, REQUEST.path, REQUEST.body, arrival);
        if (SERVICE.state.releaseGeneration != generation) SERVICE.released.notify_all();
        if (answer.stall) lf_holdBack(SERVICE, lock, answer.stallMs);
    }
    RESPONSE.status = answer.httpStatus;
    RESPONSE.set_content(answer.body, answer.contentType.c_str());
    lf_logRequest(SERVICE, arrival, REQUEST, answer.httpStatus, answer.apiStatus);
}

/// A file of the download tree: "/downloads/x" and "/x" both name DIR/x.
void lf_serveDownload(RunningService& SERVICE, const httplib::Request& REQUEST, httplib::Response& RESPONSE)
{
    const double arrival = gf_serviceNow();
    namespace fs = std::filesystem;
    std::string relative = REQUEST.path;
    constexpr std::string_view kDownloads = "/downloads/";
    relative = relative.starts_with(kDownloads) ? relative.substr(kDownloads.size()) : relative.substr(1);
    const fs::path wanted = fs::path(relative).lexically_normal();
    bool found = false;
    if (!SERVICE.setup.downloadsFolder.empty() && !relative.empty() && !wanted.is_absolute()
        && (wanted.empty() || *wanted.begin() != "..")) {
        const fs::path file = fs::path(SERVICE.setup.downloadsFolder) / wanted;
        std::error_code error;
        if (fs::is_regular_file(file, error)) {
            std::ifstream in(file, std::ios::binary);
            std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            const bool json = file.extension() == ".json";
            RESPONSE.set_content(content, json ? "application/json" : "application/octet-stream");
            found = static_cast<bool>(in) || in.eof();
        }
    }
    if (!found) {
        RESPONSE.status = 404;
        RESPONSE.set_content("Not Found", "text/plain");
    }
    lf_logRequest(SERVICE, arrival, REQUEST, RESPONSE.status, 0);
}

void lf_route(RunningService& SERVICE)
{
    httplib::Server& server = *SERVICE.server;
    server.new_task_queue = [] { return new httplib::ThreadPool(kWorkerThreads); };
    const auto service = [&SERVICE](const httplib::Request& REQ, httplib::Response& RES) {
        lf_serviceRequest(SERVICE, REQ, RES);
    };
    server.Post(R"(/v4/.*)", service);
    server.Post(R"(/control/.*)", service);
    server.Get(R"(/control/.*)", service);
    server.Get(R"(/.*)", [&SERVICE](const httplib::Request& REQ, httplib::Response& RES) {
        lf_serveDownload(SERVICE, REQ, RES);
    });
}

} // namespace

RunningService::RunningService() : server(std::make_unique<httplib::Server>()) {}

RunningService::~RunningService()
{
    gf_stopService(*this);
}

double gf_serviceNow()
{
    using namespace std::chrono;
    return duration<double>(system_clock::now().time_since_epoch()).count();
}

std::unique_ptr<RunningService> gf_startService(ServiceState STATE, const ServerSetup& SETUP)
{
    auto service = std::make_unique<RunningService>();
    service->state = std::move(STATE);
    service->setup = SETUP;
    if (!SETUP.requestLogPath.empty()) {
        service->requestLog.open(SETUP.requestLogPath, std::ios::out | std::ios::app);
        if (!service->requestLog) {
            throw std::runtime_error(fmt::format("cannot write the request log {}", SETUP.requestLogPath));
        }
    }
    lf_route(*service);
    if (SETUP.port == 0) {
        service->port = service->server->bind_to_any_port(kLoopback);
    } else if (service->server->bind_to_port(kLoopback, SETUP.port)) {
        service->port = SETUP.port;
    }
    if (service->port <= 0) throw std::runtime_error(fmt::format("cannot listen on port {}", SETUP.port));
    RunningService* raw = service.get();
    service->listener = std::thread([raw] {
        raw->server->listen_after_bind();
        raw->listenerEnded = true;
    });
    // A stop before the listener runs would be lost, so wait for it.
    while (!service->server->is_running() && !service->listenerEnded) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return service;
}

void gf_stopService(RunningService& SERVICE)
{
    {
        std::lock_guard guard(SERVICE.lock);
        SERVICE.stopping = true;
    }
    SERVICE.released.notify_all();
    if (SERVICE.server) SERVICE.server->stop();
    if (SERVICE.listener.joinable()) SERVICE.listener.join();
}

std::string gf_serviceAddress(const RunningService& SERVICE)
{
    return fmt::format("http://{}:{}", kLoopback, SERVICE.port);
}

} // namespace orv
