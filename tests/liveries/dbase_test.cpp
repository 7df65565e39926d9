// Reading the reference database into its tables, and the lookups on them.
#include "liveries/dbase.h"
#include "tests/liveries/dbase_fixture.h"

#include "core/errors.h"
#include "tools/dbase_scramble.h"

#include <pugixml.hpp>

#include <gtest/gtest.h>

#include <cmath>

namespace orv {
namespace {

using test::LogCapture;
using test::PlainDbase;
using test::TempDir;

constexpr double halfNm(double METRES) { return METRES * 0.5 / 1852.0; }

class Dbase : public ::testing::Test {
protected:
    TempDir folder;
    LogCapture log;
    void TearDown() override { gf_clearDbase(); }
};

TEST_F(Dbase, ListsAreSplitTrimmedAndUnscrambled)
{
    test::loadDbase(PlainDbase{});
    for (const char* model : {"B738", "C172", "C152", "SR22", "R44", "F16"}) EXPECT_TRUE(gf_validModel(model)) << model;
    EXPECT_FALSE(gf_validModel(""));
    EXPECT_FALSE(gf_validModel("B7"));
    EXPECT_TRUE(gf_validAirline("KLM"));
    EXPECT_FALSE(gf_validAirline(""));
    EXPECT_FALSE(gf_validAirline("XXX"));
    EXPECT_TRUE(cargoModels.contains("B744"));
    EXPECT_TRUE(cargoOperators.contains("KLM"));
    EXPECT_TRUE(simAddons20.contains("EHAM-scenery"));
}

TEST_F(Dbase, BlanksAroundCommasGiveTheSameItems)
{
    PlainDbase spaced;
    spaced.aircrafts = R"(<aircraft types=" B738 ,	B739,
                          A320 "/>)";
    spaced.large = R"(<lar types="B738, B739"/>)";
    spaced.wingspans.clear();
    test::loadDbase(spaced);
    const CodeSet expected{"A320", "B738", "B739"};
    EXPECT_EQ(allModels, expected);
}

TEST_F(Dbase, MinimalDocumentLoadsWithoutOptionalSections)
{
    PlainDbase minimal;
    minimal.similar.clear();
    minimal.publishers.clear();
    minimal.wingspans.clear();
    minimal.fixes.clear();
    minimal.records.clear();
    test::loadDbase(minimal);
    EXPECT_TRUE(dbaseRecords.empty());
    EXPECT_TRUE(wingspans.empty());
    EXPECT_TRUE(log.contains("0 dbase records read"));
    EXPECT_TRUE(log.contains("   0 fixes"));
}

TEST_F(Dbase, EveryMandatorySectionMustHoldItems)
{
    struct Case {
        std::string PlainDbase::*section;
        const char* text;
    };
    const Case cases[] = {
        {&PlainDbase::aircrafts, "aircrafts aircraft types"},   {&PlainDbase::highPerf, "high_performance hpf types"},
        {&PlainDbase::heavy, "heavy hvy types"},                {&PlainDbase::large, "large lar types"},
        {&PlainDbase::buzjet, "buzjet bzj types"},              {&PlainDbase::rotorcraft, "rotorcraft rot types"},
        {&PlainDbase::cargoTypes, "cargo_types cargo_type types"}, {&PlainDbase::airlines, "ICAO_airlines ICAO codes"},
        {&PlainDbase::cargoOperators, "cargo_operators ICAO codes"}, {&PlainDbase::simaddons, "simaddons20 simaddon20 arpts"},
    };
    for (const auto& c : cases) {
        for (const char* inside : {"", "<other types=\"B738\"/>"}) {
            PlainDbase plain;
            plain.*c.section = inside;
            try {
                test::loadDbase(plain);
                ADD_FAILURE() << c.text << " empty was accepted";
            } catch (const UserErrorException& e) {
                EXPECT_EQ(e.code, 61);
                EXPECT_EQ(std::string(e.what()), std::string("61: In an xml file section ") + c.text + " is empty ");
            }
        }
    }
}

TEST_F(Dbase, MalformedXmlNamesTheFileAndTheReason)
{
    test::writeFile("temp2.xml", "<aircrafts><aircraft types=\"B738\"></aircrafts>");
    try {
        gf_readDbaseFile("temp2.xml");
        FAIL() << "accepted";
    } catch (const UserErrorException& e) {
        EXPECT_EQ(e.code, 60);
        EXPECT_EQ(std::string(e.what()), "60: \"temp2.xml\" not read because of Start-end tags mismatch");
    }
}

TEST_F(Dbase, MissingFileIsAParseFailureToo)
{
    try {
        gf_readDbaseFile("absent.xml");
        FAIL() << "accepted";
    } catch (const UserErrorException& e) {
        EXPECT_EQ(e.code, 60);
        EXPECT_EQ(std::string(e.what()), "60: \"absent.xml\" not read because of File was not found");
    }
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
        {"X1", ModelCategory::Large},    {"X2", ModelCategory::Heavy},    {"X3", ModelCategory::Buzjets},
        {"X4", ModelCategory::Rotorcraft}, {"X5", ModelCategory::HighPerf}, {"C172", ModelCategory::Light},
        {"NOPE", ModelCategory::Light},  {"", ModelCategory::Light},
    };
    for (const auto& [model, category] : expected) EXPECT_EQ(gf_modelCategory(model), category) << model;
}

TEST_F(Dbase, CategoryTexts)
{
    const char* texts[] = {"Light", "Buzjets", "Large", "Heavy", "HighPerf", "Rotorcraft"};
    for (int c = 0; c < modelCategoryCount; ++c) EXPECT_EQ(gf_categoryText(static_cast<ModelCategory>(c)), texts[c]);
}

TEST_F(Dbase, WingspansAreHalvedInNauticalMiles)
{
    test::loadDbase(PlainDbase{});
    EXPECT_NEAR(gf_halfWingspan("B738"), halfNm(35.79), 1e-12);
    EXPECT_NEAR(maxHalfWingspan, halfNm(79.75), 1e-12);
}

TEST_F(Dbase, WingspanOfAnUnknownModelIsSkippedAndChangesNothing)
{
    PlainDbase plain;
    plain.wingspans = R"(<wingspan type="B738" meters="30"/><wingspan type="ZZ99" meters="500"/>)";
    test::loadDbase(plain);
    EXPECT_TRUE(log.contains("wingspan model ZZ99 is no valid model, skipped"));
    EXPECT_FALSE(wingspans.contains("ZZ99"));
    EXPECT_NEAR(maxHalfWingspan, halfNm(30), 1e-12);
    EXPECT_NEAR(meanHalfWingspan[gf_categoryIndex(ModelCategory::Large)], halfNm(30), 1e-12);
}

TEST_F(Dbase, FirstWingspanStandsWhileTheLargerCountsForTheMaximum)
{
    PlainDbase plain;
    plain.wingspans = R"(<wingspan type="B738" meters="30"/><wingspan type="B738" meters="40"/>)";
    test::loadDbase(plain);
    EXPECT_NEAR(gf_halfWingspan("B738"), halfNm(30), 1e-12);
    EXPECT_NEAR(maxHalfWingspan, halfNm(40), 1e-12);
}

TEST_F(Dbase, ModelWithoutSpanGetsTheMeanOfItsCategory)
{
    PlainDbase plain;
    plain.wingspans = R"(<wingspan type="B738" meters="30"/><wingspan type="A320" meters="36"/>
                         <wingspan type="C172" meters="11"/><wingspan type="SR22" meters="12"/>
                         <wingspan type="B744" meters="64"/>)";
    test::loadDbase(plain);
    EXPECT_NEAR(gf_halfWingspan("B739"), halfNm(33), 1e-12);  // Large: (30 + 36) / 2
    EXPECT_NEAR(gf_halfWingspan("C152"), halfNm(11.5), 1e-12); // Light
    EXPECT_NEAR(gf_halfWingspan("WHAT"), halfNm(11.5), 1e-12) << "a model in no list is Light";
    // A category without any span of its own takes the mean of all spans.
    EXPECT_NEAR(gf_halfWingspan("EC35"), halfNm((30 + 36 + 11 + 12 + 64) / 5.0), 1e-12);
    EXPECT_GT(gf_halfWingspan("R44"), 0);
}

TEST_F(Dbase, FixesKeepTheFirstAndNeedAValidTarget)
{
    PlainDbase plain;
    plain.fixes = R"(<fx wro="A32N" cor="A20N"/><fx wro="A32N" cor="A320"/><fx wro="B3XM" cor="B3XX"/>)";
    test::loadDbase(plain);
    EXPECT_EQ(modelFixes.at("A32N"), "A20N");
    EXPECT_FALSE(modelFixes.contains("B3XM"));
    EXPECT_TRUE(log.contains("wrong fix B3XM->B3XX, the latter is not a valid model"));
    EXPECT_TRUE(log.contains("wrong part of fix: \"A32N\", already exists, skipped"));
    EXPECT_TRUE(log.contains("   1 fixes"));
}

TEST_F(Dbase, SimilarGroupsArePerElementAndSorted)
{
    test::loadDbase(PlainDbase{});
    ASSERT_EQ(similarGroups.size(), 2u);
    EXPECT_EQ(similarGroups[0], (std::vector<std::string>{"B38M", "B738", "B739"}));
    EXPECT_EQ(similarGroups[1], (std::vector<std::string>{"A20N", "A320"}));
}

TEST_F(Dbase, PublishersAreSortedWithoutDoubles)
{
    PlainDbase plain;
    plain.publishers = R"(<pub names="Zeta, ZetaSim"/><pub names="Alpha,AlphaDesign , AD"/><pub names="Zeta, ZetaSim"/>)";
    test::loadDbase(plain);
    ASSERT_EQ(publisherNames.size(), 2u);
    EXPECT_EQ(publisherNames[0], (std::vector<std::string>{"Alpha", "AlphaDesign", "AD"}));
    EXPECT_EQ(publisherNames[1], (std::vector<std::string>{"Zeta", "ZetaSim"}));
}

TEST_F(Dbase, ThirdPartiesKeepTheirOrder)
{
    PlainDbase plain;
    plain.thirdParties20 = R"(<thirdpartie20 pub="Zeta" arpts="EHAM,EGLL"/><thirdpartie20 pub="Alpha" arpts="KJFK"/>)";
    plain.thirdParties24 = R"(<thirdpartie24 pub="Beta" arpts=" LFPG "/>)";
    test::loadDbase(plain);
    ASSERT_EQ(thirdParties20.size(), 2u);
    EXPECT_EQ(thirdParties20[0].first, "Zeta");
    EXPECT_EQ(thirdParties20[0].second, (std::vector<std::string>{"EHAM", "EGLL"}));
    EXPECT_EQ(thirdParties20[1].first, "Alpha");
    ASSERT_EQ(thirdParties24.size(), 1u);
    EXPECT_EQ(thirdParties24[0].second, (std::vector<std::string>{"LFPG"}));
}

TEST_F(Dbase, RecordsAreUnscrambledAndTheFirstOfARegistrationStands)
{
    PlainDbase plain;
    plain.records += R"(<db reg="PH-BXA" airl="DLH" type="A320"/><db reg="F-GKXA" type="A320"/>)";
    test::loadDbase(plain);
    EXPECT_EQ(dbaseRecords.at("PH-BXA").airl, "KLM");
    EXPECT_EQ(dbaseRecords.at("PH-BXA").type, "B738");
    EXPECT_FALSE(dbaseRecords.at("PH-BXA").cargo);
    EXPECT_TRUE(dbaseRecords.at("PH-BXB").cargo);
    EXPECT_EQ(dbaseRecords.at("PH-HZA").opr, "TRA");
    EXPECT_EQ(dbaseRecords.at("F-GKXA").airl, "") << "a record without airl has an empty airline";
    EXPECT_TRUE(log.contains("regcode PH-BXA already exists"));
    EXPECT_TRUE(log.contains("8 dbase records read"));
}

TEST_F(Dbase, CargoFollowsTheXmlBooleanRule)
{
    PlainDbase plain;
    plain.records = R"(<db reg="A1" cargo="1"/><db reg="A2" cargo="yes"/><db reg="A3" cargo="True"/>
                       <db reg="A4" cargo="0"/><db reg="A5" cargo="no"/><db reg="A6"/><db reg="A7" cargo="x"/>)";
    test::loadDbase(plain);
    for (const char* reg : {"A1", "A2", "A3"}) EXPECT_TRUE(dbaseRecords.at(reg).cargo) << reg;
    for (const char* reg : {"A4", "A5", "A6", "A7"}) EXPECT_FALSE(dbaseRecords.at(reg).cargo) << reg;
}

TEST_F(Dbase, AirlineOfAWrongLengthStopsTheRead)
{
    PlainDbase plain;
    plain.records = R"(<db reg="PH-BXA" airl="KLM" type="B738"/>)";
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(gf_scrambleDbaseText(plain.xml()).c_str()));
    doc.child("dbase").child("db").attribute("airl").set_value("ABCD");
    ASSERT_TRUE(doc.save_file("temp2.xml"));
    gf_clearDbase();
    try {
        gf_readDbaseFile("temp2.xml");
        FAIL() << "accepted";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "decrypt airl \"ABCD\" error");
    }
}

TEST_F(Dbase, TheFileIsDeletedAfterAGoodRead)
{
    test::loadDbase(PlainDbase{}, "temp2.xml");
    EXPECT_FALSE(std::filesystem::exists("temp2.xml"));
}

TEST_F(Dbase, RegistrationVariants)
{
    using V = std::vector<std::string>;
    EXPECT_EQ(gf_regcodeVariants("GABCD"), (V{"GA-BCD", "G-ABCD", "GABCD"}));
    EXPECT_EQ(gf_regcodeVariants("PHBXA"), (V{"PH-BXA", "P-HBXA", "PHBXA"}));
    EXPECT_EQ(gf_regcodeVariants("N123AB"), (V{"N123AB"}));
    EXPECT_EQ(gf_regcodeVariants("G-ABCD"), (V{"G-ABCD"}));
    EXPECT_EQ(gf_regcodeVariants("D123"), (V{"D123"}));
    EXPECT_EQ(gf_regcodeVariants(""), (V{""}));
}

TEST_F(Dbase, LookupsGoThroughTheVariants)
{
    test::loadDbase(PlainDbase{});
    EXPECT_EQ(gf_dbaseAirline("PHBXA"), "KLM");
    EXPECT_EQ(gf_dbaseModel("PHBXA"), "B738");
    EXPECT_EQ(gf_dbaseAirline("DAIAB"), "DLH") << "the one-letter form";
    EXPECT_EQ(gf_dbaseOperator("PH-HZA"), "TRA");
    EXPECT_EQ(gf_dbaseOperator("PH-BXA"), "");
    EXPECT_TRUE(gf_dbaseCargo("PHBXB"));
    EXPECT_FALSE(gf_dbaseCargo("PH-BXA"));
    EXPECT_EQ(gf_dbaseAirline("XX-XXX"), "");
    EXPECT_EQ(gf_dbaseOperator(""), "");
    EXPECT_EQ(gf_dbaseLookup(""), nullptr);
}

TEST_F(Dbase, PrivateRegistrationsAreFoundInTitles)
{
    test::loadDbase(PlainDbase{});
    EXPECT_EQ(gf_privateRegcodeIn("Cessna 172 N12 private"), "N12");
    EXPECT_EQ(gf_privateRegcodeIn("Cessna 172 N123AB"), "N12") << "only keys shorter than 5 count";
    EXPECT_EQ(gf_privateRegcodeIn("KLM PH-BXA"), "");
}

struct Flight {
    std::string callsign;
    std::string airline;
};

TEST_F(Dbase, AirlineFromCallsign)
{
    const std::pair<const char*, const char*> cases[] = {
        {"KLM1234", "KLM"}, {"DLH9A", "DLH"}, {"KLM", ""}, {"KLMX12", ""}, {"klm123", ""}, {"N123AB", ""}, {"K1M123", ""},
    };
    for (const auto& [callsign, airline] : cases) {
        Flight flight{callsign, ""};
        EXPECT_EQ(gf_airlineFromCallsign(flight), *airline != 0) << callsign;
        EXPECT_EQ(flight.airline, airline) << callsign;
    }
}

} // namespace
} // namespace orv
