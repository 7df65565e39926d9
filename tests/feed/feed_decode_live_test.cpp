// The live decoder: a table of lines it keeps or refuses by its rules, then
// the values it derives (altitude, track, bank, airspeed), the seen sets and
// the blocked callsign.
#include <atomic>
#include <functional>
#include <numbers>
#include <thread>

#include "core/sim_messages.h"
#include "feed_test_support.h"

namespace orv::test {
namespace {

struct LiveCase {
    const char* name;
    std::function<void(nlohmann::json&)> change;
    bool kept;
};

void PrintTo(const LiveCase& CASE, std::ostream* OUT)
{
    *OUT << CASE.name;
}

std::function<void(nlohmann::json&)> set(std::size_t POSITION, nlohmann::json VALUE)
{
    return [POSITION, VALUE](nlohmann::json& LINE) { LINE[POSITION] = VALUE; };
}

std::function<void(nlohmann::json&)> setBoth(std::size_t P1, nlohmann::json V1, std::size_t P2, nlohmann::json V2)
{
    return [=](nlohmann::json& LINE) {
        LINE[P1] = V1;
        LINE[P2] = V2;
    };
}

class LiveDecoderTable : public FeedTest, public ::testing::WithParamInterface<LiveCase> {};

TEST_P(LiveDecoderTable, KeepsOrRefuses)
{
    nlohmann::json line = goodLiveLine();
    GetParam().change(line);
    EXPECT_EQ(decode(line).has_value(), GetParam().kept) << line.dump();
}

const LiveCase liveCases[] = {
    {"good line", [](nlohmann::json&) {}, true},
    // registration and the text flag
    {"registration over 12 characters, callsign left", set(9, "PH-BXA-123456"), true},
    {"registration null with flag F", setBoth(9, "null", 7, "F"), false},
    {"empty registration with flag F", setBoth(9, "", 7, "F"), false},
    {"empty registration with another flag", setBoth(9, "", 7, "X"), true},
    {"registration with flag F", set(7, "F"), true},
    // types
    {"type ZZZZ", set(8, "ZZZZ"), false},
    {"type 0", set(8, "0"), false},
    {"type GLIDER is too long", set(8, "GLIDER"), false},
    {"type of five characters", set(8, "A3880"), false},
    {"type of one character", set(8, "Q"), true},
    {"type GRND", set(8, "GRND"), false},
    {"type GLID", set(8, "GLID"), false},
    {"type SERV", set(8, "SERV"), false},
    {"type BALL", set(8, "BALL"), false},
    {"type PARA", set(8, "PARA"), false},
    {"type SHIP", set(8, "SHIP"), false},
    {"type EMER", set(8, "EMER"), false},
    {"type as a number", set(8, 738), false},
    {"unknown type is no reason here", set(8, "XYZ9"), true},
    // categories
    {"empty category", set(28, ""), false},
    {"no category", set(28, nullptr), false},
    {"category B1", set(28, "B1"), false},
    {"category B2", set(28, "B2"), false},
    {"category B4", set(28, "B4"), false},
    {"category C1", set(28, "C1"), false},
    {"category C2", set(28, "C2"), false},
    {"category B3", set(28, "B3"), true},
    {"category A7", set(28, "A7"), true},
    // positions
    {"latitude above 90", set(1, 90.5), false},
    {"longitude below -180", set(2, -180.5), false},
    {"latitude as text", set(1, "52.35"), false},
    {"out of range", setBoth(1, 53.5, 2, 4.8), false},
    // headings
    {"heading over 360 from ADS-B", set(25, 360.5), false},
    {"heading of exactly 360", set(25, 360), true},
    {"heading over 360 from another source", setBoth(25, 400, 17, "mlat"), true},
    {"negative heading", set(25, -5), true},
    // transponder address
    {"address 10000", set(0, "2710"), false},
    {"address 10001", set(0, "2711"), true},
    {"address not hexadecimal", set(0, "zz1234"), false},
    {"address as a number", set(0, 4731094), false},
    // callsigns
    {"callsign of a tow", set(13, "TOW 12"), false},
    {"callsign ERARMTR0", set(13, "ERARMTR0"), false},
    {"callsign AIRPORT1", set(13, "AIRPORT1"), false},
    {"callsign null with registration", set(13, "null"), true},
    {"callsign with @ with registration", set(13, "KL@123"), true},
    {"neither callsign nor registration", setBoth(13, "null", 9, ""), false},
    {"callsign only", setBoth(9, "", 13, "KLM123"), true},
    // ground lines
    {"on the ground at the park airport", [](nlohmann::json& L) { L = groundLiveLine(); }, true},
    {"on the ground 6 nm from the park airport",
     [](nlohmann::json& L) {
         L = groundLiveLine();
         L[1] = 52.2086;
     },
     false},
};

INSTANTIATE_TEST_SUITE_P(Rules, LiveDecoderTable, ::testing::ValuesIn(liveCases));

TEST_F(FeedTest, PositionInTheBoxOfNoPositionIsRefusedEvenInRange)
{
    client.view.centre = LatLon{0.0005, 0.02};
    client.view.park.airport.reset();
    nlohmann::json line = goodLiveLine();
    for (const auto& [lat, lon] : {std::pair{0.0, 0.0}, {0.0009, 0.05}, {0.0005, 0.02}}) {
        line[1] = lat;
        line[2] = lon;
        EXPECT_FALSE(decode(line)) << lat << "," << lon;
    }
    line[1] = 0.001;
    line[2] = 0.02;
    EXPECT_TRUE(decode(line)) << "just outside the box";
}

TEST_F(FeedTest, WithoutAParkAirportEveryGroundLineIsRefused)
{
    client.view.park = ParkView{};
    client.airportElevation.reset();
    EXPECT_FALSE(decode(groundLiveLine()));
    EXPECT_TRUE(decode(goodLiveLine()));
}

TEST_F(FeedTest, NearTheAirportWithAutoRangeHighAircraftAreRefused)
{
    client.view.autoRangeActive = true;
    nlohmann::json line = goodLiveLine();
    line[4] = 2989; // 3000 ft above a field at -11 ft
    EXPECT_TRUE(decode(line));
    line[4] = 2990;
    EXPECT_FALSE(decode(line));
    client.view.park.ready = false;
    EXPECT_TRUE(decode(line)) << "not before the airport's file is loaded";
}

TEST_F(FeedTest, AltitudeTakesQnhAndTheGroundRules)
{
    nlohmann::json line = goodLiveLine();
    line[4] = 5000;
    client.qnh = 1023;
    EXPECT_EQ(decode(line)->point.altitude, 5300);
    client.qnh = 1013;
    struct Case {
        double aboveFt, speedKt;
        bool ground;
    };
    for (const Case c : {Case{100, 40, true}, {130, 40, false}, {45, 119, true}, {46, 119, false}, {90, 80, true},
                         {91, 80, false}, {120, 43, true}, {121, 43, false}, {0, 200, true}, {8000, 35, true}}) {
        line = goodLiveLine();
        line[1] = 52.3090; // at the park airport, so that a ground line is kept
        line[2] = 4.7610;
        line[4] = c.aboveFt + parkElevationFt;
        line[5] = c.speedKt;
        const auto decoded = decode(line);
        ASSERT_TRUE(decoded) << c.aboveFt << " ft at " << c.speedKt << " kt";
        EXPECT_EQ(decoded->point.altitude == 0, c.ground) << c.aboveFt << " ft at " << c.speedKt << " kt";
        EXPECT_EQ(decoded->point.airborne, !c.ground);
    }
}

TEST_F(FeedTest, AltitudeWithoutFieldElevationCountsAThousandFeetMore)
{
    client.airportElevation.reset();
    nlohmann::json line = goodLiveLine();
    line[1] = 52.3090;
    line[2] = 4.7610;
    line[4] = 40;
    line[5] = 50; // 40 ft is 1040 ft "above": no ground rule holds
    EXPECT_EQ(decode(line)->point.altitude, 40);
}

TEST_F(FeedTest, AltitudeFallsBackToGeometricThenZero)
{
    nlohmann::json line = goodLiveLine();
    line[4] = "3000";
    line[18] = 4200;
    EXPECT_EQ(decode(line)->point.altitude, 4200);
    line[18] = nullptr;
    line[1] = 52.3090;
    line[2] = 4.7610;
    const auto decoded = decode(line);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->point.altitude, 0);
    EXPECT_FALSE(decoded->point.airborne);
}

TEST_F(FeedTest, HeadingTrackAndBank)
{
    nlohmann::json line = goodLiveLine();
    line[3] = 0;
    line[25] = 0; // ADS-B heading 0 reads as 2π
    auto decoded = decode(line);
    ASSERT_TRUE(decoded);
    EXPECT_DOUBLE_EQ(*decoded->point.heading, 2 * std::numbers::pi);
    EXPECT_TRUE(decoded->point.headingValid);
    EXPECT_DOUBLE_EQ(decoded->point.track, 360);
    line[3] = nullptr;
    line[25] = 90;
    EXPECT_NEAR(decode(line)->point.track, 90, 1e-9) << "a missing track takes the heading";
    line[17] = "mlat";
    decoded = decode(line);
    EXPECT_FALSE(decoded->point.heading);
    EXPECT_FALSE(decoded->point.headingValid);
    EXPECT_EQ(decoded->point.track, 0);
    line[25] = -1;
    line[17] = "adsb_icao";
    EXPECT_FALSE(decode(line)->point.heading) << "a negative heading gives none";
    line[25] = nullptr;
    EXPECT_DOUBLE_EQ(*decode(line)->point.heading, 2 * std::numbers::pi)
        << "an ADS-B line without a heading reads it as 0, which is north";

    line = goodLiveLine();
    line[23] = -1;
    EXPECT_FALSE(decode(line)->point.bank) << "roll -1 means no value";
    line[23] = 0;
    EXPECT_FALSE(decode(line)->point.bank);
    line[23] = -2;
    EXPECT_NEAR(*decode(line)->point.bank, 2 * std::numbers::pi / 180, 1e-12);
    EXPECT_FALSE(decode(groundLiveLine())->point.bank) << "no bank on the ground";
}

TEST_F(FeedTest, AirspeedFallsBackByAltitude)
{
    struct Case {
        double altitude;
        nlohmann::json airspeed;
        double expected;
    };
    for (const Case& c : {Case{1500, nullptr, 180}, {2000, -1, 180}, {2001, "fast", 220}, {5000, nullptr, 220},
                          {9000, nullptr, 250}, {15000, nullptr, 350}, {20001, nullptr, 430}, {3000, 175, 175},
                          {3000, 0, 0}}) {
        nlohmann::json line = goodLiveLine();
        line[4] = c.altitude;
        line[20] = c.airspeed;
        const auto decoded = decode(line);
        ASSERT_TRUE(decoded);
        EXPECT_EQ(decoded->point.airspeed, c.expected) << c.altitude << " " << c.airspeed;
    }
}

TEST_F(FeedTest, TextsAndTimestamps)
{
    nlohmann::json line = goodLiveLine();
    line[10] = 1700000123; // an integer counts as a number
    line[11] = "null";
    auto decoded = decode(line);
    EXPECT_EQ(decoded->timestamp, 1700000123);
    EXPECT_EQ(client.lastTimestamp, 1700000123);
    EXPECT_TRUE(decoded->origin.empty());
    EXPECT_EQ(decoded->destination, "LEMD");
    EXPECT_TRUE(decoded->airline.empty());
    EXPECT_EQ(decoded->hexid, 0x4840d6u);
    EXPECT_FALSE(decoded->point.stationary);
    line[10] = "1700000123";
    decoded = decode(line);
    EXPECT_EQ(decoded->timestamp, 0);
    EXPECT_EQ(client.lastTimestamp, 0);
    line[10] = 1700000200;
    line[8] = "ZZZZ";
    EXPECT_FALSE(decode(line));
    EXPECT_EQ(client.lastTimestamp, 1700000200) << "the time is read before any filter";
}

TEST_F(FeedTest, SeenSetsTakeWhatPassedTheFiltersBeforeThem)
{
    client.collectSeen = true;
    nlohmann::json refusedEarly = goodLiveLine();
    refusedEarly[0] = "aaaaaa";
    refusedEarly[13] = "EARLY1";
    refusedEarly[8] = "ZZZZ";
    nlohmann::json refusedLate = groundLiveLine();
    refusedLate[0] = "bbbbbb";
    refusedLate[13] = "LATE1";
    refusedLate[1] = 52.2086; // a ground line far from the airport: refused after the seen sets
    nlohmann::json noCallsign = goodLiveLine();
    noCallsign[0] = "cccccc";
    noCallsign[13] = "null";
    EXPECT_FALSE(decode(refusedEarly));
    EXPECT_FALSE(decode(refusedLate));
    EXPECT_TRUE(decode(noCallsign));
    EXPECT_EQ(client.seenCallsigns, (std::set<std::string>{"LATE1"}));
    EXPECT_EQ(client.seenHexids, (std::set<std::uint32_t>{0xbbbbbb, 0xcccccc}));
    client.collectSeen = false;
    EXPECT_TRUE(decode(goodLiveLine()));
    EXPECT_FALSE(client.seenHexids.contains(0x4840d6));
}

TEST_F(FeedTest, BlockedCallsignIsDroppedAndToldOnceEachWay)
{
    {
        std::lock_guard lock(messageLock);
        simMessages.clear();
    }
    client.view.blockCallsign = "KLM123";
    EXPECT_FALSE(decode(goodLiveLine()));
    EXPECT_FALSE(decode(goodLiveLine()));
    {
        std::lock_guard lock(messageLock);
        ASSERT_EQ(simMessages.size(), 1u);
        EXPECT_EQ(simMessages[0].kind, MessageKind::block);
        EXPECT_EQ(simMessages[0].id, 0x4840d6u);
        simMessages.clear();
    }
    nlohmann::json other = goodLiveLine();
    other[13] = "DLH4";
    EXPECT_TRUE(decode(other)) << "another callsign passes, and nothing is said while the block stands";
    client.view.blockCallsign.clear();
    EXPECT_TRUE(decode(goodLiveLine()));
    EXPECT_TRUE(decode(goodLiveLine()));
    const std::string log = logText();
    auto count = [&](const std::string& TEXT) {
        std::size_t n = 0;
        for (auto at = log.find(TEXT); at != std::string::npos; at = log.find(TEXT, at + 1)) ++n;
        return n;
    };
    EXPECT_EQ(count("Reader: Live aircraft KLM123 blocked"), 1u);
    EXPECT_EQ(count("Reader: Live aircraft KLM123 no longer blocked"), 1u);
    EXPECT_EQ(count("no longer blocked"), 1u) << "nothing is said of a block not yet seen";
}

TEST_F(FeedTest, ABlockSetButNotYetSeenSaysNothing)
{
    client.view.blockCallsign = "NOSUCH1";
    EXPECT_TRUE(decode(goodLiveLine()));
    EXPECT_EQ(logText().find("blocked"), std::string::npos);
}

TEST_F(FeedTest, LinesThatAreNoArraysAreRefusedSilently)
{
    for (const nlohmann::json& odd : {nlohmann::json(nullptr), nlohmann::json("text"), nlohmann::json::object(),
                                      nlohmann::json::array(), nlohmann::json::array({1, 2, 3})}) {
        EXPECT_FALSE(decode(odd)) << odd.dump();
    }
    EXPECT_EQ(logText().find("exception in processLine"), std::string::npos);
}

TEST_F(FeedTest, TheBlockedCallsignIsCopiedWholeWhileTheWindowChangesIt)
{
    // The window changes the text while the traffic reader copies it for an
    // answer: the copy is one text or the other, never a mix of both.
    const std::string first(4096, 'A'), second(4096, 'B');
    std::atomic<bool> done{false};
    std::thread window([&] {
        for (int k = 0; !done; ++k) gf_setText(BLOCK_CALLSIGN, k % 2 ? first : second);
    });
    int mixed = 0;
    for (int k = 0; k < 200000 && mixed == 0; ++k) {
        const std::string copy = gf_takeDecodeView().blockCallsign;
        if (copy != first && copy != second && !copy.empty()) ++mixed;
    }
    done = true;
    window.join();
    EXPECT_EQ(mixed, 0) << "a copy held parts of both texts";
    gf_setText(BLOCK_CALLSIGN, {});
}

} // namespace
} // namespace orv::test
