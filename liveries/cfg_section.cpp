// One [fltsim.N] section of an ordinary aircraft.cfg: its keys, each taken
// once, and the rules that make a livery of them or say why not.
#include "liveries/cfg_keys.h"
#include "liveries/cfg_scan.h"
#include "liveries/dbase.h"

#include "core/log.h"
#include "core/parameters.h"

#include <fmt/format.h>

namespace orv {

namespace {

constexpr std::size_t minimumAtcIdLength = 5;
constexpr std::size_t maximumRegcodeLength = 12;
constexpr std::size_t airlineCodeLength = 3;

/// What one pass over the section's lines found.
struct SectionKeys {
    std::string title;
    std::string airline;
    std::string parking;
    std::string regcode;
};

/// The section is dropped for a reason the user must see.
struct SectionFailure {
    std::string text;
};

/// Trailing empty lines and comments do not belong to the section.
void lf_dropTrailingLines(std::vector<std::string_view>& LINES)
{
    while (LINES.size() > 1) {
        const auto last = LINES.back();
        if (!last.empty() && last.size() < 2) return;
        if (!last.empty() && !last.starts_with("//")) return;
        LINES.pop_back();
    }
}

bool lf_suppressedTitle(std::string_view TITLE)
{
    return TITLE.find("FenixA320") != std::string_view::npos || TITLE.find("PMDG 737") != std::string_view::npos ||
           (SUPPRESS_STUB.value && TITLE.ends_with("-STUB"));
}

/// The airline of an icao_airline value: "ZZZ", a valid code, or empty
/// (reported). "RFO" answers nothing: the section gives no livery.
std::optional<std::string> lf_airlineValue(std::string_view VALUE, const std::string& FOLDER, std::string_view HEADER)
{
    const auto unquoted = gf_unquote(VALUE);
    if (unquoted.empty() || unquoted == unknownModel) return std::string(noAirline);
    auto code = gf_upper(gf_removeBlanks(unquoted));
    if (code.size() == airlineCodeLength + 1 && (code.back() == 'X' || code.back() == 'C')) code.pop_back();
    if (gf_validAirline(code)) return code;
    if (code == "RFO") return std::nullopt;
    invalidAirlines.add(fmt::format("{:12} in {} ", code, FOLDER) + std::string(HEADER));
    return std::string();
}

/// The keys of a section: every line once, the first rule that applies. Nothing when the
/// section is left out silently.
std::optional<SectionKeys> lf_readKeys(const std::vector<std::string_view>& LINES, const std::string& FOLDER)
{
    const auto header = LINES.front();
    const auto failure = [&](std::string_view WHAT) {
        return SectionFailure{fmt::format("{} {} {}", FOLDER, header, WHAT)};
    };
    SectionKeys keys;
    for (const auto line : LINES) {
        if (const auto title = gf_keyValue(line, "title")) {
            if (!keys.title.empty()) throw failure("has more than one title key");
            keys.title = gf_trimBlanks(gf_unquote(*title));
            if (lf_suppressedTitle(keys.title)) return std::nullopt;
        } else if (!keys.airline.empty() && line.find("icao_airline") != std::string_view::npos) {
            throw failure("has more than one icao_airline");
        } else if (const auto airline = gf_keyValue(line, "icao_airline")) {
            auto code = lf_airlineValue(*airline, FOLDER, header);
            if (!code) return std::nullopt;
            keys.airline = std::move(*code);
        } else if (const auto parking = keys.parking.empty() ? gf_keyValue(line, "atc_parking_types") : std::nullopt) {
            keys.parking = gf_upper(gf_removeBlanks(gf_unquote(*parking)));
        } else if (!keys.parking.empty() && line.find("atc_parking_types") != std::string_view::npos) {
            throw failure("has more than one atc_parking_types key");
        } else if (!keys.regcode.empty() && line.find("atc_id=") != std::string_view::npos) {
            throw SectionFailure{fmt::format("{}, {}, has more than one atc_id key", FOLDER, header)};
        } else if (const auto atcId = keys.regcode.empty() ? gf_keyValue(line, "atc_id") : std::nullopt) {
            const auto value = gf_unquote(*atcId);
            if (value.size() >= minimumAtcIdLength) keys.regcode = lf_regcodeFromAtcId(value, keys.title, false);
        }
    }
    return keys;
}

/// The checks of what was read; a livery, or nothing when left out.
std::optional<LiveryData> lf_makeLivery(std::uint32_t LFOLDER, SectionKeys KEYS, const std::string& MODEL,
                                        const std::string& FOLDER, std::string_view HEADER)
{
    const auto failure = [&](std::string TEXT) { return SectionFailure{std::move(TEXT)}; };
    if (KEYS.title.empty()) throw failure(fmt::format("{} {} misses title", FOLDER, HEADER));
    if (dontUseIndex.contains(KEYS.title)) return std::nullopt;
    if (KEYS.airline == noAirline) KEYS.regcode.clear();
    if (KEYS.airline.empty()) {
        const auto category = gf_modelCategory(MODEL);
        const bool airliner = category == ModelCategory::Large || category == ModelCategory::Heavy;
        if (KEYS.regcode.empty()) {
            if (airliner) throw failure(fmt::format("\"{}\" \"{}\" has no airline and no regcode info", FOLDER, HEADER));
            KEYS.airline = privateOwner;
            KEYS.regcode = gf_privateRegcodeIn(KEYS.title);
        } else {
            // The operator, where the record has one, is the airline that flies it.
            const auto* record = gf_dbaseLookup(KEYS.regcode);
            const std::string* known = record ? (!record->opr.empty() ? &record->opr : &record->airl) : nullptr;
            if (known && !known->empty()) {
                KEYS.airline = *known;
            } else if (airliner) {
                throw failure(fmt::format("\"{}\" \"{}\" has no airline and its regcode is not in my dbase (very old liv?)",
                                          FOLDER, HEADER));
            } else {
                KEYS.airline = privateOwner;
            }
        }
    }
    const bool cargo = KEYS.parking.find("CARGO") != std::string::npos && KEYS.parking.find("GATE") == std::string::npos;
    const auto title = KEYS.title;
    auto livery = lf_newLiveryData(LFOLDER, std::move(KEYS.airline), MODEL, cargo, std::move(KEYS.title),
                                   std::move(KEYS.regcode));
    if (livery.title.empty()) throw failure(fmt::format("{} {} title \"{}\" already exists", FOLDER, HEADER, title));
    return livery;
}

} // namespace

std::string lf_regcodeFromAtcId(std::string_view VALUE, const std::string& TITLE, bool IVAO)
{
    const auto cut = VALUE.substr(0, VALUE.find(';'));
    std::vector<std::string_view> parts;
    for (std::size_t start = 0; !cut.empty() && start <= cut.size();) {
        const auto comma = std::min(cut.find(',', start), cut.size());
        parts.push_back(cut.substr(start, comma - start));
        start = comma + 1;
    }
    if (parts.empty()) {
        gf_log(fmt::format("invalid atc_id={} ==> in: {}", VALUE, TITLE));
        return {};
    }
    std::string regcode;
    for (const auto part : parts) {
        if (IVAO && part == "G-BAFM") return {}; // a placeholder of those packages, not a registration
        const auto cleaned = gf_removeBlanks(part);
        if (part == " ") {
            gf_log(fmt::format("regcode is a space char? {} {}", TITLE, VALUE));
            return {};
        }
        if (cleaned.empty()) {
            gf_log(IVAO ? fmt::format(" empty regcode in: {}", TITLE) : fmt::format("empty regcode in {} {}", TITLE, VALUE));
            return {};
        }
        if (cleaned.size() > maximumRegcodeLength) {
            gf_log(IVAO ? fmt::format("regcode: {}, has more than 12 chars in title: {}", cleaned, TITLE)
                        : fmt::format("regcode: {}, has more than 12 chars or contains UTF16 chars in \"{}\"?", cleaned, TITLE));
            return {};
        }
        if (cleaned.find('*') != std::string::npos) {
            gf_log(fmt::format("{} {} wild cards no longer supported, atc_id skipped ", TITLE, cleaned));
            return {};
        }
        regcode = cleaned;
    }
    // Several good registrations name no single airframe.
    return parts.size() == 1 ? regcode : std::string();
}

std::vector<LiveryData> lf_procesFltSimSection(std::uint32_t LFOLDER, std::vector<std::string_view> LINES,
                                               const std::string& MODEL, const std::string& /*PATH*/,
                                               const std::string& FOLDER)
{
    if (LINES.empty()) return {};
    lf_dropTrailingLines(LINES);
    try {
        auto keys = lf_readKeys(LINES, FOLDER);
        if (!keys) return {};
        auto livery = lf_makeLivery(LFOLDER, std::move(*keys), MODEL, FOLDER, LINES.front());
        if (!livery) return {};
        return {std::move(*livery)};
    } catch (SectionFailure& failure) {
        incompleteSections.add(std::move(failure.text));
        return {};
    }
}

} // namespace orv
