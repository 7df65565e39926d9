// Which stand an aircraft is at, and which free stand suits it: the walks of
// the stand table that the engine and the stand learning ask, with the hour
// of the week stepped over midnight and the week's end.
#include "parking/stand_search.h"

#include "parking/park_airports.h"

#include "core/log.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace orv {

std::mt19937 standRandom{std::random_device{}()};

namespace {

constexpr std::int32_t halfHoursPerWeek = 7 * halfHoursPerDay;
/// Size steps of the fit, nautical miles: 14 m for aircraft up to 17.8 m, 21 m above.
constexpr double smallAircraftNm = 0.009611230689557531;
constexpr double smallStepNm = 0.00755939524838013;
constexpr double largeStepNm = 0.011339092872570195;
constexpr std::int32_t noFit = 100;
/// Sizes come from metres of the files and of the reference data: a stand
/// exactly 1.8 m smaller than the aircraft fits, whatever the rounding of
/// the conversion (two micrometres).
constexpr double sizeToleranceNm = 1e-9;
constexpr std::int32_t helicopterClass = 5;
/// Outside the United States, one aircraft in ten prefers a stand off the gates.
constexpr unsigned gateChancePercent = 10;

DayHalf lf_fromWeekIndex(std::int32_t INDEX)
{
    const std::int32_t wrapped = ((INDEX % halfHoursPerWeek) + halfHoursPerWeek) % halfHoursPerWeek;
    return {wrapped / halfHoursPerDay + 1, wrapped % halfHoursPerDay};
}

std::int32_t lf_weekIndex(DayHalf TIME) { return (TIME.day - 1) * halfHoursPerDay + TIME.halfHour; }

bool lf_tooSmall(double EXCESS) { return EXCESS > standFitSlackNm + sizeToleranceNm; }

bool lf_fitsInSize(const Stand& STAND, const act& AIRCRAFT) { return !lf_tooSmall(AIRCRAFT.wingspan - STAND.radius); }

bool lf_anyMatch(const Stand& STAND, const act& AIRCRAFT)
{
    if (AIRCRAFT.callsign.empty()) return false;
    return std::any_of(STAND.options.begin(), STAND.options.end(), [&AIRCRAFT](const StandOption& OPTION) {
        return lf_optionMatches(OPTION, AIRCRAFT.callsign, AIRCRAFT);
    });
}

/// One pass of a stand list: which stands are of the kind, and what is tested.
struct Pass {
    std::function<bool(const Stand&)> kind;
    bool sizeTest = true;
    bool freeTest = true;
    bool fitZero = false;
    bool rated = true;
};

/// Runs the passes in order until one puts a stand on the list.
void lf_runPasses(const std::vector<Pass>& PASSES, DayHalf TIME, const act& AIRCRAFT, std::vector<StandFit>& LIST)
{
    const double step = AIRCRAFT.wingspan <= smallAircraftNm ? smallStepNm : largeStepNm;
    for (const Pass& pass : PASSES) {
        std::int32_t bestFit = noFit, bestMatched = 0;
        for (const Stand& stand : standTable) {
            if (!pass.kind(stand)) continue;
            if (pass.sizeTest && !lf_fitsInSize(stand, AIRCRAFT)) continue;
            if (pass.freeTest && !lf_standExpectedFree(stand, TIME)) continue;
            const auto fit = pass.fitZero ? 0 : static_cast<std::int32_t>(std::lround((stand.radius - AIRCRAFT.wingspan) / step));
            if (!pass.rated) {
                LIST.push_back({stand.name, fit, 0});
                continue;
            }
            if (fit > bestFit) continue;
            const std::int32_t matched = lf_anyMatch(stand, AIRCRAFT) ? 1 : 0;
            if (matched < bestMatched) continue;
            bestMatched = matched;
            bestFit = fit;
            LIST.push_back({stand.name, fit, matched});
        }
        if (!LIST.empty()) return;
    }
}

std::vector<Pass> lf_passengerPasses(bool GATES)
{
    const auto kind = [GATES](const Stand& STAND) { return !STAND.cargo && !STAND.heli && STAND.ramp != GATES; };
    return {{kind}, {kind, false, true, true}};
}

std::vector<Pass> lf_cargoPasses()
{
    const auto cargo = [](const Stand& STAND) { return STAND.cargo && !STAND.heli; };
    const auto any = [](const Stand& STAND) { return !STAND.heli; };
    return {{cargo}, {cargo, false, true, true}, {any}, {any, false, true, true}};
}

std::vector<Pass> lf_helicopterPasses()
{
    const auto heli = [](const Stand& STAND) { return STAND.heli; };
    const auto ramp = [](const Stand& STAND) { return STAND.ramp; };
    return {{heli}, {ramp}, {heli, true, false, true, false}, {ramp, true, false, true, false}};
}

} // namespace

DayHalf gf_dayHalfBefore(DayHalf TIME, std::int32_t N) { return lf_fromWeekIndex(lf_weekIndex(TIME) - N); }
DayHalf gf_dayHalfAfter(DayHalf TIME, std::int32_t N) { return lf_fromWeekIndex(lf_weekIndex(TIME) + N); }

bool lf_optionMatches(const StandOption& OPTION, const std::string& CALLSIGN, const act& AIRCRAFT)
{
    if (OPTION.number == 0 || OPTION.real != 1) return false;
    if (OPTION.coupled1 == CALLSIGN || OPTION.coupled2 == CALLSIGN) return true;
    return OPTION.airline == AIRCRAFT.airline && OPTION.icaoType == AIRCRAFT.icaoType;
}

bool lf_standExpectedFree(const Stand& STAND, DayHalf TIME)
{
    return std::none_of(STAND.options.begin(), STAND.options.end(), [TIME](const StandOption& OPTION) {
        return OPTION.number != 0 && OPTION.day == TIME.day && gf_hourSet(OPTION.hours, TIME.halfHour);
    });
}

Stand* gf_closestStand(const LatLon& POSITION, const act& AIRCRAFT, double MAX_DISTANCE, bool USE_OPTIONS)
{
    double nearest = 900.0, nearestByOption = 900.0;
    Stand *result = nullptr, *resultByOption = nullptr, *tooSmall = nullptr;
    bool stillUseOptions = USE_OPTIONS;
    for (Stand& stand : standTable) {
        if (stand.occupied) continue;
        const double distance = gf_distanceNm(POSITION, {stand.lat, stand.lon});
        const double excess = AIRCRAFT.wingspan - stand.radius;
        if (distance <= MAX_DISTANCE && distance < nearest) {
            const bool small = lf_tooSmall(excess);
            if (small && distance > standReach20m) continue;
            if (small) tooSmall = &stand;
            nearest = distance;
            result = &stand;
            stillUseOptions = false;
        } else if (stillUseOptions && distance <= optionReachNm && distance < nearestByOption && !lf_tooSmall(excess) &&
                   lf_anyMatch(stand, AIRCRAFT)) {
            nearestByOption = distance;
            resultByOption = &stand;
        }
    }
    if (!result) result = resultByOption;
    if (!result) return nullptr;
    if ((AIRCRAFT.classId == helicopterClass) != result->heli) return nullptr;
    if (result == tooSmall) {
        // The aircraft evidently fits: the stand grows to it.
        result->radius = AIRCRAFT.wingspan - grownMarginNm;
        result->radiusChange = true;
        ++updateCount;
    }
    return result;
}

Stand* gf_standByName(const std::string& NAME)
{
    const auto at = std::find_if(standTable.begin(), standTable.end(), [&NAME](const Stand& STAND) { return STAND.name == NAME; });
    return at == standTable.end() ? nullptr : &*at;
}

Stand* lf_searchFreeStand(DayHalf TIME, const act& AIRCRAFT, bool RETRY)
{
    std::vector<StandFit> list;
    list.reserve(256);
    if (AIRCRAFT.classId == helicopterClass) {
        lf_runPasses(lf_helicopterPasses(), TIME, AIRCRAFT, list);
    } else if (AIRCRAFT.cargo) {
        lf_runPasses(lf_cargoPasses(), TIME, AIRCRAFT, list);
    } else if (AIRCRAFT.classId < 2 || AIRCRAFT.airline == "PVT") {
        lf_runPasses(lf_passengerPasses(false), TIME, AIRCRAFT, list);
    } else {
        const bool preferGates = parkIcao.starts_with("K") || standRandom() % 100 >= gateChancePercent;
        lf_runPasses(lf_passengerPasses(preferGates), TIME, AIRCRAFT, list);
        if (list.empty()) lf_runPasses(lf_passengerPasses(!preferGates), TIME, AIRCRAFT, list);
    }
    if (list.empty()) {
        if (RETRY && standTable.size() <= smallAirportStands) return lf_searchFreeStand(gf_dayHalfAfter(TIME, 1), AIRCRAFT, false);
        return nullptr;
    }
    if (list.size() >= 2) {
        // The shuffle decides among equals; the table's order does not.
        std::shuffle(list.begin(), list.end(), standRandom);
        std::stable_sort(list.begin(), list.end(), [](const StandFit& A, const StandFit& B) {
            return A.matched != B.matched ? A.matched > B.matched : A.fit < B.fit;
        });
    }
    return gf_standByName(list.front().standName);
}

bool testRange(const StandOption& OPTION, std::int32_t START, std::int32_t LOOK, std::int32_t& EARLIER)
{
    EARLIER = -1;
    try {
        for (std::int32_t h = START; h >= std::max(0, START - LOOK); --h)
            if (gf_hourSet(OPTION.hours, h)) return true;
        if (LOOK > START) EARLIER = std::min(LOOK - START, halfHoursPerDay - 2);
    } catch (const std::exception& e) {
        gf_log(fmt::format("{}exception {} in testRange, start: {}, offset: {}", "", e.what(), START, LOOK));
    }
    return false;
}

void lf_searchForCoupledCsAroundThisTime(DayHalf TIME, act& AIRCRAFT)
{
    constexpr std::int32_t heavyRange = 14, range = 10;
    AIRCRAFT.coupledSearchDone = true;
    try {
        const std::int32_t reach = AIRCRAFT.classId == 3 ? heavyRange : range;
        std::uint64_t mask = 0;
        for (std::int32_t h = std::max(0, TIME.halfHour - reach); h <= std::min(halfHoursPerDay - 1, TIME.halfHour + reach); ++h)
            mask |= std::uint64_t{1} << h;
        std::string callsign = AIRCRAFT.callsign;
        if (callsign.ends_with('_')) callsign.pop_back();
        for (const Stand& stand : standTable)
            for (const StandOption& option : stand.options)
                if (option.number != 0 && option.day == TIME.day && (option.hours & mask) != 0 &&
                    option.airline == AIRCRAFT.airline && !option.coupled2.empty() &&
                    (option.coupled1 == callsign || option.coupled2 == callsign)) {
                    AIRCRAFT.coupledCallsign1 = option.coupled1;
                    AIRCRAFT.coupledCallsign2 = option.coupled2;
                    return;
                }
    } catch (const std::exception& e) {
        gf_log(fmt::format("lf_searchForCoupledCsAroundThisTime {}", e.what()));
    }
}

} // namespace orv
