// Registration codes: the user's line forms and their length rules, the
// maker's XML with scrambled registrations, the three sources in their order
// of precedence, and the reports.
#include "liveries/catalogue.h"
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
#include <fmt/ranges.h>

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::writeFile;

/// The entries as "title:reg,reg" lines, "#" behind a special one.
std::string entriesText(const std::vector<RegcodeEntry>& ENTRIES)
{
    std::vector<std::string> lines;
    for (const auto& e : ENTRIES) lines.push_back(fmt::format("{}:{}{}", e.title, fmt::join(e.regcodes, ","), e.special ? "#" : ""));
    return fmt::format("{}", fmt::join(lines, "\n"));
}

TEST(RegcodeLines, GiveTheirEntryAndTheirFaults)
{
    test::TempDir temp;
    test::LogCapture log;
    struct Case {
        const char* line;
        bool good;
        const char* entry; ///< as entriesText gives it
        const char* logged = "";
    };
    const Case cases[] = {
        {"", true, ""}, {"  \t ", true, ""}, {"Title A", true, "Title A:"}, {"Title B;PH-BXA", true, "Title B:PH-BXA#"},
        {"Title C;PH-BXB,PH-BXA", true, "Title C:PH-BXA,PH-BXB"},
        {"Title D;PH-BXA,PH-BXB;#", true, "Title D:PH-BXA,PH-BXB#"},
        {"Title E;PH-BXA,PH-BXB;x", true, "Title E:PH-BXA,PH-BXB"},
        {"Title F;ABCDEFGHIJKLM", false, "", "wrong regcode length \"ABCDEFGHIJKLM\" in f.txt"},
        {"Title G;ABCDEFGHIJKLM,PH-BXA", false, "Title G:PH-BXA", "wrong regcode length \"ABCDEFGHIJKLM\" in f.txt"},
        {"Title H;AB", true, "Title H:AB#"},
        {"Title I;AB,PH-BXA", false, "Title I:PH-BXA", "wrong regcode length \"AB\" in f.txt"}, {"Title J;", true, ""},
        {"Title K;PH-BXA;#;more", false, "", "f.txt: wrong format \"Title K;PH-BXA;#;more\""},
        {"Title L;AB,CD", false, "", "f.txt ; regs empty? "},
        {" Title M \t; PH-BXA , PH-BXA ;# ", true, "Title M:PH-BXA#"}, {"Title N;PH-BXA;x", true, "Title N:PH-BXA#"},
        {"Title O;ABCDEFGHIJKL", true, "Title O:ABCDEFGHIJKL#"},
    };
    for (const auto& c : cases) {
        std::vector<RegcodeEntry> entries;
        EXPECT_EQ(lf_parseRegcodeLine(c.line, "f.txt", entries), c.good) << c.line;
        EXPECT_EQ(entriesText(entries), c.entry) << c.line;
        EXPECT_TRUE(!*c.logged || log.contains(c.logged)) << c.logged;
    }
}

/// An AIG-regcodes.xml element.
std::string aigLivery(const std::string& TITLE, const std::vector<std::string>& REGS, const std::string& SPECIAL = "")
{
    std::vector<std::string> regs;
    for (const auto& reg : REGS) regs.push_back(gf_encryptRegcode(reg));
    std::string text = fmt::format("<livery title=\"{}\"", TITLE);
    if (!REGS.empty()) text += fmt::format(" reg=\"{}\"", fmt::join(regs, ", "));
    if (!SPECIAL.empty()) text += fmt::format(" special=\"{}\"", SPECIAL);
    return text + "/>";
}

TEST(RegcodeFiles, TheMakersFileAndTheUsersFolder)
{
    test::TempDir temp;
    test::LogCapture log;
    writeFile("aig.xml", "<?xml version=\"1.0\"?><AIG-regcodes>" + aigLivery("T1", {"PH-BXB", "PH-BXA", "PH-BXB"}) +
                             aigLivery("T2", {}) + aigLivery("T3", {"D-AIZA"}, "Yes") + aigLivery("T4", {"G-EUYA"}, "0") +
                             aigLivery("", {"F-HEPA"}) + "</AIG-regcodes>");
    std::vector<RegcodeEntry> entries;
    ASSERT_TRUE(lf_readAigRegcodes("aig.xml", entries));
    // Unscrambled, sorted, marked; no reg: a title not to be used; no title: left out.
    EXPECT_EQ(entriesText(entries), "T1:PH-BXA,PH-BXB\nT2:\nT3:D-AIZA#\nT4:G-EUYA");
    log.expectLines({"Reading aig.xml", "4 liveries read"});
    writeFile("broken.xml", "<AIG-regcodes><livery title=");
    EXPECT_FALSE(lf_readAigRegcodes("broken.xml", entries));
    EXPECT_TRUE(log.contains("Failed to load broken.xml"));
    writeFile("other.xml", "<?xml version=\"1.0\"?><other/>");
    entries.clear();
    EXPECT_TRUE(lf_readAigRegcodes("other.xml", entries));
    EXPECT_TRUE(entries.empty());
    EXPECT_TRUE(log.contains("0 liveries read"));
    // Only the text files directly in the folder count, in any case; a byte order mark goes.
    writeFile("my/a.TXT", "\xEF\xBB\xBFTitle A;PH-BXA\r\n");
    writeFile("my/b.txt", "Title B\n\nTitle C;AB,CD\n");
    writeFile("my/c.csv", "Title D;PH-BXD\n");
    writeFile("my/sub/d.txt", "Title E;PH-BXE\n");
    entries.clear();
    EXPECT_FALSE(lf_readRegcodeFolder("my", entries)) << "one faulty line";
    EXPECT_EQ(entriesText(entries), "Title A:PH-BXA#\nTitle B:");
    log.expectLines({"Processing regcodes file \"my/a.TXT\"", "2 liveries read"});
    EXPECT_FALSE(log.contains("c.csv"));
}

class RegcodeSources : public test::LiveriesTest {
protected:
    void SetUp() override
    {
        LiveriesTest::SetUp();
        test::gf_loadMatchingReference();
    }
    void reset() override
    {
        test::gf_clearMatchingState();
        offlineReport.clear();
    }
    static std::string titleOf(const std::string& REG)
    {
        const auto found = regcodeTitles.find(REG);
        return found == regcodeTitles.end() ? std::string() : std::string(found->second);
    }
    static std::string reportLine(std::size_t AT) { return AT < offlineReport.size() ? offlineReport[AT] : ""; }
};

TEST_F(RegcodeSources, LaterSourcesWinAndTheReportSaysSo)
{
    test::gf_buildMatchingTables({{"KLM", "B738", "KLM 738 one", "PH-BXA"}, {"KLM", "B738", "KLM 738 two", "PH-BXA"},
                                  {"KLM", "B738", "KLM 738 aig", ""}, {"KLM", "B738", "KLM 738 user", ""}});
    // Of two in-line registrations the first in the catalogue's order (registration, then title) stands.
    EXPECT_EQ(titleOf("PH-BXA"), "KLM 738 one");
    EXPECT_EQ(test::fileLines(errorsFolder / "InlineRegcodes.txt"),
              (std::vector<std::string>{"PH-BXA \"KLM 738 two\" => already in use by \"KLM 738 one\""}));
    EXPECT_TRUE(log.contains("1 in-line regcode clashes, see \"output/errors/InlineRegcodes.txt\""));
    lf_applyRegcodeEntries({{"KLM 738 aig", {"PH-BXA", "PH-BXB"}, false}, {"Not installed", {"PH-BXZ"}, true}});
    EXPECT_EQ(titleOf("PH-BXA"), "KLM 738 aig");
    EXPECT_EQ(reportLine(0), "   regcode PH-BXA for \"KLM 738 aig\", instead of the same for \"KLM 738 one\"");
    EXPECT_EQ(reportLine(1), "1 new regcode added, 1 regcode replaced");
    EXPECT_TRUE(titleOf("PH-BXZ").empty()) << "a title that isn't installed is dropped";
    EXPECT_TRUE(specialTitles.empty());
    lf_applyRegcodeEntries({{"KLM 738 user", {"PH-BXB", "PH-BXC"}, true}, {"KLM 738 aig", {"PH-BXA"}, false}});
    EXPECT_EQ(titleOf("PH-BXB"), "KLM 738 user");
    EXPECT_EQ(offlineReport.back(), "2 new regcodes added, 1 regcode replaced, 1 regcode defined as special");
    EXPECT_EQ(specialTitles, (TitleViews{"KLM 738 user"}));
    EXPECT_TRUE(gf_isSpecialTitle("KLM 738 user"));
}

TEST_F(RegcodeSources, TheStepsAroundTheScanFetchReadAndReport)
{
    const std::string xml = "<?xml version=\"1.0\"?><AIG-regcodes>" + aigLivery("KLM 738 aig", {"PH-BXA"}, "true") +
                            aigLivery("Bad title", {}) + "</AIG-regcodes>";
    test::DownloadServer server(temp / "served");
    ASSERT_TRUE(gf_writeZip(temp / "served/AIG-regcodes.zip", {{"AIG-regcodes.xml", xml}}));
    writeFile(myRegcodesFolder / "mine.txt", "Mine not wanted\nKLM 738 user;PH-BXB\nBroken;AB,CD\n");
    lf_readDontUseTitles();
    EXPECT_EQ(dontUseTitles, (std::vector<std::string>{"Bad title", "Mine not wanted"}));
    log.expectLines({"1 don't use title read", "1 don't use title read from files in input/my_regcodes"});
    EXPECT_FALSE(fs::exists(inputFolder / "AIG-regcodes.xml")) << "deleted after use";
    EXPECT_TRUE(fs::exists(inputFolder / "AIG-regcodes0.xml")) << "an older copy stays";

    test::gf_buildMatchingTables({{"KLM", "B738", "KLM 738 aig", ""}, {"KLM", "B738", "KLM 738 user", ""}});
    lf_processRegcodeFiles();
    EXPECT_EQ(titleOf("PH-BXA"), "KLM 738 aig");
    EXPECT_EQ(titleOf("PH-BXB"), "KLM 738 user");
    EXPECT_EQ(specialTitles.size(), 2U);
    const auto lines = test::fileLines(infoFolder / "OfflineRegcodes.txt");
    ASSERT_GE(lines.size(), 4U);
    EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 3),
              (std::vector<std::string>{"Processing file input/AIG-regcodes.xml", "1 new regcode added, 1 regcode defined as special",
                                        "Processing files in input/my_regcodes"}));
    log.expectLines(
        {"Offline regcode files processed, results can be found in \"output/info/OfflineRegcodes.txt\"", "2 special liveries",
         "There were errors in processing the regcode files in folder \"input/my_regcodes\", see the Log.txt"});
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
}

} // namespace
} // namespace orv
