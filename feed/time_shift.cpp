// The time shift: how old the data is that both readers ask for, and what
// changes on screen when it changes.
#include <algorithm>

#include <fmt/format.h>

#include "core/flags.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/window_state.h"
#include "feed/feed.h"
#include "feed/feed_session.h"

namespace orv {

namespace {

constexpr int longestShiftMinutes = 40320; ///< four weeks
constexpr int minutesPerDay = 1440;
constexpr int minutesPerHour = 60;

void lf_setBox(IntBox& BOX, int VALUE)
{
    BOX.value = VALUE;
    gf_saveClamped(BOX);
}

} // namespace

void gf_setTimeShift(int MINUTES, bool QUIET)
{
    timeShiftOn = MINUTES > 0;
    if (MINUTES > longestShiftMinutes) {
        gf_log("Time shifting is limited to 4 weeks");
        MINUTES = longestShiftMinutes;
    }
    const int minutes = std::max(MINUTES, 0);
    lf_setBox(TIME_SHIFT_DAYS, minutes / minutesPerDay);
    lf_setBox(TIME_SHIFT_HOURS, minutes % minutesPerDay / minutesPerHour);
    lf_setBox(TIME_SHIFT_MINS, minutes % minutesPerHour);
    gf_setSessionTimeOffset(minutes);
    gf_repaint();
    if (minutes > 0) {
        if (QUIET) return;
        gf_showStatus(fmt::format("Time shifted {} minute{}", minutes, minutes > 1 ? "s" : ""), true);
    } else {
        gf_showStatus("Time shift = 0", true);
        if (QUIET) return;
    }
    // The time on screen and the traffic belong together: a shift starts the
    // picture anew. The main thread removes the traffic at its next second.
    trafficResetRequested = true;
}

void gf_applyStoredTimeShift()
{
    const int minutes =
        TIME_SHIFT_DAYS.value * minutesPerDay + TIME_SHIFT_HOURS.value * minutesPerHour + TIME_SHIFT_MINS.value;
    if (minutes > 0) {
        gf_setTimeShift(minutes, true);
        return;
    }
    timeShiftOn = false;
    gf_setSessionTimeOffset(0);
}

} // namespace orv
