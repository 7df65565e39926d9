// The time model: due ticks round the batch's median, the hand-over of live
// batches and of the buffered history to the main thread.
#include <algorithm>
#include <map>
#include <random>

#include "feed/feed_session.h"
#include "feed_test_support.h"
#include "traffic/act.h"

namespace orv::test {
namespace {

class TimeModel : public FeedTest {
protected:
    void SetUp() override
    {
        FeedTest::SetUp();
        engineTick = 50000;
        std::lock_guard lock(linesLock);
        incomingLines.clear();
        loopRunning = true;
        client.session = currentFeedSession;
    }
    void TearDown() override
    {
        std::lock_guard lock(linesLock);
        incomingLines.clear();
        loopRunning = false;
    }
    void addLine(std::uint32_t HEXID, double TIMESTAMP)
    {
        TrafficLine line;
        line.hexid = HEXID;
        line.timestamp = TIMESTAMP;
        client.lines.push_back(line);
    }
    std::vector<TrafficLine> taken()
    {
        std::lock_guard lock(linesLock);
        return incomingLines;
    }
};

TEST_F(TimeModel, ASingleLineIsDueExactlyTheDelayAhead)
{
    addLine(0x4840d6, 1700000000.37);
    lf_handOverLines(client, liveDelaySeconds);
    const auto lines = taken();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].point.dueTick, 50000 + 3000);
    EXPECT_TRUE(client.lines.empty());
}

TEST_F(TimeModel, LinesKeepTheirTimesRoundTheMedianToATenth)
{
    // Sorted: 99.5, 100, 101.25, 103; the median is element 4 / 2 = 101.25.
    addLine(0x100001, 100.0);
    addLine(0x100002, 101.25);
    addLine(0x100003, 99.5);
    addLine(0x100004, 103.0);
    lf_handOverLines(client, liveDelaySeconds);
    const auto lines = taken();
    ASSERT_EQ(lines.size(), 4u);
    const std::int32_t base = 53000;
    EXPECT_EQ(lines[0].point.dueTick, base - 120); // -1.25 s: trunc(-12.5) tenths
    EXPECT_EQ(lines[1].point.dueTick, base);
    EXPECT_EQ(lines[2].point.dueTick, base - 170);
    EXPECT_EQ(lines[3].point.dueTick, base + 170);
}

TEST_F(TimeModel, RelativeTimesHoldForAnyBatch)
{
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        const int count = std::uniform_int_distribution<int>(1, 60)(random);
        for (int i = 0; i < count; ++i) {
            addLine(0x100000 + i, 1700000000 + std::uniform_real_distribution<double>(-20, 20)(random));
        }
        const auto before = client.lines;
        {
            std::lock_guard lock(linesLock);
            incomingLines.clear();
        }
        lf_handOverLines(client, liveDelaySeconds);
        const auto lines = taken();
        ASSERT_EQ(lines.size(), before.size());
        for (std::size_t i = 1; i < lines.size(); ++i) {
            const double wanted = (lines[i].timestamp - lines[0].timestamp) * 100;
            const double got = lines[i].point.dueTick - lines[0].point.dueTick;
            EXPECT_LT(std::abs(got - wanted), 20.0);
            EXPECT_EQ(lines[i].point.dueTick % 10, 0);
        }
        // The median line itself lands on the mark.
        std::vector<double> times;
        for (const auto& line : lines) times.push_back(line.timestamp);
        std::sort(times.begin(), times.end());
        const auto median = std::find_if(lines.begin(), lines.end(),
                                         [&](const TrafficLine& L) { return L.timestamp == times[times.size() / 2]; });
        EXPECT_EQ(median->point.dueTick, 53000);
    }
}

TEST_F(TimeModel, AnEmptyBatchClearsTheLastTimestamp)
{
    client.lastTimestamp = 1700000000;
    lf_handOverLines(client, liveDelaySeconds);
    EXPECT_EQ(client.lastTimestamp, 0);
    EXPECT_TRUE(taken().empty());
}

TEST_F(TimeModel, OfTwoBatchesWithinOneDrainTheSecondIsLostWhole)
{
    addLine(0x100001, 100);
    addLine(0x100002, 101);
    lf_handOverLines(client, liveDelaySeconds);
    addLine(0x100003, 102);
    lf_handOverLines(client, liveDelaySeconds);
    const auto lines = taken();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].hexid, 0x100001u);
    EXPECT_TRUE(client.lines.empty()) << "the lost batch is not kept for later either";
}

TEST_F(TimeModel, NothingIsHandedOverWhileTheLoopStandsStill)
{
    {
        std::lock_guard lock(linesLock);
        loopRunning = false;
    }
    addLine(0x100001, 100);
    lf_handOverLines(client, liveDelaySeconds);
    EXPECT_TRUE(taken().empty());
}

TEST_F(TimeModel, AClientOfAnEndedSessionReachesNothing)
{
    client.session = currentFeedSession + 1000;
    addLine(0x100001, 100);
    lf_handOverLines(client, liveDelaySeconds);
    client.history.push_back(TrafficLine{});
    lf_handOverHistory(client);
    EXPECT_TRUE(taken().empty());
    EXPECT_TRUE(client.history.empty());
}

TEST_F(TimeModel, HistoryGoesToTheMainThreadOldestFirstWithItsDueTicks)
{
    {
        std::lock_guard lock(linesLock);
        loopRunning = false; // the buffered start comes before the loop runs
    }
    const int delays[] = {0, 6, 12, 18, 24};
    for (int slice = 0; slice < 5; ++slice) {
        addLine(0x100001, 1000 + 6 * slice);
        addLine(0x100002, 1000.5 + 6 * slice);
        lf_handOverLines(client, delays[slice]);
        EXPECT_TRUE(taken().empty()) << "history waits for the whole buffer";
    }
    lf_handOverHistory(client);
    auto lines = taken();
    ASSERT_EQ(lines.size(), 10u);
    // The engine takes from the end: each aircraft's points come oldest first.
    std::reverse(lines.begin(), lines.end());
    std::map<std::uint32_t, std::int32_t> lastDue;
    std::map<std::uint32_t, double> lastTime;
    for (const TrafficLine& line : lines) {
        if (lastTime.contains(line.hexid)) {
            EXPECT_GT(line.timestamp, lastTime[line.hexid]);
            EXPECT_GT(line.point.dueTick, lastDue[line.hexid]);
        }
        lastTime[line.hexid] = line.timestamp;
        lastDue[line.hexid] = line.point.dueTick;
    }
    EXPECT_EQ(lines[1].point.dueTick, 50000); // buffer_4's median line lands now
    EXPECT_EQ(lines[0].point.dueTick, 50000 - 50);
    EXPECT_EQ(lines.back().point.dueTick, 50000 + 2400);
}

} // namespace
} // namespace orv::test
