// The registration-code steps around the livery scan: the titles not to be
// used (before it), and the table from registration to title with the
// special liveries (after it), with their reports.
#include "liveries/regcodes.h"

#include "liveries/catalogue.h"
#include "liveries/livery_data.h"
#include "liveries/matching.h"
#include "liveries/scan_driver.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/text_files.h"
#include "updates/downloads.h"

#include <fmt/format.h>

namespace orv {

namespace fs = std::filesystem;

std::vector<std::string> offlineReport;

namespace {

const char* lf_plural(std::size_t COUNT) { return COUNT == 1 ? "" : "s"; }

fs::path lf_aigPath() { return inputFolder / "AIG-regcodes.xml"; }

/// The file goes after each use; its two older copies stay for the user.
void lf_dropAigFile(const fs::path& PATH)
{
    std::error_code failed;
    try {
        gf_keepOlderCopies(PATH);
    } catch (const std::exception& e) {
        gf_log(fmt::format("lf_dropAigFile: {}", e.what()));
    }
    fs::remove(PATH, failed);
}

std::size_t lf_addDontUse(const std::vector<RegcodeEntry>& ENTRIES)
{
    std::size_t added = 0;
    for (const auto& entry : ENTRIES) {
        if (!entry.regcodes.empty()) continue;
        dontUseTitles.push_back(entry.title);
        ++added;
    }
    return added;
}

void lf_writeReport(const std::vector<std::string>& LINES, const fs::path& PATH)
{
    std::string text;
    for (const auto& line : LINES) text.append(line).append("\n");
    fs::create_directories(PATH.parent_path());
    gf_writeText(text, PATH, false);
}

} // namespace

void lf_readDontUseTitles()
{
    const fs::path aig = lf_aigPath();
    if (!gf_fetchAigRegcodes(aig)) {
        gf_log(fmt::format("reading {} failed?", aig.string()));
    } else {
        std::vector<RegcodeEntry> entries;
        if (!lf_readAigRegcodes(aig, entries))
            offlineReport.push_back(
                fmt::format("There were errors in processing the file \"{}\", see the Log.txt", aig.string()));
        const std::size_t added = lf_addDontUse(entries);
        gf_log(fmt::format("{} don't use title{} read", added, lf_plural(added)));
        lf_dropAigFile(aig);
    }
    if (!lf_folderHasFiles(myRegcodesFolder)) return;
    std::vector<RegcodeEntry> entries;
    if (!lf_readRegcodeFolder(myRegcodesFolder, entries))
        offlineReport.push_back(fmt::format(
            "There were errors in processing the regcode files in folder \"{}\", see the Log.txt", myRegcodesFolder.string()));
    const std::size_t added = lf_addDontUse(entries);
    gf_log(fmt::format("{} don't use title{} read from files in {}", added, lf_plural(added), myRegcodesFolder.string()));
}

void lf_buildInlineRegcodes()
{
    // The first step after the catalogue stands: from here on titles are found by hashing.
    gf_indexTitles();
    std::vector<std::string> clashes;
    for (const auto& livery : liveryList) {
        if (livery.regcode.empty()) continue;
        const auto installed = titleIndex.find(livery.title);
        if (installed == titleIndex.end()) {
            clashes.push_back(fmt::format("==> [{} {}] {} \"{}\" not available?", livery.airline, livery.model,
                                          livery.regcode, livery.title));
            continue;
        }
        const auto [taken, inserted] = regcodeTitles.emplace(livery.regcode, installed->first);
        if (!inserted)
            clashes.push_back(fmt::format("{} \"{}\" => already in use by \"{}\"", livery.regcode, livery.title, taken->second));
    }
    if (clashes.empty()) return;
    const fs::path path = errorsFolder / "InlineRegcodes.txt";
    lf_writeReport(clashes, path);
    gf_log(fmt::format("{} in-line regcode clashes, see \"{}\"", clashes.size(), path.string()));
}

void lf_applyRegcodeEntries(const std::vector<RegcodeEntry>& ENTRIES)
{
    std::size_t added = 0, replaced = 0, special = 0;
    for (const auto& entry : ENTRIES) {
        const auto installed = titleIndex.find(entry.title);
        if (installed == titleIndex.end()) continue; // not installed: no line, no count
        const std::string_view title = installed->first;
        for (const auto& regcode : entry.regcodes) {
            const auto [at, inserted] = regcodeTitles.emplace(regcode, title);
            if (!inserted && at->second != title) {
                offlineReport.push_back(
                    fmt::format("   regcode {} for \"{}\", instead of the same for \"{}\"", regcode, title, at->second));
                at->second = title;
                ++replaced;
            } else {
                ++added;
            }
        }
        if (entry.special) {
            gf_addSpecialTitle(title);
            ++special;
        }
    }
    std::string line = fmt::format("{} new regcode{} added", added, lf_plural(added));
    if (replaced > 0) line += fmt::format(", {} regcode{} replaced", replaced, lf_plural(replaced));
    if (special > 0) line += fmt::format(", {} regcode{} defined as special", special, lf_plural(special));
    offlineReport.push_back(std::move(line));
}

void lf_processRegcodeFiles()
{
    offlineReport.clear();
    const fs::path aig = lf_aigPath();
    if (!gf_fetchAigRegcodes(aig)) {
        gf_log("reading AIG-regcodes failed?");
    } else {
        offlineReport.push_back("Processing file " + aig.string());
        std::vector<RegcodeEntry> entries;
        if (!lf_readAigRegcodes(aig, entries))
            offlineReport.push_back(fmt::format(
                "There were errors in processing the AIG-regcode file \"{}\", see the Log.txt", aig.string()));
        lf_applyRegcodeEntries(entries);
        lf_dropAigFile(aig);
    }
    if (lf_folderHasFiles(myRegcodesFolder)) {
        offlineReport.push_back("Processing files in " + myRegcodesFolder.string());
        std::vector<RegcodeEntry> entries;
        if (!lf_readRegcodeFolder(myRegcodesFolder, entries))
            gf_showStatus(fmt::format("There were errors in processing the regcode files in folder \"{}\", see the Log.txt",
                                      myRegcodesFolder.string()),
                          true);
        lf_applyRegcodeEntries(entries);
    }
    const fs::path report = infoFolder / "OfflineRegcodes.txt";
    std::error_code failed;
    fs::remove(report, failed);
    if (offlineReport.empty()) return;
    lf_writeReport(offlineReport, report);
    gf_log(fmt::format("Offline regcode files processed, results can be found in \"{}\"", report.string()));
    if (!specialTitles.empty()) gf_log(fmt::format("{} special liveries", specialTitles.size()));
}

} // namespace orv
