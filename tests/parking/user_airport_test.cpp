// The park airports: the list file and its head written back, the airport
// taken on the ground and in sight in the air, left out of sight, what was
// learned saved on leaving, the user's stand remembered as the reserved one,
// and an airport without a stand file asked for once per session.
#include "core/parameters.h"
#include "core/user_position.h"
#include "feed/park_view.h"
#include "parking/airport_db.h"
#include "parking/airport_files.h"
#include "parking/park_airports.h"
#include "parking/parking.h"
#include "tests/liveries/dbase_fixture.h"
#include "tests/support/eventually.h"
#include "tests/updates/download_server.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::writeFile;

constexpr double degPerNm = 1.0 / 60.0; ///< of latitude
constexpr LatLon eham{52.3086, 4.7639};

/// A stand file of two stands round POS; G1 lies at POS.
std::string standFile(const LatLon& POS)
{
    return fmt::format(R"(<meta/><parameters><parameter name="airport_name" value="Test"/><parameter name="publisher" value="Pub"/>
        <parameter name="altitude" value="-11"/></parameters><parkpositions>
        <parkpos id="G1" latitude="{:.6f}" longitude="{:.6f}" heading="0" radius="20"/>
        <parkpos id="G2" latitude="{:.6f}" longitude="{:.6f}" heading="0" radius="20"/></parkpositions>)",
                       POS.lat, POS.lon, POS.lat + 0.001, POS.lon);
}

class ParkAirports : public ::testing::Test {
protected:
    test::TempDir temp;
    test::LogCapture log;
    std::unique_ptr<test::DownloadServer> server;
    void SetUp() override
    {
        gf_resetParameters();
        fs::create_directories(temp / "server");
        server = std::make_unique<test::DownloadServer>(temp / "server");
        airportList = {{"EHAM", "AMS", eham.lat, eham.lon, -11}, {"EHLE", "LEY", 52.46, 5.52, -13},
                       {"EDDF", "FRA", 50.03, 8.57, 364}, {"EBBR", "BRU", 50.90, 4.48, 184}};
        airportsLoaded = true;
        lf_indexAirports();
        writeFile("airports/my_thirdparty/EHAM.xml", standFile(eham));
        writeFile("airports/my_thirdparty/EHLE.xml", standFile({52.46, 5.52}));
        ownPosition = {};
        parkAirports.clear();
        gf_userAirportCheck(true);
    }
    void TearDown() override
    {
        lf_unloadParkAirport();
        parkAirports.clear();
        pendingLoad = false;
        ownPosition = {};
        gf_publishParkView(ParkView{});
        airportList.clear();
        airportsLoaded = false;
        lf_indexAirports();
    }
    static void place(const LatLon& POS, bool ON_GROUND, double AGL_FT = 0)
    {
        ownPosition.lat = POS.lat;
        ownPosition.lon = POS.lon;
        ownPosition.onGround = ON_GROUND;
        ownPosition.groundAltFt = 0;
        ownPosition.altitudeFt = AGL_FT;
    }
    static std::vector<std::string> listed()
    {
        std::vector<std::string> codes;
        for (const ParkAirportEntry& entry : parkAirports) codes.push_back(entry.icao + "," + entry.reservedStand);
        return codes;
    }
};

TEST_F(ParkAirports, TheListFileAndTheAddOnAirports)
{
    struct Row {
        std::string file;
        std::vector<std::string> expected;
        std::string logLine;
    };
    const std::vector<Row> rows = {
        {"EDDF,G12\n\nEBBR\n", {"EDDF,G12", "EBBR,", "EHAM,", "EHLE,"}, "2 park airports read from \"my_park_airports.txt\""},
        {"EDDF,G12,X\nEBBR\n", {"EBBR,", "EHAM,", "EHLE,"}, "my_park_airports.txt:EDDF,G12,X wrong syntax, skipped"},
        {"XXXX\r\nEDDF\r\n", {"EDDF,", "EHAM,", "EHLE,"}, "airport XXXX is unknown"},
        {"EHAM,A1\nEHAM,B2\n", {"EHAM,A1", "EHLE,"}, "my_park_airports.txt:EHAM,B2 double, skipped"},
        {"", {"EHAM,", "EHLE,"}, "2 park airports added from my_thirdparty folder(-s)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.file);
        writeFile("airports/my_park_airports.txt", row.file);
        EXPECT_TRUE(lf_readMyParkAirports());
        EXPECT_EQ(listed(), row.expected);
        EXPECT_TRUE(log.contains(row.logLine)) << log.text();
    }
}

TEST_F(ParkAirports, OnTheGroundTheAirportIsLoadedAndTheUsersStandRemembered)
{
    writeFile("airports/my_park_airports.txt", "EDDF\n");
    lf_readMyParkAirports();
    place(eham, true);
    gf_userAirportCheck(true);
    EXPECT_EQ(parkIcao, "EHAM");
    EXPECT_TRUE(gf_parkAirportHasStands());
    EXPECT_TRUE(gf_parkView().ready);
    EXPECT_EQ(gf_parkView().userStand, "G1");
    EXPECT_EQ(listed().front(), "EHAM,G1") << "the user's airport goes to the head with his stand";
    EXPECT_EQ(readFile("airports/my_park_airports.txt"), "EDDF\nEHAM,G1\n");
    // Rolling to the other stand and stopping there makes it the reserved one.
    place({eham.lat + 0.001, eham.lon}, true);
    gf_userAirportCheck(false);
    EXPECT_EQ(reservedStandName, "G2");
    EXPECT_EQ(readFile("airports/my_park_airports.txt"), "EDDF\nEHAM,G2\n");
    // Found again at the next load.
    lf_unloadParkAirport();
    lf_readMyParkAirports();
    place({eham.lat + 3 * degPerNm, eham.lon}, true);
    gf_userAirportCheck(true);
    EXPECT_EQ(reservedStandName, "G2");
    EXPECT_TRUE(reservedStandFound);
    // A new session reads the airport anew: no stand keeps the last session's marks.
    standTable.at(0).occupied = true;
    gf_userAirportCheck(true);
    EXPECT_EQ(parkIcao, "EHAM");
    EXPECT_FALSE(standTable.at(0).occupied);
}

TEST_F(ParkAirports, InTheAirTheHeadComesInSightAndGoesOutOfIt)
{
    struct Row {
        double nm, aglFt;
        bool inSight;
    };
    const std::vector<Row> rows = {{19.9999, 1000, true}, {21.0, 1000, false}, {5.0, 18001, false}, {5.0, 18000, true}};
    for (const Row& row : rows) {
        SCOPED_TRACE(fmt::format("{} nm, {} ft", row.nm, row.aglFt));
        lf_unloadParkAirport();
        lf_readMyParkAirports();
        place({eham.lat - row.nm * degPerNm, eham.lon}, false, row.aglFt);
        gf_userAirportCheck(false);
        EXPECT_EQ(parkIcao, row.inSight ? "EHAM" : "");
        EXPECT_EQ(pendingLoad, row.inSight);
        gf_userAirportCheck(false);
        EXPECT_EQ(gf_parkAirportHasStands(), row.inSight) << "loaded at the next check";
    }
    // Out of sight it is left, and what was learned is saved.
    updateCount = 1;
    place({eham.lat - 21 * degPerNm, eham.lon}, false, 1000);
    gf_userAirportCheck(false);
    EXPECT_EQ(parkIcao, "");
    EXPECT_FALSE(gf_parkView().airport);
    EXPECT_TRUE(fs::exists("airports/learned/thirdparty/Pub/EHAM.xml"));
    EXPECT_NE(log.text().find("EHAM (AMS) is out of sight (21.0 nm), parked aircraft will be removed"), std::string::npos);
}

TEST_F(ParkAirports, ANearerHeadTakesOverAndADestinationStaysAtTheHead)
{
    lf_readMyParkAirports();
    const LatLon between{52.38, 5.14}; // about 14 nm from both
    place(between, false, 1000);
    gf_userAirportCheck(false);
    gf_userAirportCheck(false);
    ASSERT_EQ(parkIcao, "EHAM");
    place({52.40, 5.25}, false, 1000); // EHAM 18.6 nm, EHLE 10.5 nm
    gf_userAirportCheck(false);
    EXPECT_EQ(parkIcao, "") << "the nearer head is in sight: the park airport is left first";
    EXPECT_NE(log.text().find("EHLE is in sight (10.5 nm), parked aircraft at EHAM (AMS) will be removed first"), std::string::npos);
    gf_userAirportCheck(false);
    EXPECT_EQ(parkIcao, "EHLE");
    // A destination is the head however far, and the list is not sorted while it is set.
    DESTINATION.value = "EDDF";
    gf_applyStoredDestination();
    place(eham, false, 1000);
    gf_userAirportCheck(false);
    EXPECT_EQ(parkAirports.front().icao, "EDDF");
    EXPECT_EQ(readFile("airports/my_park_airports.txt"), "EDDF\n");
}

TEST_F(ParkAirports, AnAirportWithoutStandFileIsAskedForOncePerSession)
{
    place({50.03, 8.57}, true);
    for (int check = 0; check < 4; ++check) gf_userAirportCheck(false);
    EXPECT_EQ(parkIcao, "");
    EXPECT_TRUE(airportsWithoutFile.contains("EDDF"));
    EXPECT_TRUE(log.contains("User aircraft on the ground at EDDF (FRA), no airport file found"));
    EXPECT_TRUE(gf_parkView().airport) << "the feed keeps the ground traffic round it";
    EXPECT_TRUE(gf_parkAirportWithin({50.03, 8.57}, 1));
    gf_userAirportCheck(true);
    EXPECT_TRUE(test::eventually([this] { return server->requests() >= 2; })) << "a new session asks again";
    // Once the server has it, the next session takes it.
    writeFile(temp / "server/MSFS/archive/stock/EDDF.xml", standFile({50.03, 8.57}));
    gf_userAirportCheck(true);
    EXPECT_EQ(parkIcao, "EDDF");
    EXPECT_TRUE(gf_parkAirportHasStands());
    // Two asks without the file, then whether it exists, its lookup and its
    // download: five requests in all, so the four checks of the first session asked once.
    EXPECT_TRUE(test::eventually([this] { return server->requests() == 5; })) << server->requests();
}

} // namespace
} // namespace orv
