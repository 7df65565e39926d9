// The airport database: reading and its errors, the first record of a code,
// the closest airport and its neighbour by file order, and the index giving
// the walk's answers.
#include "parking/airport_db.h"
#include "tests/liveries/dbase_fixture.h"

#include "core/errors.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

namespace orv {
namespace {

using test::writeFile;

class AirportDb : public ::testing::Test {
protected:
    test::TempDir temp;
    test::LogCapture log;
    void SetUp() override { lf_use({}); }
    void TearDown() override { lf_use({}); }
    static void lf_use(std::vector<AirportRecord> RECORDS)
    {
        airportList = std::move(RECORDS);
        airportsLoaded = false;
        lf_indexAirports();
    }
    /// An airport NM nautical miles north of `here`.
    static AirportRecord at(const std::string& ICAO, double NM)
    {
        return {ICAO, "", here.lat + NM / 60.0, here.lon, 0};
    }
    static constexpr LatLon here{0.0, 4.0}; ///< on the equator a minute of latitude is one nautical mile
};

TEST_F(AirportDb, ReadsRecordsOnceAndKeepsAnEmptyIata)
{
    writeFile(airportsFile, R"(<?xml version="1.0"?><airports>
      <airport alt="-11" lat="52.3086" lon="4.7639" iata="AMS" code="EHAM" other="x"/>
      <airport alt="7.5" lat=" 51.9569" lon="4.4372abc" code="EHRD"/><airport alt="1" lat="1" lon="2" code="EHAM"/></airports>)");
    ASSERT_TRUE(gf_readAirports());
    EXPECT_GE(airportList.capacity(), airportCapacity);
    ASSERT_EQ(airportList.size(), 3u);
    EXPECT_EQ(airportList[0], (AirportRecord{"EHAM", "AMS", 52.3086, 4.7639, -11}));
    EXPECT_EQ(airportList[1], (AirportRecord{"EHRD", "", 51.9569, 4.4372, 7.5}));
    EXPECT_TRUE(log.contains("3 airports read from \"input/airports_msfs.xml\""));
    EXPECT_EQ(gf_findAirport("EHAM"), airportList[0]) << "the first of a double code";
    EXPECT_FALSE(gf_findAirport("eham")) << "case-sensitive";
    EXPECT_FALSE(gf_findAirport("EHA"));
    EXPECT_EQ(gf_airportLabel("EHRD", gf_findAirport("EHRD")->iata), "EHRD");
    EXPECT_EQ(gf_airportLabel("EHAM", "AMS"), "EHAM (AMS)");
    writeFile(airportsFile, "<airports/>");
    EXPECT_TRUE(gf_readAirports()) << "a second call reads nothing";
    EXPECT_EQ(airportList.size(), 3u);
    EXPECT_EQ(log.text().find("airports read", log.text().find("airports read") + 1), std::string::npos);
}

TEST_F(AirportDb, ErrorsOfTheFileAndItsNumbers)
{
    const auto airport = [](const std::string& ATTRIBUTES) {
        return "<airports><airport " + ATTRIBUTES + "/></airports>";
    };
    const std::vector<std::pair<std::string, std::string>> rows{
        {"", "87: input/airports_msfs.xml not loaded File was not found"},
        {"<airports><airport", "87: input/airports_msfs.xml not loaded Error parsing start element tag"},
        {"<other><airport alt='1' lat='1' lon='1'/></other>", "87: input/airports_msfs.xml not found"},
        {airport("alt='x' lat='1' lon='1'"), "87: invalid stof argument"},
        {airport("lat='1' lon='1' code='A'"), "87: invalid stof argument"},
        {airport("alt='1e39' lat='1' lon='1'"), "87: stof argument out of range"},
        {airport("alt='1' lat='' lon='1'"), "87: invalid stod argument"},
        {airport("alt='1' lat='1' lon='1e999'"), "87: stod argument out of range"},
    };
    for (const auto& [text, error] : rows) {
        lf_use({});
        std::filesystem::remove(airportsFile);
        if (!text.empty()) writeFile(airportsFile, text);
        try {
            gf_readAirports();
            ADD_FAILURE() << text;
        } catch (const UserErrorException& e) {
            EXPECT_EQ(std::string(e.what()), error) << text;
        }
        EXPECT_TRUE(airportList.empty()) << text;
    }
}

TEST_F(AirportDb, NamesOfTheScan)
{
    EXPECT_THROW(lf_readAirportNames(), UserErrorException);
    writeFile(airportNamesFile, R"(<AirportNames><airport ICAO="EHAM" name="Schiphol" x="1"/>
      <airport name="Rotterdam" ICAO="EHRD"/><airport ICAO="EHAM" name="again"/></AirportNames>)");
    ASSERT_TRUE(lf_readAirportNames());
    EXPECT_EQ(airportNames,
              (std::unordered_map<std::string, std::string>{{"EHAM", "Schiphol"}, {"EHRD", "Rotterdam"}}));
    EXPECT_TRUE(log.contains("2 airport names read from \"input/airports_msfs_names.xml\""));
}

/// Airports at their distances north of `here` in file order, the stand
/// distances of their files, the airports asked for a stand (the closest and
/// its neighbour), and the airport chosen.
struct ClosestRow {
    std::vector<std::pair<std::string, double>> airports;
    std::map<std::string, double> stands;
    std::string asked;
    std::string chosen; ///< empty: none
};

TEST_F(AirportDb, FileOrderDecidesTheNeighbourAndTheNearerStandWins)
{
    ASSERT_EQ(gf_distanceNm(here, {5.0 / 60.0, here.lon}), 5.0);
    const std::vector<ClosestRow> rows{
        {{{"EDGE", 5.0}}, {}, "", "EDGE"},
        {{{"EDGE", 5.01}}, {}, "", ""},
        {{{"NEAR", 1}, {"FAR", 2}}, {{"FAR", 0.01}}, "", "NEAR"},
        {{{"FAR", 2}, {"NEAR", 1}}, {{"FAR", 0.1}, {"NEAR", 0.5}}, "NEAR FAR ", "FAR"},
        {{{"FAR", 2}, {"NEAR", 1}}, {{"FAR", 0.3}, {"NEAR", 0.3}}, "NEAR FAR ", "NEAR"},
        {{{"FAR", 2}, {"NEAR", 1}}, {{"FAR", 0.5}, {"NEAR", 0.1}}, "NEAR FAR ", "NEAR"},
        {{{"OUT", 3}, {"FAR", 2}, {"NEAR", 1}}, {{"OUT", 0.01}, {"FAR", 0.2}, {"NEAR", 0.3}}, "NEAR FAR ", "FAR"},
        {{{"OUT", 3}, {"NEAR", 1}, {"FAR", 2}}, {{"OUT", 0.1}, {"NEAR", 0.3}, {"FAR", 0.01}}, "NEAR OUT ", "OUT"},
        {{{"AWAY", 5.5}, {"NEAR", 1}}, {{"AWAY", 0.01}}, "", "NEAR"},
    };
    for (const ClosestRow& row : rows) {
        std::vector<AirportRecord> records;
        for (const auto& [icao, nm] : row.airports) records.push_back(at(icao, nm));
        lf_use(records);
        std::string asked;
        const auto ask = [&](const std::string& ICAO, const LatLon&, std::string& STAND) {
            asked += ICAO + " ";
            STAND = ICAO + "12";
            return row.stands.contains(ICAO) ? row.stands.at(ICAO) : 100.0;
        };
        const ClosestAirport result = lf_closestAirport(here, ask);
        EXPECT_EQ(result ? result->icao : "", row.chosen) << row.asked;
        EXPECT_EQ(asked, row.asked) << row.chosen;
    }
    EXPECT_TRUE(log.contains("Airport NEAR is closest, neighbour is OUT"));
    EXPECT_TRUE(log.contains(
        "Airport NEAR is closest, but stand FAR12 at neighbouring airport FAR is closest at 185 meters ..."));
    lf_use({at("FAR", 2), at("NEAR", 1)});
    EXPECT_EQ(gf_closestAirport(here)->icao, "NEAR") << "no stand files: both answer 100.0";
}

TEST_F(AirportDb, IndexGivesTheAnswersOfTheWalk)
{
    std::mt19937 random(20240611);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<LatLon> centres{{89.99, 10}, {-89.95, -170}, {0.02, 179.99}, {60.5, -179.97}, {52.31, 4.76}};
    while (centres.size() < 200) centres.push_back({unit(random) * 170 - 85, unit(random) * 360 - 180});
    const auto near = [&](const LatLon& CENTRE) {
        return LatLon{std::clamp(CENTRE.lat + (unit(random) - 0.5) * 0.3, -90.0, 90.0),
                      CENTRE.lon + (unit(random) - 0.5) * 0.6};
    };
    std::vector<AirportRecord> records{
        {"ODD1", "", 95.0, 4.0, 0}, {"ODD2", "", NAN, 4.0, 0}, {"ODD3", "", 52.3, 364.76, 0}};
    for (int i = 0; i < 6000; ++i) {
        const LatLon pos = near(centres[i % centres.size()]);
        records.push_back({fmt::format("A{}", i % 5900), "", pos.lat, pos.lon, 0});
    }
    lf_use(records);
    int neighbours = 0;
    const auto ask = [&](const std::string& ICAO, const LatLon&, std::string&) {
        ++neighbours;
        return static_cast<double>(std::hash<std::string>{}(ICAO) % 97);
    };
    for (int i = 0; i < 1500; ++i) {
        const LatLon pos = near(centres[i % centres.size()]);
        ASSERT_EQ(lf_closestAirport(pos, ask), lf_closestAirportByWalk(pos, ask)) << pos.lat << "," << pos.lon;
        const std::string code = fmt::format("A{}", i * 7 % 6100);
        ASSERT_EQ(gf_findAirport(code), lf_findAirportByWalk(code)) << code;
    }
    EXPECT_GT(neighbours, 100) << "the neighbour rule was met";
}

} // namespace
} // namespace orv
