// Reading the reference database into its tables, and the lookups on them.
#include "liveries/dbase.h"
#include "tests/liveries/dbase_fixture.h"

#include "tools/dbase_scramble.h"

#include <pugixml.hpp>

namespace orv {
namespace {

using test::PlainDbase;

constexpr double halfNm(double METRES) { return METRES * 0.5 / 1852.0; }

class Dbase : public ::testing::Test {
protected:
    test::TempDir folder;
    test::LogCapture log;
    void TearDown() override { gf_clearDbase(); }
};

TEST_F(Dbase, ListsAreSplitTrimmedAndUnscrambled)
{
    PlainDbase plain;
    plain.aircrafts += "<aircraft types=\" X738 ,\tX739,\n   X320 \"/>";
    plain.fixes = R"(<fx wro="A32N" cor="A20N"/><fx wro="A32N" cor="A320"/><fx wro="B3XM" cor="B3XX"/>)";
    plain.publishers = R"(<pub names="Zeta, ZetaSim"/><pub names="Alpha,AlphaDesign , AD"/><pub names="Zeta, ZetaSim"/>)";
    plain.thirdParties20 = R"(<thirdpartie20 pub="Zeta" arpts="EHAM,EGLL"/><thirdpartie20 pub="Alpha" arpts="KJFK"/>)";
    plain.thirdParties24 = R"(<thirdpartie24 pub="Beta" arpts=" LFPG "/>)";
    test::loadDbase(plain);
    EXPECT_FALSE(std::filesystem::exists("temp2.xml")) << "deleted after a good read";
    for (const char* model : {"B738", "C172", "C152", "SR22", "F16", "X738", "X739", "X320"})
        EXPECT_TRUE(gf_validModel(model)) << model;
    EXPECT_TRUE(!gf_validModel("") && !gf_validModel("B7") && !gf_validModel(" X738"));
    EXPECT_TRUE(gf_validAirline("KLM") && !gf_validAirline("") && !gf_validAirline("XXX"));
    EXPECT_TRUE(simAddons20.contains("EHAM-scenery"));
    EXPECT_EQ(similarGroups, (std::vector<std::vector<std::string>>{{"B38M", "B738", "B739"}, {"A20N", "A320"}}))
        << "each group sorted";
    // Fixes: the first of a code stands, and its target must be a model.
    EXPECT_EQ(modelFixes, (std::unordered_map<std::string, std::string>{{"A32N", "A20N"}}));
    log.expectLines({"wrong fix B3XM->B3XX, the latter is not a valid model", "wrong part of fix: \"A32N\", already exists, skipped",
                     "   1 fixes"});
    // Publishers sorted without doubles, third parties in their order.
    EXPECT_EQ(publisherNames, (std::vector<std::vector<std::string>>{{"Alpha", "AlphaDesign", "AD"}, {"Zeta", "ZetaSim"}}));
    using Parties = std::vector<std::pair<std::string, std::vector<std::string>>>;
    EXPECT_EQ(thirdParties20, (Parties{{"Zeta", {"EHAM", "EGLL"}}, {"Alpha", {"KJFK"}}}));
    EXPECT_EQ(thirdParties24, (Parties{{"Beta", {"LFPG"}}}));
}

TEST_F(Dbase, RecordsAndTheirLookups)
{
    PlainDbase plain;
    plain.records += R"(<db reg="PH-BXA" airl="DLH" type="A320"/>
                        <db reg="A1" cargo="1"/><db reg="A2" cargo="yes"/><db reg="A3" cargo="True"/>
                        <db reg="A4" cargo="0"/><db reg="A5" cargo="no"/><db reg="A6"/><db reg="A7" cargo="x"/>)";
    test::loadDbase(plain);
    log.expectLines({"regcode PH-BXA already exists", "15 dbase records read"});
    for (const char* reg : {"A1", "A2", "A3"}) EXPECT_TRUE(dbaseRecords.at(reg).cargo) << reg;
    for (const char* reg : {"A4", "A5", "A6", "A7"}) EXPECT_FALSE(dbaseRecords.at(reg).cargo) << reg;
    // The first record of a registration stands; lookups go through the variants.
    EXPECT_EQ(gf_dbaseAirline("PHBXA"), "KLM");
    EXPECT_EQ(gf_dbaseModel("PHBXA"), "B738");
    EXPECT_EQ(gf_dbaseAirline("DAIAB"), "DLH") << "the one-letter form";
    EXPECT_EQ(gf_dbaseOperator("PH-HZA"), "TRA");
    EXPECT_EQ(gf_dbaseOperator("PH-BXA"), "");
    EXPECT_TRUE(gf_dbaseCargo("PHBXB"));
    EXPECT_FALSE(gf_dbaseCargo("PH-BXA"));
    EXPECT_EQ(gf_dbaseAirline("XX-NOA") + gf_dbaseModel("XX-NOA"), "B738") << "a record without airline";
    EXPECT_EQ(gf_dbaseAirline("XX-XXX"), "");
    EXPECT_EQ(gf_dbaseLookup(""), nullptr);
    EXPECT_EQ(gf_privateRegcodeIn("Cessna 172 N12 private"), "N12");
    EXPECT_EQ(gf_privateRegcodeIn("Cessna 172 N123AB"), "N12") << "only keys shorter than 5 count";
    EXPECT_EQ(gf_privateRegcodeIn("KLM PH-BXA"), "");
}

TEST_F(Dbase, MinimalDocumentLoadsWithoutOptionalSections)
{
    PlainDbase minimal;
    for (auto* section : {&minimal.similar, &minimal.publishers, &minimal.wingspans, &minimal.fixes, &minimal.records})
        section->clear();
    test::loadDbase(minimal);
    EXPECT_TRUE(dbaseRecords.empty() && wingspans.empty() && similarGroups.empty());
    log.expectLines({"0 dbase records read", "   0 fixes"});
}

TEST_F(Dbase, EveryMandatorySectionMustHoldItems)
{
    const std::pair<std::string PlainDbase::*, const char*> cases[] = {
        {&PlainDbase::aircrafts, "aircrafts aircraft types"},     {&PlainDbase::highPerf, "high_performance hpf types"},
        {&PlainDbase::heavy, "heavy hvy types"},                  {&PlainDbase::large, "large lar types"},
        {&PlainDbase::buzjet, "buzjet bzj types"},                {&PlainDbase::rotorcraft, "rotorcraft rot types"},
        {&PlainDbase::cargoTypes, "cargo_types cargo_type types"}, {&PlainDbase::airlines, "ICAO_airlines ICAO codes"},
        {&PlainDbase::cargoOperators, "cargo_operators ICAO codes"}, {&PlainDbase::simaddons, "simaddons20 simaddon20 arpts"},
    };
    for (const auto& [section, text] : cases) {
        for (const char* inside : {"", "<other types=\"B738\"/>"}) {
            PlainDbase plain;
            plain.*section = inside;
            EXPECT_EQ(test::gf_thrown([&] { test::loadDbase(plain); }),
                      std::string("61: In an xml file section ") + text + " is empty ");
        }
    }
}

TEST_F(Dbase, UnreadableDocuments)
{
    test::writeFile("temp2.xml", "<aircrafts><aircraft types=\"B738\"></aircrafts>");
    EXPECT_EQ(test::gf_thrown([] { gf_readDbaseFile("temp2.xml"); }),
              "60: \"temp2.xml\" not read because of Start-end tags mismatch");
    EXPECT_EQ(test::gf_thrown([] { gf_readDbaseFile("absent.xml"); }),
              "60: \"absent.xml\" not read because of File was not found");
    // A stored airline code of a wrong length.
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(gf_scrambleDbaseText(PlainDbase{}.xml()).c_str()));
    doc.child("dbase").child("db").attribute("airl").set_value("ABCD");
    ASSERT_TRUE(doc.save_file("temp2.xml"));
    EXPECT_EQ(test::gf_thrown([] { gf_readDbaseFile("temp2.xml"); }), "decrypt airl \"ABCD\" error");
}

TEST_F(Dbase, CategoriesFollowTheTestOrder)
{
    PlainDbase plain;
    // X1 stands in large and heavy, X2 in heavy and buzjet, X3 in buzjet and
    // rotorcraft, X4 in rotorcraft and high performance.
    plain.aircrafts += R"(<aircraft types="X1,X2,X3,X4,X5"/>)";
    plain.large += R"(<lar types="X1"/>)";
    plain.heavy += R"(<hvy types="X1,X2"/>)";
    plain.buzjet += R"(<bzj types="X2,X3"/>)";
    plain.rotorcraft += R"(<rot types="X3,X4"/>)";
    plain.highPerf += R"(<hpf types="X4,X5"/>)";
    test::loadDbase(plain);
    const std::pair<const char*, ModelCategory> expected[] = {
        {"X1", ModelCategory::Large},      {"X2", ModelCategory::Heavy},    {"X3", ModelCategory::Buzjets},
        {"X4", ModelCategory::Rotorcraft}, {"X5", ModelCategory::HighPerf}, {"C172", ModelCategory::Light},
        {"NOPE", ModelCategory::Light},    {"", ModelCategory::Light},
    };
    for (const auto& [model, category] : expected) EXPECT_EQ(gf_modelCategory(model), category) << model;
}

TEST_F(Dbase, WingspansAreHalvedInNauticalMilesWithMeansPerCategory)
{
    PlainDbase plain;
    plain.wingspans = R"(<wingspan type="B738" meters="30"/><wingspan type="B738" meters="70"/>
                         <wingspan type="A320" meters="36"/><wingspan type="C172" meters="11"/>
                         <wingspan type="SR22" meters="12"/><wingspan type="B744" meters="64"/>
                         <wingspan type="ZZ99" meters="500"/>)";
    test::loadDbase(plain);
    EXPECT_TRUE(log.contains("wingspan model ZZ99 is no valid model, skipped"));
    EXPECT_FALSE(wingspans.contains("ZZ99"));
    EXPECT_NEAR(gf_halfWingspan("B738"), halfNm(30), 1e-12) << "the first entry stands";
    EXPECT_NEAR(maxHalfWingspan, halfNm(70), 1e-12) << "while the larger counts for the maximum";
    EXPECT_NEAR(gf_halfWingspan("B739"), halfNm(33), 1e-12);  // Large: (30 + 36) / 2
    EXPECT_NEAR(gf_halfWingspan("C152"), halfNm(11.5), 1e-12); // Light
    EXPECT_NEAR(gf_halfWingspan("WHAT"), halfNm(11.5), 1e-12) << "a model in no list is Light";
    // A category without any span of its own takes the mean of all spans.
    EXPECT_NEAR(gf_halfWingspan("EC35"), halfNm((30 + 36 + 11 + 12 + 64) / 5.0), 1e-12);
}

TEST(DbaseCodes, RegistrationVariantsAndAirlinesFromCallsigns)
{
    using V = std::vector<std::string>;
    const std::pair<const char*, V> variants[] = {
        {"GABCD", {"GA-BCD", "G-ABCD", "GABCD"}}, {"PHBXA", {"PH-BXA", "P-HBXA", "PHBXA"}}, {"N123AB", {"N123AB"}},
        {"G-ABCD", {"G-ABCD"}},                   {"D123", {"D123"}},                     {"", {""}},
    };
    for (const auto& [reg, forms] : variants) EXPECT_EQ(gf_regcodeVariants(reg), forms) << reg;
    struct Flight {
        std::string callsign;
        std::string airline;
    };
    const std::pair<const char*, const char*> callsigns[] = {
        {"KLM1234", "KLM"}, {"DLH9A", "DLH"}, {"KLM", ""}, {"KLMX12", ""}, {"klm123", ""}, {"N123AB", ""}, {"K1M123", ""},
    };
    for (const auto& [callsign, airline] : callsigns) {
        Flight flight{callsign, ""};
        EXPECT_EQ(gf_airlineFromCallsign(flight), *airline != 0) << callsign;
        EXPECT_EQ(flight.airline, airline) << callsign;
    }
}

} // namespace
} // namespace orv
