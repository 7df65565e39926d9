// Reading, extending and saving parameters.xml.
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <thread>

namespace orv {
namespace {

using test::readFile;
using test::TempDir;
using test::writeFile;

/// A fresh user folder and default parameters for each test.
class ParametersTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        gf_resetParameters();
        gf_setUserFolder();
        std::filesystem::create_directories(userFolder);
    }
    void TearDown() override { gf_resetParameters(); }

    void writeParameters(const std::string& ENTRIES)
    {
        writeFile(gf_parametersPath(), "<?xml version=\"1.0\"?>\n<parameters>\n" + ENTRIES + "</parameters>\n");
    }
    std::string storedValue(const std::string& NAME)
    {
        pugi::xml_document document;
        document.load_file(gf_parametersPath().c_str());
        auto node = document.select_node(("/parameters/parameter[@name='" + NAME + "']").c_str()).node();
        return node ? node.attribute("value").as_string() : "<absent>";
    }

    TempDir dir;
};

TEST(ParameterReading, BooleansByFirstCharacterAndIntegersClamped)
{
    struct BoolCase {
        const char* text;
        bool expected;
    } bools[] = {{"1", true}, {"true", true}, {"True", true}, {"yes", true}, {"Y", true},
                 {"0", false}, {"false", false}, {"on", false}, {"", false}, {nullptr, false}};
    for (const BoolCase& c : bools) EXPECT_EQ(gf_readBool(c.text), c.expected) << (c.text ? c.text : "null");
    EXPECT_EQ(gf_readInt("500", 2, 100), 100);
    EXPECT_EQ(gf_readInt("-7", 2, 100), 2);
    EXPECT_EQ(gf_readInt("42abc", 2, 100), 42);
    EXPECT_EQ(gf_readInt("", -1, 300), 0);
    EXPECT_EQ(gf_readInt("junk", 2, 100), 2);
}

TEST_F(ParametersTest, MissingFileGivesEveryDefaultWithoutFolderEntries)
{
    lf_readParameters(gf_parameterLists());
    pugi::xml_document document;
    ASSERT_TRUE(document.load_file(gf_parametersPath().c_str()));
    const auto lists = gf_parameterLists();
    size_t expected = lists.bools.size() + lists.checkBoxes.size() + lists.ints.size() + lists.intBoxes.size() +
                      lists.texts.size() - 10 + lists.textBoxes.size();
    EXPECT_EQ(document.select_nodes("/parameters/parameter").size(), expected);
    EXPECT_EQ(storedValue("LATERAL_RANGE"), "40");
    EXPECT_EQ(storedValue("MSFS_2020"), "true");
    EXPECT_EQ(storedValue("CUSTOM_MAX_PARK"), "-1");
    EXPECT_EQ(storedValue("lfolder0"), "<absent>");
    EXPECT_EQ(storedValue("PROGRAM_VERSION"), "10.9.3");
    EXPECT_EQ(storedValue("ALL_INSTALL_PATH"), "<absent>") << "session-only parameters are not stored";
}

TEST_F(ParametersTest, ValuesAreReadClampedAndEmptyFolderEntriesRemoved)
{
    writeParameters(R"(<parameter name="PROGRAM_VERSION" value="10.9.3"/>
<parameter name="LATERAL_RANGE" value="500"/>
<parameter name="LOG" value="no"/>
<parameter name="ALWAYS_ON_TOP" value="yes"/>
<parameter name="MAX_FIT" value="0"/>
<parameter name="lfolder2" value="/liveries"/>
<parameter name="lfolder3" value=""/>
<parameter name="SOMETHING_ELSE" value="kept"/>
)");
    lf_readParameters(gf_parameterLists());
    EXPECT_EQ(LATERAL_RANGE.value, 100);
    EXPECT_FALSE(LOG.value);
    EXPECT_TRUE(ALWAYS_ON_TOP.value);
    EXPECT_FLOAT_EQ(MAX_FIT_FL.value, 0.5f);
    EXPECT_EQ(lfolder[2].value, "/liveries");
    EXPECT_EQ(storedValue("lfolder3"), "<absent>");
    EXPECT_EQ(storedValue("SOMETHING_ELSE"), "kept");
    EXPECT_EQ(storedValue("MATCHING_DEPTH"), "4") << "new entries are added with their defaults";
    EXPECT_FALSE(SCAN_LIVERIES.value == false) << "the same version keeps the stored scan flags";
}

TEST_F(ParametersTest, UpdateFromOlderVersionForcesBothScans)
{
    writeParameters(R"(<parameter name="PROGRAM_VERSION" value="10.8.12"/>
<parameter name="SCAN_LIVERIES" value="false"/>
<parameter name="SCAN_AIRPORTS" value="false"/>
)");
    test::writeFile("install_new_version.exe", "old installer");
    lf_readParameters(gf_parameterLists());
    EXPECT_TRUE(SCAN_LIVERIES.value);
    EXPECT_TRUE(SCAN_AIRPORTS.value);
    EXPECT_EQ(storedValue("SCAN_LIVERIES"), "true");
    EXPECT_EQ(storedValue("PROGRAM_VERSION"), "10.9.3");
    EXPECT_FALSE(std::filesystem::exists("install_new_version.exe"));
}

TEST_F(ParametersTest, GoingBackToAnOlderVersionStoresItWithoutScans)
{
    writeParameters(R"(<parameter name="PROGRAM_VERSION" value="11.0.0"/>
<parameter name="SCAN_LIVERIES" value="false"/>
<parameter name="SCAN_AIRPORTS" value="false"/>
)");
    lf_readParameters(gf_parameterLists());
    EXPECT_FALSE(SCAN_LIVERIES.value);
    EXPECT_FALSE(SCAN_AIRPORTS.value);
    EXPECT_EQ(storedValue("PROGRAM_VERSION"), "10.9.3");
}

TEST_F(ParametersTest, DamagedFileIsReplacedByDefaults)
{
    writeFile(gf_parametersPath(), "<parameters><parameter name=");
    LATERAL_RANGE.value = 77;
    lf_readParameters(gf_parameterLists());
    EXPECT_EQ(LATERAL_RANGE.value, 77) << "values in memory are kept, the file gets the defaults";
    EXPECT_EQ(storedValue("LATERAL_RANGE"), "77");
}

TEST_F(ParametersTest, SavesFromManyThreadsAllLand)
{
    lf_readParameters(gf_parameterLists());
    std::vector<std::thread> savers;
    IntParameter* targets[] = {&LATERAL_RANGE, &AIRPORT_RANGE, &AIRPORT_HEIGHT, &MAX_LIVE};
    const int values[] = {55, 25, 30000, 150};
    for (int k = 0; k < 4; ++k) {
        savers.emplace_back([&, k] {
            for (int round = 0; round < 10; ++round) {
                targets[k]->value = values[k] - (9 - round);
                gf_save(*targets[k]);
            }
        });
    }
    for (auto& t : savers) t.join();
    for (int k = 0; k < 4; ++k) EXPECT_EQ(storedValue(targets[k]->name), std::to_string(values[k]));
}

TEST_F(ParametersTest, WindowPositionOnALimitFallsBackToDefault)
{
    writeParameters(R"(<parameter name="MAIN_WINDOW_X" value="-32000"/>
<parameter name="MAIN_WINDOW_Y" value="300"/>
)");
    EXPECT_EQ(gf_readWindowPosition(MAIN_WINDOW_X), 400);
    EXPECT_EQ(gf_readWindowPosition(MAIN_WINDOW_Y), 300);
}

TEST(MaxFit, HalfHoursLessOneToHours)
{
    EXPECT_FLOAT_EQ(gf_maxFitHours(47), 24.0f);
    EXPECT_FLOAT_EQ(gf_maxFitHours(0), 0.5f);
    EXPECT_FLOAT_EQ(gf_maxFitHours(5), 3.0f);
}

} // namespace
} // namespace orv
