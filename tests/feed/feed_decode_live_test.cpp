// The live decoder: a table of changed lines and what each gives (refused, or
// the altitude, track, heading, bank and airspeed it derives), then what the
// client's view changes, the seen sets and the blocked callsign.
#include <numbers>

#include "core/sim_messages.h"
#include "feed_fixture.h"

namespace orv::test {
namespace {

/// A new value at one position of a line.
using Change = std::pair<std::size_t, nlohmann::json>;

/// "refused", or "altitude track heading bank airspeed" with "-" for no value.
std::string described(const std::optional<TrafficLine>& LINE)
{
    if (!LINE) return "refused";
    const auto& p = LINE->point;
    const auto radians = [](const std::optional<double>& V) { return V ? fmt::format("{:.4f}", *V) : std::string("-"); };
    EXPECT_EQ(p.airborne, p.altitude > 0);
    EXPECT_EQ(p.headingValid, p.heading.has_value());
    return fmt::format("{:g} {:g} {} {} {:g}", p.altitude, p.track, radians(p.heading), radians(p.bank), p.airspeed);
}

struct LiveCase {
    std::vector<Change> changes;
    std::string outcome;
    bool ground = false; ///< the changes go to the ground line at the park airport
};

const std::string kept = "3000 90.5 1.5882 -0.0436 175", keptOnGround = "0 90.5 1.5882 - 175";
constexpr double fieldFt = -11;

const LiveCase liveCases[] = {
    {{}, kept},
    {{}, keptOnGround, true},
    // Registration and the text flag; a long registration leaves the callsign.
    {{{9, "PH-BXA-123456"}}, kept},           {{{9, "null"}, {7, "F"}}, "refused"},
    {{{9, ""}, {7, "F"}}, "refused"},         {{{9, ""}, {7, "X"}}, kept},
    {{{7, "F"}}, kept},
    // Types: refused words, too long, no text; an unknown type is no reason here.
    {{{8, "ZZZZ"}}, "refused"}, {{{8, "0"}}, "refused"},   {{{8, "GLIDER"}}, "refused"}, {{{8, "A3880"}}, "refused"},
    {{{8, "Q"}}, kept},         {{{8, "GRND"}}, "refused"}, {{{8, "GLID"}}, "refused"},   {{{8, "SERV"}}, "refused"},
    {{{8, "BALL"}}, "refused"}, {{{8, "PARA"}}, "refused"}, {{{8, "SHIP"}}, "refused"},   {{{8, "EMER"}}, "refused"},
    {{{8, 738}}, "refused"},    {{{8, "XYZ9"}}, kept},
    // Categories.
    {{{28, ""}}, "refused"},   {{{28, nullptr}}, "refused"}, {{{28, "B1"}}, "refused"}, {{{28, "B2"}}, "refused"},
    {{{28, "B4"}}, "refused"}, {{{28, "C1"}}, "refused"},    {{{28, "C2"}}, "refused"}, {{{28, "B3"}}, kept},
    {{{28, "A7"}}, kept},
    // Positions: out of the world, no number, out of range; a ground line far from the park airport.
    {{{1, 90.5}}, "refused"}, {{{2, -180.5}}, "refused"}, {{{1, "52.35"}}, "refused"}, {{{1, 53.5}}, "refused"},
    {{{1, 52.2086}}, "refused", true},
    // Headings: over 360 from ADS-B refuses the line, from another source it is no heading.
    {{{25, 360.5}}, "refused"},
    {{{25, 360}}, "3000 90.5 6.2832 -0.0436 175"},
    {{{25, 400}, {17, "mlat"}}, "3000 90.5 - -0.0436 175"},
    {{{25, -5}}, "3000 90.5 - -0.0436 175"},
    {{{3, 0}, {25, 0}}, "3000 360 6.2832 -0.0436 175"}, // ADS-B heading 0 reads as 2π, and the track takes it
    {{{3, nullptr}, {25, 90}}, "3000 90 1.5708 -0.0436 175"},
    {{{3, nullptr}, {25, 90}, {17, "mlat"}}, "3000 0 - -0.0436 175"},
    {{{25, nullptr}}, "3000 90.5 6.2832 -0.0436 175"}, // no heading from ADS-B reads as 0: north
    // Transponder addresses above 10000, as hexadecimal text.
    {{{0, "2710"}}, "refused"}, {{{0, "2711"}}, kept}, {{{0, "zz1234"}}, "refused"}, {{{0, 4731094}}, "refused"},
    // Callsigns; without one the registration must do.
    {{{13, "TOW 12"}}, "refused"}, {{{13, "ERARMTR0"}}, "refused"}, {{{13, "AIRPORT1"}}, "refused"},
    {{{13, "null"}}, kept},        {{{13, "KL@123"}}, kept},        {{{13, "null"}, {9, ""}}, "refused"},
    {{{9, ""}, {13, "KLM123"}}, kept},
    // Bank: roll -1 and 0 mean none, none on the ground.
    {{{23, -1}}, "3000 90.5 1.5882 - 175"}, {{{23, 0}}, "3000 90.5 1.5882 - 175"}, {{{23, -2}}, "3000 90.5 1.5882 0.0349 175"},
    // Altitude: barometric, else geometric; on the ground by the rules of height above the field and speed.
    {{{4, "3000"}, {18, 4200}}, "4200 90.5 1.5882 -0.0436 175"},
    {{{4, "3000"}}, keptOnGround, true},
    {{{4, 100 + fieldFt}, {5, 40}}, keptOnGround, true},  {{{4, 130 + fieldFt}, {5, 40}}, "119 90.5 1.5882 -0.0436 175", true},
    {{{4, 45 + fieldFt}, {5, 119}}, keptOnGround, true},  {{{4, 46 + fieldFt}, {5, 119}}, "35 90.5 1.5882 -0.0436 175", true},
    {{{4, 90 + fieldFt}, {5, 80}}, keptOnGround, true},   {{{4, 91 + fieldFt}, {5, 80}}, "80 90.5 1.5882 -0.0436 175", true},
    {{{4, 120 + fieldFt}, {5, 43}}, keptOnGround, true},  {{{4, 121 + fieldFt}, {5, 43}}, "110 90.5 1.5882 -0.0436 175", true},
    {{{4, fieldFt}, {5, 200}}, keptOnGround, true},       {{{4, 8000 + fieldFt}, {5, 35}}, keptOnGround, true},
    // Airspeed falls back by altitude.
    {{{4, 1500}, {20, nullptr}}, "1500 90.5 1.5882 -0.0436 180"},  {{{4, 2000}, {20, -1}}, "2000 90.5 1.5882 -0.0436 180"},
    {{{4, 2001}, {20, "fast"}}, "2001 90.5 1.5882 -0.0436 220"},   {{{4, 5000}, {20, nullptr}}, "5000 90.5 1.5882 -0.0436 220"},
    {{{4, 9000}, {20, nullptr}}, "9000 90.5 1.5882 -0.0436 250"},  {{{4, 15000}, {20, nullptr}}, "15000 90.5 1.5882 -0.0436 350"},
    {{{4, 20001}, {20, nullptr}}, "20001 90.5 1.5882 -0.0436 430"}, {{{20, 0}}, "3000 90.5 1.5882 -0.0436 0"},
};

TEST_F(FeedTest, LiveLinesGiveTheirValuesOrAreRefused)
{
    for (const auto& c : liveCases) {
        nlohmann::json line = c.ground ? groundLiveLine() : goodLiveLine();
        for (const auto& [position, value] : c.changes) line[position] = value;
        EXPECT_EQ(described(decode(line)), c.outcome) << line.dump();
    }
}

TEST_F(FeedTest, TheClientsViewAndItsQnh)
{
    nlohmann::json line = goodLiveLine();
    client.qnh = 1023;
    EXPECT_EQ(described(decode(line)), "3300 90.5 1.5882 -0.0436 175");
    client.qnh = 1013;
    // Near the park airport with auto range, higher than 3000 ft above the field is refused, once its file is loaded.
    client.view.autoRangeActive = true;
    line[4] = 2989;
    EXPECT_TRUE(decode(line));
    line[4] = 2990;
    EXPECT_FALSE(decode(line));
    client.view.park.ready = false;
    EXPECT_TRUE(decode(line));
    // Without the field's elevation it counts a thousand feet more: 40 ft at 50 kt is no ground contact.
    client.airportElevation.reset();
    EXPECT_EQ(described(decode(groundLiveLine())), keptOnGround);
    line = groundLiveLine();
    line[4] = 40;
    line[5] = 50;
    EXPECT_EQ(described(decode(line)), "40 90.5 1.5882 -0.0436 175");
    // Without a park airport every ground line is refused.
    client.view.park = ParkView{};
    EXPECT_FALSE(decode(groundLiveLine()));
    EXPECT_TRUE(decode(goodLiveLine()));
    // The box of no position is refused even in range.
    client.view.centre = LatLon{0.0005, 0.02};
    for (const auto& [lat, lon] : {std::pair{0.0, 0.0}, {0.0009, 0.05}, {0.0005, 0.02}, {0.001, 0.02}}) {
        line = goodLiveLine();
        line[1] = lat;
        line[2] = lon;
        EXPECT_EQ(decode(line).has_value(), lat == 0.001) << lat << "," << lon << ": only the last is outside the box";
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
    EXPECT_TRUE(decoded->origin.empty() && decoded->airline.empty() && !decoded->point.stationary);
    EXPECT_EQ(decoded->destination, "LEMD");
    EXPECT_EQ(decoded->hexid, 0x4840d6u);
    line[10] = "1700000123";
    EXPECT_EQ(decode(line)->timestamp, 0);
    EXPECT_EQ(client.lastTimestamp, 0);
    line[10] = 1700000200;
    line[8] = "ZZZZ";
    EXPECT_FALSE(decode(line));
    EXPECT_EQ(client.lastTimestamp, 1700000200) << "the time is read before any filter";
    for (const nlohmann::json& odd : {nlohmann::json(nullptr), nlohmann::json("text"), nlohmann::json::object(),
                                      nlohmann::json::array(), nlohmann::json::array({1, 2, 3})})
        EXPECT_FALSE(decode(odd)) << odd.dump();
    EXPECT_EQ(logText().find("exception in processLine"), std::string::npos) << "lines that are no arrays are refused silently";
}

TEST_F(FeedTest, SeenSetsTakeWhatPassedTheFiltersBeforeThem)
{
    client.collectSeen = true;
    const auto changed = [](nlohmann::json LINE, const std::vector<Change>& CHANGES) {
        for (const auto& [position, value] : CHANGES) LINE[position] = value;
        return LINE;
    };
    EXPECT_FALSE(decode(changed(goodLiveLine(), {{0, "aaaaaa"}, {13, "EARLY1"}, {8, "ZZZZ"}})));
    // A ground line far from the airport: refused after the seen sets.
    EXPECT_FALSE(decode(changed(groundLiveLine(), {{0, "bbbbbb"}, {13, "LATE1"}, {1, 52.2086}})));
    EXPECT_TRUE(decode(changed(goodLiveLine(), {{0, "cccccc"}, {13, "null"}})));
    EXPECT_EQ(client.seenCallsigns, (std::set<std::string>{"LATE1"}));
    EXPECT_EQ(client.seenHexids, (std::set<std::uint32_t>{0xbbbbbb, 0xcccccc}));
    client.collectSeen = false;
    EXPECT_TRUE(decode(goodLiveLine()));
    EXPECT_FALSE(client.seenHexids.contains(0x4840d6));
}

TEST_F(FeedTest, BlockedCallsignIsDroppedAndToldOnceEachWay)
{
    const auto messages = [] {
        std::lock_guard lock(messageLock);
        auto taken = simMessages;
        simMessages.clear();
        return taken;
    };
    messages();
    client.view.blockCallsign = "NOSUCH1";
    EXPECT_TRUE(decode(goodLiveLine()));
    client.view.blockCallsign = "KLM123";
    EXPECT_FALSE(decode(goodLiveLine()));
    EXPECT_FALSE(decode(goodLiveLine()));
    const auto told = messages();
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told[0].kind, MessageKind::block);
    EXPECT_EQ(told[0].id, 0x4840d6u);
    nlohmann::json other = goodLiveLine();
    other[13] = "DLH4";
    EXPECT_TRUE(decode(other)) << "another callsign passes, and nothing is said while the block stands";
    client.view.blockCallsign.clear();
    EXPECT_TRUE(decode(goodLiveLine()));
    EXPECT_TRUE(decode(goodLiveLine()));
    const std::string log = logText();
    const auto count = [&](const std::string& TEXT) {
        std::size_t n = 0;
        for (auto at = log.find(TEXT); at != std::string::npos; at = log.find(TEXT, at + 1)) ++n;
        return n;
    };
    EXPECT_EQ(count("Reader: Live aircraft KLM123 blocked"), 1u);
    EXPECT_EQ(count("Reader: Live aircraft KLM123 no longer blocked"), 1u);
    EXPECT_EQ(count("blocked"), 2u) << "nothing is said of a block not yet seen";
}

} // namespace
} // namespace orv::test
