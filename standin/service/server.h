// The traffic service on HTTP: cpp-httplib on the loopback address, the
// request log, held-back answers, and the download server's file tree.
#pragma once

#include <atomic>
#include <condition_variable>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "standin/service/service_core.h"

namespace httplib {
class Server;
}

namespace orv {

struct ServerSetup {
    int port = 0;                ///< 0: any free port
    std::string downloadsFolder; ///< served for GET; empty: no downloads
    std::string requestLogPath;  ///< empty: no request log
};

/// A service listening on 127.0.0.1 on its own thread.
struct RunningService {
    ServiceState state;          ///< guarded by lock
    std::mutex lock;
    std::condition_variable released; ///< stalled answers wait on it
    bool stopping = false;       ///< guarded by lock
    ServerSetup setup;
    int port = 0;
    std::ofstream requestLog;    ///< guarded by logLock
    std::mutex logLock;
    std::unique_ptr<httplib::Server> server;
    std::thread listener;
    std::atomic<bool> listenerEnded{false};

    RunningService();
    ~RunningService();
    RunningService(const RunningService&) = delete;
    RunningService& operator=(const RunningService&) = delete;
};

/// Binds and starts listening; throws std::runtime_error when the port or
/// the request log cannot be had.
std::unique_ptr<RunningService> gf_startService(ServiceState STATE, const ServerSetup& SETUP);

/// Releases every held answer, stops listening and waits for the listener.
void gf_stopService(RunningService& SERVICE);

/// "http://127.0.0.1:PORT".
std::string gf_serviceAddress(const RunningService& SERVICE);

/// Seconds since the epoch, with fractions: the service's clock.
double gf_serviceNow();

} // namespace orv
