// The park airport's choice every 16 seconds: on the ground the user's own
// airport (when it has a stand file), in the air the head of the park list
// when it comes in sight; its stand file loaded, and saved and unloaded when
// the aircraft leaves. An airport without a stand file is remembered for the
// session, so that it is not asked of the server every 16 seconds; the feed
// still keeps the ground traffic round it.
#include "parking/airport_db.h"
#include "parking/airport_files.h"
#include "parking/park_airports.h"
#include "parking/parking.h"

#include "core/flags.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/window_state.h"
#include "feed/park_view.h"

#include <fmt/format.h>

#include <algorithm>

namespace orv {

namespace {

/// The airport that the feed keeps ground traffic round, with or without a stand file (main thread).
std::optional<AirportRecord> viewAirport;

void lf_publishView()
{
    ParkView view;
    if (viewAirport) {
        view.airport = LatLon{viewAirport->lat, viewAirport->lon};
        view.elevationFt = viewAirport->elevation;
    }
    view.ready = parkAirportReady;
    if (view.ready) view.elevationFt = parkData.altitude;
    view.reservedStand = reservedStandName;
    view.userStand = gf_userStand(ownPosition);
    if (!parkAirports.empty()) view.firstDistanceNm = parkAirports.front().distance;
    gf_publishParkView(view);
}

double lf_userAgl(const UserPosition& USER) { return USER.altitudeFt - USER.groundAltFt; }

bool lf_inSight(const UserPosition& USER, double DISTANCE)
{
    return AIRPORT_RANGE.value >= DISTANCE && AIRPORT_HEIGHT.value >= lf_userAgl(USER);
}

/// The file of ICAO can be had; an airport without one is not asked again in this session.
bool lf_fileKnown(const std::string& ICAO)
{
    if (airportsWithoutFile.contains(ICAO)) return false;
    if (gf_airportFileExists(ICAO)) return true;
    airportsWithoutFile.insert(ICAO);
    return false;
}

void lf_sortList(const UserPosition& USER)
{
    const LatLon here{USER.lat, USER.lon};
    if (parkAirports.empty()) return;
    if (here.lat == lastUserPosition.lat && here.lon == lastUserPosition.lon) {
        parkAirports.front().distance = gf_distanceNm(here, parkAirports.front().position);
        return;
    }
    lastUserPosition = here;
    if (!DESTINATION.value.empty()) return;
    for (ParkAirportEntry& entry : parkAirports) entry.distance = gf_distanceNm(here, entry.position);
    parkAirports.sort([](const ParkAirportEntry& A, const ParkAirportEntry& B) { return A.distance < B.distance; });
}

void lf_newAirportOnGround(const UserPosition& USER, bool NOW)
{
    const ClosestAirport airport = gf_closestAirport({USER.lat, USER.lon});
    if (!airport) {
        if (viewAirport) gf_showStatus("User aircraft on the ground, no airport in sight", true);
        viewAirport.reset();
        return;
    }
    const std::string label = gf_airportLabel(airport->icao, airport->iata);
    if (!lf_fileKnown(airport->icao)) {
        if (!viewAirport || viewAirport->icao != airport->icao)
            gf_showStatus(fmt::format("User aircraft on the ground at {}, no airport file found", label), true);
        viewAirport = airport;
        return;
    }
    gf_log(fmt::format("User aircraft on the ground at {}", label));
    if (lf_setParkAirport(airport->icao)) lf_parkAirportFound(NOW);
}

void lf_newAirportInAir(const UserPosition& USER)
{
    viewAirport.reset();
    DESTINATION.enabled = true;
    if (parkAirports.empty()) return;
    const ParkAirportEntry& head = parkAirports.front();
    if (!lf_inSight(USER, head.distance) || airportsWithoutFile.contains(head.icao) || !lf_setParkAirport(head.icao))
        return;
    gf_showStatus(fmt::format("{} in sight at {:.1F} nm", head.icao, head.distance), true);
    pendingLoad = true;
}

void lf_checkLeaving(const UserPosition& USER)
{
    if (USER.onGround) return;
    const double distance = gf_distanceNm({USER.lat, USER.lon}, parkPosition);
    const std::string label = gf_airportLabel(parkIcao, parkIata);
    if (!lf_inSight(USER, distance)) {
        gf_log(fmt::format("\n{} {} is out of sight ({:.1F} nm), parked aircraft will be removed", gf_timeOfDay(), label,
                           distance));
        lf_leaveParkAirport();
        viewAirport.reset();
        return;
    }
    if (parkAirports.empty() || parkAirports.front().icao == parkIcao) return;
    const ParkAirportEntry& head = parkAirports.front();
    if (head.distance <= AIRPORT_RANGE.value && head.distance <= distance) {
        gf_log(fmt::format("\n{} {} is in sight ({:.1F} nm), parked aircraft at {} will be removed first", gf_timeOfDay(),
                           head.icao, head.distance, label));
        lf_leaveParkAirport();
        viewAirport.reset();
    }
}

void lf_loadPending()
{
    pendingLoad = false;
    gf_clearStatus();
    std::string error;
    lf_loadParkAirport(error);
    if (!error.empty()) {
        gf_showStatus(error, true);
        lf_unloadParkAirport();
    }
    DESTINATION.enabled = true;
}

} // namespace

bool lf_setParkAirport(const std::string& ICAO)
{
    const std::optional<AirportRecord> airport = gf_findAirport(ICAO);
    if (!airport) return false;
    parkIcao = airport->icao;
    parkIata = airport->iata;
    parkPosition = {airport->lat, airport->lon};
    parkElevation = airport->elevation;
    viewAirport = airport;
    gf_log(fmt::format("The park airport is {}", gf_airportLabel(parkIcao, parkIata)));
    lf_publishView();
    return true;
}

void lf_parkAirportFound(bool NOW)
{
    if (NOW)
        lf_loadPending();
    else
        pendingLoad = true;
    DESTINATION.enabled = true;
}

void gf_userAirportCheck(bool FIRST)
{
    // The end of a parking run: no static aircraft wait for their creation
    // here, so the frozen parking controls (and the re-read) are free again.
    if (parkBusy) parkBusy = false;
    if (FIRST) {
        // A new session starts without aircraft: the marks of the last one's
        // stands go with the airport, which is chosen and read anew; the
        // server is asked again for the airports it lacked.
        if (!parkIcao.empty()) lf_unloadParkAirport();
        pendingLoad = false;
        airportsWithoutFile.clear();
        viewAirport.reset();
    }
    if (pendingLoad) {
        lf_loadPending();
        lf_publishView();
        return;
    }
    const UserPosition user = ownPosition;
    if (gf_isNoPosition(user.lat, user.lon)) return;
    lf_sortList(user);
    if (!parkIcao.empty()) {
        if (user.onGround) lf_rememberUserStand();
        lf_checkLeaving(user);
    }
    else if (user.onGround)
        lf_newAirportOnGround(user, FIRST);
    else
        lf_newAirportInAir(user);
    lf_publishView();
}

std::optional<double> gf_parkAirportElevation()
{
    if (!viewAirport) return std::nullopt;
    return parkAirportReady ? static_cast<double>(parkData.altitude) : viewAirport->elevation;
}

bool gf_parkAirportWithin(const LatLon& POS, double NM)
{
    return viewAirport && gf_distanceNm(POS, {viewAirport->lat, viewAirport->lon}) <= NM;
}

bool gf_parkAirportHasStands() { return parkAirportReady && !standTable.empty(); }

void gf_saveLearnedChanges()
{
    if (parkAirportReady && (parameterChanged || updateCount >= 1)) {
        try {
            lf_saveUpdates();
        } catch (const std::exception& e) {
            gf_log(fmt::format("gf_saveLearnedChanges {}", e.what()));
        }
        updateCount = 0;
    }
}

void gf_clearWaitingAirports() { airportsWithoutFile.clear(); }

} // namespace orv
