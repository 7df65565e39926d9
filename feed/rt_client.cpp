// The client's mechanics: libcurl's global state, the shape every request
// shares (a fresh easy handle, a form body, the answer gathered in content),
// the session identifier and the reader's hold.
#include "feed/rt_client.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <new>
#include <thread>

#include <fmt/format.h>

#include "core/log.h"
#include "feed/request_shape.h"

namespace orv {

namespace {

std::mutex curlGlobalLock;
int curlClients = 0; ///< guarded by curlGlobalLock

constexpr std::int32_t holdSliceMs = 50;
constexpr std::size_t trafficContentReserve = 16384;
constexpr long connectTimeoutMs = 10000;
constexpr long requestTimeoutMs = 30000;

/// Cleans the easy handle up however the request ends.
struct HandleGuard {
    RtClient& client;
    ~HandleGuard()
    {
        if (client.curlHandle != nullptr) curl_easy_cleanup(client.curlHandle);
        client.curlHandle = nullptr;
    }
};

} // namespace

RtClient::RtClient()
{
    std::lock_guard lock(curlGlobalLock);
    if (curlClients++ == 0) curl_global_init(CURL_GLOBAL_ALL);
    content.reserve(trafficContentReserve);
}

RtClient::~RtClient()
{
    std::lock_guard lock(curlGlobalLock);
    if (--curlClients == 0) curl_global_cleanup();
}

std::string gf_guidOf(const RtClient& CLIENT)
{
    std::lock_guard lock(CLIENT.guidLock);
    return CLIENT.guid;
}

void gf_setGuid(RtClient& CLIENT, const std::string& GUID)
{
    std::lock_guard lock(CLIENT.guidLock);
    CLIENT.guid = GUID;
}

std::string gf_formBody(std::initializer_list<FormField> FIELDS)
{
    std::string body;
    for (const FormField& field : FIELDS) {
        char* escaped = curl_easy_escape(nullptr, field.value.data(), static_cast<int>(field.value.size()));
        if (escaped == nullptr) throw std::bad_alloc();
        if (!body.empty()) body += '&';
        body.append(field.name).append("=").append(escaped);
        curl_free(escaped);
    }
    return body;
}

std::size_t callbackwriter(char* DATA, std::size_t SIZE, std::size_t COUNT, void* TARGET)
{
    if (TARGET == nullptr) return 0;
    try {
        static_cast<std::string*>(TARGET)->append(DATA, SIZE * COUNT);
    } catch (const std::exception& e) {
        gf_log(fmt::format("{} in callbackwriter with {} and {}", e.what(), SIZE, COUNT));
    }
    return SIZE * COUNT;
}

std::int32_t gf_answerStatus(const nlohmann::json& ANSWER) { return gf_answerInt(ANSWER, "status", statusNoNumber); }

std::int32_t gf_answerInt(const nlohmann::json& ANSWER, const char* KEY, std::int32_t FALLBACK)
{
    if (!ANSWER.is_object()) return FALLBACK;
    const auto it = ANSWER.find(KEY);
    if (it == ANSWER.end() || !it->is_number()) return FALLBACK;
    if (it->is_number_float()) {
        // A value no 32-bit integer holds is no value the service means.
        const double value = it->get<double>();
        constexpr double lowest = std::numeric_limits<std::int32_t>::min(),
                         highest = std::numeric_limits<std::int32_t>::max();
        return value >= lowest && value <= highest ? static_cast<std::int32_t>(value) : FALLBACK;
    }
    return it->get<std::int32_t>();
}

std::string gf_answerText(const nlohmann::json& ANSWER, const char* KEY, const std::string& FALLBACK)
{
    if (!ANSWER.is_object()) return FALLBACK;
    const auto it = ANSWER.find(KEY);
    return it != ANSWER.end() && it->is_string() ? it->get<std::string>() : FALLBACK;
}

void gf_holdReader(RtClient& CLIENT, std::int32_t MS)
{
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(MS);
    while (!CLIENT.stopRequested) {
        const auto left = until - std::chrono::steady_clock::now();
        if (left <= std::chrono::milliseconds(0)) return;
        std::this_thread::sleep_for(
            std::min<std::chrono::steady_clock::duration>(left, std::chrono::milliseconds(holdSliceMs)));
    }
}

std::int32_t gf_backoffMs(std::int32_t PACE_MS, int FAILED)
{
    constexpr int maxDoublings = 8;
    const std::int64_t pace = std::max<std::int32_t>(PACE_MS, 1);
    const std::int64_t hold = pace << std::clamp(FAILED, 0, maxDoublings);
    return static_cast<std::int32_t>(std::max<std::int64_t>(pace, std::min<std::int64_t>(hold, maxBackoffMs)));
}

std::int32_t gf_holdAfter(RtClient& CLIENT, std::int32_t PACE_MS)
{
    if (CLIENT.failure.empty()) {
        if (CLIENT.failedInRow > 0)
            gf_log(fmt::format("{} RT service answers again after {} failed requests", gf_timeOfDay(), CLIENT.failedInRow));
        CLIENT.failedInRow = 0;
        return PACE_MS;
    }
    if (CLIENT.failedInRow++ == 0) {
        CLIENT.failingSince = std::chrono::steady_clock::now();
        gf_logWarning(fmt::format("{} RT service fails ({}): waiting and trying again", gf_timeOfDay(), CLIENT.failure));
    }
    return gf_backoffMs(PACE_MS, CLIENT.failedInRow);
}

bool gf_postForm(RtClient& CLIENT, const RequestShape& SHAPE, const std::string& BODY)
{
    CLIENT.content.clear();
    CLIENT.failure.clear();
    CLIENT.curlHandle = curl_easy_init();
    if (CLIENT.curlHandle == nullptr) {
        gf_log("curl init error ?");
        return false;
    }
    HandleGuard guard{CLIENT};
    const std::string url = CLIENT.baseUrl + SHAPE.path;
    curl_easy_setopt(CLIENT.curlHandle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(CLIENT.curlHandle, CURLOPT_ACCEPT_ENCODING, "deflate,gzip");
    curl_easy_setopt(CLIENT.curlHandle, CURLOPT_POSTFIELDS, BODY.c_str());
    curl_easy_setopt(CLIENT.curlHandle, CURLOPT_WRITEDATA, &CLIENT.content);
    curl_easy_setopt(CLIENT.curlHandle, CURLOPT_WRITEFUNCTION, callbackwriter);
    // A service that never answers must not hold a reader for ever: the
    // request fails after a while and is tried again like any outage.
    // No signals: the name lookup's time-out must not use them in threads.
    curl_easy_setopt(CLIENT.curlHandle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(CLIENT.curlHandle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(connectTimeoutMs));
    curl_easy_setopt(CLIENT.curlHandle, CURLOPT_TIMEOUT_MS, static_cast<long>(requestTimeoutMs));
    const CURLcode code = curl_easy_perform(CLIENT.curlHandle);
    if (code != CURLE_OK) {
        CLIENT.failure = curl_easy_strerror(code);
        gf_log(fmt::format(fmt::runtime(SHAPE.curlFailure), gf_timeOfDay(), curl_easy_strerror(code)));
        return false;
    }
    return true;
}

} // namespace orv
