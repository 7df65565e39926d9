// The two reader threads of a feed session: the weather reader keeps the
// QNH, the traffic reader brings the aircraft; both at the service's pace,
// until an error, a stop, or the logout.
#include <fmt/format.h>

#include <chrono>

#include "core/errors.h"
#include "core/flags.h"
#include "core/exit_request.h"
#include "core/log.h"
#include "feed/decode.h"
#include "feed/feed.h"
#include "feed/feed_session.h"

namespace orv {

namespace {

constexpr int restartAfterSeconds = 15;
constexpr int outageRestartDelaySeconds = 5;
/// steady_clock milliseconds of the last restart for an outage; 0: none yet.
std::atomic<std::int64_t> lastOutageRestartMs{0};

std::int64_t lf_steadyMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// A long outage may have cost the session itself: after outageRestartMs of
/// failures in a row the session starts again, logging in anew, but never
/// twice within outageRestartMs.
void lf_restartAfterLongOutage(const RtClient& CLIENT)
{
    const std::int64_t now = lf_steadyMs(), limit = outageRestartMs;
    const std::int64_t failingMs = now - std::chrono::duration_cast<std::chrono::milliseconds>(
                                             CLIENT.failingSince.time_since_epoch())
                                             .count();
    if (failingMs < limit) return;
    std::int64_t last = lastOutageRestartMs;
    if (last != 0 && now - last < limit) return;
    if (!lastOutageRestartMs.compare_exchange_strong(last, now)) return;
    gf_logWarning(fmt::format("{} The RT service has failed for {} seconds ({}): the session starts again",
                              gf_timeOfDay(), failingMs / 1000, CLIENT.failure));
    gf_requestExit(RESTART, outageRestartDelaySeconds);
}

/// The hold after a cycle, and the watch over a long outage.
std::int32_t lf_holdAfterCycle(RtClient& CLIENT, std::int32_t PACE_MS)
{
    const std::int32_t hold = gf_holdAfter(CLIENT, PACE_MS);
    if (CLIENT.failedInRow > 0 && gf_clientIsCurrent(CLIENT) && !CLIENT.stopRequested)
        lf_restartAfterLongOutage(CLIENT);
    return hold;
}
constexpr std::int32_t statusException = -1; ///< internal: the body ended by an exception

struct ReaderSide {
    const char* connectedName; ///< "{} connected"
    const char* stoppedName;   ///< "The {} has stopped with an error"
    const char* apiName;       ///< "{} RT API parameter fault", "... error", "... exception"
    std::atomic<std::int32_t>& lamp;
};

ReaderSide lf_weatherSide()
{
    return {"Weather Reader", "WeatherReader", "Weather", weatherLamp};
}

ReaderSide lf_trafficSide()
{
    return {"Traffic Reader", "Traffic Reader", "Traffic", trafficLamp};
}

/// The report of a reader that ended: silent for a stop, and for a reader
/// whose session has ended or been logged out (its identifier emptied).
void lf_readerEnded(FeedSession& S, const ReaderSide& SIDE, RtClient& OWN, RtClient& OTHER, std::int32_t STATUS)
{
    if (STATUS == statusStopped || OWN.stopRequested || !gf_clientIsCurrent(OWN)) return;
    SIDE.lamp = lampFailed;
    if (STATUS == statusSessionInvalid) {
        gf_showStatus(fmt::format("re-authentication to RT API is needed, restart {}", programName), true);
    } else if (STATUS == statusParameterFault) {
        gf_showError(fmt::format("{} RT API: parameter fault", SIDE.apiName));
    } else if (STATUS != statusException) {
        gf_showError(fmt::format("{} RT API error: {}", SIDE.apiName, STATUS));
    }
    OTHER.stopRequested = true;
    S.weatherRoundDone = true;
    lf_readerStopped(STATUS == statusSessionInvalid, SIDE.stoppedName);
}

std::int32_t lf_weatherLoop(FeedSession& S)
{
    RtClient& w = S.weather;
    while (true) {
        if (gf_guidOf(w).empty()) return 0;
        // A hold cut short by a stop must not lead to a request inside the pace.
        if (w.stopRequested) return statusStopped;
        std::int32_t status = 0;
        if (!lf_rtNearestMetar(w, status) && (status == statusParameterFault || status == statusSessionInvalid)) {
            return status;
        }
        if (w.stopRequested) return statusStopped;
        status = 0;
        if (lf_rtWeather(w, S.traffic, status) == CycleEnd::endLoop) return status;
        S.weatherRoundDone = true;
        if (w.stopRequested) return statusStopped;
        gf_holdReader(w, lf_holdAfterCycle(w, w.wrrl));
    }
}

/// The parked traffic the main thread asked for, kept for it to take.
void lf_parkedOnReader(FeedSession& S)
{
    ParkedResult result = ParkedResult::failed;
    try {
        if (lf_parkedTraffic(S.traffic)) result = ParkedResult::ready;
    } catch (const SysErrorException&) {
        result = ParkedResult::parameterFault;
    }
    std::lock_guard lock(S.parkedLock);
    S.parkedResult = result;
    S.parkedLines.swap(S.traffic.parkedLines);
    S.traffic.parkedLines.clear();
}

std::int32_t lf_trafficLoop(FeedSession& S)
{
    RtClient& t = S.traffic;
    if (gf_guidOf(t).empty()) return 0;
    std::int32_t status = 0;
    if (!lf_rtBufferTraffic(t, status) && !t.stopRequested) gf_log(fmt::format("buffer failed {}", status));
    while (true) {
        if (t.stopRequested) return statusStopped;
        if (S.parkedAsked.exchange(false)) {
            lf_parkedOnReader(S);
            gf_holdReader(t, t.rrl);
            continue;
        }
        status = 0;
        const CycleEnd end = lf_rtTraffic(t, status);
        // The lamp follows what each cycle brought: an empty or failed one
        // counts as no lines.
        if (gf_clientIsCurrent(t)) lineCount = static_cast<std::int64_t>(t.lines.size());
        if (!t.lines.empty()) lf_handOverLines(t, liveDelaySeconds);
        if (end == CycleEnd::endLoop) return status;
        if (t.stopRequested) return statusStopped;
        gf_holdReader(t, lf_holdAfterCycle(t, t.rrl));
    }
}

template <typename LOOP>
void lf_runReader(std::shared_ptr<FeedSession> SESSION, const ReaderSide& SIDE, RtClient& OWN, RtClient& OTHER,
                  LOOP&& BODY)
{
    std::int32_t status = statusException;
    try {
        gf_log(fmt::format("{} connected", SIDE.connectedName));
        if (gf_clientIsCurrent(OWN)) SIDE.lamp = lampGood;
        status = BODY(*SESSION);
    } catch (const std::exception& e) {
        gf_log(fmt::format("{} RT API exception: {}", SIDE.apiName, e.what()));
    }
    lf_readerEnded(*SESSION, SIDE, OWN, OTHER, status);
}

} // namespace

void lf_weatherReader(std::shared_ptr<FeedSession> SESSION)
{
    FeedSession& s = *SESSION;
    lf_runReader(SESSION, lf_weatherSide(), s.weather, s.traffic, lf_weatherLoop);
    s.weatherRoundDone = true;
    --s.readersRunning;
}

void lf_trafficReader(std::shared_ptr<FeedSession> SESSION)
{
    FeedSession& s = *SESSION;
    lf_runReader(SESSION, lf_trafficSide(), s.traffic, s.weather, lf_trafficLoop);
    --s.readersRunning;
}

std::atomic<std::int32_t> outageRestartMs{60000};

void lf_readerStopped(bool RESTART_SESSION, const char* READER_NAME)
{
    gf_log(fmt::format("The {} has stopped with an error", READER_NAME));
    if (RESTART_SESSION) {
        gf_requestExit(RESTART, restartAfterSeconds);
    } else {
        readerFailed = true;
    }
}

} // namespace orv
