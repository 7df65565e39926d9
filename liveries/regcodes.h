// Registration codes of liveries: titles not to be used (read before a scan)
// and the table from registration to title (built after it), from three
// sources in rising precedence: the liveries' own atc_id, AIG-regcodes.xml
// and the user's text files in input/my_regcodes.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orv {

/// One line of a source.
struct RegcodeEntry {
    std::string title;
    std::vector<std::string> regcodes; ///< ascending, no doubles; empty: a don't-use title
    bool special = false;              ///< only its own registrations may use it
};

/// The lines of OfflineRegcodes.txt.
extern std::vector<std::string> offlineReport;

/// Reads AIG-regcodes.xml; false when the XML library refuses the file.
bool lf_readAigRegcodes(const std::filesystem::path& PATH, std::vector<RegcodeEntry>& ENTRIES);
/// Reads every .txt file (any case) directly in FOLDER; false when any line was faulty.
bool lf_readRegcodeFolder(const std::filesystem::path& FOLDER, std::vector<RegcodeEntry>& ENTRIES);
/// One line of a user file (FILE names it in messages); false when it is faulty.
bool lf_parseRegcodeLine(const std::string& LINE, const std::string& FILE, std::vector<RegcodeEntry>& ENTRIES);
/// The folder holds at least one regular file.
bool lf_folderHasFiles(const std::filesystem::path& FOLDER);

/// Fills dontUseTitles before the scan.
void lf_readDontUseTitles();
/// After the catalogue stands: in-line atc_id registrations, then the files.
void lf_buildInlineRegcodes();
void lf_processRegcodeFiles();
/// Enters the registrations and special titles of installed titles.
void lf_applyRegcodeEntries(const std::vector<RegcodeEntry>& ENTRIES);
/// The look-alike models that have liveries, per model and per airline.
void gf_buildSimilar();

} // namespace orv
