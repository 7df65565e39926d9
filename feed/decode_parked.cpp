// processLine for a parked line: one member of a parked-traffic answer into a
// ParkedLine, completed from the registration tables, or nothing.
#include <array>
#include <cmath>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "core/errors.h"
#include "core/log.h"
#include "feed/decode.h"
#include "feed/decode_fields.h"
#include "liveries/dbase.h"

namespace orv {

namespace {

enum ParkedPosition : std::size_t {
    posLat = 0, posLon = 1, posStand = 2, posType = 3, posRegcode = 4, posTime = 5, posCallsign = 6,
};

/// Family codes the feed uses for a type, and the variant the tables know.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> typeReplacements{
    {{"A380", "A388"}, {"B767", "B763"}, {"B747", "B744"}, {"B757", "B752"}}};
constexpr std::size_t longestCallsign = 8;

std::int32_t lf_halfHourOf(double EPOCH_SECONDS)
{
    // A time no clock can show reads as midnight.
    constexpr double latestSeconds = 1e12;
    if (!(std::fabs(EPOCH_SECONDS) < latestSeconds)) return 0;
    return gf_halfHourOfDay(static_cast<std::int64_t>(EPOCH_SECONDS));
}

std::string lf_typeOf(const std::string& TEXT)
{
    if (TEXT == "0" || TEXT == "ZZZZ") return {};
    for (const auto& [family, variant] : typeReplacements) {
        if (TEXT == family) return std::string(variant);
    }
    return TEXT;
}

std::string lf_callsignOf(std::string TEXT)
{
    if (TEXT == "null" || TEXT.find('@') != std::string::npos || TEXT.find("00000") != std::string::npos
        || TEXT.size() > longestCallsign) {
        return {};
    }
    if (TEXT.starts_with('.')) TEXT.erase(0, 1);
    return TEXT;
}

/// A row of the registration tables: its airline (the operator's when it has
/// one) and its type.
void lf_takeRow(ParkedLine& OUT, const DbaseRecord& ROW)
{
    OUT.airline = ROW.opr.empty() ? ROW.airl : ROW.opr;
    OUT.icaoType = ROW.type;
}

void lf_complete(ParkedLine& OUT)
{
    if (!OUT.regcode.empty()) {
        if (const DbaseRecord* row = gf_dbaseLookup(OUT.regcode)) {
            lf_takeRow(OUT, *row);
            if (OUT.callsign.empty()) OUT.callsign = OUT.regcode;
        }
    } else if (!OUT.callsign.empty()) {
        if (const DbaseRecord* row = gf_dbaseLookup(OUT.callsign)) {
            lf_takeRow(OUT, *row);
            OUT.regcode = OUT.callsign;
        }
    }
}

bool lf_classPasses(const DecodeView& VIEW, ModelCategory CATEGORY)
{
    switch (CATEGORY) {
    case ModelCategory::Light: return VIEW.lightAircraft;
    case ModelCategory::HighPerf: return VIEW.highPerfAircraft;
    case ModelCategory::Rotorcraft: return VIEW.helicopters;
    default: return true;
    }
}

/// One line of parked traffic, field by field; false drops the line.
bool lf_decodeParked(const std::string& KEY, RtClient& C, ParkedLine& OUT)
{
    const nlohmann::json& line = C.line;
    OUT.hexid = gf_hexid(KEY);
    if (OUT.hexid <= lowestHexid) return false;
    OUT.halfHour = lf_halfHourOf(gf_numberOr0(line, posTime));
    OUT.regcode = gf_regcodeOf(gf_textAt(line, posRegcode));
    OUT.icaoType = lf_typeOf(gf_textAt(line, posType));
    OUT.lat = gf_numberOr0(line, posLat);
    OUT.lon = gf_numberOr0(line, posLon);
    gf_checkPosition(OUT.lat, OUT.lon);
    OUT.callsign = lf_callsignOf(gf_textAt(line, posCallsign));
    lf_complete(OUT);
    if (!gf_validModel(OUT.icaoType)) return false;
    if (!lf_classPasses(C.view, gf_modelCategory(OUT.icaoType))) return false;
    const nlohmann::json& stand = gf_fieldAt(line, posStand);
    if (!stand.is_string()) return false;
    OUT.standName = stand.get<std::string>();
    const ParkView& park = C.view.park;
    const auto held = [&](const std::string& NAME) { return !NAME.empty() && NAME == OUT.standName; };
    return !held(park.reservedStand) && !held(park.userStand);
}

} // namespace

void processLine(const std::string& KEY, RtClient& CLIENT)
{
    try {
        ParkedLine line;
        if (lf_decodeParked(KEY, CLIENT, line)) CLIENT.parkedLines.push_back(std::move(line));
    } catch (const SysErrorException&) {
        // A position out of range: the line is refused silently.
    } catch (const std::exception& e) {
        gf_log(fmt::format("exception in processLine: {}", e.what()));
    }
}

} // namespace orv
