// The park airport while the airport database and the stand files are not
// in yet: where the user's aircraft stands on the ground. The feed keeps the
// ground traffic round that place (within its radius of an airport), so that
// aircraft taxi, take off, land and stop there; no stand is known, and an
// aircraft stops where its data stops. The airport is left when the user's
// aircraft flies out of sight of it.
#include "parking/parking.h"

#include "core/flags.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/user_position.h"
#include "feed/park_view.h"

#include <fmt/format.h>

#include <cmath>

#include "core/geometry.h"

namespace orv {

namespace {

bool parkSet = false; ///< main thread
LatLon parkPosition;

} // namespace

void gf_userAirportCheck(bool FIRST)
{
    // The end of a parking run: no static aircraft wait for their creation
    // here, so the frozen parking controls (and the re-read) are free again.
    if (parkBusy) parkBusy = false;
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
    const double distance = gf_distanceNm(here, parkPosition);
    if (distance <= AIRPORT_RANGE.value && user.altitudeFt - user.groundAltFt <= AIRPORT_HEIGHT.value) return;
    gf_log(fmt::format("\n{} the user's airport is out of sight ({:.1F} nm)", gf_timeOfDay(), distance));
    gf_publishParkView(ParkView{});
    parkSet = false;
}

std::optional<double> gf_parkAirportElevation() { return parkSet ? gf_parkView().elevationFt : std::nullopt; }

bool gf_parkAirportWithin(const LatLon& POS, double NM) { return parkSet && gf_distanceNm(POS, parkPosition) <= NM; }

} // namespace orv
