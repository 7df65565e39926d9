// The traffic page's snapshot and stories: what the main thread publishes of
// its records, which log lines land in which aircraft's story, the bounds of
// the stories, and the JSON the page reads.
#include "core/log.h"
#include "core/recent_log.h"
#include "core/user_position.h"
#include "feed/feed.h"
#include "traffic/engine.h"
#include "traffic/parking_calls.h"
#include "ui/traffic_view.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace orv {
namespace {

class TrafficViewTest : public ::testing::Test {
protected:
    void SetUp() override { clear(); }
    void TearDown() override { clear(); }
    static void clear()
    {
        liveList.clear();
        liveList.reserve(2 * storiesKept); // the records a test holds by reference stay put
        staticList.clear();
        ownPosition = UserPosition{};
        parkingCalls = ParkingCalls{};
        // Lines logged by earlier tests are not this test's story.
        gf_publishTraffic();
        gf_resetTrafficView();
    }
    static act& live(std::uint32_t HEXID, const char* CALLSIGN, ActState STATE = ActState::active,
                     Phase PHASE = Phase::flying)
    {
        act& record = liveList.emplace_back();
        record.hexid = HEXID;
        record.callsign = CALLSIGN;
        record.airline = "KLM";
        record.icaoType = "B738";
        record.state = STATE;
        record.phase = PHASE;
        return record;
    }
    static bool storyHas(std::uint32_t HEXID, const std::string& PART)
    {
        const auto story = gf_storyOf(HEXID);
        return std::any_of(story.begin(), story.end(), [&](const std::string& L) { return L.find(PART) != std::string::npos; });
    }
};

TEST_F(TrafficViewTest, SnapshotCopiesLiveAndStaticRecords)
{
    EXPECT_EQ(gf_trafficSnapshot()->number, 0u) << "nothing before the first publication";
    act& flying = live(0x4840D6, "KLM1234");
    flying.lat = 52.5;
    flying.lon = 4.9;
    flying.heading = -pi / 2; // west, as the engine may leave it
    flying.altitude = 3200;
    flying.speedOut = 180;
    flying.objectId = 77;
    flying.standId = 5;
    live(0x111111, "GONE1").eraseNow = true;
    StaticAct& parked = staticList.emplace_back();
    parked.hexid = 0x222222;
    parked.regcode = "PH-BXA";
    parked.standPos = {52.31, 4.76};
    parked.standHeading = 3 * pi;
    parkingCalls.standName = [](std::int32_t ID) { return fmt::format("D{}", ID); };
    ownPosition.lat = 52.3117;
    ownPosition.lon = 4.7588;
    rangeNm = 25;

    gf_publishTraffic();
    const auto s = gf_trafficSnapshot();
    EXPECT_GT(s->number, 0u);
    EXPECT_TRUE(s->userKnown);
    EXPECT_DOUBLE_EQ(s->rangeNm, 25);
    ASSERT_EQ(s->aircraft.size(), 2u) << "a record about to be erased is not shown";
    const AircraftView& a = s->aircraft[0];
    EXPECT_EQ(a.callsign, "KLM1234");
    EXPECT_DOUBLE_EQ(a.lat, 52.5);
    EXPECT_NEAR(a.headingDeg, 270, 1e-9);
    EXPECT_EQ(a.speedKt, 180);
    EXPECT_EQ(a.stand, "D5");
    EXPECT_EQ(a.phase, "air");
    const AircraftView& b = s->aircraft[1];
    EXPECT_FALSE(b.live);
    EXPECT_EQ(b.phase, "parked");
    EXPECT_NEAR(b.headingDeg, 180, 1e-9);
    EXPECT_DOUBLE_EQ(b.lon, 4.76);
    EXPECT_EQ(b.stand, "") << "no stand id";

    flying.lat = 52.6;
    EXPECT_DOUBLE_EQ(s->aircraft[0].lat, 52.5) << "a published snapshot never changes under its reader";
}

TEST_F(TrafficViewTest, StoryTakesTheLinesThatNameTheAircraft)
{
    act& record = live(0x4840D6, "KLM1234", ActState::waiting);
    record.regcode = "PH-BXA";
    live(0x999999, "DLH400");
    gf_publishTraffic();
    struct Line {
        const char* text;
        bool hers;
    } lines[] = {
        {"D4        KLM B738 EHAM LEMD PH-BXA   KLM1234   pull out", true},
        {"          KLM B738 EHAM LEMD PH-BXA   KLM1234_  ghost", true},
        {"callsign \"PH-BXA\" seen at the gate", true},
        {"KLM flights are many", false},
        {"KLM12345 is another aircraft", false},
        {"DLH400 lands", false},
    };
    for (const Line& l : lines) gf_log(l.text);
    record.state = ActState::active;
    record.phase = Phase::atStand;
    record.livery = "Boeing 737-800 KLM";
    record.matchStep = 3;
    gf_publishTraffic();
    for (const Line& l : lines) EXPECT_EQ(storyHas(0x4840D6, l.text), l.hers) << l.text;
    EXPECT_TRUE(storyHas(0x999999, "DLH400 lands"));
    EXPECT_TRUE(storyHas(0x4840D6, "seen: waiting"));
    EXPECT_TRUE(storyHas(0x4840D6, "waiting -> at stand"));
    EXPECT_TRUE(storyHas(0x4840D6, "livery =3= Boeing 737-800 KLM"));
    record.phase = Phase::pushBack;
    gf_publishTraffic();
    EXPECT_TRUE(storyHas(0x4840D6, "at stand -> push-back"));
    EXPECT_TRUE(gf_storyOf(0x123456).empty());
}

TEST_F(TrafficViewTest, StoriesStayBounded)
{
    live(0x4840D6, "KLM1234");
    gf_publishTraffic();
    for (int k = 0; k < 100; ++k) gf_log(fmt::format("KLM1234 line {}", k));
    gf_publishTraffic();
    const auto story = gf_storyOf(0x4840D6);
    ASSERT_EQ(story.size(), storyLines);
    EXPECT_NE(story.back().find("KLM1234 line 99"), std::string::npos) << "the newest line is kept";

    // Many aircraft come and go: the stories of the oldest gone ones are dropped.
    liveList.clear();
    for (std::uint32_t k = 0; k < storiesKept + 10; ++k) live(0x100000 + k, "ANY1");
    gf_publishTraffic();
    EXPECT_TRUE(gf_storyOf(0x4840D6).empty()) << "the one gone longest goes first";
    EXPECT_FALSE(gf_storyOf(0x100000 + storiesKept + 9).empty());
}

TEST_F(TrafficViewTest, JsonAsThePageReadsIt)
{
    act& record = live(0x0000AB, "KLM1234");
    record.lat = 52.123456789;
    record.heading = pi;
    record.altitude = 1234.6;
    record.livery = std::string("Bad \xFF title");
    record.matchStep = -1;
    nlohmann::json j = nlohmann::json::parse(gf_trafficJson(TrafficSnapshot{}));
    EXPECT_TRUE(j["user"].is_null());
    EXPECT_TRUE(j["aircraft"].empty());
    gf_publishTraffic();
    j = nlohmann::json::parse(gf_trafficJson(*gf_trafficSnapshot()));
    const auto& a = j["aircraft"][0];
    EXPECT_EQ(a["hex"], "0000ab");
    EXPECT_DOUBLE_EQ(a["lat"].get<double>(), 52.12346);
    EXPECT_DOUBLE_EQ(a["hdg"].get<double>(), 180);
    EXPECT_EQ(a["alt"], 1235);
    EXPECT_EQ(a["step"], -1);
    EXPECT_EQ(a["livery"], "Bad \xEF\xBF\xBD title") << "invalid UTF-8 is replaced, not refused";

    // Titles and callsigns as they come: every one makes valid JSON that reads back as shown.
    struct Text {
        std::string raw, shown;
    } texts[] = {
        {"A \"quoted\" \\ title", "A \"quoted\" \\ title"},
        {"tab\there\x01", "tab\there\x01"},
        {"Z\xC3\xBCrich \xE6\x9D\xB1\xE4\xBA\xAC \xF0\x9F\x9B\xA9", "Z\xC3\xBCrich \xE6\x9D\xB1\xE4\xBA\xAC \xF0\x9F\x9B\xA9"},
        {"cut \xE6\x9D", "cut \xEF\xBF\xBD\xEF\xBF\xBD"},
        {"overlong \xC0\x80", "overlong \xEF\xBF\xBD\xEF\xBF\xBD"},
        {"surrogate \xED\xA0\x80", "surrogate \xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"beyond \xF4\x90\x80\x80", "beyond \xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
    };
    for (const Text& t : texts) {
        TrafficSnapshot one;
        one.aircraft.push_back(AircraftView{});
        one.aircraft[0].livery = t.raw;
        one.aircraft[0].callsign = t.raw;
        one.aircraft[0].lat = std::nan("");
        const nlohmann::json back = nlohmann::json::parse(gf_trafficJson(one));
        EXPECT_EQ(back["aircraft"][0]["livery"], t.shown) << t.raw;
        EXPECT_EQ(back["aircraft"][0]["callsign"], t.shown) << t.raw;
        EXPECT_EQ(back["aircraft"][0]["lat"], 0) << "a broken figure still makes JSON";
    }

    const nlohmann::json story = nlohmann::json::parse(gf_storyJson(0xAB));
    EXPECT_EQ(story["aircraft"]["callsign"], "KLM1234");
    EXPECT_FALSE(story["story"].empty());
    EXPECT_TRUE(nlohmann::json::parse(gf_storyJson(0xCD))["aircraft"].is_null());
}

TEST(RecentLog, RingKeepsTheLastLinesInOrder)
{
    std::vector<std::string> lines;
    const std::uint64_t start = gf_recentLogLines(~0ull >> 1, lines);
    EXPECT_TRUE(lines.empty());
    for (std::size_t k = 0; k < recentLogLines + 10; ++k) gf_log(fmt::format("ring {}", k));
    gf_logWarning("last");
    const std::uint64_t next = gf_recentLogLines(start, lines);
    EXPECT_EQ(next, start + recentLogLines + 11);
    ASSERT_EQ(lines.size(), recentLogLines) << "the lines that fell out are skipped";
    EXPECT_EQ(lines.front(), "ring 11");
    EXPECT_EQ(lines.back(), "===> last");
    lines.clear();
    EXPECT_EQ(gf_recentLogLines(next, lines), next);
    EXPECT_TRUE(lines.empty());
}

} // namespace
} // namespace orv
