// The dispatch and the queues of the simulator link, driven by records made
// by hand: no simulator runs here.
#include "tests/support/calendar.h"
#include "tests/sim/sim_link_support.h"

#include "core/errors.h"
#include "liveries/user_aircraft.h"
#include "tests/liveries/dbase_fixture.h"
#include "core/window_state.h"
#include "traffic/motion.h"

#include <chrono>
#include <cmath>
#include <numbers>
#include <random>

namespace orv::test {
namespace {

struct OpenCase {
    const char* name;
    bool msfs2020;
    int code;             ///< 0: accepted
    const char* simName;  ///< when accepted
};

TEST_F(LinkTest, OpenRecordChecksTheSimulatorsGeneration)
{
    const OpenCase cases[] = {
        {"KittyHawk", true, 0, "MSFS 2020 (11.0.282174.999)"},
        {"SunRise", false, 0, "MSFS 2024"},
        {"Kitty-Hawk!", true, 0, "MSFS 2020 (11.0.282174.999)"}, // only letters, digits and blanks count
        {"KittyHawk", false, 71, nullptr},
        {"SunRise", true, 71, nullptr},
        {"Prepar3D", true, 77, nullptr},
        {"Kitty Hawk", true, 77, nullptr},
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
        if (c.code == 0) {
            const int before = countInLog(std::string(c.simName) + " connected ");
            m.dispatchIt();
            EXPECT_EQ(gf_simName(), c.simName) << c.name;
            EXPECT_EQ(countInLog(std::string(c.simName) + " connected "), before + 1) << c.name;
        } else {
            try {
                m.dispatchIt();
                ADD_FAILURE() << c.name << " was accepted";
            } catch (const UserErrorException& e) {
                EXPECT_EQ(e.code, c.code) << c.name;
            }
        }
        EXPECT_TRUE(simConnected) << c.name;
    }
}

TEST_F(LinkTest, OtherGenerationTextsNameTheRunningSimulator)
{
    Made m = makeRecord<SIMCONNECT_RECV_OPEN>(SIMCONNECT_RECV_ID_OPEN);
    std::strcpy(m.as<SIMCONNECT_RECV_OPEN>().szApplicationName, "SunRise");
    try {
        m.dispatchIt();
        FAIL();
    } catch (const UserErrorException& e) {
        EXPECT_STREQ(e.what(), "71: MSFS 2024 is running ..., switch Sim or toggle the Install path checkbox of TAVO");
    }
}

TEST_F(LinkTest, EmptySimulatorNameIsOnlyLogged)
{
    simConnected = false;
    Made m = makeRecord<SIMCONNECT_RECV_OPEN>(SIMCONNECT_RECV_ID_OPEN);
    m.dispatchIt();
    EXPECT_EQ(countInLog("! Simulator name empty?"), 1);
    EXPECT_FALSE(simConnected);
}

TEST_F(LinkTest, ExceptionsAreSortedByNumber)
{
    const std::pair<DWORD, const char*> logged[] = {
        {SIMCONNECT_EXCEPTION_INVALID_DATA_SIZE, "SIMCON EXCEP 19"},
        {SIMCONNECT_EXCEPTION_LOAD_FLIGHTPLAN_FAILED, "===> Simconnect Exception: load flight plan failed"},
        {SIMCONNECT_EXCEPTION_OPERATION_INVALID_FOR_OBJECT_TYPE, "SIMCON EXCEP 24"},
        {42, "===> SIMCON EXCEP 42"},
        {SIMCONNECT_EXCEPTION_TOO_MANY_OBJECTS, "SimConnect: too many objects (max 1000)"},
    };
    for (const auto& [number, text] : logged) {
        Made m = makeRecord<SIMCONNECT_RECV_EXCEPTION>(SIMCONNECT_RECV_ID_EXCEPTION);
        m.as<SIMCONNECT_RECV_EXCEPTION>().dwException = number;
        m.dispatchIt();
        EXPECT_EQ(countInLog(text), 1) << number;
    }
    EXPECT_EQ(statusText, "SimConnect: too many objects (max 1000)");

    Made mismatch = makeRecord<SIMCONNECT_RECV_EXCEPTION>(SIMCONNECT_RECV_ID_EXCEPTION);
    mismatch.as<SIMCONNECT_RECV_EXCEPTION>().dwException = SIMCONNECT_EXCEPTION_VERSION_MISMATCH;
    mismatch.as<SIMCONNECT_RECV_EXCEPTION>().dwIndex = 7;
    try {
        mismatch.dispatchIt();
        FAIL();
    } catch (const UserErrorException& e) {
        EXPECT_EQ(e.code, 95);
        EXPECT_NE(std::string(e.what()).find("Simconnect Version Mismatch, dwindex: 7 "), std::string::npos);
    }
}

std::string userStateBlock(double LAT, double LON, double ALT, std::int64_t YEAR = 2024, std::int64_t DAY = 1,
                           std::int64_t SECONDS = 0)
{
    std::string b;
    for (const double v : {LAT, LON, -0.01, 0.0, 1.5, ALT, 5.0, 0.0}) put(b, v);
    for (const std::int64_t v : {SECONDS, DAY, YEAR, std::int64_t{3}}) put(b, v);
    return b;
}

void userReply(double LAT, double LON, double ALT = 100, DWORD OBJECT = 1)
{
    makeData(SIMCONNECT_RECV_ID_SIMOBJECT_DATA, requestUserState, OBJECT, userStateBlock(LAT, LON, ALT)).dispatchIt();
}

TEST_F(LinkTest, UnrecognizedIdIsQuietWhileThereIsNoPosition)
{
    Made m = makeRecord<SIMCONNECT_RECV_EXCEPTION>(SIMCONNECT_RECV_ID_EXCEPTION);
    m.as<SIMCONNECT_RECV_EXCEPTION>().dwException = SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID;
    m.dispatchIt();
    EXPECT_EQ(countInLog("SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID"), 0);
    userReply(47.0, 8.0);
    m.dispatchIt();
    EXPECT_EQ(countInLog("===> SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID"), 1);
}

TEST_F(LinkTest, UnknownRecordsAreLoggedAndIgnoredOnesAreNot)
{
    for (const DWORD id : {12u, 16u, 27u}) makeRecord<SIMCONNECT_RECV>(id).dispatchIt();
    EXPECT_EQ(countInLog("Unknown Dispatch"), 0);
    makeRecord<SIMCONNECT_RECV>(99).dispatchIt();
    EXPECT_EQ(countInLog("! Unknown Dispatch dwID 99"), 1);
    dispatch(nullptr, 0, nullptr); // a null record is nothing
}

TEST_F(LinkTest, SimEventAndQuitDriveSimRunning)
{
    makeEvent(eventSim, 1).dispatchIt();
    EXPECT_TRUE(simRunning);
    makeEvent(eventSim, 0).dispatchIt();
    EXPECT_FALSE(simRunning);
    makeEvent(eventSim, 1).dispatchIt();
    makeRecord<SIMCONNECT_RECV_QUIT>(SIMCONNECT_RECV_ID_QUIT).dispatchIt();
    EXPECT_FALSE(simRunning);
    EXPECT_FALSE(exitInProgress); // a quit is a stopped flight, not the end of the session
}

TEST_F(LinkTest, GroundPulseWaitsForAPositionButTheTickDoesNot)
{
    std::string onGround;
    put(onGround, std::int64_t{1});
    makeData(SIMCONNECT_RECV_ID_SIMOBJECT_DATA, requestSimOnGround, 1, onGround).dispatchIt();
    EXPECT_TRUE(secondDataReady);
    EXPECT_FALSE(userGroundKnown);
    secondDataReady = false;
    userReply(0.0005, 0.01); // still the no-position window
    makeData(SIMCONNECT_RECV_ID_SIMOBJECT_DATA, requestSimOnGround, 1, onGround).dispatchIt();
    EXPECT_TRUE(secondDataReady);
    EXPECT_FALSE(userGroundKnown);
    userReply(47.0, 8.0);
    makeData(SIMCONNECT_RECV_ID_SIMOBJECT_DATA, requestSimOnGround, 1, onGround).dispatchIt();
    EXPECT_TRUE(userGroundKnown);
    EXPECT_TRUE(userOnGround);
}

TEST_F(LinkTest, SimulatorUtcFollowsTheCalendar)
{
    std::mt19937 random(3);
    std::uniform_int_distribution<long> year(1970, 2400);
    for (int i = 0; i < 500; ++i) {
        const long y = year(random);
        const bool leap = std::chrono::year(static_cast<int>(y)).is_leap();
        std::uniform_int_distribution<long> day(1, leap ? 366 : 365), second(0, 86399);
        const long d = day(random), s = second(random);
        ASSERT_EQ(gf_unixSeconds(y, d, s), (daysFromCivil(y, 1, 1) + d - 1) * 86400 + s) << y << " " << d;
    }
    EXPECT_EQ(gf_unixSeconds(1969, 365, 86399), -1);
    EXPECT_EQ(gf_unixSeconds(2000, 366, 0), daysFromCivil(2000, 12, 31) * 86400);
    EXPECT_EQ(gf_unixSeconds(40000, 1, 0), 0); // a year no calendar holds
    makeData(SIMCONNECT_RECV_ID_SIMOBJECT_DATA, requestUserState, 1, userStateBlock(47, 8, 100, 2024, 60, 45296))
        .dispatchIt();
    EXPECT_EQ(gf_simUtc(), static_cast<double>(daysFromCivil(2024, 2, 29) * 86400 + 45296));
}

TEST_F(LinkTest, UserStateReplyKeepsOneReplyAndTheObjectId)
{
    userReply(47.25, 8.5, -20, 7);
    const UserState s = gf_userState();
    EXPECT_DOUBLE_EQ(s.lat, 47.25);
    EXPECT_DOUBLE_EQ(s.lon, 8.5);
    EXPECT_EQ(s.altitude, 0.0); // below the sea becomes 0
    EXPECT_EQ(s.lightStates, 3);
    EXPECT_EQ(userObjectId, 7u);
    const UserPosition p = gf_requestUserPosition(); // no simulator: only the copy
    EXPECT_DOUBLE_EQ(p.lat, 47.25);
    EXPECT_DOUBLE_EQ(p.groundAltFt, -5.0);
    EXPECT_DOUBLE_EQ(p.groundSpeedKt, 0.0);
}

/// The last latitude north of LAT whose jump the teleport test measures as
/// at most DIST nm (on the meridian of 8 degrees east).
double latitudeAtDistance(double LAT, double DIST)
{
    double lat = LAT + DIST / 60.0;
    for (int i = 0; i < 100; ++i) lat += (DIST - gf_distance(LAT, 8.0, lat, 8.0)) / 60.0;
    while (gf_distance(LAT, 8.0, lat, 8.0) > DIST) lat = std::nextafter(lat, -90.0);
    while (gf_distance(LAT, 8.0, std::nextafter(lat, 90.0), 8.0) <= DIST) lat = std::nextafter(lat, 90.0);
    return lat;
}

TEST_F(LinkTest, JumpOfExactlyTenMilesIsNoTeleport)
{
    // The farthest jump east along the parallel of 47 degrees that still measures 10.0 nm or less.
    double low = 0.0, high = 1.0;
    for (int i = 0; i < 200; ++i) {
        const double mid = (low + high) / 2;
        (gf_distance(47.0, 0.0, 47.0, mid) <= 10.0 ? low : high) = mid;
    }
    const double east = low;
    ASSERT_LE(gf_distance(47.0, 0.0, 47.0, east), 10.0);
    ASSERT_GT(gf_distance(47.0, 0.0, 47.0, high), 10.0);
    userReply(0.0, 0.0);  // no position yet: no test
    userReply(47.0, 0.0); // the first real position is no jump either
    userReply(47.0, east);
    EXPECT_FALSE(exitInProgress);
    EXPECT_EQ(countInLog("Teleport"), 0);
}

TEST_F(LinkTest, JumpOfMoreThanTenMilesRestartsAfter45Seconds)
{
    userReply(47.0, 8.0);
    userReply(std::nextafter(latitudeAtDistance(47.0, 10.0), 90.0), 8.0);
    EXPECT_EQ(countInLog("Teleport"), 1);
    EXPECT_EQ(exitReason, RESTART);
    ASSERT_TRUE(eventually([] { return !gf_finalExitRunning(); }));
    EXPECT_EQ(countInLog("Restarting after 45 seconds"), 1);
}

TEST_F(LinkTest, NewObjectsWaitForTheirFirstReplyAndArePairedByAtcId)
{
    userObjectId = 1;
    for (const DWORD id : {1u, 500u, 501u, 502u, 503u}) {
        Made m = makeRecord<SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE>(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE);
        auto& e = m.as<SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE>();
        e.uEventID = eventObjectAdded;
        e.dwData = id;
        e.eObjType = id == 503 ? SIMCONNECT_SIMOBJECT_TYPE_BOAT : SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT;
        m.dispatchIt();
    }
    EXPECT_EQ(pendingObjects, (std::vector<std::uint32_t>{500, 501, 502}));
    {
        std::lock_guard lock(simLock);
        createsInFlight.push_back({11, 0xABCDEF, "DLH123"});
        createsInFlight.push_back({12, 42, "PARK1*"});
    }
    auto reply = [](DWORD OBJECT, double AGL, const char* ATC) {
        makeData(SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE, requestInRange, OBJECT, inRangeBlock(AGL, 400, 0, ATC))
            .dispatchIt();
    };
    reply(501, 9.5, "PARK1*");
    reply(500, 1234.5, "DLH123");
    reply(502, 3.0, "OTHER9");
    EXPECT_TRUE(pendingObjects.empty());
    EXPECT_TRUE(createsInFlight.empty());
    ASSERT_EQ(take(MessageKind::liveCreated), 1u);
    ASSERT_EQ(take(MessageKind::staticCreated), 1u);
    const SimMessage live = of(MessageKind::liveCreated)[0], parked = of(MessageKind::staticCreated)[0];
    EXPECT_EQ(live.objectId, 500u);
    EXPECT_EQ(live.id, 0xABCDEFu);
    EXPECT_DOUBLE_EQ(live.value2, 1234.5);
    EXPECT_EQ(parked.objectId, 501u);
    EXPECT_EQ(parked.id, 42u);
    EXPECT_EQ(parked.value2, 0.0);
    EXPECT_EQ(countInLog("===> just created, but not by TAVO, oid: 502, callsign \"OTHER9\" unknown"), 1);
    // A later reply for a known object is ground data, not a pairing.
    reply(500, 12.0, "DLH123");
    EXPECT_EQ(take(MessageKind::liveCreated), 1u);
    EXPECT_EQ(take(MessageKind::groundData), 1u);
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
        {603, 10.0, "", false},      {1, 10.0, "USER", false},     {604, 10.0, "EZY12345678901234567890123456789012", true},
    };
    for (const auto& c : cases) {
        makeData(SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE, requestInRange, c.object, inRangeBlock(c.agl, 1500, 1, c.atcId))
            .dispatchIt();
        messages.clear();
        EXPECT_EQ(take(MessageKind::groundData), c.posted ? 1u : 0u) << c.object;
        if (c.posted) {
            const SimMessage m = of(MessageKind::groundData)[0];
            EXPECT_EQ(m.objectId, c.object);
            EXPECT_EQ(m.id, 1u); // the SIM ON GROUND value
            EXPECT_DOUBLE_EQ(m.value1, 1500.0);
            EXPECT_DOUBLE_EQ(m.value2, c.agl);
        }
    }
}

TEST_F(LinkTest, FailedCreationIsFoundBySendId)
{
    {
        std::lock_guard lock(simLock);
        createsInFlight.push_back({21, 0x123456, "AAL1"});
        createsInFlight.push_back({22, 0, "NOID"});
        createsInFlight.push_back({23, 77, "PARK*"});
    }
    for (const DWORD sendId : {23u, 99u, 22u, 21u}) {
        Made m = makeRecord<SIMCONNECT_RECV_EXCEPTION>(SIMCONNECT_RECV_ID_EXCEPTION);
        m.as<SIMCONNECT_RECV_EXCEPTION>().dwException = SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED;
        m.as<SIMCONNECT_RECV_EXCEPTION>().dwSendID = sendId;
        m.dispatchIt();
    }
    ASSERT_EQ(take(MessageKind::createFailed), 2u);
    EXPECT_EQ(of(MessageKind::createFailed)[0].id, 77u);
    EXPECT_EQ(of(MessageKind::createFailed)[1].id, 0x123456u);
    EXPECT_EQ(of(MessageKind::createFailed)[1].objectId, 0u);
    EXPECT_TRUE(createsInFlight.empty());
}

TEST_F(LinkTest, RemovedAircraftBecomesMessageKind2)
{
    Made m = makeRecord<SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE>(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE);
    m.as<SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE>().uEventID = eventObjectRemoved;
    m.as<SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE>().dwData = 812;
    m.as<SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE>().eObjType = SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT;
    m.dispatchIt();
    ASSERT_EQ(take(MessageKind::removed), 1u);
    EXPECT_EQ(of(MessageKind::removed)[0].objectId, 812u);
}

TEST_F(LinkTest, StaticShapeReplyBecomesMessageKind4)
{
    std::string b;
    put(b, 12.5);
    put(b, 0.01);
    makeData(SIMCONNECT_RECV_ID_SIMOBJECT_DATA, requestStaticCg, 640, b).dispatchIt();
    ASSERT_EQ(take(MessageKind::staticData), 1u);
    EXPECT_EQ(of(MessageKind::staticData)[0].objectId, 640u);
    EXPECT_DOUBLE_EQ(of(MessageKind::staticData)[0].value1, 12.5);
    EXPECT_DOUBLE_EQ(of(MessageKind::staticData)[0].value2, 0.01);
}

TEST_F(LinkTest, FrameRateIsReadAtEachThirtiethFrame)
{
    for (int i = 1; i <= 60; ++i) {
        Made m = makeRecord<SIMCONNECT_RECV_EVENT_FRAME>(SIMCONNECT_RECV_ID_EVENT_FRAME);
        m.as<SIMCONNECT_RECV_EVENT_FRAME>().uEventID = eventFrame;
        m.as<SIMCONNECT_RECV_EVENT_FRAME>().fFrameRate = static_cast<float>(i);
        m.dispatchIt();
        if (i == 29) {
            EXPECT_EQ(frameRate, 0.0f);
        } else if (i == 30 || i == 59) {
            EXPECT_EQ(frameRate, 30.0f);
        }
    }
    EXPECT_EQ(frameRate, 60.0f);
}

TEST_F(LinkTest, FlightLoadedRestartsAfter45Seconds)
{
    makeRecord<SIMCONNECT_RECV_EVENT_FILENAME>(SIMCONNECT_RECV_ID_EVENT_FILENAME).dispatchIt();
    EXPECT_EQ(countInLog("===> New file loaded"), 1);
    EXPECT_EQ(exitReason, RESTART);
    ASSERT_TRUE(eventually([] { return !gf_finalExitRunning(); }));
    EXPECT_EQ(countInLog("Restarting after 45 seconds"), 1);
}

TEST_F(LinkTest, ThirdRequestFailureStopsRequestsAndRestartsAfter10Seconds)
{
    gf_simRequestFailed();
    gf_simRequestFailed();
    EXPECT_FALSE(simRequestsOff);
    EXPECT_FALSE(exitInProgress);
    gf_simRequestFailed();
    EXPECT_TRUE(simRequestsOff);
    EXPECT_EQ(exitReason, RESTART);
    EXPECT_EQ(countInLog("SimConnect request error 3, see Log.txt"), 1);
    ASSERT_TRUE(eventually([] { return !gf_finalExitRunning(); }));
    EXPECT_EQ(countInLog("Restarting after 10 seconds"), 1);
    gf_simRequestFailed(); // a fourth is no new error
    EXPECT_EQ(countInLog("SimConnect request error"), 1);
}

TEST_F(LinkTest, WithRequestsOffTheFrameOnlyEmptiesTheQueues)
{
    simRequestsOff = true;
    gf_queueCreate(CreateRequest{0x400001, "Any", "X1", {47, 8}});
    gf_queueRemove(900);
    gf_setNavLight(900, true);
    gf_appendPosition(PositionUpdate{47, 8, 0, 0, 0, 100, 0, 0, 900});
    lf_swapPositions();
    lf_onFrame();
    EXPECT_TRUE(createList.empty());
    EXPECT_TRUE(removeList.empty());
    EXPECT_TRUE(eventQueue.empty());
    EXPECT_TRUE(positionSend->empty());
    EXPECT_TRUE(createsInFlight.empty());
    EXPECT_EQ(take(MessageKind::createFailed), 0u);
    EXPECT_TRUE(messages.empty());
}

TEST_F(LinkTest, RemovalOfObjectZeroIsLoggedAndNotSent)
{
    std::lock_guard lock(simLock);
    lf_removeObject(0); // no handle here: a call to the simulator would fail the test
    EXPECT_EQ(countInLog("!Simconnect call to remove AI ac with objectId 0"), 1);
}

TEST_F(LinkTest, ThrottleAndFlapsAreSentOnlyOnChange)
{
    ActCore r;
    r.objectId = 700;
    r.classId = 2;
    gf_setThrottle(r, throttleNone); // already 5: nothing
    gf_setThrottle(r, 2);
    gf_setThrottle(r, 2);
    gf_setThrottle(r, throttleNone); // none: recorded, not sent
    EXPECT_EQ(r.throttleSetting, throttleNone);
    gf_setFlaps(r, 1);
    gf_setFlaps(r, 1);
    gf_setGear(r, false);
    ASSERT_EQ(eventQueue.size(), 3u);
    EXPECT_EQ(eventQueue[0].eventId, eventThrottleSet);
    EXPECT_EQ(eventQueue[0].data, 8191u);
    EXPECT_EQ(eventQueue[1].eventId, eventFlapsSet);
    EXPECT_EQ(eventQueue[1].data, 3072u);
    EXPECT_EQ(eventQueue[2].eventId, eventGearSet);
    EXPECT_EQ(eventQueue[2].data, 0u);

    ActCore heli;
    heli.classId = 5;
    gf_setFlaps(heli, 2);
    gf_setGear(heli, true);
    EXPECT_EQ(heli.flapsSetting, 4); // a helicopter has no flaps to set
    EXPECT_EQ(eventQueue.size(), 3u);
}

TEST_F(LinkTest, LightsGoOutInTheirOrder)
{
    gf_setLights(800, LightSet{1, 0, 1, 0, 1, 0, 1});
    const std::vector<std::pair<std::uint32_t, std::uint32_t>> expected = {
        {eventNavLightsSet, 1}, {eventBeaconLightsSet, 0}, {eventLandingLightsSet, 1}, {eventTaxiLightsSet, 0},
        {eventStrobesSet, 1},   {eventLogoLightsSet, 0},   {eventCabinLightsSet, 1}};
    ASSERT_EQ(eventQueue.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(eventQueue[i].eventId, expected[i].first) << i;
        EXPECT_EQ(eventQueue[i].data, expected[i].second) << i;
        EXPECT_EQ(eventQueue[i].objectId, 800u);
    }
}

/// Holds simLock on a thread of its own until released.
class LockHolder {
public:
    LockHolder()
    {
        thread_ = std::thread([this] {
            std::unique_lock lock(simLock);
            held_ = true;
            while (!release_) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        });
        while (!held_) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    void release()
    {
        release_ = true;
        if (thread_.joinable()) thread_.join();
    }
    ~LockHolder() { release(); }

private:
    std::thread thread_;
    std::atomic<bool> held_{false}, release_{false};
};

TEST_F(LinkTest, BusyLockDropsTheTicksPositionsAtFiftyFramesAndBelow)
{
    frameRate = 50.0f;
    gf_appendPosition(PositionUpdate{47, 8, 0, 0, 0, 100, 0, 0, 900});
    {
        LockHolder holder;
        lf_swapPositions();
    }
    EXPECT_TRUE(positionFill->empty());
    EXPECT_TRUE(positionSend->empty()); // dropped: the simulator keeps the previous pose
}

TEST_F(LinkTest, BusyLockIsWaitedForAboveFiftyFrames)
{
    frameRate = 50.5f;
    gf_appendPosition(PositionUpdate{47, 8, 0, 0, 0, 100, 0, 0, 901});
    LockHolder holder;
    std::thread swapper([] { lf_swapPositions(); });
    holder.release();
    swapper.join();
    ASSERT_EQ(positionSend->size(), 1u);
    EXPECT_EQ(positionSend->front().objectId, 901u);
    EXPECT_TRUE(positionFill->empty());
}

TEST_F(LinkTest, BusyLockSkipsTheFrameAndKeepsTheQueues)
{
    gf_queueRemove(950);
    {
        LockHolder holder;
        lf_onFrame();
    }
    EXPECT_EQ(removeList.size(), 1u); // nothing lost: the next frame sends it
}

TEST_F(LinkTest, TitleAndModelRepliesIdentifyTheUserAircraft)
{
    loadDbase(PlainDbase());
    const auto padded = [](std::string TEXT, std::size_t BYTES) {
        TEXT.resize(BYTES, '\0');
        return TEXT;
    };
    makeData(SIMCONNECT_RECV_ID_SIMOBJECT_DATA, requestUserTitle, 1, padded("Test B738 KLM", 256)).dispatchIt();
    makeData(SIMCONNECT_RECV_ID_SIMOBJECT_DATA, requestUserModel, 1, padded("B738", 32)).dispatchIt();
    EXPECT_EQ(userTitle, "Test B738 KLM");
    EXPECT_TRUE(aircraftKnown);
    EXPECT_NEAR(userWingspan, 35.79 / 2 / 1852, 1e-6);
    EXPECT_EQ(userCategory.load(), ModelCategory::Large);
    gf_resetUserAircraft();
}

TEST_F(LinkTest, ModelReplyWithoutAircraftIsError73ForTheClientThread)
{
    loadDbase(PlainDbase());
    std::string model = ".0.text";
    model.resize(32, '\0');
    try {
        makeData(SIMCONNECT_RECV_ID_SIMOBJECT_DATA, requestUserModel, 1, model).dispatchIt();
        FAIL() << "expected error 73";
    } catch (const UserErrorException& e) {
        EXPECT_EQ(std::string(e.what()), "73: It looks like you have not selected an aircraft as user vehicle");
    }
    gf_resetUserAircraft();
}

} // namespace
} // namespace orv::test
