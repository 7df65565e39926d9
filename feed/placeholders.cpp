// Calls of the start-up and the exit into the feed, kept as named calls until
// the feed's client and readers are in. None of them talks to a service yet.
#include "feed/feed.h"

#include "core/parameters.h"

#include <algorithm>

namespace orv {

std::atomic<bool> rtConnected{false};
std::atomic<bool> timeShiftOn{false};
double rangeNm = 40;
std::int32_t aiRequestRadius = 40 * 1852 + 10000;

void lf_startRt() {}
void lf_rtDeauth() {}
bool gf_rtSessionExists() { return false; }
void gf_stopReaders() {}
void gf_startWeatherReader() {}
void gf_startTrafficReader() {}
bool gf_weatherReceived() { return false; }
double gf_trafficLastTimestamp() { return 0; }
void gf_setReaderLampsWaiting() {}
void lf_updateLamps() {}
void lf_computeRange() {}
void lf_computeBox() {}
void gf_setTimeShift(int, bool) {}
void gf_applyStoredTimeShift() {}
void gf_requestParkedTraffic() {}
void gf_resetFeed() {}

void gf_deriveRange()
{
    LATERAL_RANGE.value = std::clamp(LATERAL_RANGE.value, LATERAL_RANGE.minimum, LATERAL_RANGE.maximum);
    rangeNm = LATERAL_RANGE.value;
    aiRequestRadius = static_cast<std::int32_t>(rangeNm * 1852 + 10000);
}

} // namespace orv
