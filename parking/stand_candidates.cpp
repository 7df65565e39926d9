// Who is expected on the stands at an hour of the week: one candidate per
// stand from the options seen there, looking further back in the week's
// record until enough stands are taken (the Max fit of the window).
#include "parking/stand_search.h"

#include "core/log.h"
#include "core/parameters.h"

#include <fmt/format.h>

#include <algorithm>

namespace orv {

std::vector<ParkCandidate> staticCreateList;
std::set<std::string> seenCallsignsCopy;
std::int32_t fitReal = -1, fitSoft = -1;
bool softShown = false;

namespace {

bool lf_eligible(const Stand& STAND, const StandOption& OPTION, std::int32_t KIND, DayHalf THEN)
{
    return OPTION.number != 0 && OPTION.real == KIND && (WEEK.value || OPTION.day == THEN.day) &&
           gf_hourSet(OPTION.hours, THEN.halfHour) && !(STAND.heli && !HELICOPTERS.value) && !STAND.neighbourTaken;
}

bool lf_seen(const std::string& CALLSIGN)
{
    return !CALLSIGN.empty() && (seenCallsignsCopy.contains(CALLSIGN) || seenCallsignsCopy.contains(CALLSIGN + "_"));
}

/// The option would show an aircraft that is there already: live in the feed, or waiting for creation.
bool lf_doubles(const StandOption& OPTION)
{
    if (lf_seen(OPTION.coupled1) || lf_seen(OPTION.coupled2)) return true;
    return std::any_of(staticCreateList.begin(), staticCreateList.end(), [&OPTION](const ParkCandidate& OTHER) {
        return (!OPTION.regcode.empty() && OTHER.regcode == OPTION.regcode) ||
               (!OTHER.coupled1.empty() && (OTHER.coupled1 == OPTION.coupled1 || OTHER.coupled1 == OPTION.coupled2));
    });
}

/// The aircraft of the option also stands here in the half hour after TIME.
bool lf_staysNext(const Stand& STAND, const StandOption& OPTION, DayHalf TIME)
{
    if (OPTION.coupled2.empty()) return true;
    if (TIME.halfHour + 1 < halfHoursPerDay) return gf_hourSet(OPTION.hours, TIME.halfHour + 1);
    const std::int32_t nextDay = gf_dayHalfAfter(TIME, 1).day;
    return std::any_of(STAND.options.begin(), STAND.options.end(), [&](const StandOption& OTHER) {
        return OTHER.airline == OPTION.airline && OTHER.icaoType == OPTION.icaoType && OTHER.day == nextDay &&
               gf_hourSet(OTHER.hours, 0) && OTHER.number >= 1;
    });
}

void lf_candidateOf(Stand& STAND, DayHalf TIME, std::int32_t KIND, std::int32_t OFFSET, std::vector<ParkCandidate>& CANDIDATES)
{
    const DayHalf then = gf_dayHalfBefore(TIME, OFFSET);
    std::vector<std::size_t> eligible;
    eligible.reserve(64);
    for (std::size_t i = 0; i < STAND.options.size(); ++i)
        if (lf_eligible(STAND, STAND.options[i], KIND, then)) eligible.push_back(i);
    if (eligible.empty()) return;
    if (eligible.size() >= 2) std::shuffle(eligible.begin(), eligible.end(), standRandom);
    StandOption& option = STAND.options[eligible.front()];
    if (lf_doubles(option)) {
        option.number = 0;
        return;
    }
    CANDIDATES.push_back({0, 1, STAND.standId, OFFSET, option.airline, option.icaoType, option.coupled1, option.coupled2,
                          option.regcode, lf_staysNext(STAND, option, TIME)});
    STAND.taken = true;
    for (const std::int32_t other : STAND.conflicts)
        if (Stand* neighbour = gf_standOfId(other)) neighbour->neighbourTaken = true;
}

std::size_t lf_takenCount()
{
    return static_cast<std::size_t>(std::count_if(standTable.begin(), standTable.end(), [](const Stand& S) { return S.taken; }));
}

/// Half hours as hours, "0.5" for 0: one decimal unless whole.
std::string lf_hoursText(std::int32_t HALF_HOURS)
{
    const double hours = HALF_HOURS * 0.5 + 0.5;
    return hours == std::floor(hours) ? fmt::format("{:.0f}", hours) : fmt::format("{:.1f}", hours);
}

} // namespace

void lf_searchStands(DayHalf TIME, std::int32_t KIND, std::int32_t OFFSET, std::vector<ParkCandidate>& CANDIDATES)
{
    try {
        for (Stand& stand : standTable)
            if (!stand.reserved && !stand.taken) lf_candidateOf(stand, TIME, KIND, OFFSET, CANDIDATES);
    } catch (const std::exception& e) {
        gf_log(fmt::format("exception in lf_searchStands, day: {}, offset {}: {}", TIME.day, OFFSET, e.what()));
    }
}

bool lf_searchFit(DayHalf TIME, std::int32_t KIND, std::int32_t WANTED, std::vector<ParkCandidate>& CANDIDATES)
{
    const std::size_t before = lf_takenCount();
    bool enough = false;
    std::int32_t offset = 0;
    for (;; ++offset) {
        lf_searchStands(TIME, KIND, offset, CANDIDATES);
        if (static_cast<std::size_t>(std::max(WANTED, 0)) <= lf_takenCount()) {
            enough = true;
            break;
        }
        std::move(CANDIDATES.begin(), CANDIDATES.end(), std::back_inserter(staticCreateList));
        CANDIDATES.clear();
        if (offset >= MAX_FIT.value) break;
    }
    if (KIND == 1) {
        fitReal = offset;
        fitSoft = -1;
    } else {
        fitSoft = offset;
    }
    const std::size_t taken = lf_takenCount() - before;
    if (taken > 0)
        gf_log(fmt::format("{} {} position{} found, Max fit={} hours{}, hh:{} or {} hrs fit: {} hour", taken,
                           KIND == 1 ? "real" : "soft", taken > 1 ? "s" : "", lf_hoursText(MAX_FIT.value),
                           WEEK.value ? ", week" : fmt::format(", day {}", TIME.day), TIME.halfHour,
                           lf_hoursText(TIME.halfHour), lf_hoursText(offset)));
    softShown = KIND == 0 && taken > 0;
    return enough;
}

} // namespace orv
