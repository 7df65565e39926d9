// Stand files: round trips of archive, generated, learned and hand-made
// files (nothing lost, nothing doubled, unchanged bytes when nothing
// changed), broken files that keep the rest and the user's learned file,
// the merge of options, conflicts, the lookup's precedence over local files
// and the download server, and the quality of an airport's data.
#include "parking/airport_db.h"
#include "parking/airport_files.h"
#include "parking/apf_parts.h"
#include "parking/park_airports.h"
#include "tests/liveries/dbase_fixture.h"
#include "tests/updates/download_server.h"

#include "core/errors.h"
#include "core/parameters.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::writeFile;

/// A stand file as the tests write it: PARAMETERS and PARKPOS are the insides of their elements.
std::string apf(const std::string& PARAMETERS, const std::string& PARKPOS)
{
    return fmt::format("<meta/>\n<parameters>{}</parameters>\n<parkpositions>{}</parkpositions>\n", PARAMETERS, PARKPOS);
}
std::string parameter(const std::string& NAME, const std::string& VALUE)
{
    return fmt::format(R"(<parameter name="{}" value="{}"/>)", NAME, VALUE);
}
const std::string archiveParameters =
    parameter("airport_name", "Schiphol") + parameter("publisher", "stock") + parameter("altitude", "-11");
/// A stand with its options; 30 m apart along the latitude, radius 20 m.
std::string parkpos(const std::string& ID, int INDEX, const std::string& OPTIONS = "", const std::string& EXTRA = "")
{
    return fmt::format(R"(<parkpos id="{}" latitude="{:.6f}" longitude="4.760000" heading="90.0" radius="20.0" {}>{}</parkpos>)",
                       ID, 52.3 + INDEX * 0.00027, EXTRA, OPTIONS);
}
std::string opt(const std::string& ATTRIBUTES) { return "<opt " + ATTRIBUTES + "/>"; }

const fs::path mainPath = "airports/my_thirdparty/EHAM.xml";
const fs::path learnedPath = "airports/learned/thirdparty/stock/EHAM.xml";

class StandFiles : public ::testing::Test {
protected:
    test::TempDir temp;
    test::LogCapture log;
    void SetUp() override
    {
        gf_resetParameters();
        test::loadDbase(test::PlainDbase{});
        parkIcao = "EHAM";
        standTable.clear();
        learnedPathInUse.clear();
        updateCount = 0;
    }
    void TearDown() override
    {
        gf_restoreUserParameters();
        parkIcao.clear();
        standTable.clear();
        parkAirportReady = false;
    }
    /// Reads the airport; the failure text, empty on success.
    static std::string load(const fs::path& PATH = mainPath)
    {
        QualityFactor qf;
        parkData = {};
        const std::string failure = gf_readApf(PATH.string(), parkData, qf);
        parkData.qfReal = qf.real;
        parkData.qfSoft = qf.soft;
        return failure;
    }
    /// Saves what was learned; the learned file's text.
    static std::string save()
    {
        lf_saveUpdates();
        updateCount = 0;
        gf_restoreUserParameters();
        return readFile(learnedPath);
    }
    static int options()
    {
        int count = 0;
        for (const Stand& stand : standTable) count += static_cast<int>(stand.options.size());
        return count;
    }
};

struct RoundTripRow {
    const char* name;
    std::string learned; ///< the learned file beside the archive file; empty for none
    bool learn;          ///< an option is learned in the first run
    int optionsAfter;    ///< options of the table after the reload
};

TEST_F(StandFiles, LoadLearnSaveReloadSaveLosesNothingDoublesNothingAndKeepsTheBytes)
{
    const std::string archive =
        apf(archiveParameters + parameter("Qf_real", "50"),
            parkpos("A 1", 0, opt(R"(reg="" airl="KLM" type="B738" day="1" hh="14,15" cs="KL1:KL2")")) +
                parkpos("B2", 1) + parkpos("C3", 2, opt(R"(reg="PH-BXA" day="2" hh="3")")));
    const std::vector<RoundTripRow> rows = {
        {"archive alone, one option learned", "", true, 3},
        {"options of an earlier run", apf(parameter("airport_name", "Schiphol"), parkpos("B2", 0, opt(R"(reg="D-AIAB" day="3" hh="7,8")"))), false, 3},
        {"options of an earlier run and one more", apf("", parkpos("B2", 0, opt(R"(reg="D-AIAB" day="3" hh="7,8")"))), true, 4},
        {"radius and cargo changes", apf("", R"(<parkpos id="B2" radius_change="true" radius="31.5" cargo_change="true"/>)"), false, 2},
        {"a stand made by hand", apf("", parkpos("M 9", 9, opt(R"(reg="" airl="EZY" type="A319" day="7" hh="47" soft="true")"), R"(cargo="true" manual="true")")), false, 3},
        {"a handmade file", apf(archiveParameters + parameter("handmade", "true"), parkpos("H1", 0, opt(R"(reg="" airl="TRA" type="B738" day="5" hh="0")"))), true, 2},
        {"a learned option equal to the archive's", apf("", parkpos("A 1", 0, opt(R"(reg="" airl="KLM" type="B738" day="1" hh="15,16" cs="KL1:KL2")"))), false, 2},
    };
    for (const RoundTripRow& row : rows) {
        SCOPED_TRACE(row.name);
        fs::remove_all("airports");
        writeFile(mainPath, archive);
        if (!row.learned.empty()) writeFile(learnedPath, row.learned);
        ASSERT_EQ(load(), "");
        if (row.learn) {
            StandOption learned{"DLH", "A320", "D-AIAB", "DLH4", "", 1u << 20, 0, 4, 0, 1, false};
            learned.number = standTable.back().options.size() + 1;
            standTable.back().options.push_back(learned);
            updateCount = 1;
        }
        const std::string first = save();
        ASSERT_EQ(load(), "");
        EXPECT_EQ(options(), row.optionsAfter);
        const std::string second = save();
        EXPECT_EQ(second, first) << "nothing changed since the last save";
        ASSERT_EQ(load(), "");
        EXPECT_EQ(options(), row.optionsAfter) << "nothing doubled on the next load";
        EXPECT_EQ(save(), first);
    }
}

TEST_F(StandFiles, GeneratedFilesReadBackAsTheyWereWritten)
{
    ParkAirportData data;
    data.icao = "EHAM";
    data.airportName = "Schiphol & \"Co\"";
    data.publisher = "unknown";
    data.bglPath = "C:\\scenery\\EHAM.bgl";
    data.altitude = -11;
    for (int i = 0; i < 4; ++i) {
        Stand stand;
        stand.name = fmt::format("G {}", i);
        stand.lat = 52.3 + i * 0.001;
        stand.lon = 4.76;
        stand.heading = 1.5;
        stand.radius = 0.012;
        stand.heli = i == 1;
        stand.cargo = i == 2;
        stand.ramp = i == 3;
        stand.options.push_back({"KLM", "B738", "", "", "", 1, 1, 1, 0, 1, false}); // never in a generated file
        data.stands.push_back(stand);
    }
    ASSERT_TRUE(gf_saveApf(data, mainPath, true));
    const std::string written = readFile(mainPath);
    EXPECT_EQ(written.find("<opt"), std::string::npos);
    EXPECT_NE(written.find(R"(<parkpos id="G 1" latitude="52.301000" longitude="4.760000" heading="85.9" radius="22.2" heli="true" ramp="false" />)"),
              std::string::npos) << written;
    ASSERT_EQ(load(), "");
    ASSERT_EQ(standTable.size(), 4u);
    EXPECT_TRUE(standTable[1].heli && standTable[2].cargo && standTable[3].ramp && !standTable[0].cargo);
    data.stands = standTable;
    data.airportName = parkData.airportName;
    ASSERT_TRUE(gf_saveApf(data, mainPath, true));
    EXPECT_EQ(readFile(mainPath), written);
}

struct BrokenRow {
    const char* name;
    std::string main, learned;
    std::string failure;    ///< gf_readApf's text, or "65"/"94" for the exception's code
    std::string logLine;    ///< a line the log shows
    std::size_t stands;     ///< in the table afterwards
    bool learnedKeptAside;  ///< a copy of the learned file is kept as EHAM.0.xml
};

TEST_F(StandFiles, BrokenFilesSayWhyAndKeepTheRestAndTheLearnedFile)
{
    const std::string good = apf(archiveParameters, parkpos("A1", 0) + parkpos("A2", 1));
    const std::string learnedOption = parkpos("A1", 0, opt(R"(reg="" airl="KLM" type="B738" day="1" hh="3")"));
    const std::vector<BrokenRow> rows = {
        {"bad XML", "<parameters><parameter", "", "could not be loaded", "", 0, false},
        {"no altitude", apf(parameter("publisher", "stock"), parkpos("A1", 0)), "", "65", "", 0, false},
        {"a stand id twice", apf(archiveParameters, parkpos("A1", 0) + parkpos("A1", 1)), "", "94", "", 0, false},
        {"no stands", apf(archiveParameters, ""), "", "no stands found", "", 0, false},
        {"learned file of bad XML", good, "<parameters", "",
         "airports/learned/thirdparty/stock/EHAM.xml found, but could not be loaded, saved as *.0.xml: ", 2, true},
        {"hand-made stand without position", good,
         apf("", R"(<parkpos id="X" radius="20" manual="true"/>)" + learnedOption), "",
         "manually created standid X misses correct attributes in airports/learned/thirdparty/stock/EHAM.xml", 2, false},
        {"hand-made stand that exists", good, apf("", parkpos("A2", 3, "", R"(manual="true")")), "",
         "manually created standid A2 already exists in airports/learned/thirdparty/stock/EHAM.xml", 2, false},
        {"learned stand the archive lacks", good, apf("", parkpos("Q7", 3, opt(R"(reg="" day="1" hh="1")"))), "",
         "learned stand Q7 in airports/learned/thirdparty/stock/EHAM.xml not found?", 2, false},
        {"handmade file with a stand id twice", good,
         apf(archiveParameters + parameter("handmade", "true"), parkpos("H", 0) + parkpos("H", 1)), "",
         "exception in lf_readLearned: 94: Parking position H appears more than once?", 1, true},
        {"impossible half hours", apf(archiveParameters, parkpos("A1", 0, opt(R"(reg="" airl="KLM" type="B738" day="1" hh="47,48")"))), "",
         "", "exception 48 in lf_hours2bitset", 1, false},
    };
    for (const BrokenRow& row : rows) {
        SCOPED_TRACE(row.name);
        fs::remove_all("airports");
        writeFile(mainPath, row.main);
        if (!row.learned.empty()) writeFile(learnedPath, row.learned);
        std::string failure;
        try {
            failure = load();
        } catch (const UserErrorException& e) {
            failure = std::to_string(e.code);
        }
        if (row.failure.empty())
            EXPECT_EQ(failure, "");
        else
            EXPECT_NE(failure.find(row.failure), std::string::npos) << failure;
        if (!row.logLine.empty()) {
            EXPECT_NE(log.text().find(row.logLine), std::string::npos) << log.text();
        }
        EXPECT_EQ(standTable.size(), row.stands);
        EXPECT_EQ(fs::exists("airports/learned/thirdparty/stock/EHAM.0.xml"), row.learnedKeptAside);
        EXPECT_EQ(readFile(mainPath), row.main) << "the main file is never touched";
        if (row.learnedKeptAside) {
            EXPECT_EQ(readFile("airports/learned/thirdparty/stock/EHAM.0.xml"), row.learned);
        }
    }
    EXPECT_EQ(standTable.at(0).options.at(0).hours, std::uint64_t{1} << 47) << "the bits before the bad piece stand";
}

struct OptionRow {
    const char* name;
    std::string archiveOptions, learnedOptions;
    std::vector<std::string> expected; ///< "airline/type/reg/coupled1/coupled2/day/hh/learned"
};

TEST_F(StandFiles, OptionsAreReadMergedAndSplitAsTheFilesSay)
{
    const std::vector<OptionRow> rows = {
        {"a towed aircraft in the archive", opt(R"(reg="" airl="KLM" type="B738" day="1" hh="1" cs="TOW 1234")") + opt(R"(reg="" airl="KLM" type="B738" day="1" hh="2")"),
         "", {"KLM/B738////1/2/0"}},
        {"a towed aircraft learned here stays", "", opt(R"(reg="" airl="KLM" type="B738" day="1" hh="1" cs="TOW 1")"), {"KLM/B738//TOW 1//1/1/1"}},
        {"no common half hour: two options", opt(R"(reg="" airl="KLM" type="B738" day="1" hh="1,2")"),
         opt(R"(reg="" airl="KLM" type="B738" day="1" hh="3")"), {"KLM/B738////1/1,2/0", "KLM/B738////1/3/1"}},
        {"one common half hour: the learned one goes", opt(R"(reg="" airl="KLM" type="B738" day="1" hh="1,2")"),
         opt(R"(reg="" airl="KLM" type="B738" day="1" hh="2,3")"), {"KLM/B738////1/1,2/0"}},
        {"soft and real stay apart", opt(R"(reg="" airl="KLM" type="B738" day="1" hh="1")"),
         opt(R"(reg="" airl="KLM" type="B738" day="1" hh="1" soft="true")"), {"KLM/B738////1/1/0", "KLM/B738////1/1/1"}},
        {"a known registration brings airline and type, its operator first", opt(R"(reg="PH-HZA" airl="XXX" type="A388" day="2" hh="0")"), "",
         {"TRA/B738/PH-HZA///2/0/0"}},
        {"a registration under another spelling", opt(R"(reg="PHBXA" day="2" hh="0")"), "", {"KLM/B738/PHBXA///2/0/0"}},
        {"callsigns split at the first colon", opt(R"(reg="" day="3" hh="" cs="A:B")") + opt(R"(reg="" day="3" hh="" cs="A:B:C")") + opt(R"(reg="" day="3" hh="" cs="A")"),
         "", {"///A/B/3//0", "///A//3//0", "///A//3//0"}},
    };
    for (const OptionRow& row : rows) {
        SCOPED_TRACE(row.name);
        fs::remove_all("airports");
        writeFile(mainPath, apf(archiveParameters, parkpos("A1", 0, row.archiveOptions)));
        if (!row.learnedOptions.empty()) writeFile(learnedPath, apf("", parkpos("A1", 0, row.learnedOptions)));
        ASSERT_EQ(load(), "");
        std::vector<std::string> got;
        for (const StandOption& o : standTable.at(0).options)
            got.push_back(fmt::format("{}/{}/{}/{}/{}/{}/{}/{}", o.airline, o.icaoType, o.regcode, o.coupled1, o.coupled2,
                                      o.day, lf_bitset2hours(o.hours), o.fromLearned ? 1 : 0));
        EXPECT_EQ(got, row.expected);
        for (std::size_t i = 0; i < standTable[0].options.size(); ++i) EXPECT_EQ(standTable[0].options[i].number, static_cast<int>(i + 1));
    }
    // A known registration is written without airline and type, and reads the same.
    writeFile(mainPath, apf(archiveParameters, parkpos("A1", 0)));
    fs::remove_all("airports/learned");
    ASSERT_EQ(load(), "");
    standTable[0].options.push_back({"TRA", "B738", "PH-HZA", "", "", 1, 1, 3, 0, 1, false});
    EXPECT_NE(save().find(R"(<opt reg="PH-HZA" day="3" hh="0" />)"), std::string::npos);
}

TEST_F(StandFiles, StandsConflictWhenTheirRadiiExceedTheDistanceByTheMargin)
{
    for (const auto& [factor, conflict] : {std::pair{1.05, false}, std::pair{1.11, true}}) {
        const double metres = 30.0;
        const std::string stands = fmt::format(R"(<parkpos id="A" latitude="0.0" longitude="4.0" radius="{0}"/>
            <parkpos id="B" latitude="{1:.9f}" longitude="4.0" radius="{0}"/>)", metres * factor / 2, metres / 1852.0 / 60.0);
        writeFile(mainPath, apf(archiveParameters, stands));
        ASSERT_EQ(load(), "");
        EXPECT_EQ(standTable[0].conflicts.size(), conflict ? 1u : 0u) << factor;
        EXPECT_EQ(standTable[1].conflicts.empty(), !conflict);
    }
}

TEST_F(StandFiles, TheLookupTakesTheUsersAddOnsFirstThenKnownAddOnsThenTheServer)
{
    test::DownloadServer server{temp / "server"};
    writeFile(temp / "server/MSFS/archive/stock/EHAM.xml", apf(archiveParameters, parkpos("S1", 0)));
    struct Row {
        std::vector<std::pair<std::string, std::string>> files;
        std::string expected;
    };
    const std::vector<Row> rows = {
        {{}, "archive/stock/EHAM.xml"},
        {{{"my_simaddon/EHAM.xml", "x"}}, "airports/my_simaddon/EHAM.xml"},
        {{{"my_simaddon/EHAM.xml", "x"}, {"my_simaddon/EHAM.txt", "archive/simaddon/EHAM.xml\r\n"}}, "archive/simaddon/EHAM.xml"},
        {{{"my_simaddon/EHAM.txt", "archive/simaddon/EHAM.xml"}, {"my_thirdparty/EHAM.xml", "x"}}, "airports/my_thirdparty/EHAM.xml"},
        {{{"my_thirdparty/EHAM.xml", "x"}, {"my_thirdparty/EHAM.txt", "archive/thirdparty/Pub%20One/EHAM.xml junk"}},
         "archive/thirdparty/Pub%20One/EHAM.xml"},
        {{{"my_thirdparty/EHAM.txt", ""}, {"my_simaddon/EHAM.xml", "x"}}, "airports/my_simaddon/EHAM.xml"},
    };
    for (const Row& row : rows) {
        fs::remove_all("airports");
        for (const auto& [file, text] : row.files) writeFile(fs::path("airports") / file, text);
        EXPECT_EQ(gf_findAirportFile("EHAM"), row.expected);
    }
    EXPECT_EQ(gf_findAirportFile("EDDF"), "") << "not on the server";
    EXPECT_FALSE(gf_airportFileExists("EDDF"));
    EXPECT_FALSE(fs::exists("EHAM.xml") || fs::exists("EDDF.xml")) << "the lookup keeps no download";
    // The server's file is read through its scratch copy, with its learned file beside it.
    fs::remove_all("airports");
    ASSERT_EQ(load("archive/stock/EHAM.xml"), "");
    EXPECT_EQ(standTable.at(0).name, "S1");
    std::string stand;
    EXPECT_NEAR(gf_readDestApfForClosestStand("EHAM", {52.3, 4.76}, stand), 0.0, 1e-9);
    EXPECT_EQ(stand, "S1");
    EXPECT_EQ(gf_readDestApfForClosestStand("EDDF", {52.3, 4.76}, stand), 100.0);
    // Only a stock file with quality factors and 16 weeks of data is fit for offline learning.
    for (const auto& [weeks, suitable] : {std::pair{"16", true}, std::pair{"15", false}}) {
        writeFile(temp / "server/MSFS/archive/stock/EHAM.xml", apf(archiveParameters + parameter("Qf_real", "0") + parameter("WEEK", weeks), ""));
        EXPECT_EQ(lf_suitableForOfflineLearning("EHAM"), suitable) << weeks;
    }
    EXPECT_FALSE(lf_suitableForOfflineLearning("EDDF"));
    EXPECT_TRUE(log.contains("EDDF Not suitable for offline learning"));
}

TEST_F(StandFiles, LearnedFilesLieBesideTheirMainFile)
{
    const std::vector<std::array<std::string, 3>> rows = {
        {"archive/stock/EDDF.xml", "stock", "airports/learned/stock/EDDF.xml"},
        {"archive/thirdparty/Pub%20One/EDDF.xml", "Pub One", "airports/learned/thirdparty/Pub One/EDDF.xml"},
        {"airports/my_thirdparty/EDDF.xml", "Aero", "airports/learned/thirdparty/Aero/EDDF.xml"},
        {"airports/my_thirdparty2024/EDDF.xml", "Aero", "airports/learned/thirdparty/Aero/EDDF.xml"},
        {"airports/my_simaddon/EDDF.xml", "simaddon", "airports/learned/simaddon/EDDF.xml"},
    };
    for (const auto& [main, publisher, learned] : rows) EXPECT_EQ(lf_learnedPath(main, publisher), fs::path(learned));
}

TEST_F(StandFiles, QualityFactorsWeighStandsAndTheirOptions)
{
    const auto stand = [](double RADIUS_M, std::vector<StandOption> OPTIONS) {
        Stand s;
        s.radius = RADIUS_M * nmPerMetreOfFile;
        s.options = std::move(OPTIONS);
        return s;
    };
    const StandOption real{"KLM", "B738", "", "", "", 1, 1, 1, 1, 1, false};
    StandOption soft = real;
    soft.real = 0;
    StandOption allDay = real;
    allDay.hours = (std::uint64_t{1} << 48) - 1;
    struct Row {
        std::vector<Stand> stands;
        QualityFactor expected;
    };
    const std::vector<Row> rows = {
        {{stand(20, {})}, {-1, -1}},
        {{stand(20, {real})}, {63, 0}},  // (10000 + 20 + 100 + 2) * 0.00625
        {{stand(20, {real}), stand(20, {soft})}, {32, 32}},
        {{stand(6.9, {real}), stand(20, {})}, {15, 0}}, // weight 0.3 against 1.0
        {{stand(9.9, {real}), stand(20, {})}, {38, 0}}, // weight 1.5 against 1.0
        {{stand(20, std::vector<StandOption>(200, allDay))}, {96, 0}}, // every term at its cap
    };
    for (const Row& row : rows) {
        standTable = row.stands;
        EXPECT_EQ(lf_QualityFactor(), row.expected);
    }
}

} // namespace
} // namespace orv
