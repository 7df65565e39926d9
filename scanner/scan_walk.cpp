// The walk of one simulator folder for BGL files of airports: whole branches
// are cut off by their names, the cheap test of the file's head runs on the
// walking thread, and each file that holds airports is read by a worker of a
// pool as large as the livery scan's (the hardware threads).
#include "scanner/scan_state.h"

#include "liveries/scan_driver.h"
#include "liveries/scan_pool.h"

#include "core/flags.h"
#include "core/log.h"

#include <fmt/format.h>

#include <array>
#include <deque>
#include <future>
#include <set>
#include <stdexcept>

namespace orv {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t longPath = 250;
constexpr std::array<std::string_view, 14> excludedWords{
    "fs-base",       "tutorials",          "aircraft", "bushtrip", "discovery", "point-of-interest", "simobjects",
    "vcockpits",     "aig-aitraffic",      "justflight-aicraft", "fsltl", "gsx-pro", "gsx-world", "landingchallenge"};
constexpr std::array<std::string_view, 3> droppedWords{"statics", "AFCAD Updates", "_heliports"};

void lf_readTask(const fs::path& PATH)
{
    struct Running {
        Running() { ++scanTasksRunning; }
        ~Running() { --scanTasksRunning; }
    } running;
    ScanSink sink;
    sink.msfs2020 = scanFor2020;
    try {
        lf_toParkingPositions(PATH, sink);
    } catch (const std::exception& e) {
        // The scan log names the broken file, whichever future hands its fault on.
        throw std::runtime_error(fmt::format("{}: {}", PATH.string(), e.what()));
    }
}

void lf_takeOldest(std::deque<std::future<void>>& PENDING, const fs::path& FOLDER, const std::string& ENTRY, bool INNER)
{
    try {
        PENDING.front().get();
    } catch (const std::exception& e) {
        if (INNER)
            lf_scanLog(fmt::format("{} airports search aborted, futs inner, \n{}\n{}\n{}", "===> ", e.what(), PENDING.size(), ENTRY));
        else
            lf_scanLog(fmt::format("{} airports search in {} aborted, futs outer error: {}", "===> ", FOLDER.string(), e.what()));
    }
    PENDING.pop_front();
}

/// A file of the walk that the scan reads.
bool lf_wanted(const fs::directory_entry& ENTRY, const std::string& PATH)
{
    std::error_code failed;
    if (!ENTRY.is_regular_file(failed) || !lf_isBglFile(ENTRY.path())) return false;
    for (const auto word : droppedWords)
        if (PATH.find(word) != std::string::npos) return false;
    return lf_hasAirportSection(ENTRY.path());
}

} // namespace

bool lf_excludedPath(const std::string& PATH, std::size_t ROOT_LENGTH)
{
    if (PATH.size() >= longPath) return true;
    for (const auto word : excludedWords)
        if (PATH.find(word, std::min(ROOT_LENGTH, PATH.size())) != std::string::npos) return true;
    return false;
}

bool lf_isBglFile(const fs::path& PATH)
{
    const auto extension = PATH.extension();
    return extension == ".BGL" || extension == ".bgl";
}

void lf_scanAirportFolder(const fs::path& FOLDER)
{
    lf_scanLog(fmt::format("Scanning for addon airports in {}", FOLDER.string()));
    const unsigned limit = scanTaskLimit > 0 ? scanTaskLimit : std::max(1u, hardwareThreads);
    std::deque<std::future<void>> pending;
    std::set<fs::path> followed;
    const std::size_t root = FOLDER.string().size();
    ScanPool pool(limit);
    constexpr auto options = fs::directory_options::skip_permission_denied | fs::directory_options::follow_directory_symlink;
    try {
        for (fs::recursive_directory_iterator it(FOLDER, options), end; it != end; ++it) {
            const std::string path = it->path().string();
            try {
                if (!gf_followLink(*it, followed) || lf_excludedPath(path, root)) {
                    it.disable_recursion_pending();
                    continue;
                }
                if (!lf_wanted(*it, path)) continue;
                if (exitInProgress || userClosed) break;
                pending.push_back(pool.submit<void>([file = it->path()] { lf_readTask(file); }));
                while (pending.size() > limit) lf_takeOldest(pending, FOLDER, path, true);
            } catch (const std::exception& e) {
                lf_scanLog(fmt::format("{} airports search in folder {} aborted, cause: {}", "===> ", FOLDER.string(), e.what()));
            }
        }
    } catch (const std::exception& e) {
        lf_scanLog(fmt::format("{} airports search in folder {} aborted because of iterator problem: {}", "===> ",
                               FOLDER.string(), e.what()));
    }
    while (!pending.empty()) lf_takeOldest(pending, FOLDER, {}, false);
}

} // namespace orv
