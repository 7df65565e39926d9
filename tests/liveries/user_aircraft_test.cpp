// The user aircraft: title and model replies to wing span and category.
#include "liveries/user_aircraft.h"
#include "tests/liveries/dbase_fixture.h"

#include "core/errors.h"
#include "core/log.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace orv {
namespace {

using test::LogCapture;
using test::TempDir;

constexpr double halfNm(double METRES) { return METRES * 0.5 / 1852.0; }

class UserAircraft : public ::testing::Test {
protected:
    TempDir temp;
    LogCapture log;
    void SetUp() override
    {
        test::loadDbase(test::PlainDbase{});
        gf_resetUserAircraft();
        gf_clearStatus();
    }
    void TearDown() override
    {
        gf_resetUserAircraft();
        gf_clearStatus();
        gf_clearDbase();
    }
    void fly(const std::string& TITLE, const std::string& MODEL)
    {
        lf_userTitleReply(TITLE.c_str());
        lf_userModelReply(MODEL.c_str());
    }
};

TEST_F(UserAircraft, ModelCodeRules)
{
    struct Case {
        const char* raw;
        const char* title;
        const char* model;
    };
    const Case cases[] = {
        {"A350-900", "", "A359"},
        {"N738B", "", "B38M"},
        {"TT:ATCCOM.AC_MODEL_B738.0.text", "", "B738"},
        {"ATCCOM.AC_MODEL B744.0.text", "", "B744"},
        {"$$:A20N", "", "A20N"},
        {"$$:B", "", "$$:B"},
        {"737", "PMDG DG 737-800 KLM", "B738"},
        {"737", "DG 737-700 Private", "B737"},
        {"737", "a DG 737-600", "B736"},
        {"737", "DG 737-900ER", "B739"},
        {"737", "Boeing 737-800", "737"},
        {"C172", "", "C172"},
    };
    for (const auto& c : cases) EXPECT_EQ(gf_userModelCode(c.raw, c.title), c.model) << c.raw << " / " << c.title;
}

TEST_F(UserAircraft, TooLittleInFrontOfTheCodeSuffixIsOutOfRange)
{
    EXPECT_THROW(gf_userModelCode(".0.text", ""), std::out_of_range);
    EXPECT_THROW(gf_userModelCode("B73.0.text", ""), std::out_of_range);
    EXPECT_NO_THROW(gf_userModelCode("B738.0.text", ""));
}

TEST_F(UserAircraft, NoAircraftSelectedIsError73)
{
    for (const char* model : {".0.text", "ABC.0.text"}) {
        try {
            lf_userModelReply(model);
            ADD_FAILURE() << model;
        } catch (const UserErrorException& e) {
            EXPECT_EQ(e.code, 73);
            EXPECT_STREQ(e.what(), "73: It looks like you have not selected an aircraft as user vehicle");
        }
    }
}

TEST_F(UserAircraft, KnownModelGivesItsSpanAndCategory)
{
    fly("Some 737", "TT:ATCCOM.AC_MODEL_B738.0.text");
    EXPECT_DOUBLE_EQ(userWingspan, halfNm(35.79));
    EXPECT_EQ(userCategory, ModelCategory::Large);
    EXPECT_TRUE(aircraftKnown);
    EXPECT_TRUE(log.contains("model raw: TT:ATCCOM.AC_MODEL_B738.0.text "));
    EXPECT_TRUE(log.contains(fmt::format("SimConnect: User aircraft model: B738, half wing span: {:.1f} meter, category: Large",
                                         35.79 / 2)));
}

TEST_F(UserAircraft, ModelWithoutItsOwnSpanTakesItsCategoryMean)
{
    fly("Robinson", "R44");
    EXPECT_GT(userWingspan, 0.0);
    EXPECT_EQ(userCategory, ModelCategory::Rotorcraft);
    EXPECT_TRUE(aircraftKnown);
    fly("Unknown type", "737");
    EXPECT_DOUBLE_EQ(userWingspan, gf_halfWingspan("737")) << "the span of the text \"737\" follows";
    EXPECT_EQ(userCategory, ModelCategory::Light);
}

TEST_F(UserAircraft, LongModelTextWithoutTitleHelpIsUnknown)
{
    fly("Some homebuilt", "HOMEBUILT");
    EXPECT_DOUBLE_EQ(userWingspan, maxHalfWingspan);
    EXPECT_FALSE(aircraftKnown);
    EXPECT_EQ(statusText, "User aircraft wing span unknown, max is taken instead, please report in my Forum!");
    EXPECT_TRUE(log.contains("User aircraft wing span unknown, max is taken instead, please report in my Forum!"));
    EXPECT_TRUE(log.contains("SimConnect: User aircraft model: HOMEBUILT, category: Light"));
}

TEST_F(UserAircraft, TitleNamesTheModelWhenTheModelTextCannot)
{
    fly("Aerosoft A320 Lufthansa", "AEROSOFT_A320_CFM");
    EXPECT_DOUBLE_EQ(userWingspan, halfNm(35.80));
    EXPECT_TRUE(aircraftKnown);
    EXPECT_EQ(userCategory, ModelCategory::Large);
    EXPECT_TRUE(log.contains("SimConnect: User aircraft model deduced from title: A320"));
    EXPECT_TRUE(log.contains(fmt::format("SimConnect: User aircraft model: AEROSOFT_A320_CFM, half wing span: {:.1f} meter, "
                                         "category: Large", 35.80 / 2)));
    EXPECT_EQ(gf_userModelFromTitle("Aerosoft A31"), "") << "shorter than the 13 bytes compared";
    EXPECT_EQ(gf_userModelFromTitle("Aerosoft A321 neo"), "A321");
}

TEST_F(UserAircraft, TheLargestAircraftTakesTheUnknownRouteToo)
{
    // Only the equality with the largest span is tested.
    fly("Airbus A380", "A388");
    EXPECT_DOUBLE_EQ(userWingspan, maxHalfWingspan);
    EXPECT_FALSE(aircraftKnown);
    EXPECT_EQ(userCategory, ModelCategory::Heavy);
}

TEST_F(UserAircraft, CameraAndShipKeepTheAircraftKnown)
{
    aircraftKnown = false;
    fly("Drone", "camerapod");
    EXPECT_TRUE(aircraftKnown);
    EXPECT_DOUBLE_EQ(userWingspan, halfNm(28.72)) << "the span of an E190";
    EXPECT_EQ(userCategory, ModelCategory::Light);
    EXPECT_FALSE(log.contains("SimConnect: User aircraft model: camerapod")) << "nothing more is logged";
    fly("Boat", "Crew Vessel 1");
    EXPECT_TRUE(aircraftKnown);
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

TEST_F(UserAircraft, ModelTextIsReadToItsFieldSize)
{
    // 40 bytes, of which the field holds 32: the ".0.text" behind them is cut off.
    const std::string raw = std::string(28, 'X') + "B738.0.text!";
    lf_userTitleReply("Long");
    lf_userModelReply(raw.c_str());
    EXPECT_TRUE(log.contains("model raw: " + raw.substr(0, 32) + " "));
}

TEST_F(UserAircraft, TitleReplies)
{
    lf_userTitleReply(nullptr);
    EXPECT_EQ(userTitle, "");
    lf_userTitleReply("");
    EXPECT_TRUE(log.contains("! title of your ac is empty?"));
    const std::string long49(49, 'T');
    lf_userTitleReply(long49.c_str());
    EXPECT_EQ(userTitle, std::string(48, 'T'));
    EXPECT_EQ(gf_userTitleShown(), userTitle);
    const std::string other49 = std::string(48, 'T') + "U";
    lf_userTitleReply(other49.c_str());
    const auto logged = log.text();
    const std::string line = "SimConnect: User aircraft title: " + std::string(48, 'T') + "\n";
    EXPECT_EQ(logged.find(line), logged.rfind(line)) << "the same first 48 bytes log nothing more";
}

} // namespace
} // namespace orv
