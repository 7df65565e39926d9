// The traffic page's data as JSON: the snapshot once per publication (the
// server shares that text among its open pages), and one aircraft's story
// when the page asks for it.
#include "ui/traffic_view.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cmath>

namespace orv {

namespace {

/// Positions to about a metre, the rest to what a table shows.
double lf_round(double VALUE, double SCALE) { return std::round(VALUE * SCALE) / SCALE; }

nlohmann::json lf_aircraftJson(const AircraftView& V)
{
    return {{"hex", fmt::format("{:06x}", V.hexid)},
            {"live", V.live},
            {"callsign", V.callsign},
            {"type", V.icaoType},
            {"airline", V.airline},
            {"reg", V.regcode},
            {"from", V.origin},
            {"to", V.destination},
            {"phase", V.phase},
            {"lat", lf_round(V.lat, 1e5)},
            {"lon", lf_round(V.lon, 1e5)},
            {"hdg", lf_round(V.headingDeg, 10)},
            {"alt", std::lround(V.altitudeFt)},
            {"kt", std::lround(V.speedKt)},
            {"gnd", V.onGround},
            {"stand", V.stand},
            {"livery", V.livery},
            {"step", V.matchStep},
            {"oid", V.objectId}};
}

/// Invalid UTF-8 in a title or a log line is shown replaced, never refused.
std::string lf_dump(const nlohmann::json& J) { return J.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace); }

} // namespace

std::string gf_trafficJson(const TrafficSnapshot& S)
{
    nlohmann::json j = {{"number", S.number}, {"range", lf_round(S.rangeNm, 10)}, {"park", S.parkCode}};
    j["user"] = S.userKnown ? nlohmann::json{{"lat", S.userLat}, {"lon", S.userLon}, {"hdg", lf_round(S.userHeadingDeg, 10)}}
                            : nlohmann::json();
    nlohmann::json& stands = j["stands"] = nlohmann::json::array();
    for (const StandMark& s : S.stands)
        stands.push_back({{"name", s.name}, {"lat", s.lat}, {"lon", s.lon}, {"hdg", lf_round(s.headingDeg, 10)}});
    nlohmann::json& aircraft = j["aircraft"] = nlohmann::json::array();
    for (const AircraftView& v : S.aircraft) aircraft.push_back(lf_aircraftJson(v));
    return lf_dump(j);
}

std::string gf_storyJson(std::uint32_t HEXID)
{
    nlohmann::json j = {{"hex", fmt::format("{:06x}", HEXID)}, {"story", gf_storyOf(HEXID)}, {"aircraft", nullptr}};
    const auto now = gf_trafficSnapshot();
    for (const AircraftView& v : now->aircraft)
        if (v.hexid == HEXID) j["aircraft"] = lf_aircraftJson(v);
    return lf_dump(j);
}

} // namespace orv
