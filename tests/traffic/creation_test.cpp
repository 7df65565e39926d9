// From a waiting record to an object: the gates of lf_updateWaiting, the
// livery, the first pose and the stand, the create requests and their pace,
// the simulator's answer with the flight plan file, and refusals.
#include "core/errors.h"
#include "core/flags.h"
#include "core/folders.h"
#include "core/parameters.h"
#include "liveries/catalogue.h"
#include "liveries/matching.h"
#include "tests/liveries/dbase_fixture.h"
#include "tests/liveries/matching_fixture.h"
#include "tests/traffic/harness.h"
#include "traffic/creation.h"
#include "traffic/engine.h"
#include "core/geometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

constexpr std::int32_t due = now + 100; ///< a front point due in one second
constexpr std::uint32_t firstHexid = 0x484000;

class Creation : public EngineTest {
protected:
    TempDir temp;
    LogCapture log;

    /// The log holds TEXT somewhere.
    bool logHas(const std::string& TEXT) const { return log.text().find(TEXT) != std::string::npos; }

    void SetUp() override
    {
        EngineTest::SetUp();
        gf_resetParameters();
        gf_setUserFolder();
        fs::create_directories(gf_flightPlanFolder());
        MSFS_2020.value = false; // the plan file is written, no simulator call is made
        testAirport.stands = {{1, "D4", gf_testPosition(0, 0), 1.0, 20 / metresPerNm, false, false},
                              {2, "D6", gf_testPosition(80, 0), 1.0, 20 / metresPerNm, false, false}};
        maxLive = -1;
        gf_loadMatchingReference();
        gf_buildMatchingTables({{"KLM", "B738", "KLM 738 a", ""},
                                {"KLM", "B738", "KLM 738 b", ""},
                                {"ABC", "A320", "ABC 320", ""},
                                {"ZZZ", "C172", "ZZZ C172", ""},
                                {"FSL", "A320", "FSLTL_A320 FSL", ""}});
        icaoAirlines.insert("ABC");
        noLiverySet.clear();
        gf_seedMatching(7);
        placeUser(0, 40000, true); // far away, parked
    }
    void TearDown() override
    {
        EngineTest::TearDown();
        gf_clearMatchingState();
        gf_clearDbase();
        noLiverySet.clear();
        ownPosition = {};
        maxLive = -1;
    }

    /// The user's aircraft at a plane point, heading north.
    static void placeUser(double EAST, double NORTH, bool ON_GROUND, double ALTITUDE_FT = 0)
    {
        ownPosition = {};
        const LatLon at = gf_testPosition(EAST, NORTH);
        ownPosition.lat = at.lat;
        ownPosition.lon = at.lon;
        ownPosition.onGround = ON_GROUND;
        ownPosition.altitudeFt = ALTITUDE_FT;
    }
    /// A waiting KLM B738 whose track holds POINTS (plane points round the test airport).
    static act& waiting(std::uint32_t HEXID, const std::vector<TrackPoint>& POINTS, const std::string& CALLSIGN = "KLM123")
    {
        TrafficLine line;
        line.icaoType = "B738";
        line.origin = "EHAM";
        line.destination = "LEMD";
        line.callsign = CALLSIGN;
        line.hexid = HEXID;
        line.point = POINTS.front();
        act& r = gf_testRecord(line, 2, 17.0 / metresPerNm);
        for (std::size_t i = 1; i < POINTS.size(); ++i) r.track.push_back(POINTS[i]);
        return r;
    }
    /// Two points of a flight at 3000 ft heading north, the first due at FIRST_DUE.
    static std::vector<TrackPoint> airPoints(double EAST = 0, double NORTH = 5000, std::int32_t FIRST_DUE = due)
    {
        return {gf_pointAt(EAST, NORTH, 180, FIRST_DUE, 3000), gf_pointAt(EAST, NORTH + 1000, 180, due + 1000, 3100)};
    }
    static std::vector<TrackPoint> standingPoints(double EAST, double NORTH)
    {
        TrackPoint a = gf_pointAt(EAST, NORTH, 0, due), b = gf_pointAt(EAST, NORTH, 0, due + 1000);
        b.stationary = true;
        return {a, b};
    }
    static act* find(std::uint32_t HEXID) { return gf_findAct(HEXID); }
    /// lf_updateWaiting and the erasing that the pass does after it.
    static void update(act& RECORD)
    {
        lf_updateWaiting(RECORD);
        std::erase_if(liveList, [](const act& A) { return A.eraseNow; });
    }
};

/// What one look at a waiting record leaves of it.
enum class After { erased, waiting, creating };

struct GateCase {
    const char* why;
    std::vector<TrackPoint> points;
    std::function<void(act&)> world = {}; ///< the world round the record, when it differs
    After after;
    std::size_t trackSize = 0;  ///< waiting: the points left
    Phase phase = Phase::unset; ///< creating: the phase it takes
    std::int32_t standId = 0;
    bool madeWay = false;
};

TEST_F(Creation, TheGatesOfAWaitingRecord)
{
    // Ground points four seconds apart: east, north, speed.
    const auto track = [](std::initializer_list<std::array<double, 3>> POINTS) {
        std::vector<TrackPoint> points;
        for (const auto& [east, north, speed] : POINTS)
            points.push_back(gf_pointAt(east, north, speed, due + 400 * static_cast<int>(points.size())));
        return points;
    };
    TrackPoint thirdStop = gf_pointAt(0, 0, 0, due + 2000);
    thirdStop.stationary = true;
    std::vector<TrackPoint> threeStops = standingPoints(0, 0);
    threeStops.push_back(thirdStop);
    const GateCase cases[] = {
        {.why = "airborne, due in more than a second", .points = airPoints(0, 5000, now + 101), .after = After::waiting,
         .trackSize = 2},
        {.why = "airborne, due in a second", .points = airPoints(), .after = After::creating, .phase = Phase::flying},
        {.why = "moving on the ground: three seconds ahead",
         .points = {gf_pointAt(0, 2000, 12, now + 300), gf_pointAt(0, 2050, 12, now + 700)},
         .after = After::creating, .phase = Phase::moving},
        {.why = "one point", .points = {gf_pointAt(0, 5000, 180, now - 100000, 3000)}, .after = After::erased},
        {.why = "a ghost of a known aircraft", .points = airPoints(),
         .world = [](act& R) { R.callsign = "KLM123_"; ghostCallsigns.push_back("KLM123_"); }, .after = After::erased},
        {.why = "a blocked callsign", .points = airPoints(), .world = [](act&) { gf_setText(BLOCK_CALLSIGN, "KLM123"); },
         .after = After::erased},
        {.why = "a take-off: ground and air points, the front goes",
         .points = {gf_pointAt(0, 0, 140, due), gf_pointAt(0, 500, 150, due + 300),
                    gf_pointAt(0, 1200, 160, due + 600, 300), gf_pointAt(0, 2000, 170, due + 900, 800)},
         .after = After::waiting, .trackSize = 3},
        {.why = "a full create queue: the front goes",
         .points = {gf_pointAt(0, 5000, 180, due, 3000), gf_pointAt(0, 6000, 180, due + 500, 3000),
                    gf_pointAt(0, 7000, 180, due + 1000, 3000)},
         .world = [](act&) { liveCreateQueue.resize(createQueueLimit); }, .after = After::waiting, .trackSize = 2},
        {.why = "stopped, no stand free: the front goes", .points = threeStops,
         .world = [](act&) { testAirport.stands[0].occupied = testAirport.stands[1].occupied = true; },
         .after = After::waiting, .trackSize = 2},
        {.why = "standing 6 nm from the airport: where the data says", .points = standingPoints(85, 5),
         .world = [](act&) { testAirport.pos = gf_testPosition(0, -6 * metresPerNm); }, .after = After::creating,
         .phase = Phase::moving},
        {.why = "slow, the last point 30 m on: the stand there", .points = track({{50, 0, 20}, {65, 0, 3}, {80, 0, 3}}),
         .after = After::creating, .phase = Phase::atStand, .standId = 2},
        {.why = "slow, the last point 40 m on: it moves", .points = track({{300, 0, 20}, {320, 0, 3}, {340, 0, 3}}),
         .after = After::creating, .phase = Phase::moving},
        {.why = "the user on the ground within 150 m", .points = track({{0, 0, 10}, {0, 10, 10}, {0, 20, 10}}),
         .world = [](act&) { placeUser(0, 100, true); }, .after = After::waiting, .trackSize = 2},
        {.why = "the user 300 ft up, 1 nm short on its line", .points = track({{0, 0, 0}, {0, 0, 0}, {0, 50, 8}}),
         .world = [](act&) { placeUser(0, -metresPerNm, false, 300); }, .after = After::waiting, .trackSize = 2,
         .madeWay = true},
        {.why = "made way once: waits while the user flies", .points = track({{0, 0, 0}, {0, 50, 8}}),
         .world = [](act& R) { R.madeWay = true; placeUser(0, 40000, false, 3000); }, .after = After::waiting,
         .trackSize = 1, .madeWay = true},
        {.why = "airborne, the user 3 nm ahead on its line", .points = airPoints(),
         .world = [](act&) { placeUser(0, 5000 + 3 * metresPerNm, false, 3500); }, .after = After::waiting,
         .trackSize = 1, .madeWay = true},
        {.why = "airborne, the user 2 nm aside of its line", .points = airPoints(),
         .world = [](act&) { placeUser(2 * metresPerNm, 5000 + 3 * metresPerNm, false, 3500); },
         .after = After::creating, .phase = Phase::flying},
    };
    for (const GateCase& c : cases) {
        SCOPED_TRACE(c.why);
        TearDown();
        SetUp();
        act& r = waiting(firstHexid, c.points);
        if (c.world) c.world(r);
        update(r);
        const act* after = find(firstHexid);
        EXPECT_EQ(after == nullptr, c.after == After::erased);
        if (after == nullptr) continue;
        EXPECT_EQ(after->state, c.after == After::waiting ? ActState::waiting : ActState::creating);
        EXPECT_EQ(after->madeWay, c.madeWay);
        if (c.after == After::waiting) {
            EXPECT_EQ(after->track.size(), c.trackSize);
        } else {
            EXPECT_EQ(after->phase, c.phase);
            EXPECT_EQ(after->standId, c.standId);
        }
    }
}

TEST_F(Creation, ALineMakesAWaitingRecordUnlessItsFlightIsThereUnderAnotherHexid)
{
    TrafficLine line;
    line.hexid = firstHexid;
    line.callsign = "KLM123";
    line.icaoType = "B738";
    line.point = airPoints().front();
    lf_acceptLine(line);
    ASSERT_NE(find(firstHexid), nullptr);
    EXPECT_EQ(find(firstHexid)->state, ActState::waiting);
    line.hexid = firstHexid + 1;
    lf_acceptLine(line);
    EXPECT_EQ(find(firstHexid + 1), nullptr);
}

TEST_F(Creation, MaxLiveLetsANearerAircraftReplaceTheFarthest)
{
    maxLive = 1;
    gf_activeRecord(firstHexid + 9, 0, 0, false, Phase::flying, now);
    // The user lies 40 km north; 0.05 nm nearer than the farthest: the new one goes.
    update(waiting(firstHexid, airPoints(0, 0.05 * metresPerNm)));
    EXPECT_EQ(find(firstHexid), nullptr);
    EXPECT_EQ(find(firstHexid + 9)->state, ActState::active);
    // 0.2 nm nearer: the farthest goes and the new one comes.
    update(waiting(firstHexid + 1, airPoints(0, 0.2 * metresPerNm), "KLM456"));
    ASSERT_NE(find(firstHexid + 1), nullptr);
    EXPECT_EQ(find(firstHexid + 1)->state, ActState::creating);
    EXPECT_EQ(find(firstHexid + 9)->state, ActState::removing);
}

struct CallsignCase {
    std::string callsign;
    std::string type;
    std::string regcode;
    bool shown;
    std::string callsignAfter;
    std::string airlineAfter;
};

class CreationCallsigns : public Creation, public ::testing::WithParamInterface<CallsignCase> {};

TEST_P(CreationCallsigns, DecideWhetherAndUnderWhichAirlineItIsShown)
{
    const CallsignCase& c = GetParam();
    act& r = waiting(firstHexid, airPoints(), c.callsign);
    r.regcode = c.regcode;
    r.icaoType = c.type;
    update(r);
    act* after = find(firstHexid);
    ASSERT_EQ(after != nullptr, c.shown);
    if (!c.shown) return;
    EXPECT_EQ(after->callsign, c.callsignAfter);
    EXPECT_EQ(after->airline, c.airlineAfter);
}

INSTANTIATE_TEST_SUITE_P(
    Table, CreationCallsigns,
    ::testing::Values(CallsignCase{"KLM1234AB", "B738", "", false, "", ""}, CallsignCase{"", "B738", "", false, "", ""},
                      CallsignCase{"@@@@@@@@", "B738", "", false, "", ""},
                      // A registration the tables know serves as the callsign; airline and type are the row's.
                      CallsignCase{"@@@@@@@@", "A320", "PH-BXA", true, "PH-BXA", "KLM"},
                      CallsignCase{"", "A320", "PHBXA", true, "PHBXA", "KLM"},
                      CallsignCase{"ABC123", "A320", "", true, "ABC123", "ABC"},
                      CallsignCase{"N123AB", "C172", "", true, "N123AB", "PVT"}));

TEST_F(Creation, AnAircraftWithoutLiveryIsKeptInTheUnmatchedList)
{
    act& r = waiting(firstHexid, airPoints(), "DLH123");
    r.icaoType = "A359";
    update(r);
    EXPECT_EQ(find(firstHexid), nullptr);
    EXPECT_TRUE(noLiverySet.contains("DLH A359 "));
    // The next record of the same kind is erased before any matching.
    act& again = waiting(firstHexid + 1, airPoints(), "DLH124");
    again.icaoType = "A359";
    update(again);
    EXPECT_EQ(find(firstHexid + 1), nullptr);
    EXPECT_TRUE(logHas("is not shown: no livery earlier"));
    gf_writeUnmatchedReport();
    EXPECT_TRUE(logHas("No match found for: \nDLH A359 \n\n"));
    gf_clearUnmatchedFlights();
    EXPECT_TRUE(noLiverySet.empty());
    const std::string text = log.text();
    EXPECT_EQ(text.find("No match found for"), text.rfind("No match found for"))
        << "reported lists are not reported again";
}

TEST_F(Creation, TheExitReportsTheUnmatchedListBeforeItIsEmptied)
{
    // The session's end empties the list first and writes the report after.
    gf_addNoLivery("DLH A359 D-AIXA");
    gf_clearUnmatchedFlights();
    gf_writeUnmatchedReport();
    EXPECT_TRUE(logHas("No match found for: \nDLH A359 D-AIXA\n"));
}

TEST_F(Creation, TheSameAeroplaneKeepsItsLiveryForTheWholeRun)
{
    std::string first;
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        gf_seedMatching(seed);
        update(waiting(firstHexid, airPoints()));
        act* made = find(firstHexid);
        ASSERT_NE(made, nullptr);
        if (first.empty()) first = made->livery;
        EXPECT_EQ(made->livery, first) << "seed " << seed;
        lf_clearEngine();
    }
    EXPECT_EQ(matchSteps[1], 1) << "matched once, then taken from the earlier title";
}

TEST_F(Creation, ARefusedTitleIsNotOfferedAgain)
{
    update(waiting(firstHexid, airPoints()));
    act* made = find(firstHexid);
    ASSERT_NE(made, nullptr);
    const std::string refused = made->livery;
    lf_createFailed(*made);
    EXPECT_TRUE(gf_isFailedTitle(refused));
    EXPECT_EQ(failedCreations, (std::vector<std::string>{"B738 KLM"}));
    EXPECT_TRUE(logHas("KLM123 \"" + refused + "\" could not be created by your Sim!"));
    lf_clearEngine();
    for (std::uint32_t seed = 1; seed <= 30; ++seed) {
        gf_seedMatching(seed);
        update(waiting(firstHexid, airPoints()));
        ASSERT_NE(find(firstHexid), nullptr);
        EXPECT_NE(find(firstHexid)->livery, refused);
        lf_clearEngine();
    }
}

TEST_F(Creation, TwentyRefusedTitlesEndTheRunWithError81)
{
    for (int k = 0; k < 19; ++k) gf_addFailedTitle("refused " + std::to_string(k));
    update(waiting(firstHexid, airPoints()));
    EXPECT_THAT([] { lf_createFailed(*find(firstHexid)); },
                ::testing::ThrowsMessage<UserErrorException>(
                    "81: there are too many liveries that could not be created by MSFS!, see Log.txt"));
    EXPECT_TRUE(logHas("\n===> Error 81, there are too many liveries that could not be created by MSFS!\n"));
}

TEST_F(Creation, AStandingAircraftNearTheAirportAppearsAtItsStand)
{
    // 4 nm from the park airport: moved onto the stand a few metres away.
    testAirport.pos = gf_testPosition(0, -4 * metresPerNm);
    update(waiting(firstHexid, standingPoints(10, 5)));
    act* made = find(firstHexid);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->phase, Phase::atStand);
    EXPECT_EQ(made->standId, 1);
    EXPECT_TRUE(testAirport.stands[0].occupied);
    EXPECT_EQ(made->track.size(), 1U);
    EXPECT_DOUBLE_EQ(made->lat, testAirport.stands[0].pos.lat);
    EXPECT_DOUBLE_EQ(made->heading, testAirport.stands[0].headingRad);
    EXPECT_TRUE(made->track.front().stationary);
}

TEST_F(Creation, ARecreatedAircraftAtItsStandKeepsItAndLogsNoParking)
{
    update(waiting(firstHexid, standingPoints(0, 0)));
    act* made = find(firstHexid);
    ASSERT_EQ(made->phase, Phase::atStand);
    // The way back from a livery change: waiting again, phase and title kept.
    made->state = ActState::waiting;
    made->recreated = true;
    made->livery = "KLM 738 b";
    made->track.push_back(made->track.front());
    made->track[1].dueTick = due + 500;
    made->track[1].stationary = true;
    const int matchedBefore = matchSteps[1];
    update(*made);
    EXPECT_EQ(made->state, ActState::creating);
    EXPECT_EQ(made->livery, "KLM 738 b");
    EXPECT_EQ(matchSteps[1], matchedBefore) << "no livery search";
    ASSERT_TRUE(lf_objectCreated(*made, {777, made->hexid, MessageKind::liveCreated, 0, 1.5}));
    EXPECT_FALSE(logHas("KLM123   parks"));
    EXPECT_FALSE(made->recreated);
}

TEST_F(Creation, TheFirstPoseComesFromTheFrontPoint)
{
    std::vector<TrackPoint> points = airPoints(0, 5000);
    points[0].bank = 0.1;
    points[0].verticalSpeed = 1200;
    points[0].airspeed = 175;
    update(waiting(firstHexid, points));
    act* made = find(firstHexid);
    EXPECT_DOUBLE_EQ(made->lat, points[0].lat);
    EXPECT_DOUBLE_EQ(made->altitude, 3000);
    EXPECT_DOUBLE_EQ(made->bank, 0.1);
    EXPECT_DOUBLE_EQ(made->speedOut, 175);
    EXPECT_DOUBLE_EQ(made->verticalSpeedFps, 20) << "feet per minute become feet per second";
    EXPECT_LT(made->pitch, 0) << "climbing: nose up";
    EXPECT_NEAR(made->heading, 0, 1e-3) << "towards the next point, north";
    EXPECT_EQ(made->headingStep, 0);

    update(waiting(firstHexid + 1, {gf_pointAt(500, 0, 10, due), gf_pointAt(500, -100, 10, due + 800)}, "KLM456"));
    made = find(firstHexid + 1);
    EXPECT_DOUBLE_EQ(made->pitch, 0.010471975511965976) << "0.6 degrees nose down on the wheels";
    EXPECT_NEAR(made->heading, pi, 1e-3);
    EXPECT_GE(made->heading, 0);
    EXPECT_LT(made->heading, twoPi);
}

TEST_F(Creation, RequestsLeaveAtMostTwiceASecond)
{
    for (std::uint32_t k = 0; k < 5; ++k) waiting(firstHexid + k, airPoints(k * 1000.0), "KLM" + std::to_string(100 + k));
    std::vector<std::int32_t> sentAt;
    for (int t = 0; t < 400; ++t) {
        const std::int32_t tick = engineTick;
        const std::size_t before = liveCreateQueue.size();
        lf_engineTick();
        // A pass sends first, then queues the next pending record.
        const std::size_t queuedNow = tick % 50 == 0 && before > 0 ? before - 1 : before;
        if (queuedNow < before) sentAt.push_back(tick);
        ASSERT_LE(liveCreateQueue.size(), queuedNow + 1);
    }
    EXPECT_TRUE(pendingCreates.empty());
    EXPECT_TRUE(liveCreateQueue.empty());
    ASSERT_EQ(sentAt.size(), 5U);
    for (std::size_t i = 1; i < sentAt.size(); ++i) EXPECT_GE(sentAt[i] - sentAt[i - 1], 50);
    for (const act& r : liveList) EXPECT_EQ(r.state, ActState::creating);
}

TEST_F(Creation, TheRequestCarriesTitleTailAndPose)
{
    update(waiting(firstHexid, airPoints()));
    lf_queueCreateRequest(*find(firstHexid));
    ASSERT_EQ(liveCreateQueue.size(), 1U);
    const CreateRequest& q = liveCreateQueue.back();
    const act& made = *find(firstHexid);
    EXPECT_EQ(q.id, firstHexid);
    EXPECT_EQ(q.title, made.livery);
    EXPECT_EQ(q.tail, "KLM123");
    EXPECT_DOUBLE_EQ(q.position.lat, made.lat);
    EXPECT_DOUBLE_EQ(q.altitudeFt, 3000);
    EXPECT_DOUBLE_EQ(q.headingRad, made.heading);
    EXPECT_FALSE(q.onGround);
}

TEST_F(Creation, TheLiveryStepIsCountedAndLoggedAndSetsTheReverser)
{
    act& r = waiting(firstHexid, airPoints(), "FSL123");
    r.icaoType = "A320";
    update(r);
    act* made = find(firstHexid);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->livery, "FSLTL_A320 FSL");
    EXPECT_TRUE(made->reverser);
    EXPECT_EQ(matchSteps[1], 1);
    EXPECT_TRUE(logHas(gf_actText(*made) + " =2= FSLTL_A320 FSL"));
}

/// The plan file as it must stand on disk, line by line.
std::string expectedPln(const std::string& TYPE)
{
    const std::vector<std::string> lines{R"(<?xml version="1.0" encoding="UTF-8"?>)",
                                         R"(<SimBase.Document Type="AceXML" version="4,3">")",
                                         "<FlightPlan.FlightPlan>",
                                         "<FPType>" + TYPE + "</FPType>",
                                         "<DepartureID>EHAM</DepartureID>",
                                         "<DestinationID>LEMD</DestinationID>",
                                         "</FlightPlan.FlightPlan>",
                                         "</SimBase.Document>"};
    std::string text;
    for (const auto& line : lines) text += line + '\x0A';
    return text;
}

TEST_F(Creation, ThePlanFileStandsByteForByte)
{
    ActCore record;
    record.origin = "EHAM";
    record.destination = "LEMD";
    for (const auto& [classId, type] : std::vector<std::pair<int, std::string>>{
             {0, "VFR"}, {1, "IFR"}, {2, "IFR"}, {3, "IFR"}, {4, "VFR"}, {5, "VFR"}}) {
        record.classId = classId;
        ASSERT_TRUE(lf_writePln("plan.pln", record));
        EXPECT_EQ(readFile("plan.pln"), expectedPln(type)) << "class " << classId;
    }
    EXPECT_FALSE(lf_writePln("no/such/folder/plan.pln", record));
}

TEST_F(Creation, TheAnswerGivesGearPlanAndTheFileGoesWithTheObject)
{
    update(waiting(firstHexid, {gf_pointAt(500, 0, 10, due), gf_pointAt(500, -100, 10, due + 800)}));
    act* made = find(firstHexid);
    EXPECT_FALSE(lf_objectCreated(*made, {2, firstHexid, MessageKind::liveCreated, 0, 0})) << "ids below 3 are no objects";
    EXPECT_EQ(made->state, ActState::creating);
    ASSERT_TRUE(lf_objectCreated(*made, {4711, firstHexid, MessageKind::liveCreated, 0, 3.5}));
    EXPECT_EQ(made->objectId, 4711U);
    EXPECT_DOUBLE_EQ(made->agl, 3.5);
    EXPECT_TRUE(made->onGround);
    EXPECT_TRUE(made->hasFlightPlanFile);
    const fs::path plan = gf_flightPlanFolder() / "4711.pln";
    EXPECT_EQ(readFile(plan), expectedPln("IFR"));
    // The simulator's removal report takes the file with the record.
    gf_postMessage({4711, 0, MessageKind::removed, 0, 0});
    lf_drainMessages();
    EXPECT_FALSE(fs::exists(plan));
    EXPECT_EQ(find(firstHexid), nullptr);
    EXPECT_TRUE(gf_removeFlightPlanFolder());
    EXPECT_FALSE(fs::exists(gf_flightPlanFolder()));
}

TEST_F(Creation, NoPlanWithoutOriginAndOnlyAStatusLineWhenTheSimulatorRefusesIt)
{
    for (const bool refused : {false, true}) {
        TearDown();
        SetUp();
        MSFS_2020.value = refused; // no simulator session: the link refuses the call
        act& r = waiting(firstHexid, airPoints());
        if (!refused) r.origin.clear();
        update(r);
        act* made = find(firstHexid);
        ASSERT_TRUE(lf_objectCreated(*made, {4712, firstHexid, MessageKind::liveCreated, 0, 3000}));
        EXPECT_FALSE(made->hasFlightPlanFile);
        EXPECT_FALSE(made->onGround);
        EXPECT_EQ(made->state, ActState::creating);
        EXPECT_TRUE(refused || fs::is_empty(gf_flightPlanFolder()));
        EXPECT_EQ(logHas("KLM123  KLM B738 creating a flight plan failed !"), refused);
    }
}

TEST_F(Creation, StaticMatchingTakesTheStandsCargoMarkAndLogsWithoutCount)
{
    ActCore parked;
    parked.airline = "KLM";
    parked.icaoType = "B738";
    parked.callsign = "KLM9*";
    parked.classId = 2;
    EXPECT_TRUE(gf_matchStaticLivery(parked, "D4", false));
    EXPECT_FALSE(parked.livery.empty());
    EXPECT_EQ(matchSteps[1], 0) << "static matches are not counted";
    EXPECT_TRUE(gf_matchStaticLivery(parked, "D4", true));
    EXPECT_TRUE(logHas(" =s= " + parked.livery));
    ActCore unknown;
    unknown.airline = "DLH";
    unknown.icaoType = "A359";
    unknown.regcode = "D-AIXA";
    unknown.classId = 3;
    EXPECT_FALSE(gf_matchStaticLivery(unknown, "D6", true));
    EXPECT_TRUE(unknown.cargo);
    EXPECT_TRUE(logHas("D6      : D-AIXA DLH A359 no livery match ..."));
}

} // namespace
} // namespace orv::test
