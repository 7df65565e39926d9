// The requests of the traffic service's API: login, logout, nearest METAR
// station, weather, parked, buffered and live traffic. Each holds its own
// failures: a curl failure, an empty answer or an exception is logged in the
// request's own words and the reader goes on. Bodies are built by gf_formBody,
// which escapes every value.
#include <fmt/format.h>

#include "core/log.h"
#include "core/parameters.h"
#include "core/window_state.h"
#include "feed/decode.h"
#include "feed/feed.h"
#include "feed/feed_session.h"
#include "feed/request_shape.h"
#include "feed/rt_client.h"

#include <mutex>

namespace orv {

namespace {

std::mutex serverNameMutex; ///< a leaf lock
std::string rtServerName;

constexpr int bufferCount = 5;
constexpr int bufferTimeSeconds = 6;
/// The five slices oldest first, each with the delay at which it lands.
constexpr std::pair<const char*, int> bufferSlices[bufferCount] = {
    {"buffer_4", 0}, {"buffer_3", 6}, {"buffer_2", 12}, {"buffer_1", 18}, {"buffer_0", 24}};

std::string lf_trafficBody(const std::string& GUID, const Box& BOX, const char* QUERY, std::int32_t TOFFSET)
{
    return gf_formBody({{"GUID", GUID},
                        {"top", fmt::format("{:.2F}", BOX.top)},
                        {"bottom", fmt::format("{:.2F}", BOX.bottom)},
                        {"left", fmt::format("{:.2F}", BOX.left)},
                        {"right", fmt::format("{:.2F}", BOX.right)},
                        {"querytype", QUERY},
                        {"toffset", std::to_string(TOFFSET)}});
}

/// A latitude or longitude as the service takes it.
std::string lf_degrees(double VALUE) { return fmt::format("{:.4F}", VALUE); }

/// The members of an answer's data object; null data has none.
nlohmann::json& lf_dataObject(nlohmann::json& ANSWER)
{
    thread_local nlohmann::json none;
    none = nlohmann::json::object();
    const auto it = ANSWER.find("data");
    if (it == ANSWER.end() || it->is_null()) return none;
    if (!it->is_object()) throw std::runtime_error(fmt::format("data is {}, no object", it->type_name()));
    return *it;
}

/// Each member's array becomes the client's line in turn; the answer is not
/// needed afterwards, so the arrays are moved rather than copied.
void lf_decodeMembers(RtClient& CLIENT, nlohmann::json& DATA)
{
    for (auto& [key, value] : DATA.items()) {
        CLIENT.line = std::move(value);
        processLine(CLIENT);
    }
}

} // namespace

std::string gf_rtServerName()
{
    std::lock_guard lock(serverNameMutex);
    return rtServerName;
}

void gf_setRtServerName(const std::string& NAME)
{
    std::lock_guard lock(serverNameMutex);
    rtServerName = NAME;
}

bool lf_rtAuth(RtClient& CLIENT, std::int32_t& STATUS)
{
    bool ok = false;
    try {
        const std::string body = gf_formBody(
            {{"license", RT_LICENSE.value}, {"software", fmt::format("{}_{}", programName, PROGRAM_VERSION.value)}});
        if (gf_postForm(CLIENT, authShape, body)) {
            const auto answer = nlohmann::json::parse(CLIENT.content);
            STATUS = gf_answerStatus(answer);
            const bool refused = STATUS == statusParameterFault || STATUS == statusLicenceExpired
                                 || STATUS == statusLicenceUnknown || STATUS == statusSecondSession
                                 || gf_isServerFault(STATUS);
            if (!refused) {
                CLIENT.rrl = gf_answerInt(answer, "rrl", startPaceMs);
                CLIENT.wrrl = gf_answerInt(answer, "wrrl", startPaceMs);
                gf_setRtServerName(gf_answerText(answer, "server", "?"));
                gf_log(fmt::format("Authenticated at RT server \"{}\"", gf_rtServerName()));
                gf_setGuid(CLIENT, gf_answerText(answer, "GUID", "empty GUID?"));
                rtConnected = true;
                gf_repaint();
                ok = true;
            }
        }
    } catch (const std::exception& e) {
        CLIENT.failure = e.what();
        gf_log(fmt::format(fmt::runtime(authShape.exceptionLog), e.what()));
    }
    gf_noteServiceContact();
    gf_holdReader(CLIENT, CLIENT.wrrl);
    return ok;
}

bool lf_rtDeauthExchange(RtClient& CLIENT, std::int32_t& STATUS)
{
    STATUS = statusNoNumber;
    const std::string guid = gf_guidOf(CLIENT);
    if (guid.empty()) return false;
    try {
        if (!gf_postForm(CLIENT, deauthShape, gf_formBody({{"GUID", guid}}))) return false;
        const auto answer = nlohmann::json::parse(CLIENT.content);
        STATUS = gf_answerStatus(answer);
        if (STATUS != statusGood) {
            gf_log(fmt::format("Deauthentication failed, status: {}", STATUS));
            return false;
        }
        rtConnected = false;
        gf_repaint();
        gf_setGuid(CLIENT, {});
        gf_log(fmt::format("{} RT server \"{}\"", gf_answerText(answer, "message", ""),
                           gf_answerText(answer, "server", "")));
        return true;
    } catch (const std::exception& e) {
        gf_log(fmt::format(fmt::runtime(deauthShape.exceptionLog), e.what()));
    }
    return false;
}

bool lf_rtNearestMetar(RtClient& CLIENT, std::int32_t& STATUS)
{
    const std::string guid = gf_guidOf(CLIENT);
    if (guid.empty()) return false;
    bool ok = false;
    try {
        const UserPosition position = gf_rtPosition();
        const std::string body = gf_formBody({{"GUID", guid},
                                              {"toffset", std::to_string(CLIENT.toffset)},
                                              {"lat", lf_degrees(position.lat)},
                                              {"lon", lf_degrees(position.lon)}});
        if (gf_postForm(CLIENT, nearestMetarShape, body)) {
            if (CLIENT.content.empty()) {
                CLIENT.failure = "empty answer";
                gf_log("nearest metar: empty content");
            } else {
                const auto answer = nlohmann::json::parse(CLIENT.content);
                STATUS = gf_answerStatus(answer);
                if (STATUS == statusGood) {
                    std::string station;
                    const auto data = answer.find("data");
                    if (data != answer.end() && data->is_array() && !data->empty() && data->front().is_object()) {
                        station = gf_answerText(data->front(), "ICAO", "");
                    }
                    ok = !station.empty();
                    if (gf_clientIsCurrent(CLIENT)) {
                        {
                            std::lock_guard lock(weatherMutex);
                            metarStation = station;
                        }
                        weatherValid = ok;
                    }
                } else if (STATUS == statusSlowDown || gf_isServerFault(STATUS)) {
                    if (gf_isServerFault(STATUS)) CLIENT.failure = fmt::format("status {}", STATUS);
                    gf_log(fmt::format("{} json nearestmetar {}", STATUS, gf_answerText(answer, "message", "")));
                }
            }
        }
    } catch (const std::exception& e) {
        CLIENT.failure = e.what();
        gf_log(fmt::format(fmt::runtime(nearestMetarShape.exceptionLog), e.what()));
    }
    gf_holdReader(CLIENT, CLIENT.wrrl);
    return ok;
}

CycleEnd lf_rtWeather(RtClient& CLIENT, RtClient& TRAFFIC, std::int32_t& STATUS)
{
    const std::string guid = gf_guidOf(CLIENT);
    if (guid.empty()) {
        STATUS = 0;
        return CycleEnd::endLoop;
    }
    try {
        const UserPosition position = gf_rtPosition();
        const long altitudeFt = position.altitudeFt < 1 ? 0 : static_cast<long>(position.altitudeFt);
        const std::string body = gf_formBody({{"GUID", guid},
                                              {"querytype", "locwx"},
                                              {"toffset", std::to_string(CLIENT.toffset)},
                                              {"lat", lf_degrees(position.lat)},
                                              {"lon", lf_degrees(position.lon)},
                                              {"alt", std::to_string(altitudeFt)},
                                              {"airports", gf_metarStation()}});
        if (!gf_postForm(CLIENT, weatherShape, body)) return CycleEnd::goOn;
        if (CLIENT.content.empty()) {
            CLIENT.failure = "empty answer";
            gf_log("Empty content?, no QNH to be found");
            return CycleEnd::goOn;
        }
        const auto answer = nlohmann::json::parse(CLIENT.content);
        STATUS = gf_answerStatus(answer);
        if (STATUS == statusSlowDown || gf_isServerFault(STATUS)) {
            if (gf_isServerFault(STATUS)) CLIENT.failure = fmt::format("status {}", STATUS);
            gf_log(fmt::format("{} json weather {}", STATUS, gf_answerText(answer, "message", "")));
            return CycleEnd::goOn;
        }
        if (STATUS != statusGood) return CycleEnd::endLoop;
        CLIENT.wrrl = gf_answerInt(answer, "wrrl", startPaceMs);
        const auto data = answer.find("data");
        gf_takeQnh(data == answer.end() ? nlohmann::json() : *data, CLIENT.content, TRAFFIC);
    } catch (const std::exception& e) {
        CLIENT.failure = e.what();
        gf_log(fmt::format(fmt::runtime(weatherShape.exceptionLog), e.what()));
    }
    return CycleEnd::goOn;
}

bool lf_rtParkedTraffic(RtClient& CLIENT, const Box& BOX, std::int32_t& STATUS)
{
    CLIENT.parkedLines.clear();
    const std::string guid = gf_guidOf(CLIENT);
    if (guid.empty()) return false;
    try {
        if (!gf_postForm(CLIENT, parkedShape, lf_trafficBody(guid, BOX, "parkedtraffic", CLIENT.toffset))) return false;
        auto answer = nlohmann::json::parse(CLIENT.content);
        STATUS = gf_answerStatus(answer);
        if (STATUS != statusGood) return false;
        CLIENT.view = gf_takeDecodeView();
        for (auto& [key, value] : lf_dataObject(answer).items()) {
            CLIENT.line = std::move(value);
            processLine(key, CLIENT);
        }
        return true;
    } catch (const std::exception& e) {
        gf_log(fmt::format(fmt::runtime(parkedShape.exceptionLog), e.what()));
    }
    return false;
}

bool lf_rtBufferTraffic(RtClient& CLIENT, std::int32_t& STATUS)
{
    const std::string guid = gf_guidOf(CLIENT);
    if (guid.empty()) return false;
    bool ok = false;
    try {
        const std::string body = lf_trafficBody(guid, gf_rtBox(), "locationtraffic", CLIENT.toffset) + "&" +
                                 gf_formBody({{"buffercount", std::to_string(bufferCount)},
                                              {"buffertime", std::to_string(bufferTimeSeconds)}});
        if (gf_postForm(CLIENT, bufferShape, body)) {
            if (CLIENT.content.empty()) {
                CLIENT.failure = "empty answer";
                gf_log("buffer traffic: empty content");
            } else {
                auto answer = nlohmann::json::parse(CLIENT.content);
                STATUS = gf_answerStatus(answer);
                if (STATUS == statusSlowDown) {
                    gf_log(fmt::format(" buffer traffic msg {}", gf_answerText(answer, "message", "")));
                } else if (gf_isServerFault(STATUS)) {
                    CLIENT.failure = fmt::format("status {}", STATUS);
                } else if (STATUS == statusGood) {
                    CLIENT.rrl = gf_answerInt(answer, "rrl", startPaceMs);
                    CLIENT.collectSeen = true;
                    CLIENT.view = gf_takeDecodeView();
                    CLIENT.airportElevation = CLIENT.view.park.elevationFt;
                    nlohmann::json& data = lf_dataObject(answer);
                    for (const auto& [name, delay] : bufferSlices) {
                        const auto slice = data.find(name);
                        if (slice != data.end() && slice->is_object()) lf_decodeMembers(CLIENT, *slice);
                        lf_handOverLines(CLIENT, delay);
                    }
                    lf_handOverHistory(CLIENT);
                    ok = true;
                }
            }
        }
    } catch (const std::exception& e) {
        CLIENT.lines.clear();
        CLIENT.failure = e.what();
        gf_log(fmt::format(fmt::runtime(bufferShape.exceptionLog), e.what()));
    }
    gf_holdReader(CLIENT, CLIENT.rrl);
    if (CLIENT.stopRequested) {
        STATUS = statusStopped;
        return false;
    }
    return ok;
}

CycleEnd lf_rtTraffic(RtClient& CLIENT, std::int32_t& STATUS)
{
    const std::string guid = gf_guidOf(CLIENT);
    if (guid.empty()) {
        STATUS = 0;
        return CycleEnd::endLoop;
    }
    try {
        if (!gf_postForm(CLIENT, trafficShape, lf_trafficBody(guid, gf_rtBox(), "locationtraffic", CLIENT.toffset))) {
            return CycleEnd::goOn;
        }
        if (CLIENT.content.empty()) {
            CLIENT.failure = "empty answer";
            gf_log("traffic receive: empty content");
            return CycleEnd::goOn;
        }
        auto answer = nlohmann::json::parse(CLIENT.content);
        STATUS = gf_answerStatus(answer);
        if (STATUS == statusSlowDown) {
            gf_log(fmt::format("curl traffic msg {}", gf_answerText(answer, "message", "")));
            return CycleEnd::goOn;
        }
        if (gf_isServerFault(STATUS)) {
            // A server in trouble is waited out, not taken for the end.
            CLIENT.failure = fmt::format("status {}", STATUS);
            gf_log(fmt::format("{} json traffic {}", STATUS, gf_answerText(answer, "message", "")));
            return CycleEnd::goOn;
        }
        if (STATUS != statusGood) return CycleEnd::endLoop;
        CLIENT.rrl = gf_answerInt(answer, "rrl", startPaceMs);
        CLIENT.view = gf_takeDecodeView();
        CLIENT.airportElevation = CLIENT.view.park.elevationFt;
        lf_decodeMembers(CLIENT, lf_dataObject(answer));
    } catch (const std::exception& e) {
        // What was decoded before the fault is of a broken answer: none of it goes on.
        CLIENT.lines.clear();
        CLIENT.failure = e.what();
        gf_log(fmt::format(fmt::runtime(trafficShape.exceptionLog), e.what()));
    }
    return CycleEnd::goOn;
}

} // namespace orv
