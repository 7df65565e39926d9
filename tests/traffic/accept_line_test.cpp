// How traffic lines find their records, and the dispatch's messages.
#include "core/flags.h"
#include "core/parameters.h"
#include "tests/liveries/dbase_fixture.h"
#include "tests/support/temp_dir.h"
#include "tests/traffic/harness.h"
#include "traffic/engine.h"

#include <gtest/gtest.h>

namespace orv::test {
namespace {

constexpr double knotsToDegPerSecond = 1852.0 / 3600.0 / 111132.95;

class AcceptLineTest : public EngineTest {
protected:
    /// A record in STATE as the line FIRST would have made it.
    static act& addRecord(ActState STATE, const TrafficLine& FIRST)
    {
        act& record = gf_testRecord(FIRST, 2, 17.0 / metresPerNm);
        record.state = STATE;
        return record;
    }
    static TrafficLine line(std::uint32_t HEXID, double TIME, double SPEED_KT, double ALT_FT = 0)
    {
        TrafficLine l;
        l.hexid = HEXID;
        l.callsign = "KLM1234";
        l.icaoType = "B738";
        l.timestamp = TIME;
        l.point.lat = 52.3 + TIME * SPEED_KT * knotsToDegPerSecond;
        l.point.lon = 4.76;
        l.point.groundSpeed = SPEED_KT;
        l.point.track = 0;
        l.point.altitude = ALT_FT;
        l.point.airborne = ALT_FT > 0;
        return l;
    }
};

TEST_F(AcceptLineTest, LineForRemovingRecordIsDroppedWithoutSecondRecord)
{
    act& record = addRecord(ActState::removing, line(40001, 100, 20));
    lf_acceptLine(line(40001, 110, 20));
    EXPECT_EQ(liveList.size(), 1u);
    EXPECT_EQ(record.track.size(), 1u);
}

TEST_F(AcceptLineTest, SpeedJumpIsDroppedAndComparedWithTheLastAcceptedPoint)
{
    act& record = addRecord(ActState::active, line(40002, 100, 3));
    lf_acceptLine(line(40002, 110, 90));
    lf_acceptLine(line(40002, 120, 90));
    EXPECT_EQ(record.track.size(), 1u) << "both 90-knot lines meet the 3-knot point";
    lf_acceptLine(line(40002, 130, 25));
    EXPECT_EQ(record.track.size(), 2u);
    EXPECT_DOUBLE_EQ(record.lastTimestamp, 130);
}

TEST_F(AcceptLineTest, RefusedLinesThatAgreeWithEachOtherAreFollowedAgain)
{
    // The data goes on at 90 kt after a 3-knot point: refused twice, then followed, said once.
    TempDir temp;
    LogCapture log;
    act& record = addRecord(ActState::active, line(40003, 100, 3));
    for (const double t : {110.0, 113.0}) lf_acceptLine(line(40003, t, 90));
    EXPECT_EQ(record.track.size(), 1u);
    lf_acceptLine(line(40003, 116, 90));
    ASSERT_EQ(record.track.size(), 2u);
    EXPECT_DOUBLE_EQ(record.lastTimestamp, 116);
    lf_acceptLine(line(40003, 119, 2));
    for (const double t : {122.0, 125.0, 128.0}) lf_acceptLine(line(40003, t, 90));
    const std::string text = log.text();
    const std::string said = "KLM1234 follows its feed again after 3 refused lines";
    const auto first = text.find(said);
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(text.find("follows its feed again", first + said.size()), std::string::npos) << "said once";
}

TEST_F(AcceptLineTest, DropRulesForGapsAndSlowStraightPoints)
{
    struct Case {
        const char* why;
        double lastSpeed, lastAlt, time, speed, alt, track;
        bool kept;
    } cases[] = {
        {"gap of one second", 200, 5000, 101, 200, 5000, 5, false},
        {"ten times faster", 20, 0, 110, 200, 0, 0, false},
        {"ten times slower", 200, 0, 110, 20, 0, 0, false},
        {"fast straight airborne within 450 m", 200, 5000, 104, 200, 5000, 0.5, false},
        {"fast airborne turning", 200, 5000, 104, 200, 5000, 5, true},
        {"fast straight airborne far enough", 200, 5000, 110, 200, 5000, 0, true},
        {"slow straight taxi within 20 m", 10, 0, 103, 10, 0, 1, false},
        {"slow taxi after 5 s", 10, 0, 105, 10, 0, 1, true},
        {"standing for less than 15 s", 0, 0, 110, 0, 0, 0, false},
        {"standing for 16 s", 0, 0, 116, 0, 0, 0, true},
    };
    for (const Case& c : cases) {
        lf_clearEngine();
        act& record = addRecord(ActState::active, line(40003, 100, c.lastSpeed, c.lastAlt));
        record.onGround = c.lastAlt == 0; // the track refuses a standing point of an aircraft in the air
        TrafficLine next = line(40003, c.time, c.speed, c.alt);
        next.point.track = c.track;
        lf_acceptLine(next);
        EXPECT_EQ(record.track.size(), c.kept ? 2u : 1u) << c.why;
    }
}

TEST_F(AcceptLineTest, AWaitingRecordTakesNoLineNearTheFieldsHeight)
{
    struct Case {
        const char* why;
        bool airport;
        double altitudeFt;
        bool kept;
    } cases[] = {{"on the ground", true, 0, true},
                 {"10000 ft and above", true, 10000, true},
                 {"within 120 ft of the field", true, testAirport.elevationFt + 100, false},
                 {"more than 120 ft off the field", true, testAirport.elevationFt + 130, true},
                 {"no park airport", false, testAirport.elevationFt + 50, true}};
    for (const Case& c : cases) {
        lf_clearEngine();
        testAirport.set = c.airport;
        act& record = addRecord(ActState::waiting, line(40006, 100, 200, 5000));
        lf_acceptLine(line(40006, 110, 200, c.altitudeFt));
        EXPECT_EQ(record.track.size(), c.kept ? 2u : 1u) << c.why;
    }
}

TEST_F(AcceptLineTest, MessagesReachTheirRecords)
{
    act& record = addRecord(ActState::active, line(40007, 100, 0));
    record.objectId = 77;
    record.onGround = true;
    record.staticCg = 6;
    gf_postMessage({77, 0, MessageKind::staticData, 50.0, 3 * M_PI / 180});
    gf_postMessage({77, 1, MessageKind::groundData, 100.0, 0.0});
    lf_drainMessages();
    EXPECT_DOUBLE_EQ(record.staticCg, 6) << "a CG of 50 ft is refused";
    EXPECT_NEAR(record.staticPitch, 0.7 * M_PI / 180, 1e-12) << "a pitch above 2.5 degrees becomes 0.7";
    EXPECT_DOUBLE_EQ(record.altitude, 106);
    gf_postMessage({77, 0, MessageKind::removed, 0, 0});
    lf_drainMessages();
    EXPECT_TRUE(liveList.empty());
}

TEST_F(AcceptLineTest, RecreatingRecordGoesBackToWaitingWhenItsObjectIsGone)
{
    act& record = addRecord(ActState::recreating, line(40008, 100, 0));
    record.objectId = 78;
    record.throttleSetting = 2;
    gf_postMessage({78, 0, MessageKind::removed, 0, 0});
    lf_drainMessages();
    ASSERT_EQ(liveList.size(), 1u);
    EXPECT_EQ(record.state, ActState::waiting);
    EXPECT_TRUE(record.recreated);
    EXPECT_EQ(record.objectId, 0u);
    EXPECT_EQ(record.throttleSetting, 5);
}

TEST_F(AcceptLineTest, RemovalQueuesTheObjectAndWaitingRecordsJustGo)
{
    act& waiting = addRecord(ActState::waiting, line(40009, 100, 0));
    gf_removeAct(waiting);
    EXPECT_TRUE(waiting.eraseNow);
    EXPECT_TRUE(removeQueue.empty());
    act& active = addRecord(ActState::active, line(40010, 100, 0));
    active.objectId = 99;
    active.standId = 4;
    gf_removeAct(active);
    EXPECT_EQ(active.state, ActState::removing);
    EXPECT_EQ(active.standId, 0);
    ASSERT_EQ(removeQueue.size(), 1u);
    EXPECT_EQ(removeQueue.front(), 99u);
}

TEST_F(AcceptLineTest, ActTextHasFixedColumns)
{
    act record;
    record.airline = "KL";
    record.icaoType = "E90";
    record.origin = "EHAM";
    record.destination = "EGLL";
    record.callsign = "KLM12";
    EXPECT_EQ(gf_actText(record), "KL  E90  EHAM EGLL          KLM12    ");
}

} // namespace
} // namespace orv::test
