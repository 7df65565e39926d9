// The park airport while the airport database and the stand files are not
// in yet: where the user's aircraft stands on the ground. The feed keeps the
// ground traffic round that place (within its radius of an airport), so that
// aircraft taxi, take off, land and stop there; no stand is known, and an
// aircraft stops where its data stops. The airport is left when the user's
// aircraft flies out of sight of it.
#include "parking/parking.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/user_position.h"
#include "feed/park_view.h"

#include <fmt/format.h>

#include <cmath>

namespace orv {

namespace {

/// Twice the earth's radius in nautical miles, for the haversine.
constexpr double earthDiameterNm = 6875.493541569878;
constexpr double radiansPerDegree = 0.017453292519943295;

bool parkSet = false; ///< main thread
LatLon parkPosition;

double lf_distanceNm(const LatLon& A, const LatLon& B)
{
    const double x = std::cos(B.lat * radiansPerDegree) * std::cos(A.lat * radiansPerDegree) *
                         std::pow(std::sin((A.lon - B.lon) * radiansPerDegree / 2), 2) +
                     std::pow(std::sin((A.lat - B.lat) * radiansPerDegree / 2), 2);
    return std::asin(std::sqrt(x)) * earthDiameterNm;
}

} // namespace

void gf_userAirportCheck(bool FIRST)
{
    if (FIRST && parkSet) {
        // A new session looks again from where the user stands now.
        parkSet = false;
        gf_publishParkView(ParkView{});
    }
    const UserPosition user = ownPosition;
    if (gf_isNoPosition(user.lat, user.lon)) return;
    const LatLon here{user.lat, user.lon};
    if (!parkSet) {
        if (!user.onGround) return;
        ParkView view;
        view.airport = here;
        view.elevationFt = user.groundAltFt;
        view.firstDistanceNm = 0;
        gf_publishParkView(view);
        parkSet = true;
        parkPosition = here;
        gf_log(fmt::format("User aircraft on the ground at {:.4f},{:.4f}: its ground traffic is shown", here.lat, here.lon));
        return;
    }
    // On the ground the airport stays, also far away from it.
    if (user.onGround) return;
    const double distance = lf_distanceNm(here, parkPosition);
    if (distance <= AIRPORT_RANGE.value && user.altitudeFt - user.groundAltFt <= AIRPORT_HEIGHT.value) return;
    gf_log(fmt::format("\n{} the user's airport is out of sight ({:.1F} nm)", gf_timeOfDay(), distance));
    gf_publishParkView(ParkView{});
    parkSet = false;
}

} // namespace orv
