// Reading, extending and saving parameters.xml.
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/text_files.h"
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
    /// How many parameters the file holds.
    static std::size_t storedCount()
    {
        pugi::xml_document document;
        document.load_file(gf_parametersPath().c_str());
        return document.select_nodes("/parameters/parameter").size();
    }
    /// Every stored parameter: all of the lists but the empty folder entries.
    static std::size_t fullCount()
    {
        const auto lists = gf_parameterLists();
        return lists.bools.size() + lists.checkBoxes.size() + lists.ints.size() + lists.intBoxes.size() +
               lists.texts.size() - 10 + lists.textBoxes.size();
    }
    std::string storedValue(const std::string& NAME)
    {
        pugi::xml_document document;
        document.load_file(gf_parametersPath().c_str());
        auto node = document.select_node(("/parameters/parameter[@name='" + NAME + "']").c_str()).node();
        return node ? node.attribute("value").as_string() : "<absent>";
    }

    /// The text of the one damaged file kept aside; "<none>" or "<several>".
    static std::string damagedCopy()
    {
        std::vector<std::filesystem::path> found;
        for (const auto& entry : std::filesystem::directory_iterator(userFolder))
            if (entry.path().filename().string().starts_with("parameters.damaged-")) found.push_back(entry.path());
        if (found.size() != 1) return found.empty() ? "<none>" : "<several>";
        return readFile(found.front());
    }

    TempDir dir;
};

TEST(ParameterReading, BooleansByFirstCharacterIntegersClampedHalfHoursToHours)
{
    const std::pair<const char*, bool> bools[] = {{"1", true},     {"true", true}, {"True", true},  {"yes", true},
                                                  {"Y", true},     {"0", false},   {"false", false}, {"on", false},
                                                  {"", false},     {nullptr, false}};
    for (const auto& [text, expected] : bools) EXPECT_EQ(gf_readBool(text), expected) << (text ? text : "null");
    for (const auto& [text, low, high, expected] : {std::tuple{"500", 2, 100, 100}, {"-7", 2, 100, 2},
                                                    {"42abc", 2, 100, 42}, {"", -1, 300, 0}, {"junk", 2, 100, 2}})
        EXPECT_EQ(gf_readInt(text, low, high), expected) << text;
    // MAX_FIT counts half hours less one.
    EXPECT_FLOAT_EQ(gf_maxFitHours(47), 24.0f);
    EXPECT_FLOAT_EQ(gf_maxFitHours(0), 0.5f);
    EXPECT_FLOAT_EQ(gf_maxFitHours(5), 3.0f);
}

TEST_F(ParametersTest, MissingFileGivesEveryDefaultWithoutFolderEntries)
{
    lf_readParameters(gf_parameterLists());
    EXPECT_EQ(storedCount(), fullCount());
    EXPECT_EQ(storedValue("LATERAL_RANGE"), "40");
    EXPECT_EQ(storedValue("MSFS_2020"), "true");
    EXPECT_EQ(storedValue("CUSTOM_MAX_PARK"), "-1");
    EXPECT_EQ(storedValue("lfolder0"), "<absent>");
    EXPECT_EQ(storedValue("PROGRAM_VERSION"), "10.9.3");
    EXPECT_EQ(storedValue("ALL_INSTALL_PATH"), "<absent>") << "session-only parameters are not stored";
}

TEST_F(ParametersTest, ValuesAreReadClampedAndEmptyFolderEntriesRemoved)
{
    writeParameters(R"(<parameter name="PROGRAM_VERSION" value="10.9.3"/><parameter name="LATERAL_RANGE" value="500"/>
<parameter name="LOG" value="no"/><parameter name="ALWAYS_ON_TOP" value="yes"/><parameter name="MAX_FIT" value="0"/>
<parameter name="lfolder2" value="/liveries"/><parameter name="lfolder3" value=""/>
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

TEST_F(ParametersTest, AnotherVersionIsStoredAndOnlyAnUpdateForcesBothScansAndDropsTheInstaller)
{
    for (const auto& [stored, update] : {std::pair{"10.8.12", true}, {"11.0.0", false}}) {
        writeParameters(std::string("<parameter name=\"PROGRAM_VERSION\" value=\"") + stored + R"("/>
<parameter name="SCAN_LIVERIES" value="false"/>
<parameter name="SCAN_AIRPORTS" value="false"/>
)");
        test::writeFile("install_new_version.exe", "old installer");
        lf_readParameters(gf_parameterLists());
        EXPECT_EQ(SCAN_LIVERIES.value, update) << stored;
        EXPECT_EQ(SCAN_AIRPORTS.value, update) << stored;
        EXPECT_EQ(storedValue("SCAN_LIVERIES"), update ? "true" : "false") << stored;
        EXPECT_EQ(storedValue("PROGRAM_VERSION"), "10.9.3") << stored;
        EXPECT_EQ(std::filesystem::exists("install_new_version.exe"), !update) << stored;
    }
}

TEST_F(ParametersTest, DamagedFileIsKeptAsideAndReplacedByTheWholeSet)
{
    const std::string damaged = "<parameters><parameter name=";
    writeFile(gf_parametersPath(), damaged);
    LATERAL_RANGE.value = 77;
    lf_readParameters(gf_parameterLists());
    EXPECT_EQ(LATERAL_RANGE.value, 77) << "values in memory are kept, the file gets the defaults";
    EXPECT_EQ(storedValue("LATERAL_RANGE"), "77");
    EXPECT_EQ(damagedCopy(), damaged);
    AIRPORT_RANGE.value = 25;
    gf_save(AIRPORT_RANGE);
    EXPECT_EQ(storedCount(), fullCount());
    EXPECT_EQ(storedValue("AIRPORT_RANGE"), "25");
}

TEST_F(ParametersTest, ASaveWithoutAReadableFileWritesEveryParameter)
{
    struct Case {
        const char* what;
        const char* text; ///< nullptr: no file at all
    } cases[] = {{"no file", nullptr}, {"cut off", "<?xml version=\"1.0\"?>\n<parameters>\n<parameter na"},
                 {"other root", "<settings/>"}, {"empty", ""}};
    lfolder[1].value = "/my/liveries";
    for (const Case& c : cases) {
        std::filesystem::remove(gf_parametersPath());
        for (const auto& entry : std::filesystem::directory_iterator(userFolder))
            if (entry.path().filename().string().starts_with("parameters.damaged")) std::filesystem::remove(entry);
        if (c.text != nullptr) writeFile(gf_parametersPath(), c.text);
        MAX_LIVE.value = 120;
        gf_save(MAX_LIVE);
        EXPECT_EQ(storedCount(), fullCount() + 1) << c.what << ": the whole set and the folder entry";
        EXPECT_EQ(storedValue("MAX_LIVE"), "120") << c.what;
        EXPECT_EQ(storedValue("lfolder1"), "/my/liveries") << c.what;
        if (c.text != nullptr) {
            EXPECT_EQ(damagedCopy(), c.text) << c.what << ": kept aside";
        }
    }
}

TEST_F(ParametersTest, ASaveCutShortLeavesTheOldFileWhole)
{
    gf_openLog("Log.txt");
    lf_readParameters(gf_parameterLists());
    const std::string before = readFile(gf_parametersPath());
    const std::filesystem::path temporary = gf_parametersPath().string() + ".tmp";
    // Killed between writing and renaming: the old file stands, whole.
    LATERAL_RANGE.value = 12;
    saveStopsBeforeRename = true;
    gf_save(LATERAL_RANGE);
    saveStopsBeforeRename = false;
    EXPECT_TRUE(readFile(gf_parametersPath()) == before) << "a save cut short changed the file";
    // The temporary file cannot be written: the same.
    std::filesystem::remove(temporary);
    std::filesystem::create_directory(temporary);
    gf_save(LATERAL_RANGE);
    EXPECT_TRUE(readFile(gf_parametersPath()) == before) << "a failed save changed the file";
    EXPECT_NE(readFile("Log.txt").find("saving xml did not work?"), std::string::npos);
    // The next good save replaces it and leaves no temporary file behind.
    std::filesystem::remove(temporary);
    gf_save(LATERAL_RANGE);
    EXPECT_EQ(storedValue("LATERAL_RANGE"), "12");
    EXPECT_EQ(storedCount(), fullCount());
    EXPECT_FALSE(std::filesystem::exists(temporary));
    std::lock_guard lock(logMutex);
    logStream.close();
}

TEST_F(ParametersTest, SavesFromManyThreadsAllLand)
{
    lf_readParameters(gf_parameterLists());
    const std::pair<IntParameter*, int> targets[] = {
        {&LATERAL_RANGE, 55}, {&AIRPORT_RANGE, 25}, {&AIRPORT_HEIGHT, 30000}, {&MAX_LIVE, 150}};
    {
        std::vector<std::jthread> savers;
        for (const auto& [target, value] : targets)
            savers.emplace_back([target, value] {
                for (int round = 0; round < 10; ++round) {
                    target->value = value - (9 - round);
                    gf_save(*target);
                }
            });
    }
    for (const auto& [target, value] : targets) EXPECT_EQ(storedValue(target->name), std::to_string(value));
}

TEST_F(ParametersTest, ADamagedFileIsKeptAsideAndTheLastGoodCopyTakesItsPlace)
{
    gf_openLog("Log.txt");
    writeParameters(R"(<parameter name="PROGRAM_VERSION" value="10.9.3"/><parameter name="RT_LICENSE" value="KEY-1"/>
<parameter name="LATERAL_RANGE" value="33"/><parameter name="MSFS_INSTALL_PATH" value="/sim/Community"/>
)");
    lf_readParameters(gf_parameterLists()); // the first start leaves a good copy
    const std::string good = readFile(gf_parametersPath());
    struct Case {
        const char* what;
        std::string text;
        bool goodCopy;
    } cases[] = {{"cut in half", good.substr(0, good.size() / 2), true},
                 {"empty", "", true},
                 {"another root", "<settings/>", true},
                 {"binary junk", std::string("\0\xff\xfe<par", 6), true},
                 {"cut, no good copy", good.substr(0, good.size() / 3), false}};
    for (const Case& c : cases) {
        for (const auto& entry : std::filesystem::directory_iterator(userFolder))
            if (entry.path().filename().string().starts_with("parameters.damaged")) std::filesystem::remove(entry);
        if (!c.goodCopy) std::filesystem::remove(gf_goodCopyPath());
        writeFile(gf_parametersPath(), c.text);
        gf_resetParameters();
        const auto logBefore = readFile("Log.txt").size();
        lf_readParameters(gf_parameterLists());
        const std::string log = readFile("Log.txt").substr(logBefore);
        EXPECT_EQ(damagedCopy(), c.text) << c.what << ": the damaged file is kept under a new name";
        EXPECT_EQ(log.find("not found"), std::string::npos) << c.what << ": the file is there, only damaged";
        EXPECT_EQ(RT_LICENSE.value, c.goodCopy ? "KEY-1" : "") << c.what;
        EXPECT_EQ(LATERAL_RANGE.value, c.goodCopy ? 33 : 40) << c.what;
        EXPECT_EQ(storedValue("MSFS_INSTALL_PATH"), c.goodCopy ? "/sim/Community" : "") << c.what;
        EXPECT_NE(log.find(c.goodCopy ? "parameters.xml is damaged; the last good copy from "
                                      : "parameters.xml is damaged and no good copy is left"),
                  std::string::npos)
            << c.what << ": the user is told";
        EXPECT_NE(log.find("the damaged file is kept as parameters.damaged-"), std::string::npos) << c.what;
    }
    std::lock_guard lock(logMutex);
    logStream.close();
}

TEST_F(ParametersTest, ANumberThatDoesNotReadKeepsTheValueItHad)
{
    writeParameters(R"(<parameter name="PROGRAM_VERSION" value="10.9.3"/><parameter name="LATERAL_RANGE" value="33"/>
)");
    lf_readParameters(gf_parameterLists());
    for (const char* typo : {"forty", "", " ", "-", "x12"}) {
        writeParameters(R"(<parameter name="PROGRAM_VERSION" value="10.9.3"/><parameter name="LATERAL_RANGE" value=")" +
                        std::string(typo) + "\"/>\n");
        gf_resetParameters();
        lf_readParameters(gf_parameterLists());
        EXPECT_EQ(LATERAL_RANGE.value, 33) << typo << ": the value of the last good copy";
        EXPECT_EQ(storedValue("LATERAL_RANGE"), "33") << typo << ": the file is mended";
    }
    // Without a good copy the value in memory stands, not the minimum.
    std::filesystem::remove(gf_goodCopyPath());
    writeParameters(R"(<parameter name="PROGRAM_VERSION" value="10.9.3"/><parameter name="LATERAL_RANGE" value="forty"/>
)");
    gf_resetParameters();
    lf_readParameters(gf_parameterLists());
    EXPECT_EQ(LATERAL_RANGE.value, 40);
}

TEST_F(ParametersTest, TheFileIsWrittenOnlyWhenWhatItHoldsChanges)
{
    const auto writesOf = [](auto&& STEP) {
        const auto before = parameterWrites.load();
        STEP();
        return parameterWrites.load() - before;
    };
    EXPECT_EQ(writesOf([] { lf_readParameters(gf_parameterLists()); }), 1) << "a first start writes the defaults";
    EXPECT_EQ(writesOf([] { lf_readParameters(gf_parameterLists()); }), 0) << "a second start changes nothing";
    EXPECT_EQ(writesOf([] { gf_save(LATERAL_RANGE); }), 0) << "the value stored already";
    LATERAL_RANGE.value = 21;
    EXPECT_EQ(writesOf([] { gf_save(LATERAL_RANGE); }), 1);
    EXPECT_EQ(readFile(gf_goodCopyPath()), readFile(gf_parametersPath())) << "the good copy follows each write";
    EXPECT_FALSE(std::filesystem::exists(gf_parametersPath().string() + ".tmp"));
}

TEST_F(ParametersTest, WindowPositionOnALimitFallsBackToDefault)
{
    writeParameters(R"(<parameter name="MAIN_WINDOW_X" value="-32000"/>
<parameter name="MAIN_WINDOW_Y" value="300"/>
)");
    EXPECT_EQ(gf_readWindowPosition(MAIN_WINDOW_X), 400);
    EXPECT_EQ(gf_readWindowPosition(MAIN_WINDOW_Y), 300);
}

} // namespace
} // namespace orv
