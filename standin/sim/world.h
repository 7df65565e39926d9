// The stand-in simulator's world: the user aircraft, the AI objects, the
// simulator clock and the ground. Plain data with the few rules that act on
// it (motion of the user aircraft, client events, placing new objects).
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace orv::simstandin {

inline constexpr std::uint32_t kUserObjectId = 1;
/// AI objects get ids from here on, well clear of the user's.
inline constexpr std::uint32_t kFirstAiObjectId = 100;
inline constexpr std::size_t kDefaultMaxObjects = 1000;
/// Height of the user aircraft's reference point above the ground when parked.
inline constexpr double kUserStaticCgFt = 6.0;
/// A reference point this close above its parked height counts as on the ground.
inline constexpr double kOnGroundToleranceFt = 1.0;
/// The mean earth radius the program's own distances use.
inline constexpr double kEarthRadiusNm = 3437.746770784939;
inline constexpr double kMetersPerNm = 1852.0;

/// Bits of "LIGHT STATES".
enum LightBit : std::uint64_t {
    kLightNav = 0x1,
    kLightBeacon = 0x2,
    kLightLanding = 0x4,
    kLightTaxi = 0x8,
    kLightStrobe = 0x10,
    kLightPanel = 0x20,
    kLightRecognition = 0x40,
    kLightWing = 0x80,
    kLightLogo = 0x100,
    kLightCabin = 0x200,
    kLightAll = 0x3FF,
};

struct SimObject {
    std::uint32_t id = 0;
    bool isUser = false;
    std::string title;
    std::string atcModel;
    std::string atcId;       ///< the tail number the object was created with
    double latDeg = 0, lonDeg = 0;
    double altFt = 0;
    double pitchRad = 0, bankRad = 0, headingRad = 0;
    double vsFps = 0;        ///< vertical speed, feet per second
    double tasKt = 0;        ///< true airspeed
    double gsKt = 0;         ///< ground speed; moves the user aircraft
    double staticCgFt = 0;
    double staticPitchRad = 0;
    std::uint64_t lightStates = 0;
    bool gearDown = true;
    double flapsPct = 0, spoilersPct = 0;
    std::array<double, 4> throttlePct{};
    bool enginesRunning = false;
    bool released = false;
    bool freezeLatLon = false, freezeAltitude = false, freezeAttitude = false;
    std::string flightPlan;
    int owner = -1;          ///< the client session that made it
};

struct World {
    SimObject user;
    std::map<std::uint32_t, SimObject> ai; ///< ordered, so replies come in a stable order
    std::uint32_t nextObjectId = kFirstAiObjectId;
    double simUtc = 0;       ///< Unix seconds with fraction; runs while the flight runs
    bool running = true;     ///< false: paused, "Sim" reports 0, the clock stands
    double groundFt = 0;     ///< the ground's elevation everywhere
    std::size_t maxObjects = kDefaultMaxObjects;
    bool titlesGiven = false;
    std::set<std::string> titles; ///< installed liveries when given
};

/// Elevation of the ground under a position, feet.
double gf_groundFt(const World& WORLD, double LAT_DEG, double LON_DEG);
double gf_aglFt(const World& WORLD, const SimObject& OBJECT);
bool gf_onGround(const World& WORLD, const SimObject& OBJECT);

/// Great-circle distance in nautical miles.
double gf_distanceNm(double LAT1_DEG, double LON1_DEG, double LAT2_DEG, double LON2_DEG);
/// The point DIST_NM away on true course COURSE_RAD.
void gf_movePoint(double& LAT_DEG, double& LON_DEG, double COURSE_RAD, double DIST_NM);

/// Parked height and pitch of a livery, guessed from the type in its title.
void gf_staticShape(const std::string& TITLE, double& CG_FT, double& PITCH_RAD);

/// Puts the user aircraft at a position; no altitude means parked on the ground.
void gf_placeUser(World& WORLD, double LAT_DEG, double LON_DEG, const double* ALT_FT, double HEADING_RAD);
/// Advances the user aircraft by DT_S seconds of its ground speed, course and
/// vertical speed; it never sinks below its parked height.
void gf_moveUser(World& WORLD, double DT_S);

/// Applies a client event by its simulator name to OBJECT; false when the
/// name is one the stand-in does not act on (it is still recorded).
bool gf_applyClientEvent(SimObject& OBJECT, const std::string& NAME, std::uint32_t DATA);

/// Zulu time of day (s), day of year (1-based) and year of a Unix time.
void gf_zulu(double UNIX_S, double& SECONDS_OF_DAY, int& DAY_OF_YEAR, int& YEAR);

/// The object by id: 0 and kUserObjectId are the user; nullptr when unknown.
SimObject* gf_findObject(World& WORLD, std::uint32_t ID);
const SimObject* gf_findObject(const World& WORLD, std::uint32_t ID);

} // namespace orv::simstandin
