// The livery scan: which folders, the walk with its worker tasks, the
// correction against the reference data, the stored catalogue file and the
// reports the user reads in the log and in output/info and output/errors.
#pragma once

#include "liveries/livery_data.h"
#include "liveries/dbase.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace orv {

/// The liveries of the scan or of LiveriesScanned.xml, until the catalogue stands.
extern std::vector<LiveryData> liveryList;
/// Files read at once: the hardware threads (set before a scan).
extern std::uint32_t scanTaskLimit;
/// Tasks that have started and not ended.
extern std::atomic<std::uint32_t> scanTasksRunning;
/// The catalogue has been built in this process.
extern bool liveriesProcessed;
/// Lines of AirlineModelConversions.txt.
extern std::vector<std::string> conversionLines;
/// Liveries shown on the window.
extern std::atomic<int> liveryCount;

/// The driver, called at each start-up with the value of SCAN_LIVERIES.
void gf_scanLiveries(bool DO_SCAN);
void lf_scanAndProcess(bool DO_SCAN, const std::vector<std::filesystem::path>& FOLDERS);
/// The folders of a manual or automatic scan, in priority order.
std::vector<std::filesystem::path> lf_scanFolders();
void lf_findAigFolder(const std::filesystem::path& COMMUNITY, std::vector<std::filesystem::path>& FOLDERS);
void lf_findFsltlFolder(const std::filesystem::path& COMMUNITY, std::vector<std::filesystem::path>& FOLDERS);
void lf_findJustFlightFolder(const std::filesystem::path& COMMUNITY, std::vector<std::filesystem::path>& FOLDERS);
void lf_findUserFolder(const std::filesystem::path& COMMUNITY, std::vector<std::filesystem::path>& FOLDERS);

/// One folder of the list; `lfolder` counts it. Returns the liveries added.
std::size_t lf_scanFolder(const std::filesystem::path& FOLDER);
/// The walk of one folder; its liveries go to LIST in the order found.
void lf_searchLiveries(std::uint32_t LFOLDER, const std::filesystem::path& FOLDER, std::vector<LiveryData>& LIST);
/// The walk's exclusions: entries below these are not descended into.
/// The words are looked for below the scanned folder only (from ROOT_LENGTH on):
/// a user whose own folders are named "airports" still has liveries.
bool gf_excludedFromWalk(const std::string& PATH, std::size_t ROOT_LENGTH = 0);
/// Whether a walk goes on with ENTRY. Add-on managers put packages into the
/// Community folder as directory links (junctions on Windows): a link is
/// followed unless its target is missing (logged), lies above the link (a
/// cycle, logged) or was walked through another link already. FOLLOWED holds
/// the targets walked so far in this walk. Any other entry goes on.
bool gf_followLink(const std::filesystem::directory_entry& ENTRY, std::set<std::filesystem::path>& FOLLOWED);
/// A regular file named aircraft.cfg in any case.
bool gf_isAircraftCfg(const std::filesystem::directory_entry& ENTRY);
/// The number of the present folder of the scan (a livery's lfolder), from 1, at most 10.
extern std::uint32_t scanFolderNumber;

/// Brings a livery in line with the airframe of its registration.
void lf_correctFromDbase(LiveryData& LIVERY);
/// LIG_PRIORITIZE: per airline and model only the first folder's liveries stay.
void lf_pruneByFolder(std::vector<LiveryData>& LIST);
/// Sorts by airline, model, registration, title and drops exact doubles.
void lf_sortLiveries(std::vector<LiveryData>& LIST);

void lf_removeSideFiles();
void lf_reportScan();
void lf_clearScanLists();
void gf_writeScanned();
void gf_readScanned();
void lf_processScannedLiveries();
void lf_categoryReport(ModelCategory CATEGORY);
void lf_genericReport();
/// A list of models as the log shows it: 20 to a line, two blanks in front.
std::vector<std::string> gf_modelListLines(const std::vector<std::string>& MODELS);

/// Where the stored catalogue lives.
std::filesystem::path gf_scannedPath();

} // namespace orv
