// Reading a stand file into the stand table: the main file (archive,
// generated or local add-on file) in its steps, the hh form of the half
// hours, the numbering and the conflicts of the finished table.
#include "parking/airport_files.h"
#include "parking/apf_parts.h"
#include "parking/park_airports.h"

#include "core/errors.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/window_state.h"
#include "feed/park_view.h"
#include "liveries/dbase.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>

namespace orv {

std::vector<Stand> standTable;
bool handmadeActive = false;
ParkAirportData parkData;
std::atomic<bool> parkAirportReady{false};
std::atomic<std::int32_t> updateCount{0};
bool parameterChanged = false;

namespace {

constexpr double conflictMargin = 1.1;

void lf_splitCoupled(const std::string& CS, StandOption& OPTION)
{
    const std::size_t colon = CS.find(':');
    if (colon == std::string::npos) {
        OPTION.coupled1 = CS;
        return;
    }
    OPTION.coupled1 = CS.substr(0, colon);
    const std::string behind = CS.substr(colon + 1);
    // A second colon leaves the outbound callsign empty.
    if (behind.find(':') == std::string::npos) OPTION.coupled2 = behind;
}

/// Logs the quality factor as the status log shows it.
std::string lf_qualityText(const QualityFactor& QF)
{
    if (QF.real < 0 && QF.soft < 0) return "  ";
    if (QF.real < goodQualityFactor) return fmt::format("{:2}/{:2}", QF.real, QF.soft);
    return fmt::format("{:2}", QF.real);
}

void lf_logFacts(const ParkAirportData& DATA, const QualityFactor& QF, const std::string& PATH)
{
    gf_log(fmt::format("Airport file read from \"{}\" for {}", PATH, DATA.airportName));
    gf_showStatus(fmt::format("{:24}: {}", "publisher", DATA.publisher), true);
    gf_showStatus(fmt::format("{:24}: {} ft", "altitude", DATA.altitude), true);
    gf_showStatus(fmt::format("{:24}: {}", "num_parkpos", standTable.size()), true);
    gf_showStatus(fmt::format("{:24}: {}", "quality factor", lf_qualityText(QF)), true);
    gf_showStatus(fmt::format("{:24}: {}", "RT traffic week", DATA.rtTrafficWeek), true);
}

/// The steps of gf_readApf after the download; UserErrorExceptions go on.
std::string lf_readApfFile(const std::string& PATH, const std::string& LOCAL, ParkAirportData& DATA, QualityFactor& QF)
{
    handmadeActive = false;
    pugi::xml_document doc;
    if (const pugi::xml_parse_result parsed = doc.load_file(LOCAL.c_str()); !parsed)
        return fmt::format("{} could not be loaded: {}", PATH, parsed.description());
    const ApfParameters parameters(doc);
    DATA.rtTrafficWeek = parameters.integer("RT_traffic_week", 0);
    DATA.publisher = parameters.text("publisher");
    if (!parameters.has("altitude")) throw UserErrorException(65, "Parameter altitude not found");
    DATA.altitude = parameters.integer("altitude", 0);
    DATA.airportName = parameters.text("airport_name");
    standTable.clear();
    lf_readParkpositions(doc.child("parkpositions"), standTable, false);
    QF = {parameters.integer("Qf_real", -1), parameters.integer("Qf_soft", -1)};
    const std::filesystem::path learned = lf_learnedPath(PATH, DATA.publisher);
    learnedPathInUse = learned;
    if (!learned.empty() && std::filesystem::exists(learned)) {
        lf_readLearned(learned, DATA.airportName, standTable, handmadeActive);
        QF = lf_QualityFactor();
        if (handmadeActive) gf_log("A handmade airport file overruled the archived file!");
    } else {
        parking_percentage.value = 30;
        gf_log(fmt::format("{:24}: {}%", parking_percentage.name, parking_percentage.value));
    }
    DATA.qfReal = QF.real;
    DATA.qfSoft = QF.soft;
    DATA.handmade = handmadeActive;
    for (std::size_t i = 0; i < standTable.size(); ++i) standTable[i].standId = static_cast<std::int32_t>(i + 1);
    standTable.shrink_to_fit();
    lf_buildConflicts();
    ParkDisplay display = gf_parkDisplay();
    display.standCount = static_cast<int>(standTable.size());
    gf_setParkDisplay(display);
    lf_logFacts(DATA, QF, handmadeActive ? learned.string() : PATH);
    parkAirportReady = true;
    ParkView view = gf_parkView();
    view.elevationFt = DATA.altitude;
    view.ready = true;
    gf_publishParkView(view);
    parameterChanged = false;
    return standTable.empty() ? "no stands found" : "";
}

} // namespace

std::filesystem::path learnedPathInUse;

std::string lf_bitset2hours(std::uint64_t HOURS)
{
    std::string text;
    for (std::int32_t h = 0; h < halfHoursPerDay; ++h) {
        if (!gf_hourSet(HOURS, h)) continue;
        if (!text.empty()) text += ',';
        text += std::to_string(h);
    }
    return text;
}

std::uint64_t lf_hours2bitset(const std::string& TEXT)
{
    std::uint64_t bits = 0;
    std::string_view rest = TEXT;
    while (!rest.empty()) {
        const std::size_t comma = rest.find(',');
        const std::string_view piece = rest.substr(0, comma);
        int value = -1;
        const auto [end, error] = std::from_chars(piece.data(), piece.data() + piece.size(), value);
        if (error != std::errc() || end != piece.data() + piece.size() || value < 0 || value >= halfHoursPerDay) {
            gf_log(fmt::format("exception {} in lf_hours2bitset", std::string(piece)));
            return bits;
        }
        bits |= std::uint64_t{1} << value;
        rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
    }
    return bits;
}

bool gf_apfBool(const pugi::xml_attribute& ATTRIBUTE)
{
    const char first = ATTRIBUTE.as_string()[0];
    return first == '1' || first == 't' || first == 'T' || first == 'y' || first == 'Y';
}

StandOption lf_readOption(const pugi::xml_node& OPT)
{
    StandOption option;
    lf_splitCoupled(OPT.attribute("cs").as_string(), option);
    option.regcode = OPT.attribute("reg").as_string();
    const DbaseRecord* row = option.regcode.empty() ? nullptr : gf_dbaseLookup(option.regcode);
    if (row) {
        option.airline = row->opr.empty() ? row->airl : row->opr;
        option.icaoType = row->type;
    } else {
        option.airline = OPT.attribute("airl").as_string();
        option.icaoType = OPT.attribute("type").as_string();
    }
    option.real = gf_apfBool(OPT.attribute("soft")) ? 0 : 1;
    option.day = OPT.attribute("day").as_int();
    option.hours = lf_hours2bitset(OPT.attribute("hh").as_string());
    option.fromFile = 1;
    return option;
}

Stand lf_readStand(const pugi::xml_node& PARKPOS, bool FROM_LEARNED, bool MERGING)
{
    Stand stand;
    stand.name = PARKPOS.attribute("id").as_string();
    stand.lat = PARKPOS.attribute("latitude").as_double();
    stand.lon = PARKPOS.attribute("longitude").as_double();
    stand.radius = PARKPOS.attribute("radius").as_double() * nmPerMetreOfFile;
    lf_appendOptions(PARKPOS, stand, FROM_LEARNED, MERGING);
    stand.options.shrink_to_fit();
    stand.heli = gf_apfBool(PARKPOS.attribute("heli"));
    stand.ramp = gf_apfBool(PARKPOS.attribute("ramp"));
    stand.cargo = gf_apfBool(PARKPOS.attribute("cargo"));
    stand.heading = PARKPOS.attribute("heading").as_double() * radPerDegreeOfFile;
    return stand;
}

void lf_appendOptions(const pugi::xml_node& PARKPOS, Stand& STAND, bool FROM_LEARNED, bool MERGING)
{
    std::int32_t next = STAND.options.empty() ? 1 : STAND.options.back().number + 1;
    for (const pugi::xml_node opt : PARKPOS.children("opt")) {
        StandOption option = lf_readOption(opt);
        option.fromLearned = FROM_LEARNED;
        // A towed aircraft says nothing about who parks here; merged from a
        // learned file it was learned here and stays.
        if (!MERGING && option.coupled1.starts_with("TOW ")) continue;
        // Merged: what the stand knows already is not taken twice.
        if (MERGING && lf_hasEqualOption(STAND, option)) continue;
        option.number = next++;
        STAND.options.push_back(std::move(option));
    }
}

bool lf_hasEqualOption(const Stand& STAND, const StandOption& OPTION)
{
    for (const StandOption& other : STAND.options)
        // The cheap tests first: a stand of a few hundred options is compared pairwise.
        if ((other.hours & OPTION.hours) != 0 && other.day == OPTION.day && other.real == OPTION.real &&
            other.regcode == OPTION.regcode && other.airline == OPTION.airline && other.icaoType == OPTION.icaoType)
            return true;
    return false;
}

void lf_readParkpositions(const pugi::xml_node& PARKPOSITIONS, std::vector<Stand>& STANDS, bool FROM_LEARNED)
{
    std::set<std::string, std::less<>> names;
    for (const pugi::xml_node parkpos : PARKPOSITIONS.children("parkpos")) {
        const std::string id = parkpos.attribute("id").as_string();
        if (!names.insert(id).second)
            throw UserErrorException(94, "Parking position " + id + " appears more than once?");
        STANDS.push_back(lf_readStand(parkpos, FROM_LEARNED, false));
    }
}

std::string gf_readApf(const std::string& PATH, ParkAirportData& DATA, QualityFactor& QF)
{
    if (parkIcao.empty()) return "gf_readApf, no park airport set";
    std::string local = PATH;
    if (!PATH.starts_with("airports")) {
        if (!lf_fetchArchive(PATH, parkAirportScratch, false)) {
            const std::string failure = fmt::format("failed to download: \"{}\"", lf_archiveUrl(PATH, false));
            gf_log(failure);
            return failure;
        }
        local = parkAirportScratch.string();
    }
    DATA.icao = parkIcao;
    try {
        return lf_readApfFile(PATH, local, DATA, QF);
    } catch (const UserErrorException&) {
        standTable.clear();
        throw;
    } catch (const std::exception& e) {
        standTable.clear();
        return fmt::format("exception in readApf: {}", e.what());
    }
}

Stand* gf_standOfId(std::int32_t STAND_ID)
{
    if (STAND_ID < 1 || static_cast<std::size_t>(STAND_ID) > standTable.size()) return nullptr;
    Stand& stand = standTable[static_cast<std::size_t>(STAND_ID) - 1];
    return stand.standId == STAND_ID ? &stand : nullptr;
}

void lf_buildConflicts()
{
    for (Stand& a : standTable) {
        a.conflicts.clear();
        a.conflicts.reserve(8);
        for (const Stand& b : standTable) {
            // The distance is at least the difference of latitude (minutes are
            // nautical miles): most pairs are settled without the great circle.
            if (&a == &b || std::abs(a.lat - b.lat) * 60.0 * conflictMargin >= a.radius + b.radius) continue;
            if (a.radius + b.radius > gf_distanceNm({a.lat, a.lon}, {b.lat, b.lon}) * conflictMargin)
                a.conflicts.push_back(b.standId);
        }
        a.conflicts.shrink_to_fit();
    }
}

} // namespace orv
