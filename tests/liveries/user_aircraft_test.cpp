// The user aircraft: title and model replies to wing span and category.
#include "liveries/user_aircraft.h"
#include "tests/liveries/dbase_fixture.h"

#include "core/log.h"

namespace orv {
namespace {

class UserAircraft : public test::LiveriesTest {
protected:
    void SetUp() override
    {
        LiveriesTest::SetUp();
        gf_resetUserAircraft();
        gf_clearStatus();
    }
    void TearDown() override
    {
        gf_resetUserAircraft();
        gf_clearStatus();
        LiveriesTest::TearDown();
    }
};

TEST_F(UserAircraft, ModelCodeRules)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"A350-900", "", "A359"},
        {"N738B", "", "B38M"},
        {"TT:ATCCOM.AC_MODEL_B738.0.text", "", "B738"},
        {"ATCCOM.AC_MODEL B744.0.text", "", "B744"},
        {"B738.0.text", "", "B738"},
        {"$$:A20N", "", "A20N"},
        {"$$:B", "", "$$:B"},
        {"737", "PMDG DG 737-800 KLM", "B738"},
        {"737", "DG 737-700 Private", "B737"},
        {"737", "a DG 737-600", "B736"},
        {"737", "DG 737-900ER", "B739"},
        {"737", "Boeing 737-800", "737"},
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
    EXPECT_EQ(userTitleShown, "Unknown (encrypted?) aircraft");
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
    EXPECT_EQ(userTitleShown, userTitle);
    lf_userTitleReply((std::string(48, 'T') + "U").c_str());
    const auto logged = log.text();
    const std::string line = "SimConnect: User aircraft title: " + std::string(48, 'T') + "\n";
    EXPECT_EQ(logged.find(line), logged.rfind(line)) << "the same first 48 bytes log nothing more";
}

} // namespace
} // namespace orv
