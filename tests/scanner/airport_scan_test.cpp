// The airport scan over a Community folder made by code: publishers by path
// and by manifest, link files, generated stand files, exclusions, linked
// packages, broken files, the scan log and the parameter set off at the end.
#include "scanner/scan_state.h"
#include "tests/liveries/dbase_fixture.h"
#include "tests/scanner/bgl_writer.h"

#include "liveries/dbase.h"
#include "liveries/scan_driver.h"
#include "parking/airport_db.h"
#include "parking/airport_files.h"
#include "parking/park_airports.h"

#include "core/folders.h"
#include "core/parameters.h"
#include "core/window_state.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <pugixml.hpp>
#include <tuple>

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::writeFile;

void plantBgl(const fs::path& PATH, const std::string& ICAO, int STANDS, int HELIPADS = 0)
{
    test::BglAirport a = test::gf_gridAirport(ICAO, STANDS);
    for (int i = 0; i < HELIPADS; ++i) a.helipads.push_back({52.4 + i * 0.01, 4.8, 20.0f});
    writeFile(PATH, test::gf_bglOfAirports({a}));
}

/// The parkpos count and one parameter of a generated file; "missing" without the file.
std::string generated(const fs::path& PATH, const char* PARAMETER)
{
    pugi::xml_document doc;
    if (!doc.load_file(PATH.c_str())) return "missing";
    const auto value = doc.select_node(fmt::format("/parameters/parameter[@name='{}']/@value", PARAMETER).c_str());
    return fmt::format("{} {}", doc.select_nodes("/parkpositions/parkpos").size(), value.attribute().value());
}

class AirportScan : public test::LiveriesTest {
protected:
    void reset() override
    {
        scanFound = false;
        tbloCount = 0;
        scanTaskLimit = 2;
        airportList.clear();
        lf_indexAirports();
        standTable.clear(); // the stand files read back
        parkIcao.clear();
        parkAirportReady = false;
    }
};

TEST_F(AirportScan, CommunityFolderGivesLinksAndGeneratedFiles)
{
    publisherNames = {{"Pub One", "pubone"}, {"Some Publisher"}};
    simAddons20 = {"EHAM"};
    thirdParties20 = {{"Pub One", {"EHRD40", "EHLE12"}}};
    scanFor2020 = MSFS_2020.value = true;
    DOWNLOAD_URL.value = "file://" + (temp.path() / "server").string() + "/";
    const auto stock = [](const std::string& ICAO, int WEEKS) {
        writeFile(fmt::format("server/MSFS/archive/stock/{}.xml", ICAO),
                  fmt::format(R"(<parameters><parameter name="Qf_real" value="50"/><parameter name="WEEK" value="{}"/></parameters>)", WEEKS));
    };
    stock("EHGR", 20);
    stock("EHTE", 20); // suitable, but an unknown publisher without a maker's name is not sent in
    stock("EHRD", 3);
    const fs::path c = "sim/Community";
    plantBgl(c / "microsoft-airport-eham/scenery/x.bgl", "EHAM", 3);
    plantBgl(c / "pubone-ehrd/scenery/a.bgl", "EHRD", 45);
    plantBgl(c / "pubone-ehle/scenery/a.BGL", "EHLE", 12);
    writeFile(c / "some-pack/manifest.json", R"({"manufacturer": "", "creator": "Some Publisher", "title": "T"})");
    plantBgl(c / "some-pack/scenery/b.bgl", "EHGR", 2);
    plantBgl(c / "unknown-pack/scenery/c.bgl", "EHTE", 2, 2);
    plantBgl(c / "unknown-pack/scenery/wrong.Bgl", "EHTW", 2);
    plantBgl("outside/pkg/scenery/d.bgl", "EHGG", 4);
    fs::create_directory_symlink(fs::absolute("outside/pkg"), c / "linked-pkg");
    fs::create_directory_symlink(fs::absolute(c), c / "linked-pkg-loop");
    fs::create_directory_symlink(fs::absolute("gone"), c / "linked-gone");
    plantBgl(c / "x/simobjects/airplanes/e.bgl", "EHKD", 2);
    plantBgl(c / "x/statics/f.bgl", "EHST", 2);
    plantBgl(c / "x/Aircraft/g.bgl", "EHAL", 2); // exclusion words are exact case
    std::string broken = test::gf_bglOfAirports({test::gf_gridAirport("EHBR", 5)});
    writeFile(c / "broken/scenery/h.bgl", broken.substr(0, 100));
    test::BglSection objects{0x25, false, {test::gf_bglRecord(0x000B, std::string(40, 'o'))}};
    writeFile(c / "objects/scenery/EHOB.bgl", test::gf_bglFile({objects}).bytes);

    EXPECT_TRUE(lf_scanAirportFolders({"sim/Official", c}));

    struct Row {
        fs::path file;
        std::string expected;
    };
    const std::vector<Row> rows{
        {mySimaddonFolder / "EHAM.txt", "archive/simaddon/EHAM.xml\n"},
        {myThirdpartyFolder / "EHRD.txt", "archive/thirdparty/Pub%20One/EHRD.xml\n"},
        {myThirdpartyFolder / "EHLE.txt", "archive/thirdparty/Pub%20One/EHLE.xml\n"},
    };
    for (const auto& row : rows) EXPECT_EQ(readFile(row.file), row.expected) << row.file;
    const std::vector<std::pair<fs::path, std::string>> files{
        {mySimaddonFolder / "EHAM.xml", "missing"},
        {myThirdpartyFolder / "EHRD.xml", "45 Pub One"},
        {myThirdpartyFolder / "EHLE.xml", "missing"},
        {myThirdpartyFolder / "EHGR.xml", "2 Some Publisher"},
        {myThirdpartyFolder / "EHTE.xml", "4 unknown"},
        {myThirdpartyFolder / "EHGG.xml", "4 unknown"},
        {myThirdpartyFolder / "EHAL.xml", "2 unknown"},
        {myThirdpartyFolder / "EHTW.xml", "missing"},
        {myThirdpartyFolder / "EHKD.xml", "missing"},
        {myThirdpartyFolder / "EHST.xml", "missing"},
        {myThirdpartyFolder / "EHBR.xml", "missing"},
    };
    for (const auto& [file, expected] : files) EXPECT_EQ(generated(file, "publisher"), expected) << file;
    EXPECT_EQ(generated(myThirdpartyFolder / "EHTE.xml", "BGLpath"), "4 " + (c / "unknown-pack/scenery/c.bgl").string());

    const std::string scanLogText = readFile(scanLogPath);
    for (const std::string line :
         {"from filename => publisher simaddon", "thirdparty airport EHRD linked to archive/thirdparty/Pub%20One/EHRD.xml",
          "from manifest.json creator \"Some Publisher\" => publisher \"Some Publisher\"",
          "thirdparty EHGR Some Publisher does not exist", "Generated EHTE.xml: 4 positions, of which 2 helipads",
          "===> No publisher found", "Scanning for addon airports in sim/Community", "aborted, futs"})
        EXPECT_NE(scanLogText.find(line), std::string::npos) << line;
    EXPECT_NE(scanLogText.find("sim/Community/broken/scenery/h.bgl: read of"), std::string::npos);
    for (const std::string& line : std::vector<std::string>{"sim/Official does not exist, skipped!", "===> EHRD has 45 parkpos while archived one has 40",
                                   "Exception in lf_toParkingPositions: " + (c / "broken/scenery/h.bgl").string(),
                                   "! link sim/Community/linked-gone leads to", "Airports scan successful",
                                   "EHRD Not suitable for offline learning", "manufacturer=, creator=",
                                   "EHGR copied to TBLO/EHGR.xml", "Please zip the folder"})
        EXPECT_NE(log.text().find(line), std::string::npos) << line;
    EXPECT_EQ(tbloCount, 1);
    EXPECT_EQ(generated(tbloFolder / "EHGR.xml", "publisher"), "2 Some Publisher");
    EXPECT_FALSE(fs::exists(tbloFolder / "EHTE.xml"));
}

TEST_F(AirportScan, WholeScanEmptiesItsFoldersAndSetsTheParameterOff)
{
    MSFS_2020.value = true;
    MSFS_INSTALL_PATH.value = (temp.path() / "sim").string();
    SCAN_AIRPORTS.value = true;
    fs::create_directories("sim/Official");
    fs::create_directories("sim/Community");
    writeFile(myThirdpartyFolder / "OLD.txt", "archive/thirdparty/X/OLD.xml");
    writeFile(mySimaddonFolder / "OLD.txt", "archive/simaddon/OLD.xml");
    lf_scanAirports();
    EXPECT_FALSE(fs::exists(myThirdpartyFolder / "OLD.txt"));
    EXPECT_FALSE(fs::exists(mySimaddonFolder / "OLD.txt"));
    EXPECT_FALSE(SCAN_AIRPORTS.value);
    EXPECT_NE(readFile(gf_parametersPath()).find("name=\"SCAN_AIRPORTS\" value=\"false\""), std::string::npos);
    EXPECT_TRUE(log.contains("Warning: Scan has not found any add-on airports"));
    EXPECT_FALSE(fs::exists(tbloFolder));
}

TEST_F(AirportScan, UnresolvedAirportsOf2024FindTheirCodeOrAreLost)
{
    scanFor2020 = MSFS_2020.value = false;
    airportList = {{"EHAM", "", 52.3, 4.76, -11}, {"EHGG", "", 53.1, 6.6, 17}};
    lf_indexAirports();
    const auto unresolved = [](const fs::path& PATH) {
        test::BglSection section{3, false, {test::gf_bglRecord(0x0113, std::string(30, '\0'))}};
        writeFile(PATH, test::gf_bglFile({section}).bytes);
    };
    unresolved("Community/pkg-a/scenery/eham.bgl");
    unresolved("Community/pkg-b/scenery/zz.bgl");
    unresolved("Community/some-ehgg-pack/scenery/y.bgl");
    lf_scanAirportFolders({"Community"});
    const std::string scanLogText = readFile(scanLogPath);
    for (const std::string line : {"Not recognised airport has ICAO code \"EHAM\" as BGL stem",
                                   "Not recognised airport lost ... \"Community/pkg-b/scenery/zz.bgl\"",
                                   "Not recognised airport has ICAO \"EHGG\" in BGL path", "==> TBLO entry TBLO/EHAM.xml created "})
        EXPECT_NE(scanLogText.find(line), std::string::npos) << line;
    // The walk's own entries outlive the end of the scan.
    EXPECT_EQ(readFile(tbloFolder / "EHAM.xml"), "Community/pkg-a/scenery/eham.bgl\nEHAM by unknown, title:  crea:  manu: \n");
    EXPECT_TRUE(fs::exists(tbloFolder / "EHGG.xml"));
    EXPECT_EQ(tbloCount, 2);
}

/// The stand table read from PATH as "NAME LAT LON HEADING RADIUS OPTIONS" lines.
std::string standTableOf(const std::string& PATH)
{
    QualityFactor qf;
    ParkAirportData data;
    parkIcao = "EHAM";
    const std::string failure = gf_readApf(PATH, data, qf);
    std::string table = failure.empty() ? "" : "failed: " + failure + "\n";
    for (const Stand& s : standTable)
        table += fmt::format("{} {:.4f} {:.4f} {:.0f} {:.0f} {}\n", s.name, s.lat, s.lon, s.heading / radPerDegreeOfFile,
                             s.radius / nmPerMetreOfFile, s.options.size());
    return table;
}

TEST_F(AirportScan, DemoProgramFolderGivesEveryDemoStandWithOptions)
{
    // The demo's one stand list, as every file of the demo airport should give it back.
    const fs::path source = TAVO_SOURCE_DIR;
    std::ifstream list(source / "demo/stands.txt");
    std::string expected;
    for (std::string line; std::getline(list, line);) {
        std::istringstream in(line);
        std::string name;
        double lat = 0, lon = 0, heading = 0;
        if (in >> name >> lat >> lon >> heading && name.front() != '#')
            expected += fmt::format("{} {:.4f} {:.4f} {:.0f} 36 4\n", name, lat, lon, heading);
    }
    ASSERT_NE(expected, "");
    writeFile("input/airports_msfs.xml", "<airports/>");
    writeFile("input/airports_msfs_names.xml", R"(<AirportNames><airport ICAO="EHAM" name="Schiphol"/></AirportNames>)");
    airportNames = {{"EHAM", "Schiphol"}};
    const std::string makeData = fmt::format("{} {} {} >/dev/null", (source / "demo/make-data").string(),
                                             test::buildDir().string(), temp.path().string());
    ASSERT_EQ(std::system(makeData.c_str()), 0);
    scanFor2020 = MSFS_2020.value = true;
    DOWNLOAD_URL.value = "file://" + (temp.path() / "downloads").string() + "/";
    EXPECT_TRUE(lf_scanAirportFolders({"sim/Community"}));

    // The generated file outranks the stock archive; the learned file beside it brings the options.
    const std::string main = gf_findAirportFile("EHAM");
    EXPECT_EQ(main, (myThirdpartyFolder / "EHAM.xml").string());
    EXPECT_EQ(standTableOf(main), expected);
    EXPECT_EQ(log.text().find("not found?"), std::string::npos) << "every learned stand is a generated one";
    EXPECT_EQ(standTableOf("archive/stock/EHAM.xml"), expected);
}

TEST_F(AirportScan, GeneratedFileReadsBackIntoTheStandTable)
{
    // Every kind of spot the BGL file has, with the edge values of its numbers.
    test::BglAirport a;
    a.icao = "EHXG";
    a.altitudeMm = -3353;
    struct Row {
        test::BglSpot spot;
        std::string name;
        bool cargo, ramp;
        double headingDeg;
    };
    const std::vector<Row> rows{
        {{10, 1, 9, 20.0f, 90.0f, 52.301234, 4.761234}, "g1", false, false, 90.0},
        {{12, 7, 5, 25.5f, 0.0f, -33.9, -18.6}, "A7", true, true, 360.0},
        {{13, 4095, 1, 12.0f, 359.5f, 52.3, 4.7}, "B4095", false, true, 359.5},
    };
    for (const auto& row : rows) a.spots.push_back(row.spot);
    a.helipads.push_back({52.31, 4.77, 30.0f});
    writeFile("Community/nobody-pack/scenery/x.bgl", test::gf_bglOfAirports({a}));
    scanFor2020 = true;
    ASSERT_TRUE(lf_scanAirportFolders({"Community"}));

    QualityFactor qf;
    ParkAirportData data;
    parkIcao = "EHXG";
    ASSERT_EQ(gf_readApf((myThirdpartyFolder / "EHXG.xml").string(), data, qf), "");
    EXPECT_EQ(data.altitude, -11);
    EXPECT_EQ(data.publisher, "unknown");
    EXPECT_EQ(qf, (QualityFactor{-1, -1})); // a generated file has no options
    ASSERT_EQ(standTable.size(), rows.size() + 1);
    for (const auto& row : rows) {
        const auto stand = std::find_if(standTable.begin(), standTable.end(), [&](const Stand& S) { return S.name == row.name; });
        ASSERT_NE(stand, standTable.end()) << row.name;
        EXPECT_NEAR(stand->lat, row.spot.lat, 1e-6) << row.name;
        EXPECT_NEAR(stand->lon, row.spot.lon, 1e-6) << row.name;
        EXPECT_NEAR(stand->heading / radPerDegreeOfFile, row.headingDeg, 0.05) << row.name;
        EXPECT_NEAR(stand->radius / nmPerMetreOfFile, row.spot.radiusM, 0.05) << row.name;
        EXPECT_EQ(std::tuple(stand->cargo, stand->ramp, stand->heli, stand->options.empty()),
                  std::tuple(row.cargo, row.ramp, false, true)) << row.name;
    }
    const Stand& helipad = standTable.back();
    EXPECT_EQ(std::tuple(helipad.name, helipad.heli, helipad.cargo), std::tuple(std::string("helipad1"), true, false));
    EXPECT_NEAR(helipad.radius / nmPerMetreOfFile, 15.0, 0.05);
}

TEST_F(AirportScan, ExclusionsAndPublisherNames)
{
    const std::string longPath = "/c/" + std::string(250, 'p') + "/x.bgl";
    const std::vector<std::pair<std::string, bool>> paths{
        {"/c/pkg/simobjects/aircraft/x.bgl", true}, {"C:\\c\\pkg\\simobjects\\x.bgl", true},
        {"/c/pkg/Aircraft/x.bgl", false},          {longPath.substr(0, 249), false},
        {longPath.substr(0, 250), true},           {"/c/fsltl-traffic/x.bgl", true},
    };
    for (const auto& [path, excluded] : paths) EXPECT_EQ(lf_excludedPath(path), excluded) << path;
    EXPECT_FALSE(lf_excludedPath("/home/aircraft/Community/pkg/x.bgl", std::string("/home/aircraft/Community").size()));
    publisherNames = {{"Orbx", "orbx", "Full Terrain"}, {"Bad", "(unclosed"}, {"Aero[Soft]", "aerosoft"}};
    const std::vector<std::pair<std::string, std::string>> names{
        {"/c/orbx-eham/x.bgl", "Orbx"}, {"/c/ORBX-eham/x.bgl", "Orbx"},     {"/c/full terrain/x.bgl", "Orbx"},
        {"/c/Aerosoft-x/x.bgl", "Aero[Soft]"}, {"/c/(unclosed/x.bgl", "Bad"}, {"/c/nobody/x.bgl", "unknown"},
    };
    for (const auto& [text, publisher] : names) EXPECT_EQ(gf_publisherByName(text), publisher) << text;
}

TEST_F(AirportScan, ManifestIsFoundInThePackageOrAbove)
{
    writeFile("Community/pkg/manifest.json", R"({"manufacturer": "M", "creator": 7, "title": "EHAM Schiphol"})");
    writeFile("other/a/manifest.json", R"({"creator": "Up"})");
    writeFile("other/a/b/manifest.json", "{ not json");
    writeFile("other/a/b/c/x.bgl", "");
    const auto m1 = lf_searchManifest("Community/pkg/scenery/deep/x.bgl");
    ASSERT_TRUE(m1);
    EXPECT_EQ(m1->manufacturer + "|" + m1->creator + "|" + m1->title, "M||EHAM Schiphol");
    const auto m2 = lf_searchManifest("other/a/b/c/x.bgl");
    ASSERT_TRUE(m2);
    EXPECT_EQ(m2->creator, "Up");
    EXPECT_FALSE(lf_searchManifest("nowhere/x.bgl"));
}

} // namespace
} // namespace orv
