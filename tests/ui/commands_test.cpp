// The window's commands: typed numbers and texts, checkboxes and buttons,
// what they store in parameters.xml and which request flags they raise.
#include "core/exit_request.h"
#include "core/flags.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "parking/airport_db.h"
#include "core/window_state.h"
#include "tests/support/temp_dir.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "ui/commands.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

namespace orv {
namespace {

using test::TempDir;

class CommandsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        gf_resetParameters();
        gf_setUserFolder();
        std::filesystem::create_directories(userFolder);
        gf_clearError();
    }
    void TearDown() override { gf_resetParameters(); }

    static std::string stored(const std::string& NAME)
    {
        pugi::xml_document document;
        document.load_file(gf_parametersPath().c_str());
        auto node = document.select_node(("/parameters/parameter[@name='" + NAME + "']").c_str()).node();
        return node ? node.attribute("value").as_string() : "<absent>";
    }
    static std::string shown()
    {
        std::lock_guard lock(statusMutex);
        return statusText;
    }

    TempDir dir;
};

TEST_F(CommandsTest, TypedNumbers)
{
    struct Case {
        IntBox* box;
        const char* typed;
        bool changed;
        int value;
        const char* message;
        const char* saved;
    } cases[] = {
        {&MATCHING_DEPTH, "2", true, 2, "The new MATCHING_DEPTH is 2", "2"},
        {&MATCHING_DEPTH, "4", false, 4, "Same MATCHING_DEPTH value 4, no changes made", "<absent>"},
        {&MATCHING_DEPTH, "9", true, 4, "The new MATCHING_DEPTH is 4", "4"},
        {&MATCHING_DEPTH, "x2", false, 4, "invalid input: x2", "<absent>"},
        {&MATCHING_DEPTH, "99999999999", false, 4, "", "<absent>"},
        {&CUSTOM_MAX_PARK, "", true, -1, "The new CUSTOM_MAX_PARK is -1", "-1"},
        {&parking_percentage, "", true, 0, "The new parking_percentage is 0", "<absent>"},
        {&TIME_SHIFT_DAYS, "29", true, 28, "The new TIME_SHIFT_DAYS is 28", "<absent>"},
    };
    for (const Case& c : cases) {
        gf_resetParameters();
        std::filesystem::remove(gf_parametersPath());
        gf_clearStatus();
        EXPECT_EQ(procesTbInt(*c.box, c.typed), c.changed) << c.box->name << " " << c.typed;
        EXPECT_EQ(c.box->value, c.value) << c.box->name << " " << c.typed;
        EXPECT_EQ(shown(), c.message) << c.typed;
        EXPECT_EQ(stored(c.box->name), c.saved) << c.box->name << " " << c.typed;
    }
}

TEST_F(CommandsTest, MaxFitTakesHalfHours)
{
    struct Case {
        const char* typed;
        float hours;
        int maxFit;
    } cases[] = {{"1.2", 1.0f, 1}, {"0.2", 0.5f, 0}, {"30", 24.0f, 47}, {"", 24.0f, 47}, {"3.75", 4.0f, 7}};
    for (const Case& c : cases) {
        MAX_FIT_FL.value = 2.0f;
        EXPECT_TRUE(procesTbFloat(MAX_FIT_FL, c.typed)) << c.typed;
        EXPECT_FLOAT_EQ(MAX_FIT_FL.value, c.hours) << c.typed;
        EXPECT_EQ(stored("MAX_FIT"), std::to_string(c.maxFit)) << c.typed;
    }
    EXPECT_EQ(shown(), "The new MAX_FIT_FL is 4.0");
}

TEST_F(CommandsTest, BlockCallsign)
{
    lf_newBlockCallsign("AB");
    EXPECT_EQ(shown(), "callsign \"AB\" is not valid");
    EXPECT_TRUE(BLOCK_CALLSIGN.value.empty());
    blockRequested = false;
    lf_newBlockCallsign("klm1");
    EXPECT_EQ(BLOCK_CALLSIGN.value, "KLM1");
    EXPECT_EQ(stored("BLOCK_CALLSIGN"), "KLM1");
    EXPECT_TRUE(UNBLOCK_BUTTON.enabled);
    EXPECT_TRUE(blockRequested.exchange(false));
    lf_newBlockCallsign("KLM1");
    EXPECT_EQ(shown(), "callsign \"KLM1\" was already set ...");
    EXPECT_FALSE(blockRequested);
    lf_newBlockCallsign("");
    EXPECT_EQ(shown(), "no more blocking of live aircraft \"KLM1\"");
    EXPECT_EQ(stored("BLOCK_CALLSIGN"), "");
    EXPECT_FALSE(UNBLOCK_BUTTON.enabled);
    EXPECT_TRUE(blockRequested.exchange(false));
}

TEST_F(CommandsTest, DestinationNeedsAKnownAirport)
{
    lf_newDestination("EHA");
    EXPECT_EQ(shown(), "destination \"EHA\" is not valid");
    lf_newDestination("eham");
    EXPECT_EQ(shown(), "destination \"EHAM\" is unknown ...");
    EXPECT_TRUE(DESTINATION.value.empty());
    REREAD_BUTTON.enabled = false;
    lf_newDestination("");
    EXPECT_EQ(shown(), "destination set to empty");
    EXPECT_TRUE(REREAD_BUTTON.enabled);

    airportList.push_back({"EHAM", "AMS", 52.31, 4.76, -11});
    destinationRequested = false;
    lf_newDestination("eham");
    EXPECT_EQ(shown(), "New destination: EHAM");
    EXPECT_EQ(stored("DESTINATION"), "EHAM");
    EXPECT_FALSE(REREAD_BUTTON.enabled);
    EXPECT_TRUE(destinationRequested.exchange(false));
    lf_newDestination("EHAM");
    EXPECT_EQ(shown(), "destination \"EHAM\" was already set ...");
    airportList.clear();
}

TEST_F(CommandsTest, InstallPathWithCommunityIsCutAndRestarts)
{
    std::filesystem::create_directories(dir / "sim/Community");
    lf_newSimPath(MSFS_INSTALL_PATH, (dir / "nowhere").string());
    EXPECT_EQ(shown(), "This install path does not exist: " + (dir / "nowhere").string());
    lf_newSimPath(MSFS_INSTALL_PATH, dir.path().string());
    EXPECT_EQ(shown(), "This path exists but is not a path to Community ...");
    exitInProgress = false;
    gf_setExitStarter([](int) {});
    lf_newSimPath(MSFS_INSTALL_PATH, (dir / "sim/Community/").string());
    EXPECT_EQ(MSFS_INSTALL_PATH.value, (dir / "sim").string());
    EXPECT_EQ(stored("MSFS_INSTALL_PATH"), (dir / "sim").string());
    EXPECT_EQ(exitReason, RESTART_IPP);
    exitInProgress = false;
    exitReason = NOT_YET_SET;
}

TEST_F(CommandsTest, ClicksToggleSaveAndRaiseFlags)
{
    EXPECT_FALSE(gf_click("no such control"));
    LEARN_SOFT.enabled = false;
    EXPECT_FALSE(gf_click("LEARN_SOFT")) << "a disabled control takes no command";
    EXPECT_TRUE(gf_click("COLLISION_USER_AIR"));
    EXPECT_EQ(stored("COLLISION_USER_AIR"), "false");
    EXPECT_EQ(shown(), "Be aware, no collision avoidance with user aircraft in the air");
    EXPECT_TRUE(gf_click("COLLISION_USER_AIR"));
    EXPECT_EQ(shown(), "");

    AUTO_RANGE.value = false;
    LATERAL_RANGE.value = 25;
    rangeRequested = false;
    EXPECT_TRUE(gf_click("AUTO_RANGE"));
    EXPECT_FALSE(LATERAL_RANGE.enabled);
    EXPECT_TRUE(AUTO_RANGE_ABOVE_HEIGHT.enabled);
    EXPECT_TRUE(rangeRequested.exchange(false));
    LATERAL_RANGE.value = 10; // what the automatic range gave
    EXPECT_TRUE(gf_click("AUTO_RANGE"));
    EXPECT_EQ(LATERAL_RANGE.value, 25) << "the range typed before comes back";
    EXPECT_TRUE(LATERAL_RANGE.enabled);
    EXPECT_TRUE(rangeRequested.exchange(false));

    EXPECT_TRUE(gf_click("RT_PARKTRAFFIC_ONLY"));
    EXPECT_TRUE(parking_percentage.emptied);
    EXPECT_FALSE(WEEK.enabled);
    EXPECT_TRUE(parkRefreshRtOnly);
    EXPECT_TRUE(gf_click("RT_PARKTRAFFIC_ONLY"));
    EXPECT_FALSE(parking_percentage.emptied);
    EXPECT_TRUE(WEEK.enabled);
}

TEST_F(CommandsTest, EnterAnswersWhatTheBoxShows)
{
    EXPECT_FALSE(gf_enter("MATCHING_DEPTH", "2")) << "disabled";
    MATCHING_DEPTH.enabled = true;
    MATCHING_DEPTH.value = 2;
    noLiveryResetRequested = false;
    EXPECT_EQ(gf_enter("MATCHING_DEPTH", "3"), "3");
    EXPECT_TRUE(noLiveryResetRequested.exchange(false)) << "the depth rose";
    EXPECT_EQ(gf_enter("MATCHING_DEPTH", "none"), "3");
    EXPECT_EQ(gf_enter("MATCHING_DEPTH", "1"), "1");
    EXPECT_FALSE(noLiveryResetRequested);
    EXPECT_FALSE(gf_enter("LOG", "1")) << "a checkbox takes no text";
    MATCHING_DEPTH.enabled = false;
}

TEST_F(CommandsTest, ObjectIdLookupOfACallsignInTheSimulator)
{
    CALLSIGN_2_OBJECTID.enabled = true;
    objectIdLookupRequested = false;
    EXPECT_EQ(gf_enter("CALLSIGN_2_OBJECTID", "klm1234"), "KLM1234");
    EXPECT_TRUE(objectIdLookupRequested.exchange(false));
    act& record = liveList.emplace_back();
    record.callsign = "KLM1234";
    record.state = ActState::creating;
    gf_objectIdLookup();
    EXPECT_EQ(shown(), "callsign \"KLM1234\" is unknown") << "not in the simulator yet";
    EXPECT_EQ(gf_objectIdText(), "");
    record.state = ActState::active;
    record.objectId = 42;
    gf_objectIdLookup();
    EXPECT_EQ(gf_objectIdText(), "= 42");
    EXPECT_EQ(selectedObject, 42u);
    EXPECT_EQ(gf_enter("CALLSIGN_2_OBJECTID", ""), "");
    EXPECT_EQ(gf_objectIdText(), "") << "an emptied box empties the text";
    liveList.clear();
    CALLSIGN_2_OBJECTID.enabled = false;
}

} // namespace
} // namespace orv
