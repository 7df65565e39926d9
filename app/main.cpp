// Process entry: one instance only, the log, the window (a page served on
// 127.0.0.1), then the message loop until the window closes. SIGINT and
// SIGTERM close the window, as its close button does.
#include "core/errors.h"
#include "app/event_loop.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/single_instance.h"
#include "app/lifecycle.h"
#include "feed/feed.h"
#include "sim/sim_link.h"
#include "ui/window.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <thread>

namespace {

/// Signals only raise a flag (written by the handler, read by the watcher
/// thread, which turns it into the close request).
std::atomic<bool> closeSignal{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may only touch a lock-free atomic");

extern "C" void lf_onSignal(int) { closeSignal = true; }

constexpr auto signalPollPeriod = std::chrono::milliseconds(50);
/// How long the end of the process waits for the readers to leave their last
/// request; they are bounded by the request time-out, the process is not.
constexpr int readersEndWaitMs = 5000;

std::jthread lf_watchSignals()
{
    return std::jthread([](std::stop_token STOP) {
        while (!STOP.stop_requested()) {
            if (closeSignal.exchange(false)) orv::gf_closeWindow();
            std::this_thread::sleep_for(signalPollPeriod);
        }
    });
}

/// Every thread of the program is joined or has ended before main returns:
/// static destruction must not free what a thread still uses.
void lf_joinThreads()
{
    using namespace orv;
    gf_joinFinalExit();
    gf_stopClientThread(true);
    if (!gf_waitReadersEnded(readersEndWaitMs)) gf_log("! a reader is still in a request at the end");
}

/// The steps before the window runs. Whatever fails here (the log, the
/// folders, the instance lock's folder) ends the process with its message.
void lf_prepareProcess()
{
    using namespace orv;
    gf_openLog();
    gf_setUserFolder();
    // The window needs its position before the parameters are read.
    gf_readWindowPosition(MAIN_WINDOW_X);
    gf_readWindowPosition(MAIN_WINDOW_Y);
    gf_readEarly(WINDOW_PORT);
    gf_readEarly(HEADLESS_WAIT_SECONDS); // an error before the parameters are read waits as long
    std::error_code failed;
    std::filesystem::create_directories(userFolder, failed);
}

} // namespace

int main()
{
    using namespace orv;
    try {
        if (!gf_acquireSingleInstance()) return -1;
        lf_prepareProcess();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        gf_log(e.what());
        gf_releaseSingleInstance();
        return 1;
    }
    std::signal(SIGINT, lf_onSignal);
    std::signal(SIGTERM, lf_onSignal);
    std::jthread watcher = lf_watchSignals();
    gf_openWindow();
    gf_postWindowMessage(WindowMessage::start);
    const int result = gf_runMessageLoop();
    gf_closeWindowServer();
    lf_joinThreads();
    gf_releaseSingleInstance();
    return result;
}
