// What the rest of the program asks of the live feed: the session with the
// traffic service, the two readers, the request area and the time shift.
#pragma once

#include <atomic>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "feed/traffic_line.h"

namespace orv {

/// toffset above 0: the program lives in the feed's time.
extern std::atomic<bool> timeShiftOn;
/// True from a successful login until a successful logout.
extern std::atomic<bool> rtConnected;
/// The name the service gave its server at the last login; empty before.
std::string gf_rtServerName();
void gf_setRtServerName(const std::string& NAME);
/// The range in nautical miles (unbounded), and the radius of the by-type
/// request in metres. Main thread writes; the traffic reader reads rangeNm
/// once per answer.
extern std::atomic<double> rangeNm;
extern std::int32_t aiRequestRadius;
/// AUTO_RANGE on and the range exactly 10 nm: the user is at the airport.
extern std::atomic<bool> autoRangeActive;
/// The QNH in hPa as the landing logic reads it.
extern std::atomic<std::int32_t> qnhEngine;

/// Logs in on the weather client (the two-second hold between logins is the
/// caller's). Throws UserErrorException 402/404. An outage (no answer, a 5xx)
/// and an earlier session the server still holds (405) are waited out: the
/// login is tried again, less and less often, until it works or a stop flag
/// comes up. A parameter fault (400) leaves no session.
void lf_startRt();
/// Logs out; empties the session identifier of both readers.
void lf_rtDeauth();
/// A session identifier is held.
bool gf_rtSessionExists();
/// Asks both readers to stop.
void gf_stopReaders();
void gf_startWeatherReader();
void gf_startTrafficReader();
/// Waits up to MS milliseconds for every reader thread of the process to
/// end (the process's end); false when one is still running.
bool gf_waitReadersEnded(int MS);
/// The weather reader has finished its first round (or has ended).
bool gf_weatherReceived();
/// The newest timestamp the traffic reader has read; 0 before the first line.
double gf_trafficLastTimestamp();
/// Both lamps to "waiting".
void gf_setReaderLampsWaiting();
void lf_updateLamps();
void lf_computeRange();
void lf_computeBox();
/// LATERAL_RANGE clamped, rangeNm and aiRequestRadius derived from it.
void gf_deriveRange();
/// Sets the time shift in minutes (at most 28 days); QUIET logs nothing.
/// Main thread: a shift that is not quiet takes every aircraft out.
void gf_setTimeShift(int MINUTES, bool QUIET);
/// Applies the stored time shift at start.
void gf_applyStoredTimeShift();
/// Asks the traffic reader for parked traffic (the parking refresh's first phase).
void gf_requestParkedTraffic();
/// The parking refresh's second phase: true with the parked lines when the
/// reader has an answer, youngest first. Throws SysErrorException 400 when
/// the service called the request faulty.
bool gf_takeParkedTraffic(std::vector<ParkedLine>& LINES);
/// Takes over what the traffic reader has seen since the buffered request
/// (collecting stops first).
void gf_takeSeenSets(std::set<std::string>& CALLSIGNS, std::set<std::uint32_t>& HEXIDS);
/// A restart: weather, time and pressure back to their start values; the
/// readers of the ended session can no longer reach anything.
void gf_resetFeed();

} // namespace orv
