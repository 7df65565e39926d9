// How a traffic line finds its record, or makes a new waiting one.
#include "traffic/engine.h"

#include "core/parameters.h"
#include "liveries/dbase.h"
#include "traffic/engine_parts.h"
#include "traffic/line_evidence.h"

#include <cmath>
#include <random>

namespace orv {

namespace {

constexpr double metresPerNm = 1852.0;
constexpr double secondsPerHour = 3600.0;
constexpr double farAboveFt = 10000.0;
constexpr double fieldToleranceFt = 120.0;
constexpr double noFieldElevationFt = -1000.0;

/// Seconds that SPEED_KT needs for METRES; infinite when standing.
double lf_secondsFor(double METRES, double SPEED_KT)
{
    if (SPEED_KT <= 0) return INFINITY;
    return METRES / (SPEED_KT * metresPerNm / secondsPerHour);
}

double lf_trackDiffDeg(double A, double B)
{
    const double d = std::fmod(std::fabs(A - B), 360.0);
    return d > 180.0 ? 360.0 - d : d;
}

/// Why a line is not taken against its record's last point.
enum class LineVerdict { take, tooSoon, speedJump, addsNothing };

/// A line that comes too soon, whose speed does not fit the last point, or that adds nothing.
LineVerdict lf_verdictForLastPoint(const TrafficLine& LINE, const act& RECORD)
{
    const TrackPoint& last = RECORD.track.back();
    const double gap = LINE.timestamp - RECORD.lastTimestamp;
    const double s0 = last.groundSpeed, s1 = LINE.point.groundSpeed;
    if (gap <= 1.0) return LineVerdict::tooSoon;
    if ((s0 > 5 && s1 >= 10 * s0) || (s1 > 5 && s0 >= 10 * s1)) return LineVerdict::speedJump;
    if ((s0 <= 5 && s1 >= 80) || (s1 <= 5 && s0 >= 80)) return LineVerdict::speedJump;
    if (RECORD.predictedPoints > 0) return LineVerdict::take;
    const double trackDiff = lf_trackDiffDeg(LINE.point.track, last.track);
    // A straight, fast leg: a point closer than 450 m in time is of no use.
    if (LINE.point.airborne && s1 > 120 && trackDiff <= 1.0 && lf_secondsFor(450, s1) >= gap) return LineVerdict::addsNothing;
    if (!LINE.point.airborne && s1 <= 30 && trackDiff <= 2.0) {
        const double limit = s1 <= 0 ? 15.0 : std::min(lf_secondsFor(20, s1), 15.0);
        if (gap <= limit) return LineVerdict::addsNothing;
    }
    return LineVerdict::take;
}

void lf_lineForAct(const TrafficLine& LINE, act& RECORD)
{
    if (RECORD.state == ActState::recreating || RECORD.state == ActState::removing) return;
    TrafficLine line = LINE;
    if (!RECORD.track.empty()) {
        if (!lf_evidenceTakes(RECORD, line)) return;
        // A refused line must not refuse all later ones: lines that agree
        // with each other are followed again.
        const LineVerdict verdict = lf_verdictForLastPoint(line, RECORD);
        if (verdict == LineVerdict::speedJump && !lf_reanchor(RECORD, line)) return;
        if (verdict == LineVerdict::tooSoon || verdict == LineVerdict::addsNothing) return;
        RECORD.evidence.refusedRun = 0;
    }
    if (RECORD.state == ActState::waiting && !gf_farFromField(line)) return;
    if (!lf_identityUpdate(line, RECORD)) return;
    RECORD.lastTimestamp = line.timestamp;
    lf_addTrackPoint(RECORD, line.point);
}

bool lf_classPasses(ModelCategory CATEGORY)
{
    switch (CATEGORY) {
    case ModelCategory::Light: return LIGHT_AIRCRAFT.value;
    case ModelCategory::HighPerf: return HIGH_PERF_AIRCRAFT.value;
    case ModelCategory::Rotorcraft: return HELICOPTERS.value;
    default: return true;
    }
}

int lf_randomSign()
{
    static std::mt19937 random{std::random_device{}()};
    return std::bernoulli_distribution(0.5)(random) ? 1 : -1;
}

void lf_newFromLine(const TrafficLine& LINE)
{
    std::string type = LINE.icaoType;
    if (type.empty()) type = gf_dbaseModel(LINE.regcode);
    if (!gf_validModel(type)) {
        type = gf_dbaseModel(LINE.regcode);
        if (type.empty()) return;
    }
    const ModelCategory category = gf_modelCategory(type);
    if (!lf_classPasses(category)) return;
    if (!gf_farFromField(LINE)) return;

    act& record = liveList.emplace_back();
    record.airline = LINE.airline;
    record.icaoType = type;
    record.origin = LINE.origin;
    record.destination = LINE.destination;
    record.callsign = LINE.callsign;
    record.coupledCallsign1 = LINE.callsign;
    record.regcode = LINE.regcode;
    record.hexid = LINE.hexid;
    record.cargo = gf_dbaseCargo(LINE.regcode);
    lf_setClassFields(record, static_cast<std::int32_t>(category), lf_randomSign(), lf_randomSign());
    record.wingspan = gf_halfWingspan(type);
    record.lastTimestamp = LINE.timestamp;
    TrafficLine first = LINE;
    lf_evidenceTakes(record, first);
    record.track.push_back(first.point);
}

} // namespace

bool gf_farFromField(const TrafficLine& LINE)
{
    const double altitude = LINE.point.altitude;
    if (altitude >= farAboveFt || altitude <= 0) return true;
    const double field = parkingCalls.parkAirportElevation().value_or(noFieldElevationFt);
    return std::fabs(altitude - field) > fieldToleranceFt;
}

void lf_acceptLine(const TrafficLine& LINE)
{
    if (act* record = gf_findAct(LINE.hexid)) {
        lf_lineForAct(LINE, *record);
        return;
    }
    if (!LINE.callsign.empty()) {
        for (const act& other : liveList)
            if (other.callsign == LINE.callsign && other.icaoType == LINE.icaoType) return;
    }
    lf_newFromLine(LINE);
}

} // namespace orv
