// Reading one aircraft.cfg into its liveries, for ordinary packages and for
// the IVAO packages whose model stands in the folder name. Faults go to the
// side lists of livery_data.h; nothing here stops a scan.
#pragma once

#include "liveries/livery_data.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orv {

/// The text of an aircraft.cfg with its lines. UTF-16 (either byte order) is
/// turned into UTF-8, a UTF-8 byte order mark dropped; other bytes stay as
/// they are. The lines are views into `text` (on the heap, so that a moved
/// CfgText keeps them valid), without their line ends.
struct CfgText {
    std::unique_ptr<std::string> text;
    std::vector<std::string_view> lines;
};
/// Nothing when the file cannot be opened or read; the log says why.
std::optional<CfgText> gf_readCfgText(const std::filesystem::path& PATH);
/// Splits TEXT into lines (a trailing carriage return is dropped).
std::vector<std::string_view> gf_splitLines(std::string_view TEXT);

/// base_container folder names of the simulator's own aircraft.
extern const std::unordered_map<std::string_view, std::string_view> asoboModels;

std::vector<LiveryData> lf_searchLiveriesinFile(const std::filesystem::path& PATH, std::uint32_t LFOLDER);
std::vector<LiveryData> lf_searchLiveriesinIvaoFile(const std::filesystem::path& PATH, std::uint32_t LFOLDER);
/// True for the paths of IVAO packages ("ivao_x-csl", "IVAO_MTL").
bool gf_isIvaoPath(std::string_view PATH);

/// Passes when the section numbers run 0, 1, 2, ...; a file without headers
/// passes too and lands in emptyCfgFiles.
bool lf_checkFltsimNumbers(const std::vector<std::string_view>& LINES, const std::string& PATH);
/// The model code of the file, empty when there is none to use.
std::string lf_modelFromGeneral(const std::string& PATH, const std::vector<std::string_view>& LINES);
std::string lf_modelFromBaseContainer(std::string_view LINE);
/// The model code of an IVAO package, from its folder's name.
std::string lf_ivaoModelFromPath(const std::string& PATH);
/// A code checked against the tables: valid, fixed (codeFixes), or reported
/// in invalidModels and empty.
std::string lf_checkModelCode(const std::string& CODE, const std::string& PATH);

/// One [fltsim.N] section; LINES start with its header. Zero or one livery.
std::vector<LiveryData> lf_procesFltSimSection(std::uint32_t LFOLDER, std::vector<std::string_view> LINES,
                                               const std::string& MODEL, const std::string& PATH,
                                               const std::string& FOLDER);
/// One section of an IVAO package; an empty record when nothing was accepted.
LiveryData lf_procesIvaoFltSimSection(std::uint32_t LFOLDER, const std::vector<std::string_view>& LINES,
                                      const std::string& MODEL, const std::string& PATH, const std::string& FOLDER);

/// The registration of an atc_id value, after its checks; empty on a fault
/// (logged with the texts of the ordinary or of the IVAO reader).
std::string lf_regcodeFromAtcId(std::string_view VALUE, const std::string& TITLE, bool IVAO);

} // namespace orv
