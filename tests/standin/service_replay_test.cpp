// Replay of a recording on the service's clock, and parked traffic.
#include "service_test_support.h"

namespace orv::test {
namespace {

constexpr double kT0 = 1'600'000'000; ///< the recording's first second
const RequestBox kWide{90, -90, -180, 180};

/// Aircraft "aaaaaa" every 5 s for a minute moving north; "bbbbbb" for 20 s
/// from kT0 + 30, far to the east.
Recording twoAircraft()
{
    std::vector<nlohmann::json> lines;
    for (int i = 0; i <= 12; ++i) lines.push_back(liveLine("aaaaaa", 52.0 + 0.01 * i, 4.5, kT0 + 5 * i));
    for (int i = 0; i <= 4; ++i) lines.push_back(liveLine("bbbbbb", 52.5, 10.0, kT0 + 30 + 5 * i));
    return recordingOf(lines);
}

TEST(ServiceReplay, LatestPositionAtTheTimeAsked)
{
    const Recording rec = twoAircraft();
    EXPECT_EQ(rec.tracks.size(), 2u);
    EXPECT_EQ(rec.firstTime, kT0);
    EXPECT_EQ(rec.lastTime, kT0 + 60);
    const ReplayClock clock{1000, false};
    const auto data = gf_replaySnapshot(rec, clock, kT0 + 1000 + 17, kWide);
    ASSERT_EQ(data.size(), 1u);
    const auto& line = data["aaaaaa"];
    EXPECT_DOUBLE_EQ(line[kLineLat].get<double>(), 52.03); // the point of kT0 + 15
    EXPECT_DOUBLE_EQ(line[kLineTimestamp].get<double>(), kT0 + 15 + 1000);
    EXPECT_EQ(gf_replaySnapshot(rec, clock, kT0 + 1000 + 37, kWide).size(), 2u);
}

TEST(ServiceReplay, NothingBeforeTheFirstAndNothingStale)
{
    const Recording rec = twoAircraft();
    const ReplayClock clock{0, false};
    EXPECT_TRUE(gf_replaySnapshot(rec, clock, kT0 - 1, kWide).empty());
    // bbbbbb was last heard at kT0 + 50; it is answered up to the age limit.
    EXPECT_TRUE(gf_replaySnapshot(rec, clock, kT0 + 50 + kReplayMaxAgeSeconds, kWide).contains("bbbbbb"));
    EXPECT_FALSE(gf_replaySnapshot(rec, clock, kT0 + 50 + kReplayMaxAgeSeconds + 0.5, kWide).contains("bbbbbb"));
    EXPECT_TRUE(gf_replaySnapshot(rec, clock, kT0 + 60 + kReplayMaxAgeSeconds + 1, kWide).empty());
}

TEST(ServiceReplay, BoxFiltersByTheLatestPosition)
{
    const Recording rec = twoAircraft();
    const ReplayClock clock{0, false};
    const RequestBox west{53, 52, 4, 5};
    const auto data = gf_replaySnapshot(rec, clock, kT0 + 40, west);
    EXPECT_TRUE(data.contains("aaaaaa"));
    EXPECT_FALSE(data.contains("bbbbbb"));
    // Edges belong to the box: aaaaaa's point of kT0 + 20 lies at 52.04.
    const RequestBox edge{52.04, 52.04, 4.5, 4.5};
    EXPECT_TRUE(gf_replaySnapshot(rec, clock, kT0 + 20, edge).contains("aaaaaa"));
    EXPECT_TRUE(gf_replaySnapshot(rec, clock, kT0 + 25, edge).empty());
}

TEST(ServiceReplay, LoopRepeatsAfterTheGapAndReachesBackBeforeTheStart)
{
    const Recording rec = twoAircraft();
    const ReplayClock clock{0, true};
    const double period = 60 + kReplayLoopGapSeconds;
    const auto later = gf_replaySnapshot(rec, clock, kT0 + 2 * period + 17, kWide);
    ASSERT_TRUE(later.contains("aaaaaa"));
    EXPECT_DOUBLE_EQ(later["aaaaaa"][kLineLat].get<double>(), 52.03);
    EXPECT_DOUBLE_EQ(later["aaaaaa"][kLineTimestamp].get<double>(), kT0 + 2 * period + 15);
    // Before the first round the previous one shows.
    const auto before = gf_replaySnapshot(rec, clock, kT0 - period + 17, kWide);
    ASSERT_TRUE(before.contains("aaaaaa"));
    EXPECT_DOUBLE_EQ(before["aaaaaa"][kLineTimestamp].get<double>(), kT0 - period + 15);
    // In the gap nothing but what is still fresh.
    EXPECT_TRUE(gf_replaySnapshot(rec, clock, kT0 + period - 1, kWide).empty());
}

TEST(ServiceReplay, WholeTimestampsStayWholeOnAWholeShift)
{
    std::vector<nlohmann::json> lines{liveLine("cccccc", 52, 4, 0), liveLine("dddddd", 52, 4, 0)};
    lines[0][kLineTimestamp] = static_cast<long long>(kT0);
    lines[1][kLineTimestamp] = kT0 + 0.25;
    const Recording rec = recordingOf(lines);
    const auto whole = gf_replaySnapshot(rec, ReplayClock{100, false}, kT0 + 110, kWide);
    EXPECT_TRUE(whole["cccccc"][kLineTimestamp].is_number_integer());
    EXPECT_FALSE(whole["dddddd"][kLineTimestamp].is_number_integer());
    const auto fraction = gf_replaySnapshot(rec, ReplayClock{100.5, false}, kT0 + 110, kWide);
    EXPECT_DOUBLE_EQ(fraction["cccccc"][kLineTimestamp].get<double>(), kT0 + 100.5);
}

TEST(ServiceReplay, OtherValuesAreAnsweredAsRecorded)
{
    auto line = liveLine("eeeeee", 52, 4, kT0);
    line[25] = 400.5;
    line[8] = 17;
    line[20] = "fast";
    const Recording rec = recordingOf({line});
    const auto data = gf_replaySnapshot(rec, ReplayClock{0, false}, kT0, kWide);
    auto expected = line;
    EXPECT_EQ(data["eeeeee"], expected);
}

TEST(ServiceReplay, FaultyLinesAreNamedByNumber)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"[1,2,3]", "test:2:"},
        {"{\"a\":1}", "test:2:"},
        {"not json", "test:2:"},
    };
    for (const auto& [bad, where] : cases) {
        std::stringstream text;
        text << "# a comment\n" << bad << "\n";
        try {
            (void)gf_readRecording(text, "test");
            ADD_FAILURE() << bad;
        } catch (const std::runtime_error& e) {
            EXPECT_EQ(std::string(e.what()).rfind(where, 0), 0u) << e.what();
        }
    }
    auto noHex = liveLine("x", 1, 1, 1);
    noHex[kLineHexid] = 123;
    std::stringstream text(noHex.dump());
    EXPECT_THROW((void)gf_readRecording(text, "t"), std::runtime_error);
}

TEST(ServiceReplay, BufferedSlicesStepBackFromTheAskedTime)
{
    ServiceDriver d;
    std::vector<nlohmann::json> lines;
    for (int i = 0; i <= 60; ++i) lines.push_back(liveLine("aaaaaa", 52.5, 4.5, kT0 + i));
    d.state.recording = recordingOf(lines);
    d.state.clock = ReplayClock{d.now - kT0 - 100, false}; // now shows kT0 + 100
    const std::string guid = d.login();
    d.now += 3; // kT0 + 103, minus one minute of toffset: kT0 + 43
    const auto answer = d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid, 1) + "&buffercount=5&buffertime=6");
    ASSERT_EQ(answer["status"], 200);
    const double shift = d.state.clock.shiftSeconds;
    for (int i = 0; i < 5; ++i) {
        const auto& slice = answer["data"]["buffer_" + std::to_string(i)];
        ASSERT_TRUE(slice.contains("aaaaaa")) << i;
        EXPECT_DOUBLE_EQ(slice["aaaaaa"][kLineTimestamp].get<double>(), kT0 + 43 - 6 * (i + 1) + shift) << i;
    }
    d.now += 2;
    const auto live = d.postJson("/v4/traffic", ServiceDriver::trafficBody(guid, 1));
    EXPECT_DOUBLE_EQ(live["data"]["aaaaaa"][kLineTimestamp].get<double>(), kT0 + 45 + shift);
    EXPECT_EQ(live["full_count"], 1);
}

TEST(ServiceParked, BoxAndFreshReportTimes)
{
    std::stringstream text;
    text << R"({"4840d6": [52.30, 4.76, "A3", "B738", "PH-BXA", 1600000000, "KLM1"], )"
         << R"("4840d7": [52.31, 4.77, "A4", "A320", "PH-ABC", 0, "null"]})"
         << "\n\n"
         << R"({"3c6444": [50.03, 8.57, "V1", "A359", "D-AIXA", 0, "DLH400"]})"
         << "\n";
    const ParkedTraffic parked = gf_readParked(text, "parked");
    ASSERT_EQ(parked.entries.size(), 3u);
    const auto data = gf_parkedSnapshot(parked, RequestBox{52.5, 52.0, 4.5, 5.0}, kT0 + 0.7);
    ASSERT_EQ(data.size(), 2u);
    EXPECT_EQ(data["4840d6"][kParkedTime], 1600000000);
    EXPECT_EQ(data["4840d7"][kParkedTime], static_cast<long long>(kT0));
    std::stringstream bad(R"({"1": [52.3]})");
    EXPECT_THROW((void)gf_readParked(bad, "bad"), std::runtime_error);
}

} // namespace
} // namespace orv::test
