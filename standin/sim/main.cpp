// tavo-sim: the stand-in flight simulator. Parses its command line, opens the
// client port and the web view, and runs the frame loop until SIGINT/SIGTERM
// or a quit from the control channel.
#include "standin/sim/options.h"
#include "standin/sim/server.h"
#include "standin/sim/view.h"

#include <fmt/format.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <thread>

namespace {

orv::simstandin::Server* runningServer = nullptr;

void lf_onSignal(int)
{
    // Only async-signal-safe work here: a flag and a write to the eventfd.
    if (runningServer != nullptr) orv::simstandin::gf_requestQuit(*runningServer);
}

} // namespace

int main(int argc, char** argv)
{
    using namespace orv::simstandin;
    SimOptions options;
    try {
        options = gf_parseSimOptions(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception& e) {
        fmt::print(stderr, "tavo-sim: {}\n\n{}", e.what(), gf_simUsage());
        return 2;
    }
    auto server = std::make_unique<Server>();
    try {
        gf_initServer(*server, options);
        const std::uint16_t viewPort = options.viewPort != 0 ? options.viewPort : static_cast<std::uint16_t>(server->port + 1);
        auto view = gf_startView(*server, viewPort);
        runningServer = server.get();
        std::signal(SIGINT, lf_onSignal);
        std::signal(SIGTERM, lf_onSignal);
        fmt::print("tavo-sim: {} listening on 127.0.0.1:{}, view on http://127.0.0.1:{}/\n", server->appName,
                   server->port, viewPort);
        std::fflush(stdout);
        gf_runServer(*server);
        runningServer = nullptr;
    } catch (const std::exception& e) {
        fmt::print(stderr, "tavo-sim: {}\n", e.what());
        return 1;
    }
    fmt::print("tavo-sim: quit\n");
    return 0;
}
