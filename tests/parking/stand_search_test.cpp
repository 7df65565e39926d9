// The stand searches: the hour of the week over midnight and the week's end,
// the thresholds of the closest stand (55/20/85 m, 1.8 m of size, a stand
// that grows), the free-stand search's rating chain with a fixed seed, the
// candidates of the parking calculation and the turnaround's callsigns.
#include "parking/park_airports.h"
#include "parking/stand_search.h"

#include "core/parameters.h"

#include <gtest/gtest.h>

#include <map>

namespace orv {
namespace {

constexpr double nmPerM = 1.0 / 1852.0;
constexpr LatLon origin{0.0, 4.0}; ///< on the equator a minute of latitude is one nautical mile

/// A stand METRES north of origin with radius RADIUS_M.
Stand standAt(const std::string& NAME, double METRES, double RADIUS_M)
{
    Stand stand;
    stand.name = NAME;
    stand.lat = origin.lat + METRES * nmPerM / 60.0;
    stand.lon = origin.lon;
    stand.radius = RADIUS_M * nmPerM;
    return stand;
}

StandOption option(std::int32_t DAY, std::int32_t HALF_HOUR, std::int32_t NUMBER = 1)
{
    StandOption o;
    o.airline = "KLM";
    o.icaoType = "B738";
    o.day = DAY;
    o.hours = std::uint64_t{1} << HALF_HOUR;
    o.number = NUMBER;
    return o;
}

act aircraft(double HALF_SPAN_M, std::int32_t CLASS = 2)
{
    act record;
    record.callsign = "KLM12";
    record.airline = "KLM";
    record.icaoType = "B738";
    record.wingspan = HALF_SPAN_M * nmPerM;
    record.classId = CLASS;
    return record;
}

class StandSearch : public ::testing::Test {
protected:
    void SetUp() override
    {
        gf_resetParameters();
        standRandom.seed(12);
        standTable.clear();
        staticCreateList.clear();
        seenCallsignsCopy.clear();
        updateCount = 0;
        parkIcao = "EHAM";
    }
    void TearDown() override
    {
        standTable.clear();
        staticCreateList.clear();
        parkIcao.clear();
    }
    static void number()
    {
        for (std::size_t i = 0; i < standTable.size(); ++i) standTable[i].standId = static_cast<std::int32_t>(i + 1);
    }
};

TEST_F(StandSearch, TheHourOfTheWeekWrapsOverMidnightAndTheWeeksEnd)
{
    struct Row {
        DayHalf from;
        std::int32_t steps;
        DayHalf expected;
    };
    const std::vector<Row> rows = {
        {{3, 10}, -1, {3, 9}},   {{3, 0}, -1, {2, 47}}, {{1, 0}, -1, {7, 47}}, {{7, 47}, 1, {1, 0}},
        {{2, 47}, 1, {3, 0}},    {{1, 5}, -48, {7, 5}}, {{4, 20}, -336, {4, 20}}, {{6, 40}, 20, {7, 12}},
    };
    for (const Row& row : rows) {
        const DayHalf got = row.steps < 0 ? gf_dayHalfBefore(row.from, -row.steps) : gf_dayHalfAfter(row.from, row.steps);
        EXPECT_EQ(got.day, row.expected.day) << row.from.day << "/" << row.from.halfHour << " " << row.steps;
        EXPECT_EQ(got.halfHour, row.expected.halfHour) << row.from.day << "/" << row.from.halfHour << " " << row.steps;
    }
    std::int32_t earlier = 0;
    const StandOption o = option(1, 0);
    EXPECT_TRUE(testRange(o, 3, 5, earlier));
    EXPECT_FALSE(testRange(option(1, 10), 3, 5, earlier));
    EXPECT_EQ(earlier, 2) << "two half hours left for the day before";
    EXPECT_FALSE(testRange(option(1, 10), 8, 5, earlier));
    EXPECT_EQ(earlier, -1);
}

TEST_F(StandSearch, TheClosestStandKeepsTheThresholds)
{
    struct Row {
        const char* name;
        double distanceM, radiusM, halfSpanM, maxM;
        bool useOptions, withOption;
        bool found;
        double radiusAfterM; ///< 0: unchanged
    };
    const std::vector<Row> rows = {
        {"within 55 m", 54, 20, 20, 55, false, false, true, 0},
        {"beyond 55 m", 56, 20, 20, 55, false, false, false, 0},
        {"1.8 m too small fits", 40, 20, 21.8, 55, false, false, true, 0},
        {"1.9 m too small beyond 20 m", 21, 20, 21.9, 55, false, false, false, 0},
        {"1.9 m too small within 20 m grows", 19, 20, 21.9, 55, false, false, true, 20.9},
        {"within 20 m of the 20 m search", 19, 20, 20, 20, false, false, true, 0},
        {"options at 80 m", 80, 20, 20, 55, true, true, true, 0},
        {"options at 90 m", 90, 20, 20, 55, true, true, false, 0},
        {"options unused", 80, 20, 20, 55, false, true, false, 0},
        {"options without a match", 80, 20, 20, 55, true, false, false, 0},
        {"110 m of the parked traffic", 109, 20, 20, 110, false, false, true, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        standTable = {standAt("S", row.distanceM, row.radiusM)};
        if (row.withOption) standTable[0].options.push_back(option(1, 1));
        const Stand* found = gf_closestStand(origin, aircraft(row.halfSpanM), row.maxM * nmPerM, row.useOptions);
        EXPECT_EQ(found != nullptr, row.found);
        if (row.radiusAfterM > 0) {
            EXPECT_NEAR(standTable[0].radius / nmPerM, row.radiusAfterM, 1e-6);
            EXPECT_TRUE(standTable[0].radiusChange);
            EXPECT_EQ(updateCount, 1);
        }
    }
    // A hit within reach ends the use of options; occupied stands and the helicopter rule.
    standTable = {standAt("near", 50, 20), standAt("option", 30, 20)};
    standTable[1].options.push_back(option(1, 1));
    standTable[1].occupied = true;
    EXPECT_EQ(gf_closestStand(origin, aircraft(20), 55 * nmPerM, true), &standTable[0]);
    EXPECT_EQ(gf_closestStand(origin, aircraft(5, 5), 55 * nmPerM, false), nullptr) << "a helicopter at an ordinary stand";
    standTable[0].heli = true;
    EXPECT_EQ(gf_closestStand(origin, aircraft(5, 5), 55 * nmPerM, false), &standTable[0]);
    EXPECT_EQ(gf_closestStand(origin, aircraft(20), 55 * nmPerM, false), nullptr) << "a helicopter stand takes no aeroplane";
}

TEST_F(StandSearch, TheFreeStandSearchRatesFitThenMatchAndDrawsAmongEquals)
{
    const DayHalf now{3, 20};
    // A chain on a small airport: too large, better, matched, taken at this hour, cargo, a ramp.
    standTable = {standAt("huge", 0, 60), standAt("fits", 100, 22), standAt("fits too", 200, 22),
                  standAt("matched", 300, 24), standAt("taken", 400, 22), standAt("cargo", 500, 22),
                  standAt("ramp", 600, 22)};
    standTable[3].options.push_back(option(5, 1)); // KLM B738 on another day: matches, leaves it free now
    standTable[4].options.push_back(option(now.day, now.halfHour));
    standTable[5].cargo = true;
    standTable[6].ramp = true;
    number();
    std::map<std::string, int> chosen;
    for (int i = 0; i < 200; ++i) chosen[lf_searchFreeStand(now, aircraft(20), false)->name]++;
    EXPECT_GT(chosen["matched"], 150) << "a match beats a better fit";
    EXPECT_GT(chosen["ramp"], 0) << "one in ten prefers the stands off the gates";
    EXPECT_EQ(chosen.count("taken") + chosen.count("cargo") + chosen.count("huge"), 0u);
    // Without the match, the two equal fits are drawn alike.
    standTable[3].options.clear();
    chosen.clear();
    for (int i = 0; i < 400; ++i) chosen[lf_searchFreeStand(now, aircraft(20), false)->name]++;
    EXPECT_GT(chosen["fits"], 100);
    EXPECT_GT(chosen["fits too"], 100);
    // A freighter goes to the cargo stand; a private aircraft to the ramp; a helicopter to a ramp without a heli stand.
    act freighter = aircraft(20);
    freighter.cargo = true;
    EXPECT_EQ(lf_searchFreeStand(now, freighter, false)->name, "cargo");
    EXPECT_EQ(lf_searchFreeStand(now, aircraft(5, 1), false)->name, "ramp");
    EXPECT_EQ(lf_searchFreeStand(now, aircraft(5, 5), false)->name, "ramp");
    // Seven stands all taken now: the search looks one half hour on; with eleven it does not.
    for (Stand& stand : standTable) stand.options = {option(now.day, now.halfHour)};
    EXPECT_NE(lf_searchFreeStand(now, aircraft(20), true), nullptr);
    EXPECT_EQ(lf_searchFreeStand(now, aircraft(20), false), nullptr);
    for (int i = 0; i < 4; ++i) standTable.push_back(standTable[1]);
    EXPECT_EQ(lf_searchFreeStand(now, aircraft(20), true), nullptr);
}

TEST_F(StandSearch, CandidatesOfTheWeeksRecord)
{
    const DayHalf now{3, 0};
    struct Row {
        const char* name;
        StandOption option;
        bool heli;
        std::int32_t kind, offset;
        bool week, candidate;
    };
    StandOption soft = option(3, 0);
    soft.real = 0;
    StandOption seen = option(3, 0);
    seen.coupled1 = "AB123";
    const std::vector<Row> rows = {
        {"this half hour", option(3, 0), false, 1, 0, false, true},
        {"offset 1 looks at 47 of the day before", option(2, 47), false, 1, 1, false, true},
        {"another day", option(2, 0), false, 1, 0, false, false},
        {"another day with WEEK", option(5, 0), false, 1, 0, true, true},
        {"a soft option in a real search", soft, false, 1, 0, false, false},
        {"a soft option in a soft search", soft, false, 0, 0, false, true},
        {"a live callsign", seen, false, 1, 0, false, false},
        {"a heli stand without helicopters", option(3, 0), true, 1, 0, false, false},
    };
    seenCallsignsCopy = {"AB123_"};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        standTable = {standAt("A", 0, 20)};
        standTable[0].options = {row.option};
        standTable[0].heli = row.heli;
        number();
        WEEK.value = row.week;
        HELICOPTERS.value = false;
        std::vector<ParkCandidate> candidates;
        lf_searchStands(now, row.kind, row.offset, candidates);
        EXPECT_EQ(candidates.size(), row.candidate ? 1u : 0u);
        EXPECT_EQ(standTable[0].taken, row.candidate);
    }
    // The fit looks back until enough stands are taken.
    standTable = {standAt("A", 0, 20), standAt("B", 100, 20)};
    standTable[0].options = {option(3, 0)};
    standTable[1].options = {option(2, 45)};
    number();
    WEEK.value = false;
    MAX_FIT.value = 47;
    std::vector<ParkCandidate> candidates;
    EXPECT_TRUE(lf_searchFit(now, 1, 2, candidates));
    EXPECT_EQ(fitReal, 3);
    EXPECT_EQ(staticCreateList.size() + candidates.size(), 2u);
}

TEST_F(StandSearch, TheTurnaroundIsFoundRoundThisHour)
{
    standTable = {standAt("A", 0, 20)};
    StandOption turn = option(3, 20);
    turn.coupled1 = "KLM11";
    turn.coupled2 = "KLM12";
    standTable[0].options = {turn};
    for (const auto& [halfHour, found] : {std::pair{10, true}, std::pair{9, false}, std::pair{30, true}, std::pair{31, false}}) {
        act record = aircraft(20);
        record.callsign = "KLM12_";
        lf_searchForCoupledCsAroundThisTime({3, halfHour}, record);
        EXPECT_TRUE(record.coupledSearchDone);
        EXPECT_EQ(record.coupledCallsign1, found ? "KLM11" : "") << halfHour;
    }
}

} // namespace
} // namespace orv
