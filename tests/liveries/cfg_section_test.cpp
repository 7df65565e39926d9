// The rules of one [fltsim.N] section of an ordinary aircraft.cfg.
#include "liveries/cfg_scan.h"
#include "liveries/dbase.h"
#include "tests/liveries/dbase_fixture.h"

#include "core/parameters.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace orv {
namespace {

using test::LogCapture;
using test::TempDir;

const std::string folder = "/sim/Community/pkg/SimObjects/Airplanes/b738";
const std::string path = folder + "/aircraft.cfg";

void clearScanState()
{
    for (auto* list : {&invalidAirlines, &invalidModels, &codeFixes, &invalidCfgFiles, &incompleteSections, &emptyCfgFiles})
        list->clear();
    knownTitles.clear();
    dontUseTitles.clear();
    dontUseIndex.clear();
}

class Section : public ::testing::Test {
protected:
    TempDir temp;
    LogCapture log;
    void SetUp() override
    {
        test::loadDbase(test::PlainDbase{});
        clearScanState();
        SUPPRESS_STUB.value = true;
    }
    void TearDown() override
    {
        clearScanState();
        gf_clearDbase();
        SUPPRESS_STUB.value = SUPPRESS_STUB.defaultValue;
    }

    /// The section's text, header first, through the reader.
    std::vector<LiveryData> read(const std::string& TEXT, const std::string& MODEL = "B738")
    {
        sectionText = TEXT;
        return lf_procesFltSimSection(3, gf_splitLines(sectionText), MODEL, path, folder);
    }
    /// The one livery, or a failure of the test.
    LiveryData one(const std::string& TEXT, const std::string& MODEL = "B738")
    {
        auto found = read(TEXT, MODEL);
        EXPECT_EQ(found.size(), 1u) << TEXT << "\n" << incompleteSections.copy().size();
        return found.empty() ? LiveryData{} : found.front();
    }
    std::string lastIncomplete() const
    {
        const auto lines = incompleteSections.copy();
        return lines.empty() ? std::string() : lines.back();
    }

    std::string sectionText;
};

TEST_F(Section, AllKeysMakeOneLivery)
{
    const auto livery = one("[fltsim.0]\ntitle=KLM 737\nicao_airline=KLM\natc_id=PH-BXA\natc_parking_types=GATE\n");
    EXPECT_EQ(livery, (LiveryData{"KLM", "B738", "KLM 737", "PH-BXA", 3, false}));
    EXPECT_TRUE(knownTitles.contains("KLM 737"));
}

TEST_F(Section, KeysIgnoreCaseAndBlanks)
{
    const auto livery = one("[FLTSIM.0]\n  TITLE =  KLM 737  \n\tIcao_Airline\t= klm\nATC_ID = PH-BXA\n");
    EXPECT_EQ(livery.title, "KLM 737");
    EXPECT_EQ(livery.airline, "KLM");
    EXPECT_EQ(livery.regcode, "PH-BXA");
}

TEST_F(Section, AirlineValues)
{
    struct Case {
        const char* value;
        const char* airline;
    };
    const Case cases[] = {
        {"KLMX", "KLM"}, {"KLMC", "KLM"}, {"\"K L M\"", "KLM"}, {"dlh", "DLH"}, {"\"ZZZZ\"", "ZZZ"},
        {"ZZZZ", "ZZZ"}, {"\"\"", "ZZZ"}, {"\"KLM\" ; operator", "KLM"},
    };
    int n = 0;
    for (const auto& c : cases) {
        const auto livery = one(fmt::format("[fltsim.0]\ntitle=T{}\nicao_airline={}\n", n++, c.value), "C172");
        EXPECT_EQ(livery.airline, c.airline) << c.value;
    }
    EXPECT_EQ(invalidAirlines.size(), 0u);
}

TEST_F(Section, NoAirlineDropsTheRegistration)
{
    EXPECT_EQ(one("[fltsim.0]\ntitle=A\nicao_airline=ZZZZ\natc_id=PH-BXA\n").regcode, "");
    EXPECT_EQ(one("[fltsim.1]\ntitle=B\nicao_airline=\"\"\natc_id=PH-BXA\n").regcode, "");
}

TEST_F(Section, UnknownAirlineIsReportedAndTheRegistrationDecides)
{
    const auto livery = one("[fltsim.4]\ntitle=Old KLM\nicao_airline=XYZ\natc_id=PH-BXA\n");
    EXPECT_EQ(livery.airline, "KLM");
    EXPECT_EQ(invalidAirlines.copy(), (std::vector<std::string>{"XYZ          in " + folder + " [fltsim.4]"}));
}

TEST_F(Section, RfoGivesNoLiveryAndNoReport)
{
    EXPECT_TRUE(read("[fltsim.0]\ntitle=Ferry\nicao_airline=RFO\n").empty());
    EXPECT_EQ(invalidAirlines.size(), 0u);
    EXPECT_EQ(incompleteSections.size(), 0u);
}

TEST_F(Section, RegistrationValues)
{
    struct Case {
        const char* value;
        const char* regcode;
        const char* logLine; ///< nullptr: no line expected
    };
    const Case cases[] = {
        {"PH-BXA;comment", "PH-BXA", nullptr},
        {"\"PH-BXA\"", "PH-BXA", nullptr},
        {"PH - BXA", "PH-BXA", nullptr},
        {"PH-BXA,PH-BXB", "", nullptr},
        {"ABC", "", nullptr},
        {"PH-BXA,,X", "", "empty regcode in T{} PH-BXA,,X"},
        {"\"AB, ,CD\"", "", "regcode is a space char? T{} AB, ,CD"},
        {"ABCDEFGHIJKLMN", "", "regcode: ABCDEFGHIJKLMN, has more than 12 chars or contains UTF16 chars in \"T{}\"?"},
        {"PH-B*A", "", "T{} PH-B*A wild cards no longer supported, atc_id skipped "},
        {";ABCDE", "", "invalid atc_id=;ABCDE ==> in: T{}"},
    };
    int n = 0;
    for (const auto& c : cases) {
        const auto livery = one(fmt::format("[fltsim.0]\ntitle=T{}\nicao_airline=KLM\natc_id={}\n", n, c.value));
        EXPECT_EQ(livery.regcode, c.regcode) << c.value;
        if (c.logLine) {
            EXPECT_TRUE(log.contains(fmt::format(fmt::runtime(c.logLine), n))) << c.value;
        }
        ++n;
    }
}

TEST_F(Section, ParkingTypesDecideCargo)
{
    const std::pair<const char*, bool> cases[] = {
        {"CARGO", true}, {"cargo", true}, {"\"RAMP, CARGO\"", true}, {"GATE,CARGO", false}, {"GATE", false}, {"\"\"", false},
    };
    int n = 0;
    for (const auto& [value, cargo] : cases) {
        const auto livery = one(fmt::format("[fltsim.0]\ntitle=T{}\nicao_airline=KLM\natc_parking_types={}\n", n++, value));
        EXPECT_EQ(livery.cargo, cargo) << value;
    }
}

TEST_F(Section, DoubledKeysDropTheSection)
{
    const std::pair<const char*, std::string> cases[] = {
        {"title=A\ntitle=B\n", folder + " [fltsim.0] has more than one title key"},
        {"title=A\nicao_airline=KLM\nicao_airline=DLH\n", folder + " [fltsim.0] has more than one icao_airline"},
        {"title=A\nicao_airline=KLM\natc_parking_types=GATE\natc_parking_types=CARGO\n",
         folder + " [fltsim.0] has more than one atc_parking_types key"},
        {"title=A\nicao_airline=KLM\natc_id=PH-BXA\natc_id=PH-BXB\n", folder + ", [fltsim.0], has more than one atc_id key"},
    };
    for (const auto& [keys, failure] : cases) {
        incompleteSections.clear();
        EXPECT_TRUE(read(std::string("[fltsim.0]\n") + keys).empty()) << keys;
        EXPECT_EQ(lastIncomplete(), failure);
    }
}

TEST_F(Section, AKeyAfterAFaultyFirstOneIsTakenAgain)
{
    // A registration or airline left empty by a fault is not known yet.
    const auto livery = one("[fltsim.0]\ntitle=A\nicao_airline=XYZ\nicao_airline=KLM\natc_id=PH-BXA,PH-BXB\natc_id=PH-BXC\n");
    EXPECT_EQ(livery.airline, "KLM");
    EXPECT_EQ(livery.regcode, "PH-BXC");
}

TEST_F(Section, MissingTitle)
{
    EXPECT_TRUE(read("[fltsim.7]\nicao_airline=KLM\n").empty());
    EXPECT_EQ(lastIncomplete(), folder + " [fltsim.7] misses title");
    EXPECT_TRUE(read("[fltsim.7]\ntitle=\"unclosed\nicao_airline=KLM\n").empty()) << "a single quote empties the value";
}

TEST_F(Section, TitleUnquoting)
{
    EXPECT_EQ(one("[fltsim.0]\ntitle=\"  Quoted KLM \" ; a remark\nicao_airline=KLM\n").title, "Quoted KLM");
    EXPECT_EQ(one("[fltsim.1]\ntitle=Plain KLM ; a remark\nicao_airline=KLM\n").title, "Plain KLM ; a remark");
}

TEST_F(Section, SuppressedTitlesAreLeftOutSilently)
{
    for (const char* title : {"FenixA320 KLM", "PMDG 737-800 KLM", "KLM-STUB"})
        EXPECT_TRUE(read(fmt::format("[fltsim.0]\ntitle={}\nicao_airline=KLM\n", title)).empty()) << title;
    EXPECT_EQ(incompleteSections.size(), 0u);
    SUPPRESS_STUB.value = false;
    EXPECT_EQ(one("[fltsim.0]\ntitle=KLM-STUB\nicao_airline=KLM\n").title, "KLM-STUB");
}

TEST_F(Section, DontUseTitlesAreLeftOutSilently)
{
    dontUseTitles = {"Unwanted KLM"};
    gf_indexDontUseTitles();
    EXPECT_TRUE(read("[fltsim.0]\ntitle=Unwanted KLM\nicao_airline=KLM\n").empty());
    EXPECT_EQ(incompleteSections.size(), 0u);
}

TEST_F(Section, LightAircraftWithoutAirlineIsPrivate)
{
    const auto livery = one("[fltsim.0]\ntitle=Cessna N12 blue\n", "C172");
    EXPECT_EQ(livery.airline, "PVT");
    EXPECT_EQ(livery.regcode, "N12") << "the private registration found in the title";
    EXPECT_EQ(one("[fltsim.1]\ntitle=Cessna white\n", "C172").regcode, "");
}

TEST_F(Section, AirlinerWithoutAirlineOrRegistrationFails)
{
    EXPECT_TRUE(read("[fltsim.2]\ntitle=White 737\n", "B738").empty());
    EXPECT_EQ(lastIncomplete(), "\"" + folder + "\" \"[fltsim.2]\" has no airline and no regcode info");
    EXPECT_TRUE(read("[fltsim.2]\ntitle=White 747\n", "B744").empty());
}

TEST_F(Section, RegistrationGivesTheAirline)
{
    EXPECT_EQ(one("[fltsim.0]\ntitle=A\natc_id=PHBXA\n").airline, "KLM") << "looked up through its variants";
    // The operator flies the airframe.
    EXPECT_EQ(one("[fltsim.1]\ntitle=B\natc_id=PH-HZA\n").airline, "TRA");
    EXPECT_EQ(one("[fltsim.2]\ntitle=C\natc_id=D-EXYZ\n", "C172").airline, "PVT");
    EXPECT_TRUE(read("[fltsim.3]\ntitle=D\natc_id=D-EXYZ\n", "B738").empty());
    EXPECT_EQ(lastIncomplete(),
              "\"" + folder + "\" \"[fltsim.3]\" has no airline and its regcode is not in my dbase (very old liv?)");
}

TEST_F(Section, RecordWithoutAnAirlineTellsNothing)
{
    dbaseRecords["XX-NOA"] = DbaseRecord{"", "B738", "", false};
    EXPECT_EQ(one("[fltsim.0]\ntitle=A\natc_id=XX-NOA\n", "C172").airline, "PVT");
    EXPECT_TRUE(read("[fltsim.1]\ntitle=B\natc_id=XX-NOA\n", "B738").empty());
    EXPECT_EQ(lastIncomplete(),
              "\"" + folder + "\" \"[fltsim.1]\" has no airline and its regcode is not in my dbase (very old liv?)");
}

TEST_F(Section, TitleAlreadyInTheCatalogue)
{
    one("[fltsim.0]\ntitle=Same\nicao_airline=KLM\n");
    EXPECT_TRUE(read("[fltsim.1]\ntitle=Same\nicao_airline=DLH\n").empty());
    EXPECT_EQ(lastIncomplete(), folder + " [fltsim.1] title \"Same\" already exists");
}

TEST_F(Section, TrailingCommentsDoNotCountAsKeys)
{
    const auto livery = one("[fltsim.0]\ntitle=A\nicao_airline=KLM\natc_id=PH-BXA\n\n//atc_id=PH-BXB\n// title=B\n");
    EXPECT_EQ(livery.regcode, "PH-BXA");
    // A short line stops the dropping: the comment above it stays and counts.
    EXPECT_TRUE(read("[fltsim.1]\ntitle=C\nicao_airline=KLM\natc_id=PH-BXA\n//atc_id=PH-BXB\n;\n").empty());
    EXPECT_EQ(lastIncomplete(), folder + ", [fltsim.1], has more than one atc_id key");
}

} // namespace
} // namespace orv
