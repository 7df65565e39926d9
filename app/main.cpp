// Process entry: one instance only, the log, the window (a page served on
// 127.0.0.1), then the message loop until the window closes. SIGINT and
// SIGTERM close the window, as its close button does.
#include "core/errors.h"
#include "app/event_loop.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/single_instance.h"
#include "ui/window.h"

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <thread>

namespace {

/// Signals only raise a flag; a watcher thread turns it into the close request.
volatile std::sig_atomic_t closeSignal = 0;

extern "C" void lf_onSignal(int) { closeSignal = 1; }

void lf_watchSignals()
{
    std::thread([] {
        for (;;) {
            if (closeSignal) {
                closeSignal = 0;
                orv::gf_closeWindow();
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }).detach();
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
    lf_watchSignals();
    gf_openWindow();
    gf_postWindowMessage(WindowMessage::start);
    const int result = gf_runMessageLoop();
    gf_closeWindowServer();
    gf_releaseSingleInstance();
    return result;
}
