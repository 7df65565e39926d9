// Loading and leaving the park airport: its stand file read into the stand
// table, whether soft learning is still worth it there, the stand the user
// stands at written back as the airport's reserved stand; on leaving, what
// was learned saved, the live aircraft at stands taken out, the user's own
// parking settings back.
#include "parking/airport_db.h"
#include "parking/airport_files.h"
#include "parking/apf_parts.h"
#include "parking/park_airports.h"
#include "parking/parking.h"

#include "core/errors.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/window_state.h"
#include "traffic/engine.h"

#include <fmt/format.h>

namespace orv {

namespace {

/// The user's aircraft stands still below this ground speed, knots.
constexpr double stillKt = 1.0;

/// Soft learning stops at an airport whose data are good and large enough.
void lf_decideLearning()
{
    const bool enough = parkData.qfReal >= goodQualityFactor && standTable.size() >= goodStandCount;
    learningAllowed = !enough;
    if (enough && LEARN_SOFT.value) {
        LEARN_SOFT.value = false;
        parameterChanged = true;
    }
    LEARN_SOFT.enabled = !enough;
}

/// The stand under the user's aircraft becomes the airport's reserved stand.
void lf_takeUserStand()
{
    const std::string stand = gf_userStand(ownPosition);
    if (!parkAirports.empty() && parkAirports.front().icao == parkIcao) {
        if (stand.empty() || stand == parkAirports.front().reservedStand) return;
        parkAirports.front().reservedStand = stand;
    } else {
        parkAirports.push_front({parkIcao, stand, parkPosition, 0});
    }
    lf_writeParkAirportHead();
}

void lf_findReserved()
{
    reservedStandName.clear();
    reservedStandFound = false;
    if (parkAirports.empty() || parkAirports.front().icao != parkIcao || parkAirports.front().reservedStand.empty()) return;
    for (Stand& stand : standTable)
        if (stand.name == parkAirports.front().reservedStand) {
            reservedStandName = stand.name;
            reservedStandFound = true;
            stand.reserved = true;
            return;
        }
}

void lf_showAirport(const std::string& ERROR)
{
    ParkDisplay display = gf_parkDisplay();
    display.code = parkIcao.empty() ? "" : gf_airportLabel(parkIcao, parkIata);
    display.fileFound = ERROR.empty() && !parkIcao.empty();
    display.name = parkData.airportName;
    display.publisher = parkData.publisher;
    display.handmade = handmadeActive;
    display.trafficWeek = parkData.rtTrafficWeek;
    display.qfReal = parkData.qfReal;
    display.qfSoft = parkData.qfSoft;
    display.reservedStand = reservedStandName;
    display.reservedFound = reservedStandFound;
    display.updateCount = 0;
    display.standCount = static_cast<int>(standTable.size());
    gf_setParkDisplay(display);
    gf_repaint();
}

} // namespace

void lf_loadParkAirport(std::string& ERROR)
{
    standTable.clear();
    lf_publishStandSpots();
    const std::string path = gf_findAirportFile(parkIcao);
    if (path.empty()) {
        ERROR = fmt::format("{} not found", parkIcao);
        airportsWithoutFile.insert(parkIcao);
        return;
    }
    parkData = {};
    handmadeActive = false;
    QualityFactor qf;
    try {
        ERROR = gf_readApf(path, parkData, qf);
    } catch (const UserErrorException& e) {
        ERROR = e.what();
    }
    lf_publishStandSpots();
    if (ERROR.empty()) {
        lf_decideLearning();
        if (ownPosition.onGround) lf_takeUserStand();
        standTable.shrink_to_fit();
        lf_findReserved();
    } else {
        reservedStandName.clear();
    }
    lf_showAirport(ERROR);
    updateCount = 0;
}

void lf_leaveParkAirport()
{
    for (act& record : liveList) {
        if (record.phase == Phase::flying || record.phase == Phase::taxiToStand || record.phase == Phase::unset) continue;
        if (record.standId == 0) continue;
        record.standPos = {};
        record.standHeading = 0;
        record.standId = 0;
        record.standCargo = false;
        if (record.state == ActState::active)
            gf_removeAct(record);
        else if (record.state == ActState::waiting || record.state == ActState::creating)
            record.removeWhenCreated = true;
    }
    lf_unloadParkAirport();
}

void lf_unloadParkAirport()
{
    gf_saveLearnedChanges();
    handmadeActive = false;
    parkAirportReady = false;
    learnedPathInUse.clear();
    gf_restoreUserParameters();
    parkIcao.clear();
    parkIata.clear();
    parkPosition = {};
    parkElevation = 0;
    reservedStandName.clear();
    reservedStandFound = false;
    parkData = {};
    standTable.clear();
    lf_publishStandSpots();
    lf_showAirport("");
}

void lf_rememberUserStand()
{
    const std::string stored = lf_takeStoredUserStand();
    if (!parkAirportReady || parkAirports.empty() || parkAirports.front().icao != parkIcao) return;
    std::string stand = stored;
    if (stand.empty() && ownPosition.groundSpeedKt <= stillKt) stand = gf_userStand(ownPosition);
    if (stand.empty() || stand == parkAirports.front().reservedStand) return;
    lf_markReserved(false);
    parkAirports.front().reservedStand = stand;
    reservedStandName = stand;
    reservedStandFound = true;
    lf_markReserved(true);
    lf_writeParkAirportHead();
    lf_showAirport("");
}

} // namespace orv
