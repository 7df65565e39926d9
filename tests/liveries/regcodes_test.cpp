// Registration codes: the user's line forms and their length rules, the
// maker's XML with scrambled registrations, the three sources in their order
// of precedence, and the reports.
#include "liveries/catalogue.h"
#include "liveries/livery_data.h"
#include "liveries/matching.h"
#include "liveries/regcodes.h"
#include "liveries/scramble.h"
#include "tests/liveries/dbase_fixture.h"
#include "tests/liveries/matching_fixture.h"
#include "tests/updates/download_server.h"
#include "tools/zip_writer.h"

#include "core/folders.h"
#include "core/parameters.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::LogCapture;
using test::TempDir;
using test::writeFile;

struct LineCase {
    std::string line;
    bool good;
    bool entry;
    std::vector<std::string> regcodes;
    bool special;
    std::string logged; ///< a line the log must show; empty for none
};

class RegcodeLines : public ::testing::TestWithParam<LineCase> {};

TEST_P(RegcodeLines, GiveTheirEntryAndTheirFaults)
{
    TempDir temp;
    LogCapture log;
    const LineCase& c = GetParam();
    std::vector<RegcodeEntry> entries;
    EXPECT_EQ(lf_parseRegcodeLine(c.line, "f.txt", entries), c.good);
    ASSERT_EQ(entries.size(), c.entry ? 1U : 0U);
    if (c.entry) {
        EXPECT_EQ(entries[0].regcodes, c.regcodes);
        EXPECT_EQ(entries[0].special, c.special);
        EXPECT_FALSE(entries[0].title.empty());
        EXPECT_EQ(entries[0].title.find_first_of(" \t", entries[0].title.size() - 1), std::string::npos)
            << "blanks around the title go";
    }
    if (!c.logged.empty()) {
        EXPECT_TRUE(log.contains(c.logged)) << log.text();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Forms, RegcodeLines,
    ::testing::Values(
        LineCase{"", true, false, {}, false, ""}, LineCase{"  \t ", true, false, {}, false, ""},
        LineCase{"Title A", true, true, {}, false, ""},
        LineCase{"Title B;PH-BXA", true, true, {"PH-BXA"}, true, ""},
        LineCase{"Title C;PH-BXB,PH-BXA", true, true, {"PH-BXA", "PH-BXB"}, false, ""},
        LineCase{"Title D;PH-BXA,PH-BXB;#", true, true, {"PH-BXA", "PH-BXB"}, true, ""},
        LineCase{"Title E;PH-BXA,PH-BXB;x", true, true, {"PH-BXA", "PH-BXB"}, false, ""},
        LineCase{"Title F;ABCDEFGHIJKLM", false, false, {}, false, "wrong regcode length \"ABCDEFGHIJKLM\" in f.txt"},
        LineCase{"Title G;ABCDEFGHIJKLM,PH-BXA", false, true, {"PH-BXA"}, false,
                 "wrong regcode length \"ABCDEFGHIJKLM\" in f.txt"},
        LineCase{"Title H;AB", true, true, {"AB"}, true, ""},
        LineCase{"Title I;AB,PH-BXA", false, true, {"PH-BXA"}, false, "wrong regcode length \"AB\" in f.txt"},
        LineCase{"Title J;", true, false, {}, false, ""},
        LineCase{"Title K;PH-BXA;#;more", false, false, {}, false, "f.txt: wrong format \"Title K;PH-BXA;#;more\""},
        LineCase{"Title L;AB,CD", false, false, {}, false, "f.txt ; regs empty? "},
        LineCase{" Title M \t; PH-BXA , PH-BXA ;# ", true, true, {"PH-BXA"}, true, ""},
        LineCase{"Title N;PH-BXA;x", true, true, {"PH-BXA"}, true, ""},
        LineCase{"Title O;ABCDEFGHIJKL", true, true, {"ABCDEFGHIJKL"}, true, ""}));

/// An AIG-regcodes.xml element.
std::string aigLivery(const std::string& TITLE, const std::vector<std::string>& REGS, const std::string& SPECIAL = "")
{
    std::string regs;
    for (const auto& reg : REGS) regs += (regs.empty() ? "" : ", ") + gf_encryptRegcode(reg);
    std::string text = fmt::format("<livery title=\"{}\"", TITLE);
    if (!REGS.empty()) text += fmt::format(" reg=\"{}\"", regs);
    if (!SPECIAL.empty()) text += fmt::format(" special=\"{}\"", SPECIAL);
    return text + "/>";
}

TEST(RegcodeFiles, TheMakersFileIsUnscrambledSortedAndMarked)
{
    TempDir temp;
    LogCapture log;
    writeFile("aig.xml", "<?xml version=\"1.0\"?><AIG-regcodes>" + aigLivery("T1", {"PH-BXB", "PH-BXA", "PH-BXB"}) +
                             aigLivery("T2", {}) + aigLivery("T3", {"D-AIZA"}, "Yes") + aigLivery("T4", {"G-EUYA"}, "0") +
                             aigLivery("", {"F-HEPA"}) + "</AIG-regcodes>");
    std::vector<RegcodeEntry> entries;
    ASSERT_TRUE(lf_readAigRegcodes("aig.xml", entries));
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[0].regcodes, (std::vector<std::string>{"PH-BXA", "PH-BXB"}));
    EXPECT_FALSE(entries[0].special);
    EXPECT_TRUE(entries[1].regcodes.empty()) << "no reg: a title not to be used";
    EXPECT_TRUE(entries[2].special);
    EXPECT_FALSE(entries[3].special);
    EXPECT_TRUE(log.contains("Reading aig.xml"));
    EXPECT_TRUE(log.contains("4 liveries read"));
}

TEST(RegcodeFiles, ABrokenOrEmptyFile)
{
    TempDir temp;
    LogCapture log;
    writeFile("broken.xml", "<AIG-regcodes><livery title=");
    std::vector<RegcodeEntry> entries;
    EXPECT_FALSE(lf_readAigRegcodes("broken.xml", entries));
    EXPECT_TRUE(log.contains("Failed to load broken.xml"));
    writeFile("other.xml", "<?xml version=\"1.0\"?><other/>");
    EXPECT_TRUE(lf_readAigRegcodes("other.xml", entries));
    EXPECT_TRUE(entries.empty());
    EXPECT_TRUE(log.contains("0 liveries read"));
}

TEST(RegcodeFiles, OnlyTextFilesOfTheFolderCountInAnyCase)
{
    TempDir temp;
    LogCapture log;
    writeFile("my/a.TXT", "\xEF\xBB\xBFTitle A;PH-BXA\r\n");
    writeFile("my/b.txt", "Title B\n\nTitle C;AB,CD\n");
    writeFile("my/c.csv", "Title D;PH-BXD\n");
    writeFile("my/sub/d.txt", "Title E;PH-BXE\n");
    std::vector<RegcodeEntry> entries;
    EXPECT_FALSE(lf_readRegcodeFolder("my", entries)) << "one faulty line";
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].title, "Title A") << "the byte order mark goes";
    EXPECT_EQ(entries[1].title, "Title B");
    EXPECT_TRUE(log.contains("Processing regcodes file \"my/a.TXT\""));
    EXPECT_FALSE(log.contains("c.csv"));
    EXPECT_TRUE(log.contains("2 liveries read"));
}

class RegcodeSources : public ::testing::Test {
protected:
    TempDir temp;
    LogCapture log;
    void SetUp() override
    {
        gf_resetParameters();
        gf_setUserFolder();
        lf_makeFolders();
        test::gf_loadMatchingReference();
        offlineReport.clear();
        dontUseTitles.clear();
    }
    void TearDown() override
    {
        test::gf_clearMatchingState();
        gf_clearDbase();
        offlineReport.clear();
        dontUseTitles.clear();
    }
    static std::string titleOf(const std::string& REG)
    {
        const auto found = regcodeTitles.find(REG);
        return found == regcodeTitles.end() ? std::string() : std::string(found->second);
    }
    bool reported(const std::string& LINE) const
    {
        return std::find(offlineReport.begin(), offlineReport.end(), LINE) != offlineReport.end();
    }
};

TEST_F(RegcodeSources, TheFirstInLineRegistrationStandsAndTheClashIsListed)
{
    test::gf_buildMatchingTables({{"KLM", "B738", "KLM 738 one", "PH-BXA"}, {"KLM", "B738", "KLM 738 two", "PH-BXA"},
                                  {"KLM", "B738", "KLM 738 three", "PH-BXC"}});
    // The catalogue's order is by registration, then title.
    EXPECT_EQ(titleOf("PH-BXA"), "KLM 738 one");
    EXPECT_EQ(titleOf("PH-BXC"), "KLM 738 three");
    const auto lines = test::fileLines(errorsFolder / "InlineRegcodes.txt");
    EXPECT_EQ(lines, (std::vector<std::string>{"PH-BXA \"KLM 738 two\" => already in use by \"KLM 738 one\""}));
    EXPECT_TRUE(log.contains("1 in-line regcode clashes, see \"output/errors/InlineRegcodes.txt\""));
}

TEST_F(RegcodeSources, LaterSourcesWinAndTheReportSaysSo)
{
    test::gf_buildMatchingTables({{"KLM", "B738", "KLM 738 inline", "PH-BXA"}, {"KLM", "B738", "KLM 738 aig", ""},
                                  {"KLM", "B738", "KLM 738 user", ""}});
    lf_applyRegcodeEntries({{"KLM 738 aig", {"PH-BXA", "PH-BXB"}, false}, {"Not installed", {"PH-BXZ"}, true}});
    EXPECT_EQ(titleOf("PH-BXA"), "KLM 738 aig");
    EXPECT_TRUE(reported("   regcode PH-BXA for \"KLM 738 aig\", instead of the same for \"KLM 738 inline\""));
    EXPECT_TRUE(reported("1 new regcode added, 1 regcode replaced"));
    EXPECT_TRUE(titleOf("PH-BXZ").empty()) << "a title that isn't installed is dropped";
    EXPECT_TRUE(specialTitles.empty());
    lf_applyRegcodeEntries({{"KLM 738 user", {"PH-BXB", "PH-BXC"}, true}, {"KLM 738 aig", {"PH-BXA"}, false}});
    EXPECT_EQ(titleOf("PH-BXB"), "KLM 738 user");
    EXPECT_TRUE(reported("2 new regcodes added, 1 regcode replaced, 1 regcode defined as special"));
    EXPECT_EQ(specialTitles, (TitleViews{"KLM 738 user"}));
    EXPECT_TRUE(gf_isSpecialTitle("KLM 738 user"));
}

TEST_F(RegcodeSources, TheStepsAroundTheScanFetchReadAndReport)
{
    // The server's document and the user's files.
    const fs::path served = temp / "served";
    fs::create_directories(served);
    const std::string xml = "<?xml version=\"1.0\"?><AIG-regcodes>" + aigLivery("KLM 738 aig", {"PH-BXA"}, "true") +
                            aigLivery("Bad title", {}) + "</AIG-regcodes>";
    ASSERT_TRUE(gf_writeZip(served / "AIG-regcodes.zip", {{"AIG-regcodes.xml", xml}}));
    test::DownloadServer server(served);
    writeFile(myRegcodesFolder / "mine.txt", "Mine not wanted\nKLM 738 user;PH-BXB\nBroken;AB,CD\n");

    lf_readDontUseTitles();
    EXPECT_EQ(dontUseTitles, (std::vector<std::string>{"Bad title", "Mine not wanted"}));
    EXPECT_TRUE(log.contains("1 don't use title read"));
    EXPECT_TRUE(log.contains("1 don't use title read from files in input/my_regcodes"));
    EXPECT_FALSE(fs::exists(inputFolder / "AIG-regcodes.xml")) << "deleted after use";
    EXPECT_TRUE(fs::exists(inputFolder / "AIG-regcodes0.xml")) << "an older copy stays";

    test::gf_buildMatchingTables({{"KLM", "B738", "KLM 738 aig", ""}, {"KLM", "B738", "KLM 738 user", ""}});
    lf_processRegcodeFiles();
    EXPECT_EQ(titleOf("PH-BXA"), "KLM 738 aig");
    EXPECT_EQ(titleOf("PH-BXB"), "KLM 738 user");
    EXPECT_EQ(specialTitles.size(), 2U);
    const auto lines = test::fileLines(infoFolder / "OfflineRegcodes.txt");
    ASSERT_GE(lines.size(), 4U);
    EXPECT_EQ(lines[0], "Processing file input/AIG-regcodes.xml");
    EXPECT_EQ(lines[1], "1 new regcode added, 1 regcode defined as special");
    EXPECT_EQ(lines[2], "Processing files in input/my_regcodes");
    EXPECT_TRUE(log.contains("Offline regcode files processed, results can be found in \"output/info/OfflineRegcodes.txt\""));
    EXPECT_TRUE(log.contains("2 special liveries"));
    EXPECT_TRUE(log.contains("There were errors in processing the regcode files in folder \"input/my_regcodes\", see the Log.txt"));
}

TEST_F(RegcodeSources, AnUnreachableServerCostsRegistrationsOnly)
{
    DOWNLOAD_URL.value = "http://127.0.0.1:1/downloads/";
    lf_readDontUseTitles();
    EXPECT_TRUE(log.contains("reading input/AIG-regcodes.xml failed?"));
    test::gf_buildMatchingTables({{"KLM", "B738", "KLM 738", "PH-BXA"}});
    lf_processRegcodeFiles();
    EXPECT_TRUE(log.contains("reading AIG-regcodes failed?"));
    EXPECT_EQ(titleOf("PH-BXA"), "KLM 738") << "the in-line registration stands";
    EXPECT_FALSE(fs::exists(infoFolder / "OfflineRegcodes.txt"));
    DOWNLOAD_URL.value = DOWNLOAD_URL.defaultValue;
}

} // namespace
} // namespace orv
