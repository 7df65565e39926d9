// The reference database: its scrambled codes, the read into its tables,
// the lookups on them, and the user aircraft's span and category from them.
#include "liveries/dbase.h"
#include "liveries/scramble.h"
#include "liveries/user_aircraft.h"
#include "tests/liveries/dbase_fixture.h"

#include "core/log.h"
#include "tools/dbase_scramble.h"

#include <pugixml.hpp>

#include <random>
#include <stdexcept>

namespace orv {
namespace {

/// A code of LENGTH characters from '-' to 'Z', with '+' too when asked.
std::string randomCode(std::mt19937& RANDOM, std::size_t LENGTH, bool WITH_PLUS)
{
    std::uniform_int_distribution<int> pick('-', WITH_PLUS ? 'Z' + 1 : 'Z');
    std::string code;
    for (std::size_t i = 0; i < LENGTH; ++i) {
        const int c = pick(RANDOM);
        code += c > 'Z' ? '+' : static_cast<char>(c);
    }
    return code;
}

TEST(Scramble, EveryCodeComesBackAndHoldsNoListSeparatorsOrBlanks)
{
    // Lists in the document are split at commas and trimmed of blanks, so no
    // scrambled code may contain either.
    std::mt19937 random(7);
    for (std::size_t round = 0; round < 3000; ++round) {
        const auto model = randomCode(random, 2 + round % 3, false), airline = randomCode(random, 3, false);
        const auto reg = randomCode(random, round % 25, true);
        const auto storedModel = gf_encryptModel(model), storedAirline = gf_encryptAirl(airline);
        const auto storedReg = gf_encryptRegcode(reg);
        ASSERT_EQ(gf_decryptModel(storedModel), model) << "stored as " << storedModel;
        ASSERT_EQ(storedAirline.size(), 6u);
        ASSERT_EQ(gf_decryptAirl(storedAirline), airline);
        ASSERT_EQ(storedReg.size(), reg.size());
        ASSERT_EQ(gf_decryptRegcode(storedReg), reg);
        for (std::size_t i = 0; i < reg.size(); ++i) ASSERT_EQ(reg[i] == '+', storedReg[i] == '+') << reg;
        for (const auto& stored : {storedModel, storedAirline, storedReg}) ASSERT_EQ(stored.find_first_of(", "), std::string::npos);
    }
}

TEST(Scramble, LayoutsAndTheirLimits)
{
    // The model's layout is chosen by the stored length; two-letter codes are stored in neither 3 nor 4.
    EXPECT_EQ(gf_encryptModel("B738").size(), 4u);
    EXPECT_EQ(gf_encryptModel("A5Z").size(), 3u);
    EXPECT_TRUE(gf_encryptModel("A5").size() != 3u && gf_encryptModel("A5").size() != 4u);
    EXPECT_EQ(gf_decryptModel("AAA").size(), 3u);
    EXPECT_EQ(gf_decryptModel("AAAA").size(), 4u);
    EXPECT_EQ(gf_decryptModel("AAAAAAAA").size(), 2u);
    EXPECT_EQ(gf_decryptModel("") + gf_decryptAirl("") + gf_decryptRegcode(""), "");
    // Only three of the six stored places of an airline carry the code.
    const auto stored = gf_encryptAirl("KLM");
    int carrying = 0;
    for (std::size_t at = 0; at < stored.size(); ++at) {
        auto changed = stored;
        changed[at] = changed[at] == 'A' ? 'B' : 'A';
        carrying += gf_decryptAirl(changed) != "KLM" ? 1 : 0;
    }
    EXPECT_EQ(carrying, 3);
    EXPECT_EQ(gf_decryptAirl("KLM"), "KLM") << "an unscrambled airline is taken as it stands";
    for (const std::string text : {"K", "KL", "KLMX", "KLMXY", "KLMXYZW"})
        EXPECT_EQ(test::gf_thrown([&] { gf_decryptAirl(text); }), "decrypt airl \"" + text + "\" error");
    EXPECT_NO_THROW(gf_decryptRegcode(std::string(24, 'A')));
    EXPECT_THROW(gf_decryptRegcode(std::string(25, 'A')), std::out_of_range) << "longer than the key";
    EXPECT_THROW(gf_encryptRegcode(std::string(25, 'A')), std::invalid_argument);
    for (const char* model : {"b738", "B7380"}) EXPECT_THROW(gf_encryptModel(model), std::invalid_argument) << model;
    EXPECT_THROW(gf_encryptAirl("KL"), std::invalid_argument);
    EXPECT_THROW(gf_encryptRegcode("PH BXA"), std::invalid_argument);
}

using test::PlainDbase;

constexpr double halfNm(double METRES) { return METRES * 0.5 / 1852.0; }

using Dbase = test::LiveriesTest;

TEST_F(Dbase, EverySectionIsReadSplitTrimmedAndUnscrambled)
{
    PlainDbase plain;
    // X1 stands in large and heavy, X2 in heavy and buzjet, X3 in buzjet and rotorcraft, X4 in
    // rotorcraft and high performance: the categories are tested in this order.
    plain.aircrafts += "<aircraft types=\" X738 ,\tX739,\n   X320 \"/><aircraft types=\"X1,X2,X3,X4,X5\"/>";
    plain.large += R"(<lar types="X1"/>)";
    plain.heavy += R"(<hvy types="X1,X2"/>)";
    plain.buzjet += R"(<bzj types="X2,X3"/>)";
    plain.rotorcraft += R"(<rot types="X3,X4"/>)";
    plain.highPerf += R"(<hpf types="X4,X5"/>)";
    plain.wingspans = R"(<wingspan type="B738" meters="30"/><wingspan type="B738" meters="70"/>
                         <wingspan type="A320" meters="36"/><wingspan type="C172" meters="11"/>
                         <wingspan type="SR22" meters="12"/><wingspan type="B744" meters="64"/>
                         <wingspan type="ZZ99" meters="500"/>)";
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
    const std::pair<const char*, ModelCategory> categories[] = {
        {"X1", ModelCategory::Large},      {"X2", ModelCategory::Heavy},    {"X3", ModelCategory::Buzjets},
        {"X4", ModelCategory::Rotorcraft}, {"X5", ModelCategory::HighPerf}, {"C172", ModelCategory::Light},
        {"NOPE", ModelCategory::Light},    {"", ModelCategory::Light},
    };
    for (const auto& [model, category] : categories) EXPECT_EQ(gf_modelCategory(model), category) << model;
    // Wing spans: halved in nautical miles, means per category, unknown models skipped.
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

class UserAircraft : public test::LiveriesTest {
protected:
    void reset() override
    {
        gf_resetUserAircraft();
        gf_clearStatus();
    }
};

TEST_F(UserAircraft, ModelCodeRules)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"A350-900", "", "A359"}, {"N738B", "", "B38M"}, {"TT:ATCCOM.AC_MODEL_B738.0.text", "", "B738"},
        {"ATCCOM.AC_MODEL B744.0.text", "", "B744"}, {"B738.0.text", "", "B738"}, {"$$:A20N", "", "A20N"},
        {"$$:B", "", "$$:B"}, {"737", "PMDG DG 737-800 KLM", "B738"}, {"737", "DG 737-700 Private", "B737"},
        {"737", "a DG 737-600", "B736"}, {"737", "DG 737-900ER", "B739"}, {"737", "Boeing 737-800", "737"},
        {"C172", "", "C172"},
    };
    for (const auto& [raw, title, model] : cases) EXPECT_EQ(gf_userModelCode(raw, title), model) << raw << " / " << title;
    // Too little in front of the code's suffix: no aircraft is selected.
    for (const char* raw : {".0.text", "B73.0.text"}) EXPECT_THROW(gf_userModelCode(raw, ""), std::out_of_range) << raw;
    for (const char* raw : {".0.text", "ABC.0.text"})
        EXPECT_EQ(test::gf_thrown([&] { lf_userModelReply(raw); }),
                  "73: It looks like you have not selected an aircraft as user vehicle");
}

struct ReplyCase {
    const char* title;
    const char* model;
    const char* spanOf; ///< the model whose span is expected; "max" for the largest
    ModelCategory category;
    bool known;
    std::string logged;      ///< a line the log must hold, or ""
    std::string status = ""; ///< the status line
};

const std::string unknownSpan = "User aircraft wing span unknown, max is taken instead, please report in my Forum!";

const ReplyCase replyCases[] = {
    {"Some 737", "TT:ATCCOM.AC_MODEL_B738.0.text", "B738", ModelCategory::Large, true,
     "SimConnect: User aircraft model: B738, half wing span: 17.9 meter, category: Large"},
    {"Robinson", "R44", "R44", ModelCategory::Rotorcraft, true, ""}, // the mean of its category
    {"Unknown type", "737", "737", ModelCategory::Light, true, ""},  // the span of the text "737"
    {"Some homebuilt", "HOMEBUILT", "max", ModelCategory::Light, false,
     "SimConnect: User aircraft model: HOMEBUILT, category: Light", unknownSpan},
    // The title names the model when the model text cannot.
    {"Aerosoft A320 Lufthansa", "AEROSOFT_A320_CFM", "A320", ModelCategory::Large, true,
     "SimConnect: User aircraft model deduced from title: A320"},
    // Only the equality with the largest span is tested: the largest aircraft takes the unknown route too.
    {"Airbus A380", "A388", "max", ModelCategory::Heavy, false, "", unknownSpan},
    // A camera or a ship makes the aircraft known again, with the span of an E190, and logs nothing more.
    {"Drone", "camerapod", "E190", ModelCategory::Light, true, ""},
    {"Boat", "Crew Vessel 1", "E190", ModelCategory::Light, true, ""},
};

TEST_F(UserAircraft, RepliesGiveSpanCategoryAndWhetherTheAircraftIsKnown)
{
    for (const auto& c : replyCases) {
        gf_clearStatus();
        lf_userTitleReply(c.title);
        lf_userModelReply(c.model);
        const double span = std::string(c.spanOf) == "max" ? maxHalfWingspan : gf_halfWingspan(c.spanOf);
        EXPECT_DOUBLE_EQ(userWingspan, span) << c.model;
        EXPECT_GT(userWingspan, 0.0) << c.model;
        EXPECT_EQ(userCategory, c.category) << c.model;
        EXPECT_EQ(aircraftKnown, c.known) << c.model;
        EXPECT_TRUE(c.logged.empty() || log.contains(c.logged)) << c.logged;
        EXPECT_EQ(statusText, c.status) << c.model;
    }
    log.expectLines({"model raw: TT:ATCCOM.AC_MODEL_B738.0.text ", unknownSpan,
                     "SimConnect: User aircraft model: AEROSOFT_A320_CFM, half wing span: 17.9 meter, category: Large"});
    EXPECT_EQ(log.text().find("SimConnect: User aircraft model: camerapod"), std::string::npos);
    EXPECT_EQ(gf_userModelFromTitle("Aerosoft A31"), "") << "shorter than the 13 bytes compared";
    EXPECT_EQ(gf_userModelFromTitle("Aerosoft A321 neo"), "A321");
}

TEST_F(UserAircraft, EmptyModelTextTakesTheSpanOfACrj)
{
    lf_userTitleReply("Mystery jet");
    aircraftKnown = false;
    userCategory = ModelCategory::Heavy;
    lf_userModelReply("");
    EXPECT_EQ(gf_userTitleShown(), "Unknown (encrypted?) aircraft");
    EXPECT_EQ(userTitle, "Mystery jet");
    EXPECT_DOUBLE_EQ(userWingspan, gf_halfWingspan("CRJ7"));
    EXPECT_EQ(statusText, "171: No model info from your user aircraft received in SimConnect, CRJ7 is taken instead");
    EXPECT_FALSE(aircraftKnown) << "kept as it was";
    EXPECT_EQ(userCategory, ModelCategory::Heavy) << "kept as it was";
}

TEST_F(UserAircraft, RepliesAreReadToTheirFieldSizes)
{
    // 40 bytes, of which the field holds 32: the ".0.text" behind them is cut off.
    const std::string raw = std::string(28, 'X') + "B738.0.text!";
    lf_userTitleReply("Long");
    lf_userModelReply(raw.c_str());
    EXPECT_TRUE(log.contains("model raw: " + raw.substr(0, 32) + " "));
    lf_userTitleReply(nullptr);
    lf_userTitleReply("");
    EXPECT_EQ(userTitle, "Long") << "no data and an empty title change nothing";
    EXPECT_TRUE(log.contains("! title of your ac is empty?"));
    const std::string long49(49, 'T');
    lf_userTitleReply(long49.c_str());
    EXPECT_EQ(userTitle, std::string(48, 'T'));
    EXPECT_EQ(gf_userTitleShown(), userTitle);
    lf_userTitleReply((std::string(48, 'T') + "U").c_str());
    const auto logged = log.text();
    const std::string line = "SimConnect: User aircraft title: " + std::string(48, 'T') + "\n";
    EXPECT_EQ(logged.find(line), logged.rfind(line)) << "the same first 48 bytes log nothing more";
}

} // namespace
} // namespace orv
