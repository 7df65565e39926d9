// The time model: due ticks round the batch's median, the hand-over of live
// batches and of the buffered history to the main thread.
#include <algorithm>
#include <map>
#include <random>
#include <utility>

#include "feed_fixture.h"

namespace orv::test {
namespace {

constexpr std::int32_t now = 50000, due = now + liveDelaySeconds * 100;

class TimeModel : public FeedTest {
protected:
    void SetUp() override
    {
        FeedTest::SetUp();
        engineTick = now;
        loopRunning = true;
        client.session = currentFeedSession;
        taken();
    }
    void TearDown() override
    {
        taken();
        loopRunning = false;
        FeedTest::TearDown();
    }
    /// A batch of lines at TIMES, of the aircraft 0x100001, 0x100002 and on.
    void hand(const std::vector<double>& TIMES, int DELAY_SECONDS = liveDelaySeconds)
    {
        for (const double time : TIMES) {
            TrafficLine line;
            line.timestamp = time;
            line.hexid = 0x100001 + static_cast<std::uint32_t>(client.lines.size());
            client.lines.push_back(line);
        }
        lf_handOverLines(client, DELAY_SECONDS);
    }
    /// What the main thread takes; the queue is emptied.
    static std::vector<TrafficLine> taken()
    {
        std::lock_guard lock(linesLock);
        return std::exchange(incomingLines, {});
    }
};

TEST_F(TimeModel, LinesKeepTheirTimesRoundTheMedianToATenth)
{
    const std::pair<std::vector<double>, std::vector<std::int32_t>> batches[] = {
        {{1700000000.37}, {due}}, // a single line is due exactly the delay ahead
        // Sorted: 99.5, 100, 101.25, 103; the median is element 4 / 2. -1.25 s: trunc(-12.5) tenths.
        {{100.0, 101.25, 99.5, 103.0}, {due - 120, due, due - 170, due + 170}},
        {{0, 1e9}, {due - 8640000, due}}, // a wild time is bent back to a day from the median
    };
    for (const auto& [times, ticks] : batches) {
        hand(times);
        EXPECT_TRUE(client.lines.empty());
        std::vector<std::int32_t> got;
        for (const auto& line : taken()) got.push_back(line.point.dueTick);
        EXPECT_EQ(got, ticks);
    }
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        std::vector<double> times;
        for (int i = std::uniform_int_distribution<int>(1, 60)(random); i > 0; --i)
            times.push_back(1700000000 + std::uniform_real_distribution<double>(-20, 20)(random));
        hand(times);
        const auto lines = taken();
        ASSERT_EQ(lines.size(), times.size());
        for (const auto& line : lines) {
            const double wanted = (line.timestamp - lines[0].timestamp) * 100;
            EXPECT_LT(std::abs(line.point.dueTick - lines[0].point.dueTick - wanted), 20.0);
            EXPECT_EQ(line.point.dueTick % 10, 0);
        }
        std::sort(times.begin(), times.end());
        const auto median = std::find_if(lines.begin(), lines.end(),
                                         [&](const TrafficLine& L) { return L.timestamp == times[times.size() / 2]; });
        EXPECT_EQ(median->point.dueTick, due) << "the median line itself lands on the mark";
    }
}

TEST_F(TimeModel, WhatIsNotHandedOver)
{
    client.lastTimestamp = 1700000000;
    hand({});
    EXPECT_EQ(client.lastTimestamp, 0) << "an empty batch clears the last timestamp";
    // Of two batches within one drain the second is lost whole, and not kept for later either.
    hand({100, 101});
    hand({102});
    const auto lines = taken();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].hexid, 0x100001u);
    EXPECT_TRUE(client.lines.empty());
    loopRunning = false;
    hand({100});
    EXPECT_TRUE(taken().empty()) << "nothing while the loop stands still";
    loopRunning = true;
    client.session = currentFeedSession + 1000;
    hand({100});
    client.history.push_back(TrafficLine{});
    lf_handOverHistory(client);
    EXPECT_TRUE(taken().empty()) << "a client of an ended session reaches nothing";
    EXPECT_TRUE(client.history.empty());
}

TEST_F(TimeModel, HistoryGoesToTheMainThreadOldestFirstWithItsDueTicks)
{
    loopRunning = false; // the buffered start comes before the loop runs
    for (int slice = 0; slice < 5; ++slice) {
        hand({1000.0 + 6 * slice, 1000.5 + 6 * slice}, 6 * slice);
        EXPECT_TRUE(taken().empty()) << "history waits for the whole buffer";
    }
    lf_handOverHistory(client);
    auto lines = taken();
    ASSERT_EQ(lines.size(), 10u);
    // The engine takes from the end: each aircraft's points come oldest first.
    std::reverse(lines.begin(), lines.end());
    std::map<std::uint32_t, const TrafficLine*> last;
    for (const TrafficLine& line : lines) {
        if (last.contains(line.hexid)) {
            EXPECT_GT(line.timestamp, last[line.hexid]->timestamp);
            EXPECT_GT(line.point.dueTick, last[line.hexid]->point.dueTick);
        }
        last[line.hexid] = &line;
    }
    EXPECT_EQ(lines[1].point.dueTick, now); // buffer_4's median line lands now
    EXPECT_EQ(lines[0].point.dueTick, now - 50);
    EXPECT_EQ(lines.back().point.dueTick, now + 2400);
}

} // namespace
} // namespace orv::test
