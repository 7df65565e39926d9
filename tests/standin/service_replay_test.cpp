// Replay of a recording on the service's clock. Parked traffic is read by the
// feed's tests against this service.
#include "service_test_support.h"

namespace orv::test {
namespace {

constexpr double kT0 = 1'600'000'000; ///< the recording's first second
const RequestBox kWide{90, -90, -180, 180};

/// Aircraft "aaaaaa" every 5 s for a minute moving north, its times whole
/// numbers; "bbbbbb" for 20 s from kT0 + 30, far to the east.
Recording twoAircraft()
{
    std::vector<nlohmann::json> lines;
    for (int i = 0; i <= 12; ++i) lines.push_back(liveLine("aaaaaa", 52.0 + 0.01 * i, 4.5, 0));
    for (int i = 0; i <= 12; ++i) lines[i][kLineTimestamp] = static_cast<long long>(kT0) + 5 * i;
    for (int i = 0; i <= 4; ++i) lines.push_back(liveLine("bbbbbb", 52.5, 10.0, kT0 + 30 + 5 * i + 0.25));
    return recordingOf(lines);
}

TEST(ServiceReplay, LatestPositionAtTheTimeAskedNothingBeforeTheFirstAndNothingStale)
{
    const Recording rec = twoAircraft();
    EXPECT_EQ(rec.tracks.size(), 2u);
    EXPECT_EQ(rec.firstTime, kT0);
    EXPECT_EQ(rec.lastTime, kT0 + 60);
    const ReplayClock shifted{1000, false};
    auto data = gf_replaySnapshot(rec, shifted, kT0 + 1000 + 17, kWide);
    ASSERT_EQ(data.size(), 1u);
    // The point of kT0 + 15 as recorded, its time shifted and still a whole number.
    EXPECT_TRUE(data["aaaaaa"][kLineTimestamp].is_number_integer());
    EXPECT_EQ(data["aaaaaa"], liveLine("aaaaaa", 52.03, 4.5, kT0 + 15 + 1000));
    data = gf_replaySnapshot(rec, ReplayClock{1000.5, false}, kT0 + 1000 + 37, kWide);
    EXPECT_EQ(data.size(), 2u);
    EXPECT_DOUBLE_EQ(data["aaaaaa"][kLineTimestamp].get<double>(), kT0 + 35 + 1000.5);
    EXPECT_DOUBLE_EQ(data["bbbbbb"][kLineTimestamp].get<double>(), kT0 + 35.25 + 1000.5);
    const auto at = [&](double TIME) { return gf_replaySnapshot(rec, ReplayClock{0, false}, TIME, kWide); };
    EXPECT_TRUE(at(kT0 - 1).empty());
    // bbbbbb was last heard at kT0 + 50; it is answered up to the age limit.
    EXPECT_TRUE(at(kT0 + 50 + kReplayMaxAgeSeconds).contains("bbbbbb"));
    EXPECT_FALSE(at(kT0 + 50 + kReplayMaxAgeSeconds + 0.5).contains("bbbbbb"));
    EXPECT_TRUE(at(kT0 + 60 + kReplayMaxAgeSeconds + 1).empty());
}

TEST(ServiceReplay, BoxFiltersByTheLatestPositionEdgesIncluded)
{
    const Recording rec = twoAircraft();
    const auto at = [&](double TIME, RequestBox BOX) { return gf_replaySnapshot(rec, {0, false}, TIME, BOX); };
    const auto west = at(kT0 + 40, RequestBox{53, 52, 4, 5});
    EXPECT_TRUE(west.contains("aaaaaa"));
    EXPECT_FALSE(west.contains("bbbbbb"));
    // aaaaaa's point of kT0 + 20 lies at 52.04.
    EXPECT_TRUE(at(kT0 + 20, RequestBox{52.04, 52.04, 4.5, 4.5}).contains("aaaaaa"));
    EXPECT_TRUE(at(kT0 + 25, RequestBox{52.04, 52.04, 4.5, 4.5}).empty());
}

TEST(ServiceReplay, LoopRepeatsAfterTheGapAndReachesBackBeforeTheStart)
{
    const Recording rec = twoAircraft();
    const auto at = [&](double TIME) { return gf_replaySnapshot(rec, ReplayClock{0, true}, TIME, kWide); };
    const double period = 60 + kReplayLoopGapSeconds;
    const auto later = at(kT0 + 2 * period + 17);
    ASSERT_TRUE(later.contains("aaaaaa"));
    EXPECT_DOUBLE_EQ(later["aaaaaa"][kLineLat].get<double>(), 52.03);
    EXPECT_DOUBLE_EQ(later["aaaaaa"][kLineTimestamp].get<double>(), kT0 + 2 * period + 15);
    const auto before = at(kT0 - period + 17); // before the first round the previous one shows
    ASSERT_TRUE(before.contains("aaaaaa"));
    EXPECT_DOUBLE_EQ(before["aaaaaa"][kLineTimestamp].get<double>(), kT0 - period + 15);
    EXPECT_TRUE(at(kT0 + period - 1).empty()); // in the gap nothing but what is still fresh
}

TEST(ServiceReplay, FaultyLinesAreNamedByNumber)
{
    auto noHex = liveLine("x", 1, 1, 1);
    noHex[kLineHexid] = 123;
    for (const std::string& bad : {std::string("[1,2,3]"), std::string("{\"a\":1}"), std::string("x"), noHex.dump()}) {
        std::stringstream text("# a comment\n" + bad + "\n");
        try {
            (void)gf_readRecording(text, "test");
            ADD_FAILURE() << bad;
        } catch (const std::runtime_error& e) {
            EXPECT_EQ(std::string(e.what()).rfind("test:2:", 0), 0u) << e.what();
        }
    }
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
    const auto answer = d.answer("/v4/traffic", ServiceDriver::trafficBody(guid, 1) + "&buffercount=5&buffertime=6");
    ASSERT_EQ(answer["status"], 200);
    const double shift = d.state.clock.shiftSeconds;
    for (int i = 0; i < 5; ++i) {
        const auto& slice = answer["data"]["buffer_" + std::to_string(i)];
        EXPECT_DOUBLE_EQ(slice.at("aaaaaa")[kLineTimestamp].get<double>(), kT0 + 43 - 6 * (i + 1) + shift) << i;
    }
    d.now += 2;
    const auto live = d.answer("/v4/traffic", ServiceDriver::trafficBody(guid, 1));
    EXPECT_DOUBLE_EQ(live["data"]["aaaaaa"][kLineTimestamp].get<double>(), kT0 + 45 + shift);
    EXPECT_EQ(live["full_count"], 1);
}

} // namespace
} // namespace orv::test
