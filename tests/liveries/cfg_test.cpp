// One aircraft.cfg: the rules of a [fltsim.N] section, encodings, section
// numbers, the model of the file, the walk over its sections, and the IVAO
// packages; tables of texts and the liveries or reports each one gives.
#include "liveries/cfg_scan.h"
#include "tests/liveries/dbase_fixture.h"

#include "core/parameters.h"
#include "liveries/scan_driver.h"

namespace orv {
namespace {

namespace fs = std::filesystem;

struct SectionCase {
    std::string text;    ///< "[fltsim.0]\n" goes in front unless it starts with its own header
    std::string outcome; ///< gf_outcome of the section
    std::string model = "B738";
    std::string logged = ""; ///< a line the log must hold
};

// Titles are unique over the table: the catalogue's titles stay from row to row.
const SectionCase sectionCases[] = {
    {"title=KLM 737\nicao_airline=KLM\natc_id=PH-BXA\natc_parking_types=GATE\n", "KLM/B738/KLM 737/PH-BXA"},
    {"[FLTSIM.0]\n  TITLE =  Blanks  \n\tIcao_Airline\t= klm\nATC_ID = PH-BXA\n", "KLM/B738/Blanks/PH-BXA"},
    // The airline: four letters are cut, quotes and blanks go, ZZZ for none.
    {"title=A0\nicao_airline=KLMX\n", "KLM/C172/A0/", "C172"}, {"title=A1\nicao_airline=KLMC\n", "KLM/C172/A1/", "C172"},
    {"title=A2\nicao_airline=\"K L M\"\n", "KLM/C172/A2/", "C172"},
    {"title=A3\nicao_airline=dlh\n", "DLH/C172/A3/", "C172"}, {"title=A4\nicao_airline=\"ZZZZ\"\n", "ZZZ/C172/A4/", "C172"},
    {"title=A5\nicao_airline=ZZZZ\n", "ZZZ/C172/A5/", "C172"}, {"title=A6\nicao_airline=\"\"\n", "ZZZ/C172/A6/", "C172"},
    {"title=A7\nicao_airline=\"KLM\" ; operator\n", "KLM/C172/A7/", "C172"},
    // Without airline the registration is dropped.
    {"title=N0\nicao_airline=ZZZZ\natc_id=PH-BXA\n", "ZZZ/B738/N0/"},
    {"title=N1\nicao_airline=\"\"\natc_id=PH-BXA\n", "ZZZ/B738/N1/"},
    // An unknown airline is reported and the registration decides.
    {"[fltsim.4]\ntitle=Old KLM\nicao_airline=XYZ\natc_id=PH-BXA\n", "KLM/B738/Old KLM/PH-BXA\nairline: XYZ          in pkg [fltsim.4]"},
    {"title=Ferry\nicao_airline=RFO\n", ""},
    // Registrations.
    {"title=R0\nicao_airline=KLM\natc_id=PH-BXA;comment\n", "KLM/B738/R0/PH-BXA"},
    {"title=R1\nicao_airline=KLM\natc_id=\"PH-BXA\"\n", "KLM/B738/R1/PH-BXA"},
    {"title=R2\nicao_airline=KLM\natc_id=PH - BXA\n", "KLM/B738/R2/PH-BXA"},
    {"title=R3\nicao_airline=KLM\natc_id=PH-BXA,PH-BXB\n", "KLM/B738/R3/"},
    {"title=R4\nicao_airline=KLM\natc_id=ABC\n", "KLM/B738/R4/"},
    {"title=R5\nicao_airline=KLM\natc_id=PH-BXA,,X\n", "KLM/B738/R5/", "B738", "empty regcode in R5 PH-BXA,,X"},
    {"title=R6\nicao_airline=KLM\natc_id=\"AB, ,CD\"\n", "KLM/B738/R6/", "B738", "regcode is a space char? R6 AB, ,CD"},
    {"title=R7\nicao_airline=KLM\natc_id=ABCDEFGHIJKLMN\n", "KLM/B738/R7/", "B738",
     "regcode: ABCDEFGHIJKLMN, has more than 12 chars or contains UTF16 chars in \"R7\"?"},
    {"title=R8\nicao_airline=KLM\natc_id=PH-B*A\n", "KLM/B738/R8/", "B738",
     "R8 PH-B*A wild cards no longer supported, atc_id skipped "},
    {"title=R9\nicao_airline=KLM\natc_id=;ABCDE\n", "KLM/B738/R9/", "B738", "invalid atc_id=;ABCDE ==> in: R9"},
    // Parking types decide cargo.
    {"title=P0\nicao_airline=KLM\natc_parking_types=CARGO\n", "KLM/B738/P0//cargo"},
    {"title=P1\nicao_airline=KLM\natc_parking_types=cargo\n", "KLM/B738/P1//cargo"},
    {"title=P2\nicao_airline=KLM\natc_parking_types=\"RAMP, CARGO\"\n", "KLM/B738/P2//cargo"},
    {"title=P3\nicao_airline=KLM\natc_parking_types=GATE,CARGO\n", "KLM/B738/P3/"},
    {"title=P4\nicao_airline=KLM\natc_parking_types=\"\"\n", "KLM/B738/P4/"},
    // Doubled keys drop the section; a key after a faulty first one is taken again.
    {"title=D0\ntitle=D0b\n", "section: pkg [fltsim.0] has more than one title key"},
    {"title=D1\nicao_airline=KLM\nicao_airline=DLH\n", "section: pkg [fltsim.0] has more than one icao_airline"},
    {"title=D2\nicao_airline=KLM\natc_parking_types=GATE\natc_parking_types=CARGO\n",
     "section: pkg [fltsim.0] has more than one atc_parking_types key"},
    {"title=D3\nicao_airline=KLM\natc_id=PH-BXA\natc_id=PH-BXB\n", "section: pkg, [fltsim.0], has more than one atc_id key"},
    {"title=F0\nicao_airline=XYZ\nicao_airline=KLM\natc_id=PH-BXA,PH-BXB\natc_id=PH-BXC\n",
     "KLM/B738/F0/PH-BXC\nairline: XYZ          in pkg [fltsim.0]"},
    // Titles: missing, a lone quote empties the value, quotes end the value.
    {"[fltsim.7]\nicao_airline=KLM\n", "section: pkg [fltsim.7] misses title"},
    {"[fltsim.7]\ntitle=\"unclosed\nicao_airline=KLM\n", "section: pkg [fltsim.7] misses title"},
    {"title=\"  Quoted KLM \" ; a remark\nicao_airline=KLM\n", "KLM/B738/Quoted KLM/"},
    {"title=Plain KLM ; a remark\nicao_airline=KLM\n", "KLM/B738/Plain KLM ; a remark/"},
    {"title=Same\nicao_airline=KLM\n", "KLM/B738/Same/"},
    {"[fltsim.1]\ntitle=Same\nicao_airline=DLH\n", "section: pkg [fltsim.1] title \"Same\" already exists"},
    // Titles left out silently: other makers' aircraft, stubs, the don't-use list.
    {"title=FenixA320 KLM\nicao_airline=KLM\n", ""}, {"title=PMDG 737-800 KLM\nicao_airline=KLM\n", ""},
    {"title=KLM-STUB\nicao_airline=KLM\n", ""}, {"title=Unwanted KLM\nicao_airline=KLM\n", ""},
    // Without airline: light aircraft are private, airliners need the registration's record.
    {"title=Cessna N12 blue\n", "PVT/C172/Cessna N12 blue/N12", "C172"},
    {"title=Cessna white\n", "PVT/C172/Cessna white/", "C172"},
    {"[fltsim.2]\ntitle=White 737\n", "section: \"pkg\" \"[fltsim.2]\" has no airline and no regcode info"},
    {"[fltsim.2]\ntitle=White 747\n", "section: \"pkg\" \"[fltsim.2]\" has no airline and no regcode info", "B744"},
    {"title=G0\natc_id=PHBXA\n", "KLM/B738/G0/PHBXA"}, {"title=G1\natc_id=PH-HZA\n", "TRA/B738/G1/PH-HZA"},
    {"title=G2\natc_id=D-EXYZ\n", "PVT/C172/G2/D-EXYZ", "C172"},
    {"[fltsim.3]\ntitle=G3\natc_id=D-EXYZ\n",
     "section: \"pkg\" \"[fltsim.3]\" has no airline and its regcode is not in my dbase (very old liv?)"},
    {"title=G4\natc_id=XX-NOA\n", "PVT/C172/G4/XX-NOA", "C172"},
    {"[fltsim.1]\ntitle=G5\natc_id=XX-NOA\n",
     "section: \"pkg\" \"[fltsim.1]\" has no airline and its regcode is not in my dbase (very old liv?)"},
    // Trailing comments are no keys, until a short line stops the dropping.
    {"title=C0\nicao_airline=KLM\natc_id=PH-BXA\n\n//atc_id=PH-BXB\n// title=B\n", "KLM/B738/C0/PH-BXA"},
    {"[fltsim.1]\ntitle=C1\nicao_airline=KLM\natc_id=PH-BXA\n//atc_id=PH-BXB\n;\n",
     "section: pkg, [fltsim.1], has more than one atc_id key"},
};

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
    // A section number that does not parse (gaps: see SectionNumbers and the scan's own tests); no sections at all.
    {b738 + "[fltsim.99999999999]\ntitle=X\n", "", "pkg/aircraft.cfg", "fltsim num [fltsim.99999999999] incorrect"},
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

TEST_F(CfgFile, SectionsGiveTheirLiveryOrTheirReport)
{
    SUPPRESS_STUB.value = true;
    dontUseTitles = {"Unwanted KLM"};
    gf_indexDontUseTitles();
    const auto outcome = [](std::string TEXT, const std::string& MODEL) {
        if (!TEXT.starts_with("[")) TEXT = "[fltsim.0]\n" + TEXT;
        test::gf_clearSideLists();
        const auto found = lf_procesFltSimSection(3, gf_splitLines(TEXT), MODEL, "pkg/aircraft.cfg", "pkg");
        for (const auto& livery : found) EXPECT_TRUE(livery.lfolder == 3 && knownTitles.contains(livery.title));
        return test::gf_outcome(found);
    };
    for (const auto& c : sectionCases) {
        EXPECT_EQ(outcome(c.text, c.model), c.outcome) << c.text;
        EXPECT_TRUE(c.logged.empty() || log.contains(c.logged)) << c.logged;
    }
    SUPPRESS_STUB.value = false;
    EXPECT_EQ(outcome("title=KLM-STUB\nicao_airline=KLM\n", "B738"), "KLM/B738/KLM-STUB/");
    SUPPRESS_STUB.value = SUPPRESS_STUB.defaultValue;
}

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
        {"[fltsim.0]\n[fltsim.1]\n[fltsim.2]\n", ""}, {"[fltsim.2]\n[fltsim.0]\n[fltsim.1]\n", ""},
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
