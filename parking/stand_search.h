// The searches over the park airport's stands: which stand an aircraft is
// at, which free stand suits it, who is expected on the stands at an hour of
// the week, and which turnaround a callsign belongs to. Main thread.
#pragma once

#include "parking/stands.h"
#include "traffic/act.h"

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace orv {

/// Search radii of the engine and the parked traffic, nautical miles.
inline constexpr double standReach55m = 0.029697624190064796;
inline constexpr double standReach20m = 0.010799136069114472;
inline constexpr double standReach110m = 0.05939524838012959;
/// A stand this much smaller than the aircraft still fits, nautical miles (1.8 m).
inline constexpr double standFitSlackNm = 0.0009719222462203025;
/// Options count for an aircraft this near a stand, nautical miles (85 m).
inline constexpr double optionReachNm = 0.0458963282937365;
/// A stand grown to an aircraft is this much smaller than it, nautical miles (1 m).
inline constexpr double grownMarginNm = 0.0005399568034557236;
/// The free-stand search looks one half hour on at airports of at most this many stands.
inline constexpr std::size_t smallAirportStands = 10;

/// One entry of the free-stand search's list: lower fit is better.
struct StandFit {
    std::string standName;
    std::int32_t fit = 0;
    std::int32_t matched = 0;
};

/// One proposal of the parking calculation.
struct ParkCandidate {
    std::uint32_t hexid = 0;
    std::int32_t fromOptions = 0;
    std::int32_t standId = 0;
    std::int32_t offset = 0; ///< half hours before now
    std::string airline, icaoType, coupled1, coupled2, regcode;
    bool stayingNext = false;
};

/// The candidates waiting for creation (main thread; the static parking fills it).
extern std::vector<ParkCandidate> staticCreateList;
/// The callsigns live in the feed, as the parking calculation copied them (main thread).
extern std::set<std::string> seenCallsignsCopy;
/// Half hours of the last fit of each kind; -1 none (main thread).
extern std::int32_t fitReal, fitSoft;
/// Soft candidates were taken in the last calculation (window).
extern bool softShown;
/// The shuffles and the gate choice (main thread); tests seed it.
extern std::mt19937 standRandom;

/// N half hours before TIME, over midnight and the week's end.
DayHalf gf_dayHalfBefore(DayHalf TIME, std::int32_t N);
/// N half hours after TIME.
DayHalf gf_dayHalfAfter(DayHalf TIME, std::int32_t N);

bool lf_optionMatches(const StandOption& OPTION, const std::string& CALLSIGN, const act& AIRCRAFT);
bool lf_standExpectedFree(const Stand& STAND, DayHalf TIME);

/// The stand the aircraft at POSITION is at: the nearest free one within
/// MAX_DISTANCE (nm) that fits, or with USE_OPTIONS one within 85 m where its
/// airline and type were seen. A stand too small by more than 1.8 m counts
/// only within 20 m, and then grows to the aircraft.
Stand* gf_closestStand(const LatLon& POSITION, const act& AIRCRAFT, double MAX_DISTANCE, bool USE_OPTIONS);
/// The first stand of that name.
Stand* gf_standByName(const std::string& NAME);
/// A free stand that suits the aircraft at TIME, best fit and match first, equals at random.
Stand* lf_searchFreeStand(DayHalf TIME, const act& AIRCRAFT, bool RETRY);
/// One candidate per stand expected OFFSET half hours before TIME; KIND 1 real, 0 soft.
void lf_searchStands(DayHalf TIME, std::int32_t KIND, std::int32_t OFFSET, std::vector<ParkCandidate>& CANDIDATES);
/// lf_searchStands looking further back until WANTED stands are taken or MAX_FIT is reached.
bool lf_searchFit(DayHalf TIME, std::int32_t KIND, std::int32_t WANTED, std::vector<ParkCandidate>& CANDIDATES);
/// HOURS has a bit among START down to START - LOOK (not below 0); EARLIER
/// gets the half hours left for the day before, or -1.
bool testRange(const StandOption& OPTION, std::int32_t START, std::int32_t LOOK, std::int32_t& EARLIER);
/// Fills the record's coupled callsigns from a turnaround seen round this time.
void lf_searchForCoupledCsAroundThisTime(DayHalf TIME, act& AIRCRAFT);

} // namespace orv
