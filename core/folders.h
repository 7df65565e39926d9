// Where the program keeps its files, and where the simulator keeps its
// packages. Paths of the program's tree are relative to the current folder,
// which must be the program's folder.
#pragma once

#include <filesystem>
#include <string>

namespace orv {

inline const std::filesystem::path docsFolder = "docs";
inline const std::filesystem::path inputFolder = "input";
inline const std::filesystem::path outputFolder = "output";
inline const std::filesystem::path airportsFolder = "airports";
inline const std::filesystem::path infoFolder = "output/info";
inline const std::filesystem::path errorsFolder = "output/errors";
inline const std::filesystem::path myRegcodesFolder = "input/my_regcodes";
inline const std::filesystem::path mySimaddonFolder = "airports/my_simaddon";
inline const std::filesystem::path myThirdpartyFolder = "airports/my_thirdparty";
inline const std::filesystem::path learnedFolder = "airports/learned";

/// The user data folder ("TAVO" in the roaming application data): holds
/// parameters.xml and orig_dest. Set once at process start by gf_setUserFolder.
extern std::filesystem::path userFolder;

/// The roaming and local application data roots. On Linux these are the XDG
/// config and data homes ($XDG_CONFIG_HOME or ~/.config, $XDG_DATA_HOME or
/// ~/.local/share), read when asked so that tests can point them elsewhere.
std::filesystem::path gf_roamingAppData();
std::filesystem::path gf_localAppData();
void gf_setUserFolder();
/// The flight plan folder under the user folder.
std::filesystem::path gf_flightPlanFolder();

/// Creates the program's folders that are missing.
void lf_makeFolders();

/// The active simulator's install path with SUB joined to it.
std::filesystem::path gf_simPath(const std::filesystem::path& SUB = {});
/// The active simulator's install path parameter's value.
std::string& gf_activeInstallPath();

/// PATH exists and holds Community and the active simulator's Official folder.
bool gf_isSimRoot(const std::filesystem::path& PATH);
/// Finds the active simulator's packages folder; empty when none.
std::filesystem::path gf_detectInstallPath();
/// The first existing UserCfg.opt of the active simulator; empty when none.
std::filesystem::path lf_userCfgPath();
/// The InstalledPackagesPath of a UserCfg.opt (empty for a missing closing quote).
std::string lf_installedPackagesPath(const std::filesystem::path& USER_CFG);

/// Cuts a trailing "\Community" (or "/Community") off the active install path, and saves.
void lf_cutCommunity();

} // namespace orv
