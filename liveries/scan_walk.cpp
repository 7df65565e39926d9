// Which folders a scan walks, and the walk of one folder (through directory
// links, never round a cycle of them): each aircraft.cfg
// is read by a worker of the pool, and the results are taken back in the
// order the files were found.
#include "liveries/cfg_keys.h"
#include "liveries/cfg_scan.h"
#include "liveries/scan_driver.h"
#include "liveries/scan_pool.h"

#include "core/errors.h"
#include "core/flags.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <deque>
#include <future>

namespace orv {

namespace fs = std::filesystem;

std::uint32_t scanFolderNumber = 0;

namespace {

constexpr std::size_t maximumFolders = 10;
constexpr std::uint32_t maximumLfolder = 10;
constexpr std::size_t longPath = 250;
/// Results waiting to be fetched, per worker: the walk may run ahead of the
/// oldest file while the others are read.
constexpr std::size_t pendingPerWorker = 8;

constexpr std::array<std::string_view, 9> excludedWords{"airport",  "lvfr",      "mkstudios", "simwings", "fsdreamteam",
                                                        "navigraph", "flytampa", "inibuilds", "_CVT_"};

using Results = std::vector<LiveryData>;

/// The first entry of the Community folder whose path holds WORD.
void lf_findPackage(const fs::path& COMMUNITY, std::vector<fs::path>& FOLDERS, std::string_view WORD,
                    std::string_view LOG_TEXT)
{
    std::error_code failed;
    for (fs::directory_iterator it(COMMUNITY, failed), end; !failed && it != end; it.increment(failed)) {
        const auto path = it->path().string();
        if (path.find(WORD) == std::string::npos || path.find("_CVT_") != std::string::npos) continue;
        FOLDERS.push_back(it->path());
        gf_log(fmt::format(fmt::runtime(LOG_TEXT), path));
        return;
    }
}

Results lf_fileTask(const fs::path& PATH, std::uint32_t LFOLDER)
{
    struct Running {
        Running() { ++scanTasksRunning; }
        ~Running()
        {
            --scanTasksRunning;
            ++scanProgress;
        }
    } running;
    const auto text = PATH.string();
    return gf_isIvaoPath(text) ? lf_searchLiveriesinIvaoFile(PATH, LFOLDER) : lf_searchLiveriesinFile(PATH, LFOLDER);
}

void lf_takeOldest(std::deque<std::future<Results>>& PENDING, Results& LIST, const char* WHERE)
{
    try {
        auto found = PENDING.front().get();
        LIST.insert(LIST.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
    } catch (const std::exception& e) {
        gf_log(fmt::format("liveries search aborted, futs {}, {}", WHERE, e.what()));
    }
    PENDING.pop_front();
}

} // namespace

void lf_findAigFolder(const fs::path& COMMUNITY, std::vector<fs::path>& FOLDERS)
{
    lf_findPackage(COMMUNITY, FOLDERS, "aig-aitraffic-oci", "Automatic AIG scan found folder: \"{}\"");
}

void lf_findFsltlFolder(const fs::path& COMMUNITY, std::vector<fs::path>& FOLDERS)
{
    lf_findPackage(COMMUNITY, FOLDERS, "fsltl-traffic-base", "Automatic FSLTL scan found folder: \"{}\"");
}

void lf_findJustFlightFolder(const fs::path& COMMUNITY, std::vector<fs::path>& FOLDERS)
{
    lf_findPackage(COMMUNITY, FOLDERS, "justflight-aircraft-traffic-fleet", "Automatic JF scan found folder: \"{}\"");
}

void lf_findUserFolder(const fs::path& COMMUNITY, std::vector<fs::path>& FOLDERS)
{
    lf_findPackage(COMMUNITY, FOLDERS, "user-aitraffic", "Automatic user-aitraffic scan found folder: \"{}\"");
}

std::vector<fs::path> lf_scanFolders()
{
    std::vector<fs::path> folders;
    folders.reserve(maximumFolders);
    if (!LIG_AUTOMATIC.value) {
        for (const auto& folder : lfolder)
            if (!folder.value.empty()) folders.emplace_back(folder.value);
        if (folders.empty())
            throw UserErrorException(48, "Set lfolder parameter(-s) to your liveries first, see Manual 5.1 (or check Liveries automatic)");
        return folders;
    }
    using Finder = void (*)(const fs::path&, std::vector<fs::path>&);
    static constexpr std::array<std::array<Finder, 3>, 6> orders{{
        {lf_findAigFolder, lf_findFsltlFolder, lf_findJustFlightFolder},
        {lf_findAigFolder, lf_findJustFlightFolder, lf_findFsltlFolder},
        {lf_findFsltlFolder, lf_findAigFolder, lf_findJustFlightFolder},
        {lf_findFsltlFolder, lf_findJustFlightFolder, lf_findAigFolder},
        {lf_findJustFlightFolder, lf_findAigFolder, lf_findFsltlFolder},
        {lf_findJustFlightFolder, lf_findFsltlFolder, lf_findAigFolder},
    }};
    // Without an install path there is no Community folder to look in.
    const auto community = gf_activeInstallPath().empty() ? fs::path() : gf_simPath("Community");
    if (!community.empty()) {
        const auto order = static_cast<std::size_t>(std::clamp(AI_PACKAGE_ORDER.value, 1, 6) - 1);
        for (const auto finder : orders[order]) finder(community, folders);
    }
    lf_findUserFolder(community, folders); // the user's own package comes last
    return folders;
}

bool gf_excludedFromWalk(const std::string& PATH, std::size_t ROOT_LENGTH)
{
    if (PATH.size() >= longPath) return true;
    for (const auto word : excludedWords)
        if (PATH.find(word, std::min(ROOT_LENGTH, PATH.size())) != std::string::npos) return true;
    return false;
}

bool gf_followLink(const fs::directory_entry& ENTRY, std::set<fs::path>& FOLLOWED)
{
    std::error_code failed;
    if (!ENTRY.is_symlink(failed)) return true;
    const fs::path target = fs::canonical(ENTRY.path(), failed);
    if (failed) {
        gf_log(fmt::format("! link {} leads to {}, which does not exist", ENTRY.path().string(),
                           fs::read_symlink(ENTRY.path(), failed).string()));
        return false;
    }
    if (!fs::is_directory(target, failed)) return true; // a linked file is read as a file
    const fs::path parent = fs::canonical(ENTRY.path().parent_path(), failed);
    if (failed) return false;
    // A link to a folder above itself would take the walk round for ever.
    if (std::mismatch(target.begin(), target.end(), parent.begin(), parent.end()).first == target.end()) {
        gf_log(fmt::format("! link {} leads back to {}, not followed", ENTRY.path().string(), target.string()));
        return false;
    }
    return FOLLOWED.insert(target).second;
}

bool gf_isAircraftCfg(const fs::directory_entry& ENTRY)
{
    std::error_code failed;
    if (!ENTRY.is_regular_file(failed) || failed) return false;
    return gf_equalsIgnoreCase(ENTRY.path().filename().native(), "aircraft.cfg");
}

void lf_searchLiveries(std::uint32_t LFOLDER, const fs::path& FOLDER, std::vector<LiveryData>& LIST)
{
    const unsigned workers = scanTaskLimit > 0 ? scanTaskLimit : std::max(1u, hardwareThreads);
    ScanPool pool(workers);
    const std::size_t window = workers * pendingPerWorker;
    std::deque<std::future<Results>> pending;
    const std::size_t root = FOLDER.string().size();
    std::set<fs::path> followed;
    constexpr auto options = fs::directory_options::skip_permission_denied | fs::directory_options::follow_directory_symlink;
    try {
        for (fs::recursive_directory_iterator it(FOLDER, options), end; it != end; ++it) {
            try {
                if (!gf_followLink(*it, followed)) {
                    it.disable_recursion_pending();
                    continue;
                }
                if (gf_excludedFromWalk(it->path().string(), root)) it.disable_recursion_pending();
                if (!gf_isAircraftCfg(*it)) continue;
                pending.push_back(pool.submit<Results>([path = it->path(), LFOLDER] { return lf_fileTask(path, LFOLDER); }));
                while (pending.size() > window) lf_takeOldest(pending, LIST, "inner");
            } catch (const std::exception& e) {
                gf_log(fmt::format("liveries search in {} aborted, cause: {}", FOLDER.string(), e.what()));
            }
        }
    } catch (const std::exception& e) {
        gf_log(fmt::format("liveries search in folder {} aborted because of iterator problem: {}", FOLDER.string(), e.what()));
        return; // the pool finishes the files begun; their results are given up
    }
    while (!pending.empty()) lf_takeOldest(pending, LIST, "outer");
}

std::size_t lf_scanFolder(const fs::path& FOLDER)
{
    std::error_code failed;
    if (!fs::exists(FOLDER, failed)) {
        gf_log(FOLDER.string() + " does not exist, skipped!");
        return 0;
    }
    if (!fs::is_directory(FOLDER, failed)) {
        gf_log(FOLDER.string() + " is not a folder name, skipped!");
        return 0;
    }
    scanFolderNumber = std::min(scanFolderNumber + 1, maximumLfolder);
    const auto before = liveryList.size();
    if (!exitInProgress && !userClosed) lf_searchLiveries(scanFolderNumber, FOLDER, liveryList);
    const auto added = liveryList.size() - before;
    if (added > 0)
        gf_log(fmt::format("{} liverie{} found in {}", added, added > 1 ? "s" : "", FOLDER.string()));
    else
        gf_log(fmt::format("No liveries found in {}", FOLDER.string()));
    return added;
}

} // namespace orv
