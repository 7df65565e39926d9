// The livery of an aircraft: live ones keep the title they had earlier in the
// run, otherwise the matching steps run; static ones are matched at their
// stand. Also the list of aircraft that found none, and its report.
#include "traffic/creation.h"

#include "core/log.h"
#include "core/parameters.h"
#include "liveries/matching.h"
#include "traffic/engine.h"

#include <fmt/format.h>

#include <algorithm>

namespace orv {

std::set<std::string> noLiverySet;

namespace {

/// The list's keys have all gone to the log since the last one came in.
bool noMatchReported = true;

/// Titles of this maker's packages roll out with the reversers' sound.
constexpr std::string_view reverserMark = "FSLTL_";
constexpr std::int32_t lastClassId = 5;

LiveryQuery lf_queryOf(const ActCore& RECORD)
{
    LiveryQuery query;
    query.airline = RECORD.airline;
    query.icaoType = RECORD.icaoType;
    query.regcode = RECORD.regcode;
    query.category = static_cast<ModelCategory>(std::clamp(RECORD.classId, 0, lastClassId));
    query.cargo = RECORD.cargo;
    return query;
}

void lf_takeTitle(act& RECORD, std::string_view TITLE)
{
    RECORD.livery.assign(TITLE);
    RECORD.reverser = RECORD.livery.find(reverserMark) != std::string::npos;
}

} // namespace

std::string gf_noLiveryKey(const ActCore& RECORD)
{
    return fmt::format("{:3} {:4}", RECORD.airline, RECORD.icaoType) + " " + RECORD.regcode;
}

void gf_matchLivery(act& RECORD)
{
    LiveryQuery query = lf_queryOf(RECORD);
    const int step = gf_matchSteps(query, MATCHING_DEPTH.value, false);
    if (step == 0) {
        RECORD.livery.clear();
        if (LOG.value) gf_log(fmt::format("          {} no livery match at depth {}", gf_actText(RECORD), MATCHING_DEPTH.value));
        return;
    }
    lf_takeTitle(RECORD, query.livery);
    RECORD.matchStep = step;
    ++matchSteps[static_cast<std::size_t>(step - 1)];
    if (LOG.value) gf_log(fmt::format("          {} ={}= {}", gf_actText(RECORD), step, RECORD.livery));
}

bool lf_findLivery(act& RECORD)
{
    if (!RECORD.livery.empty()) return true;
    if (const auto earlier = liveryOfHexid.find(RECORD.hexid); earlier != liveryOfHexid.end()) {
        // A refused title, or one that is no longer installed, is forgotten.
        if (!gf_isFailedTitle(earlier->second) && gf_findTitle(earlier->second) != nullptr) {
            lf_takeTitle(RECORD, earlier->second);
            RECORD.matchStep = -1;
            if (LOG.value) gf_log(fmt::format("          {} =again= {}", gf_actText(RECORD), RECORD.livery));
            return true;
        }
        liveryOfHexid.erase(earlier);
    }
    gf_matchLivery(RECORD);
    if (RECORD.livery.empty()) return false;
    liveryOfHexid.insert_or_assign(RECORD.hexid, RECORD.livery);
    return true;
}

bool gf_matchStaticLivery(ActCore& RECORD, std::string_view STAND_NAME, bool STAND_CARGO)
{
    if (!RECORD.livery.empty()) {
        if (LOG.value) gf_log(fmt::format("          {} =s= {}", gf_actText(RECORD), RECORD.livery));
        return true;
    }
    // The stand's mark only counts once the airframe's own livery is not found.
    RECORD.cargo = STAND_CARGO;
    LiveryQuery query = lf_queryOf(RECORD);
    const int step = gf_matchSteps(query, MATCHING_DEPTH.value, true);
    if (step != 0) {
        RECORD.livery.assign(query.livery);
        RECORD.matchStep = step;
        if (LOG.value) gf_log(fmt::format("          {} ={}= {}", gf_actText(RECORD), step, RECORD.livery));
        return true;
    }
    if (LOG.value)
        gf_log(fmt::format("{:8}: {} no livery match ...", STAND_NAME,
                           fmt::format("{} {} {}", RECORD.regcode, RECORD.airline, RECORD.icaoType)));
    return false;
}

void gf_addNoLivery(const std::string& KEY)
{
    if (noLiverySet.insert(KEY).second) noMatchReported = false;
}

void lf_reportNoMatch()
{
    if (!LOG.value || noLiverySet.empty()) return;
    std::string text = "\nNo match found for: ";
    for (const auto& key : noLiverySet) text.append("\n").append(key);
    text.append("\n");
    gf_log(text);
    noMatchReported = true;
}

void gf_writeUnmatchedReport() { lf_reportNoMatch(); }

void gf_clearUnmatchedFlights()
{
    // The exit empties the list before it writes its report: what is
    // forgotten here goes to the log first, once.
    if (!noMatchReported) lf_reportNoMatch();
    noLiverySet.clear();
    noMatchReported = true;
}

} // namespace orv
