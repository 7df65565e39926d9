// The stand-in simulator's parts on their own: variables and units, packing,
// the calendar, geometry, client events, options, the wire and the config.
#include "tests/support/calendar.h"
#include "sim/simconnect_api.h"
#include "standin/sim/control.h"
#include "standin/sim/options.h"
#include "standin/sim/recorder.h"
#include "standin/sim/simvars.h"
#include "standin/sim/world.h"
#include "standin/simconnect/client_config.h"
#include "standin/simconnect/wire.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstring>
#include <numbers>
#include <random>

namespace orv::simstandin {
namespace {

using orv::test::daysFromCivil;

constexpr double kPi = std::numbers::pi;

Datum makeOk(const char* NAME, const char* UNITS, std::uint32_t TYPE)
{
    DatumFault fault{};
    auto d = gf_makeDatum(NAME, UNITS, TYPE, fault);
    EXPECT_TRUE(d.has_value()) << NAME << " / " << UNITS;
    return d.value_or(Datum{});
}

struct BadDatum {
    const char* name;
    const char* units;
    std::uint32_t type;
    std::uint32_t exception;
    std::uint32_t argument;
};

TEST(SimVars, RefusedDefinitionsNameTheFaultyArgument)
{
    const BadDatum cases[] = {
        {"NO SUCH VARIABLE", "feet", SIMCONNECT_DATATYPE_FLOAT64, SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, 1},
        {"PLANE LATITUDE", "feet", SIMCONNECT_DATATYPE_FLOAT64, SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, 2},
        {"PLANE ALTITUDE", "knots", SIMCONNECT_DATATYPE_FLOAT64, SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, 2},
        {"TITLE", "", SIMCONNECT_DATATYPE_FLOAT64, SIMCONNECT_EXCEPTION_INVALID_DATA_TYPE, 3},
        {"SIM ON GROUND", "Bool", SIMCONNECT_DATATYPE_STRING32, SIMCONNECT_EXCEPTION_INVALID_DATA_TYPE, 3},
        {"PLANE ALTITUDE", "feet", 99, SIMCONNECT_EXCEPTION_INVALID_DATA_TYPE, 3},
        {"GENERAL ENG THROTTLE LEVER POSITION:0", "percent", SIMCONNECT_DATATYPE_FLOAT64,
         SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, 1},
        {"GENERAL ENG THROTTLE LEVER POSITION:5", "percent", SIMCONNECT_DATATYPE_FLOAT64,
         SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, 1},
        {"PLANE ALTITUDE:1", "feet", SIMCONNECT_DATATYPE_FLOAT64, SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, 1},
        {"GENERAL ENG THROTTLE LEVER POSITION:x", "percent", SIMCONNECT_DATATYPE_FLOAT64,
         SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, 1},
    };
    for (const auto& c : cases) {
        DatumFault fault{};
        EXPECT_FALSE(gf_makeDatum(c.name, c.units, c.type, fault).has_value()) << c.name;
        EXPECT_EQ(fault.exception, c.exception) << c.name << " / " << c.units;
        EXPECT_EQ(fault.argument, c.argument) << c.name << " / " << c.units;
    }
}

TEST(SimVars, NamesAndUnitsIgnoreCaseAndIndexesCount)
{
    const Datum lat = makeOk("Plane Latitude", "Degrees", SIMCONNECT_DATATYPE_FLOAT64);
    EXPECT_EQ(lat.var, SimVar::Latitude);
    const Datum throttle = makeOk("GENERAL ENG THROTTLE LEVER POSITION:2", "percent", SIMCONNECT_DATATYPE_FLOAT64);
    EXPECT_EQ(throttle.var, SimVar::ThrottleLever);
    EXPECT_EQ(throttle.index, 2);
    EXPECT_EQ(makeOk("ATC ID", "", SIMCONNECT_DATATYPE_STRING32).size, 32u);
    EXPECT_EQ(makeOk("TITLE", "", SIMCONNECT_DATATYPE_STRINGV).size, 0u);
}

double packOne(const char* NAME, const char* UNITS, const SimObject& O, const World& W)
{
    std::string bytes;
    gf_packData({makeOk(NAME, UNITS, SIMCONNECT_DATATYPE_FLOAT64)}, O, W, bytes);
    EXPECT_EQ(bytes.size(), sizeof(double));
    double v = 0;
    std::memcpy(&v, bytes.data(), sizeof v);
    return v;
}

TEST(SimVars, ValuesComeInTheRequestedUnits)
{
    World w;
    w.groundFt = 500;
    SimObject o;
    o.latDeg = 47.5;
    o.headingRad = kPi / 2;
    o.altFt = 1500;
    o.vsFps = 10;
    o.tasKt = 100;
    EXPECT_DOUBLE_EQ(packOne("PLANE LATITUDE", "degree", o, w), 47.5);
    EXPECT_NEAR(packOne("PLANE LATITUDE", "radians", o, w), 47.5 * kPi / 180, 1e-12);
    EXPECT_NEAR(packOne("PLANE HEADING DEGREES TRUE", "degrees", o, w), 90.0, 1e-9);
    EXPECT_NEAR(packOne("PLANE ALTITUDE", "meters", o, w), 1500 * 0.3048, 1e-6);
    EXPECT_NEAR(packOne("VERTICAL SPEED", "feet per minute", o, w), 600.0, 1e-9);
    EXPECT_NEAR(packOne("AIRSPEED TRUE", "meters per second", o, w), 100 * 1852.0 / 3600.0, 1e-6);
    EXPECT_DOUBLE_EQ(packOne("GROUND ALTITUDE", "feet", o, w), 500.0);
    EXPECT_DOUBLE_EQ(packOne("PLANE ALT ABOVE GROUND", "feet", o, w), 1000.0);
}

TEST(SimVars, OnGroundFollowsTheParkedHeight)
{
    World w;
    w.groundFt = 100;
    SimObject o;
    o.staticCgFt = 10;
    for (const auto& [alt, ground] : {std::pair{110.0, true}, {111.0, true}, {111.5, false}, {400.0, false}, {90.0, true}}) {
        o.altFt = alt;
        EXPECT_EQ(gf_onGround(w, o), ground) << alt;
    }
}

TEST(SimVars, TextsAreCutAndPaddedByTheirType)
{
    World w;
    SimObject o;
    o.atcId = std::string(40, 'X');
    o.title = "ABCDE";
    std::string bytes;
    gf_packData({makeOk("ATC ID", "", SIMCONNECT_DATATYPE_STRING32), makeOk("TITLE", "", SIMCONNECT_DATATYPE_STRINGV)},
                o, w, bytes);
    ASSERT_EQ(bytes.size(), 32u + 8u); // 31 letters + NUL, then "ABCDE" NUL padded to a word
    EXPECT_EQ(std::string(bytes.data()), std::string(31, 'X'));
    EXPECT_EQ(std::string(bytes.data() + 32), "ABCDE");
    for (std::size_t i = 32 + 5; i < bytes.size(); ++i) EXPECT_EQ(bytes[i], '\0');
}

TEST(SimVars, WritesApplyInTheClientsUnitsAndCheckTheSize)
{
    const std::vector<Datum> def = {makeOk("PLANE LATITUDE", "degree", SIMCONNECT_DATATYPE_FLOAT64),
                                    makeOk("PLANE ALTITUDE", "meters", SIMCONNECT_DATATYPE_FLOAT64),
                                    makeOk("PLANE ALT ABOVE GROUND", "feet", SIMCONNECT_DATATYPE_FLOAT64),
                                    makeOk("LIGHT STATES", "Mask", SIMCONNECT_DATATYPE_INT64)};
    SimObject o;
    o.altFt = 7;
    char block[32];
    const double lat = -33.9, altM = 100, agl = 12345;
    const std::int64_t lights = 0x205;
    std::memcpy(block, &lat, 8);
    std::memcpy(block + 8, &altM, 8);
    std::memcpy(block + 16, &agl, 8);
    std::memcpy(block + 24, &lights, 8);
    EXPECT_FALSE(gf_unpackData(def, block, 24, o));
    EXPECT_EQ(o.latDeg, 0.0);
    std::vector<double> values;
    ASSERT_TRUE(gf_unpackData(def, block, 32, o, &values));
    EXPECT_DOUBLE_EQ(o.latDeg, -33.9);
    EXPECT_NEAR(o.altFt, 100 / 0.3048, 1e-6);
    EXPECT_EQ(o.lightStates, 0x205u);
    EXPECT_EQ(values.size(), 4u);
    EXPECT_DOUBLE_EQ(values[1], 100.0); // as the client gave it
}

TEST(SimVars, ZuluFieldsFollowTheCalendar)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<long> anyDay(0, daysFromCivil(2100, 1, 1));
    std::uniform_real_distribution<double> anySecond(0, 86399.9);
    for (int i = 0; i < 2000; ++i) {
        const long day = anyDay(random);
        const double second = anySecond(random);
        double gotSecond = 0;
        int gotDay = 0, gotYear = 0;
        gf_zulu(day * 86400.0 + second, gotSecond, gotDay, gotYear);
        ASSERT_NEAR(gotSecond, second, 1e-3);
        ASSERT_EQ(day, daysFromCivil(gotYear, 1, 1) + gotDay - 1) << day;
        ASSERT_GE(gotDay, 1);
        ASSERT_LE(gotDay, 366);
    }
    double s = 0;
    int d = 0, y = 0;
    gf_zulu(daysFromCivil(2024, 12, 31) * 86400.0, s, d, y);
    EXPECT_EQ(d, 366);
    gf_zulu(daysFromCivil(2100, 12, 31) * 86400.0, s, d, y);
    EXPECT_EQ(d, 365); // 2100 is no leap year
}

TEST(SimWorld, MovingAndMeasuringAgree)
{
    std::mt19937 random(11);
    std::uniform_real_distribution<double> lat(-80, 80), lon(-180, 180), course(0, 2 * kPi), dist(0.01, 500);
    for (int i = 0; i < 500; ++i) {
        double la = lat(random), lo = lon(random);
        const double la0 = la, lo0 = lo, d = dist(random);
        gf_movePoint(la, lo, course(random), d);
        ASSERT_NEAR(gf_distanceNm(la0, lo0, la, lo), d, 1e-6 * d + 1e-9);
        ASSERT_LE(std::fabs(lo), 180.0);
    }
}

TEST(SimWorld, UserNeverSinksBelowItsParkedHeight)
{
    World w;
    w.groundFt = 1000;
    w.user.staticCgFt = kUserStaticCgFt;
    const double alt = 1200;
    gf_placeUser(w, 10, 20, &alt, 0);
    w.user.vsFps = -50;
    gf_moveUser(w, 10);
    EXPECT_DOUBLE_EQ(w.user.altFt, 1000 + kUserStaticCgFt);
    EXPECT_EQ(w.user.vsFps, 0.0);
    EXPECT_TRUE(gf_onGround(w, w.user));
}

TEST(SimWorld, UserMovesAlongItsCourse)
{
    World w;
    gf_placeUser(w, 0, 0, nullptr, kPi / 2);
    w.user.gsKt = 360; // 0.1 nm a second
    gf_moveUser(w, 10);
    EXPECT_NEAR(gf_distanceNm(0, 0, w.user.latDeg, w.user.lonDeg), 1.0, 1e-9);
    EXPECT_NEAR(w.user.latDeg, 0.0, 1e-9);
    EXPECT_GT(w.user.lonDeg, 0.0);
}

struct EventCase {
    const char* name;
    std::uint32_t data;
    std::uint64_t lightsAfter; ///< from kLightNav | kLightTaxi
};

TEST(SimWorld, LightEventsSetAndClearTheirBits)
{
    const EventCase cases[] = {
        {"NAV_LIGHTS_SET", 0, kLightTaxi},
        {"NAV_LIGHTS_SET", 1, kLightNav | kLightTaxi},
        {"BEACON_LIGHTS_SET", 1, kLightNav | kLightTaxi | kLightBeacon},
        {"LANDING_LIGHTS_SET", 7, kLightNav | kLightTaxi | kLightLanding},
        {"TAXI_LIGHTS_SET", 0, kLightNav},
        {"STROBES_SET", 1, kLightNav | kLightTaxi | kLightStrobe},
        {"LOGO_LIGHTS_SET", 1, kLightNav | kLightTaxi | kLightLogo},
        {"CABIN_LIGHTS_SET", 1, kLightNav | kLightTaxi | kLightCabin},
        {"ALL_LIGHTS_TOGGLE", 0, kLightAll & ~(kLightNav | kLightTaxi)},
    };
    for (const auto& c : cases) {
        SimObject o;
        o.lightStates = kLightNav | kLightTaxi;
        EXPECT_TRUE(gf_applyClientEvent(o, c.name, c.data));
        EXPECT_EQ(o.lightStates, c.lightsAfter) << c.name << " " << c.data;
    }
}

TEST(SimWorld, ControlAndFreezeEventsActOnTheObject)
{
    SimObject o;
    EXPECT_TRUE(gf_applyClientEvent(o, "GEAR_SET", 0));
    EXPECT_FALSE(o.gearDown);
    EXPECT_TRUE(gf_applyClientEvent(o, "FLAPS_SET", 16383));
    EXPECT_DOUBLE_EQ(o.flapsPct, 100.0);
    EXPECT_TRUE(gf_applyClientEvent(o, "THROTTLE_SET", 8191));
    for (const double t : o.throttlePct) EXPECT_NEAR(t, 50.0, 0.01);
    EXPECT_TRUE(gf_applyClientEvent(o, "SPOILERS_SET", 16383));
    EXPECT_DOUBLE_EQ(o.spoilersPct, 100.0);
    for (const char* f : {"FREEZE_LATITUDE_LONGITUDE_SET", "FREEZE_ALTITUDE_SET", "FREEZE_ATTITUDE_SET"})
        EXPECT_TRUE(gf_applyClientEvent(o, f, 1));
    EXPECT_TRUE(o.freezeLatLon && o.freezeAltitude && o.freezeAttitude);
    EXPECT_TRUE(gf_applyClientEvent(o, "ENGINE_AUTO_START", 0));
    EXPECT_TRUE(o.enginesRunning);
    EXPECT_FALSE(gf_applyClientEvent(o, "SMOKE_ON", 0));
}

TEST(SimWorld, ParkedShapesComeFromTheTypeInTheTitle)
{
    double cgBig = 0, cgSmall = 0, cgOther = 0, pitch = 0;
    gf_staticShape("Airbus A380-800 Emirates", cgBig, pitch);
    gf_staticShape("Cessna 172 Skyhawk", cgSmall, pitch);
    gf_staticShape("Something Unknown", cgOther, pitch);
    EXPECT_GT(cgBig, cgOther);
    EXPECT_LT(cgSmall, cgOther);
    // The engine takes parked heights of 1 to 35 ft and pitches of -1 to 2.5 degrees.
    for (const char* title : {"A380", "747", "737", "C172", "H135", "x"}) {
        double cg = 0, p = 0;
        gf_staticShape(title, cg, p);
        EXPECT_GE(cg, 1.0);
        EXPECT_LE(cg, 35.0);
        EXPECT_GT(p, -1.0 * kPi / 180);
        EXPECT_LE(p, 2.5 * kPi / 180);
    }
}

TEST(SimOptions, UserPositionWithAndWithoutAltitude)
{
    const auto parked = gf_parseSimOptions({"--user", "47.25,8.5"});
    EXPECT_DOUBLE_EQ(parked.userLat, 47.25);
    EXPECT_FALSE(parked.userAltFt.has_value());
    const auto flying = gf_parseSimOptions({"--user", "-33.9,151.2,3500,-90", "--sim", "2024", "--fps", "60"});
    EXPECT_DOUBLE_EQ(*flying.userAltFt, 3500);
    EXPECT_DOUBLE_EQ(flying.userHeadingDeg, 270);
    EXPECT_EQ(flying.simYear, 2024);
    EXPECT_DOUBLE_EQ(flying.fps, 60);
    const auto timed = gf_parseSimOptions({"--utc", "2024-02-29T12:00:00"});
    EXPECT_DOUBLE_EQ(*timed.startUtc, daysFromCivil(2024, 2, 29) * 86400.0 + 12 * 3600);
}

TEST(SimOptions, BadValuesAreRefused)
{
    const std::vector<std::vector<std::string>> bad = {
        {"--user", "95,0"}, {"--user", "1"}, {"--user", "1,2,3,4,5"}, {"--user", "a,b"}, {"--sim", "2022"},
        {"--fps", "0"}, {"--fps", "5000"}, {"--port", "70000"}, {"--port"}, {"--nonsense", "1"}};
    for (const auto& args : bad) EXPECT_THROW(gf_parseSimOptions(args), std::invalid_argument) << args[0];
}

TEST(SimRecorder, TextsSurviveAsJson)
{
    const std::string texts[] = {"plain", "quote\" back\\slash", "line\nend\ttab", std::string("nul\0x", 5),
                                 "\x01\x1f", "Ünïcode ✈"};
    for (const std::string& text : texts) {
        const auto parsed = nlohmann::json::parse(gf_jsonText(text));
        EXPECT_EQ(parsed.get<std::string>(), text);
    }
}

TEST(SimConfig, AddressComesFromTheNumberedSection)
{
    test::TempDir dir;
    test::writeFile("SimConnect.cfg", "; comment\n[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=6001\n\n"
                                      "[SimConnect.1]\r\nADDRESS = localhost\r\nport= 6002 \r\n"
                                      "[SimConnect.2]\nPort=99999\n[SimConnect.3]\nPort=12ab\n");
    EXPECT_EQ(gf_readSimAddress("SimConnect.cfg", 0).port, 6001);
    const auto one = gf_readSimAddress("SimConnect.cfg", 1);
    EXPECT_EQ(one.port, 6002);
    EXPECT_EQ(one.host, "localhost");
    EXPECT_EQ(gf_readSimAddress("SimConnect.cfg", 2).port, wire::kDefaultPort);
    EXPECT_EQ(gf_readSimAddress("SimConnect.cfg", 3).port, wire::kDefaultPort);
    EXPECT_EQ(gf_readSimAddress("SimConnect.cfg", 4).port, wire::kDefaultPort);
    const auto none = gf_readSimAddress("missing.cfg", 0);
    EXPECT_EQ(none.port, wire::kDefaultPort);
    EXPECT_EQ(none.host, "127.0.0.1");
}

TEST(SimWire, FramesAreCutOnlyWhenWhole)
{
    std::string stream;
    for (std::uint32_t i = 0; i < 3; ++i) {
        wire::Writer w(stream, 40 + i, 100 + i);
        w.u32(i);
        w.str(std::string(i * 10, 'a'));
        w.f64(i * 1.5);
        w.finish();
    }
    // Fed byte by byte, the three frames come out whole and in order.
    std::string buf;
    std::size_t pos = 0;
    std::vector<std::uint32_t> seen;
    for (const char c : stream) {
        buf += c;
        wire::Frame f;
        while (wire::gf_nextFrame(buf, pos, f)) {
            wire::Reader r(f.payload, f.payloadSize);
            const std::uint32_t i = r.u32();
            EXPECT_EQ(f.type, 40 + i);
            EXPECT_EQ(f.sendId, 100 + i);
            EXPECT_EQ(r.str().size(), i * 10);
            EXPECT_DOUBLE_EQ(r.f64(), i * 1.5);
            EXPECT_THROW(r.u32(), std::runtime_error);
            seen.push_back(i);
        }
    }
    EXPECT_EQ(seen, (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(SimWire, ImpossibleSizesAreRefused)
{
    for (const std::uint32_t size : {0u, 7u, wire::kMaxFrameBytes + 1}) {
        std::string buf(12, '\0');
        std::memcpy(buf.data(), &size, 4);
        std::size_t pos = 0;
        wire::Frame f;
        EXPECT_THROW(wire::gf_nextFrame(buf, pos, f), std::runtime_error) << size;
    }
}


TEST(SimScenario, StepsComeSortedWithTheirParameters)
{
    const auto steps = gf_parseScenario("# user taxis, then flies\n"
                                        "30 teleport lat=47.5 lon=8.5 alt=3000   # airborne\n"
                                        "\n"
                                        "  5 move speed=15 heading=90\n"
                                        "12.5 pause\n");
    ASSERT_EQ(steps.size(), 3u);
    EXPECT_EQ(steps[0].at, 5.0);
    EXPECT_EQ(steps[0].action, "move");
    EXPECT_EQ(steps[0].params.at("speed"), "15");
    EXPECT_EQ(steps[1].action, "pause");
    EXPECT_TRUE(steps[1].params.empty());
    EXPECT_EQ(steps[2].params.size(), 3u);
    EXPECT_EQ(steps[2].params.at("alt"), "3000");
}

TEST(SimScenario, BadLinesAreNamed)
{
    for (const auto& [text, line] : {std::pair<std::string, std::string>{"x move", "line 1"},
                                     {"1 move\n-3 pause", "line 2"},
                                     {"\n\n7", "line 3"},
                                     {"1 move speed", "line 1"},
                                     {"1 move =5", "line 1"}}) {
        try {
            gf_parseScenario(text);
            ADD_FAILURE() << text;
        } catch (const std::invalid_argument& e) {
            EXPECT_NE(std::string(e.what()).find(line), std::string::npos) << text << ": " << e.what();
        }
    }
}

} // namespace
} // namespace orv::simstandin
