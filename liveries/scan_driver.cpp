// The driver of the livery scan: scan or read the stored catalogue, correct
// each livery against its airframe, prune, sort, report and store.
#include "liveries/scan_driver.h"

#include "liveries/regcodes.h"

#include "core/errors.h"
#include "core/flags.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/window_state.h"

#include <fmt/format.h>

#include <algorithm>
#include <thread>
#include <tuple>
#include <unordered_map>

namespace orv {

namespace fs = std::filesystem;

std::vector<LiveryData> liveryList;
std::uint32_t scanTaskLimit = 0;
std::atomic<std::uint32_t> scanTasksRunning{0};
bool liveriesProcessed = false;
std::vector<std::string> conversionLines;
std::atomic<int> liveryCount{0};

namespace {

constexpr const char* scanLine = "++++++++++++++++++++++++";
constexpr const char* scanTail = "++++++++++++++++++++++++++++++++";

} // namespace

void gf_scanLiveries(bool DO_SCAN)
{
    std::vector<fs::path> folders;
    if (!DO_SCAN) {
        gf_log(fmt::format("\n{} liveries scan starts {}", scanLine, scanTail));
    } else {
        gf_showStatus(std::string("Scanning ") + (LIG_PRIORITIZE.value && !LIG_AUTOMATIC.value ? "prioritized " : "") +
                          "for liveries ...",
                      false);
        gf_log(fmt::format("\n{} liveries scan {} starts {}", scanLine, LIG_AUTOMATIC.value ? "automatic" : "manual",
                           scanTail));
        folders = lf_scanFolders();
    }
    lf_scanAndProcess(DO_SCAN, folders);
    if (DO_SCAN) {
        SCAN_LIVERIES.value = false;
        gf_save(SCAN_LIVERIES);
        gf_repaint();
    }
    gf_log("-------------------------- liveries scan ends   --------------------------------\n");
}

void lf_scanAndProcess(bool DO_SCAN, const std::vector<fs::path>& FOLDERS)
{
    if (!DO_SCAN) {
        gf_readScanned();
        lf_processScannedLiveries();
        return;
    }
    if (scanTaskLimit == 0) scanTaskLimit = std::max(1u, hardwareThreads > 0 ? hardwareThreads : std::thread::hardware_concurrency());
    liveryList.clear();
    lf_removeSideFiles();
    lf_readDontUseTitles();
    gf_indexDontUseTitles();
    std::size_t found = 0;
    scanFolderNumber = 0;
    scanProgress = 0;
    for (const auto& folder : FOLDERS) found += lf_scanFolder(folder);
    if (exitInProgress || userClosed) return;
    if (liveryList.empty()) {
        liveryCount = 0;
        gf_repaint();
        lf_clearScanLists();
        gf_clearStatus();
        throw UserErrorException(53, "no liveries found");
    }
    if (FOLDERS.size() >= 2) gf_log(fmt::format("{} in total", found));
    for (auto& livery : liveryList) lf_correctFromDbase(livery);
    if (LIG_PRIORITIZE.value) lf_pruneByFolder(liveryList);
    lf_sortLiveries(liveryList);
    lf_reportScan();
    lf_clearScanLists();
    gf_clearStatus();
    gf_writeScanned();
    lf_processScannedLiveries();
}

void lf_correctFromDbase(LiveryData& LIVERY)
{
    if (LIVERY.regcode.empty()) return;
    const auto* record = gf_dbaseLookup(LIVERY.regcode);
    if (!record) return;
    if (record->cargo != LIVERY.cargo) {
        conversionLines.push_back(fmt::format("{:80} {} cargo {} => {}", LIVERY.title, LIVERY.regcode, LIVERY.cargo, record->cargo));
        LIVERY.cargo = record->cargo;
    }
    const auto& airline = record->opr.empty() ? record->airl : record->opr;
    if (airline != LIVERY.airline) {
        conversionLines.push_back(fmt::format("{:80} {} airl {} => {}", LIVERY.title, LIVERY.regcode, LIVERY.airline, airline));
        LIVERY.airline = airline;
    }
    if (record->type != LIVERY.model) {
        conversionLines.push_back(fmt::format("{:80} {} model {} => {}", LIVERY.title, LIVERY.regcode, LIVERY.model, record->type));
        LIVERY.model = record->type;
    }
}

void lf_pruneByFolder(std::vector<LiveryData>& LIST)
{
    // The smallest folder number per airline and model, over the whole list.
    std::unordered_map<std::string, std::uint32_t> firstFolder;
    const auto key = [](const LiveryData& LIVERY) { return LIVERY.airline + '\x1f' + LIVERY.model; };
    for (const auto& livery : LIST) {
        auto [at, inserted] = firstFolder.emplace(key(livery), livery.lfolder);
        if (!inserted) at->second = std::min(at->second, livery.lfolder);
    }
    std::erase_if(LIST, [&](const LiveryData& LIVERY) { return LIVERY.lfolder > firstFolder.at(key(LIVERY)); });
}

void lf_sortLiveries(std::vector<LiveryData>& LIST)
{
    const auto order = [](const LiveryData& L) { return std::tie(L.airline, L.model, L.regcode, L.title); };
    std::stable_sort(LIST.begin(), LIST.end(), [&](const LiveryData& A, const LiveryData& B) { return order(A) < order(B); });
    const auto same = [](const LiveryData& A, const LiveryData& B) {
        return A.title == B.title && A.airline == B.airline && A.model == B.model && A.regcode == B.regcode &&
               A.cargo == B.cargo;
    };
    LIST.erase(std::unique(LIST.begin(), LIST.end(), same), LIST.end());
}

} // namespace orv
