// The demo's reference data and liveries, made by our own tools, read and
// scanned as the program does at its start.
#include "liveries/catalogue.h"
#include "liveries/dbase.h"
#include "liveries/scan_driver.h"
#include "tests/liveries/dbase_fixture.h"

#include "core/folders.h"
#include "core/parameters.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

namespace orv {
namespace {

namespace fs = std::filesystem;

/// The source tree. The compiler may name this file relative to the build folder.
fs::path sourceDir() { return (test::buildDir() / __FILE__).parent_path().parent_path().parent_path(); }

class DemoData : public ::testing::Test {
protected:
    test::TempDir temp;
    test::LogCapture log;
    void SetUp() override
    {
        gf_resetParameters();
        gf_setUserFolder();
        fs::create_directories(userFolder);
        lf_makeFolders();
        const auto build = test::buildDir();
        const auto scramble = fmt::format("\"{}\" \"{}\" temp2.xml", (build / "tavo-scramble").string(),
                                          (sourceDir() / "demo/dbase_plain.xml").string());
        ASSERT_EQ(std::system(scramble.c_str()), 0);
        const auto liveries = fmt::format("\"{}\" sim/Community > /dev/null", (build / "tavo-demo-liveries").string());
        ASSERT_EQ(std::system(liveries.c_str()), 0);
        fs::create_directories("sim/Official");
        gf_clearDbase();
        gf_readDbaseFile("temp2.xml");
    }
    void TearDown() override
    {
        lf_clearScanLists();
        liveryList.clear();
        gf_clearCatalogue();
        liveriesProcessed = false;
        gf_clearDbase();
        gf_resetParameters();
    }
};

TEST_F(DemoData, ReferenceDataHoldsTheCommonTypesAndAirlines)
{
    EXPECT_GE(icaoAirlines.size(), 200u);
    for (const char* airline : {"KLM", "BAW", "DLH", "AFR", "EZY", "RYR", "SAS", "IBE", "UAE", "TAP"})
        EXPECT_TRUE(gf_validAirline(airline)) << airline;
    const std::pair<const char*, ModelCategory> types[] = {
        {"A320", ModelCategory::Large},   {"B738", ModelCategory::Large},     {"E295", ModelCategory::Large},
        {"B77W", ModelCategory::Heavy},   {"A388", ModelCategory::Heavy},     {"C25C", ModelCategory::Buzjets},
        {"GLEX", ModelCategory::Buzjets}, {"EC35", ModelCategory::Rotorcraft}, {"R44", ModelCategory::Rotorcraft},
        {"F16", ModelCategory::HighPerf}, {"C172", ModelCategory::Light},     {"PA28", ModelCategory::Light},
    };
    for (const auto& [model, category] : types) {
        EXPECT_TRUE(gf_validModel(model)) << model;
        EXPECT_EQ(gf_modelCategory(model), category) << model;
    }
    EXPECT_NEAR(gf_halfWingspan("B738") * 1852, 35.79 / 2, 1e-9);
    EXPECT_NEAR(maxHalfWingspan * 1852, 79.75 / 2, 1e-9) << "the A380";
    EXPECT_EQ(gf_dbaseAirline("PHBXA"), "KLM");
    EXPECT_EQ(gf_dbaseOperator("PH-EZA"), "KLC");
    for (const auto& [model, span] : wingspans) EXPECT_TRUE(gf_validModel(model)) << model;
}

TEST_F(DemoData, AutomaticScanFindsTheDemoPackages)
{
    MSFS_2020.value = true;
    MSFS_INSTALL_PATH.value = (temp.path() / "sim").string();
    LIG_AUTOMATIC.value = true;
    gf_scanLiveries(true);
    for (const std::string text : {"Automatic AIG scan found folder: ", "Automatic FSLTL scan found folder: ",
                                   "Automatic user-aitraffic scan found folder: ", " in total", "Category Light: ",
                                   "Category Buzjets: ", "Category Large: ", "Category Heavy: ", "Category Rotorcraft: "})
        EXPECT_NE(log.text().find(text), std::string::npos) << text;
    EXPECT_TRUE(log.contains("Category HighPerf: No livery found"));
    EXPECT_GE(liveryCount, 50);
    for (const auto& report : {errorsFolder / "InvalidAirlineCodes.txt", errorsFolder / "IncompleFltsimSections.txt",
                               errorsFolder / "InvalidAircraftCfgFiles.txt", infoFolder / "AircraftCfgWithNoFltsimSection.txt"})
        EXPECT_TRUE(fs::exists(report)) << report;
    EXPECT_TRUE(catalogue.contains("KLC")) << "the IVAO part and the operator of the regional arm";
    EXPECT_TRUE(genericCargo.contains("B744"));
    EXPECT_TRUE(catalogue.contains("ZZZ")) << "paints without an airline";
    if (std::getenv("TAVO_SHOW_DEMO_LOG"))
        std::cout << log.text() << test::readFile(errorsFolder / "IncompleFltsimSections.txt");
}

} // namespace
} // namespace orv
