// The record of one live aircraft (`act`), its lists and queues, and the
// class tables that set its class-dependent fields.
//
// Every record, list and queue here belongs to the main thread; the readers
// reach it through incomingLines (linesLock), the dispatch through
// gf_postMessage (messageLock), and afterCreate is guarded by messageLock.
#pragma once

#include "core/day_half.h"
#include "core/sim_messages.h"
#include "feed/traffic_line.h"
#include "sim/sim_link.h"
#include "traffic/feed_evidence.h"
#include "traffic/track_queue.h"

#include <cmath>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace orv {

enum class ActState : std::int32_t { waiting = 0, creating = 1, active = 2, recreating = 3, removing = 4 };
enum class Phase : std::int32_t {
    pushBack = 0, pushedBack = 1, moving = 2, takingOff = 3, flying = 4, taxiToStand = 5, atStand = 6, unset = 7
};

/// The first block, shared with the static parked record, so that identity,
/// stand and removal work on both.
struct ActCore {
    std::string airline; ///< ICAO airline code, "PVT" for a private aircraft
    std::string icaoType;
    std::string origin;
    std::string destination;
    std::string callsign; ///< a trailing "_" marks a ghost
    std::string coupledCallsign1;
    std::string coupledCallsign2;
    std::string regcode;
    bool coupledSearchDone = false;
    std::int32_t classId = 0; ///< 0 light, 1..3 by size, 4 high performance, 5 helicopter
    double wingspan = 0;      ///< half the wing span, nautical miles
    double staticCg = 0;      ///< feet: reference point above the ground when parked
    double staticPitch = 0;   ///< radians
    double rotatePitch = 0;   ///< radians, negative nose up
    double climbPitch = 0;    ///< radians
    double turnRate = 0;      ///< radians per tick, nominal on the ground
    double turnRateNow = 0;   ///< radians per tick, running
    double maxAltRate = 0;    ///< feet per tick
    double pushSpeed = 0;     ///< knots
    std::string livery;       ///< the livery title; empty until matched
    std::int32_t matchStep = 0; ///< the matching step that chose it; 0 none yet, -1 kept from earlier in the run
    std::uint32_t hexid = 0;
    std::int32_t flareTicks = 0, touchdownTicks = 0, rotateTicks = 0, climbTicks = 0;
    bool cargo = false;
    bool reverser = false;
    std::uint32_t objectId = 0; ///< the simulator's object; 0 until created
    LatLon standPos;
    double standHeading = 0; ///< radians
    DayHalf standSince;
    std::int32_t standId = 0; ///< 0 for no stand
    ActState state = ActState::waiting;
    std::int32_t throttleSetting = 5; ///< index 0..4, 5 = none sent yet
    std::int32_t flapsSetting = 4;    ///< index 0..4
    bool standCargo = false;
    bool removeWhenCreated = false;
    bool eraseNow = false; ///< the record goes at the end of this tick
};

/// A quadratic Bézier curve of a ground leg in metres east and north of its origin.
struct Curve {
    LatLon origin;
    double controlEast = std::numeric_limits<double>::quiet_NaN(); ///< NaN: no curve
    double controlNorth = std::numeric_limits<double>::quiet_NaN();
    double endEast = std::numeric_limits<double>::quiet_NaN();
    double endNorth = std::numeric_limits<double>::quiet_NaN();
};

struct act : ActCore {
    double lat = 0, lon = 0;                  ///< degrees, the displayed position
    double pitch = 0, bank = 0, heading = 0;  ///< radians; negative pitch is nose up
    double altitude = 0;                      ///< feet
    double verticalSpeedFps = 0;              ///< feet per second, sent to the simulator
    double speedOut = 0;                      ///< knots, sent to the simulator
    TrackQueue track;                         ///< front: just been; next: going; at most 200
    double lastTimestamp = 0;                 ///< timestamp of the last accepted line
    LatLon lastCheckedPos;
    double atStandSince = 0;                  ///< clock time, seconds
    std::int32_t predictedPoints = 0;         ///< 0 normal, > 0 still to come, -1 finished
    std::int32_t holdStartTick = 0;
    Phase phase = Phase::unset, previousPhase = Phase::unset;
    bool standSeen = false, onGround = false, hasFlightPlanFile = false, madeWay = false;
    bool recreated = false, holding = false;
    double latStep = 0, lonStep = 0, pitchStep = 0, bankStep = 0, headingStep = 0, altStep = 0; ///< per tick
    double verticalSpeedFpm = 0, speedSigned = 0; ///< speedSigned < 0 in a push back
    Curve curve;
    double curveT = 0, curveDt = 0, curveAngle = 0;
    TrackPoint pushEndPoint;
    LatLon lastSearchPos;
    std::int32_t slackBehind = 1000, slackAhead = 1000; ///< ticks
    std::int32_t pushStage = 0;
    std::int32_t slots = 1; ///< running count of ticks in rotation and rollout
    std::int32_t awayCount = 0;
    double targetHeading = 0; ///< radians
    double agl = 2500;        ///< feet above the ground
    double heightAboveField = 0;
    double touchHeading = 0;
    double pullOutDistance = 0;
    double standFirstDistance = 0, standLastDistance = 0;
    double turnAngle = 0; ///< degrees
    std::optional<double> headingOverride; ///< radians
    bool pushTurnRight = false, pushTurnKnown = false;
    std::optional<double> fieldElevation; ///< feet
    std::int32_t flareStage = 0;
    bool landing = false, justLanded = false, towed = false, climbConfigSet = false, takeoffRoll = false;
    bool highLights = false, lowLights = false, noseLowering = false, rollout = false, standLeft = false;
    bool turning = false;
    FeedEvidence evidence; ///< what the feed showed beyond the track

    /// Every change of phase keeps the old one.
    void setPhase(Phase NEW_PHASE)
    {
        previousPhase = phase;
        phase = NEW_PHASE;
    }
};

/// The class-dependent fields of a record, by classId. Turn rates are in
/// degrees per tick here and converted to radians once, where the record is made.
struct ClassTraits {
    std::int32_t flareTicks, touchdownTicks, rotateTicks, climbTicks;
    double rotatePitchDeg, climbPitchDeg, turnRateDegPerTick, maxAltRate, pushSpeed;
};
inline constexpr ClassTraits classTable[6] = {
    {250, 250, 100, 200, -9, -15, 0.15, 0.5, 5},
    {300, 300, 200, 250, -8, -18, 0.10, 0.75, 4.5},
    {400, 350, 200, 300, -6, -16.5, 0.07, 0.6, 4},
    {450, 450, 250, 400, -5, -12.5, 0.05, 0.5, 3},
    {150, 150, 100, 200, -6, -20, 0.10, 1.0, 4.5},
    {100, 100, 100, 100, -20, -30, 0.20, 0.75, 5},
};

/// An object just created, counted up once per pass until it settles.
struct AfterCreateEntry {
    SimMessage message;
    std::int32_t count = 0;
};

inline constexpr size_t maxTrackPoints = 200;

/// MAX_LIVE copied at each start-up; the working limit of live aircraft (-1: none).
extern std::int32_t maxLive;
extern std::vector<act> liveList;
extern std::vector<std::uint32_t> pendingCreates;
extern std::deque<std::uint32_t> removeQueue;
extern std::vector<AfterCreateEntry> afterCreate; ///< guarded by messageLock
extern std::deque<std::uint32_t> newHexids;
extern std::vector<std::string> ghostCallsigns;

} // namespace orv
