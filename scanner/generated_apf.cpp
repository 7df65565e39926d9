// The generated stand file of an add-on airport: the stand file format with
// its info section, the airport's facts and its stands, and no options, so
// that parking there lives on what is learned.
#include "scanner/scan_state.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/text_files.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <ctime>
#include <numbers>

namespace orv {

namespace {

constexpr double metresPerNm = 1852.0;

void lf_parameter(pugi::xml_node PARAMETERS, const char* NAME, const std::string& VALUE)
{
    auto p = PARAMETERS.append_child("parameter");
    p.append_attribute("name") = NAME;
    p.append_attribute("value") = VALUE.c_str();
}

} // namespace

bool lf_writeGeneratedApf(const ScannedAirport& AIRPORT, const std::filesystem::path& PATH)
{
    pugi::xml_document document;
    auto meta = document.append_child("meta");
    const auto info = [&](const char* NAME, const std::string& VALUE) {
        auto element = meta.append_child("info");
        element.append_attribute("name") = NAME;
        element.append_attribute("value") = VALUE.c_str();
    };
    info("author", std::string(programName));
    info("version", std::string(programVersionText));
    info("date", gf_utcText(std::time(nullptr)));
    info("MSFS", scanFor2020 ? "2020" : "2024");
    auto parameters = document.append_child("parameters");
    lf_parameter(parameters, "airport_name", AIRPORT.airportName);
    lf_parameter(parameters, "publisher", AIRPORT.publisher);
    lf_parameter(parameters, "altitude", std::to_string(AIRPORT.altitude));
    lf_parameter(parameters, "num_parkpos", std::to_string(AIRPORT.stands.size()));
    if (AIRPORT.publisher == "unknown") {
        lf_parameter(parameters, "BGLpath", AIRPORT.bglPath);
        lf_parameter(parameters, "manufacturer", AIRPORT.manufacturer);
        lf_parameter(parameters, "creator", AIRPORT.creator);
    }
    auto positions = document.append_child("parkpositions");
    for (const auto& s : AIRPORT.stands) {
        auto p = positions.append_child("parkpos");
        p.append_attribute("id") = s.name.c_str();
        p.append_attribute("latitude") = fmt::format("{:.6f}", s.lat).c_str();
        p.append_attribute("longitude") = fmt::format("{:.6f}", s.lon).c_str();
        p.append_attribute("heading") = fmt::format("{:.1F}", s.heading * 180.0 / std::numbers::pi).c_str();
        p.append_attribute("radius") = fmt::format("{:.1F}", s.radius * metresPerNm).c_str();
        if (s.heli)
            p.append_attribute("heli") = "true";
        else
            p.append_attribute("cargo") = s.cargo ? "true" : "false";
        p.append_attribute("ramp") = s.ramp ? "true" : "false";
    }
    return gf_writeXmlFile(document, PATH);
}

} // namespace orv
