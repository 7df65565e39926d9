// Whole flights on the virtual clock: from a stand through push back or pull
// out, taxi, take-off, climb, cruise, approach, flare, touchdown, rollout and
// taxi in to another stand, checked against the paths they were made from.
#include "tests/traffic/harness.h"
#include "traffic/engine.h"
#include "core/geometry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace orv::test {
namespace {

constexpr double elevationFt = 1400;
constexpr double a320HalfSpanNm = 17.0 / 1852.0;
constexpr std::int32_t largeClass = 2;
constexpr double standRadiusNm = 20.0 / 1852.0;
constexpr std::size_t searchWindow = 4000, searchBack = 400;
constexpr double farMetres = 50.0;

/// Where a displayed position lies against the path.
struct PathMatch {
    double offMetres = 0;  ///< cross-track distance to the nearest segment of the path
    std::size_t index = 0; ///< the path state at the start of that segment
};

double lf_segmentDistance(double PX, double PY, const PathState& A, const PathState& B)
{
    const double dx = B.east - A.east, dy = B.north - A.north;
    const double len2 = dx * dx + dy * dy;
    double u = len2 > 0 ? ((PX - A.east) * dx + (PY - A.north) * dy) / len2 : 0;
    u = std::clamp(u, 0.0, 1.0);
    return std::hypot(PX - (A.east + u * dx), PY - (A.north + u * dy));
}

PathMatch lf_search(const std::vector<PathState>& PATH, double PX, double PY, std::size_t FROM, std::size_t TO)
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
PathMatch lf_matchPath(const std::vector<PathState>& PATH, const LatLon& POS, std::size_t HINT)
{
    double px = 0, py = 0;
    gf_testPlane(POS, px, py);
    const std::size_t from = HINT > searchBack ? HINT - searchBack : 0;
    const std::size_t to = std::min(PATH.size(), HINT + searchWindow);
    PathMatch m = lf_search(PATH, px, py, from, to);
    if (m.offMetres > farMetres) m = lf_search(PATH, px, py, 0, PATH.size());
    return m;
}

/// Seconds of path time from state INDEX to the nearest change between straight and turning.
double lf_secondsFromTurn(const std::vector<PathState>& PATH, std::size_t INDEX)
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
double lf_localSpeed(const std::vector<PathState>& PATH, std::size_t INDEX, double SECONDS)
{
    double best = PATH[INDEX].speedKt;
    for (std::size_t i = INDEX; i < PATH.size() && PATH[i].t - PATH[INDEX].t <= SECONDS; ++i)
        best = std::max(best, PATH[i].speedKt);
    for (std::size_t i = INDEX; i-- > 0 && PATH[INDEX].t - PATH[i].t <= SECONDS;)
        best = std::max(best, PATH[i].speedKt);
    return best;
}

/// The phases in the order they came, repeats folded.
std::string lf_phases(const std::vector<Sample>& SAMPLES)
{
    static const char* const names[] = {"pushBack", "pushedBack", "moving",  "takingOff",
                                        "flying",   "taxiToStand", "atStand", "unset"};
    std::string text;
    for (std::size_t i = 0; i < SAMPLES.size(); ++i)
        if (i == 0 || SAMPLES[i].phase != SAMPLES[i - 1].phase)
            text += std::string(text.empty() ? "" : " ") + names[static_cast<int>(SAMPLES[i].phase)];
    return text;
}

double lf_metresBetween(const Sample& A, const Sample& B)
{
    return gf_distance(A.lat, A.lon, B.lat, B.lon) * metresPerNm;
}

/// Three stands north of an east-west runway whose centre line lies 600 m
/// south: A1 and B7 face north, C3 faces south towards the taxiway.
void lf_setUpAirport()
{
    testAirport = {};
    testAirport.pos = gf_testPosition(0, 0);
    testAirport.elevationFt = elevationFt;
    testAirport.stands = {{1, "A1", gf_testPosition(0, 0), 0.0, standRadiusNm, false, false},
                          {2, "B7", gf_testPosition(1400, 0), 0.0, standRadiusNm, false, false},
                          {3, "C3", gf_testPosition(-300, 0), pi, standRadiusNm, false, false}};
}

/// From the runway's west end: the roll along the runway, the turn off north and the taxi to B7.
void lf_landAndTaxiToB7(PathBuilder& P)
{
    const double e = elevationFt;
    P.straight(7000, 140, e + 30, true).straight(300, 135, e, true);
    P.straight(1500, 20, e, false).turn(-90, 60, 15, e, false).straight(500, 15, e, false);
    P.straight(40, 0.5, e, false).hold(300);
}

/// Stand A1 to stand B7 by a circuit: push back with the nose turning west,
/// taxi to the runway's west end, take off east, climb to 11500 ft, turn
/// back, descend, turn onto final and land east, turn off north to B7.
std::vector<PathState> lf_circuit()
{
    const double e = elevationFt;
    PathBuilder p(e, 0, 0, 0);
    p.hold(90).back(30, 3).backTurn(-90, 15, 3).hold(40);
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
std::vector<PathState> lf_arrival()
{
    PathBuilder p(elevationFt, -7460, -600, 90, elevationFt + 1200, 140);
    lf_landAndTaxiToB7(p);
    return p.states();
}

/// From C3, nose first out of the stand, to the runway and away to the east
/// until the data stops at 3400 ft.
std::vector<PathState> lf_pullOutDeparture()
{
    const double e = elevationFt;
    PathBuilder p(e, -300, 0, 180);
    p.hold(60).straight(60, 8, e, false).turn(90, 40, 10, e, false).straight(370, 15, e, false);
    p.turn(-90, 50, 12, e, false).straight(410, 15, e, false).turn(-90, 50, 10, e, false).hold(10);
    p.straight(1500, 150, e, false).straight(6000, 170, e + 2000, true);
    return p.states();
}

/// The checks that every flight must pass.
void lf_checkFlight(Harness& HARNESS, std::uint32_t HEXID, const std::vector<PathState>& PATH)
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
    // points where the aircraft goes, except in a push back.
    for (std::size_t i = 1; i < samples.size(); ++i) {
        if (!samples[i].onGround || !samples[i - 1].onGround) continue;
        const double turnDeg = std::fabs(gf_angleDiff(samples[i].heading, samples[i - 1].heading)) * radToDeg;
        ASSERT_LE(turnDeg, 1.0) << "pass " << samples[i].tick;
    }
    for (std::size_t i = 100; i < samples.size(); i += 50) {
        const Sample& a = samples[i - 100];
        const Sample& b = samples[i];
        if (!a.onGround || !b.onGround || lf_metresBetween(a, b) < 5.0) continue;
        if (a.phase == Phase::pushBack || b.phase == Phase::pushBack) continue;
        const double motion = gf_bearing(a.lat, a.lon, b.lat, b.lon);
        EXPECT_LE(std::fabs(gf_angleDiff(motion, b.heading)) * radToDeg, 100.0) << "pass " << b.tick;
    }

    for (const Sample& s : samples) ASSERT_GE(s.altitude, elevationFt) << "below the ground at pass " << s.tick;
}

void lf_checkParkedAt(Harness& HARNESS, std::uint32_t HEXID, const TestStand& STAND)
{
    const act* r = HARNESS.record(HEXID);
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
constexpr Flight circuitFlight{0x4B1234, "SWR123", 7}, arrivalFlight{0x3C4455, "DLH4AB", 11},
                 departureFlight{0x440012, "EZY77K", 3};
constexpr const char* arrivalPhases = "flying moving taxiToStand atStand";
constexpr const char* departurePhases = "atStand moving takingOff flying";

class Scenario : public ::testing::Test {
protected:
    void SetUp() override { lf_setUpAirport(); }
    /// Adds FLIGHT made from PATH, its lines starting AFTER ticks into the run.
    void fly(const Flight& FLIGHT, const std::vector<PathState>& PATH, std::int32_t AFTER = 0)
    {
        harness.add(gf_sampleFlight(PATH, gf_testIdentity(FLIGHT.hexid, FLIGHT.callsign), harness.startTick() + AFTER,
                                    FLIGHT.seed),
                    largeClass, a320HalfSpanNm);
    }
    std::string phases(const Flight& FLIGHT) { return lf_phases(harness.samples(FLIGHT.hexid)); }
    Harness harness;
};

class Circuit : public Scenario {
protected:
    void SetUp() override
    {
        Scenario::SetUp();
        fly(circuitFlight, path);
        harness.runAll(6000);
    }
    const std::vector<PathState> path = lf_circuit();
};

TEST_F(Circuit, GoesThroughEveryPhaseInOrder)
{
    EXPECT_EQ(phases(circuitFlight), "atStand pushBack pushedBack moving takingOff flying moving taxiToStand atStand");
}

TEST_F(Circuit, EndsParkedOnItsStand) { lf_checkParkedAt(harness, circuitFlight.hexid, testAirport.stands[1]); }

TEST_F(Circuit, TakesOffClimbsAboveTenThousandLandsAndRollsOut)
{
    bool roll = false, flare = false, rollout = false, landing = false, airborne = false;
    double highest = 0;
    for (const Sample& s : harness.samples(circuitFlight.hexid)) {
        roll = roll || s.takeoffRoll;
        flare = flare || s.flareStage > 0;
        rollout = rollout || s.rollout;
        landing = landing || s.landing;
        airborne = airborne || !s.onGround;
        highest = std::max(highest, s.altitude);
    }
    EXPECT_TRUE(roll);
    EXPECT_TRUE(airborne);
    EXPECT_GT(highest, 11400);
    EXPECT_TRUE(landing);
    EXPECT_TRUE(flare);
    EXPECT_TRUE(rollout);
}

TEST_F(Circuit, FollowsTheDataAsItShould) { lf_checkFlight(harness, circuitFlight.hexid, path); }

TEST_F(Scenario, AnArrivalLandsFromALongFinalAndParks)
{
    const std::vector<PathState> path = lf_arrival();
    fly(arrivalFlight, path);
    harness.runAll(6000);
    EXPECT_EQ(phases(arrivalFlight), arrivalPhases);
    lf_checkParkedAt(harness, arrivalFlight.hexid, testAirport.stands[1]);
    lf_checkFlight(harness, arrivalFlight.hexid, path);
}

TEST_F(Scenario, APullOutLeavesNoseFirstTakesOffAndGoesWhenTheDataStops)
{
    const std::vector<PathState> path = lf_pullOutDeparture();
    fly(departureFlight, path);
    harness.runAll(12000);
    EXPECT_EQ(phases(departureFlight), departurePhases);
    EXPECT_TRUE(harness.removed(departureFlight.hexid)) << "prediction ends and the aircraft goes";
    EXPECT_EQ(harness.record(departureFlight.hexid), nullptr);
    EXPECT_FALSE(testAirport.stands[2].occupied);
    lf_checkFlight(harness, departureFlight.hexid, path);
}

TEST_F(Scenario, AnArrivalAndADepartureDoNotDisturbEachOther)
{
    const std::vector<PathState> arrival = lf_arrival(), departure = lf_pullOutDeparture();
    fly(arrivalFlight, arrival, 20000);
    fly(departureFlight, departure);
    harness.runAll(12000);
    EXPECT_EQ(phases(arrivalFlight), arrivalPhases);
    EXPECT_EQ(phases(departureFlight), departurePhases);
    lf_checkParkedAt(harness, arrivalFlight.hexid, testAirport.stands[1]);
    lf_checkFlight(harness, arrivalFlight.hexid, arrival);
    lf_checkFlight(harness, departureFlight.hexid, departure);
}

} // namespace
} // namespace orv::test
