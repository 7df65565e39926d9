// The range of the traffic request and its area: the box round the user's
// aircraft that the traffic reader asks for.
#include <algorithm>
#include <cmath>

#include "core/parameters.h"
#include "core/window_state.h"
#include "feed/feed.h"
#include "feed/feed_state.h"
#include "feed/park_view.h"
#include "core/geometry.h"

namespace orv {

Box rtBox = startBox;
Box parkedBox = startBox;
std::mutex boxMutex;
LatLon boxPosition;
double boxRange = 0;
std::atomic<double> rangeNm{40};
std::int32_t aiRequestRadius = 40 * 1852 + 10000;
std::atomic<bool> autoRangeActive{false};

namespace {

constexpr double requestRadiusExtraM = 10000;
constexpr double boxStillDeg = 0.00015;
constexpr double kmPerDegree = 111.2;
constexpr double kmPerNm = 1.852;
constexpr double quarterTurn = pi / 2;
/// With AUTO_RANGE: the range at an airport and in the climb or descent.
constexpr double airportRangeNm = 10;
constexpr double highRangeNm = 100;
constexpr double midRangeNm = 40;
constexpr double nearAirportNm = 7.0;
constexpr double approachAirportNm = 37.0;
constexpr double approachExtraNm = 3;
constexpr double noParkAirportNm = 10000.0;

std::int32_t lf_requestRadius(double RANGE_NM)
{
    return static_cast<std::int32_t>(RANGE_NM * metresPerNm + requestRadiusExtraM);
}

double lf_autoRange()
{
    const double d = gf_parkView().firstDistanceNm.value_or(noParkAirportNm);
    if (ownPosition.onGround) return airportRangeNm;
    if (ownPosition.altitudeFt > AUTO_RANGE_ABOVE_HEIGHT.value) return highRangeNm;
    if (ownPosition.altitudeFt > AIRPORT_HEIGHT.value) return midRangeNm;
    if (d <= nearAirportNm) return airportRangeNm;
    if (d < approachAirportNm) return std::round(d) + approachExtraNm;
    return midRangeNm;
}

} // namespace

Box gf_rtBox()
{
    std::lock_guard lock(boxMutex);
    return rtBox;
}

Box gf_boxAround(const LatLon& CENTRE, double RANGE_NM)
{
    const double d = RANGE_NM * kmPerNm / kmPerDegree;
    const double feet = RANGE_NM * feetPerNm;
    return Box{CENTRE.lat + d, CENTRE.lat - d, gf_destination(CENTRE, -quarterTurn, feet).lon,
               gf_destination(CENTRE, quarterTurn, feet).lon};
}

void gf_deriveRange()
{
    LATERAL_RANGE.value = std::clamp(LATERAL_RANGE.value, LATERAL_RANGE.minimum, LATERAL_RANGE.maximum);
    rangeNm = LATERAL_RANGE.value;
    aiRequestRadius = lf_requestRadius(rangeNm);
}

void lf_computeRange()
{
    const double range = AUTO_RANGE.value ? lf_autoRange() : static_cast<double>(LATERAL_RANGE.value);
    rangeNm = range;
    aiRequestRadius = lf_requestRadius(range);
    const int shown = std::clamp(static_cast<int>(std::lround(range)), LATERAL_RANGE.minimum, LATERAL_RANGE.maximum);
    autoRangeActive = AUTO_RANGE.value && range == airportRangeNm;
    if (shown != LATERAL_RANGE.value) {
        LATERAL_RANGE.value = shown;
        gf_repaint();
        lf_computeBox();
    }
}

void lf_computeBox()
{
    const LatLon position{ownPosition.lat, ownPosition.lon};
    if (gf_isNoPosition(position.lat, position.lon)) return;
    const double range = rangeNm;
    if (std::fabs(position.lat - boxPosition.lat) < boxStillDeg
        && std::fabs(position.lon - boxPosition.lon) < boxStillDeg && range == boxRange) {
        return;
    }
    boxPosition = position;
    boxRange = range;
    const Box box = gf_boxAround(position, range);
    std::lock_guard lock(boxMutex);
    rtBox = box;
}

} // namespace orv
