// Parking's answers to the engine's questions (traffic/parking_calls.h):
// the park airport, the stands it searches, marks and names. The spine
// installs them at start.
#include "parking/airport_db.h"
#include "parking/park_airports.h"
#include "parking/parking.h"
#include "parking/stand_search.h"

#include "core/log.h"
#include "traffic/parking_calls.h"

#include <fmt/format.h>

namespace orv {

namespace {

StandRef lf_refOf(const Stand& STAND)
{
    return {STAND.standId, {STAND.lat, STAND.lon}, STAND.heading, STAND.radius, STAND.cargo};
}

std::optional<StandRef> lf_closestStand(const LatLon& POS, const act& RECORD, double MAX_NM, bool USE_OPTIONS)
{
    const Stand* stand = gf_closestStand(POS, RECORD, MAX_NM, USE_OPTIONS);
    if (!stand) return std::nullopt;
    return lf_refOf(*stand);
}

/// The reserved stand, and the stand under the user's aircraft, are never given to a live aircraft.
bool lf_standRefused(std::int32_t STAND_ID)
{
    const Stand* stand = gf_standOfId(STAND_ID);
    return stand && (stand->reserved || stand->name == gf_userStand(ownPosition));
}

std::vector<StandRef> lf_conflictingStands(std::int32_t STAND_ID)
{
    std::vector<StandRef> stands;
    if (const Stand* stand = gf_standOfId(STAND_ID))
        for (const std::int32_t other : stand->conflicts)
            if (const Stand* neighbour = gf_standOfId(other)) stands.push_back(lf_refOf(*neighbour));
    return stands;
}

} // namespace

void gf_setCargoStand(Stand& STAND, const act& RECORD)
{
    if (!RECORD.cargo || STAND.cargo) return;
    STAND.cargo = true;
    STAND.cargoChange = true;
    ++updateCount;
    gf_log(fmt::format("{} stand: {}, cargo attribute set to true, {} parked here", parkIcao, STAND.name, RECORD.callsign));
}

void gf_fillParkingCalls(ParkingCalls& CALLS)
{
    CALLS.parkAirportElevation = &gf_parkAirportElevation;
    CALLS.parkAirportWithin = &gf_parkAirportWithin;
    CALLS.parkAirportReady = [] { return gf_parkAirportHasStands(); };
    CALLS.parkAirportIata = [] { return parkIata; };
    CALLS.standName = [](std::int32_t STAND_ID) {
        const Stand* stand = gf_standOfId(STAND_ID);
        return stand ? stand->name : std::string();
    };
    CALLS.closestStand = &lf_closestStand;
    CALLS.standRefused = &lf_standRefused;
    CALLS.standRadius = [](std::int32_t STAND_ID) {
        const Stand* stand = gf_standOfId(STAND_ID);
        return stand ? stand->radius : 0.0;
    };
    CALLS.setStandOccupied = [](std::int32_t STAND_ID, bool OCCUPIED) {
        if (Stand* stand = gf_standOfId(STAND_ID)) stand->occupied = OCCUPIED;
    };
    CALLS.markStandCargo = [](std::int32_t STAND_ID, const act& RECORD) {
        if (Stand* stand = gf_standOfId(STAND_ID)) gf_setCargoStand(*stand, RECORD);
    };
    CALLS.conflictingStands = &lf_conflictingStands;
}

} // namespace orv
