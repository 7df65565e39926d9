// Public ADS-B history to the traffic service's recording. Unknown values
// stay null in the arrays, as a live feed leaves them, so that a replay shows
// the program what the real feed gives.
#include "tools/trace_convert.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>
#include <stdexcept>

namespace orv {
namespace {

using nlohmann::json;
using Maybe = std::optional<double>;

constexpr double feetPerMetre = 3.280839895;
constexpr double knotsPerMps = 3600.0 / 1852.0;
constexpr double fpmPerMps = feetPerMetre * 60.0;

/// One position of the source, in the recording's units.
struct StatePoint {
    double time = 0;
    std::string hexid, callsign, type, regcode, category, source = "adsb_icao", squawk;
    double lat = 0, lon = 0;
    Maybe baroFt, geoFt, speedKt, trackDeg, verticalFpm, iasKt, rollDeg, headingDeg;
    std::optional<bool> onGround;
};

Maybe lf_number(const json& VALUE)
{
    if (VALUE.is_number()) return VALUE.get<double>();
    return std::nullopt;
}

json lf_json(const Maybe& VALUE) { return VALUE ? json(*VALUE) : json(); }

Maybe lf_shifted(const Maybe& ALT, const ConvertSetup& SETUP)
{
    if (!ALT) return ALT;
    return *ALT + SETUP.altitudeShiftFt;
}

std::string lf_line(StatePoint P, const ConvertSetup& SETUP)
{
    if (SETUP.placeFrom && SETUP.placeTo) {
        const LatLon moved = gf_fromPlane(*SETUP.placeTo, gf_toPlane(*SETUP.placeFrom, P.lat, P.lon));
        P.lat = moved.lat, P.lon = moved.lon;
    }
    const json none;
    const json line = {P.hexid,
                       std::round(P.lat * 1e6) / 1e6,
                       std::round(P.lon * 1e6) / 1e6,
                       lf_json(P.trackDeg),
                       lf_json(lf_shifted(P.baroFt, SETUP)),
                       lf_json(P.speedKt),
                       P.squawk,
                       "",
                       P.type.empty() ? SETUP.type : P.type,
                       P.regcode,
                       std::round(P.time * 1000) / 1000,
                       "",
                       "",
                       P.callsign,
                       P.onGround ? json(*P.onGround ? 1 : 0) : none,
                       lf_json(P.verticalFpm),
                       "",
                       P.source,
                       lf_json(lf_shifted(P.geoFt, SETUP)),
                       none,
                       lf_json(P.iasKt),
                       none,
                       none,
                       lf_json(P.rollDeg),
                       none,
                       lf_json(P.headingDeg),
                       none,
                       none,
                       P.category.empty() ? SETUP.category : P.category};
    return line.dump();
}

std::string lf_trimmed(std::string TEXT)
{
    while (!TEXT.empty() && (TEXT.back() == ' ' || TEXT.back() == '\r')) TEXT.pop_back();
    const auto first = TEXT.find_first_not_of(' ');
    return first == std::string::npos ? std::string() : TEXT.substr(first);
}

std::vector<std::string> lf_linesOf(std::vector<StatePoint>& POINTS, const ConvertSetup& SETUP)
{
    std::stable_sort(POINTS.begin(), POINTS.end(), [](const StatePoint& A, const StatePoint& B) { return A.time < B.time; });
    std::vector<std::string> lines;
    for (const StatePoint& p : POINTS)
        if (p.time >= SETUP.fromTime && p.time <= SETUP.toTime) lines.push_back(lf_line(p, SETUP));
    return lines;
}

/// The details object of a trace entry: callsign, category, heading, squawk.
void lf_readDetails(const json& DETAILS, StatePoint& CARRIED)
{
    if (!DETAILS.is_object()) return;
    if (DETAILS.contains("flight") && DETAILS["flight"].is_string()) CARRIED.callsign = lf_trimmed(DETAILS["flight"]);
    if (DETAILS.contains("category") && DETAILS["category"].is_string()) CARRIED.category = DETAILS["category"];
    if (DETAILS.contains("squawk") && DETAILS["squawk"].is_string()) CARRIED.squawk = DETAILS["squawk"];
}

// --- OpenSky-style state vectors ------------------------------------------------------

std::vector<std::string> lf_splitCsv(const std::string& LINE)
{
    std::vector<std::string> fields;
    std::string field;
    bool quoted = false;
    for (const char c : LINE) {
        if (c == '"') quoted = !quoted;
        else if (c == ',' && !quoted) fields.push_back(lf_trimmed(std::exchange(field, {})));
        else field += c;
    }
    fields.push_back(lf_trimmed(field));
    return fields;
}

Maybe lf_csvNumber(const std::string& TEXT)
{
    if (TEXT.empty() || TEXT == "null" || TEXT == "NaN" || TEXT == "nan") return std::nullopt;
    try {
        std::size_t used = 0;
        const double v = std::stod(TEXT, &used);
        if (used != TEXT.size() || !std::isfinite(v)) return std::nullopt;
        return v;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

Maybe lf_scaled(const Maybe& VALUE, double FACTOR)
{
    if (!VALUE) return VALUE;
    return *VALUE * FACTOR;
}

std::optional<bool> lf_flag(const std::string& TEXT)
{
    if (TEXT == "True" || TEXT == "true" || TEXT == "1") return true;
    if (TEXT == "False" || TEXT == "false" || TEXT == "0") return false;
    return std::nullopt;
}

/// A point from the named fields of one CSV row; the SI names (OpenSky's own)
/// are converted, the aviation names are taken as they stand.
std::optional<StatePoint> lf_csvPoint(const std::map<std::string, std::string>& F)
{
    const auto at = [&](const char* NAME) {
        const auto it = F.find(NAME);
        return it == F.end() ? std::string() : it->second;
    };
    const Maybe time = lf_csvNumber(at("time")), lat = lf_csvNumber(at("lat")), lon = lf_csvNumber(at("lon"));
    if (!time || !lat || !lon || at("icao24").empty()) return std::nullopt;
    StatePoint p;
    p.time = *time, p.lat = *lat, p.lon = *lon;
    p.hexid = at("icao24");
    p.callsign = at("callsign");
    p.type = at("typecode");
    p.regcode = at("registration");
    p.squawk = at("squawk");
    p.onGround = lf_flag(at("onground"));
    p.speedKt = F.contains("velocity") ? lf_scaled(lf_csvNumber(at("velocity")), knotsPerMps) : lf_csvNumber(at("groundspeed"));
    p.trackDeg = F.contains("heading") ? lf_csvNumber(at("heading")) : lf_csvNumber(at("track"));
    p.verticalFpm = F.contains("vertrate") ? lf_scaled(lf_csvNumber(at("vertrate")), fpmPerMps) : lf_csvNumber(at("verticalrate"));
    p.baroFt = F.contains("baroaltitude") ? lf_scaled(lf_csvNumber(at("baroaltitude")), feetPerMetre) : lf_csvNumber(at("altitude"));
    p.geoFt = F.contains("geoaltitude") ? lf_scaled(lf_csvNumber(at("geoaltitude")), feetPerMetre) : lf_csvNumber(at("geoaltitude_ft"));
    return p;
}

std::vector<StatePoint> lf_csvPoints(const std::string& TEXT)
{
    std::istringstream in(TEXT);
    std::string line;
    std::vector<std::string> header;
    std::vector<StatePoint> points;
    while (std::getline(in, line)) {
        if (lf_trimmed(line).empty()) continue;
        const std::vector<std::string> fields = lf_splitCsv(line);
        if (header.empty()) {
            header = fields;
            continue;
        }
        std::map<std::string, std::string> named;
        for (std::size_t i = 0; i < header.size() && i < fields.size(); ++i) named[header[i]] = fields[i];
        if (auto p = lf_csvPoint(named)) points.push_back(std::move(*p));
    }
    return points;
}

/// One state of the REST answer: icao24, callsign, country, time_position,
/// last_contact, lon, lat, baro_altitude m, on_ground, velocity m/s,
/// true_track, vertical_rate m/s, sensors, geo_altitude m, squawk, ...
std::optional<StatePoint> lf_restPoint(const json& S, double ANSWER_TIME)
{
    if (!S.is_array() || S.size() < 14 || !S[0].is_string()) return std::nullopt;
    const Maybe lon = lf_number(S[5]), lat = lf_number(S[6]);
    if (!lat || !lon) return std::nullopt;
    StatePoint p;
    p.hexid = S[0];
    if (S[1].is_string()) p.callsign = lf_trimmed(S[1]);
    p.time = lf_number(S[3]).value_or(ANSWER_TIME);
    p.lat = *lat, p.lon = *lon;
    p.baroFt = lf_scaled(lf_number(S[7]), feetPerMetre);
    if (S[8].is_boolean()) p.onGround = S[8].get<bool>();
    p.speedKt = lf_scaled(lf_number(S[9]), knotsPerMps);
    p.trackDeg = lf_number(S[10]);
    p.verticalFpm = lf_scaled(lf_number(S[11]), fpmPerMps);
    p.geoFt = lf_scaled(lf_number(S[13]), feetPerMetre);
    if (S.size() > 14 && S[14].is_string()) p.squawk = S[14];
    return p;
}

void lf_restAnswer(const json& ANSWER, std::vector<StatePoint>& POINTS)
{
    if (ANSWER.is_array()) {
        for (const json& a : ANSWER) lf_restAnswer(a, POINTS);
        return;
    }
    if (!ANSWER.is_object() || !ANSWER.contains("states") || !ANSWER["states"].is_array()) return;
    const double time = lf_number(ANSWER.value("time", json())).value_or(0);
    for (const json& s : ANSWER["states"])
        if (auto p = lf_restPoint(s, time)) POINTS.push_back(std::move(*p));
}

} // namespace

std::vector<std::string> gf_convertReadsb(const std::string& TEXT, const ConvertSetup& SETUP)
{
    const json doc = json::parse(TEXT);
    if (!doc.is_object() || !doc.contains("icao") || !doc.contains("timestamp") || !doc.contains("trace") ||
        !doc["trace"].is_array())
        throw std::runtime_error("not a trace_full document: icao, timestamp and trace are needed");
    const double base = doc["timestamp"].get<double>();
    StatePoint carried;
    carried.hexid = doc["icao"].get<std::string>();
    carried.type = doc.value("t", "");
    carried.regcode = doc.value("r", "");
    // The category comes in some details only; it belongs to the aircraft.
    for (const json& e : doc["trace"])
        if (e.is_array() && e.size() > 8 && e[8].is_object() && e[8].contains("category"))
            carried.category = e[8]["category"].get<std::string>();
    std::vector<StatePoint> points;
    for (const json& e : doc["trace"]) {
        if (!e.is_array() || e.size() < 8) continue;
        const Maybe offset = lf_number(e[0]), lat = lf_number(e[1]), lon = lf_number(e[2]);
        if (!offset || !lat || !lon) continue;
        if (e.size() > 8) lf_readDetails(e[8], carried);
        StatePoint p = carried;
        p.time = base + *offset;
        p.lat = *lat, p.lon = *lon;
        const bool ground = e[3].is_string() && e[3] == "ground";
        if (ground) p.onGround = true;
        else if (e[3].is_number()) p.onGround = false, p.baroFt = e[3].get<double>();
        p.speedKt = lf_number(e[4]);
        p.trackDeg = lf_number(e[5]);
        p.verticalFpm = lf_number(e[7]);
        if (e.size() > 9 && e[9].is_string()) p.source = e[9];
        if (e.size() > 10 && !ground) p.geoFt = lf_number(e[10]);
        if (e.size() > 12) p.iasKt = lf_number(e[12]);
        if (e.size() > 13) p.rollDeg = lf_number(e[13]);
        if (e.size() > 8 && e[8].is_object() && e[8].contains("true_heading")) p.headingDeg = lf_number(e[8]["true_heading"]);
        points.push_back(std::move(p));
    }
    return lf_linesOf(points, SETUP);
}

std::vector<std::string> gf_convertStateVectors(const std::string& TEXT, const ConvertSetup& SETUP)
{
    std::vector<StatePoint> points;
    const auto first = TEXT.find_first_not_of(" \t\r\n");
    if (first != std::string::npos && (TEXT[first] == '{' || TEXT[first] == '[')) {
        std::istringstream in(TEXT);
        std::string line;
        // One answer a line, or one document holding them.
        try {
            lf_restAnswer(json::parse(TEXT), points);
        } catch (const json::parse_error&) {
            while (std::getline(in, line))
                if (!lf_trimmed(line).empty()) lf_restAnswer(json::parse(line), points);
        }
    } else {
        points = lf_csvPoints(TEXT);
    }
    return lf_linesOf(points, SETUP);
}

} // namespace orv
