// One aircraft.cfg: encodings, section numbers, the model of the file, the
// walk over its sections, and the IVAO packages; tables of files and what
// each gives.
#include "liveries/cfg_scan.h"
#include "tests/liveries/dbase_fixture.h"

#include "liveries/scan_driver.h"

namespace orv {
namespace {

namespace fs = std::filesystem;

std::string utf16(const std::string& ASCII_OR_LATIN, bool BIG_ENDIAN_ORDER)
{
    std::string out = BIG_ENDIAN_ORDER ? "\xFE\xFF" : "\xFF\xFE";
    for (const char c : ASCII_OR_LATIN) out += BIG_ENDIAN_ORDER ? std::string{'\0', c} : std::string{c, '\0'};
    return out;
}

std::string crlf(const std::string& TEXT)
{
    std::string out;
    for (const char c : TEXT) out += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return out;
}

const std::string klmFile = "[General]\nicao_type_designator=B738\n\n[fltsim.0]\ntitle=KLM one\nicao_airline=KLM\n"
                            "[fltsim.1]\ntitle=KLM two\nicao_airline=KLM\natc_id=PH-BXA\n";
const std::string klmLiveries = "KLM/B738/KLM one/\nKLM/B738/KLM two/PH-BXA";
const std::string b738 = "[General]\nicao_type_designator=B738\n";

struct FileCase {
    std::string bytes;
    std::string outcome; ///< gf_outcome of the file
    std::string where = "pkg/aircraft.cfg";
    std::string logged = ""; ///< a line the log must hold
};

const FileCase fileCases[] = {
    {klmFile, klmLiveries},
    {crlf(klmFile), klmLiveries},
    {"\xEF\xBB\xBF" + klmFile, klmLiveries},
    {utf16(crlf(klmFile), false), klmLiveries},
    {utf16(klmFile, true), klmLiveries},
    // "München" in UTF-16: the u-umlaut is one code unit 0x00FC.
    {utf16("[General]\nicao_type_designator=A320\n[fltsim.0]\ntitle=Lufthansa M\xFCnchen\nicao_airline=DLH\n", false),
     "DLH/A320/Lufthansa M\xC3\xBCnchen/"},
    // Section numbers: a number that does not parse, a gap; no sections at all.
    {b738 + "[fltsim.99999999999]\ntitle=X\n", "", "pkg/aircraft.cfg", "fltsim num [fltsim.99999999999] incorrect"},
    {b738 + "[fltsim.0]\ntitle=A\nicao_airline=KLM\n[fltsim.2]\ntitle=B\n",
     "cfg: pkg/aircraft.cfg contains non-consecutive [fltsim.x] numbers at .x=2"},
    {b738, "empty: pkg/aircraft.cfg"},
    {"just some text\n", "empty: pkg/aircraft.cfg"}, // and no model asked for
    // The model: the first designator anywhere, then base_container; fixes; unknown models.
    {"[fltsim.0]\nicao_type_designator=A320\ntitle=A\nicao_airline=KLM\n[General]\nicao_type_designator=B738\n",
     "KLM/A320/A/"},
    {"[General]\nicao_type_designator=\"b738-800\"\n[fltsim.0]\ntitle=A\nicao_airline=KLM\n", "KLM/B738/A/"},
    {"[General]\nicao_type_designator=\"\"\nicao_type_designator=C172\n[fltsim.0]\ntitle=A\n", "PVT/C172/A/"},
    {"[General]\nbase_container = \"..\\Asobo_A320_NEO\"\n[fltsim.0]\ntitle=A\nicao_airline=KLM\n", "KLM/A20N/A/"},
    {"[General]\nbase_container=../Asobo_C172sp_classic\n[fltsim.0]\ntitle=A\n", "PVT/C172/A/"},
    {"[General]\nbase_container=..\\Unknown\nbase_container=..\\Asobo_E330\n[fltsim.0]\ntitle=A\n", "PVT/E300/A/"},
    {"[General]\nicao_type_designator=A32N\n[fltsim.0]\ntitle=A\nicao_airline=KLM\n",
     "KLM/A20N/A/\nfix: Model fix: A32N found in pkg/aircraft.cfg changed into A20N"},
    {"[General]\nicao_type_designator=QQ77\n[fltsim.0]\ntitle=B\nicao_airline=KLM\n",
     "model: QQ77             in pkg/aircraft.cfg"},
    {"[General]\nbase_container=..\\Unknown\n[fltsim.0]\ntitle=A\n",
     "cfg: Line icao_type_designator= is missing in [General] section of pkg/aircraft.cfg"},
    {"[fltsim.0]\ntitle=A\n", "", "pmdg-aircraft-737/aircraft.cfg"}, // these two packages are not reported
    {"[fltsim.0]\ntitle=A\n", "", "fnx-aircraft-320/aircraft.cfg"},
    // A section ends at the next bracket near a line's start; what follows outside any section is not read.
    {b738 + "[fltsim.0]\ntitle=A\nicao_airline=KLM\n[Other]\natc_id=PH-BXA\n"
            "[fltsim.1]\ntitle=B\nicao_airline=KLM\nui_variation=x [y]\natc_id=PH-BXB\n",
     "KLM/B738/A/\nKLM/B738/B/PH-BXB"},
};

using CfgFile = test::LiveriesTest;

TEST_F(CfgFile, GivesItsLiveriesOrItsReports)
{
    for (const auto& c : fileCases) {
        lf_clearScanLists();
        test::writeFile(c.where, c.bytes);
        const auto found = lf_searchLiveriesinFile(c.where, 2);
        EXPECT_EQ(test::gf_outcome(found), c.outcome) << c.bytes;
        for (const auto& livery : found) EXPECT_EQ(livery.lfolder, 2u);
        EXPECT_TRUE(c.logged.empty() || log.contains(c.logged)) << c.logged;
    }
}

TEST_F(CfgFile, UnreadableFiles)
{
    test::writeFile("broken/aircraft.cfg", utf16("[General]\n", false) + std::string("\x00\xD8", 2)); // a lone surrogate
    EXPECT_ANY_THROW(lf_searchLiveriesinFile("broken/aircraft.cfg", 1));
    EXPECT_NE(log.text().find("exception in lf_searchLiveriesinFile broken/aircraft.cfg: "), std::string::npos);
    EXPECT_TRUE(lf_searchLiveriesinFile("missing/aircraft.cfg", 1).empty());
    EXPECT_NE(log.text().find("cannot open file missing/aircraft.cfg for character encoding, err: "), std::string::npos);
    EXPECT_EQ(test::gf_outcome(), "");
}

TEST_F(CfgFile, SectionNumbers)
{
    const std::pair<const char*, const char*> cases[] = {
        {"[fltsim.0]\n[fltsim.1]\n[fltsim.2]\n", ""},
        {"[fltsim.2]\n[fltsim.0]\n[fltsim.1]\n", ""},
        {"[fltsim.0]\n//[fltsim.1]\n", ""},
        {"[fltsim.0]\n[fltsim.2]\n", "non-consecutive [fltsim.x] numbers at .x=2"},
        {"[fltsim.1]\n", "non-consecutive [fltsim.x] numbers at .x=1"},
        {"[fltsim.0]\n[fltsim.0]\n", "non-consecutive [fltsim.x] numbers at .x=0"},
        {"[fltsim.0]\n[fltsim.]\n", "a [fltsim.] section without a number"},
        {"[fltsim.0]\n[fltsim.1] ; second\n", "a [fltsim.] section without a number"},
    };
    for (const auto& [headers, report] : cases) {
        invalidCfgFiles.clear();
        EXPECT_EQ(lf_checkFltsimNumbers(gf_splitLines(headers), "n.cfg"), *report == 0) << headers;
        EXPECT_EQ(test::gf_outcome(), *report ? std::string("cfg: n.cfg contains ") + report : "") << headers;
    }
}

struct IvaoCase {
    std::string package;
    std::string text;
    std::string outcome; ///< gf_outcome; "F" stands for the package's folder
    std::string logged = "";
};

const IvaoCase ivaoCases[] = {
    // The airline comes from the title, behind the model (and a W in the winglet packages).
    {"IVAO_B738", "[fltsim.0]\ntitle=\" B738 KLM Royal Dutch \"\ntexture=K\natc_id=PH-BXA\n[fltsim.1]\ntitle=B738DLH\ntexture=K\n",
     "KLM/B738/B738 KLM Royal Dutch/PH-BXA\nDLH/B738/B738DLH/",
     "removed spaces around title \" B738 KLM Royal Dutch \" --> \"B738 KLM Royal Dutch\""},
    {"IVAO_B738WLfa", "[fltsim.0]\ntitle=B738W KLM\ntexture=K\n", "KLM/B738/B738W KLM/"},
    // Without an airline in the title the registration decides.
    {"IVAO_B738",
     "[fltsim.0]\ntitle=Boeing KLM\ntexture=K\natc_id=PH-BXA\n[fltsim.1]\ntitle=Boeing unknown\ntexture=K\natc_id=XX-ABC\n"
     "[fltsim.2]\ntitle=Boeing none\ntexture=K\n[fltsim.3]\ntitle=Boeing placeholder\ntexture=K\natc_id=G-BAFM\n",
     "KLM/B738/Boeing KLM/PH-BXA\n"
     "section: F [fltsim.1] misses airlinecode in title: Boeing unknown, and regcode unknownXX-ABC\n"
     "section: F [fltsim.2] misses airlinecode in title: Boeing none, and no regcode\n"
     "section: F [fltsim.3] misses airlinecode in title: Boeing placeholder, and no regcode"},
    {"IVAO_B738", "[fltsim.0]\ntitle=B738 KLM\ntexture=Gone\n", "section: F [fltsim.0] does not exist"},
    {"IVAO_B738", "[fltsim.0]\ntitle=B738 XYZ\ntexture=K\n", "airline: XYZ          in F [fltsim.0]"},
    // Any bracket ends a section, and cargo is never set.
    {"IVAO_B738", "[fltsim.0]\ntitle=B738 KLM\ntexture=K\natc_parking_types=CARGO\nx=[y]\natc_id=PH-BXA\n", "KLM/B738/B738 KLM/"},
    {"IVAO_B738", "[fltsim.0]\ntitle=B738 KLM\ntexture=K\natc_parking_types=GATE\natc_parking_types=GATE\n",
     "section: F [fltsim.0] has more than one atc_parking_types key"},
    {"IVAO_B738", "[fltsim.0]\ntitle=B738 KLM\ntexture=K\n[fltsim.1]\ntitle=B738 KLM\ntexture=K\n",
     "KLM/B738/B738 KLM/\nsection: F [fltsim.1] title already exists: B738 KLM"},
};

TEST_F(CfgFile, IvaoPackagesGiveTheirLiveriesOrTheirReports)
{
    for (const auto& c : ivaoCases) {
        lf_clearScanLists();
        const fs::path folder = fs::path("sim/IVAO_MTL/SimObjects/Airplanes") / c.package;
        fs::create_directories(folder / "texture.K");
        test::writeFile(folder / "aircraft.cfg", c.text);
        auto outcome = c.outcome;
        for (auto at = outcome.find(" F "); at != std::string::npos; at = outcome.find(" F ", at))
            outcome.replace(at + 1, 1, folder.string());
        EXPECT_EQ(test::gf_outcome(lf_searchLiveriesinIvaoFile(folder / "aircraft.cfg", 4)), outcome) << c.text;
        EXPECT_TRUE(c.logged.empty() || log.contains(c.logged)) << c.logged;
    }
}

TEST_F(CfgFile, IvaoPaths)
{
    const std::pair<std::string, const char*> cases[] = {
        {"C:\\MSFS\\Community\\IVAO_MTL\\SimObjects\\Airplanes\\IVAO_B738\\aircraft.cfg", "B738"},
        {"/sim/Community/IVAO_MTL/SimObjects/Airplanes/IVAO_A320wCFM/aircraft.cfg", "A320"},
        {"/sim/Community/ivao_x-csl/simobjects/airplanes/ivao_b744/AIRCRAFT.CFG", "B744"},
        {"/sim/Community/IVAO_MTL/SimObjects/Airplanes/IVAO_A32N/aircraft.cfg", "A20N"},
        {"/IVAO_MTL/SimObjects/Airplanes/IVAO_B738/aircraft.cfg", ""},
        {"/sim/IVAO_MTL/SimObjects/Airplanes/B738/aircraft.cfg", ""},
        {"/sim/IVAO_MTL/SimObjects/Airplanes/IVAO_B7-8/aircraft.cfg", ""},
        {"/sim/IVAO_MTL/SimObjects/Airplanes/IVAO_B738/model/aircraft.cfg", ""},
    };
    for (const auto& [where, model] : cases) {
        invalidModels.clear();
        EXPECT_EQ(lf_ivaoModelFromPath(where), model) << where;
        const auto reported = *model ? std::vector<std::string>{} : std::vector<std::string>{"                 in " + where};
        EXPECT_EQ(invalidModels.copy(), reported) << where;
    }
    lf_clearScanLists();
    test::writeFile("sim/IVAO_MTL/elsewhere/aircraft.cfg", "[fltsim.0]\ntitle=B738 KLM\n");
    EXPECT_TRUE(lf_searchLiveriesinIvaoFile("sim/IVAO_MTL/elsewhere/aircraft.cfg", 1).empty());
    EXPECT_EQ(invalidModels.size(), 1u);
    EXPECT_TRUE(gf_isIvaoPath("x/ivao_x-csl/y"));
    EXPECT_TRUE(gf_isIvaoPath("x/IVAO_MTL/y"));
    EXPECT_FALSE(gf_isIvaoPath("x/ivao_mtl/y")) << "exact case";
}

} // namespace
} // namespace orv
