// The airport scan as the start-up runs it: which simulator folders, the
// output folders emptied, the walk, the scan log, and the TBLO folder of
// generated files worth sending in for offline learning.
#include "scanner/scanner.h"
#include "scanner/scan_state.h"

#include "liveries/scan_driver.h"
#include "parking/airport_db.h"
#include "parking/airport_files.h"

#include "core/flags.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/text_files.h"
#include "core/window_state.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <cctype>

namespace orv {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t scanLogCapacity = 2048;
constexpr std::size_t stemCapacity = 512;
constexpr std::size_t longEnoughName = 4;
constexpr const char* tbloAddress = "airports@tavo.example";

std::string lf_parameterOf(const pugi::xml_document& DOC, const char* NAME)
{
    return DOC.select_node(fmt::format("/parameters/parameter[@name='{}']", NAME).c_str()).node().attribute("value").as_string();
}

/// The stems of the generated files (".xml" in any case) of my_thirdparty.
std::vector<std::string> lf_generatedStems()
{
    std::vector<std::string> stems;
    stems.reserve(stemCapacity);
    std::error_code failed;
    for (fs::directory_iterator it(myThirdpartyFolder, failed), end; !failed && it != end; it.increment(failed)) {
        std::string extension = it->path().extension().string();
        for (auto& c : extension) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        if (it->is_regular_file(failed) && extension == ".XML") stems.push_back(it->path().stem().string());
    }
    return stems;
}

/// Why the generated file F does not go to TBLO; empty when it does.
std::string lf_tbloRefusal(const fs::path& F)
{
    pugi::xml_document doc;
    if (!doc.load_file(F.c_str())) return fmt::format("\"{}\" not found", F.string());
    const std::string manufacturer = lf_parameterOf(doc, "manufacturer"), creator = lf_parameterOf(doc, "creator");
    if (lf_parameterOf(doc, "publisher") == "unknown" && manufacturer.size() < longEnoughName && creator.size() < longEnoughName)
        return fmt::format("{}={}, {}={}", "manufacturer", manufacturer, "creator", creator);
    return {};
}

/// Gathers in TBLO the generated files of airports worth learning offline.
void lf_fillTblo()
{
    std::error_code failed;
    const auto stems = lf_generatedStems();
    if (stems.empty()) return;
    fs::create_directories(tbloFolder, failed);
    int copied = 0;
    for (const auto& stem : stems) {
        const fs::path f = myThirdpartyFolder / (stem + ".xml");
        if (stem == "KMCI") {
            pugi::xml_document doc;
            if (doc.load_file(f.c_str()) && lf_parameterOf(doc, "publisher") == "TropicalSim") {
                fs::remove(f, failed);
                continue;
            }
        }
        if (!lf_suitableForOfflineLearning(stem)) continue;
        if (const std::string refusal = lf_tbloRefusal(f); !refusal.empty()) {
            gf_log(refusal);
            continue;
        }
        const fs::path target = tbloFolder / (stem + ".xml");
        if (!fs::copy_file(f, target, fs::copy_options::overwrite_existing, failed) || failed) {
            gf_log(fmt::format("\"{}\" failed to copy \"{}\"", f.string(), target.string()));
            continue;
        }
        gf_log(fmt::format("{} copied to {}", stem, target.string()));
        ++copied;
        if (fs::exists(myThirdpartyFolder / (stem + ".txt"), failed)) fs::remove(f, failed);
    }
    if (copied == 0) {
        gf_log("All your third party airports are done, no off line learning needed.");
        if (tbloCount == 0) fs::remove_all(tbloFolder, failed); // entries of unresolved airports stay
        return;
    }
    tbloCount += copied;
    gf_log("");
    gf_log(fmt::format("Please zip the folder {} and mail it to {}: its airports can then be learned offline.",
                       fs::absolute(tbloFolder).string(), tbloAddress));
}

void lf_writeScanLog()
{
    std::string text;
    {
        const std::lock_guard guard(scanLogMutex);
        for (const auto& line : scanLog) text.append(line).append("\n");
        scanLog.clear();
    }
    std::error_code failed;
    fs::create_directories(scanLogPath.parent_path(), failed);
    gf_writeText(text, scanLogPath, false);
    gf_log(scanLogPath.string() + " written");
}

} // namespace

bool lf_scanAirportFolders(const std::vector<fs::path>& FOLDERS)
{
    std::error_code failed;
    fs::remove(scanLogPath, failed);
    if (failed) gf_log("problems with removing previous files (maybe still open?)");
    tbloCount = 0;
    // Emptied before the walk, not after it: the walk itself writes the
    // entries of the airports that only the simulator can resolve.
    fs::remove_all(tbloFolder, failed);
    {
        const std::lock_guard guard(scanLogMutex);
        scanLog.reserve(scanLogCapacity);
    }
    for (const auto& folder : FOLDERS) {
        if (!fs::exists(folder, failed))
            gf_log(folder.string() + " does not exist, skipped!");
        else if (!fs::is_directory(folder, failed))
            gf_log(folder.string() + " is not a folder name, skipped!");
        else
            lf_scanAirportFolder(folder);
    }
    lf_writeScanLog();
    lf_fillTblo();
    if (scanFound) gf_log("Airports scan successful");
    return scanFound;
}

void lf_scanAirports()
{
    gf_showStatus("Scanning for addon airports ...", false);
    gf_log("\n++++++++++++++++++++++++ airports scan starts +++++++++++++++++++++++++++++");
    scanFor2020 = MSFS_2020.value;
    scanFound = false;
    if (scanTaskLimit == 0) scanTaskLimit = std::max(1u, hardwareThreads);
    std::vector<fs::path> folders;
    folders.reserve(10);
    if (!gf_activeInstallPath().empty()) {
        if (scanFor2020) folders.push_back(gf_simPath("Official"));
        folders.push_back(gf_simPath("Community"));
    }
    try {
        lf_readAirportNames();
    } catch (const std::exception& e) {
        gf_log(fmt::format("lf_scanAirports: {}", e.what())); // the generated files go without long names
    }
    if (scanFor2020) gf_emptyFolder(mySimaddonFolder);
    gf_emptyFolder(myThirdpartyFolder);
    if (!lf_scanAirportFolders(folders)) gf_showStatus("Warning: Scan has not found any add-on airports", true);
    SCAN_AIRPORTS.value = false;
    gf_save(SCAN_AIRPORTS);
    airportNames.clear();
    gf_log("-------------------------- airports scan ends    ----------------------------\n");
}

void gf_scanAirports() { lf_scanAirports(); }

} // namespace orv
