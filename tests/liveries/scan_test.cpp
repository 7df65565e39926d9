// The scan driver: folders, the walk, correction, pruning, sorting, the
// stored catalogue and the reports.
#include "liveries/catalogue.h"
#include "liveries/liveries.h"
#include "liveries/scan_driver.h"
#include "tests/liveries/dbase_fixture.h"

#include "core/errors.h"
#include "core/flags.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::LogCapture;
using test::TempDir;
using test::writeFile;

/// An aircraft.cfg of one model with one section per (title, airline, extra) entry.
std::string cfg(const std::string& MODEL, const std::vector<std::array<std::string, 3>>& SECTIONS)
{
    std::string text = "[General]\nicao_type_designator=" + MODEL + "\n";
    for (std::size_t i = 0; i < SECTIONS.size(); ++i)
        text += fmt::format("[fltsim.{}]\ntitle={}\nicao_airline={}\n{}\n", i, SECTIONS[i][0], SECTIONS[i][1], SECTIONS[i][2]);
    return text;
}

void resetScanState()
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

class Scan : public ::testing::Test {
protected:
    TempDir temp;
    LogCapture log;
    void SetUp() override
    {
        gf_resetParameters();
        gf_setUserFolder();
        fs::create_directories(userFolder);
        lf_makeFolders();
        test::loadDbase(test::PlainDbase{});
        resetScanState();
        LIG_AUTOMATIC.value = false;
    }
    void TearDown() override
    {
        resetScanState();
        gf_clearDbase();
        gf_resetParameters();
    }
    /// Liveries found by walking FOLDER, as the driver's walk gives them.
    std::vector<LiveryData> walk(const fs::path& FOLDER, std::uint32_t LFOLDER = 1)
    {
        std::vector<LiveryData> found;
        lf_searchLiveries(LFOLDER, FOLDER, found);
        return found;
    }
    static std::vector<std::string> titles(const std::vector<LiveryData>& LIST)
    {
        std::vector<std::string> out;
        for (const auto& livery : LIST) out.push_back(livery.title);
        return out;
    }
};

TEST_F(Scan, ManualScanNeedsAFolder)
{
    try {
        gf_scanLiveries(true);
        FAIL() << "scanned";
    } catch (const UserErrorException& e) {
        EXPECT_EQ(e.code, 48);
        EXPECT_STREQ(e.what(), "48: Set lfolder parameter(-s) to your liveries first, see Manual 5.1 (or check Liveries automatic)");
    }
    EXPECT_TRUE(SCAN_LIVERIES.value) << "a failed scan stays asked for";
}

TEST_F(Scan, NothingFoundIsError53)
{
    fs::create_directories("empty");
    lfolder[0].value = "empty";
    try {
        gf_scanLiveries(true);
        FAIL() << "scanned";
    } catch (const UserErrorException& e) {
        EXPECT_EQ(e.code, 53);
        EXPECT_STREQ(e.what(), "53: no liveries found");
    }
    EXPECT_EQ(liveryCount, 0);
    EXPECT_TRUE(log.contains("No liveries found in empty"));
}

TEST_F(Scan, FolderNumbersSkipMissingFolders)
{
    writeFile("a/x/aircraft.cfg", cfg("B738", {{{"A1", "KLM", ""}}}));
    writeFile("b/y/aircraft.cfg", cfg("B738", {{{"B1", "KLM", ""}}}));
    writeFile("file.txt", "not a folder");
    scanFolderNumber = 0;
    for (const char* folder : {"a", "missing", "file.txt", "b"}) lf_scanFolder(folder);
    ASSERT_EQ(liveryList.size(), 2u);
    EXPECT_EQ(liveryList[0].lfolder, 1u);
    EXPECT_EQ(liveryList[1].lfolder, 2u) << "the missing folder does not count";
    EXPECT_TRUE(log.contains("missing does not exist, skipped!"));
    EXPECT_TRUE(log.contains("file.txt is not a folder name, skipped!"));
    EXPECT_TRUE(log.contains("1 liverie found in a"));
}

TEST_F(Scan, FolderNumberStopsAtTen)
{
    scanFolderNumber = 0;
    for (int i = 0; i < 12; ++i) {
        writeFile(fmt::format("f{}/aircraft.cfg", i), cfg("B738", {{{fmt::format("T{}", i), "KLM", ""}}}));
        lf_scanFolder(fmt::format("f{}", i));
    }
    EXPECT_EQ(liveryList.back().lfolder, 10u);
}

TEST_F(Scan, WalkTakesAircraftCfgInAnyCaseOnly)
{
    writeFile("c/one/aircraft.cfg", cfg("B738", {{{"lower", "KLM", ""}}}));
    writeFile("c/two/AIRCRAFT.CFG", cfg("B738", {{{"upper", "KLM", ""}}}));
    writeFile("c/three/Aircraft.cfg", cfg("B738", {{{"mixed", "KLM", ""}}}));
    writeFile("c/four/aircraft.cfg.bak", cfg("B738", {{{"backup", "KLM", ""}}}));
    writeFile("c/five/aircraft.cfg/inside.txt", "a folder named like the file");
    auto found = titles(walk("c"));
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (std::vector<std::string>{"lower", "mixed", "upper"}));
}

TEST_F(Scan, ExcludedBranchesAreNotEntered)
{
    writeFile("d/aircraft.cfg", cfg("B738", {{{"root", "KLM", ""}}}));
    for (const char* word : {"airport", "lvfr", "mkstudios", "simwings", "fsdreamteam", "navigraph", "flytampa", "inibuilds", "_CVT_"})
        writeFile(fmt::format("d/pkg-{}/sub/aircraft.cfg", word), cfg("B738", {{{word, "KLM", ""}}}));
    writeFile("d/pkg-Airport/sub/aircraft.cfg", cfg("B738", {{{"case differs", "KLM", ""}}}));
    const std::string deep = "d/" + std::string(250, 'x') + "/sub/aircraft.cfg";
    writeFile(deep, cfg("B738", {{{"deep", "KLM", ""}}}));
    auto found = titles(walk("d"));
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (std::vector<std::string>{"case differs", "root"}));
}

TEST_F(Scan, RootThatHoldsAnExcludedWordIsReadOneLevelDeep)
{
    writeFile("my-airport-pack/aircraft.cfg", cfg("B738", {{{"top", "KLM", ""}}}));
    writeFile("my-airport-pack/sub/aircraft.cfg", cfg("B738", {{{"below", "KLM", ""}}}));
    EXPECT_EQ(titles(walk("my-airport-pack")), (std::vector<std::string>{"top"}));
}

TEST_F(Scan, ResultsKeepTheOrderOfFinding)
{
    for (int i = 0; i < 60; ++i)
        writeFile(fmt::format("e/p{}/q{}/aircraft.cfg", i % 7, i), cfg("B738", {{{fmt::format("T{:02}a", i), "KLM", ""},
                                                                                  {fmt::format("T{:02}b", i), "DLH", ""}}}));
    std::vector<std::string> expected;
    for (const auto& entry : fs::recursive_directory_iterator("e"))
        if (entry.path().filename() == "aircraft.cfg") {
            const auto number = entry.path().parent_path().filename().string().substr(1);
            expected.push_back(fmt::format("T{:02}a", std::stoi(number)));
            expected.push_back(fmt::format("T{:02}b", std::stoi(number)));
        }
    scanTaskLimit = 3;
    EXPECT_EQ(titles(walk("e")), expected);
}

TEST_F(Scan, MalformedFilesLandInTheirListsAndTheWalkGoesOn)
{
    writeFile("m/good/aircraft.cfg", cfg("B738", {{{"good", "KLM", "atc_id=PH-BXA"}}}));
    writeFile("m/doubled/aircraft.cfg", cfg("B738", {{{"doubled", "KLM", "icao_airline=DLH"}}}));
    writeFile("m/numbers/aircraft.cfg", "[General]\nicao_type_designator=B738\n[fltsim.0]\ntitle=n0\n[fltsim.3]\ntitle=n3\n");
    writeFile("m/nomodel/aircraft.cfg", "[fltsim.0]\ntitle=nomodel\n");
    writeFile("m/badmodel/aircraft.cfg", cfg("QQ77", {{{"badmodel", "KLM", ""}}}));
    writeFile("m/badairline/aircraft.cfg", cfg("C172", {{{"badairline", "XYZ", ""}}}));
    std::string junk;
    for (int i = 0; i < 4096; ++i) junk += static_cast<char>((i * 7919) % 256);
    writeFile("m/junk/aircraft.cfg", junk);
    writeFile("m/brokenutf16/aircraft.cfg", std::string("\xFF\xFE[\0\x00\xD8", 6));
    // 50 MB of lines without a single section.
    std::string big;
    big.reserve(50u << 20);
    while (big.size() < (50u << 20)) big += "texture=some_long_value_that_repeats_itself_over_and_over\n";
    writeFile("m/big/aircraft.cfg", big);
    // A folder link back to the root, and a file link that loops on itself.
    fs::create_directory_symlink(fs::absolute("m"), "m/loop");
    fs::create_directories("m/selfloop");
    fs::create_symlink("aircraft.cfg", "m/selfloop/aircraft.cfg");
    // An unreadable file: no permission (or, for root, a file whose read fails).
    writeFile("m/unreadable/aircraft.cfg", cfg("B738", {{{"unreadable", "KLM", ""}}}));
    if (::geteuid() == 0) {
        fs::remove("m/unreadable/aircraft.cfg");
        fs::create_symlink("/proc/self/mem", "m/unreadable/aircraft.cfg");
    } else {
        ::chmod("m/unreadable/aircraft.cfg", 0);
    }

    const auto found = walk("m");
    auto sorted = titles(found);
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(sorted, (std::vector<std::string>{"badairline", "good"}));
    EXPECT_EQ(incompleteSections.size(), 1u);
    const auto invalid = invalidCfgFiles.copy();
    EXPECT_EQ(std::count_if(invalid.begin(), invalid.end(), [](const std::string& L) { return L.find("non-consecutive") != std::string::npos; }), 1);
    EXPECT_EQ(std::count_if(invalid.begin(), invalid.end(), [](const std::string& L) { return L.find("is missing in [General]") != std::string::npos; }), 1);
    EXPECT_EQ(invalidModels.size(), 1u);
    EXPECT_EQ(invalidAirlines.size(), 1u);
    const auto empty = emptyCfgFiles.copy();
    EXPECT_NE(std::find(empty.begin(), empty.end(), "m/big/aircraft.cfg"), empty.end());
    EXPECT_NE(std::find(empty.begin(), empty.end(), "m/junk/aircraft.cfg"), empty.end());
    EXPECT_NE(log.text().find("liveries search aborted, futs "), std::string::npos) << "the broken UTF-16 file";
    EXPECT_NE(log.text().find("m/unreadable/aircraft.cfg"), std::string::npos);
}

TEST_F(Scan, CorrectionFromTheAirframe)
{
    struct Case {
        LiveryData before;
        LiveryData after;
        std::vector<std::string> lines;
    };
    const Case cases[] = {
        {{"KLM", "B738", "no reg", "", 1, false}, {"KLM", "B738", "no reg", "", 1, false}, {}},
        {{"KLM", "B738", "unknown", "XX-XXX", 1, false}, {"KLM", "B738", "unknown", "XX-XXX", 1, false}, {}},
        {{"KLM", "B738", "same", "PH-BXA", 1, false}, {"KLM", "B738", "same", "PH-BXA", 1, false}, {}},
        {{"KLM", "B738", "freighter", "PHBXB", 1, false},
         {"KLM", "B738", "freighter", "PHBXB", 1, true},
         {fmt::format("{:80} PHBXB cargo false => true", "freighter")}},
        {{"KLM", "B739", "operated", "PH-HZA", 1, true},
         {"TRA", "B738", "operated", "PH-HZA", 1, false},
         {fmt::format("{:80} PH-HZA cargo true => false", "operated"), fmt::format("{:80} PH-HZA airl KLM => TRA", "operated"),
          fmt::format("{:80} PH-HZA model B739 => B738", "operated")}},
    };
    for (const auto& c : cases) {
        conversionLines.clear();
        auto livery = c.before;
        lf_correctFromDbase(livery);
        EXPECT_EQ(livery, c.after) << c.before.title;
        EXPECT_EQ(conversionLines, c.lines) << c.before.title;
    }
}

TEST_F(Scan, PruneKeepsTheFirstFolderPerAirlineAndModel)
{
    std::vector<LiveryData> list{{"KLM", "B738", "k1", "", 2, false}, {"KLM", "B738", "k2", "", 1, false},
                                 {"KLM", "B739", "k3", "", 2, false}, {"DLH", "B738", "d1", "", 3, false},
                                 {"KLM", "B738", "k4", "", 1, false}};
    lf_pruneByFolder(list);
    EXPECT_EQ(titles(list), (std::vector<std::string>{"k2", "k3", "d1", "k4"}));
}

TEST_F(Scan, SortOrdersAndDropsExactDoubles)
{
    std::vector<LiveryData> list{{"KLM", "B738", "b", "PH-BXB", 1, false}, {"DLH", "A320", "z", "", 1, false},
                                 {"KLM", "B738", "a", "PH-BXB", 1, false}, {"KLM", "B738", "c", "", 2, false},
                                 {"KLM", "A320", "d", "", 1, false},       {"KLM", "B738", "c", "", 1, false},
                                 {"KLM", "B738", "c", "", 1, true}};
    lf_sortLiveries(list);
    EXPECT_EQ(titles(list), (std::vector<std::string>{"z", "d", "c", "c", "a", "b"}));
    EXPECT_FALSE(list[2].cargo);
    EXPECT_TRUE(list[3].cargo) << "records that differ in cargo both stay";
}

TEST_F(Scan, AutomaticFoldersFollowThePackageOrder)
{
    MSFS_2020.value = true;
    MSFS_INSTALL_PATH.value = (temp.path() / "sim").string();
    for (const char* package : {"fsltl-traffic-base", "zz-user-aitraffic", "aig-aitraffic-oci-_CVT_", "other-package"})
        fs::create_directories(fs::path("sim/Community") / package);
    LIG_AUTOMATIC.value = true;
    AI_PACKAGE_ORDER.value = 3;
    const auto folders = lf_scanFolders();
    ASSERT_EQ(folders.size(), 2u);
    EXPECT_EQ(folders[0].filename(), "fsltl-traffic-base");
    EXPECT_EQ(folders[1].filename(), "zz-user-aitraffic");
    EXPECT_TRUE(log.contains("Automatic FSLTL scan found folder: \"" + (temp.path() / "sim/Community/fsltl-traffic-base").string() + "\""));
    fs::create_directories("sim/Community/aig-aitraffic-oci-main");
    fs::create_directories("sim/Community/justflight-aircraft-traffic-fleet");
    for (int order = 1; order <= 6; ++order) {
        AI_PACKAGE_ORDER.value = order;
        std::vector<std::string> names;
        for (const auto& folder : lf_scanFolders()) names.push_back(folder.filename().string());
        static const std::vector<std::vector<std::string>> expected{
            {"aig-aitraffic-oci-main", "fsltl-traffic-base", "justflight-aircraft-traffic-fleet", "zz-user-aitraffic"},
            {"aig-aitraffic-oci-main", "justflight-aircraft-traffic-fleet", "fsltl-traffic-base", "zz-user-aitraffic"},
            {"fsltl-traffic-base", "aig-aitraffic-oci-main", "justflight-aircraft-traffic-fleet", "zz-user-aitraffic"},
            {"fsltl-traffic-base", "justflight-aircraft-traffic-fleet", "aig-aitraffic-oci-main", "zz-user-aitraffic"},
            {"justflight-aircraft-traffic-fleet", "aig-aitraffic-oci-main", "fsltl-traffic-base", "zz-user-aitraffic"},
            {"justflight-aircraft-traffic-fleet", "fsltl-traffic-base", "aig-aitraffic-oci-main", "zz-user-aitraffic"},
        };
        EXPECT_EQ(names, expected[static_cast<std::size_t>(order - 1)]) << order;
    }
}

TEST_F(Scan, OfTwoMatchingPackagesOnlyOneIsTaken)
{
    MSFS_INSTALL_PATH.value = (temp.path() / "sim").string();
    fs::create_directories("sim/Community/fsltl-traffic-base");
    fs::create_directories("sim/Community/fsltl-traffic-base-extra");
    LIG_AUTOMATIC.value = true;
    EXPECT_EQ(lf_scanFolders().size(), 1u);
}

class ScanDriver : public Scan {
protected:
    void makeTree()
    {
        writeFile("lib1/klm/aircraft.cfg", cfg("B738", {{{"KLM 1", "KLM", "atc_id=PH-BXA"}, {"KLM 2", "KLM", "atc_id=PH-BXB"}}}));
        writeFile("lib1/dlh/aircraft.cfg", cfg("A320", {{{"DLH 1", "DLH", "atc_parking_types=CARGO"}}}));
        writeFile("lib1/ga/aircraft.cfg", cfg("C172", {{{"Cessna N12", "", ""}, {"Cessna generic", "ZZZZ", ""}}}));
        writeFile("lib1/bad/aircraft.cfg", cfg("B738", {{{"Bad", "XYZ", ""}}}));
        writeFile("lib2/klm/aircraft.cfg", cfg("B738", {{{"KLM 3", "KLM", ""}}}));
        writeFile("lib2/klm9/aircraft.cfg", cfg("B739", {{{"KLM 4", "KLM", ""}}}));
        writeFile("lib2/hvy/aircraft.cfg", cfg("B744", {{{"Freighter 1", "KLM", "atc_parking_types=CARGO"},
                                                         {"Freighter 2", "DLH", "atc_parking_types=CARGO"}}}));
        lfolder[0].value = "lib1";
        lfolder[1].value = "lib2";
    }
};

TEST_F(ScanDriver, ScanStoresReportsAndReadsBackTheSameCatalogue)
{
    makeTree();
    gf_scanLiveries(true);
    EXPECT_FALSE(SCAN_LIVERIES.value) << "switched off after success";
    EXPECT_NE(test::readFile(gf_parametersPath()).find("name=\"SCAN_LIVERIES\" value=\"false\""), std::string::npos);
    EXPECT_TRUE(log.contains("\n++++++++++++++++++++++++ liveries scan manual starts ++++++++++++++++++++++++++++++++"));
    EXPECT_TRUE(log.contains("9 in total"));
    EXPECT_TRUE(log.contains("9 liveries in output/LiveriesScanned.xml"));
    EXPECT_TRUE(log.contains("-------------------------- liveries scan ends   --------------------------------\n"));
    EXPECT_TRUE(log.contains("\nErrors:"));
    EXPECT_TRUE(log.contains("1 invalid airline code, see output/errors/InvalidAirlineCodes.txt"));
    EXPECT_EQ(test::fileLines("output/errors/InvalidAirlineCodes.txt").size(), 1u);
    EXPECT_TRUE(log.contains("1 liveries updated with real live data from dbase, see output/info/AirlineModelConversions.txt"));
    EXPECT_EQ(liveryCount, 9);
    EXPECT_TRUE(liveryList.empty()) << "emptied once the tables stand";
    EXPECT_EQ(catalogue.size(), 4u) << "DLH, KLM, PVT, ZZZ";

    // Reading the stored file gives the scan's catalogue.
    gf_readScanned();
    const auto read = liveryList;
    ASSERT_EQ(read.size(), 9u);
    EXPECT_TRUE(log.contains("No scan done, 9 liveries read from output/LiveriesScanned.xml"));
    std::vector<LiveryData> expected{
        {"DLH", "A320", "DLH 1", "", 0, true},          {"DLH", "B744", "Freighter 2", "", 0, true},
        {"KLM", "B738", "KLM 3", "", 0, false},         {"KLM", "B738", "KLM 1", "PH-BXA", 0, false},
        {"KLM", "B738", "KLM 2", "PH-BXB", 0, true},    {"KLM", "B739", "KLM 4", "", 0, false},
        {"KLM", "B744", "Freighter 1", "", 0, true},    {"PVT", "C172", "Cessna N12", "N12", 0, false},
        {"ZZZ", "C172", "Cessna generic", "", 0, false},
    };
    EXPECT_EQ(read, expected);
}

TEST_F(ScanDriver, PrioritizedScanPrunesLaterFolders)
{
    makeTree();
    LIG_PRIORITIZE.value = true;
    gf_scanLiveries(true);
    gf_readScanned();
    std::vector<std::string> klm738;
    for (const auto& livery : liveryList)
        if (livery.airline == "KLM" && livery.model == "B738") klm738.push_back(livery.title);
    EXPECT_EQ(klm738, (std::vector<std::string>{"KLM 1", "KLM 2"}));
    EXPECT_EQ(liveryList.size(), 8u) << "KLM B739 of the second folder stays";
}

TEST_F(ScanDriver, ReportsOfCategories)
{
    makeTree();
    gf_scanLiveries(true);
    EXPECT_TRUE(log.contains("Category Light: 2 pax liveries"));
    EXPECT_TRUE(log.contains("Category Large: 3 pax liveries and 2 cargo liveries"));
    EXPECT_TRUE(log.contains("Category Heavy: 0 pax liveries and 2 cargo liveries"));
    EXPECT_TRUE(log.contains("  A320,B738,B739"));
    EXPECT_TRUE(log.contains("Category Rotorcraft: No livery found"));
    EXPECT_TRUE(log.contains("HELICOPTERS temporary switched off because you do not have Helicopters installed"));
    EXPECT_TRUE(log.contains("HIGH_PERF_AIRCRAFT temporary switched off because you do not have High Perf aircraft installed"));
    EXPECT_FALSE(HELICOPTERS.value);
    EXPECT_FALSE(HELICOPTERS.enabled);
    EXPECT_TRUE(LIGHT_AIRCRAFT.value);
    EXPECT_TRUE(LIGHT_AIRCRAFT.enabled);
    EXPECT_EQ(lightModelsWithLiveries, (std::vector<std::string>{"C172"}));
    EXPECT_TRUE(log.contains("1 model have a generic livery"));
    EXPECT_TRUE(log.contains("  C172"));
    EXPECT_TRUE(log.contains("4 airlines, 3 pax aircraft models and 3 cargo aircraft models"));
}

TEST_F(ScanDriver, LaterStartReadsTheFileAndSkipsTheProcessing)
{
    makeTree();
    gf_scanLiveries(true);
    const auto tables = catalogue.size();
    gf_scanLiveries(false);
    EXPECT_TRUE(log.contains("\n++++++++++++++++++++++++ liveries scan starts ++++++++++++++++++++++++++++++++"));
    EXPECT_TRUE(log.contains("Processing scanned liveries skipped; already done in previous start-up"));
    EXPECT_EQ(catalogue.size(), tables);
    EXPECT_TRUE(liveryList.empty());
}

TEST_F(ScanDriver, SecondScanRemovesOldSideFiles)
{
    makeTree();
    gf_scanLiveries(true);
    ASSERT_TRUE(fs::exists("output/errors/InvalidAirlineCodes.txt"));
    fs::remove("lib1/bad/aircraft.cfg");
    resetScanState();
    gf_scanLiveries(true);
    EXPECT_FALSE(fs::exists("output/errors/InvalidAirlineCodes.txt"));
    EXPECT_TRUE(log.contains("\nNo errors"));
}

TEST_F(ScanDriver, StoppedScanWritesNothing)
{
    makeTree();
    exitInProgress = true;
    gf_scanLiveries(true);
    EXPECT_FALSE(fs::exists(gf_scannedPath()));
    EXPECT_FALSE(SCAN_LIVERIES.value) << "the next start turns it on again, as the file is missing";
}

TEST_F(Scan, StoredFileFaults)
{
    const auto expectCode = [](int CODE, const std::string& TEXT) {
        try {
            gf_readScanned();
            ADD_FAILURE() << "read";
        } catch (const UserErrorException& e) {
            EXPECT_EQ(e.code, CODE);
            EXPECT_EQ(std::string(e.what()), fmt::format("{}: {}", CODE, TEXT));
        }
    };
    expectCode(51, "File output/LiveriesScanned.xml not found");
    writeFile(gf_scannedPath(), "<meta/><nothing/>");
    expectCode(52, "output/LiveriesScanned.xml does not contain a <liveries> section");
    writeFile(gf_scannedPath(), "<meta/><liveries/>");
    expectCode(533, "output/LiveriesScanned.xml does not contain liveries");
    EXPECT_TRUE(log.contains("===> meta data incorrect?"));
    writeFile(gf_scannedPath(), "<liveries><liv title=\"t\" cargo=\"yes\"/><liv airl=\"K\" type=\"M\" title=\"u\" atcid=\"R\"/></liveries>");
    gf_readScanned();
    EXPECT_EQ(liveryList, (std::vector<LiveryData>{{"", "", "t", "", 0, true}, {"K", "M", "u", "R", 0, false}}))
        << "taken as it stands";
}

TEST_F(Scan, ModelListsHoldTwentyModelsALine)
{
    std::vector<std::string> models;
    for (int i = 0; i < 45; ++i) models.push_back(fmt::format("M{:02}", i));
    const auto lines = gf_modelListLines(models);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].substr(0, 10), "  M00,M01,");
    EXPECT_EQ(lines[0].size(), 2 + 20 * 4 - 1);
    EXPECT_EQ(lines[2], "  M40,M41,M42,M43,M44");
    EXPECT_TRUE(gf_modelListLines({}).empty());
}

TEST_F(Scan, MatchingSummary)
{
    matchSteps = {5, 4, 3, 2, 1, 0};
    failedCreations = {"B738 KLM", "A320 DLH", "B738 KLM"};
    gf_writeMatchingSummary();
    const std::string stars(31, '*');
    EXPECT_TRUE(log.contains("\n" + stars + " live traffic livery matching summary " + stars));
    EXPECT_TRUE(log.contains("Matches at step: "));
    EXPECT_TRUE(log.contains("  1: 5"));
    EXPECT_TRUE(log.contains("  6: 0"));
    EXPECT_TRUE(log.contains("\nCould not be created by MSFS:"));
    const auto text = log.text();
    EXPECT_LT(text.find("  A320 DLH"), text.find("  B738 KLM"));
    EXPECT_EQ(text.find("  B738 KLM"), text.rfind("  B738 KLM"));
    EXPECT_TRUE(log.contains(std::string(100, '*') + "\n"));
    matchSteps = {};
    failedCreations.clear();
}

} // namespace
} // namespace orv
