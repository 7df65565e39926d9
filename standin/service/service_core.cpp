// Request dispatch of the traffic service: expiry of idle sessions, failures
// on demand laid over the normal answers, and the control path.
#include "standin/service/service_core.h"

#include <limits>
#include <stdexcept>

#include <fmt/format.h>

#include "standin/service/service_paths.h"

namespace orv {

namespace {

constexpr int kHttpNotFound = 404;
constexpr int kHttpBadRequest = 400;
constexpr int kHttpBadGateway = 502;
constexpr std::string_view kApiPrefix = "/v4/";
constexpr std::string_view kControlPrefix = "/control/";

ServiceAnswer lf_jsonAnswer(const nlohmann::json& ANSWER)
{
    ServiceAnswer answer;
    answer.body = ANSWER.dump();
    const auto status = ANSWER.find("status");
    answer.apiStatus = status != ANSWER.end() && status->is_number_integer() ? status->get<int>() : 0;
    return answer;
}

ServiceAnswer lf_notFound()
{
    ServiceAnswer answer;
    answer.httpStatus = kHttpNotFound;
    answer.body = "Not Found";
    answer.contentType = "text/plain";
    answer.apiStatus = 0;
    return answer;
}

void lf_expireSessions(ServiceState& STATE, double NOW)
{
    std::erase_if(STATE.sessions, [&](const Session& S) {
        return NOW - S.lastUse > STATE.setup.sessionTimeoutSeconds;
    });
}

std::optional<RequestKind> lf_kindOfPath(std::string_view NAME, const FormFields& FORM)
{
    if (NAME == "auth") return RequestKind::Auth;
    if (NAME == "deauth") return RequestKind::Deauth;
    if (NAME == "nearestmetar") return RequestKind::NearestMetar;
    if (NAME == "weather") return RequestKind::Weather;
    if (NAME == "traffic") return gf_trafficKind(FORM);
    return std::nullopt;
}

nlohmann::json lf_normalAnswer(ServiceState& STATE, RequestKind KIND, const FormFields& FORM, double NOW)
{
    switch (KIND) {
    case RequestKind::Auth: return gf_answerAuth(STATE, FORM, NOW);
    case RequestKind::Deauth: return gf_answerDeauth(STATE, FORM, NOW);
    case RequestKind::NearestMetar: return gf_answerNearestMetar(STATE, FORM, NOW);
    case RequestKind::Weather: return gf_answerWeather(STATE, FORM, NOW);
    default: return gf_answerTraffic(STATE, FORM, NOW);
    }
}

/// The answer of the service's own paths, with a failure laid over it.
ServiceAnswer lf_apiRequest(ServiceState& STATE, std::string_view NAME, const FormFields& FORM, double NOW)
{
    const auto kind = lf_kindOfPath(NAME, FORM);
    if (!kind) return lf_notFound();
    ++STATE.counters.requests;
    lf_expireSessions(STATE, NOW);
    const auto failure = gf_takeFailure(STATE.failures, *kind);
    if (failure && failure->kind == FailureKind::Status) {
        // A session the server reports as no longer valid is gone for good.
        if (failure->status == kStatusNoSession) gf_dropSession(STATE, gf_formText(FORM, "GUID"));
        return lf_jsonAnswer(gf_statusAnswer(failure->status));
    }
    if (failure && failure->kind == FailureKind::NotJson) {
        ServiceAnswer answer;
        answer.httpStatus = kHttpBadGateway;
        answer.contentType = "text/html";
        answer.body = "<html><head><title>502 Bad Gateway</title></head><body>Bad Gateway</body></html>";
        answer.apiStatus = 0;
        return answer;
    }
    if (failure && (failure->kind == FailureKind::Empty || failure->kind == FailureKind::Custom)) {
        ServiceAnswer answer;
        answer.body = failure->body;
        answer.apiStatus = 0;
        const auto json = nlohmann::json::parse(answer.body, nullptr, false);
        if (json.is_object() && json.contains("status") && json["status"].is_number_integer()) {
            answer.apiStatus = json["status"].get<int>();
        }
        return answer;
    }
    nlohmann::json json = lf_normalAnswer(STATE, *kind, FORM, NOW);
    if (failure && failure->kind == FailureKind::TextStatus && json.contains("status")) {
        json["status"] = json["status"].dump();
    }
    ServiceAnswer answer = lf_jsonAnswer(json);
    if (failure && failure->kind == FailureKind::Stall) {
        answer.stall = true;
        answer.stallMs = failure->stallMs;
    }
    return answer;
}

nlohmann::json lf_stateReport(const ServiceState& STATE)
{
    nlohmann::json sessions = nlohmann::json::array();
    for (const auto& s : STATE.sessions) {
        sessions.push_back({{"GUID", s.guid}, {"license", s.licence}, {"rrl", s.rrlMs}, {"wrrl", s.wrrlMs}});
    }
    nlohmann::json failures = nlohmann::json::array();
    for (const auto& f : STATE.failures.failures) {
        failures.push_back({{"request", gf_requestKindName(f.request)}, {"count", f.count}, {"after", f.after}});
    }
    return {{"status", kStatusGood},
            {"sessions", std::move(sessions)},
            {"failures", std::move(failures)},
            {"requests", STATE.counters.requests},
            {"paceViolations", STATE.counters.paceViolations},
            {"logins", STATE.counters.logins},
            {"logouts", STATE.counters.logouts},
            {"heldAnswers", STATE.counters.heldAnswers},
            {"recordedAircraft", STATE.recording.tracks.size()},
            {"recordedPoints", STATE.recording.pointCount},
            {"parkedAircraft", STATE.parked.entries.size()}};
}

/// Changes of the running service's values; throws std::invalid_argument.
void lf_setValues(ServiceState& STATE, const FormFields& FORM)
{
    const auto positive = [&](const char* KEY) {
        const auto value = gf_formInteger(FORM, KEY);
        if (!value || *value <= 0 || *value > std::numeric_limits<std::int32_t>::max()) {
            throw std::invalid_argument(fmt::format("{} must be a positive whole number", KEY));
        }
        return static_cast<std::int32_t>(*value);
    };
    if (FORM.count("rrl")) STATE.setup.rrlMs = positive("rrl");
    if (FORM.count("wrrl")) STATE.setup.wrrlMs = positive("wrrl");
    if (FORM.count("sessiontimeout")) STATE.setup.sessionTimeoutSeconds = positive("sessiontimeout");
    if (FORM.count("station")) STATE.setup.station = gf_formText(FORM, "station");
    if (FORM.count("qnh")) STATE.setup.qnh = nlohmann::json::parse(gf_formText(FORM, "qnh"));
}

ServiceAnswer lf_controlRequest(ServiceState& STATE, std::string_view NAME, const FormFields& FORM)
{
    try {
        if (NAME == "fail") {
            STATE.failures.failures.push_back(gf_failureFromForm(FORM));
        } else if (NAME == "clear") {
            STATE.failures.failures.clear();
            ++STATE.releaseGeneration;
        } else if (NAME == "release") {
            ++STATE.releaseGeneration;
        } else if (NAME == "set") {
            lf_setValues(STATE, FORM);
        } else if (NAME == "drop") {
            const std::string guid = gf_formText(FORM, "GUID");
            std::erase_if(STATE.sessions, [&](const Session& S) { return guid.empty() || S.guid == guid; });
        } else if (NAME != "state") {
            return lf_notFound();
        }
    } catch (const std::exception& e) {
        ServiceAnswer answer = lf_jsonAnswer({{"status", kHttpBadRequest}, {"message", e.what()}});
        answer.httpStatus = kHttpBadRequest;
        return answer;
    }
    return lf_jsonAnswer(lf_stateReport(STATE));
}

} // namespace

ServiceAnswer gf_handleRequest(ServiceState& STATE, std::string_view PATH, std::string_view BODY, double NOW)
{
    const FormFields form = gf_parseForm(BODY);
    if (PATH.starts_with(kApiPrefix)) return lf_apiRequest(STATE, PATH.substr(kApiPrefix.size()), form, NOW);
    if (PATH.starts_with(kControlPrefix)) return lf_controlRequest(STATE, PATH.substr(kControlPrefix.size()), form);
    return lf_notFound();
}

std::string gf_makeGuid(std::mt19937_64& RANDOM)
{
    const std::uint64_t high = RANDOM(), low = RANDOM();
    constexpr std::uint64_t kVersion4 = 0x4000, kVariant = 0x8000;
    constexpr std::uint64_t kMask16 = 0xFFFF, kMask12 = 0x0FFF, kMask14 = 0x3FFF, kMask48 = 0xFFFFFFFFFFFF;
    return fmt::format("{:08x}-{:04x}-{:04x}-{:04x}-{:012x}", high >> 32, (high >> 16) & kMask16,
                       (high & kMask12) | kVersion4, ((low >> 48) & kMask14) | kVariant, low & kMask48);
}

} // namespace orv
