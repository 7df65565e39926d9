// The two decoders: tables of lines and what each gives (refused, or the
// values a live line derives; the completion, filters and half hour of a
// parked line), what the client's view changes, the seen sets, the blocked
// callsign; and a seeded random fuzz of both, after which whatever is kept
// must obey the rules every kept line obeys.
#include <limits>
#include <numbers>
#include <random>

#include "core/sim_messages.h"
#include "feed/decode_fields.h"
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
    // An unknown speed proves no slow roll: only the height, or the on-ground flag near the field, grounds it.
    {{{4, 100 + fieldFt}, {5, nullptr}}, "89 90.5 1.5882 -0.0436 175", true},
    {{{4, 100 + fieldFt}, {5, nullptr}, {14, 1}}, keptOnGround, true},
    {{{4, 2000 + fieldFt}, {5, nullptr}, {14, 1}}, "1989 90.5 1.5882 -0.0436 175", true},
    {{{4, fieldFt}, {5, nullptr}}, keptOnGround, true},
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

constexpr double reportAt1345 = 1700142300; // Thu 16 Nov 2023 13:45:00 UTC

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

class ParkedDecoder : public FeedTest {
  protected:
    /// "refused", or "hexid airline type callsign regcode stand half-hour".
    std::string decodeParked(const nlohmann::json& TYPE, const nlohmann::json& REG, const nlohmann::json& CALLSIGN,
                             const nlohmann::json& STAND = "D4", const std::string& KEY = "4840d6",
                             const nlohmann::json& TIME = reportAt1345)
    {
        client.parkedLines.clear();
        client.line = nlohmann::json::array({52.3090, 4.7610, STAND, TYPE, REG, TIME, CALLSIGN});
        processLine(KEY, client);
        if (client.parkedLines.empty()) return "refused";
        const ParkedLine& p = client.parkedLines.back();
        EXPECT_TRUE(p.lat == 52.3090 && p.lon == 4.7610);
        return fmt::format("{:x} {} {} {} {} {} {}", p.hexid, p.airline, p.icaoType, p.callsign, p.regcode, p.standName,
                           p.halfHour);
    }
};

TEST_F(ParkedDecoder, LinesAreCompletedOrRefused)
{
    // A known registration completes the line; an operator takes the airline's place.
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1234"), "4840d6 KLM B738 KLM1234 PH-BXA D4 27");
    EXPECT_EQ(decodeParked("B738", "PH-HZA", "TRA55"), "4840d6 TRA B738 TRA55 PH-HZA D4 27");
    // The type comes from the tables; families become variants; no type at all or an unknown one refuses.
    EXPECT_EQ(decodeParked("ZZZZ", "PH-BXA", "KLM1"), "4840d6 KLM B738 KLM1 PH-BXA D4 27");
    EXPECT_EQ(decodeParked("0", "G-EUPA", "BAW1"), "4840d6 BAW A320 BAW1 G-EUPA D4 27");
    EXPECT_EQ(decodeParked("ZZZZ", "D-ABCD", "DLH1"), "refused");
    EXPECT_EQ(decodeParked("XXXX", "", "XYZ1"), "refused");
    for (const auto& [family, variant] : {std::pair{"A380", "A388"}, {"B767", "B763"}, {"B747", "B744"}, {"B757", "B752"}})
        EXPECT_EQ(decodeParked(family, "", "XYZ1"), fmt::format("4840d6  {} XYZ1  D4 27", variant));
    // Callsigns that are no callsigns are emptied, and the registration stands in.
    for (const char* odd : {"null", "KL@12", "AB00000C", "KLM123456"})
        EXPECT_EQ(decodeParked("B738", "PH-BXA", odd), "4840d6 KLM B738 PH-BXA PH-BXA D4 27") << odd;
    EXPECT_EQ(decodeParked("B738", "", ".KLM12"), "4840d6  B738 KLM12  D4 27");
    EXPECT_EQ(decodeParked("B738", "", "KLM12345"), "4840d6  B738 KLM12345  D4 27") << "eight characters stay";
    // A callsign that is a registration fills it.
    EXPECT_EQ(decodeParked("A320", "null", "G-EUPA"), "4840d6 BAW A320 G-EUPA G-EUPA D4 27");
    // Stands that are no text; keys that are no addresses above 10000; no position.
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", 12), "refused");
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", nullptr), "refused");
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", "D4", "2710"), "refused");
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", "D4", "parked-1"), "refused");
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", "D4", "2711"), "2711 KLM B738 KLM1 PH-BXA D4 27");
    client.parkedLines.clear();
    client.line = nlohmann::json::array({0.0, 0.0, "D4", "B738", "PH-BXA", reportAt1345, "KLM1"});
    processLine("4840d6", client);
    EXPECT_TRUE(client.parkedLines.empty());
    // The half hour of the report: 13:29 is the 26th; a time that is no number reads as midnight.
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", "D4", "4840d6", reportAt1345 - 16 * 60), "4840d6 KLM B738 KLM1 PH-BXA D4 26");
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", "D4", "4840d6", "later"), "4840d6 KLM B738 KLM1 PH-BXA D4 0");
}

TEST_F(ParkedDecoder, ClassesOutsideTheChosenOnesAndTakenStandsAreRefused)
{
    for (const auto& [type, flag] : {std::pair{"C172", &DecodeView::lightAircraft}, {"H145", &DecodeView::helicopters},
                                     {"F16", &DecodeView::highPerfAircraft}}) {
        client.view.*flag = false;
        EXPECT_EQ(decodeParked(type, "", "ABC1"), "refused") << type;
        client.view.*flag = true;
        EXPECT_NE(decodeParked(type, "", "ABC1"), "refused") << type;
    }
    client.view.park.reservedStand = "D4";
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1"), "refused");
    client.view.park.reservedStand = "D6";
    client.view.park.userStand = "D4";
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1"), "refused");
    client.view.park.userStand.clear();
    EXPECT_NE(decodeParked("B738", "PH-BXA", "KLM1"), "refused");
    EXPECT_NE(decodeParked("B738", "PH-BXA", "KLM1", ""), "refused") << "no stand is reserved, so an empty name is none of them";
}

TEST(HalfHourOfDay, EdgesOfTheHalfHoursAndTheDay)
{
    const std::pair<std::int64_t, std::int32_t> cases[] = {
        {0, 0}, {1799, 0}, {1800, 1}, {86399, 47}, {86400, 0},
        {1700142300, 27},             // 13:45
        {1700142300 - 16 * 60, 26},   // 13:29
        {951782400 + 86399, 47},      // 29 Feb 2000 23:59:59
        {4102444800 + 45 * 1800, 45}, // 1 Jan 2100 22:30, past 32-bit seconds
        {-1, 47},                     // 31 Dec 1969 23:59:59
        {-1800, 47}, {-1801, 46},
    };
    for (const auto& [unixSeconds, halfHour] : cases) EXPECT_EQ(gf_halfHourOfDay(unixSeconds), halfHour) << unixSeconds;
}

constexpr int fuzzRounds = 20000;

class RandomJson {
  public:
    explicit RandomJson(unsigned SEED) : random_(SEED) {}

    nlohmann::json value(int DEPTH = 0)
    {
        switch (pick(DEPTH < 2 ? 9 : 7)) {
        case 0: return nullptr;
        case 1: return pick(2) == 1;
        case 2: return pick(3) == 0 ? oneOf(integerEdges) : std::uniform_int_distribution<long long>(-100000, 100000)(random_);
        case 3: return pick(3) == 0 ? oneOf(realEdges) : std::uniform_real_distribution<double>(-1000, 1000)(random_);
        case 4: return text();
        case 5: return std::string(oneOf(words));
        case 6: return fmt::format("{:x}", std::uniform_int_distribution<std::uint64_t>(0, 0x1FFFFFFFFULL)(random_));
        case 7: {
            nlohmann::json out = nlohmann::json::array();
            for (int i = pick(6); i > 0; --i) out.push_back(value(DEPTH + 1));
            return out;
        }
        default: {
            nlohmann::json object = nlohmann::json::object();
            for (int i = pick(4); i > 0; --i) object[oneOf(words)] = value(DEPTH + 1);
            return object;
        }
        }
    }
    /// A good line with a few positions replaced by random values, or cut short.
    nlohmann::json damaged(nlohmann::json LINE)
    {
        for (int i = pick(4) + 1; i > 0; --i) {
            const auto position = static_cast<std::size_t>(pick(static_cast<int>(LINE.size()) + 3));
            if (position < LINE.size()) {
                LINE[position] = value(1);
            } else {
                LINE.erase(LINE.size() - 1);
            }
        }
        return LINE;
    }
    int pick(int N) { return std::uniform_int_distribution<int>(0, N - 1)(random_); }

  private:
    static constexpr long long integerEdges[] = {0,    -1,   1,     10000, 10001, 360, 361, 1013,
                                                 2992, 14000, std::numeric_limits<long long>::max(),
                                                 std::numeric_limits<long long>::min()};
    static constexpr double realEdges[] = {0.0,  -0.0, 1e308,    -1e308, 90.0, -180.0, 0.0009, 0.05, 360.0001,
                                           std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()};
    static constexpr const char* words[] = {"F",    "null", "ZZZZ",   "0",      "adsb_icao", "B738", "GLID",
                                            "A3",   "B1",   "TOW 1",  "KLM1",   "@",         "",     "PH-BXA",
                                            "AIRPORT1", "GLIDER", "A380", ".X", "00000"};
    template <typename T, std::size_t N>
    T oneOf(const T (&LIST)[N])
    {
        return LIST[pick(static_cast<int>(N))];
    }
    std::string text()
    {
        std::string out;
        for (int i = pick(20); i > 0; --i) out += static_cast<char>(std::uniform_int_distribution<int>(1, 255)(random_));
        return out;
    }
    std::mt19937 random_;
};

void expectKeptLiveRules(const TrafficLine& L)
{
    EXPECT_GT(L.hexid, 10000u);
    EXPECT_TRUE(!L.icaoType.empty() && L.icaoType.size() <= 4 && L.icaoType != "ZZZZ") << L.icaoType;
    EXPECT_TRUE(L.regcode.size() <= 12 && L.regcode != "null") << L.regcode;
    EXPECT_FALSE(L.regcode.empty() && L.callsign.empty());
    EXPECT_EQ(L.callsign.find('@'), std::string::npos);
    const TrackPoint& p = L.point;
    EXPECT_TRUE(p.lat >= -90 && p.lat <= 90 && p.lon >= -180 && p.lon <= 180 && !gf_isNoPosition(p.lat, p.lon));
    EXPECT_GE(p.altitude, 0);
    EXPECT_EQ(p.airborne, p.altitude > 0);
    EXPECT_TRUE(p.airborne || !p.bank) << "no bank on the ground";
    EXPECT_TRUE(!p.heading || (*p.heading > 0 && *p.heading <= 2 * std::numbers::pi + 1e-12));
    EXPECT_EQ(p.headingValid, p.heading.has_value());
    EXPECT_FALSE(p.stationary);
}

using DecoderFuzz = FeedTest;

TEST_F(DecoderFuzz, LiveDecoderTakesRandomJsonWithoutHarm)
{
    RandomJson random(20240601);
    client.collectSeen = true;
    client.view.blockCallsign = "KLM1";
    std::size_t keptCount = 0;
    for (int round = 0; round < fuzzRounds; ++round) {
        client.lines.clear();
        client.line = random.pick(2) == 0 ? random.value() : random.damaged(goodLiveLine());
        client.qnh = 1013 + random.pick(41) - 20;
        client.view.autoRangeActive = random.pick(2) == 0;
        ASSERT_NO_THROW(processLine(client)) << client.line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
        for (const TrafficLine& line : client.lines) expectKeptLiveRules(line);
        keptCount += client.lines.size();
    }
    EXPECT_GT(keptCount, 0u) << "damage to one position often leaves a good line";
    for (const std::uint32_t hexid : client.seenHexids) EXPECT_GT(hexid, 10000u);
}

TEST_F(DecoderFuzz, ParkedDecoderTakesRandomJsonWithoutHarm)
{
    RandomJson random(77);
    const nlohmann::json good = nlohmann::json::array({52.3090, 4.7610, "D4", "B738", "PH-BXA", 1700142300, "KLM1234"});
    std::size_t keptCount = 0;
    for (int round = 0; round < fuzzRounds; ++round) {
        client.parkedLines.clear();
        client.line = random.pick(2) == 0 ? random.value() : random.damaged(good);
        const std::string key =
            random.pick(3) == 0 ? random.value().dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) : "4840d6";
        ASSERT_NO_THROW(processLine(key, client));
        for (const ParkedLine& line : client.parkedLines) {
            EXPECT_GT(line.hexid, 10000u);
            EXPECT_TRUE(gf_validModel(line.icaoType)) << line.icaoType;
            EXPECT_TRUE(line.halfHour >= 0 && line.halfHour < 48);
            EXPECT_FALSE(gf_isNoPosition(line.lat, line.lon));
            EXPECT_LE(line.callsign.size(), 8u);
        }
        keptCount += client.parkedLines.size();
    }
    EXPECT_GT(keptCount, 0u);
}

} // namespace
} // namespace orv::test
