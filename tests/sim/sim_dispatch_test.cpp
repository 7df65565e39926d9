// The link's dispatch and queues driven by records made by hand: what tavo-sim cannot be made to send or do (other
// generations, exceptions, objects of other clients, a busy lock); the rest is tested against it (sim_link_test).
#include "tests/support/calendar.h"
#include "tests/sim/sim_link_support.h"

#include "core/errors.h"
#include "liveries/user_aircraft.h"
#include "tests/liveries/dbase_fixture.h"
#include "core/window_state.h"

#include <future>

namespace orv::test {
namespace {

/// Dispatches R and answers the code of the user error it throws, 0 without one.
int errorCode(Made R, std::string* TEXT = nullptr)
{
    try {
        R.dispatchIt();
    } catch (const UserErrorException& e) {
        if (TEXT != nullptr) *TEXT = e.what();
        return e.code;
    }
    return 0;
}

struct OpenCase {
    const char* name;
    bool msfs2020;
    int code;            ///< 0: accepted
    const char* simName; ///< when accepted
};

TEST_F(LinkTest, OpenRecordChecksTheSimulatorsGeneration)
{
    const OpenCase cases[] = {
        {"KittyHawk", true, 0, "MSFS 2020 (11.0.282174.999)"}, {"SunRise", false, 0, "MSFS 2024"},
        {"Kitty-Hawk!", true, 0, "MSFS 2020 (11.0.282174.999)"}, // only letters, digits and blanks count
        {"KittyHawk", false, 71, ""}, {"SunRise", true, 71, ""}, {"Prepar3D", true, 77, ""},
        {"Kitty Hawk", true, 77, ""}, {"", true, 0, ""}, // no name: only logged, not connected
    };
    for (const auto& c : cases) {
        MSFS_2020.value = c.msfs2020;
        simConnected = false;
        Made m = makeRecord<SIMCONNECT_RECV_OPEN>(SIMCONNECT_RECV_ID_OPEN);
        auto& o = m.as<SIMCONNECT_RECV_OPEN>();
        std::strcpy(o.szApplicationName, c.name);
        o.dwApplicationVersionMajor = 11;
        o.dwApplicationBuildMajor = 282174;
        o.dwApplicationBuildMinor = 999;
        EXPECT_EQ(errorCode(m), c.code) << c.name;
        EXPECT_EQ(simConnected, *c.name != '\0') << c.name;
        if (*c.simName != '\0') {
            EXPECT_EQ(gf_simName(), c.simName) << c.name;
        }
    }
    EXPECT_EQ(countInLog("! Simulator name empty?"), 1);
}

Made exception(DWORD NUMBER, DWORD INDEX = 0)
{
    Made m = makeRecord<SIMCONNECT_RECV_EXCEPTION>(SIMCONNECT_RECV_ID_EXCEPTION);
    m.as<SIMCONNECT_RECV_EXCEPTION>().dwException = NUMBER;
    m.as<SIMCONNECT_RECV_EXCEPTION>().dwIndex = INDEX;
    return m;
}

std::string userStateBlock(double LAT, double LON, double ALT, std::int64_t DAY = 1, std::int64_t SECONDS = 0)
{
    std::string b;
    for (const double v : {LAT, LON, -0.01, 0.0, 1.5, ALT, 5.0, 0.0}) b += bytesOf(v);
    for (const std::int64_t v : {SECONDS, DAY, std::int64_t{2024}, std::int64_t{3}}) b += bytesOf(v);
    return b;
}

TEST_F(LinkTest, VersionMismatchIsError95AndUnknownIdsAreQuietWithoutAPosition)
{
    std::string text;
    EXPECT_EQ(errorCode(exception(SIMCONNECT_EXCEPTION_VERSION_MISMATCH, 7), &text), 95);
    EXPECT_NE(text.find("Simconnect Version Mismatch, dwindex: 7 "), std::string::npos) << text;
    exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID).dispatchIt();
    EXPECT_EQ(countInLog("SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID"), 0);
    makeData(requestUserState, 1, userStateBlock(47.0, 8.0, 100)).dispatchIt();
    exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID).dispatchIt();
    EXPECT_EQ(countInLog("===> SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID"), 1);
}

TEST_F(LinkTest, UserStateAndGroundRepliesKeepTheirFields)
{
    const auto groundPulse = [] { makeData(requestSimOnGround, 1, bytesOf(std::int64_t{1})).dispatchIt(); };
    groundPulse();
    EXPECT_TRUE(secondDataReady); // the tick runs without a position, the ground waits for one
    EXPECT_FALSE(userGroundKnown);
    makeData(requestUserState, 7, userStateBlock(47.25, 8.5, -20, 60, 45296)).dispatchIt();
    groundPulse();
    EXPECT_TRUE(userGroundKnown && userOnGround);
    EXPECT_EQ(gf_simUtc(), static_cast<double>(daysFromCivil(2024, 2, 29) * 86400 + 45296));
    EXPECT_EQ(gf_unixSeconds(1969, 365, 86399), -1);
    EXPECT_EQ(gf_unixSeconds(2000, 366, 0), daysFromCivil(2000, 12, 31) * 86400);
    EXPECT_EQ(gf_unixSeconds(40000, 1, 0), 0); // a year no calendar holds
    const UserState s = gf_userState();
    EXPECT_EQ(s.altitude, 0.0); // below the sea becomes 0
    EXPECT_EQ(s.lightStates, 3);
    EXPECT_EQ(userObjectId, 7u);
    const UserPosition p = gf_requestUserPosition(); // no simulator: only the copy
    EXPECT_DOUBLE_EQ(p.lat, 47.25);
    EXPECT_DOUBLE_EQ(p.lon, 8.5);
    EXPECT_DOUBLE_EQ(p.groundAltFt, -5.0);
}

TEST_F(LinkTest, AnObjectOfAnotherClientIsNotPairedAndThenGivesGroundData)
{
    userObjectId = 1;
    pendingObjects = {500}; // as its ObjectAdded leaves it
    createsInFlight.push_back({11, 0xABCDEF, "DLH123"});
    inRangeReply(500, 3.0, 400, 0, "OTHER9");
    EXPECT_TRUE(pendingObjects.empty());
    EXPECT_EQ(createsInFlight.size(), 1u);
    EXPECT_EQ(countInLog("===> just created, but not by TAVO, oid: 500, callsign \"OTHER9\" unknown"), 1);
    EXPECT_TRUE(take(MessageKind::liveCreated).empty() && messages.empty());
    inRangeReply(500, 3.0, 400, 0, "OTHER9");
    EXPECT_EQ(take(MessageKind::groundData).size(), 1u);
}

struct GroundCase {
    DWORD object;
    double agl;
    const char* atcId;
    bool posted;
};

TEST_F(LinkTest, GroundDataOnlyNearTheGroundAndNotForParkedCopies)
{
    userObjectId = 1;
    const GroundCase cases[] = {
        {600, 2500.0, "SWR1", true}, {601, 2500.5, "SWR2", false}, {602, 0.0, "PARK*", false},
        {603, 10.0, "", false}, {1, 10.0, "USER", false}, {604, 10.0, "EZY12345678901234567890123456789012", true},
    };
    for (const auto& c : cases) {
        inRangeReply(c.object, c.agl, 1500, 1, c.atcId);
        messages.clear();
        ASSERT_EQ(take(MessageKind::groundData).size(), c.posted ? 1u : 0u) << c.object;
        if (!c.posted) continue;
        const SimMessage m = take(MessageKind::groundData)[0];
        EXPECT_EQ(m.objectId, c.object);
        EXPECT_EQ(m.id, 1u); // the SIM ON GROUND value
        EXPECT_DOUBLE_EQ(m.value1, 1500.0);
        EXPECT_DOUBLE_EQ(m.value2, c.agl);
    }
}

TEST_F(LinkTest, BusyLockDropsPositionsAtFiftyFramesAndBelowAndSkipsTheFrame)
{
    gf_queueRemove(950);
    gf_appendPosition(PositionUpdate{47, 8, 0, 0, 0, 100, 0, 0, 900});
    frameRate = 50.0f;
    std::unique_lock lock(simLock);
    auto both = std::async(std::launch::async, [] { lf_swapPositions(); lf_onFrame(); });
    const bool back = both.wait_for(std::chrono::seconds(20)) == std::future_status::ready; // neither waits
    lock.unlock();
    both.get();
    ASSERT_TRUE(back);
    EXPECT_TRUE(positionFill->empty());
    EXPECT_TRUE(positionSend->empty()); // dropped: the simulator keeps the previous pose
    EXPECT_EQ(removeList.size(), 1u);   // kept: the next frame sends it
    // Above fifty frames the positions wait for the lock.
    frameRate = 50.5f;
    gf_appendPosition(PositionUpdate{47, 8, 0, 0, 0, 100, 0, 0, 901});
    lock.lock();
    auto swap = std::async(std::launch::async, [] { lf_swapPositions(); });
    lock.unlock();
    swap.get();
    ASSERT_EQ(positionSend->size(), 1u);
    EXPECT_EQ(positionSend->front().objectId, 901u);
    EXPECT_TRUE(positionFill->empty());
}

TEST_F(LinkTest, TitleAndModelRepliesIdentifyTheUserAircraft)
{
    loadDbase(PlainDbase());
    const auto padded = [](std::string TEXT, std::size_t BYTES) { return TEXT.append(BYTES - TEXT.size(), '\0'); };
    makeData(requestUserTitle, 1, padded("Test B738 KLM", 256)).dispatchIt();
    makeData(requestUserModel, 1, padded("B738", 32)).dispatchIt();
    EXPECT_EQ(userTitle, "Test B738 KLM");
    EXPECT_TRUE(aircraftKnown);
    EXPECT_NEAR(userWingspan, 35.79 / 2 / 1852, 1e-6);
    EXPECT_EQ(userCategory.load(), ModelCategory::Large);
    gf_resetUserAircraft();
}

} // namespace
} // namespace orv::test
