// Whole flights made by code for the scenario tests: a path driven in small
// steps (PathBuilder), its lines as the reader hands them over, the engine on
// a virtual clock with a small simulator (Harness), the test airport and the
// checks every flight must pass.
#pragma once

#include "core/flags.h"
#include "core/geometry.h"
#include "core/sim_messages.h"
#include "sim/sim_session.h"
#include "tests/traffic/harness.h"
#include "traffic/engine.h"
#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
#include <random>

namespace orv::test {


inline constexpr double elevationFt = 1400;
inline constexpr double a320HalfSpanNm = 17.0 / 1852.0;
inline constexpr std::int32_t largeClass = 2;
inline constexpr double standRadiusNm = 20.0 / 1852.0;
inline constexpr std::size_t searchWindow = 4000, searchBack = 400;
inline constexpr double farMetres = 50.0;
inline constexpr double knotsToMps = 1852.0 / 3600.0;
inline constexpr std::int32_t firstTick = 100000;

/// The state of the driven point at one moment.
struct PathState {
    double t = 0;               ///< seconds from the path's start
    double east = 0, north = 0; ///< metres from the airport's origin
    double noseDeg = 0;         ///< where the nose points
    double motionDeg = 0;       ///< where the point moves (the feed's track)
    double speedKt = 0;
    double altitudeFt = 0; ///< above sea level; the field elevation on the ground
    double verticalSpeedFpm = 0;
    bool airborne = false;
    bool straight = true;   ///< on a straight leg (not in a turn)
    bool reversing = false; ///< moving tail first
};

/// A recorded-shape flight made by code: a point driven in steps of 50 ms
/// that moves, turns, climbs and stops in the plane round the test airport.
class PathBuilder {
public:
    /// On the ground, or in the air when ALT_FT lies above the field.
    PathBuilder(double EAST, double NORTH, double NOSE_DEG, double ALT_FT = elevationFt, double SPEED_KT = 0)
    {
        states_.push_back({.east = EAST, .north = NORTH, .noseDeg = NOSE_DEG, .motionDeg = NOSE_DEG,
                           .speedKt = SPEED_KT, .altitudeFt = ALT_FT, .airborne = ALT_FT > elevationFt});
    }
    /// Stands still for SECONDS.
    PathBuilder& hold(double SECONDS)
    {
        PathState s = states_.back();
        s.speedKt = s.verticalSpeedFpm = 0;
        s.straight = true;
        for (double t = 0; t < SECONDS; t += stepSeconds) {
            s.t += stepSeconds;
            states_.push_back(s);
        }
        return *this;
    }
    /// Straight ahead over METRES; the speed changes evenly to SPEED_KT, the altitude to ALT_FT.
    PathBuilder& straight(double METRES, double SPEED_KT, double ALT_FT, bool AIR)
    {
        return move(METRES, 0, SPEED_KT, ALT_FT, AIR, false);
    }
    /// An arc of DEGREES (positive to the right) with RADIUS_M.
    PathBuilder& turn(double DEGREES, double RADIUS_M, double SPEED_KT, double ALT_FT, bool AIR)
    {
        return move(std::fabs(DEGREES) * degToRad * RADIUS_M, DEGREES, SPEED_KT, ALT_FT, AIR, false);
    }
    /// Tail first (a push back): straight over METRES, then round an arc
    /// that turns the nose by DEGREES (positive to the right).
    PathBuilder& back(double METRES, double DEGREES, double RADIUS_M, double SPEED_KT)
    {
        move(METRES, 0, SPEED_KT, elevationFt, false, true);
        return move(std::fabs(DEGREES) * degToRad * RADIUS_M, DEGREES, SPEED_KT, elevationFt, false, true);
    }
    const std::vector<PathState>& states() const { return states_; }

private:
    static constexpr double stepSeconds = 0.05;
    static constexpr double minDriveKt = 0.5; ///< a point starting from rest still gets going
    PathBuilder& move(double METRES, double TURN_DEG, double SPEED_KT, double ALT_FT, bool AIR, bool REVERSE)
    {
        const PathState start = states_.back();
        PathState s = start;
        const double v0 = start.speedKt, v1 = SPEED_KT;
        for (double done = 0; done < METRES;) {
            // The square of the speed changes evenly with the distance: an even acceleration.
            const double share = done / METRES;
            const double v = std::max(std::sqrt(std::max(v0 * v0 + (v1 * v1 - v0 * v0) * share, 0.0)), minDriveKt);
            const double step = std::min(v * knotsToMps * stepSeconds, METRES - done);
            const double dt = step / (v * knotsToMps);
            done += step;
            const double heading = start.noseDeg + TURN_DEG * (done / METRES);
            const double motion = REVERSE ? heading + 180.0 : heading;
            s.east += step * std::sin(motion * degToRad);
            s.north += step * std::cos(motion * degToRad);
            const double alt = start.altitudeFt + (ALT_FT - start.altitudeFt) * (done / METRES);
            s.verticalSpeedFpm = (alt - s.altitudeFt) / dt * 60.0;
            s.altitudeFt = alt;
            s.noseDeg = std::fmod(heading + 360.0, 360.0);
            s.motionDeg = std::fmod(motion + 360.0, 360.0);
            s.speedKt = v;
            s.airborne = AIR;
            s.straight = TURN_DEG == 0;
            s.reversing = REVERSE;
            s.t += dt;
            states_.push_back(s);
        }
        states_.back().speedKt = v1;
        return *this;
    }
    std::vector<PathState> states_;
};

/// A line of the feed with the tick at which the reader hands it over.
struct FeedLine {
    TrafficLine line;
    std::int32_t handOverTick = 0;
};

/// Samples PATH at irregular intervals from START_TICK on; each point is due
/// 30 seconds after its hand-over, as the reader's time model gives it.
inline std::vector<FeedLine> lf_sampleFlight(const std::vector<PathState>& PATH, const TrafficLine& IDENTITY,
                                      std::int32_t START_TICK, unsigned SEED)
{
    constexpr double epochBase = 1.7e9;
    constexpr std::int32_t aheadTicks = 3000;
    std::mt19937 random(SEED);
    std::uniform_real_distribution<double> interval(1.5, 6.0);
    std::vector<FeedLine> lines;
    std::size_t k = 0;
    for (double t = 0; t <= PATH.back().t; t += interval(random)) {
        while (k + 1 < PATH.size() && PATH[k + 1].t <= t) ++k;
        const PathState& s = PATH[k];
        FeedLine f;
        f.line = IDENTITY;
        f.line.timestamp = epochBase + s.t;
        TrackPoint& p = f.line.point;
        const LatLon pos = gf_testPosition(s.east, s.north);
        p.lat = pos.lat;
        p.lon = pos.lon;
        p.altitude = s.airborne ? s.altitudeFt : 0;
        p.airborne = s.airborne;
        p.groundSpeed = p.airspeed = s.speedKt;
        p.track = s.motionDeg;
        p.verticalSpeed = s.airborne ? s.verticalSpeedFpm : 0;
        p.heading = s.noseDeg * degToRad;
        p.headingValid = true;
        const std::int32_t offset = static_cast<std::int32_t>(std::llround(s.t * 100.0));
        p.dueTick = START_TICK + aheadTicks + offset;
        f.handOverTick = START_TICK + offset;
        lines.push_back(f);
    }
    return lines;
}

/// What one pass showed of one aircraft.
struct Sample {
    std::int32_t tick = 0;
    double lat = 0, lon = 0, altitude = 0, heading = 0;
    Phase phase = Phase::unset;
    ActState state = ActState::waiting;
    bool onGround = false, takeoffRoll = false, landing = false, rollout = false;
    std::int32_t flareStage = 0, predictedPoints = 0;
};

/// The engine on a virtual clock. Lines go in at the pass their reader would
/// hand them over, the engine's own creation makes the objects, a small
/// simulator answers their requests and reports the ground under each
/// aircraft, and every pass is recorded. Nothing sleeps.
class Harness {
public:
    Harness()
    {
        gf_resetEngine(firstTick);
        for (TestStand& s : testAirport.stands) s.occupied = false;
    }
    ~Harness() { lf_clearEngine(); }
    /// An A320 flight made from LINES.
    void add(const std::vector<FeedLine>& LINES)
    {
        pending_.insert(pending_.end(), LINES.begin(), LINES.end());
        std::stable_sort(pending_.begin() + static_cast<std::ptrdiff_t>(nextLine_), pending_.end(),
                         [](const FeedLine& A, const FeedLine& B) { return A.handOverTick < B.handOverTick; });
    }
    /// Runs until the last line is handed over and then TAIL_TICKS more.
    void runAll(std::int32_t TAIL_TICKS)
    {
        const std::int32_t last = pending_.empty() ? engineTick.load() : pending_.back().handOverTick;
        for (std::int32_t i = std::max(last - engineTick.load(), 0) + TAIL_TICKS; i > 0; --i) {
            handOver();
            groundReports();
            lf_engineTick();
            simulator();
            for (const act& r : liveList)
                if (r.state != ActState::waiting && r.state != ActState::creating)
                    samples_[r.hexid].push_back({engineTick, r.lat, r.lon, r.altitude, r.heading, r.phase, r.state,
                                                 r.onGround, r.takeoffRoll, r.landing, r.rollout, r.flareStage,
                                                 r.predictedPoints});
        }
    }
    const std::vector<Sample>& samples(std::uint32_t HEXID) { return samples_[HEXID]; }
    /// The engine let the record go.
    bool removed(std::uint32_t HEXID)
    {
        return !samples_[HEXID].empty() && samples_[HEXID].back().state == ActState::removing;
    }

private:
    static constexpr std::int32_t reportEveryTicks = 20; ///< the by-type request's period
    static constexpr double reportsUpToAglFt = 2500.0, wheelsTouchFt = 0.5;

    void handOver()
    {
        while (nextLine_ < pending_.size() && pending_[nextLine_].handOverTick <= engineTick) {
            const TrafficLine& line = pending_[nextLine_++].line;
            if (gf_findAct(line.hexid) == nullptr && !removed(line.hexid)) {
                // A new record, as lf_newFromLine makes it; its livery is taken as
                // matched, the engine's own creation does the rest.
                gf_testRecord(line, largeClass, a320HalfSpanNm).livery = "Test " + line.icaoType;
                continue;
            }
            std::lock_guard lock(linesLock);
            incomingLines.push_back(line);
        }
    }
    void groundReports()
    {
        if (engineTick % reportEveryTicks != 0) return;
        for (const act& r : liveList) {
            const double agl = r.altitude - testAirport.elevationFt;
            if (r.objectId == 0 || agl > reportsUpToAglFt) continue;
            const std::uint32_t onGround = agl <= r.staticCg + wheelsTouchFt ? 1 : 0;
            gf_postMessage({r.objectId, onGround, MessageKind::groundData, testAirport.elevationFt, agl});
        }
    }
    void simulator()
    {
        std::vector<CreateRequest> requests;
        {
            std::lock_guard lock(simLock);
            requests.swap(createList);
            removeList.clear();
            eventQueue.clear();
        }
        // Each request becomes an object with the test's static values.
        for (const CreateRequest& q : requests) {
            const std::uint32_t id = nextObjectId_++;
            gf_postMessage({id, q.id, MessageKind::liveCreated, 0, q.altitudeFt - testAirport.elevationFt});
            gf_postMessage({id, 0, MessageKind::staticData, testStaticCgFt, testStaticPitchDeg * degToRad});
        }
        // The removal report: the record leaves with it.
        for (const act& r : liveList)
            if (r.state == ActState::removing) gf_postMessage({r.objectId, 0, MessageKind::removed, 0, 0});
    }

    std::vector<FeedLine> pending_;
    std::size_t nextLine_ = 0;
    std::map<std::uint32_t, std::vector<Sample>> samples_;
    std::uint32_t nextObjectId_ = 100;
};

/// Where a displayed position lies against the path.
struct PathMatch {
    double offMetres = 0;  ///< cross-track distance to the nearest segment of the path
    std::size_t index = 0; ///< the path state at the start of that segment
};

inline double lf_segmentDistance(double PX, double PY, const PathState& A, const PathState& B)
{
    const double dx = B.east - A.east, dy = B.north - A.north;
    const double len2 = dx * dx + dy * dy;
    double u = len2 > 0 ? ((PX - A.east) * dx + (PY - A.north) * dy) / len2 : 0;
    u = std::clamp(u, 0.0, 1.0);
    return std::hypot(PX - (A.east + u * dx), PY - (A.north + u * dy));
}

inline PathMatch lf_search(const std::vector<PathState>& PATH, double PX, double PY, std::size_t FROM, std::size_t TO)
{
    PathMatch best{1e18, FROM};
    for (std::size_t i = FROM; i + 1 < TO; ++i) {
        // Skip segments that cannot be near: a cheap box test first.
        const PathState& a = PATH[i];
        if (std::fabs(a.east - PX) > best.offMetres + 500 || std::fabs(a.north - PY) > best.offMetres + 500) continue;
        const double d = lf_segmentDistance(PX, PY, a, PATH[i + 1]);
        if (d < best.offMetres) best = {d, i};
    }
    return best;
}
/// Finds the nearest segment of PATH, searching round HINT first (the
/// display moves along the path); falls back to the whole path when far.
inline PathMatch lf_matchPath(const std::vector<PathState>& PATH, const LatLon& POS, std::size_t HINT)
{
    const PlaneXY xy = gf_testPlane(POS);
    const double px = xy.east, py = xy.north;
    const std::size_t from = HINT > searchBack ? HINT - searchBack : 0;
    const std::size_t to = std::min(PATH.size(), HINT + searchWindow);
    PathMatch m = lf_search(PATH, px, py, from, to);
    if (m.offMetres > farMetres) m = lf_search(PATH, px, py, 0, PATH.size());
    return m;
}

/// Seconds of path time from state INDEX to the nearest change between straight and turning.
inline double lf_secondsFromTurn(const std::vector<PathState>& PATH, std::size_t INDEX)
{
    const bool here = PATH[INDEX].straight;
    double best = 1e18;
    for (std::size_t i = INDEX; i < PATH.size(); ++i)
        if (PATH[i].straight != here) {
            best = PATH[i].t - PATH[INDEX].t;
            break;
        }
    for (std::size_t i = INDEX; i-- > 0;)
        if (PATH[i].straight != here) {
            best = std::min(best, PATH[INDEX].t - PATH[i].t);
            break;
        }
    return here ? best : 0;
}

/// The highest speed of the path within SECONDS of state INDEX, knots.
inline double lf_localSpeed(const std::vector<PathState>& PATH, std::size_t INDEX, double SECONDS)
{
    double best = PATH[INDEX].speedKt;
    for (std::size_t i = INDEX; i < PATH.size() && PATH[i].t - PATH[INDEX].t <= SECONDS; ++i)
        best = std::max(best, PATH[i].speedKt);
    for (std::size_t i = INDEX; i-- > 0 && PATH[INDEX].t - PATH[i].t <= SECONDS;)
        best = std::max(best, PATH[i].speedKt);
    return best;
}

/// The phases in the order they came, repeats folded.
inline std::string lf_phases(const std::vector<Sample>& SAMPLES)
{
    static const char* const names[] = {"pushBack", "pushedBack", "moving",  "takingOff",
                                        "flying",   "taxiToStand", "atStand", "unset"};
    std::string text;
    for (std::size_t i = 0; i < SAMPLES.size(); ++i)
        if (i == 0 || SAMPLES[i].phase != SAMPLES[i - 1].phase)
            text += std::string(text.empty() ? "" : " ") + names[static_cast<int>(SAMPLES[i].phase)];
    return text;
}

inline double lf_metresBetween(const Sample& A, const Sample& B)
{
    return gf_distance(A.lat, A.lon, B.lat, B.lon) * metresPerNm;
}

/// Three stands north of an east-west runway whose centre line lies 600 m
/// south: A1 and B7 face north, C3 faces south towards the taxiway.
inline void lf_setUpAirport()
{
    testAirport = {};
    testAirport.pos = gf_testPosition(0, 0);
    testAirport.elevationFt = elevationFt;
    testAirport.stands = {{1, "A1", gf_testPosition(0, 0), 0.0, standRadiusNm, false, false},
                          {2, "B7", gf_testPosition(1400, 0), 0.0, standRadiusNm, false, false},
                          {3, "C3", gf_testPosition(-300, 0), pi, standRadiusNm, false, false}};
}

/// From the runway's west end: the roll along the runway, the turn off north and the taxi to B7.
inline void lf_landAndTaxiToB7(PathBuilder& P)
{
    const double e = elevationFt;
    P.straight(7000, 140, e + 30, true).straight(300, 135, e, true);
    P.straight(1500, 20, e, false).turn(-90, 60, 15, e, false).straight(500, 15, e, false);
    P.straight(40, 0.5, e, false).hold(300);
}

/// Stand A1 to stand B7 by a circuit: push back with the nose turning west,
/// taxi to the runway's west end, take off east, climb to 11500 ft, turn
/// back, descend, turn onto final and land east, turn off north to B7.
inline std::vector<PathState> lf_circuit()
{
    const double e = elevationFt;
    PathBuilder p(0, 0, 0);
    p.hold(90).back(30, -90, 15, 3).hold(40);
    p.straight(775, 15, e, false).turn(-90, 50, 12, e, false).straight(455, 15, e, false);
    p.turn(-90, 50, 10, e, false).hold(20);
    p.straight(1500, 150, e, false).straight(3000, 165, e + 1000, true).straight(25000, 250, 11500, true);
    p.straight(5000, 250, 11500, true).turn(-180, 4000, 250, 11500, true);
    p.straight(30000, 180, 3000, true).straight(11200, 180, 3000, true);
    p.turn(-180, 4000, 160, 2600, true);
    lf_landAndTaxiToB7(p);
    return p.states();
}

/// An arrival first seen on a long final.
inline std::vector<PathState> lf_arrival()
{
    PathBuilder p(-7460, -600, 90, elevationFt + 1200, 140);
    lf_landAndTaxiToB7(p);
    return p.states();
}

/// From C3, nose first out of the stand, to the runway and away to the east
/// until the data stops at 3400 ft.
inline std::vector<PathState> lf_pullOutDeparture()
{
    const double e = elevationFt;
    PathBuilder p(-300, 0, 180);
    p.hold(60).straight(60, 8, e, false).turn(90, 40, 10, e, false).straight(370, 15, e, false);
    p.turn(-90, 50, 12, e, false).straight(410, 15, e, false).turn(-90, 50, 10, e, false).hold(10);
    p.straight(1500, 150, e, false).straight(6000, 170, e + 2000, true);
    return p.states();
}

/// The checks that every flight must pass.
inline void lf_checkFlight(Harness& HARNESS, std::uint32_t HEXID, const std::vector<PathState>& PATH)
{
    const std::vector<Sample>& samples = HARNESS.samples(HEXID);
    ASSERT_FALSE(samples.empty());
    // On the data's path on straight legs. The push back and the roll onto a
    // stand are the engine's own; after a push the first leg joins the path.
    std::size_t hint = 0, checked = 0;
    double worstGround = 0, worstAir = 0;
    bool onData = true;
    for (std::size_t i = 0; i < samples.size(); i += 5) {
        const Sample& s = samples[i];
        // What prediction makes of a track that has run out isn't the data's.
        if (s.state != ActState::active || s.predictedPoints != 0) continue;
        const PathMatch m = lf_matchPath(PATH, {s.lat, s.lon}, hint);
        hint = m.index;
        if (s.phase == Phase::pushBack || s.phase == Phase::pushedBack || s.phase == Phase::taxiToStand) {
            onData = false;
            continue;
        }
        onData = onData || m.offMetres < 1.0;
        if (!onData || PATH[m.index].reversing || lf_secondsFromTurn(PATH, m.index) < 10.0) continue;
        ++checked;
        (s.onGround ? worstGround : worstAir) = std::max(s.onGround ? worstGround : worstAir, m.offMetres);
    }
    EXPECT_GT(checked, samples.size() / 20);
    EXPECT_LE(worstGround, 3.0);
    EXPECT_LE(worstAir, 5.0);

    // No step between two passes larger than twice the speed of the data round it.
    const double pushKt = 4.0;
    hint = 0;
    double speedKt = pushKt;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        if (i % 10 == 1) { // the data's speed changes slowly: look it up every tenth pass
            const PathMatch m = lf_matchPath(PATH, {samples[i].lat, samples[i].lon}, hint);
            hint = m.index;
            speedKt = std::max(lf_localSpeed(PATH, m.index, 15.0), pushKt);
        }
        const double allowed = 2.0 * speedKt * metresPerNm / 3600.0 / 100.0 + 0.02;
        ASSERT_LE(lf_metresBetween(samples[i - 1], samples[i]), allowed) << "pass " << samples[i].tick;
    }

    // On the wheels the heading turns smoothly and never flips; the nose
    // points where the aircraft goes, the tail in a push back.
    for (std::size_t i = 1; i < samples.size(); ++i) {
        if (!samples[i].onGround || !samples[i - 1].onGround) continue;
        const double turnDeg = std::fabs(gf_angleDiff(samples[i].heading, samples[i - 1].heading)) * radToDeg;
        ASSERT_LE(turnDeg, 1.0) << "pass " << samples[i].tick;
    }
    for (std::size_t i = 400; i < samples.size(); i += 50) {
        const bool push = samples[i].phase == Phase::pushBack;
        const Sample& a = samples[i - (push ? 400 : 100)]; // a push is slow
        const Sample& b = samples[i];
        if (!a.onGround || !b.onGround || lf_metresBetween(a, b) < 5.0) continue;
        if ((a.phase == Phase::pushBack) != push) continue;
        const double offDeg = std::fabs(gf_angleDiff(gf_bearing(a.lat, a.lon, b.lat, b.lon), b.heading)) * radToDeg;
        EXPECT_LE(push ? 180.0 - offDeg : offDeg, 100.0) << "pass " << b.tick;
    }

    for (const Sample& s : samples) ASSERT_GE(s.altitude, elevationFt) << "below the ground at pass " << s.tick;
}

inline void lf_checkParkedAt(std::uint32_t HEXID, const TestStand& STAND)
{
    const act* r = gf_findAct(HEXID);
    ASSERT_NE(r, nullptr) << "the aircraft was removed";
    EXPECT_EQ(r->phase, Phase::atStand);
    EXPECT_EQ(r->standId, STAND.id);
    EXPECT_LE(gf_distance(r->lat, r->lon, STAND.pos.lat, STAND.pos.lon) * metresPerNm, 2.0);
    EXPECT_TRUE(r->onGround);
    EXPECT_NEAR(r->altitude, elevationFt + testStaticCgFt, 0.01);
    EXPECT_EQ(r->throttleSetting, 0);
    EXPECT_EQ(r->flapsSetting, 0);
}

/// A flight of the test: who it is and how its lines are sampled.
struct Flight {
    std::uint32_t hexid;
    const char* callsign;
    unsigned seed;
};
inline constexpr Flight circuitFlight{0x4B1234, "SWR123", 7}, arrivalFlight{0x3C4455, "DLH4AB", 11},
                 departureFlight{0x440012, "EZY77K", 3};
inline constexpr const char* arrivalPhases = "flying moving taxiToStand atStand";
inline constexpr const char* departurePhases = "atStand moving takingOff flying";

class Scenario : public ::testing::Test {
protected:
    void SetUp() override { lf_setUpAirport(); }
    /// Adds FLIGHT made from PATH, its lines starting AFTER ticks into the run.
    void fly(const Flight& FLIGHT, const std::vector<PathState>& PATH, std::int32_t AFTER = 0)
    {
        const TrafficLine identity = gf_testIdentity(FLIGHT.hexid, FLIGHT.callsign);
        harness.add(lf_sampleFlight(PATH, identity, firstTick + AFTER, FLIGHT.seed));
    }
    std::string phases(const Flight& FLIGHT) { return lf_phases(harness.samples(FLIGHT.hexid)); }
    Harness harness;
};

} // namespace orv::test
