// One aircraft.cfg: encodings, section numbers, the model of the file, the
// walk over its sections, and the IVAO packages.
#include "liveries/cfg_scan.h"
#include "liveries/dbase.h"
#include "tests/liveries/dbase_fixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::LogCapture;
using test::TempDir;

void clearScanState()
{
    for (auto* list : {&invalidAirlines, &invalidModels, &codeFixes, &invalidCfgFiles, &incompleteSections, &emptyCfgFiles})
        list->clear();
    knownTitles.clear();
}

std::string utf16(const std::string& ASCII_OR_LATIN, bool BIG_ENDIAN_ORDER)
{
    std::string out = BIG_ENDIAN_ORDER ? "\xFE\xFF" : "\xFF\xFE";
    for (const unsigned char c : ASCII_OR_LATIN) {
        const char high = 0, low = static_cast<char>(c);
        out += BIG_ENDIAN_ORDER ? high : low;
        out += BIG_ENDIAN_ORDER ? low : high;
    }
    return out;
}

const std::string klmFile = "[General]\nicao_type_designator=B738\n\n[fltsim.0]\ntitle=KLM one\nicao_airline=KLM\n"
                            "[fltsim.1]\ntitle=KLM two\nicao_airline=KLM\natc_id=PH-BXA\n";

class CfgFile : public ::testing::Test {
protected:
    TempDir temp;
    LogCapture log;
    void SetUp() override
    {
        test::loadDbase(test::PlainDbase{});
        clearScanState();
    }
    void TearDown() override
    {
        clearScanState();
        gf_clearDbase();
    }
    std::vector<LiveryData> scan(const std::string& BYTES, const fs::path& WHERE = "pkg/aircraft.cfg")
    {
        test::writeFile(WHERE, BYTES);
        return lf_searchLiveriesinFile(WHERE, 2);
    }
    static std::vector<std::string> titles(const std::vector<LiveryData>& LIVERIES)
    {
        std::vector<std::string> out;
        for (const auto& livery : LIVERIES) out.push_back(livery.title);
        return out;
    }
};

TEST_F(CfgFile, EveryEncodingGivesTheSameLiveries)
{
    const std::vector<std::string> expected{"KLM one", "KLM two"};
    std::string crlf;
    for (const char c : klmFile) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
    const std::pair<const char*, std::string> encodings[] = {
        {"plain", klmFile},           {"crlf", crlf},
        {"utf8 bom", "\xEF\xBB\xBF" + klmFile}, {"utf16 le", utf16(crlf, false)},
        {"utf16 be", utf16(klmFile, true)},
    };
    for (const auto& [name, bytes] : encodings) {
        clearScanState();
        const auto found = scan(bytes);
        EXPECT_EQ(titles(found), expected) << name;
        ASSERT_EQ(found.size(), 2u) << name;
        EXPECT_EQ(found[0].model, "B738");
        EXPECT_EQ(found[0].lfolder, 2u);
        EXPECT_EQ(found[1].regcode, "PH-BXA");
    }
}

TEST_F(CfgFile, NonAsciiTitlesBecomeUtf8)
{
    // "Lufthansa München" in UTF-16: the u-umlaut is one code unit 0x00FC.
    const std::string text = "[General]\nicao_type_designator=A320\n[fltsim.0]\ntitle=Lufthansa M\xFCnchen\nicao_airline=DLH\n";
    const auto found = scan(utf16(text, false));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].title, "Lufthansa M\xC3\xBCnchen");
}

TEST_F(CfgFile, BrokenUtf16IsAnExceptionThatIsLoggedAndPassedOn)
{
    std::string bytes = utf16("[General]\n", false);
    bytes += std::string("\x00\xD8", 2); // an unpaired high surrogate
    EXPECT_ANY_THROW(scan(bytes, "broken/aircraft.cfg"));
    EXPECT_NE(log.text().find("exception in lf_searchLiveriesinFile broken/aircraft.cfg: "), std::string::npos);
}

TEST_F(CfgFile, UnopenableFileGivesNothing)
{
    EXPECT_TRUE(lf_searchLiveriesinFile("missing/aircraft.cfg", 1).empty());
    EXPECT_NE(log.text().find("cannot open file missing/aircraft.cfg for character encoding, err: "), std::string::npos);
    EXPECT_EQ(invalidCfgFiles.size(), 0u);
}

TEST_F(CfgFile, SectionNumbers)
{
    struct Case {
        const char* headers;
        const char* report; ///< nullptr: the file passes
    };
    const Case cases[] = {
        {"[fltsim.0]\n[fltsim.1]\n[fltsim.2]\n", nullptr},
        {"[fltsim.2]\n[fltsim.0]\n[fltsim.1]\n", nullptr},
        {"[fltsim.0]\n[fltsim.2]\n", "non-consecutive [fltsim.x] numbers at .x=2"},
        {"[fltsim.1]\n", "non-consecutive [fltsim.x] numbers at .x=1"},
        {"[fltsim.0]\n[fltsim.0]\n", "non-consecutive [fltsim.x] numbers at .x=0"},
        {"[fltsim.0]\n[fltsim.]\n", "a [fltsim.] section without a number"},
        {"[fltsim.0]\n[fltsim.1] ; second\n", "a [fltsim.] section without a number"},
        {"[fltsim.0]\n//[fltsim.1]\n", nullptr},
    };
    for (const auto& c : cases) {
        invalidCfgFiles.clear();
        test::writeFile("n.cfg", c.headers);
        const auto lines = *gf_readCfgText("n.cfg");
        EXPECT_EQ(lf_checkFltsimNumbers(lines.lines, "n.cfg"), c.report == nullptr) << c.headers;
        const auto reports = invalidCfgFiles.copy();
        if (c.report) {
            EXPECT_EQ(reports, (std::vector<std::string>{std::string("n.cfg contains ") + c.report}));
        } else {
            EXPECT_TRUE(reports.empty()) << c.headers;
        }
    }
}

TEST_F(CfgFile, NumberThatDoesNotParseSkipsTheFileWithALogLine)
{
    EXPECT_TRUE(scan("[General]\nicao_type_designator=B738\n[fltsim.99999999999]\ntitle=X\n").empty());
    EXPECT_TRUE(log.contains("fltsim num [fltsim.99999999999] incorrect"));
    EXPECT_EQ(invalidCfgFiles.size(), 0u);
}

TEST_F(CfgFile, WrongNumbersSkipTheWholeFile)
{
    EXPECT_TRUE(scan("[General]\nicao_type_designator=B738\n[fltsim.0]\ntitle=A\nicao_airline=KLM\n[fltsim.2]\ntitle=B\n").empty());
    EXPECT_TRUE(knownTitles.empty());
}

TEST_F(CfgFile, FileWithoutSectionsIsEmptyAndNothingElse)
{
    EXPECT_TRUE(scan("[General]\nicao_type_designator=B738\n").empty());
    EXPECT_EQ(emptyCfgFiles.copy(), (std::vector<std::string>{"pkg/aircraft.cfg"}));
    clearScanState();
    EXPECT_TRUE(scan("just some text\n").empty());
    EXPECT_EQ(emptyCfgFiles.size(), 1u);
    EXPECT_EQ(invalidCfgFiles.size(), 0u) << "no model is asked for where nothing is to read";
}

TEST_F(CfgFile, ModelComesFromTheFirstDesignatorAnywhere)
{
    const std::pair<const char*, const char*> cases[] = {
        {"[fltsim.0]\nicao_type_designator=A320\ntitle=A\nicao_airline=KLM\n[General]\nicao_type_designator=B738\n", "A320"},
        {"[General]\nicao_type_designator=\"b738-800\"\n[fltsim.0]\ntitle=A\nicao_airline=KLM\n", "B738"},
        {"[General]\nicao_type_designator=\"\"\nicao_type_designator=C172\n[fltsim.0]\ntitle=A\n", "C172"},
        {"[General]\nbase_container = \"..\\Asobo_A320_NEO\"\n[fltsim.0]\ntitle=A\nicao_airline=KLM\n", "A20N"},
        {"[General]\nbase_container=../Asobo_C172sp_classic\n[fltsim.0]\ntitle=A\n", "C172"},
        {"[General]\nbase_container=..\\Unknown\nbase_container=..\\Asobo_E330\n[fltsim.0]\ntitle=A\n", "E300"},
    };
    for (const auto& [text, model] : cases) {
        clearScanState();
        const auto found = scan(text);
        ASSERT_EQ(found.size(), 1u) << text;
        EXPECT_EQ(found[0].model, model) << text;
    }
}

TEST_F(CfgFile, ModelFixesAndUnknownModels)
{
    const auto fixed = scan("[General]\nicao_type_designator=A32N\n[fltsim.0]\ntitle=A\nicao_airline=KLM\n");
    ASSERT_EQ(fixed.size(), 1u);
    EXPECT_EQ(fixed[0].model, "A20N");
    EXPECT_EQ(codeFixes.copy(), (std::vector<std::string>{"Model fix: A32N found in pkg/aircraft.cfg changed into A20N"}));
    EXPECT_TRUE(scan("[General]\nicao_type_designator=QQ77\n[fltsim.0]\ntitle=B\nicao_airline=KLM\n").empty());
    EXPECT_EQ(invalidModels.copy(), (std::vector<std::string>{"QQ77             in pkg/aircraft.cfg"}));
}

TEST_F(CfgFile, MissingModelIsReportedExceptForTwoPackages)
{
    EXPECT_TRUE(scan("[General]\nbase_container=..\\Unknown\n[fltsim.0]\ntitle=A\n").empty());
    EXPECT_EQ(invalidCfgFiles.copy(),
              (std::vector<std::string>{"Line icao_type_designator= is missing in [General] section of pkg/aircraft.cfg"}));
    invalidCfgFiles.clear();
    for (const char* where : {"pmdg-aircraft-737/aircraft.cfg", "fnx-aircraft-320/aircraft.cfg"})
        EXPECT_TRUE(scan("[fltsim.0]\ntitle=A\n", where).empty());
    EXPECT_EQ(invalidCfgFiles.size(), 0u);
}

TEST_F(CfgFile, SectionsEndAtTheNextBracketNearTheLineStart)
{
    const auto found = scan("[General]\nicao_type_designator=B738\n"
                            "[fltsim.0]\ntitle=A\nicao_airline=KLM\n"
                            "[Other]\natc_id=PH-BXA\n"              // outside any section: not read
                            "[fltsim.1]\ntitle=B\nicao_airline=KLM\nui_variation=x [y]\natc_id=PH-BXB\n");
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].regcode, "");
    EXPECT_EQ(found[1].regcode, "PH-BXB") << "a bracket far into the line does not end the section";
}

TEST_F(CfgFile, IvaoPathsWithEitherSeparator)
{
    const std::pair<std::string, const char*> cases[] = {
        {"C:\\MSFS\\Community\\IVAO_MTL\\SimObjects\\Airplanes\\IVAO_B738\\aircraft.cfg", "B738"},
        {"/sim/Community/IVAO_MTL/SimObjects/Airplanes/IVAO_A320wCFM/aircraft.cfg", "A320"},
        {"/sim/Community/ivao_x-csl/simobjects/airplanes/ivao_b744/AIRCRAFT.CFG", "B744"},
        {"/sim/Community/IVAO_MTL/SimObjects/Airplanes/IVAO_A32N/aircraft.cfg", "A20N"},
    };
    for (const auto& [where, model] : cases) EXPECT_EQ(lf_ivaoModelFromPath(where), model) << where;
    for (const std::string where : {"/IVAO_MTL/SimObjects/Airplanes/IVAO_B738/aircraft.cfg",
                                    "/sim/IVAO_MTL/SimObjects/Airplanes/B738/aircraft.cfg",
                                    "/sim/IVAO_MTL/SimObjects/Airplanes/IVAO_B7-8/aircraft.cfg",
                                    "/sim/IVAO_MTL/SimObjects/Airplanes/IVAO_B738/model/aircraft.cfg"}) {
        invalidModels.clear();
        EXPECT_EQ(lf_ivaoModelFromPath(where), "") << where;
        EXPECT_EQ(invalidModels.copy(), (std::vector<std::string>{"                 in " + where}));
    }
}

class IvaoFile : public CfgFile {
protected:
    std::vector<LiveryData> ivao(const std::string& PACKAGE, const std::string& TEXT, const std::vector<std::string>& TEXTURES,
                                 const std::string& ROOT = "sim")
    {
        const fs::path folder = fs::path(ROOT) / "IVAO_MTL/SimObjects/Airplanes" / PACKAGE;
        for (const auto& texture : TEXTURES) fs::create_directories(folder / ("texture." + texture));
        test::writeFile(folder / "aircraft.cfg", TEXT);
        return lf_searchLiveriesinIvaoFile(folder / "aircraft.cfg", 4);
    }
    std::string lastIncomplete() const
    {
        const auto lines = incompleteSections.copy();
        return lines.empty() ? std::string() : lines.back();
    }
};

TEST_F(IvaoFile, AirlineComesFromTheTitle)
{
    const auto found = ivao("IVAO_B738", "[fltsim.0]\ntitle=\" B738 KLM Royal Dutch \"\ntexture=KLM\natc_id=PH-BXA\n"
                                         "[fltsim.1]\ntitle=B738DLH\ntexture=DLH\n", {"KLM", "DLH"});
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0], (LiveryData{"KLM", "B738", "B738 KLM Royal Dutch", "PH-BXA", 4, false}));
    EXPECT_EQ(found[1].airline, "DLH");
    EXPECT_TRUE(log.contains("removed spaces around title \" B738 KLM Royal Dutch \" --> \"B738 KLM Royal Dutch\""));
}

TEST_F(IvaoFile, WingletPackagesHaveAWBehindTheModel)
{
    const auto found = ivao("IVAO_B738WLfa", "[fltsim.0]\ntitle=B738W KLM\ntexture=K\n", {"K"});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].airline, "KLM");
}

TEST_F(IvaoFile, RegistrationDecidesWhenTheTitleHasNoAirline)
{
    const auto found = ivao("IVAO_B738", "[fltsim.0]\ntitle=Boeing KLM\ntexture=K\natc_id=PH-BXA\n"
                                         "[fltsim.1]\ntitle=Boeing unknown\ntexture=K\natc_id=XX-ABC\n"
                                         "[fltsim.2]\ntitle=Boeing none\ntexture=K\n"
                                         "[fltsim.3]\ntitle=Boeing placeholder\ntexture=K\natc_id=G-BAFM\n",
                            {"K"});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].airline, "KLM");
    const auto lines = incompleteSections.copy();
    const std::string folder = "sim/IVAO_MTL/SimObjects/Airplanes/IVAO_B738";
    EXPECT_EQ(lines, (std::vector<std::string>{
                         folder + " [fltsim.1] misses airlinecode in title: Boeing unknown, and regcode unknownXX-ABC",
                         folder + " [fltsim.2] misses airlinecode in title: Boeing none, and no regcode",
                         folder + " [fltsim.3] misses airlinecode in title: Boeing placeholder, and no regcode"}));
}

TEST_F(IvaoFile, TextureFolderMustExist)
{
    EXPECT_TRUE(ivao("IVAO_B738", "[fltsim.0]\ntitle=B738 KLM\ntexture=Gone\n", {}).empty());
    EXPECT_EQ(lastIncomplete(), "sim/IVAO_MTL/SimObjects/Airplanes/IVAO_B738 [fltsim.0] does not exist");
}

TEST_F(IvaoFile, UnknownAirlineInTheTitleIsReported)
{
    EXPECT_TRUE(ivao("IVAO_B738", "[fltsim.0]\ntitle=B738 XYZ\ntexture=K\n", {"K"}).empty());
    EXPECT_EQ(invalidAirlines.copy(),
              (std::vector<std::string>{"XYZ          in sim/IVAO_MTL/SimObjects/Airplanes/IVAO_B738 [fltsim.0]"}));
}

TEST_F(IvaoFile, AnyBracketEndsASectionAndCargoIsNeverSet)
{
    const auto found = ivao("IVAO_B738", "[fltsim.0]\ntitle=B738 KLM\ntexture=K\natc_parking_types=CARGO\nx=[y]\natc_id=PH-BXA\n", {"K"});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_FALSE(found[0].cargo);
    EXPECT_EQ(found[0].regcode, "");
}

TEST_F(IvaoFile, DoubledTitleAndParking)
{
    EXPECT_TRUE(ivao("IVAO_B738", "[fltsim.0]\ntitle=B738 KLM\ntexture=K\natc_parking_types=GATE\natc_parking_types=GATE\n", {"K"}).empty());
    EXPECT_EQ(lastIncomplete(), "sim/IVAO_MTL/SimObjects/Airplanes/IVAO_B738 [fltsim.0] has more than one atc_parking_types key");
    ivao("IVAO_B738", "[fltsim.0]\ntitle=B738 KLM\ntexture=K\n", {"K"});
    EXPECT_TRUE(ivao("IVAO_B738", "[fltsim.0]\ntitle=B738 KLM\ntexture=K\n", {"K"}, "other").empty());
    EXPECT_EQ(lastIncomplete(), "other/IVAO_MTL/SimObjects/Airplanes/IVAO_B738 [fltsim.0] title already exists: B738 KLM");
}

TEST_F(IvaoFile, PackageThatDoesNotMatchGivesNothing)
{
    test::writeFile("sim/IVAO_MTL/elsewhere/aircraft.cfg", "[fltsim.0]\ntitle=B738 KLM\n");
    EXPECT_TRUE(lf_searchLiveriesinIvaoFile("sim/IVAO_MTL/elsewhere/aircraft.cfg", 1).empty());
    EXPECT_EQ(invalidModels.size(), 1u);
    EXPECT_TRUE(gf_isIvaoPath("x/ivao_x-csl/y"));
    EXPECT_TRUE(gf_isIvaoPath("x/IVAO_MTL/y"));
    EXPECT_FALSE(gf_isIvaoPath("x/ivao_mtl/y")) << "exact case";
}

} // namespace
} // namespace orv
