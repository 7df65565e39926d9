// The program's folder tree and the detection of the simulator's packages.
#include "core/folders.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/text_files.h"

#include <fmt/format.h>

#include <cstdlib>

namespace orv {

namespace fs = std::filesystem;

fs::path userFolder;

namespace {

fs::path lf_xdgHome(const char* VARIABLE, const char* FALLBACK)
{
    if (const char* set = std::getenv(VARIABLE); set != nullptr && *set != '\0') return set;
    const char* home = std::getenv("HOME");
    return fs::path(home != nullptr ? home : ".") / FALLBACK;
}

const char* lf_steamFolderName()
{
    return MSFS_2020.value ? "Microsoft Flight Simulator" : "Microsoft Flight Simulator 2024";
}

const char* lf_storePackageName()
{
    return MSFS_2020.value ? "Microsoft.FlightSimulator_8wekyb3d8bbwe" : "Microsoft.Limitless_8wekyb3d8bbwe";
}

fs::path lf_steamPackages()
{
    const fs::path packages = gf_roamingAppData() / lf_steamFolderName() / "Packages";
    if (!fs::exists(packages)) return {};
    gf_log("Steam packages:" + packages.string());
    return packages;
}

} // namespace

fs::path gf_roamingAppData() { return lf_xdgHome("XDG_CONFIG_HOME", ".config"); }
fs::path gf_localAppData() { return lf_xdgHome("XDG_DATA_HOME", ".local/share"); }
void gf_setUserFolder() { userFolder = gf_roamingAppData() / "TAVO"; }
fs::path gf_flightPlanFolder() { return userFolder / "orig_dest"; }

void lf_makeFolders()
{
    for (const char* folder : {"output", "output/info", "output/errors", "airports", "airports/learned",
                               "airports/learned/stock", "airports/learned/simaddon", "airports/learned/thirdparty",
                               "airports/my_simaddon", "airports/my_thirdparty", "input/my_regcodes"})
        if (!fs::exists(folder)) fs::create_directories(folder);
}

std::string& gf_activeInstallPath()
{
    return MSFS_2020.value ? MSFS_INSTALL_PATH.value : MSFS_2024_INSTALL_PATH.value;
}

fs::path gf_simPath(const fs::path& SUB)
{
    const fs::path root = gf_activeInstallPath();
    return SUB.empty() ? root : root / SUB;
}

bool gf_isSimRoot(const fs::path& PATH)
{
    if (PATH.empty() || !fs::exists(PATH)) return false;
    const char* official = MSFS_2020.value ? "Official" : "Official2024";
    return fs::is_directory(PATH / "Community") && fs::is_directory(PATH / official);
}

fs::path lf_userCfgPath()
{
    const fs::path local = gf_localAppData(), roaming = gf_roamingAppData();
    const std::pair<fs::path, const char*> places[] = {
        {local / "Packages" / lf_storePackageName() / "LocalCache" / "UserCfg.opt", "MSFS detection, no Store:{}"},
        {roaming / lf_steamFolderName() / "UserCfg.opt", "MSFS detection, no Steam1:{}"},
        {local / "Packages" / "Microsoft.FlightDashboard_8wekyb3d8bbwe" / "LocalCache" / "UserCfg.opt",
         "MSFS detection, no Steam2:{}"},
        {local / "MSFSPackages" / "UserCfg.opt", "MSFS detection, no Boxed:{}"},
    };
    for (const auto& [path, absent] : places) {
        if (fs::exists(path)) return path;
        gf_log(fmt::format(fmt::runtime(absent), path.string()));
    }
    return {};
}

std::string lf_installedPackagesPath(const fs::path& USER_CFG)
{
    const auto lines = gf_readLines(USER_CFG);
    if (!lines) return {};
    for (const std::string& line : *lines) {
        if (line.find("InstalledPackagesPath") == std::string::npos) continue;
        const auto first = line.find('"');
        if (first == std::string::npos) return line;
        const auto second = line.find('"', first + 1);
        if (second == std::string::npos) return {};
        return line.substr(first + 1, second - first - 1);
    }
    return {};
}

fs::path gf_detectInstallPath()
{
    if (fs::path steam = lf_steamPackages(); !steam.empty() && gf_isSimRoot(steam)) return steam;
    const fs::path userCfg = lf_userCfgPath();
    if (userCfg.empty()) {
        gf_log("No UserCfg.opt found?");
        return {};
    }
    const std::string packages = lf_installedPackagesPath(userCfg);
    gf_log(fmt::format("UserCfg.opt: InstalledPackagesPath={}", packages.empty() ? "???" : packages));
    if (gf_isSimRoot(packages)) return packages;
    return {};
}

void lf_cutCommunity()
{
    std::string& path = gf_activeInstallPath();
    for (const char* ending : {"\\Community", "/Community"}) {
        if (path.ends_with(ending)) {
            path.erase(path.size() - std::char_traits<char>::length(ending));
            gf_save(MSFS_2020.value ? MSFS_INSTALL_PATH : MSFS_2024_INSTALL_PATH);
            return;
        }
    }
}

} // namespace orv
