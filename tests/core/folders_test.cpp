// Detection of the simulator's packages with fake application data trees.
// (The program's own folder tree is checked where the program starts.)
#include "core/folders.h"
#include "core/parameters.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::TempDir;
using test::writeFile;

class DetectionTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        gf_resetParameters();
        gf_setUserFolder();
    }
    void TearDown() override { gf_resetParameters(); }
    /// A UserCfg.opt at AT with LINE among others.
    void userCfg(const fs::path& AT, const std::string& LINE)
    {
        writeFile(AT, "Version 1\nGraphics {\n}\n" + LINE + "\n");
    }

    TempDir dir;
};

TEST_F(DetectionTest, EachCopyOfTheSimulatorIsFoundByItsSetting)
{
    const fs::path local = gf_localAppData(), roaming = gf_roamingAppData();
    const fs::path boxed = local / "MSFSPackages" / "UserCfg.opt";
    const fs::path steam = roaming / "Microsoft Flight Simulator" / "UserCfg.opt";
    const fs::path store2024 = local / "Packages" / "Microsoft.Limitless_8wekyb3d8bbwe" / "LocalCache" / "UserCfg.opt";
    const fs::path steamPackages2020 = roaming / "Microsoft Flight Simulator" / "Packages";
    // A simulator root: Community and, when named, the Official folder.
    const auto makeRoot = [](const fs::path& ROOT, const std::string& OFFICIAL) {
        fs::create_directories(ROOT / "Community");
        if (!OFFICIAL.empty()) fs::create_directories(ROOT / OFFICIAL);
    };
    for (const auto& [name, official] :
         {std::pair{"Boxed", "Official"}, {"Steam", "Official"}, {"Store", "Official2024"}, {"NoOfficial", ""}})
        makeRoot(dir / name, official);
    struct Case {
        const char* why;
        bool msfs2020;
        std::vector<std::pair<fs::path, std::string>> settings; ///< UserCfg.opt and the root it names
        bool steamPackages;                                      ///< 2020's Steam packages folder is there
        fs::path found;
    } cases[] = {
        {"nothing installed", true, {}, false, ""},
        {"the boxed copy", true, {{boxed, "Boxed"}}, false, dir / "Boxed"},
        {"Steam's setting before the boxed one", true, {{boxed, "Boxed"}, {steam, "Steam"}}, false, dir / "Steam"},
        {"a root without its Official folder", true, {{boxed, "NoOfficial"}}, false, ""},
        {"2020 on Steam: its packages folder", true, {{store2024, "Store"}}, true, steamPackages2020},
        {"2024 from the store", false, {{store2024, "Store"}}, true, dir / "Store"},
        {"2024 needs Official2024", false, {{store2024, "Boxed"}}, false, ""},
    };
    for (const Case& c : cases) {
        for (const fs::path& cfg : {boxed, steam, store2024}) fs::remove(cfg);
        fs::remove_all(steamPackages2020);
        if (c.steamPackages) makeRoot(steamPackages2020, "Official");
        MSFS_2020.value = c.msfs2020;
        for (const auto& [cfg, root] : c.settings)
            userCfg(cfg, "InstalledPackagesPath \"" + (dir / root).string() + "\"");
        EXPECT_EQ(gf_detectInstallPath(), c.found) << c.why;
    }
    EXPECT_FALSE(gf_isSimRoot(""));
}

TEST_F(DetectionTest, PackagesPathLineRules)
{
    const fs::path cfg = dir / "UserCfg.opt";
    const std::pair<const char*, const char*> cases[] = {
        {"InstalledPackagesPath \"D:\\MSFS\\Packages\"", "D:\\MSFS\\Packages"},
        {"InstalledPackagesPath \"D:\\MSFS\\Packages", ""}, // missing closing quote
        {"InstalledPackagesPath D:\\MSFS", "InstalledPackagesPath D:\\MSFS"},
        {"NoSuchKey \"x\"", ""},
    };
    for (const auto& [line, expected] : cases) {
        userCfg(cfg, line);
        EXPECT_EQ(lf_installedPackagesPath(cfg), expected) << line;
    }
}

TEST_F(DetectionTest, TrailingCommunityIsCutOnceAndSaved)
{
    fs::create_directories(userFolder);
    MSFS_INSTALL_PATH.value = "C:\\Games\\MSFS\\Community";
    lf_cutCommunity();
    EXPECT_EQ(MSFS_INSTALL_PATH.value, "C:\\Games\\MSFS");
    lf_cutCommunity();
    EXPECT_EQ(MSFS_INSTALL_PATH.value, "C:\\Games\\MSFS");
    MSFS_2020.value = false;
    MSFS_2024_INSTALL_PATH.value = "/games/msfs2024/Community";
    lf_cutCommunity();
    EXPECT_EQ(MSFS_2024_INSTALL_PATH.value, "/games/msfs2024");
    EXPECT_NE(test::readFile(gf_parametersPath()).find("/games/msfs2024\""), std::string::npos);
}

} // namespace
} // namespace orv
