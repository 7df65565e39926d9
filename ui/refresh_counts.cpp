// The counters of the window, taken once a tick by the main thread, which
// owns the aircraft lists.
#include "ui/window.h"

#include "core/day_half.h"
#include "core/parameters.h"
#include "core/window_state.h"
#include "traffic/engine.h"

namespace orv {

namespace {

constexpr int halvesPerDay = 48, halvesPerWeek = 7 * halvesPerDay;

/// Half hours from SINCE to NOW, round the week.
int lf_halvesSince(DayHalf SINCE, DayHalf NOW)
{
    const int age = (NOW.day - SINCE.day) * halvesPerDay + NOW.halfHour - SINCE.halfHour;
    return (age % halvesPerWeek + halvesPerWeek) % halvesPerWeek;
}

/// Count and average age of records at their stands, in the figure the park band shows.
template <typename LIST, typename AT_STAND>
std::pair<int, double> lf_parked(const LIST& RECORDS, AT_STAND&& AT)
{
    const DayHalf now = gf_dayHalfNow();
    int count = 0;
    double ages = 0;
    for (const auto& record : RECORDS) {
        if (!AT(record)) continue;
        ++count;
        ages += lf_halvesSince(record.standSince, now);
    }
    return {count, count == 0 ? 0.0 : ages / (2.0 * count) + 0.5};
}

} // namespace

void lf_refreshCounts()
{
    ParkDisplay park = gf_parkDisplay();
    const ParkDisplay before = park;
    const auto [parkedLive, liveFit] = lf_parked(liveList, [](const act& R) {
        return R.state == ActState::active && R.phase == Phase::atStand;
    });
    park.liveFit = liveFit;
    int flying = 0;
    for (const act& record : liveList)
        if (record.state == ActState::active && record.phase != Phase::atStand) ++flying;
    if (flying != liveCountShown) {
        liveCountShown = flying;
        gf_repaint();
    }
    const auto [parkedStatic, staticFit] = lf_parked(staticList, [](const StaticAct& R) {
        return R.state == ActState::active || R.state == ActState::removing;
    });
    if (!WEEK.value) park.staticFit = staticFit;
    park.parkedLive = parkedLive;
    park.parkedStatic = parkedStatic;
    if (park.liveFit != before.liveFit || park.staticFit != before.staticFit || park.parkedLive != before.parkedLive ||
        park.parkedStatic != before.parkedStatic)
        gf_setParkDisplay(park);
}

} // namespace orv
