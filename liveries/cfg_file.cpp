// One aircraft.cfg: its encoding, its section numbers, its model, and the
// walk that hands each [fltsim.N] section to the section reader.
#include "liveries/cfg_keys.h"
#include "liveries/cfg_scan.h"
#include "liveries/dbase.h"

#include "core/log.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace orv {

const std::unordered_map<std::string_view, std::string_view> asoboModels{
    {"Asobo_FlightDesignCT", "FDCT"}, {"Asobo_DA40_NG", "DA40"},
    {"Asobo_Longitude", "C700"},      {"Asobo_Cap10C", "CP10"},
    {"Asobo_VL3", "VL3"},             {"Asobo_CJ4", "C25C"},
    {"Asobo_Savage_Cub", "SAVG"},     {"Asobo_C152", "C152"},
    {"Asobo_Savage_ShockUltra", "SAVG"}, {"Asobo_C152_Aerobat", "C152"},
    {"Asobo_XCub", "CC19"},           {"Asobo_C172sp_AS1000", "C172"},
    {"Asobo_Pitts", "PTS2"},          {"Asobo_C172sp_classic", "C172"},
    {"Asobo_SR22", "SR22"},           {"Asobo_Bonanza_G36", "BE36"},
    {"Asobo_Icon", "A5"},             {"Asobo_Baron_G58", "B58T"},
    {"Asobo_TBM930", "TBM9"},         {"Asobo_B747_8i", "B748"},
    {"Asobo_KingAir350", "B350"},     {"Asobo_B787_10", "B78X"},
    {"Asobo_E330", "E300"},           {"Asobo_208B_GRAND_CARAVAN_EX", "C208"},
    {"Asobo_DV20", "DV20"},           {"Asobo_A320_NEO", "A20N"},
    {"Asobo_DR400", "DR40"},          {"FlyByWire_A320_NEO", "A20N"},
    {"Asobo_DA62", "DA62"},           {"Asobo_DA40_TDI", "DA40"},
};

namespace {

constexpr std::size_t modelCodeLength = 4;
constexpr std::size_t sectionReserve = 48;
constexpr std::size_t closingColumns = 6; ///< a '[' this near the start ends a section

std::string lf_cutModel(std::string_view CODE) { return gf_upper(CODE.substr(0, modelCodeLength)); }

/// The walk over the lines: each section, header first, to SECTION. An IVAO
/// file closes a section at any '[', an ordinary one at a '[' near the start.
template <typename SECTION>
void lf_walkSections(const std::vector<std::string_view>& LINES, bool IVAO, SECTION&& PROCESS)
{
    bool inSection = false;
    std::vector<std::string_view> pending;
    pending.reserve(sectionReserve);
    const auto flush = [&] {
        if (!pending.empty()) PROCESS(pending);
        pending.clear();
    };
    for (const auto line : LINES) {
        if (gf_sectionHeader(line)) {
            inSection = true;
            flush();
            pending.push_back(line);
        } else if ((IVAO ? line : line.substr(0, closingColumns)).find('[') != std::string_view::npos) {
            if (inSection) flush();
            inSection = false;
        } else if (inSection) {
            pending.push_back(line);
        }
    }
    if (inSection) flush();
}

} // namespace

bool gf_isIvaoPath(std::string_view PATH)
{
    return PATH.find("ivao_x-csl") != std::string_view::npos || PATH.find("IVAO_MTL") != std::string_view::npos;
}

bool lf_checkFltsimNumbers(const std::vector<std::string_view>& LINES, const std::string& PATH)
{
    std::vector<int> numbers;
    for (const auto line : LINES) {
        const auto header = gf_sectionHeader(line);
        if (!header) continue;
        if (header->numberless) {
            numbers.push_back(numberlessHeader);
            continue;
        }
        int number = 0;
        const auto* end = header->text.data() + header->text.size();
        const auto parsed = std::from_chars(header->text.data(), end, number);
        if (parsed.ec != std::errc() || parsed.ptr != end) {
            gf_log(fmt::format("fltsim num {} incorrect", line));
            return false;
        }
        numbers.push_back(number);
    }
    if (numbers.empty()) {
        emptyCfgFiles.add(PATH);
        return true;
    }
    std::sort(numbers.begin(), numbers.end());
    for (std::size_t expected = 0; expected < numbers.size(); ++expected) {
        const int found = numbers[expected];
        if (found == static_cast<int>(expected)) continue;
        invalidCfgFiles.add(PATH + " contains " +
                            (found == numberlessHeader ? std::string("a [fltsim.] section without a number")
                                                       : fmt::format("non-consecutive [fltsim.x] numbers at .x={}", found)));
        return false;
    }
    return true;
}

std::string lf_modelFromBaseContainer(std::string_view LINE)
{
    const auto value = gf_keyValue(LINE, "base_container");
    if (!value) return {};
    const auto folder = gf_unquote(*value);
    if (folder.size() < 3) return {};
    const auto found = asoboModels.find(folder.substr(3)); // the value reads "..\folder"
    return found == asoboModels.end() ? std::string() : gf_upper(found->second);
}

std::string lf_checkModelCode(const std::string& CODE, const std::string& PATH)
{
    if (gf_validModel(CODE)) return CODE;
    if (const auto fix = modelFixes.find(CODE); fix != modelFixes.end()) {
        codeFixes.add(fmt::format("Model fix: {} found in {} changed into {}", CODE, PATH, fix->second));
        return fix->second;
    }
    invalidModels.add(fmt::format("{:16} in {}", CODE, PATH));
    return {};
}

std::string lf_modelFromGeneral(const std::string& PATH, const std::vector<std::string_view>& LINES)
{
    std::string code;
    for (const auto line : LINES) {
        const auto value = gf_keyValue(line, "icao_type_designator");
        if (!value) continue;
        const auto unquoted = gf_unquote(*value);
        if (unquoted.empty()) continue;
        code = lf_cutModel(unquoted);
        break;
    }
    for (auto at = LINES.begin(); code.empty() && at != LINES.end(); ++at) code = lf_modelFromBaseContainer(*at);
    if (!code.empty()) return lf_checkModelCode(code, PATH);
    if (PATH.find("pmdg-aircraft-7") == std::string::npos && PATH.find("fnx-aircraft-3") == std::string::npos)
        invalidCfgFiles.add("Line icao_type_designator= is missing in [General] section of " + PATH);
    return {};
}

std::vector<LiveryData> lf_searchLiveriesinFile(const std::filesystem::path& PATH, std::uint32_t LFOLDER)
{
    const auto path = PATH.string();
    try {
        const auto cfg = gf_readCfgText(PATH);
        if (!cfg) return {};
        if (!lf_checkFltsimNumbers(cfg->lines, path)) return {};
        if (cfg->lines.empty() || std::none_of(cfg->lines.begin(), cfg->lines.end(),
                                               [](std::string_view LINE) { return gf_sectionHeader(LINE).has_value(); }))
            return {}; // in emptyCfgFiles already: nothing to read
        const auto model = lf_modelFromGeneral(path, cfg->lines);
        if (model.empty()) return {};
        const auto folder = PATH.parent_path().string();
        std::vector<LiveryData> liveries;
        lf_walkSections(cfg->lines, false, [&](const std::vector<std::string_view>& SECTION) {
            try {
                for (auto& livery : lf_procesFltSimSection(LFOLDER, SECTION, model, path, folder))
                    liveries.push_back(std::move(livery));
            } catch (const std::exception& e) {
                gf_log(fmt::format("exception in lf_procesFltSimSection: {}, file: {}", e.what(), path));
                throw;
            }
        });
        return liveries;
    } catch (const std::exception& e) {
        gf_log(fmt::format("exception in lf_searchLiveriesinFile {}: {}", path, e.what()));
        throw;
    }
}

std::vector<LiveryData> lf_searchLiveriesinIvaoFile(const std::filesystem::path& PATH, std::uint32_t LFOLDER)
{
    const auto path = PATH.string();
    try {
        const auto model = lf_ivaoModelFromPath(path);
        if (model.empty()) return {};
        const auto cfg = gf_readCfgText(PATH);
        if (!cfg) {
            gf_log(fmt::format("no character set found for {}", path));
            return {};
        }
        if (!lf_checkFltsimNumbers(cfg->lines, path)) return {};
        const auto folder = PATH.parent_path().string();
        std::vector<LiveryData> liveries;
        lf_walkSections(cfg->lines, true, [&](const std::vector<std::string_view>& SECTION) {
            try {
                auto livery = lf_procesIvaoFltSimSection(LFOLDER, SECTION, model, path, folder);
                if (!livery.title.empty()) liveries.push_back(std::move(livery));
            } catch (const std::exception& e) {
                gf_log(fmt::format("exception in lf_procesFltSimSection: {}, file: {}", e.what(), path));
                throw;
            }
        });
        return liveries;
    } catch (const std::exception& e) {
        gf_log(fmt::format("exception in lf_searchLiveriesinFile {}: {}", path, e.what()));
        throw;
    }
}

} // namespace orv
