// The traffic page's data as JSON: the snapshot once per publication (the
// server shares that text among its open pages), and one aircraft's story
// when the page asks for it.
#include "ui/traffic_view.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <iterator>
#include <string_view>

namespace orv {

namespace {

/// Positions to about a metre, the rest to what a table shows.
double lf_round(double VALUE, double SCALE) { return std::round(VALUE * SCALE) / SCALE; }

/// A figure JSON can carry: a broken one (NaN out of a failed computation) reads 0.
double lf_finite(double VALUE) { return std::isfinite(VALUE) ? VALUE : 0.0; }

/// The length of the valid UTF-8 sequence at AT; 0 when it is not one.
std::size_t lf_utf8Length(std::string_view S, std::size_t AT)
{
    const auto byte = [&](std::size_t K) { return K < S.size() ? static_cast<unsigned char>(S[K]) : 0u; };
    const unsigned lead = byte(AT), second = byte(AT + 1);
    std::size_t length = 0;
    unsigned low = 0x80, high = 0xBF; // the second byte's range; narrower after some leads
    if (lead >= 0xC2 && lead <= 0xDF) length = 2;
    else if (lead >= 0xE0 && lead <= 0xEF) length = 3, low = lead == 0xE0 ? 0xA0 : 0x80, high = lead == 0xED ? 0x9F : 0xBF;
    else if (lead >= 0xF0 && lead <= 0xF4) length = 4, low = lead == 0xF0 ? 0x90 : 0x80, high = lead == 0xF4 ? 0x8F : 0xBF;
    if (length == 0 || second < low || second > high) return 0;
    for (std::size_t k = 2; k < length; ++k)
        if (byte(AT + k) < 0x80 || byte(AT + k) > 0xBF) return 0;
    return length;
}

/// TEXT as a JSON string; invalid UTF-8 (a title out of a damaged file) is shown replaced.
void lf_string(std::string& OUT, std::string_view TEXT)
{
    OUT += '"';
    for (std::size_t k = 0; k < TEXT.size();) {
        const unsigned char c = static_cast<unsigned char>(TEXT[k]);
        if (c == '"' || c == '\\') {
            OUT += '\\';
            OUT += static_cast<char>(c);
            ++k;
        } else if (c < 0x20) {
            fmt::format_to(std::back_inserter(OUT), "\\u{:04x}", c);
            ++k;
        } else if (c < 0x80) {
            OUT += static_cast<char>(c);
            ++k;
        } else if (const std::size_t n = lf_utf8Length(TEXT, k); n > 0) {
            OUT.append(TEXT.substr(k, n));
            k += n;
        } else {
            OUT += "\xEF\xBF\xBD";
            ++k;
        }
    }
    OUT += '"';
}

/// One aircraft, written straight into the page's text: the snapshot is
/// serialised four times a second with hundreds of aircraft.
void lf_aircraft(std::string& OUT, const AircraftView& V)
{
    auto out = std::back_inserter(OUT);
    fmt::format_to(out, "{{\"hex\":\"{:06x}\",\"live\":{},\"callsign\":", V.hexid, V.live);
    lf_string(OUT, V.callsign);
    const std::pair<const char*, const std::string*> texts[] = {{"type", &V.icaoType}, {"airline", &V.airline},
                                                                {"reg", &V.regcode},   {"from", &V.origin},
                                                                {"to", &V.destination}, {"phase", &V.phase},
                                                                {"stand", &V.stand},   {"livery", &V.livery}};
    for (const auto& [key, text] : texts) {
        fmt::format_to(out, ",\"{}\":", key);
        lf_string(OUT, *text);
    }
    fmt::format_to(out, ",\"lat\":{},\"lon\":{},\"hdg\":{},\"alt\":{},\"kt\":{},\"gnd\":{},\"step\":{},\"oid\":{}}}",
                   lf_round(lf_finite(V.lat), 1e5), lf_round(lf_finite(V.lon), 1e5), lf_round(lf_finite(V.headingDeg), 10),
                   std::lround(lf_finite(V.altitudeFt)), std::lround(lf_finite(V.speedKt)), V.onGround, V.matchStep, V.objectId);
}

nlohmann::json lf_aircraftJson(const AircraftView& V)
{
    std::string text;
    lf_aircraft(text, V);
    return nlohmann::json::parse(text);
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
    // The head as a JSON object without its closing brace, then the aircraft written directly.
    std::string text = lf_dump(j);
    text.pop_back();
    text.reserve(text.size() + 320 * S.aircraft.size());
    text += ",\"aircraft\":[";
    for (std::size_t k = 0; k < S.aircraft.size(); ++k) {
        if (k > 0) text += ',';
        lf_aircraft(text, S.aircraft[k]);
    }
    text += "]}";
    return text;
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
