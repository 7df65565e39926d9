// Writing stand files: the document in its fixed order (meta, parameters,
// parkpositions; attributes in one order, so that an unchanged airport is
// written byte for byte as before), the save of what was learned at the park
// airport, and the quality factors of the table.
#include "parking/airport_files.h"
#include "parking/apf_parts.h"
#include "parking/park_airports.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/text_files.h"
#include "liveries/dbase.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <set>
#include <sstream>

namespace orv {

namespace fs = std::filesystem;

namespace {

void lf_parameter(pugi::xml_node& PARAMETERS, const std::string& NAME, const std::string& VALUE)
{
    pugi::xml_node parameter = PARAMETERS.append_child("parameter");
    parameter.append_attribute("name") = NAME.c_str();
    parameter.append_attribute("value") = VALUE.c_str();
}

std::string lf_boolText(bool VALUE) { return VALUE ? "true" : "false"; }

/// The user's parking settings at this airport, in their fixed order.
void lf_overrideParameters(pugi::xml_node& PARAMETERS)
{
    lf_parameter(PARAMETERS, LATERAL_RANGE.name, std::to_string(LATERAL_RANGE.value));
    lf_parameter(PARAMETERS, AUTO_RANGE.name, lf_boolText(AUTO_RANGE.value));
    lf_parameter(PARAMETERS, WEEK.name, lf_boolText(WEEK.value));
    lf_parameter(PARAMETERS, PARK_FAKE.name, lf_boolText(PARK_FAKE.value));
    lf_parameter(PARAMETERS, PARK_SOFT.name, lf_boolText(PARK_SOFT.value));
    lf_parameter(PARAMETERS, parking_percentage.name, std::to_string(parking_percentage.value));
    lf_parameter(PARAMETERS, INITIAL_LOAD_ONLY.name, lf_boolText(INITIAL_LOAD_ONLY.value));
    lf_parameter(PARAMETERS, MAX_FIT.name, std::to_string(MAX_FIT.value));
    lf_parameter(PARAMETERS, RT_PARKTRAFFIC_ONLY.name, lf_boolText(RT_PARKTRAFFIC_ONLY.value));
    if (MAX_LIVE.value >= 0) lf_parameter(PARAMETERS, MAX_LIVE.name, std::to_string(MAX_LIVE.value));
    lf_parameter(PARAMETERS, LEARN_SOFT.name, lf_boolText(LEARN_SOFT.value));
}

void lf_writeParameters(pugi::xml_node PARAMETERS, const ParkAirportData& DATA, bool GENERATED)
{
    lf_parameter(PARAMETERS, "airport_name", DATA.airportName);
    lf_parameter(PARAMETERS, "publisher", DATA.publisher);
    if (DATA.handmade) lf_parameter(PARAMETERS, "handmade", "true");
    if (DATA.handmade || GENERATED) lf_parameter(PARAMETERS, "altitude", std::to_string(DATA.altitude));
    lf_parameter(PARAMETERS, "num_parkpos", std::to_string(DATA.stands.size()));
    if (DATA.handmade) {
        lf_parameter(PARAMETERS, "Qf_real", std::to_string(DATA.qfReal));
        lf_parameter(PARAMETERS, "Qf_soft", std::to_string(DATA.qfSoft));
    }
    if (DATA.publisher == "unknown") {
        lf_parameter(PARAMETERS, "BGLpath", DATA.bglPath);
        lf_parameter(PARAMETERS, "manufacturer", DATA.manufacturer);
        lf_parameter(PARAMETERS, "creator", DATA.creator);
    }
    if (!GENERATED) lf_overrideParameters(PARAMETERS);
}

void lf_attribute(pugi::xml_node& NODE, const char* NAME, const std::string& VALUE)
{
    NODE.append_attribute(NAME) = VALUE.c_str();
}

void lf_writeOption(pugi::xml_node PARKPOS, const StandOption& OPTION)
{
    pugi::xml_node opt = PARKPOS.append_child("opt");
    lf_attribute(opt, "reg", OPTION.regcode);
    // A registration the tables know brings its airline and type with it.
    if (OPTION.regcode.empty() || !gf_dbaseLookup(OPTION.regcode)) {
        lf_attribute(opt, "airl", OPTION.airline);
        lf_attribute(opt, "type", OPTION.icaoType);
    }
    if (OPTION.real == 0) lf_attribute(opt, "soft", "true");
    lf_attribute(opt, "day", std::to_string(OPTION.day));
    lf_attribute(opt, "hh", lf_bitset2hours(OPTION.hours));
    if (!OPTION.coupled1.empty() || !OPTION.coupled2.empty())
        lf_attribute(opt, "cs", OPTION.coupled2.empty() ? OPTION.coupled1 : OPTION.coupled1 + ":" + OPTION.coupled2);
}

void lf_writeStand(pugi::xml_node PARKPOSITIONS, const Stand& STAND, bool GENERATED, bool HANDMADE)
{
    pugi::xml_node parkpos = PARKPOSITIONS.append_child("parkpos");
    lf_attribute(parkpos, "id", STAND.name);
    if (GENERATED || STAND.manual || HANDMADE) {
        lf_attribute(parkpos, "latitude", fmt::format("{:.6f}", STAND.lat));
        lf_attribute(parkpos, "longitude", fmt::format("{:.6f}", STAND.lon));
        lf_attribute(parkpos, "heading", fmt::format("{:.1F}", STAND.heading / radPerDegreeOfFile));
        lf_attribute(parkpos, "radius", fmt::format("{:.1F}", STAND.radius / nmPerMetreOfFile));
        if (STAND.heli)
            lf_attribute(parkpos, "heli", "true");
        else
            lf_attribute(parkpos, "cargo", lf_boolText(STAND.cargo));
        lf_attribute(parkpos, "ramp", lf_boolText(STAND.ramp));
        if (!GENERATED && STAND.manual) lf_attribute(parkpos, "manual", "true");
    } else {
        if (STAND.radiusChange) {
            lf_attribute(parkpos, "radius_change", "true");
            lf_attribute(parkpos, "radius", fmt::format("{:.1F}", STAND.radius / nmPerMetreOfFile));
        }
        if (STAND.cargoChange) {
            lf_attribute(parkpos, "cargo_change", "true");
            lf_attribute(parkpos, "cargo", lf_boolText(STAND.cargo));
        }
    }
    if (GENERATED) return;
    // Options that a parking calculation has set aside (number 0) are still
    // what was seen here: they are written as well.
    for (const StandOption& option : STAND.options) lf_writeOption(parkpos, option);
}

/// What of a stand goes into the learned file: all with a handmade file,
/// otherwise what was learned here, in this run or an earlier one.
bool lf_learnedPart(const Stand& STAND, bool HANDMADE, Stand& OUT)
{
    OUT.name = STAND.name;
    OUT.lat = STAND.lat;
    OUT.lon = STAND.lon;
    OUT.heading = STAND.heading;
    OUT.radius = STAND.radius;
    OUT.manual = STAND.manual;
    OUT.radiusChange = STAND.radiusChange;
    OUT.cargoChange = STAND.cargoChange;
    OUT.cargo = STAND.cargo;
    OUT.ramp = STAND.ramp;
    OUT.heli = STAND.heli;
    for (const StandOption& option : STAND.options)
        if (HANDMADE || option.fromFile == 0 || option.fromLearned) OUT.options.push_back(option);
    return !OUT.options.empty() || OUT.manual || OUT.radiusChange || OUT.cargoChange;
}

/// The quality score of one kind of options of a stand; 0 without any.
double lf_standScore(const Stand& STAND, std::int32_t REAL)
{
    constexpr double base = 10000, perOption = 20, optionCap = 4000, perDay = 100, perBit = 2, bitCap = 600;
    int count = 0, bits = 0;
    std::set<std::int32_t> days;
    for (const StandOption& option : STAND.options) {
        if (option.number == 0 || option.real != REAL) continue;
        ++count;
        days.insert(option.day);
        bits += std::popcount(option.hours);
    }
    if (count == 0) return 0;
    return base + std::min(perOption * count, optionCap) + perDay * static_cast<double>(days.size()) +
           perBit * std::min<double>(bits, bitCap);
}

double lf_standWeight(const Stand& STAND)
{
    const double metres = STAND.radius / nmPerMetreOfFile;
    if (metres <= 7.0) return 0.3;
    if (metres <= 10.0) return 1.5;
    return 1.0;
}

fs::path lf_savePath(const ParkAirportData& DATA)
{
    if (!learnedPathInUse.empty()) return learnedPathInUse;
    fs::path folder = fs::path(airportsFolderName) / "learned";
    if (DATA.publisher == "stock" || DATA.publisher == "simaddon")
        folder /= DATA.publisher;
    else
        folder = folder / "thirdparty" / DATA.publisher;
    return folder / (DATA.icao + ".xml");
}

} // namespace

static void lf_buildApf(pugi::xml_document& doc, const ParkAirportData& DATA, bool GENERATED)
{
    pugi::xml_node meta = doc.append_child("meta");
    pugi::xml_node info = meta.append_child("info");
    info.append_attribute("name") = "program";
    info.append_attribute("value") = "TAVO";
    lf_writeParameters(doc.append_child("parameters"), DATA, GENERATED);
    pugi::xml_node parkpositions = doc.append_child("parkpositions");
    for (const Stand& stand : DATA.stands) lf_writeStand(parkpositions, stand, GENERATED, DATA.handmade);
}

std::string lf_apfText(const ParkAirportData& DATA, bool GENERATED)
{
    pugi::xml_document doc;
    lf_buildApf(doc, DATA, GENERATED);
    std::ostringstream text;
    doc.save(text, "  ");
    return std::move(text).str();
}

bool gf_saveApf(const ParkAirportData& DATA, const fs::path& PATH, bool GENERATED)
{
    try {
        pugi::xml_document doc;
        lf_buildApf(doc, DATA, GENERATED);
        if (PATH.has_parent_path()) fs::create_directories(PATH.parent_path());
        return gf_writeXmlFile(doc, PATH);
    } catch (const std::exception& e) {
        gf_log(fmt::format("exception in gf_saveApf: {}", e.what()));
        return false;
    }
}

QualityFactor lf_QualityFactor()
{
    try {
        const bool anyOption = std::any_of(standTable.begin(), standTable.end(),
                                           [](const Stand& STAND) { return !STAND.options.empty(); });
        if (!anyOption) return {};
        constexpr double scale = 0.00625;
        double sumWeight = 0, sumReal = 0, sumSoft = 0;
        for (const Stand& stand : standTable) {
            const double weight = lf_standWeight(stand);
            sumWeight += weight;
            sumReal += lf_standScore(stand, 1) * weight;
            sumSoft += lf_standScore(stand, 0) * weight;
        }
        if (sumWeight == 0) return {0, 0};
        const auto factor = [&](double SUM) {
            return static_cast<std::int32_t>(std::clamp(std::round(SUM / sumWeight * scale), 0.0, 100.0));
        };
        return {factor(sumReal), factor(sumSoft)};
    } catch (const std::exception& e) {
        gf_log(fmt::format("exception in lf_QualityFactor {}", e.what()));
        return {0, 0};
    }
}

void lf_saveUpdates()
{
    ParkAirportData data;
    data.icao = parkData.icao;
    data.airportName = parkData.airportName;
    data.publisher = parkData.publisher;
    data.altitude = parkData.altitude;
    data.handmade = handmadeActive;
    for (const Stand& stand : standTable)
        if (Stand part; lf_learnedPart(stand, handmadeActive, part)) data.stands.push_back(std::move(part));
    if (handmadeActive) {
        const QualityFactor qf = lf_QualityFactor();
        data.qfReal = qf.real;
        data.qfSoft = qf.soft;
    }
    const fs::path path = lf_savePath(data);
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    if (error) throw fs::filesystem_error("create_directory", path.parent_path(), error);
    const std::string time = gf_timeOfDay().substr(0, 8);
    if (!gf_saveApf(data, path, false)) {
        gf_showStatus(fmt::format("{} saving \"{}\" did not succeed", time, path.string()), true);
        return;
    }
    const int count = updateCount.load();
    gf_showStatus(fmt::format("{}{} \"{}\" saved with {} update{} {}", time, handmadeActive ? " handmade" : "",
                              path.string(), count, count == 1 || count < 0 ? "" : "s",
                              parameterChanged ? "and one or more parameter changes" : ""),
                  true);
}

} // namespace orv
