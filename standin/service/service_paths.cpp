// The answers of /v4/auth, /v4/deauth, /v4/nearestmetar, /v4/weather and
// /v4/traffic: parameters checked, session and pace enforced, data served.
#include "standin/service/service_paths.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include <fmt/format.h>

namespace orv {

namespace {

constexpr double kMsPerSecond = 1000.0;
constexpr double kSecondsPerMinute = 60.0;
constexpr long long kMaxBufferCount = 10;
constexpr long long kMaxBufferTimeSeconds = 60;
constexpr double kStationDistanceNm = 2.4;

/// The session a request names; null with the answer to give otherwise.
Session* lf_session(ServiceState& STATE, const FormFields& FORM, nlohmann::json& REFUSAL)
{
    const std::string guid = gf_formText(FORM, "GUID");
    if (guid.empty()) {
        REFUSAL = gf_statusAnswer(kStatusParameterFault);
        return nullptr;
    }
    const auto it = std::find_if(STATE.sessions.begin(), STATE.sessions.end(),
                                 [&](const Session& S) { return S.guid == guid; });
    if (it == STATE.sessions.end()) {
        REFUSAL = gf_statusAnswer(kStatusNoSession);
        return nullptr;
    }
    return &*it;
}

/// True when a request of a class whose last one came at LAST is too early
/// for PACE_MS; the request counts as the class's last one either way.
bool lf_insidePace(ServiceState& STATE, double& LAST, std::int32_t PACE_MS, double NOW)
{
    const bool early = NOW - LAST < PACE_MS / kMsPerSecond;
    LAST = NOW;
    if (early) ++STATE.counters.paceViolations;
    return early;
}

/// The time offset in minutes, none when it is not allowed.
std::optional<long long> lf_timeOffset(const FormFields& FORM)
{
    const auto offset = gf_formInteger(FORM, "toffset");
    if (!offset || *offset < 0 || *offset > kMaxTimeOffsetMinutes) return std::nullopt;
    return offset;
}

std::optional<RequestBox> lf_box(const FormFields& FORM)
{
    const auto top = gf_formDouble(FORM, "top"), bottom = gf_formDouble(FORM, "bottom");
    const auto left = gf_formDouble(FORM, "left"), right = gf_formDouble(FORM, "right");
    if (!top || !bottom || !left || !right || *top < *bottom) return std::nullopt;
    return RequestBox{*top, *bottom, *left, *right};
}

bool lf_validPosition(const FormFields& FORM)
{
    const auto lat = gf_formDouble(FORM, "lat"), lon = gf_formDouble(FORM, "lon");
    return lat && lon && std::abs(*lat) <= 90 && std::abs(*lon) <= 180;
}

std::string lf_metarText(const ServiceState& STATE, const std::string& STATION, double NOW)
{
    const auto time = static_cast<std::time_t>(NOW);
    std::tm utc{};
    gmtime_r(&time, &utc);
    const std::string qnh = STATE.setup.qnh.is_number()
                                ? fmt::format("Q{:04}", std::lround(STATE.setup.qnh.get<double>()))
                                : std::string("Q////");
    return fmt::format("{} {:02}{:02}{:02}Z 24008KT 9999 FEW030 12/07 {} NOSIG", STATION, utc.tm_mday,
                       utc.tm_hour, utc.tm_min, qnh);
}

nlohmann::json lf_liveTraffic(ServiceState& STATE, Session& SESSION, const RequestBox& BOX, double AT)
{
    SESSION.rrlMs = STATE.setup.rrlMs;
    nlohmann::json data = gf_replaySnapshot(STATE.recording, STATE.clock, AT, BOX);
    const auto count = data.size();
    return {{"status", kStatusGood}, {"rrl", SESSION.rrlMs}, {"full_count", count},
            {"dataepoch", static_cast<long long>(AT)}, {"data", std::move(data)}};
}

nlohmann::json lf_bufferedTraffic(ServiceState& STATE, Session& SESSION, const FormFields& FORM,
                                  const RequestBox& BOX, double AT)
{
    const auto count = gf_formInteger(FORM, "buffercount");
    const auto step = gf_formInteger(FORM, "buffertime");
    if (!count || !step || *count < 1 || *count > kMaxBufferCount || *step < 1 || *step > kMaxBufferTimeSeconds) {
        return gf_statusAnswer(kStatusParameterFault);
    }
    SESSION.rrlMs = STATE.setup.rrlMs;
    // buffer_0 is the newest slice, one step before the live answer; each
    // further slice one step older.
    nlohmann::json data = nlohmann::json::object();
    for (long long i = 0; i < *count; ++i) {
        const double sliceTime = AT - static_cast<double>((i + 1) * *step);
        data[fmt::format("buffer_{}", i)] = gf_replaySnapshot(STATE.recording, STATE.clock, sliceTime, BOX);
    }
    return {{"status", kStatusGood}, {"rrl", SESSION.rrlMs}, {"data", std::move(data)}};
}

} // namespace

nlohmann::json gf_statusAnswer(int STATUS)
{
    std::string message;
    switch (STATUS) {
    case kStatusParameterFault: message = "Parameter fault"; break;
    case kStatusNoSession: message = "GUID not valid, authenticate again"; break;
    case kStatusLicenceExpired: message = "License expired"; break;
    case kStatusDataRefused: message = "Data access refused"; break;
    case kStatusLicenceUnknown: message = "License not found"; break;
    case kStatusSessionActive: message = "Another session is active for this license"; break;
    case kStatusSlowDown: message = "Too many requests, slow down"; break;
    case kStatusDatabaseFault: message = "Database error"; break;
    default: message = fmt::format("Error {}", STATUS); break;
    }
    return {{"status", STATUS}, {"message", message}};
}

void gf_dropSession(ServiceState& STATE, const std::string& GUID)
{
    std::erase_if(STATE.sessions, [&](const Session& S) { return S.guid == GUID; });
}

RequestKind gf_trafficKind(const FormFields& FORM)
{
    if (gf_formText(FORM, "querytype") == "parkedtraffic") return RequestKind::Parked;
    if (FORM.count("buffercount") || FORM.count("buffertime")) return RequestKind::Buffer;
    return RequestKind::Traffic;
}

nlohmann::json gf_answerAuth(ServiceState& STATE, const FormFields& FORM, double NOW)
{
    const std::string licence = gf_formText(FORM, "license");
    if (licence.empty() || gf_formText(FORM, "software").empty()) return gf_statusAnswer(kStatusParameterFault);
    const auto& allowed = STATE.setup.licences;
    if (!allowed.empty() && std::find(allowed.begin(), allowed.end(), licence) == allowed.end()) {
        return gf_statusAnswer(kStatusLicenceUnknown);
    }
    if (std::any_of(STATE.sessions.begin(), STATE.sessions.end(),
                    [&](const Session& S) { return S.licence == licence; })) {
        return gf_statusAnswer(kStatusSessionActive);
    }
    auto last = STATE.lastLoginOrLogout.find(licence);
    const bool tooSoon = last != STATE.lastLoginOrLogout.end() && NOW - last->second < STATE.setup.loginGapSeconds;
    STATE.lastLoginOrLogout[licence] = NOW;
    if (tooSoon) {
        ++STATE.counters.paceViolations;
        return gf_statusAnswer(kStatusSlowDown);
    }
    Session session;
    session.guid = gf_makeGuid(STATE.random);
    session.licence = licence;
    session.lastUse = NOW;
    session.rrlMs = STATE.setup.rrlMs;
    session.wrrlMs = STATE.setup.wrrlMs;
    STATE.sessions.push_back(session);
    ++STATE.counters.logins;
    return {{"status", kStatusGood}, {"rrl", session.rrlMs}, {"wrrl", session.wrrlMs},
            {"server", STATE.setup.serverName}, {"GUID", session.guid}};
}

nlohmann::json gf_answerDeauth(ServiceState& STATE, const FormFields& FORM, double NOW)
{
    nlohmann::json refusal;
    Session* session = lf_session(STATE, FORM, refusal);
    if (session == nullptr) return refusal;
    STATE.lastLoginOrLogout[session->licence] = NOW;
    gf_dropSession(STATE, session->guid);
    ++STATE.counters.logouts;
    return {{"status", kStatusGood}, {"message", "Deauthenticated"}, {"server", STATE.setup.serverName}};
}

nlohmann::json gf_answerNearestMetar(ServiceState& STATE, const FormFields& FORM, double NOW)
{
    nlohmann::json refusal;
    Session* session = lf_session(STATE, FORM, refusal);
    if (session == nullptr) return refusal;
    session->lastUse = NOW;
    if (lf_insidePace(STATE, session->lastWeather, session->wrrlMs, NOW)) return gf_statusAnswer(kStatusSlowDown);
    if (!lf_timeOffset(FORM) || !lf_validPosition(FORM)) return gf_statusAnswer(kStatusParameterFault);
    nlohmann::json data = nlohmann::json::array();
    const std::string& station = STATE.setup.station;
    if (!station.empty()) {
        data.push_back({{"ICAO", station}, {"Dist", kStationDistanceNm}, {"BrgTo", 0},
                        {"METAR", lf_metarText(STATE, station, NOW)}});
    }
    return {{"status", kStatusGood}, {"data", std::move(data)}};
}

nlohmann::json gf_answerWeather(ServiceState& STATE, const FormFields& FORM, double NOW)
{
    nlohmann::json refusal;
    Session* session = lf_session(STATE, FORM, refusal);
    if (session == nullptr) return refusal;
    session->lastUse = NOW;
    if (lf_insidePace(STATE, session->lastWeather, session->wrrlMs, NOW)) return gf_statusAnswer(kStatusSlowDown);
    if (gf_formText(FORM, "querytype") != "locwx" || !lf_timeOffset(FORM) || !lf_validPosition(FORM)
        || !gf_formInteger(FORM, "alt") || !FORM.count("airports")) {
        return gf_statusAnswer(kStatusParameterFault);
    }
    session->wrrlMs = STATE.setup.wrrlMs;
    std::string station = gf_formText(FORM, "airports");
    if (station.empty()) station = STATE.setup.station;
    nlohmann::json data = {{"ICAO", station}, {"QNH", STATE.setup.qnh},
                           {"METAR", lf_metarText(STATE, station, NOW)}};
    return {{"status", kStatusGood}, {"wrrl", session->wrrlMs}, {"data", std::move(data)}};
}

nlohmann::json gf_answerTraffic(ServiceState& STATE, const FormFields& FORM, double NOW)
{
    nlohmann::json refusal;
    Session* session = lf_session(STATE, FORM, refusal);
    if (session == nullptr) return refusal;
    session->lastUse = NOW;
    const RequestKind kind = gf_trafficKind(FORM);
    double& last = kind == RequestKind::Parked ? session->lastParked : session->lastTraffic;
    if (lf_insidePace(STATE, last, session->rrlMs, NOW)) return gf_statusAnswer(kStatusSlowDown);
    const auto offset = lf_timeOffset(FORM);
    const auto box = lf_box(FORM);
    const std::string query = gf_formText(FORM, "querytype");
    if (!offset || !box || (query != "locationtraffic" && query != "parkedtraffic")) {
        return gf_statusAnswer(kStatusParameterFault);
    }
    const double at = NOW - static_cast<double>(*offset) * kSecondsPerMinute;
    if (kind == RequestKind::Parked) {
        return {{"status", kStatusGood}, {"data", gf_parkedSnapshot(STATE.parked, *box, at)}};
    }
    if (kind == RequestKind::Buffer) return lf_bufferedTraffic(STATE, *session, FORM, *box, at);
    return lf_liveTraffic(STATE, *session, *box, at);
}

} // namespace orv
