// The stand-in simulator's parts on their own: variables and units, packing, the calendar, geometry, client
// events, options, the recording's texts, the wire and the scenario.
#include "tests/support/calendar.h"
#include "sim/simconnect_api.h"
#include "standin/sim/control.h"
#include "standin/sim/options.h"
#include "standin/sim/recorder.h"
#include "standin/sim/simvars.h"
#include "standin/sim/world.h"
#include "standin/simconnect/wire.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstring>
#include <functional>
#include <numbers>
#include <random>

namespace orv::simstandin {
namespace {

using orv::test::daysFromCivil;

constexpr double kPi = std::numbers::pi;
constexpr auto kF64 = SIMCONNECT_DATATYPE_FLOAT64;

Datum makeOk(const char* NAME, const char* UNITS, std::uint32_t TYPE = kF64)
{
    DatumFault fault{};
    auto d = gf_makeDatum(NAME, UNITS, TYPE, fault);
    EXPECT_TRUE(d.has_value()) << NAME << " / " << UNITS;
    return d.value_or(Datum{});
}

TEST(SimVars, RefusedDefinitionsNameTheFaultyArgument)
{
    constexpr auto kName = SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, kType = SIMCONNECT_EXCEPTION_INVALID_DATA_TYPE;
    const std::tuple<const char*, const char*, std::uint32_t, std::uint32_t, std::uint32_t> cases[] = {
        {"NO SUCH VARIABLE", "feet", kF64, kName, 1},
        {"PLANE LATITUDE", "feet", kF64, kName, 2},
        {"PLANE ALTITUDE", "knots", kF64, kName, 2},
        {"TITLE", "", kF64, kType, 3},
        {"SIM ON GROUND", "Bool", SIMCONNECT_DATATYPE_STRING32, kType, 3},
        {"PLANE ALTITUDE", "feet", 99, kType, 3},
        {"GENERAL ENG THROTTLE LEVER POSITION:0", "percent", kF64, kName, 1},
        {"GENERAL ENG THROTTLE LEVER POSITION:5", "percent", kF64, kName, 1},
        {"GENERAL ENG THROTTLE LEVER POSITION:x", "percent", kF64, kName, 1},
        {"PLANE ALTITUDE:1", "feet", kF64, kName, 1},
    };
    for (const auto& [name, units, type, exception, argument] : cases) {
        DatumFault fault{};
        EXPECT_FALSE(gf_makeDatum(name, units, type, fault).has_value()) << name;
        EXPECT_EQ(std::pair(fault.exception, fault.argument), std::pair(exception, argument)) << name << " / " << units;
    }
}

TEST(SimVars, ValuesComeInTheRequestedUnitsAndTextsAreCutAndPadded)
{
    World w;
    w.groundFt = 500;
    SimObject o;
    o.latDeg = 47.5;
    o.headingRad = kPi / 2;
    o.altFt = 1500;
    o.vsFps = 10;
    o.tasKt = 100;
    const std::tuple<const char*, const char*, double> cases[] = {
        {"Plane Latitude", "Degrees", 47.5}, // names and units in any case
        {"PLANE LATITUDE", "radians", 47.5 * kPi / 180},
        {"PLANE HEADING DEGREES TRUE", "degrees", 90.0},
        {"PLANE ALTITUDE", "meters", 1500 * 0.3048},
        {"VERTICAL SPEED", "feet per minute", 600.0},
        {"AIRSPEED TRUE", "meters per second", 100 * 1852.0 / 3600.0},
        {"GROUND ALTITUDE", "feet", 500.0},
        {"PLANE ALT ABOVE GROUND", "feet", 1000.0},
    };
    for (const auto& [name, units, value] : cases) {
        std::string bytes;
        gf_packData({makeOk(name, units)}, o, w, bytes);
        ASSERT_EQ(bytes.size(), sizeof(double)) << name;
        double v = 0;
        std::memcpy(&v, bytes.data(), sizeof v);
        EXPECT_NEAR(v, value, 1e-6) << name << " / " << units;
    }
    o.atcId = std::string(40, 'X');
    o.title = "ABCDE";
    std::string bytes;
    gf_packData({makeOk("ATC ID", "", SIMCONNECT_DATATYPE_STRING32), makeOk("TITLE", "", SIMCONNECT_DATATYPE_STRINGV)},
                o, w, bytes);
    ASSERT_EQ(bytes.size(), 32u + 8u); // 31 letters + NUL, then "ABCDE" NUL padded to a word
    EXPECT_EQ(std::string(bytes.data()), std::string(31, 'X'));
    EXPECT_EQ(bytes.substr(32), std::string("ABCDE\0\0\0", 8));
}

TEST(SimVars, ZuluFieldsFollowTheCalendar)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<long> anyDay(0, daysFromCivil(2100, 12, 31));
    std::uniform_real_distribution<double> anySecond(0, 86399.9);
    for (int i = 0; i < 2000; ++i) {
        const long day = anyDay(random);
        const double second = anySecond(random);
        double gotSecond = 0;
        int gotDay = 0, gotYear = 0;
        gf_zulu(day * 86400.0 + second, gotSecond, gotDay, gotYear);
        ASSERT_NEAR(gotSecond, second, 1e-3);
        ASSERT_EQ(day, daysFromCivil(gotYear, 1, 1) + gotDay - 1) << day;
        ASSERT_TRUE(gotDay >= 1 && gotDay <= (gotYear % 4 == 0 && gotYear != 2100 ? 366 : 365)) << day;
    }
}

TEST(SimWorld, OnGroundFollowsTheParkedHeightAndTheUserNeverSinksBelowIt)
{
    World w;
    w.groundFt = 100;
    SimObject o;
    o.staticCgFt = 10;
    for (const auto& [alt, ground] : {std::pair{110.0, true}, {111.0, true}, {111.5, false}, {400.0, false},
                                      {90.0, true}}) {
        o.altFt = alt;
        EXPECT_EQ(gf_onGround(w, o), ground) << alt;
    }
    w.user.staticCgFt = kUserStaticCgFt;
    const double alt = 300;
    gf_placeUser(w, 10, 20, &alt, 0);
    w.user.vsFps = -50; // 500 ft down in the next ten seconds
    gf_moveUser(w, 10);
    EXPECT_DOUBLE_EQ(w.user.altFt, 100 + kUserStaticCgFt);
    EXPECT_EQ(w.user.vsFps, 0.0);
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

struct EventCase {
    const char* name;
    std::uint32_t data;
    std::function<bool(const SimObject&)> applied; ///< of an object with nav and taxi lights on
};

TEST(SimWorld, ClientEventsActOnTheObject)
{
    const auto lights = [](std::uint64_t BITS) { return [BITS](const SimObject& O) { return O.lightStates == BITS; }; };
    const EventCase cases[] = {
        {"NAV_LIGHTS_SET", 0, lights(kLightTaxi)},
        {"NAV_LIGHTS_SET", 1, lights(kLightNav | kLightTaxi)},
        {"BEACON_LIGHTS_SET", 1, lights(kLightNav | kLightTaxi | kLightBeacon)},
        {"LANDING_LIGHTS_SET", 7, lights(kLightNav | kLightTaxi | kLightLanding)},
        {"TAXI_LIGHTS_SET", 0, lights(kLightNav)},
        {"STROBES_SET", 1, lights(kLightNav | kLightTaxi | kLightStrobe)},
        {"LOGO_LIGHTS_SET", 1, lights(kLightNav | kLightTaxi | kLightLogo)},
        {"CABIN_LIGHTS_SET", 1, lights(kLightNav | kLightTaxi | kLightCabin)},
        {"ALL_LIGHTS_TOGGLE", 0, lights(kLightAll & ~(kLightNav | kLightTaxi))},
        {"GEAR_SET", 0, [](const SimObject& O) { return !O.gearDown; }},
        {"FLAPS_SET", 16383, [](const SimObject& O) { return O.flapsPct == 100.0; }},
        {"THROTTLE_SET", 8191, [](const SimObject& O) { return std::fabs(O.throttlePct[1] - 50.0) < 0.01; }},
        {"SPOILERS_SET", 16383, [](const SimObject& O) { return O.spoilersPct == 100.0; }},
        {"FREEZE_LATITUDE_LONGITUDE_SET", 1, [](const SimObject& O) { return O.freezeLatLon; }},
        {"FREEZE_ALTITUDE_SET", 1, [](const SimObject& O) { return O.freezeAltitude; }},
        {"FREEZE_ATTITUDE_SET", 1, [](const SimObject& O) { return O.freezeAttitude; }},
        {"ENGINE_AUTO_START", 0, [](const SimObject& O) { return O.enginesRunning; }},
    };
    for (const auto& c : cases) {
        SimObject o;
        o.lightStates = kLightNav | kLightTaxi;
        EXPECT_TRUE(gf_applyClientEvent(o, c.name, c.data)) << c.name;
        EXPECT_TRUE(c.applied(o)) << c.name << " " << c.data;
    }
    SimObject o;
    EXPECT_FALSE(gf_applyClientEvent(o, "SMOKE_ON", 0));
}

TEST(SimWorld, ParkedShapesComeFromTheTypeInTheTitle)
{
    const auto cg = [](const char* TITLE) {
        double height = 0, pitch = 0;
        gf_staticShape(TITLE, height, pitch);
        // The engine takes parked heights of 1 to 35 ft and pitches of -1 to 2.5 degrees.
        EXPECT_TRUE(height >= 1.0 && height <= 35.0 && pitch > -kPi / 180 && pitch <= 2.5 * kPi / 180) << TITLE;
        return height;
    };
    EXPECT_GT(cg("Airbus A380-800 Emirates"), cg("Something Unknown"));
    EXPECT_LT(cg("Cessna 172 Skyhawk"), cg("Something Unknown"));
    for (const char* title : {"747", "737", "H135", "x"}) cg(title);
}

TEST(SimOptions, UserPositionWithAndWithoutAltitudeAndBadValues)
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
    const std::vector<std::vector<std::string>> bad = {
        {"--user", "95,0"}, {"--user", "1"}, {"--user", "1,2,3,4,5"}, {"--user", "a,b"}, {"--sim", "2022"},
        {"--fps", "0"}, {"--fps", "5000"}, {"--port", "70000"}, {"--port"}, {"--nonsense", "1"}, {"--utc", "noon"}};
    for (const auto& args : bad) EXPECT_THROW(gf_parseSimOptions(args), std::invalid_argument) << args[0];
}

TEST(SimRecorder, TextsSurviveAsJson)
{
    for (const std::string& text : {std::string("plain"), std::string("quote\" back\\slash"),
                                    std::string("line\nend\ttab"), std::string("nul\0x", 5), std::string("\x01\x1f"),
                                    std::string("Ünïcode ✈")})
        EXPECT_EQ(nlohmann::json::parse(gf_jsonText(text)).get<std::string>(), text);
}

TEST(SimWire, FramesAreCutOnlyWhenWholeAndImpossibleSizesAreRefused)
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
    wire::Frame f;
    for (const char c : stream) {
        buf += c;
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
    for (const std::uint32_t size : {0u, 7u, wire::kMaxFrameBytes + 1}) {
        std::string bad(12, '\0');
        std::memcpy(bad.data(), &size, 4);
        pos = 0;
        EXPECT_THROW(wire::gf_nextFrame(bad, pos, f), std::runtime_error) << size;
    }
}

TEST(SimScenario, StepsComeSortedWithTheirParametersAndBadLinesAreNamed)
{
    const auto steps = gf_parseScenario("# user taxis, then flies\n30 teleport lat=47.5 lon=8.5 alt=3000   # airborne\n"
                                        "\n  5 move speed=15 heading=90\n12.5 pause\n");
    ASSERT_EQ(steps.size(), 3u);
    EXPECT_EQ(steps[0].at, 5.0);
    EXPECT_EQ(steps[0].action, "move");
    EXPECT_EQ(steps[0].params.at("speed"), "15");
    EXPECT_TRUE(steps[1].action == "pause" && steps[1].params.empty());
    EXPECT_EQ(steps[2].params.size(), 3u);
    EXPECT_EQ(steps[2].params.at("alt"), "3000");
    for (const auto& [text, line] : {std::pair<std::string, std::string>{"x move", "line 1"},
                                     {"1 move\n-3 pause", "line 2"}, {"\n\n7", "line 3"}, {"1 move speed", "line 1"},
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
