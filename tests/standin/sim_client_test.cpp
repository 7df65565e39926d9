// The stand-in client library against a real tavo-sim process: opening,
// system events, data definitions and requests, AI objects with their
// creation, refusal, removal, release, freeze and events, the recording, and
// the ends of a connection.
#include "sim/simconnect_api.h"
#include "tests/standin/sim_process.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <functional>
#include <numbers>
#include <thread>

namespace orv::test {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr auto kWaitLimit = std::chrono::seconds(15);

enum : DWORD { kEvSim = 1, kEvAdded, kEvRemoved, kEvLoaded, kEvFrame };
enum : DWORD { kDefPose = 10, kDefGround, kDefUser, kDefCg, kDefTitle };
enum : DWORD { kReqByType = 50, kReqUser, kReqCg, kReqTitle, kReqSecond };
enum : DWORD { kEvFreezeLatLon = 60, kEvFreezeAlt, kEvFreezeAtt, kEvGear, kEvNav };

/// One received record, copied out of the library's buffer.
struct Rec {
    std::vector<char> bytes;
    DWORD id() const { return as<SIMCONNECT_RECV>().dwID; }
    template <typename T>
    const T& as() const { return *reinterpret_cast<const T*>(bytes.data()); }
    /// The data block of a SIMOBJECT_DATA record, read at byte OFFSET.
    template <typename T>
    T data(std::size_t OFFSET) const
    {
        T v;
        std::memcpy(&v, block() + OFFSET, sizeof v);
        return v;
    }
    const char* block() const
    {
        return reinterpret_cast<const char*>(&as<SIMCONNECT_RECV_SIMOBJECT_DATA>().dwData);
    }
};

/// A client connection that collects every record it dispatches.
struct Client {
    HANDLE h = nullptr;
    std::vector<Rec> got;

    static void onRecord(SIMCONNECT_RECV* P, DWORD CB, void* CTX)
    {
        auto* self = static_cast<Client*>(CTX);
        const char* raw = reinterpret_cast<const char*>(P);
        self->got.push_back({std::vector<char>(raw, raw + CB)});
    }
    HRESULT open() { return SimConnect_Open(&h, "TAVO", nullptr, 0, nullptr, 0); }
    void dispatch() { SimConnect_CallDispatch(h, onRecord, this); }
    /// Dispatches until PRED holds; false when the simulator never got there.
    bool until(const std::function<bool()>& PRED)
    {
        const auto deadline = std::chrono::steady_clock::now() + kWaitLimit;
        while (std::chrono::steady_clock::now() < deadline) {
            dispatch();
            if (PRED()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }
    std::vector<const Rec*> all(DWORD ID) const
    {
        std::vector<const Rec*> out;
        for (const auto& r : got)
            if (r.id() == ID) out.push_back(&r);
        return out;
    }
    std::vector<const Rec*> events(DWORD ID, DWORD EVENT) const
    {
        std::vector<const Rec*> out;
        for (const Rec* r : all(ID))
            if (r->as<SIMCONNECT_RECV_EVENT>().uEventID == EVENT) out.push_back(r);
        return out;
    }
    std::vector<const Rec*> replies(DWORD REQUEST) const
    {
        std::vector<const Rec*> out;
        for (const auto& r : got)
            if ((r.id() == SIMCONNECT_RECV_ID_SIMOBJECT_DATA || r.id() == SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE) &&
                r.as<SIMCONNECT_RECV_SIMOBJECT_DATA>().dwRequestID == REQUEST)
                out.push_back(&r);
        return out;
    }
    const SIMCONNECT_RECV_EXCEPTION* exceptionFor(DWORD SEND_ID, DWORD EXCEPTION) const
    {
        for (const Rec* r : all(SIMCONNECT_RECV_ID_EXCEPTION)) {
            const auto& e = r->as<SIMCONNECT_RECV_EXCEPTION>();
            if (e.dwSendID == SEND_ID && e.dwException == EXCEPTION) return &e;
        }
        return nullptr;
    }
    DWORD lastSendId() const
    {
        DWORD id = 0;
        SimConnect_GetLastSentPacketID(h, &id);
        return id;
    }
    /// Sets up the events and definitions the tests use, the way TAVO does.
    void setUp()
    {
        SimConnect_SubscribeToSystemEvent(h, kEvSim, "Sim");
        SimConnect_SubscribeToSystemEvent(h, kEvAdded, "ObjectAdded");
        SimConnect_SubscribeToSystemEvent(h, kEvRemoved, "ObjectRemoved");
        SimConnect_SubscribeToSystemEvent(h, kEvLoaded, "FlightLoaded");
        for (const char* v : {"Plane Latitude", "Plane Longitude"})
            SimConnect_AddToDataDefinition(h, kDefPose, v, "degree");
        for (const char* v : {"Plane Pitch degrees", "Plane Bank degrees", "Plane Heading degrees true"})
            SimConnect_AddToDataDefinition(h, kDefPose, v, "radians");
        SimConnect_AddToDataDefinition(h, kDefPose, "Plane Altitude", "feet");
        SimConnect_AddToDataDefinition(h, kDefGround, "Plane Alt Above Ground", "feet");
        SimConnect_AddToDataDefinition(h, kDefGround, "Ground Altitude", "feet");
        SimConnect_AddToDataDefinition(h, kDefGround, "SIM ON GROUND", "Bool", SIMCONNECT_DATATYPE_INT64);
        SimConnect_AddToDataDefinition(h, kDefGround, "ATC ID", nullptr, SIMCONNECT_DATATYPE_STRING32);
        SimConnect_AddToDataDefinition(h, kDefCg, "Static CG to Ground", "feet");
        SimConnect_AddToDataDefinition(h, kDefCg, "Static Pitch", "radians");
        SimConnect_AddToDataDefinition(h, kDefTitle, "TITLE", nullptr, SIMCONNECT_DATATYPE_STRINGV);
        const std::pair<DWORD, const char*> events[] = {{kEvFreezeLatLon, "FREEZE_LATITUDE_LONGITUDE_SET"},
                                                        {kEvFreezeAlt, "FREEZE_ALTITUDE_SET"},
                                                        {kEvFreezeAtt, "FREEZE_ATTITUDE_SET"},
                                                        {kEvGear, "GEAR_SET"},
                                                        {kEvNav, "NAV_LIGHTS_SET"}};
        for (const auto& [id, name] : events) SimConnect_MapClientEventToSimEvent(h, id, name);
    }
    /// Creates an aircraft and answers the call's packet id.
    DWORD create(const char* TITLE, const char* TAIL, double LAT, double LON, double ALT, DWORD REQUEST = 104)
    {
        SIMCONNECT_DATA_INITPOSITION init{LAT, LON, ALT, 0, 0, 90, 0, 0};
        EXPECT_EQ(SimConnect_AICreateNonATCAircraft(h, TITLE, TAIL, init, REQUEST), S_OK);
        return lastSendId();
    }
    ~Client()
    {
        if (h != nullptr) SimConnect_Close(h);
    }
};

class SimClient : public ::testing::Test {
protected:
    TempDir dir;
    std::unique_ptr<SimProcess> sim;
    Client client;

    void start(std::vector<std::string> ARGS)
    {
        sim = std::make_unique<SimProcess>(dir.path(), std::move(ARGS));
        sim->writeConfig(dir.path());
        ASSERT_EQ(client.open(), S_OK);
        ASSERT_TRUE(client.until([&] { return !client.all(SIMCONNECT_RECV_ID_OPEN).empty(); }));
        client.setUp();
    }
};

TEST(SimClientAlone, OpenFailsWhileNoSimulatorListens)
{
    TempDir dir;
    writeFile(dir / "SimConnect.cfg", "[SimConnect]\nPort=" + std::to_string(freePort()) + "\n");
    HANDLE h = reinterpret_cast<HANDLE>(1);
    EXPECT_NE(SimConnect_Open(&h, "TAVO", nullptr, 0, nullptr, 0), S_OK);
    EXPECT_EQ(h, nullptr);
}

struct Generation {
    const char* option;
    const char* name;
    DWORD major;
};

TEST(SimClientAlone, OpenAnswersTheApplicationOfItsGeneration)
{
    for (const Generation g : {Generation{"2020", "KittyHawk", 11}, Generation{"2024", "SunRise", 12}}) {
        TempDir dir;
        SimProcess sim(dir.path(), {"--sim", g.option}, false);
        sim.writeConfig(dir.path());
        Client c;
        ASSERT_EQ(c.open(), S_OK);
        ASSERT_TRUE(c.until([&] { return !c.all(SIMCONNECT_RECV_ID_OPEN).empty(); }));
        const auto& o = c.all(SIMCONNECT_RECV_ID_OPEN).front()->as<SIMCONNECT_RECV_OPEN>();
        EXPECT_STREQ(o.szApplicationName, g.name);
        EXPECT_EQ(o.dwApplicationVersionMajor, g.major);
    }
}

TEST_F(SimClient, AnotherNameIsAnsweredWhenAsked)
{
    TempDir other;
    SimProcess odd(other.path(), {"--app-name", "Other Sim 7"}, false);
    odd.writeConfig(other.path());
    Client c;
    ASSERT_EQ(c.open(), S_OK);
    ASSERT_TRUE(c.until([&] { return !c.all(SIMCONNECT_RECV_ID_OPEN).empty(); }));
    EXPECT_STREQ(c.all(SIMCONNECT_RECV_ID_OPEN).front()->as<SIMCONNECT_RECV_OPEN>().szApplicationName, "Other Sim 7");
}

TEST_F(SimClient, SimEventFollowsPauseAndRun)
{
    start({"--user", "47.0,8.0"});
    auto simData = [&] {
        std::vector<DWORD> v;
        for (const Rec* r : client.events(SIMCONNECT_RECV_ID_EVENT, kEvSim)) v.push_back(r->as<SIMCONNECT_RECV_EVENT>().dwData);
        return v;
    };
    ASSERT_TRUE(client.until([&] { return simData().size() == 1; }));
    EXPECT_EQ(simData(), std::vector<DWORD>{1}); // told at once on subscription
    sim->control("pause");
    ASSERT_TRUE(client.until([&] { return simData().size() == 2; }));
    const double pausedAt = sim->state()["t"];
    // Frames go on while paused, the clock does not.
    SimConnect_SubscribeToSystemEvent(client.h, kEvFrame, "Frame");
    ASSERT_TRUE(client.until([&] { return client.events(SIMCONNECT_RECV_ID_EVENT_FRAME, kEvFrame).size() >= 5; }));
    EXPECT_EQ(sim->state()["t"].get<double>(), pausedAt);
    sim->control("run");
    ASSERT_TRUE(client.until([&] { return simData().size() == 3; }));
    EXPECT_EQ(simData(), (std::vector<DWORD>{1, 0, 1}));
}

TEST_F(SimClient, PeriodicRepliesStopWhilePaused)
{
    start({"--user", "47.0,8.0", "--paused"});
    SimConnect_AddToDataDefinition(client.h, 90, "SIM ON GROUND", "Bool", SIMCONNECT_DATATYPE_INT64);
    SimConnect_RequestDataOnSimObject(client.h, kReqSecond, 90, SIMCONNECT_OBJECT_ID_USER, SIMCONNECT_PERIOD_SECOND);
    SimConnect_SubscribeToSystemEvent(client.h, kEvFrame, "Frame");
    ASSERT_TRUE(client.until([&] { return client.events(SIMCONNECT_RECV_ID_EVENT_FRAME, kEvFrame).size() >= 40; }));
    EXPECT_TRUE(client.replies(kReqSecond).empty());
    sim->control("run");
    ASSERT_TRUE(client.until([&] { return client.replies(kReqSecond).size() >= 2; }));
    EXPECT_EQ(client.replies(kReqSecond).front()->data<std::int64_t>(0), 1); // parked
}

TEST_F(SimClient, CreationIsAnsweredByObjectAddedAndByTypeReplies)
{
    start({"--user", "47.0,8.0", "--ground", "1200"});
    const DWORD s1 = client.create("Airbus A320 Test", "SWR12", 47.001, 8.001, 1210);
    const DWORD s2 = client.create("Boeing 737 Test", "DLH4", 47.01, 8.0, 5000);
    const DWORD s3 = client.create("Boeing 737 Test", "FAR1", 49.0, 8.0, 1210); // 120 nm away
    EXPECT_LT(s1, s2);
    EXPECT_LT(s2, s3);
    ASSERT_TRUE(client.until([&] { return client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvAdded).size() == 3; }));
    std::set<DWORD> added;
    for (const Rec* r : client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvAdded)) {
        const auto& e = r->as<SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE>();
        EXPECT_EQ(e.eObjType, SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT);
        EXPECT_GT(e.dwData, 1u); // never the user's id
        added.insert(e.dwData);
    }
    EXPECT_EQ(added.size(), 3u);
    EXPECT_EQ(client.all(SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID).size(), 3u);

    client.got.clear();
    SimConnect_RequestDataOnSimObjectType(client.h, kReqByType, kDefGround, 20'000, SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT);
    ASSERT_TRUE(client.until([&] { return client.replies(kReqByType).size() == 3; }));
    std::map<std::string, const Rec*> byTail;
    for (const Rec* r : client.replies(kReqByType)) {
        const auto& d = r->as<SIMCONNECT_RECV_SIMOBJECT_DATA>();
        EXPECT_EQ(d.dwoutof, 3u); // the user and the two within 20 km
        EXPECT_EQ(d.dwDefineCount, 4u);
        byTail[std::string(r->block() + 24)] = r;
    }
    ASSERT_TRUE(byTail.contains("SWR12") && byTail.contains("DLH4") && byTail.contains("N12345"));
    EXPECT_DOUBLE_EQ(byTail["SWR12"]->data<double>(8), 1200.0);      // ground altitude
    EXPECT_NEAR(byTail["SWR12"]->data<double>(0), 10.0, 1e-9);       // above ground
    EXPECT_EQ(byTail["SWR12"]->data<std::int64_t>(16), 1);           // at its parked height
    EXPECT_NEAR(byTail["DLH4"]->data<double>(0), 3800.0, 1e-9);
    EXPECT_EQ(byTail["DLH4"]->data<std::int64_t>(16), 0);
    std::set<DWORD> entries;
    for (const Rec* r : client.replies(kReqByType)) entries.insert(r->as<SIMCONNECT_RECV_SIMOBJECT_DATA>().dwentrynumber);
    EXPECT_EQ(entries, (std::set<DWORD>{1, 2, 3}));

    const auto created = linesOf(sim->recording(), "created");
    ASSERT_EQ(created.size(), 3u);
    EXPECT_EQ(created[0]["tail"], "SWR12");
    EXPECT_EQ(created[0]["title"], "Airbus A320 Test");
    EXPECT_EQ(created[0]["sendId"], s1);
    EXPECT_NEAR(created[0]["heading"].get<double>(), kPi / 2, 1e-12); // given in degrees, recorded in radians
}

TEST_F(SimClient, UnknownTitleFailsWithException22BySendId)
{
    writeFile(dir / "titles.txt", "Airbus A320 Known\nBoeing 737 Known\n");
    start({"--user", "47.0,8.0", "--titles", (dir / "titles.txt").string()});
    const DWORD good = client.create("Boeing 737 Known", "OK1", 47.0, 8.01, 0);
    const DWORD bad = client.create("Airbus A320 Unknown", "BAD1", 47.0, 8.02, 0);
    ASSERT_TRUE(client.until([&] { return client.exceptionFor(bad, SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED) != nullptr; }));
    ASSERT_TRUE(client.until([&] { return client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvAdded).size() == 1; }));
    EXPECT_EQ(client.exceptionFor(good, SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED), nullptr);
    const auto failed = linesOf(sim->recording(), "create_failed");
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0]["tail"], "BAD1");
    EXPECT_EQ(failed[0]["reason"], "unknown title");
    EXPECT_EQ(failed[0]["exception"], 22);
}

TEST_F(SimClient, TheObjectLimitGivesExceptions11And22)
{
    start({"--user", "47.0,8.0", "--max-objects", "2"});
    std::vector<DWORD> sends;
    for (int i = 0; i < 4; ++i) sends.push_back(client.create("Any Airliner", ("T" + std::to_string(i)).c_str(), 47, 8, 0));
    ASSERT_TRUE(client.until([&] { return client.exceptionFor(sends[3], SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED) != nullptr; }));
    for (const int i : {0, 1}) EXPECT_EQ(client.exceptionFor(sends[i], SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED), nullptr);
    for (const int i : {2, 3}) {
        EXPECT_NE(client.exceptionFor(sends[i], SIMCONNECT_EXCEPTION_TOO_MANY_OBJECTS), nullptr);
        EXPECT_NE(client.exceptionFor(sends[i], SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED), nullptr);
    }
    ASSERT_TRUE(client.until([&] { return client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvAdded).size() == 2; }));
    EXPECT_EQ(sim->state()["objects"].size(), 2u);
}

TEST_F(SimClient, RemovalIsAnnouncedAndRecorded)
{
    start({"--user", "47.0,8.0"});
    client.create("Any Airliner", "REM1", 47, 8, 0);
    ASSERT_TRUE(client.until([&] { return !client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvAdded).empty(); }));
    const DWORD id = client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvAdded).front()->as<SIMCONNECT_RECV_EVENT>().dwData;
    ASSERT_EQ(SimConnect_AIRemoveObject(client.h, id, 105), S_OK);
    const DWORD removeSend = client.lastSendId();
    ASSERT_TRUE(client.until([&] { return !client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvRemoved).empty(); }));
    EXPECT_EQ(client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvRemoved).front()->as<SIMCONNECT_RECV_EVENT>().dwData, id);

    // The user and unknown objects are refused, each by its own packet id.
    SimConnect_AIRemoveObject(client.h, 1, 105);
    const DWORD userSend = client.lastSendId();
    SimConnect_AIRemoveObject(client.h, id, 105);
    const DWORD goneSend = client.lastSendId();
    ASSERT_TRUE(client.until([&] { return client.exceptionFor(goneSend, SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID) != nullptr; }));
    EXPECT_NE(client.exceptionFor(userSend, SIMCONNECT_EXCEPTION_OPERATION_INVALID_FOR_OBJECT_TYPE), nullptr);

    const auto rec = sim->recording();
    ASSERT_EQ(linesOf(rec, "remove").size(), 1u);
    EXPECT_EQ(linesOf(rec, "remove")[0]["sendId"], removeSend);
    ASSERT_EQ(linesOf(rec, "removed").size(), 1u);
    EXPECT_EQ(linesOf(rec, "removed")[0]["objectId"], id);
    EXPECT_GE(linesOf(rec, "removed")[0]["t"].get<double>(), linesOf(rec, "remove")[0]["t"].get<double>());
}

TEST_F(SimClient, PositionsReleaseFreezeAndEventsAreAppliedAndRecorded)
{
    start({"--user", "47.0,8.0"});
    client.create("Any Airliner", "POS1", 47, 8, 0);
    ASSERT_TRUE(client.until([&] { return !client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvAdded).empty(); }));
    const DWORD id = client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvAdded).front()->as<SIMCONNECT_RECV_EVENT>().dwData;
    SimConnect_AIReleaseControl(client.h, id, 103);
    for (const DWORD ev : {kEvFreezeLatLon, kEvFreezeAlt, kEvFreezeAtt})
        EXPECT_EQ(SimConnect_TransmitClientEvent(client.h, id, ev, 1, 301, 0), S_OK);
    SimConnect_TransmitClientEvent(client.h, id, kEvGear, 0, 301, 0);
    const double pose[6] = {47.01, 8.02, -0.05, 0.1, 3.0, 2500.0};
    SimConnect_SetDataOnSimObject(client.h, kDefPose, id, 0, 0, sizeof pose, const_cast<double*>(pose));
    SimConnect_RequestDataOnSimObject(client.h, kReqCg, kDefPose, id, SIMCONNECT_PERIOD_ONCE);
    ASSERT_TRUE(client.until([&] { return !client.replies(kReqCg).empty(); }));
    const Rec& back = *client.replies(kReqCg).front();
    for (int i = 0; i < 6; ++i) EXPECT_DOUBLE_EQ(back.data<double>(8 * i), pose[i]) << i;

    const auto st = sim->state();
    ASSERT_EQ(st["objects"].size(), 1u);
    EXPECT_TRUE(st["objects"][0]["released"]);
    EXPECT_TRUE(st["objects"][0]["frozen"]);
    EXPECT_FALSE(st["objects"][0]["gearDown"]);

    const auto rec = sim->recording();
    ASSERT_EQ(linesOf(rec, "release").size(), 1u);
    const auto events = linesOf(rec, "event");
    ASSERT_EQ(events.size(), 4u);
    EXPECT_EQ(events[0]["name"], "FREEZE_LATITUDE_LONGITUDE_SET");
    EXPECT_EQ(events[3]["name"], "GEAR_SET");
    EXPECT_EQ(events[3]["data"], 0);
    const auto positions = linesOf(rec, "position");
    ASSERT_EQ(positions.size(), 1u);
    EXPECT_EQ(positions[0]["objectId"], id);
    EXPECT_DOUBLE_EQ(positions[0]["lat"].get<double>(), 47.01);
    EXPECT_DOUBLE_EQ(positions[0]["pitch"].get<double>(), -0.05);
    EXPECT_DOUBLE_EQ(positions[0]["heading"].get<double>(), 3.0);
    EXPECT_DOUBLE_EQ(positions[0]["alt"].get<double>(), 2500.0);
    // Every line carries the simulator's time, and time never runs back.
    double last = 0;
    for (const auto& l : rec) {
        ASSERT_TRUE(l.contains("t") && l.contains("kind") && l.contains("objectId"));
        EXPECT_GE(l["t"].get<double>(), last);
        last = l["t"];
    }
}

TEST_F(SimClient, UserStateComesFromTheOptionsAndTheClock)
{
    start({"--user", "-33.95,151.18", "--ground", "20", "--utc", "2024-02-29T12:34:56", "--paused"});
    const DWORD def = kDefUser;
    for (const char* v : {"Plane Latitude", "Plane Longitude"}) SimConnect_AddToDataDefinition(client.h, def, v, "degree");
    SimConnect_AddToDataDefinition(client.h, def, "Plane Altitude", "feet");
    SimConnect_AddToDataDefinition(client.h, def, "Ground Velocity", "knots");
    for (const char* v : {"ZULU TIME", "ZULU DAY OF YEAR", "ZULU YEAR"})
        SimConnect_AddToDataDefinition(client.h, def, v, v[5] == 'T' ? "Seconds" : "Number", SIMCONNECT_DATATYPE_INT64);
    SimConnect_RequestDataOnSimObject(client.h, kReqUser, def, SIMCONNECT_OBJECT_ID_USER, SIMCONNECT_PERIOD_ONCE);
    ASSERT_TRUE(client.until([&] { return !client.replies(kReqUser).empty(); }));
    const Rec& r = *client.replies(kReqUser).front();
    EXPECT_EQ(r.as<SIMCONNECT_RECV_SIMOBJECT_DATA>().dwObjectID, 1u);
    EXPECT_DOUBLE_EQ(r.data<double>(0), -33.95);
    EXPECT_DOUBLE_EQ(r.data<double>(8), 151.18);
    EXPECT_DOUBLE_EQ(r.data<double>(16), 20.0 + 6.0); // parked: ground plus the reference height
    EXPECT_EQ(r.data<double>(24), 0.0);
    EXPECT_EQ(r.data<std::int64_t>(32), 12 * 3600 + 34 * 60 + 56);
    EXPECT_EQ(r.data<std::int64_t>(40), 31 + 29);
    EXPECT_EQ(r.data<std::int64_t>(48), 2024);
}

TEST_F(SimClient, TeleportMovesTheUser)
{
    start({"--user", "47.0,8.0"});
    sim->control("teleport", "lat=48.5&lon=9.25&alt=8000&heading=180&speed=250");
    SimConnect_RequestDataOnSimObject(client.h, kReqUser, kDefPose, SIMCONNECT_OBJECT_ID_USER, SIMCONNECT_PERIOD_ONCE);
    ASSERT_TRUE(client.until([&] { return !client.replies(kReqUser).empty(); }));
    const Rec& r = *client.replies(kReqUser).front();
    EXPECT_NEAR(r.data<double>(0), 48.5, 0.01); // it flies on at 250 kt
    EXPECT_NEAR(r.data<double>(8), 9.25, 0.01);
    EXPECT_NEAR(r.data<double>(32), kPi, 1e-9);
    EXPECT_DOUBLE_EQ(r.data<double>(40), 8000.0);
    EXPECT_LE(r.data<double>(0), 48.5); // southbound
}

TEST_F(SimClient, TitleComesAsTextOfVariableLength)
{
    start({"--user", "47.0,8.0", "--title", "Stand-in Test Aircraft With A Long Title"});
    SimConnect_RequestDataOnSimObject(client.h, kReqTitle, kDefTitle, SIMCONNECT_OBJECT_ID_USER, SIMCONNECT_PERIOD_ONCE);
    ASSERT_TRUE(client.until([&] { return !client.replies(kReqTitle).empty(); }));
    const Rec& r = *client.replies(kReqTitle).front();
    auto* rec = const_cast<SIMCONNECT_RECV*>(&r.as<SIMCONNECT_RECV>());
    char* field = const_cast<char*>(r.block());
    char* text = nullptr;
    DWORD bytes = 0;
    ASSERT_EQ(SimConnect_RetrieveString(rec, static_cast<DWORD>(r.bytes.size()), field, &text, &bytes), S_OK);
    EXPECT_STREQ(text, "Stand-in Test Aircraft With A Long Title");
    EXPECT_EQ(bytes % 4, 0u);
    EXPECT_GT(bytes, std::strlen(text));
}

TEST_F(SimClient, StaticShapeOfAnAiObject)
{
    start({"--user", "47.0,8.0"});
    client.create("Boeing 747-8 Test", "CG1", 47, 8, 0);
    ASSERT_TRUE(client.until([&] { return !client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvAdded).empty(); }));
    const DWORD id = client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvAdded).front()->as<SIMCONNECT_RECV_EVENT>().dwData;
    SimConnect_RequestDataOnSimObject(client.h, kReqCg, kDefCg, id, SIMCONNECT_PERIOD_ONCE);
    ASSERT_TRUE(client.until([&] { return !client.replies(kReqCg).empty(); }));
    const Rec& r = *client.replies(kReqCg).front();
    EXPECT_EQ(r.as<SIMCONNECT_RECV_SIMOBJECT_DATA>().dwObjectID, id);
    EXPECT_GE(r.data<double>(0), 1.0);
    EXPECT_LE(r.data<double>(0), 35.0);
}

TEST_F(SimClient, BadRequestsComeBackAsExceptionsWithTheirPacketIds)
{
    start({"--user", "47.0,8.0"});
    SimConnect_SubscribeToSystemEvent(client.h, 99, "NoSuchEvent");
    const DWORD badEvent = client.lastSendId();
    SimConnect_AddToDataDefinition(client.h, 98, "NO SUCH VARIABLE", "feet");
    const DWORD badVar = client.lastSendId();
    SimConnect_RequestDataOnSimObject(client.h, 97, 12345, SIMCONNECT_OBJECT_ID_USER, SIMCONNECT_PERIOD_ONCE);
    const DWORD badDef = client.lastSendId();
    SimConnect_RequestDataOnSimObject(client.h, 96, kDefPose, 4242, SIMCONNECT_PERIOD_ONCE);
    const DWORD badObject = client.lastSendId();
    const double shortBlock[2] = {1, 2};
    SimConnect_SetDataOnSimObject(client.h, kDefPose, 1, 0, 0, sizeof shortBlock, const_cast<double*>(shortBlock));
    const DWORD badSize = client.lastSendId();
    ASSERT_TRUE(client.until([&] { return client.exceptionFor(badSize, SIMCONNECT_EXCEPTION_INVALID_DATA_SIZE) != nullptr; }));
    EXPECT_NE(client.exceptionFor(badEvent, SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED), nullptr);
    EXPECT_NE(client.exceptionFor(badVar, SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED), nullptr);
    EXPECT_NE(client.exceptionFor(badDef, SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID), nullptr);
    EXPECT_NE(client.exceptionFor(badObject, SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID), nullptr);
}

TEST_F(SimClient, ChangingTheAircraftLoadsAFlight)
{
    start({"--user", "47.0,8.0"});
    sim->control("aircraft", "title=Other%20Plane&model=B738");
    ASSERT_TRUE(client.until([&] { return !client.events(SIMCONNECT_RECV_ID_EVENT_FILENAME, kEvLoaded).empty(); }));
    const auto& f = client.events(SIMCONNECT_RECV_ID_EVENT_FILENAME, kEvLoaded).front()->as<SIMCONNECT_RECV_EVENT_FILENAME>();
    EXPECT_NE(std::string(f.szFileName).find("Other Plane"), std::string::npos);
    EXPECT_EQ(sim->state()["user"]["atcModel"], "B738");
}

TEST_F(SimClient, RefusedRequestsFailAtTheCall)
{
    start({"--user", "47.0,8.0"});
    sim->control("refuse", "count=2");
    // The order reaches the library with the next dispatch.
    SimConnect_SubscribeToSystemEvent(client.h, kEvFrame, "Frame");
    ASSERT_TRUE(client.until([&] { return !client.events(SIMCONNECT_RECV_ID_EVENT_FRAME, kEvFrame).empty(); }));
    EXPECT_NE(SimConnect_RequestDataOnSimObject(client.h, 1, kDefPose, 0, SIMCONNECT_PERIOD_ONCE), S_OK);
    EXPECT_NE(SimConnect_AIRemoveObject(client.h, 1234, 105), S_OK);
    EXPECT_EQ(SimConnect_RequestDataOnSimObject(client.h, 1, kDefPose, 0, SIMCONNECT_PERIOD_ONCE), S_OK);
}

TEST_F(SimClient, QuitArrivesAsQuitAndEndsTheStream)
{
    start({"--user", "47.0,8.0"});
    sim->control("quit");
    ASSERT_TRUE(client.until([&] { return !client.all(SIMCONNECT_RECV_ID_QUIT).empty(); }));
    EXPECT_EQ(client.all(SIMCONNECT_RECV_ID_QUIT).size(), 1u);
    EXPECT_NE(SimConnect_CallDispatch(client.h, Client::onRecord, &client), S_OK);
    EXPECT_EQ(client.all(SIMCONNECT_RECV_ID_QUIT).size(), 1u);
    EXPECT_NE(SimConnect_RequestDataOnSimObject(client.h, 1, kDefPose, 0, SIMCONNECT_PERIOD_ONCE), S_OK);
    EXPECT_EQ(sim->stop(), 0);
}

TEST_F(SimClient, LossOfTheConnectionArrivesAsQuit)
{
    start({"--user", "47.0,8.0"});
    client.create("Any Airliner", "DROP1", 47, 8, 0);
    ASSERT_TRUE(client.until([&] { return !client.events(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, kEvAdded).empty(); }));
    sim->control("drop");
    ASSERT_TRUE(client.until([&] { return !client.all(SIMCONNECT_RECV_ID_QUIT).empty(); }));
    // A client's objects go with it.
    EXPECT_TRUE(sim->state()["objects"].empty());
    EXPECT_EQ(linesOf(sim->recording(), "removed").size(), 1u);
}

TEST_F(SimClient, TerminationSaysQuitToEveryClient)
{
    start({"--user", "47.0,8.0"});
    Client second;
    ASSERT_EQ(second.open(), S_OK);
    ASSERT_TRUE(second.until([&] { return !second.all(SIMCONNECT_RECV_ID_OPEN).empty(); }));
    EXPECT_EQ(sim->stop(), 0);
    EXPECT_TRUE(client.until([&] { return !client.all(SIMCONNECT_RECV_ID_QUIT).empty(); }));
    EXPECT_TRUE(second.until([&] { return !second.all(SIMCONNECT_RECV_ID_QUIT).empty(); }));
}


TEST_F(SimClient, AScenarioMovesTheUserOnTheSimulatorsClock)
{
    writeFile(dir / "scenario.txt", "0.2 move speed=3600 heading=90\n"
                                    "0.3 nonsense\n" // reported, and the flight goes on
                                    "1.2 pause\n");
    start({"--user", "47.0,8.0", "--scenario", (dir / "scenario.txt").string()});
    ASSERT_TRUE(client.until([&] { return client.events(SIMCONNECT_RECV_ID_EVENT, kEvSim).size() == 2; }));
    EXPECT_EQ(client.events(SIMCONNECT_RECV_ID_EVENT, kEvSim)[1]->as<SIMCONNECT_RECV_EVENT>().dwData, 0u);
    const auto st = sim->state();
    EXPECT_FALSE(st["running"]);
    // One nautical mile a second for about one second, due east.
    EXPECT_NEAR(st["user"]["lat"].get<double>(), 47.0, 1e-6);
    EXPECT_GT(st["user"]["lon"].get<double>(), 8.0 + 0.5 / 60 / std::cos(47.0 * kPi / 180));
    EXPECT_LT(st["user"]["lon"].get<double>(), 8.0 + 1.5 / 60 / std::cos(47.0 * kPi / 180));
}

TEST_F(SimClient, UnknownControlActionsAreRefused)
{
    start({"--user", "47.0,8.0"});
    EXPECT_THROW(sim->control("nonsense"), std::runtime_error);
    EXPECT_THROW(sim->control("teleport", "lat=47"), std::runtime_error);
    EXPECT_THROW(sim->control("fps", "value=0"), std::runtime_error);
    EXPECT_TRUE(sim->state()["running"]);
}

/// A dispatch function that throws at the first record of ID.
struct Thrower {
    DWORD id;
    static void onRecord(SIMCONNECT_RECV* P, DWORD, void* CTX)
    {
        if (P->dwID == static_cast<Thrower*>(CTX)->id) throw std::runtime_error("from the dispatch");
    }
};

TEST_F(SimClient, WhatTheDispatchThrowsReachesTheCallerAndTheLinkStays)
{
    start({"--user", "47.0,8.0"});
    SimConnect_RequestDataOnSimObject(client.h, kReqUser, kDefPose, SIMCONNECT_OBJECT_ID_USER, SIMCONNECT_PERIOD_ONCE);
    Thrower thrower{SIMCONNECT_RECV_ID_SIMOBJECT_DATA};
    bool thrown = false;
    for (int i = 0; i < 10000 && !thrown; ++i) {
        try {
            SimConnect_CallDispatch(client.h, Thrower::onRecord, &thrower);
        } catch (const std::runtime_error& e) {
            thrown = std::string(e.what()) == "from the dispatch";
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_TRUE(thrown);
    SimConnect_RequestDataOnSimObject(client.h, kReqUser, kDefPose, SIMCONNECT_OBJECT_ID_USER, SIMCONNECT_PERIOD_ONCE);
    EXPECT_TRUE(client.until([&] { return !client.replies(kReqUser).empty(); }));
    EXPECT_TRUE(client.all(SIMCONNECT_RECV_ID_QUIT).empty());
}

} // namespace
} // namespace orv::test
