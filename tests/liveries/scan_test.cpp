// The scan driver: folders, the walk, correction, pruning, sorting, the
// stored catalogue and the reports; the demo data of our own tools, read and
// scanned as the program does at its start.
#include "liveries/catalogue.h"
#include "liveries/liveries.h"
#include "liveries/scan_driver.h"
#include "tests/liveries/dbase_fixture.h"

#include "core/flags.h"
#include "core/folders.h"
#include "core/parameters.h"

#include <fmt/format.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <sstream>

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::writeFile;

/// An aircraft.cfg of one model with one section per (title, airline, extra) entry.
std::string cfg(const std::string& MODEL, const std::vector<std::array<std::string, 3>>& SECTIONS)
{
    std::string text = "[General]\nicao_type_designator=" + MODEL + "\n";
    for (std::size_t i = 0; i < SECTIONS.size(); ++i)
        text += fmt::format("[fltsim.{}]\ntitle={}\nicao_airline={}\n{}\n", i, SECTIONS[i][0], SECTIONS[i][1], SECTIONS[i][2]);
    return text;
}

/// An aircraft.cfg at PATH with one KLM B738 livery of TITLE.
void plant(const fs::path& PATH, const std::string& TITLE) { writeFile(PATH, cfg("B738", {{TITLE, "KLM", ""}})); }

std::vector<std::string> titles(const std::vector<LiveryData>& LIST, bool SORTED = false)
{
    std::vector<std::string> out;
    for (const auto& livery : LIST) out.push_back(livery.title);
    if (SORTED) std::sort(out.begin(), out.end());
    return out;
}

class Scan : public test::LiveriesTest {
protected:
    void SetUp() override
    {
        LiveriesTest::SetUp();
        LIG_AUTOMATIC.value = false;
    }
    void reset() override
    {
        lf_clearScanLists();
        liveryList.clear();
        gf_clearCatalogue();
        liveriesProcessed = false;
        liveryCount = 0;
        scanTaskLimit = 2;
        exitInProgress = false;
        userClosed = false;
    }
    /// Liveries found by walking FOLDER, as the driver's walk gives them.
    static std::vector<LiveryData> walk(const fs::path& FOLDER)
    {
        std::vector<LiveryData> found;
        lf_searchLiveries(1, FOLDER, found);
        return found;
    }
};

TEST_F(Scan, NoFolderOrNothingFoundAreUserErrors)
{
    EXPECT_EQ(test::gf_thrown([] { gf_scanLiveries(true); }),
              "48: Set lfolder parameter(-s) to your liveries first, see Manual 5.1 (or check Liveries automatic)");
    EXPECT_TRUE(SCAN_LIVERIES.value) << "a failed scan stays asked for";
    fs::create_directories("empty");
    lfolder[0].value = "empty";
    EXPECT_EQ(test::gf_thrown([] { gf_scanLiveries(true); }), "53: no liveries found");
    EXPECT_EQ(liveryCount, 0);
    EXPECT_TRUE(log.contains("No liveries found in empty"));
}

TEST_F(Scan, FolderNumbersSkipMissingFoldersAndStopAtTen)
{
    plant("a/x/aircraft.cfg", "A1");
    plant("b/y/aircraft.cfg", "B1");
    writeFile("file.txt", "not a folder");
    scanFolderNumber = 0;
    for (const char* folder : {"a", "missing", "file.txt", "b"}) lf_scanFolder(folder);
    ASSERT_EQ(liveryList.size(), 2u);
    EXPECT_EQ(liveryList[1].lfolder, 2u) << "the missing folder does not count";
    log.expectLines({"missing does not exist, skipped!", "file.txt is not a folder name, skipped!", "1 liverie found in a"});
    for (int i = 0; i < 10; ++i) {
        plant(fmt::format("f{}/aircraft.cfg", i), fmt::format("T{}", i));
        lf_scanFolder(fmt::format("f{}", i));
    }
    EXPECT_EQ(liveryList.back().lfolder, 10u);
}

TEST_F(Scan, WalkTakesAircraftCfgInAnyCaseAndSkipsExcludedBranches)
{
    plant("c/aircraft.cfg", "root");
    plant("c/two/AIRCRAFT.CFG", "upper");
    plant("c/three/Aircraft.cfg", "mixed");
    plant("c/four/aircraft.cfg.bak", "backup");
    writeFile("c/five/aircraft.cfg/inside.txt", "a folder named like the file");
    for (const char* word : {"airport", "lvfr", "mkstudios", "simwings", "fsdreamteam", "navigraph", "flytampa", "inibuilds", "_CVT_"})
        plant(fmt::format("c/pkg-{}/sub/aircraft.cfg", word), word);
    plant("c/pkg-Airport/sub/aircraft.cfg", "case differs");
    plant("c/" + std::string(250, 'x') + "/sub/aircraft.cfg", "deep");
    EXPECT_EQ(titles(walk("c"), true), (std::vector<std::string>{"case differs", "mixed", "root", "upper"}));
    // The words count below the scanned folder only: a root named like an airport is walked through.
    plant("my-airport-pack/aircraft.cfg", "top");
    plant("my-airport-pack/sub/aircraft.cfg", "below");
    plant("my-airport-pack/sub/navigraph/aircraft.cfg", "excluded below");
    EXPECT_EQ(titles(walk("my-airport-pack"), true), (std::vector<std::string>{"below", "top"}));
}

TEST_F(Scan, WalkFollowsFolderLinksOnceAndLogsBrokenOnesWithoutLooping)
{
    plant("elsewhere/pkg/aircraft.cfg", "linked");
    plant("c/own/aircraft.cfg", "own");
    fs::create_directories("c/deeper");
    fs::create_directory_symlink(fs::absolute("elsewhere/pkg"), "c/pkg-link");
    fs::create_directory_symlink(fs::absolute("elsewhere/pkg"), "c/deeper/second-link");
    fs::create_directory_symlink(fs::absolute("c"), "c/deeper/loop");
    fs::create_directory_symlink("../elsewhere", "elsewhere/pkg/up"); // a cycle through the linked folder
    fs::create_directory_symlink(fs::absolute("gone"), "c/broken");
    EXPECT_EQ(titles(walk("c"), true), (std::vector<std::string>{"linked", "own"}));
    const std::string text = log.text();
    EXPECT_NE(text.find("! link c/broken leads to " + fs::absolute("gone").string() + ", which does not exist"), std::string::npos);
    EXPECT_NE(text.find("! link c/deeper/loop leads back to"), std::string::npos);
}

TEST_F(Scan, ResultsKeepTheOrderOfFinding)
{
    for (int i = 0; i < 60; ++i)
        writeFile(fmt::format("e/p{}/q{}/aircraft.cfg", i % 7, i),
                  cfg("B738", {{fmt::format("T{:02}a", i), "KLM", ""}, {fmt::format("T{:02}b", i), "DLH", ""}}));
    std::vector<std::string> expected;
    for (const auto& entry : fs::recursive_directory_iterator("e"))
        if (entry.path().filename() == "aircraft.cfg") {
            const int number = std::stoi(entry.path().parent_path().filename().string().substr(1));
            for (const char* side : {"a", "b"}) expected.push_back(fmt::format("T{:02}{}", number, side));
        }
    scanTaskLimit = 3;
    EXPECT_EQ(titles(walk("e")), expected);
}

TEST_F(Scan, MalformedFilesLandInTheirListsAndTheWalkGoesOn)
{
    writeFile("m/good/aircraft.cfg", cfg("B738", {{"good", "KLM", "atc_id=PH-BXA"}}));
    writeFile("m/doubled/aircraft.cfg", cfg("B738", {{"doubled", "KLM", "icao_airline=DLH"}}));
    writeFile("m/numbers/aircraft.cfg", "[General]\nicao_type_designator=B738\n[fltsim.0]\ntitle=n0\n[fltsim.3]\ntitle=n3\n");
    writeFile("m/nomodel/aircraft.cfg", "[fltsim.0]\ntitle=nomodel\n");
    writeFile("m/badmodel/aircraft.cfg", cfg("QQ77", {{"badmodel", "KLM", ""}}));
    writeFile("m/badairline/aircraft.cfg", cfg("C172", {{"badairline", "XYZ", ""}}));
    std::string junk;
    for (int i = 0; i < 4096; ++i) junk += static_cast<char>((i * 7919) % 256);
    writeFile("m/junk/aircraft.cfg", junk);
    writeFile("m/brokenutf16/aircraft.cfg", std::string("\xFF\xFE[\0\x00\xD8", 6));
    std::string big; // 50 MB of lines without a single section
    while (big.size() < (50u << 20)) big += "texture=some_long_value_that_repeats_itself_over_and_over\n";
    writeFile("m/big/aircraft.cfg", big);
    // A folder link back to the root, and a file link that loops on itself.
    fs::create_directory_symlink(fs::absolute("m"), "m/loop");
    fs::create_directories("m/selfloop");
    fs::create_symlink("aircraft.cfg", "m/selfloop/aircraft.cfg");
    // An unreadable file: no permission (or, for root, a file whose read fails).
    plant("m/unreadable/aircraft.cfg", "unreadable");
    if (::geteuid() == 0) {
        fs::remove("m/unreadable/aircraft.cfg");
        fs::create_symlink("/proc/self/mem", "m/unreadable/aircraft.cfg");
    } else {
        ::chmod("m/unreadable/aircraft.cfg", 0);
    }
    EXPECT_EQ(titles(walk("m"), true), (std::vector<std::string>{"badairline", "good"}));
    // The lists fill from several tasks: their lines in any order.
    std::vector<std::string> reports;
    std::stringstream outcome(test::gf_outcome());
    for (std::string line; std::getline(outcome, line);) reports.push_back(line);
    std::sort(reports.begin(), reports.end());
    EXPECT_EQ(reports, (std::vector<std::string>{
                           "airline: XYZ          in m/badairline [fltsim.0]",
                           "cfg: Line icao_type_designator= is missing in [General] section of m/nomodel/aircraft.cfg",
                           "cfg: m/numbers/aircraft.cfg contains non-consecutive [fltsim.x] numbers at .x=3",
                           "empty: m/big/aircraft.cfg", "empty: m/junk/aircraft.cfg",
                           "model: QQ77             in m/badmodel/aircraft.cfg",
                           "section: m/doubled [fltsim.0] has more than one icao_airline"}));
    EXPECT_NE(log.text().find("liveries search aborted, futs "), std::string::npos) << "the broken UTF-16 file";
    EXPECT_NE(log.text().find("m/unreadable/aircraft.cfg"), std::string::npos);
}

TEST_F(Scan, CorrectionFromTheAirframe)
{
    // A livery, what it becomes, and the changes AirlineModelConversions.txt lists.
    const std::tuple<LiveryData, const char*, std::vector<std::string>> cases[] = {
        {{"KLM", "B738", "no reg", "", 1, false}, "KLM/B738/no reg/", {}},
        {{"KLM", "B738", "unknown", "XX-XXX", 1, false}, "KLM/B738/unknown/XX-XXX", {}},
        {{"KLM", "B738", "same", "PH-BXA", 1, false}, "KLM/B738/same/PH-BXA", {}},
        {{"KLM", "B738", "freighter", "PHBXB", 1, false}, "KLM/B738/freighter/PHBXB/cargo", {"cargo false => true"}},
        {{"KLM", "B739", "operated", "PH-HZA", 1, true}, "TRA/B738/operated/PH-HZA",
         {"cargo true => false", "airl KLM => TRA", "model B739 => B738"}},
    };
    for (const auto& [before, after, changes] : cases) {
        conversionLines.clear();
        auto livery = before;
        lf_correctFromDbase(livery);
        EXPECT_EQ(test::gf_outcome({livery}), after);
        std::vector<std::string> lines;
        for (const auto& change : changes) lines.push_back(fmt::format("{:80} {} {}", before.title, before.regcode, change));
        EXPECT_EQ(conversionLines, lines) << before.title;
    }
}

TEST_F(Scan, PruneKeepsTheFirstFolderPerAirlineAndModelAndSortDropsExactDoubles)
{
    std::vector<LiveryData> list{{"KLM", "B738", "k1", "", 2, false}, {"KLM", "B738", "k2", "", 1, false},
                                 {"KLM", "B739", "k3", "", 2, false}, {"DLH", "B738", "d1", "", 3, false},
                                 {"KLM", "B738", "k4", "", 1, false}};
    lf_pruneByFolder(list);
    EXPECT_EQ(titles(list), (std::vector<std::string>{"k2", "k3", "d1", "k4"}));
    list = {{"KLM", "B738", "b", "PH-BXB", 1, false}, {"DLH", "A320", "z", "", 1, false}, {"KLM", "B738", "a", "PH-BXB", 1, false},
            {"KLM", "B738", "c", "", 2, false},       {"KLM", "A320", "d", "", 1, false}, {"KLM", "B738", "c", "", 1, false},
            {"KLM", "B738", "c", "", 1, true}};
    lf_sortLiveries(list);
    EXPECT_EQ(titles(list), (std::vector<std::string>{"z", "d", "c", "c", "a", "b"}));
    EXPECT_TRUE(!list[2].cargo && list[3].cargo) << "records that differ in cargo both stay";
}

TEST_F(Scan, AutomaticFoldersFollowThePackageOrder)
{
    MSFS_2020.value = true;
    MSFS_INSTALL_PATH.value = (temp.path() / "sim").string();
    LIG_AUTOMATIC.value = true;
    const auto names = [] {
        std::vector<std::string> out;
        for (const auto& folder : lf_scanFolders()) out.push_back(folder.filename().string());
        return out;
    };
    for (const char* package : {"fsltl-traffic-base", "fsltl-traffic-base-extra", "zz-user-aitraffic", "aig-aitraffic-oci-_CVT_", "other"})
        fs::create_directories(fs::path("sim/Community") / package);
    AI_PACKAGE_ORDER.value = 3;
    EXPECT_EQ(names(), (std::vector<std::string>{"fsltl-traffic-base", "zz-user-aitraffic"})) << "of two matches only one";
    EXPECT_TRUE(log.contains("Automatic FSLTL scan found folder: \"" + (temp.path() / "sim/Community/fsltl-traffic-base").string() + "\""));
    fs::create_directories("sim/Community/aig-aitraffic-oci-main");
    fs::create_directories("sim/Community/justflight-aircraft-traffic-fleet");
    const std::string aig = "aig-aitraffic-oci-main", fsltl = "fsltl-traffic-base", jf = "justflight-aircraft-traffic-fleet";
    const std::vector<std::string> orders[] = {{aig, fsltl, jf}, {aig, jf, fsltl}, {fsltl, aig, jf},
                                               {fsltl, jf, aig}, {jf, aig, fsltl}, {jf, fsltl, aig}};
    for (int order = 1; order <= 6; ++order) {
        AI_PACKAGE_ORDER.value = order;
        auto expected = orders[order - 1];
        expected.push_back("zz-user-aitraffic");
        EXPECT_EQ(names(), expected) << order;
    }
}

class ScanDriver : public Scan {
protected:
    void SetUp() override
    {
        Scan::SetUp();
        writeFile("lib1/klm/aircraft.cfg", cfg("B738", {{"KLM 1", "KLM", "atc_id=PH-BXA"}, {"KLM 2", "KLM", "atc_id=PH-BXB"}}));
        writeFile("lib1/dlh/aircraft.cfg", cfg("A320", {{"DLH 1", "DLH", "atc_parking_types=CARGO"}}));
        writeFile("lib1/ga/aircraft.cfg", cfg("C172", {{"Cessna N12", "", ""}, {"Cessna generic", "ZZZZ", ""}}));
        writeFile("lib1/bad/aircraft.cfg", cfg("B738", {{"Bad", "XYZ", ""}}));
        writeFile("lib2/klm/aircraft.cfg", cfg("B738", {{"KLM 3", "KLM", ""}}));
        writeFile("lib2/klm9/aircraft.cfg", cfg("B739", {{"KLM 4", "KLM", ""}}));
        writeFile("lib2/hvy/aircraft.cfg",
                  cfg("B744", {{"Freighter 1", "KLM", "atc_parking_types=CARGO"}, {"Freighter 2", "DLH", "atc_parking_types=CARGO"}}));
        lfolder[0].value = "lib1";
        lfolder[1].value = "lib2";
    }
};

TEST_F(ScanDriver, ScanStoresReportsAndALaterStartReadsBackTheSameCatalogue)
{
    gf_scanLiveries(true);
    EXPECT_FALSE(SCAN_LIVERIES.value) << "switched off after success";
    EXPECT_NE(test::readFile(gf_parametersPath()).find("name=\"SCAN_LIVERIES\" value=\"false\""), std::string::npos);
    log.expectLines({"++++++++++++++++++++++++ liveries scan manual starts ++++++++++++++++++++++++++++++++",
                     "9 in total", "9 liveries in output/LiveriesScanned.xml",
                     "-------------------------- liveries scan ends   --------------------------------", "Errors:",
                     "1 invalid airline code, see output/errors/InvalidAirlineCodes.txt",
                     "1 liveries updated with real live data from dbase, see output/info/AirlineModelConversions.txt",
                     "Category Light: 2 pax liveries", "Category Large: 3 pax liveries and 2 cargo liveries",
                     "Category Heavy: 0 pax liveries and 2 cargo liveries", "  A320,B738,B739",
                     "Category Rotorcraft: No livery found",
                     "HELICOPTERS temporary switched off because you do not have Helicopters installed",
                     "HIGH_PERF_AIRCRAFT temporary switched off because you do not have High Perf aircraft installed",
                     "1 model have a generic livery", "  C172", "4 airlines, 3 pax aircraft models and 3 cargo aircraft models"});
    EXPECT_EQ(test::fileLines("output/errors/InvalidAirlineCodes.txt").size(), 1u);
    EXPECT_TRUE(!HELICOPTERS.value && !HELICOPTERS.enabled && LIGHT_AIRCRAFT.value && LIGHT_AIRCRAFT.enabled);
    EXPECT_EQ(lightModelsWithLiveries, (std::vector<std::string>{"C172"}));
    EXPECT_EQ(liveryCount, 9);
    EXPECT_TRUE(liveryList.empty()) << "emptied once the tables stand";
    EXPECT_EQ(catalogue.size(), 4u) << "DLH, KLM, PVT, ZZZ";

    gf_scanLiveries(false);
    log.expectLines({"++++++++++++++++++++++++ liveries scan starts ++++++++++++++++++++++++++++++++",
                     "Processing scanned liveries skipped; already done in previous start-up"});
    EXPECT_EQ(catalogue.size(), 4u);
    EXPECT_TRUE(liveryList.empty());
    gf_readScanned();
    EXPECT_TRUE(log.contains("No scan done, 9 liveries read from output/LiveriesScanned.xml"));
    const std::vector<LiveryData> expected{
        {"DLH", "A320", "DLH 1", "", 0, true},       {"DLH", "B744", "Freighter 2", "", 0, true},
        {"KLM", "B738", "KLM 3", "", 0, false},      {"KLM", "B738", "KLM 1", "PH-BXA", 0, false},
        {"KLM", "B738", "KLM 2", "PH-BXB", 0, true}, {"KLM", "B739", "KLM 4", "", 0, false},
        {"KLM", "B744", "Freighter 1", "", 0, true}, {"PVT", "C172", "Cessna N12", "N12", 0, false},
        {"ZZZ", "C172", "Cessna generic", "", 0, false},
    };
    EXPECT_EQ(liveryList, expected);
}

TEST_F(ScanDriver, ASecondScanRemovesOldSideFilesAndCanPrioritizeAndAStoppedScanWritesNothing)
{
    gf_scanLiveries(true);
    ASSERT_TRUE(fs::exists("output/errors/InvalidAirlineCodes.txt"));
    fs::remove("lib1/bad/aircraft.cfg");
    reset();
    LIG_PRIORITIZE.value = true;
    gf_scanLiveries(true);
    EXPECT_FALSE(fs::exists("output/errors/InvalidAirlineCodes.txt"));
    EXPECT_TRUE(log.contains("No errors"));
    gf_readScanned();
    std::vector<std::string> klm738;
    for (const auto& livery : liveryList)
        if (livery.airline == "KLM" && livery.model == "B738") klm738.push_back(livery.title);
    EXPECT_EQ(klm738, (std::vector<std::string>{"KLM 1", "KLM 2"})) << "the first folder's only";
    EXPECT_EQ(liveryList.size(), 8u) << "KLM B739 of the second folder stays";
    fs::remove(gf_scannedPath());
    reset();
    SCAN_LIVERIES.value = true;
    exitInProgress = true;
    gf_scanLiveries(true);
    EXPECT_FALSE(fs::exists(gf_scannedPath()));
    EXPECT_FALSE(SCAN_LIVERIES.value) << "the next start turns it on again, as the file is missing";
}

TEST_F(Scan, StoredFileFaults)
{
    const std::pair<const char*, std::string> cases[] = {
        {nullptr, "51: File output/LiveriesScanned.xml not found"},
        {"<meta/><nothing/>", "52: output/LiveriesScanned.xml does not contain a <liveries> section"},
        {"<meta/><liveries/>", "533: output/LiveriesScanned.xml does not contain liveries"},
    };
    for (const auto& [text, failure] : cases) {
        if (text) writeFile(gf_scannedPath(), text);
        EXPECT_EQ(test::gf_thrown([] { gf_readScanned(); }), failure);
    }
    EXPECT_TRUE(log.contains("===> meta data incorrect?"));
    writeFile(gf_scannedPath(), "<liveries><liv title=\"t\" cargo=\"yes\"/><liv airl=\"K\" type=\"M\" title=\"u\" atcid=\"R\"/></liveries>");
    gf_readScanned();
    EXPECT_EQ(liveryList, (std::vector<LiveryData>{{"", "", "t", "", 0, true}, {"K", "M", "u", "R", 0, false}}))
        << "taken as it stands";
}

TEST_F(Scan, MatchingSummaryListsEachFailedCreationOnceInOrder)
{
    matchSteps = {5, 4, 3, 2, 1, 0};
    failedCreations = {"B738 KLM", "A320 DLH", "B738 KLM"};
    gf_writeMatchingSummary();
    log.expectLines({"Matches at step: ", "  1: 5", "  6: 0", "Could not be created by MSFS:"});
    const auto text = log.text();
    EXPECT_LT(text.find("  A320 DLH"), text.find("  B738 KLM"));
    EXPECT_EQ(text.find("  B738 KLM"), text.rfind("  B738 KLM"));
    matchSteps = {};
    failedCreations.clear();
}

TEST_F(Scan, TheDemoDataOfOurToolsIsReadAndScannedAsAtAStart)
{
    const auto build = test::buildDir();
    const auto source = (build / __FILE__).parent_path().parent_path().parent_path(); // __FILE__ may be relative
    const auto run = [](const std::string& COMMAND) { return std::system(COMMAND.c_str()); };
    ASSERT_EQ(run(fmt::format("\"{}\" \"{}\" temp2.xml", (build / "tavo-scramble").string(), (source / "demo/dbase_plain.xml").string())), 0);
    ASSERT_EQ(run(fmt::format("\"{}\" sim/Community > /dev/null", (build / "tavo-demo-liveries").string())), 0);
    fs::create_directories("sim/Official");
    gf_clearDbase();
    gf_readDbaseFile("temp2.xml");
    EXPECT_GE(icaoAirlines.size(), 200u);
    for (const char* airline : {"KLM", "BAW", "DLH", "AFR", "EZY", "RYR", "SAS", "IBE", "UAE", "TAP"})
        EXPECT_TRUE(gf_validAirline(airline)) << airline;
    const std::pair<const char*, ModelCategory> types[] = {
        {"A320", ModelCategory::Large},   {"B738", ModelCategory::Large},      {"E295", ModelCategory::Large},
        {"B77W", ModelCategory::Heavy},   {"A388", ModelCategory::Heavy},      {"C25C", ModelCategory::Buzjets},
        {"GLEX", ModelCategory::Buzjets}, {"EC35", ModelCategory::Rotorcraft}, {"R44", ModelCategory::Rotorcraft},
        {"F16", ModelCategory::HighPerf}, {"C172", ModelCategory::Light},      {"PA28", ModelCategory::Light},
    };
    for (const auto& [model, category] : types) EXPECT_TRUE(gf_validModel(model) && gf_modelCategory(model) == category) << model;
    EXPECT_NEAR(gf_halfWingspan("B738") * 1852, 35.79 / 2, 1e-9);
    EXPECT_NEAR(maxHalfWingspan * 1852, 79.75 / 2, 1e-9) << "the A380";
    for (const auto& [model, span] : wingspans) EXPECT_TRUE(gf_validModel(model)) << model;
    EXPECT_EQ(gf_dbaseAirline("PHBXA") + gf_dbaseOperator("PH-EZA"), "KLMKLC");

    MSFS_2020.value = true;
    MSFS_INSTALL_PATH.value = (temp.path() / "sim").string();
    LIG_AUTOMATIC.value = true;
    gf_scanLiveries(true);
    for (const std::string text : {"Automatic AIG scan found folder: ", "Automatic FSLTL scan found folder: ",
                                   "Automatic user-aitraffic scan found folder: ", " in total", "Category Light: ",
                                   "Category Buzjets: ", "Category Large: ", "Category Heavy: ", "Category Rotorcraft: ",
                                   "Category HighPerf: No livery found\n"})
        EXPECT_NE(log.text().find(text), std::string::npos) << text;
    EXPECT_GE(liveryCount, 50);
    for (const auto& report : {errorsFolder / "InvalidAirlineCodes.txt", errorsFolder / "IncompleFltsimSections.txt",
                               errorsFolder / "InvalidAircraftCfgFiles.txt", infoFolder / "AircraftCfgWithNoFltsimSection.txt"})
        EXPECT_TRUE(fs::exists(report)) << report;
    EXPECT_TRUE(catalogue.contains("KLC")) << "the IVAO part and the operator of the regional arm";
    EXPECT_TRUE(catalogue.contains("ZZZ")) << "paints without an airline";
    EXPECT_TRUE(genericCargo.contains("B744"));
    // Every airline on every airliner that the traffic generator flies has a paint.
    for (const char* airline : {"KLM", "BAW", "DLH", "AFR", "EZY", "RYR", "SAS", "IBE", "UAE", "TAP"})
        for (const char* model : {"A320", "A20N", "A321", "B738", "B38M", "E190", "E295", "A319", "B77W", "A333", "B789", "A359"})
            EXPECT_TRUE(catalogue.contains(airline) && catalogue.at(airline).contains(model)) << airline << " " << model;
    if (std::getenv("TAVO_SHOW_DEMO_LOG")) std::cout << log.text() << test::readFile(errorsFolder / "IncompleFltsimSections.txt");
}

} // namespace
} // namespace orv
