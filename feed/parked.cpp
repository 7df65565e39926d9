// Parked traffic round the park airport: asked by the main thread, fetched
// and decoded by the traffic reader between two of its live requests, taken
// back by the main thread.
#include <algorithm>
#include <ctime>

#include <fmt/format.h>

#include "core/errors.h"
#include "core/log.h"
#include "core/parameters.h"
#include "feed/decode_fields.h"
#include "feed/feed.h"
#include "feed/feed_session.h"

namespace orv {

namespace {

constexpr double parkedRangeNm = 3.0;
constexpr std::int32_t halfHoursPerDay = 48;

/// The half hour of the day now, or of the feed's time when it is shifted.
std::int32_t lf_halfHourNow(const RtClient& CLIENT)
{
    const double feedTime = CLIENT.lastTimestamp;
    const auto now = timeShiftOn && feedTime != 0 ? static_cast<std::int64_t>(feedTime)
                                                  : static_cast<std::int64_t>(std::time(nullptr));
    return gf_halfHourOfDay(now);
}

void lf_ageSortAndThin(std::vector<ParkedLine>& LINES, std::int32_t NOW)
{
    for (ParkedLine& line : LINES) {
        line.halfHour = NOW - line.halfHour;
        if (line.halfHour < 0) line.halfHour += halfHoursPerDay;
    }
    if (!RT_PARKTRAFFIC_ONLY.value) {
        std::erase_if(LINES, [](const ParkedLine& L) { return L.halfHour > MAX_FIT.value; });
    }
    std::stable_sort(LINES.begin(), LINES.end(),
                     [](const ParkedLine& A, const ParkedLine& B) { return A.halfHour < B.halfHour; });
    std::vector<ParkedLine> kept;
    for (ParkedLine& line : LINES) {
        const bool twice = std::any_of(kept.begin(), kept.end(), [&](const ParkedLine& K) {
            return K.standName == line.standName || (!line.callsign.empty() && K.callsign == line.callsign);
        });
        if (!twice) kept.push_back(std::move(line));
    }
    LINES.swap(kept);
}

} // namespace

bool lf_parkedTraffic(RtClient& CLIENT)
{
    const ParkView view = gf_parkView();
    if (!view.airport) return false;
    const Box box = gf_boxAround(*view.airport, parkedRangeNm);
    {
        std::lock_guard lock(boxMutex);
        parkedBox = box;
    }
    std::int32_t status = 0;
    if (!lf_rtParkedTraffic(CLIENT, box, status)) {
        if (status == statusParameterFault) throw SysErrorException(statusParameterFault, "RT API parameter fault");
        if (status == statusSessionInvalid) {
            gf_log(fmt::format("RT Parked traffic: re-authentication to RT API is needed {}", programName));
        } else {
            gf_log(fmt::format("RT parkedtraffic error status: {}", status));
        }
        return false;
    }
    lf_ageSortAndThin(CLIENT.parkedLines, lf_halfHourNow(CLIENT));
    return true;
}

void gf_requestParkedTraffic()
{
    const auto session = gf_feedSession();
    if (!session) return;
    {
        std::lock_guard lock(session->parkedLock);
        session->parkedResult = ParkedResult::none;
        session->parkedLines.clear();
    }
    session->parkedAsked = true;
}

bool gf_takeParkedTraffic(std::vector<ParkedLine>& LINES)
{
    LINES.clear();
    const auto session = gf_feedSession();
    if (!session) return false;
    std::lock_guard lock(session->parkedLock);
    const ParkedResult result = session->parkedResult;
    session->parkedResult = ParkedResult::none;
    if (result == ParkedResult::parameterFault) {
        throw SysErrorException(statusParameterFault, "RT API parameter fault");
    }
    if (result != ParkedResult::ready) return false;
    LINES.swap(session->parkedLines);
    return true;
}

} // namespace orv
