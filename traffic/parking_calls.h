// What the engine asks of the park airport, its stands, the stand learning
// and the static parked aircraft. Parking sits above the engine, so the engine
// asks through this table; the spine installs parking's answers at start and
// tests install their own. Each default is the honest answer of a program
// without airports: no park airport, no stand, nothing learned, no static.
#pragma once

#include "traffic/act.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// A stand as a search gives it to the engine.
struct StandRef {
    std::int32_t standId = 0;
    LatLon pos;
    double headingRad = 0;
    double radiusNm = 0;
    bool cargo = false;
};

struct ParkingCalls {
    /// The elevation of the park airport in feet, when one is set.
    std::optional<double> (*parkAirportElevation)() = [] { return std::optional<double>(); };
    /// The park airport's stand file is loaded.
    bool (*parkAirportReady)() = [] { return false; };
    /// The park airport's code as origins and destinations of the feed name it; empty without one.
    std::string (*parkAirportIata)() = [] { return std::string(); };
    /// A park airport is set and lies within NM nautical miles of POS.
    bool (*parkAirportWithin)(const LatLon& POS, double NM) = [](const LatLon&, double) { return false; };
    /// The name of a stand for the log; empty without one.
    std::string (*standName)(std::int32_t STAND_ID) = [](std::int32_t) { return std::string(); };
    /// The nearest free stand within MAX_NM of POS that suits the record (options count when asked).
    std::optional<StandRef> (*closestStand)(const LatLon& POS, const act& RECORD, double MAX_NM, bool USE_OPTIONS) =
        [](const LatLon&, const act&, double, bool) { return std::optional<StandRef>(); };
    /// The reserved stand, or the stand under the user's aircraft: never given to a live aircraft.
    bool (*standRefused)(std::int32_t STAND_ID) = [](std::int32_t) { return false; };
    /// The stand's radius in nautical miles.
    double (*standRadius)(std::int32_t STAND_ID) = [](std::int32_t) { return 0.0; };
    /// The mark of a stand that a live aircraft is on its way to or stands at.
    void (*setStandOccupied)(std::int32_t STAND_ID, bool OCCUPIED) = [](std::int32_t, bool) {};
    /// A freighter parked at a stand without the cargo attribute: the stand gets it (logged).
    void (*markStandCargo)(std::int32_t STAND_ID, const act& RECORD) = [](std::int32_t, const act&) {};
    /// The stands whose aircraft may touch an aircraft at STAND_ID.
    std::vector<StandRef> (*conflictingStands)(std::int32_t STAND_ID) = [](std::int32_t) {
        return std::vector<StandRef>();
    };
    /// What stands at or beside an arriving aircraft's stand goes.
    void (*takeStand)(act& RECORD, const StandRef& STAND) = [](act&, const StandRef&) {};
    /// Static aircraft at or beside the stand make room.
    void (*clearStandOfStatics)(act& RECORD, const StandRef& STAND) = [](act&, const StandRef&) {};
    /// The limit on live parked aircraft, checked after ADDED more parked.
    void (*checkMaxPark)(std::int32_t ADDED) = [](std::int32_t) {};
    /// Stand learning: a departure from the record's stand.
    void (*learnDeparture)(act& RECORD) = [](act&) {};
    /// Stand learning for an aircraft about to go without having reached a stand.
    void (*learnLostAircraft)(act& RECORD, bool ON_GROUND) = [](act&, bool) {};
    /// Stand learning: the record at STAND_ID at TIME; true when the options changed.
    bool (*addRealOption)(std::int32_t STAND_ID, act& RECORD, bool CONTINUING, DayHalf TIME, bool FINISH) =
        [](std::int32_t, act&, bool, DayHalf, bool) { return false; };
    /// An arrival that taught the stand something, remembered for its half hour.
    void (*addRecentArrival)(std::uint32_t HEXID, std::int32_t HALF_HOUR) = [](std::uint32_t, std::int32_t) {};
    /// Static parking: the candidates waiting for STAND_ID leave the create list.
    void (*dropStaticCandidates)(std::int32_t STAND_ID) = [](std::int32_t) {};
    /// Static parking: the next static candidate's create request, when any waits.
    void (*continueStaticCreation)() = [] {};
};

/// Written by the spine at start (and by tests) before the engine runs; read by the main thread.
extern ParkingCalls parkingCalls;

} // namespace orv
