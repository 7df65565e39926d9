// The converter from public ADS-B history and the comparison of shown
// flights with their true paths, on documents and recordings made here.
#include "core/geometry.h"
#include "tools/follow_compare.h"
#include "tools/trace_convert.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>

namespace orv::test {
namespace {

using nlohmann::json;

constexpr double base = 1738703622.5;

std::string lf_readsb(const std::string& ENTRIES)
{
    return R"({"icao":"ac671b","r":"N899DN","t":"B739","timestamp":)" + fmt::format("{}", base) +
           R"(,"trace":[)" + ENTRIES + "]}";
}

TEST(Convert, ReadsbEntriesBecomeRecordingArraysWithUnknownsKept)
{
    const std::string doc = lf_readsb(
        R"([0.0,44.88,-93.22,"ground",null,null,0,null,null,"adsb_icao",850,null,null,null],)"
        R"([2.5,44.881,-93.221,"ground",12.5,270.0,0,0,{"flight":"DAL2927 ","category":"A3"},"adsb_icao",null,null,null,null],)"
        R"([9.0,44.89,-93.23,1500,150.2,271.0,0,1216,null,"mlat",1550,null,148,-1.5])");
    const auto lines = gf_convertReadsb(doc, {});
    ASSERT_EQ(lines.size(), 3U);
    const json first = json::parse(lines[0]), second = json::parse(lines[1]), third = json::parse(lines[2]);
    struct Row {
        const json& line;
        std::size_t pos;
        json want;
    } rows[] = {
        {first, 0, "ac671b"},   {first, 4, nullptr},   {first, 5, nullptr},  {first, 3, nullptr},
        {first, 14, 1},         {first, 18, nullptr},  {first, 15, nullptr}, {first, 8, "B739"},
        {first, 9, "N899DN"},   {first, 28, "A3"},     {first, 13, ""},      {first, 10, base},
        {second, 13, "DAL2927"}, {second, 5, 12.5},    {second, 3, 270.0},   {third, 14, 0},
        {third, 4, 1500},       {third, 18, 1550},     {third, 17, "mlat"},  {third, 13, "DAL2927"},
        {third, 15, 1216},      {third, 20, 148},      {third, 23, -1.5},    {third, 10, base + 9.0},
    };
    for (const Row& r : rows) EXPECT_EQ(r.line.at(r.pos), r.want) << r.line.dump() << " at " << r.pos;
    EXPECT_EQ(first.size(), 29U);
}

TEST(Convert, PlacingKeepsDistancesAndCuttingKeepsTheWindow)
{
    const std::string doc = lf_readsb(R"([0,44.88,-93.22,1000,150,90,0,0,null,"adsb_icao",null,null,null,null],)"
                                      R"([10,44.88,-93.20,1100,150,90,0,0,null,"adsb_icao",null,null,null,null],)"
                                      R"([20,44.88,-93.18,1200,150,90,0,0,null,"adsb_icao",null,null,null,null])");
    ConvertSetup setup;
    setup.placeFrom = LatLon{44.88, -93.22};
    setup.placeTo = LatLon{52.31, 4.76};
    setup.altitudeShiftFt = -850;
    setup.toTime = base + 15;
    const auto lines = gf_convertReadsb(doc, setup);
    ASSERT_EQ(lines.size(), 2U);
    const json a = json::parse(lines[0]), b = json::parse(lines[1]);
    EXPECT_NEAR(a[1].get<double>(), 52.31, 1e-6);
    EXPECT_NEAR(a[2].get<double>(), 4.76, 1e-6);
    EXPECT_EQ(a[4], 150);
    const double original = gf_distance(44.88, -93.22, 44.88, -93.20);
    EXPECT_NEAR(gf_distance(a[1], a[2], b[1], b[2]), original, original * 0.002);
    EXPECT_THROW(gf_convertReadsb(R"({"trace":[]})", {}), std::runtime_error);
}

TEST(Convert, StateVectorsInCsvAndJsonWithNulls)
{
    const std::string csv = "time,icao24,lat,lon,velocity,heading,vertrate,callsign,onground,baroaltitude,geoaltitude\n"
                            "1700000010,4b1234,47.45,8.56,100,90,5.08,SWR12  ,False,3048,3100\n"
                            "1700000000,4b1234,47.44,8.55,,,,SWR12,True,,\n";
    const std::string rest = R"({"time":1700000020,"states":[["4b1234","SWR12 ","CH",1700000019,1700000020,8.57,47.46,null,true,2.0,null,null,null,null,"1000",false,0]]})";
    const auto fromCsv = gf_convertStateVectors(csv, {});
    const auto fromJson = gf_convertStateVectors(rest + "\n" + rest + "\n", {});
    ASSERT_EQ(fromCsv.size(), 2U);
    ASSERT_EQ(fromJson.size(), 2U);
    const json early = json::parse(fromCsv[0]), late = json::parse(fromCsv[1]), j = json::parse(fromJson[0]);
    EXPECT_EQ(early[10], 1700000000.0) << "oldest first";
    for (const std::size_t pos : {3, 4, 5, 15, 18}) EXPECT_TRUE(early[pos].is_null()) << pos;
    EXPECT_EQ(early[14], 1);
    EXPECT_NEAR(late[5].get<double>(), 194.38, 0.01);
    EXPECT_NEAR(late[4].get<double>(), 10000, 0.1);
    EXPECT_NEAR(late[15].get<double>(), 1000, 0.1);
    EXPECT_EQ(late[13], "SWR12");
    EXPECT_EQ(late[8], "A320") << "the setup's type for untyped sources";
    EXPECT_EQ(j[1], 47.46);
    EXPECT_EQ(j[10], 1700000019.0);
    EXPECT_EQ(j[14], 1);
    EXPECT_TRUE(j[4].is_null());
    EXPECT_NEAR(j[5].get<double>(), 3.89, 0.01);
}

// --- comparison -------------------------------------------------------------------------

constexpr double start = 1700000000, replayStart = 1800000000, speedMps = 10;
constexpr LatLon origin{52.3, 4.7};

/// A ground flight going east at 10 m/s for two minutes, a line a second.
std::vector<std::string> lf_truth()
{
    std::vector<std::string> lines;
    for (int s = 0; s <= 120; ++s) {
        const LatLon p = gf_fromPlane(origin, {s * speedMps, 0});
        lines.push_back(json{"abc123", p.lat, p.lon, 90, nullptr, 19.4, "", "", "A320", "PH-ABC", start + s, "", "",
                             "KLM12", 1, 0, "", "adsb_icao", nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0, 90, 90,
                             nullptr, "A3"}.dump());
    }
    return lines;
}

/// The simulator's recording of an object shown at EAST(t) metres, 20 frames a second.
template <typename F> std::vector<std::string> lf_shown(F&& EAST)
{
    std::vector<std::string> lines = {R"({"t":1,"kind":"create","objectId":0,"tail":"KLM12"})",
                                      R"({"t":1,"kind":"created","objectId":7,"tail":"KLM12"})"};
    for (double t = 5; t <= 115; t += 0.05) {
        const LatLon p = gf_fromPlane(origin, {EAST(t), 0});
        lines.push_back(fmt::format(R"({{"t":{:.3f},"kind":"position","objectId":7,"lat":{},"lon":{},"alt":0,"heading":1.57}})",
                                    replayStart + 30 + t, p.lat, p.lon));
    }
    return lines;
}

FollowFigures lf_figures(const std::vector<std::string>& SHOWN)
{
    const CompareResult r = gf_compareFollow(lf_truth(), SHOWN, {.replayStart = replayStart});
    EXPECT_EQ(r.flights.size(), 1U);
    EXPECT_EQ(r.air.seconds, 0);
    return r.ground;
}

TEST(Compare, FollowingStuckTeleportsAndReversalsAreCounted)
{
    const FollowFigures exact = lf_figures(lf_shown([](double T) { return T * speedMps; }));
    EXPECT_NEAR(exact.medianM, 0, 0.5);
    EXPECT_NEAR(exact.followedShare, 1.0, 1e-9);
    EXPECT_NEAR(exact.delayS, 0, 0.2);
    EXPECT_EQ(exact.stuckS + exact.teleports + exact.reversals, 0);

    const FollowFigures late = lf_figures(lf_shown([](double T) { return (T - 4) * speedMps; }));
    EXPECT_NEAR(late.medianM, 40, 1);
    EXPECT_NEAR(late.delayS, 4, 0.2);

    // Stands from 40 s on while the truth goes on.
    const FollowFigures stuck = lf_figures(lf_shown([](double T) { return std::min(T, 40.0) * speedMps; }));
    EXPECT_NEAR(stuck.stuckS, 75, 2);
    EXPECT_LT(stuck.followedShare, 0.5);

    // One jump of 200 m forward at 60 s, then on the path again.
    const FollowFigures jump = lf_figures(lf_shown([](double T) { return T * speedMps + (T >= 60 && T < 61 ? 200 : 0); }));
    EXPECT_EQ(jump.teleports, 2);

    // Back and forth every 10 s.
    const FollowFigures shuttle = lf_figures(lf_shown([](double T) {
        const double phase = std::fmod(T, 20.0);
        return 300 + (phase < 10 ? phase : 20 - phase) * speedMps;
    }));
    EXPECT_GE(shuttle.reversals, 10);
    EXPECT_FALSE(gf_followTable({{exact}, exact, exact}).empty());
}

} // namespace
} // namespace orv::test
