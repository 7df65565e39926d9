// The rules of one [fltsim.N] section of an ordinary aircraft.cfg, as a table
// of sections and the livery or report each one gives.
#include "liveries/cfg_scan.h"
#include "tests/liveries/dbase_fixture.h"

#include "core/parameters.h"

namespace orv {
namespace {

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
    {"title=A0\nicao_airline=KLMX\n", "KLM/C172/A0/", "C172"},
    {"title=A1\nicao_airline=KLMC\n", "KLM/C172/A1/", "C172"},
    {"title=A2\nicao_airline=\"K L M\"\n", "KLM/C172/A2/", "C172"},
    {"title=A3\nicao_airline=dlh\n", "DLH/C172/A3/", "C172"},
    {"title=A4\nicao_airline=\"ZZZZ\"\n", "ZZZ/C172/A4/", "C172"},
    {"title=A5\nicao_airline=ZZZZ\n", "ZZZ/C172/A5/", "C172"},
    {"title=A6\nicao_airline=\"\"\n", "ZZZ/C172/A6/", "C172"},
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
    {"title=FenixA320 KLM\nicao_airline=KLM\n", ""},
    {"title=PMDG 737-800 KLM\nicao_airline=KLM\n", ""},
    {"title=KLM-STUB\nicao_airline=KLM\n", ""},
    {"title=Unwanted KLM\nicao_airline=KLM\n", ""},
    // Without airline: light aircraft are private, airliners need the registration's record.
    {"title=Cessna N12 blue\n", "PVT/C172/Cessna N12 blue/N12", "C172"},
    {"title=Cessna white\n", "PVT/C172/Cessna white/", "C172"},
    {"[fltsim.2]\ntitle=White 737\n", "section: \"pkg\" \"[fltsim.2]\" has no airline and no regcode info"},
    {"[fltsim.2]\ntitle=White 747\n", "section: \"pkg\" \"[fltsim.2]\" has no airline and no regcode info", "B744"},
    {"title=G0\natc_id=PHBXA\n", "KLM/B738/G0/PHBXA"},
    {"title=G1\natc_id=PH-HZA\n", "TRA/B738/G1/PH-HZA"},
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

class Section : public test::LiveriesTest {
protected:
    void SetUp() override
    {
        LiveriesTest::SetUp();
        SUPPRESS_STUB.value = true;
        dontUseTitles = {"Unwanted KLM"};
        gf_indexDontUseTitles();
    }
    void TearDown() override
    {
        SUPPRESS_STUB.value = SUPPRESS_STUB.defaultValue;
        LiveriesTest::TearDown();
    }
    std::string outcome(std::string TEXT, const std::string& MODEL)
    {
        if (!TEXT.starts_with("[")) TEXT = "[fltsim.0]\n" + TEXT;
        test::gf_clearSideLists();
        const auto found = lf_procesFltSimSection(3, gf_splitLines(TEXT), MODEL, "pkg/aircraft.cfg", "pkg");
        for (const auto& livery : found) {
            EXPECT_EQ(livery.lfolder, 3u);
            EXPECT_TRUE(knownTitles.contains(livery.title)) << livery.title;
        }
        return test::gf_outcome(found);
    }
};

TEST_F(Section, GivesItsLiveryOrItsReport)
{
    for (const auto& c : sectionCases) {
        EXPECT_EQ(outcome(c.text, c.model), c.outcome) << c.text;
        EXPECT_TRUE(c.logged.empty() || log.contains(c.logged)) << c.logged;
    }
    SUPPRESS_STUB.value = false;
    EXPECT_EQ(outcome("[fltsim.0]\ntitle=KLM-STUB\nicao_airline=KLM\n", "B738"), "KLM/B738/KLM-STUB/");
}

} // namespace
} // namespace orv
