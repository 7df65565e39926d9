// The stand-in simulator's world rules: ground, geometry, user motion,
// client events, the calendar of the zulu variables.
#include "standin/sim/world.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>
#include <string_view>

namespace orv::simstandin {
namespace {

constexpr double kDegToRad = std::numbers::pi / 180.0;
constexpr double kSecondsPerHour = 3600.0;
constexpr double kSecondsPerDay = 86400.0;
/// Full deflection of the axis events (flaps, spoilers, throttle).
constexpr double kAxisFull = 16383.0;
constexpr double kPercent = 100.0;

struct ShapeRule {
    std::string_view key; ///< looked for in the upper-case title
    double cgFt;
    double pitchDeg;
};

// Rough parked heights and attitudes by type; the first key found wins, so
// longer and rarer keys come first.
constexpr ShapeRule kShapes[] = {
    {"A380", 21.0, 0.3}, {"747", 19.0, 0.2}, {"777", 17.0, 0.4}, {"A350", 16.0, 0.5},
    {"787", 15.0, 0.6},  {"A330", 15.0, 0.3}, {"A340", 15.0, 0.4}, {"767", 13.0, 0.5},
    {"757", 11.0, 0.6},  {"A32", 10.0, 0.7}, {"A31", 10.0, 0.7},  {"737", 9.0, 0.8},
    {"CRJ", 7.5, 0.9},   {"E1", 8.0, 0.8},   {"ATR", 8.0, 1.2},   {"DASH", 8.0, 1.0},
    {"Q400", 8.0, 1.0},  {"C172", 4.0, 1.5}, {"CESSNA", 4.0, 1.5}, {"H135", 4.5, 0.0},
    {"HELI", 4.5, 0.0},
};
constexpr double kDefaultCgFt = 8.0;
constexpr double kDefaultPitchDeg = 0.7;

std::uint64_t lf_lightBit(std::string_view NAME)
{
    if (NAME == "NAV_LIGHTS_SET") return kLightNav;
    if (NAME == "BEACON_LIGHTS_SET") return kLightBeacon;
    if (NAME == "LANDING_LIGHTS_SET") return kLightLanding;
    if (NAME == "TAXI_LIGHTS_SET") return kLightTaxi;
    if (NAME == "STROBES_SET") return kLightStrobe;
    if (NAME == "PANEL_LIGHTS_SET") return kLightPanel;
    if (NAME == "RECOGNITION_LIGHTS_SET") return kLightRecognition;
    if (NAME == "WING_LIGHTS_SET") return kLightWing;
    if (NAME == "LOGO_LIGHTS_SET") return kLightLogo;
    if (NAME == "CABIN_LIGHTS_SET") return kLightCabin;
    return 0;
}

} // namespace

double gf_groundFt(const World& WORLD, double, double) { return WORLD.groundFt; }

double gf_aglFt(const World& WORLD, const SimObject& OBJECT)
{
    return OBJECT.altFt - gf_groundFt(WORLD, OBJECT.latDeg, OBJECT.lonDeg);
}

bool gf_onGround(const World& WORLD, const SimObject& OBJECT)
{
    return gf_aglFt(WORLD, OBJECT) <= OBJECT.staticCgFt + kOnGroundToleranceFt;
}

double gf_distanceNm(double LAT1_DEG, double LON1_DEG, double LAT2_DEG, double LON2_DEG)
{
    const double lat1 = LAT1_DEG * kDegToRad, lat2 = LAT2_DEG * kDegToRad;
    const double dLat = lat2 - lat1, dLon = (LON2_DEG - LON1_DEG) * kDegToRad;
    const double a = std::sin(dLat / 2) * std::sin(dLat / 2) +
                     std::cos(lat1) * std::cos(lat2) * std::sin(dLon / 2) * std::sin(dLon / 2);
    return 2.0 * kEarthRadiusNm * std::asin(std::sqrt(std::min(1.0, a)));
}

void gf_movePoint(double& LAT_DEG, double& LON_DEG, double COURSE_RAD, double DIST_NM)
{
    const double d = DIST_NM / kEarthRadiusNm;
    const double lat1 = LAT_DEG * kDegToRad, lon1 = LON_DEG * kDegToRad;
    const double lat2 = std::asin(std::sin(lat1) * std::cos(d) + std::cos(lat1) * std::sin(d) * std::cos(COURSE_RAD));
    const double lon2 = lon1 + std::atan2(std::sin(COURSE_RAD) * std::sin(d) * std::cos(lat1),
                                          std::cos(d) - std::sin(lat1) * std::sin(lat2));
    LAT_DEG = lat2 / kDegToRad;
    LON_DEG = std::remainder(lon2 / kDegToRad, 360.0);
}

void gf_staticShape(const std::string& TITLE, double& CG_FT, double& PITCH_RAD)
{
    std::string upper = TITLE;
    std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char C) { return std::toupper(C); });
    CG_FT = kDefaultCgFt;
    PITCH_RAD = kDefaultPitchDeg * kDegToRad;
    for (const ShapeRule& rule : kShapes) {
        if (upper.find(rule.key) != std::string::npos) {
            CG_FT = rule.cgFt;
            PITCH_RAD = rule.pitchDeg * kDegToRad;
            return;
        }
    }
}

void gf_placeUser(World& WORLD, double LAT_DEG, double LON_DEG, const double* ALT_FT, double HEADING_RAD)
{
    SimObject& u = WORLD.user;
    u.latDeg = LAT_DEG;
    u.lonDeg = LON_DEG;
    u.headingRad = HEADING_RAD;
    u.bankRad = 0;
    if (ALT_FT == nullptr) {
        u.altFt = gf_groundFt(WORLD, LAT_DEG, LON_DEG) + u.staticCgFt;
        u.pitchRad = u.staticPitchRad;
        u.gsKt = u.tasKt = u.vsFps = 0;
    } else {
        u.altFt = std::max(*ALT_FT, gf_groundFt(WORLD, LAT_DEG, LON_DEG) + u.staticCgFt);
        u.pitchRad = 0;
    }
}

void gf_moveUser(World& WORLD, double DT_S)
{
    SimObject& u = WORLD.user;
    if (u.gsKt > 0) gf_movePoint(u.latDeg, u.lonDeg, u.headingRad, u.gsKt * DT_S / kSecondsPerHour);
    u.altFt += u.vsFps * DT_S;
    const double parked = gf_groundFt(WORLD, u.latDeg, u.lonDeg) + u.staticCgFt;
    if (u.altFt < parked) {
        u.altFt = parked;
        u.vsFps = 0;
    }
}

bool gf_applyClientEvent(SimObject& OBJECT, const std::string& NAME, std::uint32_t DATA)
{
    const bool on = DATA != 0;
    if (const std::uint64_t bit = lf_lightBit(NAME); bit != 0) {
        OBJECT.lightStates = on ? (OBJECT.lightStates | bit) : (OBJECT.lightStates & ~bit);
        return true;
    }
    const double axisPct = std::clamp(DATA / kAxisFull * kPercent, 0.0, kPercent);
    if (NAME == "ALL_LIGHTS_TOGGLE") OBJECT.lightStates ^= kLightAll;
    else if (NAME == "GEAR_SET") OBJECT.gearDown = on;
    else if (NAME == "GEAR_UP") OBJECT.gearDown = false;
    else if (NAME == "GEAR_DOWN") OBJECT.gearDown = true;
    else if (NAME == "GEAR_TOGGLE") OBJECT.gearDown = !OBJECT.gearDown;
    else if (NAME == "FLAPS_SET") OBJECT.flapsPct = axisPct;
    else if (NAME == "SPOILERS_SET") OBJECT.spoilersPct = axisPct;
    else if (NAME == "THROTTLE_SET") OBJECT.throttlePct.fill(axisPct);
    else if (NAME == "ENGINE_AUTO_START") OBJECT.enginesRunning = true;
    else if (NAME == "ENGINE_AUTO_SHUTDOWN") OBJECT.enginesRunning = false;
    else if (NAME == "FREEZE_LATITUDE_LONGITUDE_SET") OBJECT.freezeLatLon = on;
    else if (NAME == "FREEZE_ALTITUDE_SET") OBJECT.freezeAltitude = on;
    else if (NAME == "FREEZE_ATTITUDE_SET") OBJECT.freezeAttitude = on;
    else if (NAME == "FREEZE_LATITUDE_LONGITUDE_TOGGLE") OBJECT.freezeLatLon = !OBJECT.freezeLatLon;
    else if (NAME == "FREEZE_ALTITUDE_TOGGLE") OBJECT.freezeAltitude = !OBJECT.freezeAltitude;
    else if (NAME == "FREEZE_ATTITUDE_TOGGLE") OBJECT.freezeAttitude = !OBJECT.freezeAttitude;
    else return false;
    return true;
}

void gf_zulu(double UNIX_S, double& SECONDS_OF_DAY, int& DAY_OF_YEAR, int& YEAR)
{
    using namespace std::chrono;
    const double wholeDays = std::floor(UNIX_S / kSecondsPerDay);
    SECONDS_OF_DAY = UNIX_S - wholeDays * kSecondsPerDay;
    const sys_days date{days(static_cast<days::rep>(wholeDays))};
    const year_month_day civil(date);
    DAY_OF_YEAR = static_cast<int>((date - sys_days(civil.year() / January / 1)).count()) + 1;
    YEAR = static_cast<int>(civil.year());
}

SimObject* gf_findObject(World& WORLD, std::uint32_t ID)
{
    if (ID == 0 || ID == WORLD.user.id) return &WORLD.user;
    const auto it = WORLD.ai.find(ID);
    return it == WORLD.ai.end() ? nullptr : &it->second;
}

const SimObject* gf_findObject(const World& WORLD, std::uint32_t ID)
{
    return gf_findObject(const_cast<World&>(WORLD), ID);
}

} // namespace orv::simstandin
