// What a scan leaves for the user: the side files in output/errors and
// output/info with their report lines, and the stored catalogue
// LiveriesScanned.xml, written after a scan and read back on other starts.
#include "liveries/catalogue.h"
#include "liveries/scan_driver.h"

#include "core/errors.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/text_files.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <ctime>

namespace orv {

namespace fs = std::filesystem;

namespace {

constexpr std::array<std::string_view, 12> monthNames{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

const char* lf_plural(std::size_t COUNT) { return COUNT == 1 ? "" : "s"; }

/// One side file: its lines (sorted when asked) and its line in the log.
void lf_writeSideFile(std::vector<std::string> LINES, const fs::path& PATH, bool SORTED, const std::string& REPORT)
{
    if (SORTED) std::sort(LINES.begin(), LINES.end());
    std::string text;
    for (const auto& line : LINES) text.append(line).append("\n");
    fs::create_directories(PATH.parent_path());
    gf_writeText(text, PATH, false);
    gf_log(REPORT);
}

/// The info section that the program's data files carry.
void lf_addMeta(pugi::xml_document& DOC)
{
    auto meta = DOC.append_child("meta");
    const auto info = [&](const char* NAME, const std::string& VALUE) {
        auto element = meta.append_child("info");
        element.append_attribute("name") = NAME;
        element.append_attribute("value") = VALUE.c_str();
    };
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    info("author", std::string(programName));
    info("version", std::string(programVersionText));
    info("date", fmt::format("{} {}, {}", monthNames[static_cast<std::size_t>(utc.tm_mon)], utc.tm_mday, utc.tm_year + 1900));
    info("MSFS", MSFS_2020.value ? "2020" : "2024");
}

bool lf_metaComplete(const pugi::xml_document& DOC)
{
    for (const char* name : {"author", "date", "version"}) {
        if (!DOC.select_node(fmt::format("/meta/info[@name='{}']", name).c_str())) {
            gf_logWarning("meta data incorrect?");
            return false;
        }
    }
    return true;
}

} // namespace

fs::path gf_scannedPath() { return outputFolder / "LiveriesScanned.xml"; }

std::vector<std::string> gf_modelListLines(const std::vector<std::string>& MODELS)
{
    constexpr std::size_t perLine = 20;
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < MODELS.size(); at += perLine) {
        std::string line = "  ";
        for (std::size_t i = at; i < std::min(MODELS.size(), at + perLine); ++i) line.append(MODELS[i]).append(",");
        line.pop_back();
        lines.push_back(std::move(line));
    }
    return lines;
}

void lf_removeSideFiles()
{
    try {
        for (const auto& path :
             {infoFolder / "AircraftCfgWithNoFltsimSection.txt", gf_scannedPath(), errorsFolder / "InvalidAirlineCodes.txt",
              errorsFolder / "InvalidAircraftCodes.txt", errorsFolder / "Fixes.txt",
              errorsFolder / "InvalidAircraftCfgFiles.txt", errorsFolder / "IncompleFltsimSections.txt",
              errorsFolder / "InlineRegcodes.txt"})
            if (fs::exists(path)) fs::remove(path);
        if (fs::exists(errorsFolder)) fs::remove(errorsFolder);
    } catch (const std::exception& e) {
        gf_log(fmt::format("problems with removing previous files: {}", e.what()));
    }
}

void lf_reportScan()
{
    const std::array<const SideList*, 5> errorLists{&invalidAirlines, &invalidModels, &codeFixes, &invalidCfgFiles,
                                                    &incompleteSections};
    const bool clean = std::all_of(errorLists.begin(), errorLists.end(), [](const SideList* L) { return L->size() == 0; });
    gf_log(clean ? "\nNo errors" : "\nErrors:");
    const auto report = [](const SideList& LIST, const fs::path& PATH, bool SORTED, auto MAKE_TEXT) {
        const auto lines = LIST.copy();
        if (!lines.empty()) lf_writeSideFile(lines, PATH, SORTED, MAKE_TEXT(lines.size(), PATH.string()));
    };
    report(invalidAirlines, errorsFolder / "InvalidAirlineCodes.txt", true, [](std::size_t N, const std::string& P) {
        return fmt::format("{} invalid airline code{}, see {}", N, lf_plural(N), P);
    });
    report(invalidModels, errorsFolder / "InvalidAircraftCodes.txt", true, [](std::size_t N, const std::string& P) {
        return fmt::format("{} invalid model code{}, see {}", N, lf_plural(N), P);
    });
    report(codeFixes, errorsFolder / "Fixes.txt", false,
           [](std::size_t N, const std::string& P) { return fmt::format("{} code fixes, see {}", N, P); });
    report(invalidCfgFiles, errorsFolder / "InvalidAircraftCfgFiles.txt", true, [](std::size_t N, const std::string& P) {
        return fmt::format("{} invalid aircraft.cfg files, see {}", N, P);
    });
    report(incompleteSections, errorsFolder / "IncompleFltsimSections.txt", true, [](std::size_t N, const std::string& P) {
        return fmt::format("{} incomplete [fltsim.x] sections, see {}", N, P);
    });
    gf_log("\nInformation:");
    report(emptyCfgFiles, infoFolder / "AircraftCfgWithNoFltsimSection.txt", true, [](std::size_t N, const std::string& P) {
        return fmt::format("{} empty aircraft.cfg files, see {}", N, P);
    });
    if (!conversionLines.empty()) {
        const auto path = infoFolder / "AirlineModelConversions.txt";
        lf_writeSideFile(conversionLines, path, false,
                         fmt::format("{} liveries updated with real live data from dbase, see {}", conversionLines.size(),
                                     path.string()));
    }
}

void lf_clearScanLists()
{
    for (auto* list : {&invalidAirlines, &invalidModels, &codeFixes, &invalidCfgFiles, &incompleteSections, &emptyCfgFiles})
        list->clear();
    conversionLines.clear();
    {
        const std::lock_guard guard(knownTitlesLock);
        knownTitles.clear();
    }
    dontUseTitles.clear();
    dontUseIndex.clear();
}

void gf_writeScanned()
{
    if (liveryList.empty()) return;
    pugi::xml_document doc;
    lf_addMeta(doc);
    auto liveries = doc.append_child("liveries");
    for (const auto& livery : liveryList) {
        auto liv = liveries.append_child("liv");
        liv.append_attribute("airl") = livery.airline.c_str();
        liv.append_attribute("type") = livery.model.c_str();
        if (livery.cargo) liv.append_attribute("cargo") = "true";
        liv.append_attribute("title") = livery.title.c_str();
        if (!livery.regcode.empty()) liv.append_attribute("atcid") = livery.regcode.c_str();
    }
    const auto path = gf_scannedPath();
    gf_saveXml(doc, path);
    gf_log(fmt::format("{} liveries in {}", liveryList.size(), path.string()));
}

void gf_readScanned()
{
    liveryList.clear();
    const auto path = gf_scannedPath();
    pugi::xml_document doc;
    if (!doc.load_file(path.c_str())) throw UserErrorException(51, fmt::format("File {} not found", path.string()));
    lf_metaComplete(doc);
    const auto liveries = doc.child("liveries");
    if (!liveries) throw UserErrorException(52, fmt::format("{} does not contain a <liveries> section", path.string()));
    for (const auto liv : liveries.children("liv"))
        liveryList.push_back({liv.attribute("airl").value(), liv.attribute("type").value(), liv.attribute("title").value(),
                              liv.attribute("atcid").value(), 0, liv.attribute("cargo").as_bool()});
    if (liveryList.empty()) throw UserErrorException(533, path.string() + " does not contain liveries");
    gf_log(fmt::format("No scan done, {} liveries read from {}", liveryList.size(), path.string()));
}

} // namespace orv
