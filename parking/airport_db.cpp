// The airport database's files: airports_msfs.xml, read once at start into
// airportList, and airports_msfs_names.xml, read by the airport scan; the
// label by which the logs show an airport.
#include "parking/airport_db.h"
#include "parking/parking.h"

#include "core/errors.h"
#include "core/log.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <cstring>
#include <stdexcept>

namespace orv {

std::vector<AirportRecord> airportList;
bool airportsLoaded = false;
std::unordered_map<std::string, std::string> airportNames;

namespace {

/// The first element named NAME anywhere in the document.
pugi::xml_node lf_firstElement(const pugi::xml_document& DOC, const char* NAME)
{
    return DOC.find_node([NAME](const pugi::xml_node& NODE) { return std::strcmp(NODE.name(), NAME) == 0; });
}

pugi::xml_document lf_loadXml(const std::string& PATH)
{
    pugi::xml_document doc;
    const pugi::xml_parse_result result = doc.load_file(PATH.c_str());
    if (!result) throw std::runtime_error(PATH + " not loaded " + result.description());
    return doc;
}

/// CONVERT(TEXT), whose failures say which conversion refused the text, in
/// the same words on every platform ("invalid stof argument").
template <typename Convert>
auto lf_number(const char* TEXT, const char* CONVERSION, Convert CONVERT)
{
    try {
        return CONVERT(std::string(TEXT));
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument(fmt::format("invalid {} argument", CONVERSION));
    } catch (const std::out_of_range&) {
        throw std::out_of_range(fmt::format("{} argument out of range", CONVERSION));
    }
}

/// One airport element; a missing attribute is an empty text, which the
/// number conversions refuse.
AirportRecord lf_airportOf(const pugi::xml_node& AIRPORT)
{
    const auto toFloat = [](const std::string& TEXT) { return std::stof(TEXT); };
    const auto toDouble = [](const std::string& TEXT) { return std::stod(TEXT); };
    AirportRecord record;
    record.elevation = lf_number(AIRPORT.attribute("alt").as_string(), "stof", toFloat);
    record.lat = lf_number(AIRPORT.attribute("lat").as_string(), "stod", toDouble);
    record.lon = lf_number(AIRPORT.attribute("lon").as_string(), "stod", toDouble);
    record.iata = AIRPORT.attribute("iata").as_string();
    record.icao = AIRPORT.attribute("code").as_string();
    return record;
}

void lf_readAirportFile(const std::string& PATH)
{
    const pugi::xml_document doc = lf_loadXml(PATH);
    // Double codes are kept: gf_findAirport finds the first.
    for (const pugi::xml_node airport : lf_firstElement(doc, "airports").children("airport"))
        airportList.push_back(lf_airportOf(airport));
    gf_log(fmt::format("{} airports read from \"{}\"", airportList.size(), PATH));
    airportsLoaded = true;
    if (airportList.empty()) throw std::runtime_error(PATH + " not found");
}

} // namespace

bool gf_readAirports()
{
    if (airportsLoaded) return !airportList.empty();
    if (airportList.capacity() < airportCapacity) airportList.reserve(airportCapacity);
    try {
        lf_readAirportFile(airportsFile.string());
    } catch (const std::exception& e) {
        // A restart reads again from the start, so nothing half-read stays.
        airportList.clear();
        throw UserErrorException(87, e.what());
    }
    lf_indexAirports();
    return true;
}

bool lf_readAirportNames()
{
    airportNames.clear();
    const std::string path = airportNamesFile.string();
    pugi::xml_document doc;
    try {
        doc = lf_loadXml(path);
    } catch (const std::exception& e) {
        throw UserErrorException(88, e.what());
    }
    for (const pugi::xml_node airport : lf_firstElement(doc, "AirportNames").children("airport")) {
        const std::string icao = airport.attribute("ICAO").as_string();
        if (!icao.empty()) airportNames.try_emplace(icao, airport.attribute("name").as_string());
    }
    gf_log(fmt::format("{} airport names read from \"{}\"", airportNames.size(), path));
    return !airportNames.empty();
}

void gf_readAirportDatabase() { gf_readAirports(); }

std::string gf_airportLabel(const std::string& FIRST, const std::string& SECOND)
{
    return SECOND.empty() ? FIRST : fmt::format("{} ({})", FIRST, SECOND);
}

} // namespace orv
