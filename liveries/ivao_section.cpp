// The IVAO packages: the model is the package folder's name, the airline
// the three letters behind the model in each title.
#include "liveries/cfg_keys.h"
#include "liveries/cfg_scan.h"
#include "liveries/dbase.h"

#include "core/log.h"

#include <fmt/format.h>

#include <array>
#include <filesystem>

namespace orv {

namespace {

constexpr std::size_t modelCodeLength = 4;
constexpr std::size_t minimumAtcIdLength = 5;
constexpr std::size_t airlineCodeLength = 3;

/// Packages whose titles carry a "W" between model and airline.
constexpr std::array<std::string_view, 5> winglettedPackages{"IVAO_B738WLfa", "IVAO_B739WLfa", "IVAO_A320wCFM",
                                                             "IVAO_A320wIAE", "IVAO_A319fIAEw"};

bool lf_isWordCharacter(char C)
{
    return (C >= 'a' && C <= 'z') || (C >= 'A' && C <= 'Z') || (C >= '0' && C <= '9') || C == '_';
}

/// "<model>[W]\s*(\w\w\w).*", whole title, case ignored: the airline.
std::optional<std::string> lf_airlineFromTitle(std::string_view TITLE, std::string_view MODEL, bool WINGLETS)
{
    if (TITLE.size() < MODEL.size() || !gf_equalsIgnoreCase(TITLE.substr(0, MODEL.size()), MODEL)) return std::nullopt;
    std::size_t at = MODEL.size();
    if (WINGLETS) {
        if (at >= TITLE.size() || (TITLE[at] != 'W' && TITLE[at] != 'w')) return std::nullopt;
        ++at;
    }
    while (at < TITLE.size() && gf_isPatternSpace(TITLE[at])) ++at;
    if (TITLE.size() - at < airlineCodeLength) return std::nullopt;
    const auto code = TITLE.substr(at, airlineCodeLength);
    for (const char c : code)
        if (!lf_isWordCharacter(c)) return std::nullopt;
    if (TITLE.substr(at + airlineCodeLength).find_first_of("\r\n") != std::string_view::npos) return std::nullopt;
    return gf_upper(code);
}

/// One IVAO path pattern: <anything>/<PACKAGE>/SimObjects/Airplanes/IVAO_<word>/aircraft.cfg,
/// with either separator and case ignored; answers the word.
std::optional<std::string> lf_ivaoPackageWord(const std::string& PATH, std::string_view PACKAGE)
{
    std::vector<std::string_view> parts;
    std::string_view rest(PATH);
    while (true) {
        const auto separator = rest.find_first_of("/\\");
        parts.push_back(rest.substr(0, separator));
        if (separator == std::string_view::npos) break;
        rest.remove_prefix(separator + 1);
    }
    constexpr std::size_t tailParts = 5;
    if (parts.size() < tailParts + 1) return std::nullopt;
    const auto part = [&](std::size_t FROM_END) { return parts[parts.size() - FROM_END]; };
    const auto fileName = part(1);
    // "aircraft.cfg" where the point may be any character
    if (fileName.size() != 12 || !gf_equalsIgnoreCase(fileName.substr(0, 8), "aircraft") ||
        !gf_equalsIgnoreCase(fileName.substr(9), "cfg") || fileName[8] == '\n' || fileName[8] == '\r')
        return std::nullopt;
    if (!gf_equalsIgnoreCase(part(3), "Airplanes") || !gf_equalsIgnoreCase(part(4), "SimObjects") ||
        !gf_equalsIgnoreCase(part(5), PACKAGE))
        return std::nullopt;
    const auto folder = part(2);
    if (folder.size() <= 5 || !gf_equalsIgnoreCase(folder.substr(0, 5), "IVAO_")) return std::nullopt;
    const auto word = folder.substr(5);
    for (const char c : word)
        if (!lf_isWordCharacter(c)) return std::nullopt;
    // Something must stand in front of the package folder.
    const std::size_t front = parts.size() - tailParts - 1;
    bool somethingInFront = front > 0;
    for (std::size_t i = 0; i <= front && !somethingInFront; ++i) somethingInFront = !parts[i].empty();
    if (!somethingInFront) return std::nullopt;
    return std::string(word);
}

struct IvaoKeys {
    std::string title;
    std::string regcode;
    std::string texture;
    bool parkingSeen = false;
};

} // namespace

std::string lf_ivaoModelFromPath(const std::string& PATH)
{
    for (const auto package : {std::string_view("IVAO_MTL"), std::string_view("ivao_x-csl")}) {
        if (const auto word = lf_ivaoPackageWord(PATH, package))
            return lf_checkModelCode(gf_upper(word->substr(0, modelCodeLength)), PATH);
    }
    invalidModels.add(fmt::format("{:16} in {}", "  ", PATH));
    return {};
}

LiveryData lf_procesIvaoFltSimSection(std::uint32_t LFOLDER, const std::vector<std::string_view>& LINES,
                                      const std::string& MODEL, const std::string& PATH, const std::string& FOLDER)
{
    if (LINES.empty()) return {};
    bool winglets = false;
    for (const auto name : winglettedPackages) winglets = winglets || PATH.find(name) != std::string::npos;
    const auto fail = [&](const std::string& TEXT) {
        incompleteSections.add(FOLDER + " " + std::string(LINES.front()) + TEXT);
        return LiveryData{};
    };

    IvaoKeys keys;
    for (const auto line : LINES) {
        if (const auto title = keys.title.empty() ? gf_keyValue(line, "title") : std::nullopt) {
            const auto raw = gf_unquote(*title);
            keys.title = gf_trimBlanks(raw);
            if (keys.title.size() != raw.size())
                gf_log(fmt::format("removed spaces around title \"{}\" --> \"{}\"", raw, keys.title));
        } else if (gf_keyValue(line, "atc_parking_types")) {
            if (keys.parkingSeen) return fail(" has more than one atc_parking_types key");
            keys.parkingSeen = true;
        } else if (const auto atcId = keys.regcode.empty() ? gf_keyValue(line, "atc_id") : std::nullopt) {
            const auto value = gf_unquote(*atcId);
            if (value.size() >= minimumAtcIdLength) keys.regcode = lf_regcodeFromAtcId(value, keys.title, true);
        } else if (const auto texture = keys.texture.empty() ? gf_keyValue(line, "texture") : std::nullopt) {
            keys.texture = gf_unquote(*texture);
        }
    }

    std::error_code failed;
    if (!std::filesystem::is_directory(std::filesystem::path(PATH).parent_path() / ("texture." + keys.texture), failed))
        return fail(" does not exist");
    if (keys.title.empty()) return fail(" misses title");
    if (dontUseIndex.contains(keys.title)) return {};

    std::string airline;
    if (const auto fromTitle = lf_airlineFromTitle(keys.title, MODEL, winglets)) {
        if (!gf_validAirline(*fromTitle)) {
            invalidAirlines.add(fmt::format("{:12} in {} ", *fromTitle, FOLDER) + std::string(LINES.front()));
            return {};
        }
        airline = *fromTitle;
        if (airline == noAirline) keys.regcode.clear();
    } else if (!keys.regcode.empty()) {
        const auto* record = gf_dbaseLookup(keys.regcode);
        const std::string* known = record ? (!record->opr.empty() ? &record->opr : &record->airl) : nullptr;
        if (!known || known->empty())
            return fail(" misses airlinecode in title: " + keys.title + ", and regcode unknown" + keys.regcode);
        airline = *known;
    } else {
        return fail(" misses airlinecode in title: " + keys.title + ", and no regcode");
    }

    auto livery = lf_newLiveryData(LFOLDER, airline, MODEL, false, keys.title, keys.regcode);
    if (livery.title.empty()) return fail(" title already exists: " + keys.title);
    return livery;
}

} // namespace orv
