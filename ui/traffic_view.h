// The traffic page's data. The main thread, which owns the aircraft records,
// publishes a snapshot of them a few times a second, built whole and swapped
// in under a leaf lock; the window's server only reads and serialises it.
// Each aircraft's story (the log lines that name it, its livery choice, its
// changes of state and phase) is sorted by the same publication, on the main
// thread, and kept bounded: a ring of recent lines per aircraft.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "traffic/act.h"

namespace orv {

/// One aircraft as the page shows it.
struct AircraftView {
    std::uint32_t hexid = 0;
    bool live = true; ///< false: a static parked aircraft
    std::string callsign, icaoType, airline, regcode, origin, destination;
    std::string phase; ///< what the aircraft does, as the page names it
    double lat = 0, lon = 0;    ///< degrees
    double headingDeg = 0;      ///< true heading
    double altitudeFt = 0;      ///< above sea level
    double speedKt = 0;         ///< ground speed, knots
    bool onGround = false;
    std::string stand;          ///< the stand's name; empty without one
    std::string livery;         ///< empty until matched
    std::int32_t matchStep = 0; ///< 0 none, -1 kept from earlier in the run
    std::uint32_t objectId = 0; ///< the simulator's object; 0 before it exists
};

/// A stand of the park airport on the map.
struct StandMark {
    std::string name;
    double lat = 0, lon = 0; ///< degrees
    double headingDeg = 0;
};

struct TrafficSnapshot {
    std::uint64_t number = 0; ///< counts the publications of the process; 0 before the first
    bool userKnown = false;   ///< the user aircraft has a position
    double userLat = 0, userLon = 0, userHeadingDeg = 0;
    double rangeNm = 0; ///< the radius of the traffic asked for
    std::string parkCode;
    std::vector<StandMark> stands;
    std::vector<AircraftView> aircraft;
};

/// Passes of 10 ms between two publications: four a second.
inline constexpr std::int32_t publishEveryPasses = 25;
/// Lines kept in one aircraft's story, and the stories kept in all.
inline constexpr std::size_t storyLines = 64;
inline constexpr std::size_t storiesKept = 1024;

/// The park airport's stands for the map. Written by the spine at start
/// (and by tests) before the main loop runs; by default no stands are known.
extern std::vector<StandMark> (*trafficStands)();

/// Main thread: publishes the records as they are now and sorts the new log
/// lines into the stories of the aircraft they name.
void gf_publishTraffic();
/// Any thread: the latest snapshot; an empty one before the first publication.
std::shared_ptr<const TrafficSnapshot> gf_trafficSnapshot();
/// Any thread: one aircraft's story, oldest line first; empty when unknown.
std::vector<std::string> gf_storyOf(std::uint32_t HEXID);
/// Forgets the stories and the snapshot (tests; the process keeps them over restarts).
void gf_resetTrafficView();

/// What the record does: its state until it is in the simulator, then its phase.
std::string gf_phaseText(const act& RECORD);

/// The snapshot as the page reads it.
std::string gf_trafficJson(const TrafficSnapshot& SNAPSHOT);
/// The story of HEXID with the aircraft as the latest snapshot has it ("aircraft" null when gone).
std::string gf_storyJson(std::uint32_t HEXID);

} // namespace orv
