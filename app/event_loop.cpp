// The stand-in of the window's message loop, and the main thread it starts.
#include "app/event_loop.h"

#include "app/lifecycle.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/clock.h"
#include "core/window_state.h"
#include "ui/window.h"

#include <fmt/format.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace orv {

namespace {

// The host's message queue; it stands in for the system's, which blocks too.
std::mutex queueMutex;
std::condition_variable queueSignal;
std::deque<std::pair<WindowMessage, int>> queue;
std::atomic<int> mainThreads{0};
int windowXAtStart = 0, windowYAtStart = 0;
constexpr int headlessSliceMs = 100;

/// A position on a limit is a minimised window: keep the session's start value.
void lf_saveWindowPosition()
{
    for (auto [parameter, atStart] : {std::pair{&MAIN_WINDOW_X, windowXAtStart}, std::pair{&MAIN_WINDOW_Y, windowYAtStart}}) {
        if (parameter->value <= parameter->minimum || parameter->value >= parameter->maximum) parameter->value = atStart;
        gf_save(*parameter);
    }
}

void lf_finish()
{
    lf_saveWindowPosition();
    gf_closeLog();
    gf_postWindowMessage(WindowMessage::quit, processExitStatus);
}

/// An error ended the start-up. The user can mend it in the window; but with
/// no page open (a run without anybody at the screen) an idle process would
/// hide it for ever: after a wait for a page, the process ends with the
/// error's status.
void lf_endIfNobodySees()
{
    if (processExitStatus == 0 || gf_stopFlagUp()) return;
    const int waitMs = HEADLESS_WAIT_SECONDS.value * 1000;
    for (int waited = 0; waited < waitMs; waited += headlessSliceMs) {
        if (gf_pagesOpen() > 0) return;
        if (!gf_sleepUnlessStopped(headlessSliceMs)) return;
    }
    if (gf_pagesOpen() > 0) return;
    gf_logWarning(fmt::format("No window is open to show the error: {} ends", programName));
    gf_requestExit(SYSTEM_ERROR, 0);
}

} // namespace

void gf_postWindowMessage(WindowMessage MESSAGE, int VALUE)
{
    {
        std::lock_guard lock(queueMutex);
        queue.emplace_back(MESSAGE, VALUE);
    }
    queueSignal.notify_one();
}

void gf_startMainThread()
{
    ++mainThreads;
    std::thread([] {
        try {
            lf_startUpTAVO();
        } catch (...) {
            lf_reportException("lf_startUpTAVO");
            lf_endIfNobodySees();
        }
        --mainThreads;
    }).detach();
}

int gf_mainThreadsRunning() { return mainThreads; }

int gf_runMessageLoop()
{
    gf_installFinalExit();
    gf_installAnswers();
    windowExists = true;
    windowXAtStart = MAIN_WINDOW_X.value;
    windowYAtStart = MAIN_WINDOW_Y.value;
    for (;;) {
        std::pair<WindowMessage, int> message;
        {
            std::unique_lock lock(queueMutex);
            queueSignal.wait(lock, [] { return !queue.empty(); });
            message = queue.front();
            queue.pop_front();
        }
        switch (message.first) {
        case WindowMessage::start: gf_startMainThread(); break;
        case WindowMessage::finish: lf_finish(); break;
        case WindowMessage::quit: windowExists = false; return message.second;
        }
    }
}

void gf_closeWindow() { gf_requestExit(USER_CLOSED_SIM, 0); }

} // namespace orv
