// Taking an exit request: the first one wins, the spine does the work.
#include "core/exit_request.h"

#include "core/flags.h"
#include "core/log.h"

namespace orv {

std::atomic<std::int32_t> exitReason{NOT_YET_SET};
std::atomic<bool> closeDuringExit{false};
std::atomic<int> processExitStatus{0};

void gf_noteErrorStatus(int STATUS)
{
    int none = 0;
    processExitStatus.compare_exchange_strong(none, STATUS);
}

namespace {
std::atomic<ExitStarter> exitStarter{nullptr};
}

const char* gf_exitReasonName(std::int32_t REASON)
{
    static constexpr const char* names[] = {"NOT_YET_SET", "SIM WAS CLOSED",  "RESTART",
                                            "RESTART_IPP", "USER CLOSED SIM", "SYSTEM ERROR"};
    return REASON >= 0 && REASON <= 5 ? names[REASON] : "NOT_YET_SET";
}

void gf_setExitStarter(ExitStarter STARTER) { exitStarter = STARTER; }

void gf_requestExit(std::int32_t REASON, int RESTART_SECONDS)
{
    bool expected = false;
    if (!exitInProgress.compare_exchange_strong(expected, true)) {
        // A second exit never runs beside the first; only a close turns a
        // restart under way into the end of the program.
        if (REASON == USER_CLOSED_SIM) closeDuringExit = true;
        return;
    }
    exitReason = REASON;
    closeDuringExit = false;
    if (REASON == SYSTEM_ERROR) gf_noteErrorStatus(exitStatusSystemError);
    if (ExitStarter starter = exitStarter.load()) {
        starter(RESTART_SECONDS);
        return;
    }
    // Only a part of the program runs (a test of one folder): nothing to end.
    gf_log("! exit requested with no session to end");
    exitInProgress = false;
}

} // namespace orv
