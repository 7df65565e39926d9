// processLine for a live line: one JSON array of a traffic answer into a
// TrafficLine, or nothing. The filters run in a fixed order; only what
// passes the ones before the seen sets enters them.
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string_view>

#include <fmt/format.h>

#include "core/errors.h"
#include "core/log.h"
#include "core/sim_messages.h"
#include "feed/decode.h"
#include "feed/decode_fields.h"
#include "core/geometry.h"

namespace orv {

namespace {

/// Positions of a live line.
enum LivePosition : std::size_t {
    posHexid = 0,
    posLat = 1,
    posLon = 2,
    posTrack = 3,
    posBaroAlt = 4,
    posGroundSpeed = 5,
    posFlag = 7,
    posType = 8,
    posRegcode = 9,
    posTimestamp = 10,
    posOrigin = 11,
    posDestination = 12,
    posCallsign = 13,
    posOnGround = 14,
    posVerticalSpeed = 15,
    posSource = 17,
    posGeoAlt = 18,
    posAirspeed = 20,
    posRoll = 23,
    posHeading = 25,
    posCategory = 28,
};

constexpr std::array<std::string_view, 5> refusedCategories{"B1", "B2", "B4", "C1", "C2"};
constexpr std::array<std::string_view, 7> refusedTypes{"GRND", "GLID", "SERV", "BALL", "PARA", "SHIP", "EMER"};
constexpr std::array<std::string_view, 2> refusedCallsigns{"ERARMTR0", "AIRPORT1"};
constexpr std::size_t longestType = 4;
constexpr int headingErrorCode = 746;
constexpr double fullCircleDeg = 360.0;
constexpr double feetPerHpa = 30.0;
constexpr double unknownFieldAboveFt = 1000.0;
constexpr double groundAltitudeCeilingFt = 14000.0;
constexpr double taxiSpeedKt = 35.0;
constexpr double parkNearAutoRangeFt = 3000.0;
constexpr double groundLineRadiusNm = 5.0;
constexpr double noRoll = -1.0;
constexpr double noAirspeed = -1.0;

/// The rules of a ground contact: at most this high above the field at at most this speed.
struct GroundRule {
    double aboveFt, speedKt;
};
constexpr std::array<GroundRule, 3> groundRules{{{45, 120}, {90, 80}, {120, 43}}};

/// Airspeed by altitude when the source has none: up to the altitude, the speed.
struct AirspeedBand {
    double upToFt, speedKt;
};
constexpr std::array<AirspeedBand, 4> airspeedBands{{{2000, 180}, {5000, 220}, {10000, 250}, {20000, 350}}};
constexpr double highAirspeedKt = 430;

bool lf_oneOf(const std::string& TEXT, auto const& LIST)
{
    return std::find(LIST.begin(), LIST.end(), TEXT) != LIST.end();
}

/// Category and type: neither empty nor refused.
bool lf_categoryAndTypePass(const nlohmann::json& LINE, const std::string& TYPE)
{
    const std::string category = gf_textAt(LINE, posCategory);
    if (category.empty() || lf_oneOf(category, refusedCategories)) return false;
    return !TYPE.empty() && TYPE.size() <= longestType && !lf_oneOf(TYPE, refusedTypes);
}

/// The source's own heading, for ADS-B lines only.
std::optional<double> lf_heading(const nlohmann::json& LINE)
{
    if (gf_textAt(LINE, posSource) != "adsb_icao") return std::nullopt;
    const double value = gf_numberOr0(LINE, posHeading);
    if (value == 0) return 2 * std::numbers::pi;
    if (value > fullCircleDeg) throw SysErrorException(headingErrorCode, fmt::format("true heading:{:.2F}", value));
    if (value > 0) return value * degToRad;
    return std::nullopt;
}

/// The altitude corrected for QNH, 0 on the ground. An unknown GROUND_SPEED
/// proves no slow roll: only the height, or the source's on-ground flag near
/// the field, puts such a line on the ground.
double lf_altitude(const nlohmann::json& LINE, std::int32_t QNH, const std::optional<double>& ELEVATION,
                   std::optional<double> GROUND_SPEED, std::int8_t GROUND_FLAG)
{
    const double input = gf_numberAt(LINE, posBaroAlt).value_or(gf_numberOr0(LINE, posGeoAlt));
    if (!(input > 0)) return 0;
    double altitude = std::max(0.0, input + (QNH - standardQnh) * feetPerHpa);
    if (altitude > 0 && altitude < groundAltitudeCeilingFt) {
        const double above = ELEVATION ? altitude - *ELEVATION : altitude + unknownFieldAboveFt;
        const bool ground = above <= 0 || std::any_of(groundRules.begin(), groundRules.end(), [&](const GroundRule& R) {
                                return above <= R.aboveFt && (GROUND_SPEED ? *GROUND_SPEED <= R.speedKt : GROUND_FLAG == 1);
                            });
        if (ground) altitude = 0;
    }
    if (GROUND_SPEED && *GROUND_SPEED <= taxiSpeedKt) altitude = 0;
    return altitude;
}

/// The source's on-ground flag: 1, 0, or -1 when it gives none.
std::int8_t lf_groundFlag(const nlohmann::json& LINE)
{
    const nlohmann::json& flag = gf_fieldAt(LINE, posOnGround);
    if (flag.is_boolean()) return flag.get<bool>() ? 1 : 0;
    if (flag.is_number()) return flag.get<double>() != 0 ? 1 : 0;
    return -1;
}

/// The callsign: false drops the line; a callsign that is no callsign is emptied.
bool lf_callsignPasses(RtClient& CLIENT, TrafficLine& OUT, const std::string& CALLSIGN)
{
    if (CALLSIGN == "null" || CALLSIGN.find('@') != std::string::npos) return true;
    if (CALLSIGN.starts_with("TOW ") || lf_oneOf(CALLSIGN, refusedCallsigns)) return false;
    const std::string& blocked = CLIENT.view.blockCallsign;
    if (!blocked.empty() && blocked == CALLSIGN) {
        if (CLIENT.notBlockedYet) {
            CLIENT.notBlockedYet = false;
            CLIENT.blockedCallsign = CALLSIGN;
            gf_postMessage(SimMessage{0, OUT.hexid, MessageKind::block, 0, 0});
            gf_log("Reader: Live aircraft " + CALLSIGN + " blocked");
        }
        return false;
    }
    // A callsign that was blocked and no longer is: said once, when it has
    // gone from the parameter.
    if (!CLIENT.blockedCallsign.empty() && CLIENT.blockedCallsign != blocked) {
        gf_log("Reader: Live aircraft " + CLIENT.blockedCallsign + " no longer blocked");
        CLIENT.notBlockedYet = true;
        CLIENT.blockedCallsign.clear();
    }
    OUT.callsign = CALLSIGN;
    return true;
}

double lf_fallbackAirspeed(double ALTITUDE)
{
    for (const AirspeedBand& band : airspeedBands) {
        if (ALTITUDE <= band.upToFt) return band.speedKt;
    }
    return highAirspeedKt;
}

std::string lf_placeOf(const nlohmann::json& LINE, std::size_t POSITION)
{
    std::string text = gf_textAt(LINE, POSITION);
    return text == "null" ? std::string() : text;
}

/// One line of live traffic, field by field; false drops the line.
bool lf_decodeLive(RtClient& C, TrafficLine& OUT)
{
    const nlohmann::json& line = C.line;
    const DecodeView& view = C.view;
    OUT.timestamp = gf_numberOr0(line, posTimestamp);
    C.lastTimestamp = OUT.timestamp;
    OUT.regcode = gf_regcodeOf(gf_textAt(line, posRegcode));
    if (OUT.regcode.empty() && gf_textAt(line, posFlag) == "F") return false;
    OUT.icaoType = gf_textAt(line, posType);
    if (OUT.icaoType == "0" || OUT.icaoType == "ZZZZ") OUT.icaoType.clear();
    if (!lf_categoryAndTypePass(line, OUT.icaoType)) return false;
    TrackPoint& p = OUT.point;
    p.lat = gf_numberOr0(line, posLat);
    p.lon = gf_numberOr0(line, posLon);
    gf_checkPosition(p.lat, p.lon);
    if (gf_distance(view.centre.lat, view.centre.lon, p.lat, p.lon) > view.rangeNm) return false;
    p.heading = lf_heading(line);
    p.headingValid = p.heading.has_value();
    OUT.hexid = gf_hexid(gf_textAt(line, posHexid));
    if (OUT.hexid <= lowestHexid) return false;
    const std::optional<double> groundSpeed = gf_numberAt(line, posGroundSpeed);
    p.groundSpeed = groundSpeed.value_or(0);
    p.speedKnown = groundSpeed.has_value();
    p.groundFlag = lf_groundFlag(line);
    p.altitude = lf_altitude(line, C.qnh, C.airportElevation, groundSpeed, p.groundFlag);
    p.airborne = p.altitude > 0;
    if (p.airborne && view.autoRangeActive && view.park.ready
        && p.altitude - C.airportElevation.value_or(0) > parkNearAutoRangeFt) {
        return false;
    }
    if (!lf_callsignPasses(C, OUT, gf_textAt(line, posCallsign))) return false;
    if (OUT.regcode.empty() && OUT.callsign.empty()) return false;
    if (C.collectSeen) {
        std::lock_guard lock(C.seenLock);
        if (!OUT.callsign.empty()) C.seenCallsigns.insert(OUT.callsign);
        C.seenHexids.insert(OUT.hexid);
    }
    if (!p.airborne
        && (!view.park.airport
            || gf_distance(view.park.airport->lat, view.park.airport->lon, p.lat, p.lon) > groundLineRadiusNm)) {
        return false;
    }
    p.track = gf_numberOr0(line, posTrack);
    p.trackKnown = gf_numberAt(line, posTrack).has_value();
    if (p.track == 0 && p.heading) p.track = *p.heading * radToDeg, p.trackKnown = true;
    p.verticalSpeed = gf_numberOr0(line, posVerticalSpeed);
    p.verticalSpeedKnown = gf_numberAt(line, posVerticalSpeed).has_value();
    OUT.origin = lf_placeOf(line, posOrigin);
    OUT.destination = lf_placeOf(line, posDestination);
    if (p.airborne) {
        const double roll = gf_numberOr0(line, posRoll);
        if (roll != 0 && roll != noRoll) p.bank = -roll * degToRad;
    }
    const auto airspeed = gf_numberAt(line, posAirspeed);
    p.airspeed = airspeed && *airspeed != noAirspeed ? *airspeed : lf_fallbackAirspeed(p.altitude);
    p.stationary = false;
    return true;
}

} // namespace

void processLine(RtClient& CLIENT)
{
    try {
        TrafficLine line;
        if (lf_decodeLive(CLIENT, line)) CLIENT.lines.push_back(std::move(line));
    } catch (const SysErrorException&) {
        // A position or heading out of range: the line is refused silently.
    } catch (const std::exception& e) {
        gf_log(fmt::format("exception in processLine: {}", e.what()));
    }
}

} // namespace orv
