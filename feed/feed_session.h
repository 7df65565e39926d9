// A feed session: the two clients of one login and what their readers hand
// to the main thread. Each login makes a new one; the readers hold theirs
// for as long as they run, so a reader still blocked in libcurl after the
// session ended writes only into its own, no longer current, session.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "feed/rt_client.h"

namespace orv {

/// What the traffic reader has of the parked traffic asked for.
enum class ParkedResult { none, ready, failed, parameterFault };

struct FeedSession {
    std::uint64_t number = 0;
    RtClient weather;
    RtClient traffic;
    std::atomic<bool> weatherRoundDone{false}; ///< the weather reader went round once, or ended
    std::atomic<int> readersRunning{0};        ///< reader threads of this session not yet ended
    std::atomic<bool> parkedAsked{false};      ///< main thread asks, the traffic reader answers
    std::mutex parkedLock;                     ///< a leaf lock over the two below
    ParkedResult parkedResult = ParkedResult::none;
    std::vector<ParkedLine> parkedLines;
};

/// The running session, or none.
std::shared_ptr<FeedSession> gf_feedSession();
/// A new session with both clients set up for the service and made current;
/// the readers of any earlier one are cut off.
std::shared_ptr<FeedSession> gf_newFeedSession();
/// Both clients of the running session, and the ones to come, take MINUTES.
void gf_setSessionTimeOffset(int MINUTES);
/// Writes LAST_EPOCH_TIME: the time of the last login or logout.
void gf_noteServiceContact();

/// The readers' bodies, on their own threads.
void lf_weatherReader(std::shared_ptr<FeedSession> SESSION);
void lf_trafficReader(std::shared_ptr<FeedSession> SESSION);
/// Milliseconds of failed requests in a row after which a reader restarts
/// the session; also the least time between two such restarts. Tests shorten it.
extern std::atomic<std::int32_t> outageRestartMs;

/// The end of a reader: logs and reports an error and stops the other one.
void lf_readerStopped(bool RESTART_SESSION, const char* READER_NAME);

/// Asked by the main thread, run by the traffic reader: the parked traffic
/// round the park airport into CLIENT.parkedLines, aged, sorted, one per
/// stand. Throws SysErrorException 400 on a parameter fault.
bool lf_parkedTraffic(RtClient& CLIENT);

} // namespace orv
