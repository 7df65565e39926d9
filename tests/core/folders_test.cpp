// Detection of the simulator's packages with fake application data trees.
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

    /// A simulator root with Community and the given Official folder.
    fs::path makeRoot(const std::string& NAME, const char* OFFICIAL)
    {
        const fs::path root = dir / NAME;
        fs::create_directories(root / "Community");
        if (OFFICIAL != nullptr) fs::create_directories(root / OFFICIAL);
        return root;
    }
    void userCfg(const fs::path& AT, const std::string& LINE)
    {
        writeFile(AT, "Version 1\nGraphics {\n}\n" + LINE + "\n");
    }
    fs::path local() { return gf_localAppData(); }
    fs::path roaming() { return gf_roamingAppData(); }

    TempDir dir;
};

TEST_F(DetectionTest, SteamCopyOf2020AndStoreCopyOf2024EachFoundByTheirSetting)
{
    const fs::path steam2020 = roaming() / "Microsoft Flight Simulator" / "Packages";
    fs::create_directories(steam2020 / "Community");
    fs::create_directories(steam2020 / "Official");
    const fs::path store2024 = makeRoot("Store2024", "Official2024");
    userCfg(local() / "Packages" / "Microsoft.Limitless_8wekyb3d8bbwe" / "LocalCache" / "UserCfg.opt",
            "InstalledPackagesPath \"" + store2024.string() + "\"");
    MSFS_2020.value = true;
    EXPECT_EQ(gf_detectInstallPath(), steam2020);
    MSFS_2020.value = false;
    EXPECT_EQ(gf_detectInstallPath(), store2024);
}

TEST_F(DetectionTest, UserCfgPlacesTriedInOrder)
{
    const fs::path boxed = makeRoot("Boxed", "Official");
    const fs::path steam = makeRoot("Steam", "Official");
    userCfg(local() / "MSFSPackages" / "UserCfg.opt", "InstalledPackagesPath \"" + boxed.string() + "\"");
    EXPECT_EQ(gf_detectInstallPath(), boxed);
    userCfg(roaming() / "Microsoft Flight Simulator" / "UserCfg.opt", "InstalledPackagesPath \"" + steam.string() + "\"");
    EXPECT_EQ(gf_detectInstallPath(), steam) << "the Steam place comes before the boxed one";
}

TEST_F(DetectionTest, PackagesPathLineRules)
{
    const fs::path cfg = dir / "UserCfg.opt";
    struct Case {
        std::string line;
        std::string expected;
    } cases[] = {
        {"InstalledPackagesPath \"D:\\MSFS\\Packages\"", "D:\\MSFS\\Packages"},
        {"InstalledPackagesPath \"D:\\MSFS\\Packages", ""}, // missing closing quote
        {"InstalledPackagesPath D:\\MSFS", "InstalledPackagesPath D:\\MSFS"},
        {"NoSuchKey \"x\"", ""},
    };
    for (const Case& c : cases) {
        userCfg(cfg, c.line);
        EXPECT_EQ(lf_installedPackagesPath(cfg), c.expected) << c.line;
    }
}

TEST_F(DetectionTest, RootWithoutOfficialFolderIsRefused)
{
    const fs::path root = makeRoot("NoOfficial", nullptr);
    userCfg(local() / "MSFSPackages" / "UserCfg.opt", "InstalledPackagesPath \"" + root.string() + "\"");
    EXPECT_FALSE(gf_isSimRoot(root));
    EXPECT_TRUE(gf_detectInstallPath().empty());
    EXPECT_FALSE(gf_isSimRoot(""));
    MSFS_2020.value = false;
    EXPECT_FALSE(gf_isSimRoot(makeRoot("Only2020", "Official"))) << "2024 needs Official2024";
}

TEST_F(DetectionTest, NothingInstalledAnswersEmpty)
{
    EXPECT_TRUE(gf_detectInstallPath().empty());
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

TEST_F(DetectionTest, MakeFoldersBuildsTheTree)
{
    lf_makeFolders();
    for (const char* folder : {"output/info", "output/errors", "airports/learned/stock", "airports/learned/simaddon",
                               "airports/learned/thirdparty", "airports/my_simaddon", "airports/my_thirdparty",
                               "input/my_regcodes"})
        EXPECT_TRUE(fs::is_directory(folder)) << folder;
}

} // namespace
} // namespace orv
