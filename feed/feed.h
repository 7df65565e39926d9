// What the rest of the program asks of the live feed: the session with the
// traffic service, the two readers, the request area and the time shift.
#pragma once

#include <atomic>
#include <cstdint>

namespace orv {

/// toffset above 0: the program lives in the feed's time.
extern std::atomic<bool> timeShiftOn;
/// True from a successful login until a successful logout.
extern std::atomic<bool> rtConnected;
/// The range in nautical miles, and the radius of the by-type request in metres.
extern double rangeNm;
extern std::int32_t aiRequestRadius;

/// Logs in on the weather client (the two-second hold between logins included).
void lf_startRt();
/// Logs out; empties the session identifier.
void lf_rtDeauth();
/// A session identifier is held.
bool gf_rtSessionExists();
/// Asks both readers to stop.
void gf_stopReaders();
void gf_startWeatherReader();
void gf_startTrafficReader();
/// The first weather answer has been read.
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
void gf_setTimeShift(int MINUTES, bool QUIET);
/// Applies the stored time shift at start.
void gf_applyStoredTimeShift();
/// Asks the traffic reader for parked traffic (the parking refresh's first phase).
void gf_requestParkedTraffic();
/// A restart: weather, time and pressure back to their start values.
void gf_resetFeed();

} // namespace orv
