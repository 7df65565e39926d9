// Whole flights on the virtual clock with the faults of real feeds laid on
// their lines, one group of cases for each class of fault: the aircraft must
// still go where the data goes, without freezing, shuttling, jumping or
// taking off again after its landing.
#include "tests/traffic/scenario_flights.h"

namespace orv::test {
namespace {

using Lines = std::vector<FeedLine>;

/// Applies CHANGE to each line for which WHICH holds.
template <typename W, typename C> Lines lf_alter(Lines LINES, W&& WHICH, C&& CHANGE)
{
    for (std::size_t i = 0; i < LINES.size(); ++i)
        if (WHICH(LINES, i)) CHANGE(LINES[i].line.point, LINES[i].line);
    return LINES;
}

bool lf_onGround(const Lines& L, std::size_t I) { return !L[I].line.point.airborne; }
bool lf_everyLine(const Lines&, std::size_t) { return true; }

/// Index of the first ground line after the last airborne one before it (the touchdown).
std::size_t lf_touchdownLine(const Lines& L)
{
    for (std::size_t i = 1; i < L.size(); ++i)
        if (!L[i].line.point.airborne && L[i - 1].line.point.airborne) return i;
    return L.size();
}

/// The highest altitude shown after the first touchdown.
double lf_highestAfterLanding(const std::vector<Sample>& S)
{
    double highest = -INFINITY;
    bool landed = false;
    for (const Sample& s : S) {
        landed = landed || (s.onGround && s.phase == Phase::moving);
        if (landed) highest = std::max(highest, s.altitude);
    }
    return highest;
}

/// Metres the shown aircraft moved between the samples in [FROM, TO) of the
/// recording's ticks, added up pass by pass.
double lf_movedBetween(const std::vector<Sample>& S, std::int32_t FROM, std::int32_t TO)
{
    double moved = 0;
    for (std::size_t i = 1; i < S.size(); ++i)
        if (S[i].tick >= FROM && S[i].tick < TO) moved += lf_metresBetween(S[i - 1], S[i]);
    return moved;
}

class NoisyFlight : public Scenario {
protected:
    void flyLines(const Lines& LINES) { harness.add(LINES); }
    Lines sample(const Flight& FLIGHT, const std::vector<PathState>& PATH)
    {
        return lf_sampleFlight(PATH, gf_testIdentity(FLIGHT.hexid, FLIGHT.callsign), firstTick, FLIGHT.seed);
    }
};

// --- 1. No lock-out: refused lines do not refuse all later ones -----------------------------

TEST_F(NoisyFlight, AGapInTheTakeOffRollDoesNotLockTheAircraftOnTheRunway)
{
    const std::vector<PathState> path = lf_pullOutDeparture();
    Lines lines = sample(departureFlight, path);
    // Coverage lost from the start of the roll until it is at 90 kt: the next line jumps from 0 kt.
    const auto fast = std::find_if(lines.begin(), lines.end(), [](const FeedLine& F) { return F.line.point.groundSpeed >= 90; });
    ASSERT_NE(fast, lines.end());
    auto held = fast;
    while (held != lines.begin() && held->line.point.groundSpeed >= 1) --held;
    ASSERT_LT(held->line.point.groundSpeed, 1) << "a line of the hold before the roll";
    lines.erase(held + 1, fast);
    flyLines(lines);
    harness.runAll(12000);
    EXPECT_EQ(phases(departureFlight), departurePhases);
}

TEST_F(NoisyFlight, AnArrivalWhoseFirstLinesHaveNoSpeedIsFollowed)
{
    const std::vector<PathState> path = lf_arrival();
    // The first lines say 0 kt: every later one would jump from it.
    Lines lines = lf_alter(sample(arrivalFlight, path), [](const Lines&, std::size_t I) { return I < 3; },
                           [](TrackPoint& P, TrafficLine&) { P.groundSpeed = 0, P.speedKnown = false; });
    flyLines(lines);
    harness.runAll(6000);
    EXPECT_EQ(phases(arrivalFlight), arrivalPhases);
    lf_checkParkedAt(arrivalFlight.hexid, testAirport.stands[1]);
}

// --- 2. Unknown is not zero ------------------------------------------------------------------

TEST_F(NoisyFlight, MissingSpeedsTracksAndRatesAreWorkedOutFromPositions)
{
    struct Row {
        const char* what;
        bool (*which)(const Lines&, std::size_t);
    } rows[] = {
        {"every ground line", lf_onGround},
        {"every line", lf_everyLine},
        {"runs of lines", [](const Lines&, std::size_t I) { return I % 7 < 3; }},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.what);
        lf_clearEngine();
        Scenario::SetUp();
        Harness h;
        const std::vector<PathState> path = lf_arrival();
        h.add(lf_alter(sample(arrivalFlight, path), r.which, [](TrackPoint& P, TrafficLine&) {
            P.groundSpeed = P.track = P.verticalSpeed = 0;
            P.speedKnown = P.trackKnown = P.verticalSpeedKnown = false;
        }));
        h.runAll(6000);
        EXPECT_EQ(lf_phases(h.samples(arrivalFlight.hexid)), arrivalPhases);
        lf_checkParkedAt(arrivalFlight.hexid, testAirport.stands[1]);
    }
}

// --- 3. Positions and times are the truth ---------------------------------------------------------

TEST_F(NoisyFlight, FrozenSpeedsRepeatedPositionsAndTimesDoNotMoveTheAircraftOffItsPath)
{
    const std::vector<PathState> path = lf_arrival();
    struct Row {
        const char* what;
        Lines (*fault)(Lines);
    } rows[] = {
        {"the landing speed frozen over the taxi",
         [](Lines L) {
             const std::size_t touch = lf_touchdownLine(L);
             const double frozen = L[touch - 1].line.point.groundSpeed, track = L[touch - 1].line.point.track;
             for (std::size_t i = touch; i < L.size(); ++i) L[i].line.point.groundSpeed = frozen, L[i].line.point.track = track;
             return L;
         }},
        {"positions repeated while the speed says moving",
         [](Lines L) {
             for (std::size_t i = 1; i < L.size(); ++i)
                 if (i % 6 == 1 || i % 6 == 2) L[i].line.point.lat = L[i - 1].line.point.lat, L[i].line.point.lon = L[i - 1].line.point.lon;
             return L;
         }},
        {"times repeated and out of order",
         [](Lines L) {
             Lines out;
             for (std::size_t i = 0; i < L.size(); ++i) {
                 out.push_back(L[i]);
                 if (i % 9 == 4) out.push_back(L[i]);
                 if (i % 11 == 5 && i + 1 < L.size()) std::swap(out.back().line, L[i + 1].line);
             }
             return out;
         }},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.what);
        lf_clearEngine();
        Scenario::SetUp();
        Harness h;
        h.add(r.fault(sample(arrivalFlight, path)));
        h.runAll(6000);
        const std::vector<Sample>& s = h.samples(arrivalFlight.hexid);
        EXPECT_EQ(lf_phases(s), arrivalPhases);
        EXPECT_FALSE(std::any_of(s.begin(), s.end(), [](const Sample& S) { return S.takeoffRoll; })) << "no take-off roll after the landing";
        lf_checkParkedAt(arrivalFlight.hexid, testAirport.stands[1]);
    }
}

// --- 4. Standing is standing ----------------------------------------------------------------------

TEST_F(NoisyFlight, PositionNoiseOfAStandingAircraftDoesNotMoveIt)
{
    // A long hold at the runway with the position wandering by tens of metres and a single jump of 80 m.
    const double e = elevationFt;
    PathBuilder p(-300, 0, 180);
    p.hold(60).straight(60, 8, e, false).turn(90, 40, 10, e, false).straight(370, 15, e, false);
    p.turn(-90, 50, 12, e, false).straight(410, 15, e, false).turn(-90, 50, 10, e, false).hold(120);
    p.straight(1500, 150, e, false).straight(6000, 170, e + 2000, true);
    const std::vector<PathState> path = p.states();
    std::mt19937 random(4);
    std::normal_distribution<double> noise(0, 12);
    Lines lines = sample(departureFlight, path);
    std::int32_t holdFrom = 0, holdTo = 0;
    int standing = 0;
    for (FeedLine& f : lines) {
        TrackPoint& q = f.line.point;
        if (q.airborne || q.groundSpeed > 0.5 || f.handOverTick < firstTick + 12000) continue;
        holdFrom = holdFrom == 0 ? q.dueTick : holdFrom;
        holdTo = q.dueTick;
        const PlaneXY xy = gf_testPlane({q.lat, q.lon});
        const double jump = ++standing == 10 ? 80 : 0;
        const LatLon moved = gf_testPosition(xy.east + noise(random) + jump, xy.north + noise(random));
        q.lat = moved.lat, q.lon = moved.lon;
        q.speedKnown = false, q.groundSpeed = 0;
    }
    ASSERT_GT(holdTo - holdFrom, 9000);
    flyLines(lines);
    harness.runAll(12000);
    const std::vector<Sample>& s = harness.samples(departureFlight.hexid);
    EXPECT_EQ(lf_phases(s), departurePhases);
    // Some seconds into the hold the aircraft has come to rest and stays there until the roll.
    EXPECT_LE(lf_movedBetween(s, holdFrom + 2000, holdTo - 300), 3.0);
}

// --- 5. One landing, no phantom take-off -------------------------------------------------------------

TEST_F(NoisyFlight, AltitudeSpikesWanderingGroundAltitudesAndAFlickeringFlagMakeNoTakeOff)
{
    const std::vector<PathState> path = lf_arrival();
    struct Row {
        const char* what;
        void (*fault)(TrackPoint&, std::size_t);
    } rows[] = {
        {"spikes of 37,000 ft", [](TrackPoint& P, std::size_t I) {
             if (I % 9 == 0) P.altitude = 37000, P.airborne = true;
         }},
        {"the ground altitude 150 ft high at taxi speed", [](TrackPoint& P, std::size_t I) {
             if (I % 4 == 0 && P.groundSpeed > 35) P.altitude = elevationFt + 150, P.airborne = true;
         }},
        {"the flag flickering with the ground altitude high", [](TrackPoint& P, std::size_t I) {
             P.groundFlag = I % 3 == 0 ? 0 : 1;
             if (I % 5 == 0) P.altitude = elevationFt + 100, P.airborne = true;
         }},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.what);
        lf_clearEngine();
        Scenario::SetUp();
        Harness h;
        Lines lines = sample(arrivalFlight, path);
        const std::size_t touch = lf_touchdownLine(lines);
        for (std::size_t i = touch + 2; i < lines.size(); ++i) r.fault(lines[i].line.point, i);
        h.add(lines);
        h.runAll(6000);
        const std::vector<Sample>& s = h.samples(arrivalFlight.hexid);
        EXPECT_EQ(lf_phases(s), arrivalPhases);
        EXPECT_LE(lf_highestAfterLanding(s), elevationFt + testStaticCgFt + 1);
        lf_checkParkedAt(arrivalFlight.hexid, testAirport.stands[1]);
    }
}

TEST_F(NoisyFlight, ATrackThatBeginsOnTheRunwayInTheRollOutIsNoTakeOff)
{
    const std::vector<PathState> path = lf_arrival();
    Lines lines = sample(arrivalFlight, path);
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(lf_touchdownLine(lines) + 1));
    flyLines(lines);
    harness.runAll(6000);
    const std::vector<Sample>& s = harness.samples(arrivalFlight.hexid);
    EXPECT_EQ(lf_phases(s), "moving taxiToStand atStand");
    EXPECT_FALSE(std::any_of(s.begin(), s.end(), [](const Sample& S) { return S.takeoffRoll; }));
}

} // namespace
} // namespace orv::test
