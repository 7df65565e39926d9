// The one way to end a session, callable from any thread and any folder.
// The request is taken here; the work of the exit (FinalExit) belongs to the
// spine, which installs it as the exit's starter.
#pragma once

#include <atomic>
#include <cstdint>

namespace orv {

/// Why a session ends. 2 and 3 restart inside the same process.
enum ExitReason : std::int32_t {
    NOT_YET_SET = 0,
    SIM_WAS_CLOSED = 1,
    RESTART = 2,
    RESTART_IPP = 3,
    USER_CLOSED_SIM = 4,
    SYSTEM_ERROR = 5,
};
extern std::atomic<std::int32_t> exitReason;
/// "NOT_YET_SET", "SIM WAS CLOSED", "RESTART", "RESTART_IPP", "USER CLOSED SIM", "SYSTEM ERROR".
const char* gf_exitReasonName(std::int32_t REASON);

/// Ends the session; the first request wins. A close (reason 4) during an
/// exit already under way is remembered in closeDuringExit.
void gf_requestExit(std::int32_t REASON, int RESTART_SECONDS);

/// What the process answers when it ends: 0, or the status of the error
/// that stands (any thread sets it; a restart clears it).
inline constexpr int exitStatusSystemError = 1;
inline constexpr int exitStatusUserError = 2;
extern std::atomic<int> processExitStatus;
/// Notes an error for the exit status; the first error of the session stands.
void gf_noteErrorStatus(int STATUS);

/// The close button while another exit runs: that exit ends the program.
extern std::atomic<bool> closeDuringExit;

/// Starts the exit's work for an accepted request (the spine's FinalExit thread).
using ExitStarter = void (*)(int RESTART_SECONDS);
void gf_setExitStarter(ExitStarter STARTER);

} // namespace orv
