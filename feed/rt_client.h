// One connection to the traffic service (`RtClient`): its session
// identifier, answer buffer, pacing values and, for the traffic reader, the
// decoded lines; and the requests of the service's API.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <curl/curl.h>
#include <nlohmann/json.hpp>

#include "core/user_position.h"
#include "feed/feed_state.h"
#include "feed/park_view.h"
#include "feed/traffic_line.h"

namespace orv {

/// Statuses of a request as the readers see them.
inline constexpr std::int32_t statusGood = 200;
inline constexpr std::int32_t statusNoNumber = 100; ///< the answer had no numeric status
inline constexpr std::int32_t statusParameterFault = 400;
inline constexpr std::int32_t statusSessionInvalid = 401;
inline constexpr std::int32_t statusLicenceExpired = 402;
inline constexpr std::int32_t statusDataRefused = 403;
inline constexpr std::int32_t statusLicenceUnknown = 404;
inline constexpr std::int32_t statusSecondSession = 405;
inline constexpr std::int32_t statusSlowDown = 406;
inline constexpr std::int32_t statusDatabaseFault = 500;
inline constexpr std::int32_t statusStopped = 9999; ///< internal: stopped on request, no error

/// A 5xx status: the service is in trouble, not the request; it is waited out.
inline bool gf_isServerFault(std::int32_t STATUS) { return STATUS >= 500 && STATUS < 600; }

/// Milliseconds of either pace until the service names one.
inline constexpr std::int32_t startPaceMs = 2000;
inline constexpr std::int32_t standardQnh = 1013;

/// What a decode reads of the rest of the program, copied once per answer
/// on the reader thread.
struct DecodeView {
    LatLon centre;              ///< rtPosition: the centre of the range test
    double rangeNm = 0;
    bool autoRangeActive = false;
    ParkView park;
    std::string blockCallsign;  ///< BLOCK_CALLSIGN
    bool lightAircraft = false, highPerfAircraft = false, helicopters = false;
};

struct RtClient {
    RtClient();
    ~RtClient();
    RtClient(const RtClient&) = delete;
    RtClient& operator=(const RtClient&) = delete;

    std::uint64_t session = 0;  ///< the feed session this client belongs to
    std::string baseUrl;        ///< the service's address, without a trailing "/"
    std::string guid;           ///< empty: no session; guarded by guidLock
    mutable std::mutex guidLock;
    std::string content;        ///< the answer of the running request
    CURL* curlHandle = nullptr; ///< the easy handle of the running request
    std::atomic<std::int32_t> toffset{0}; ///< minutes
    std::int32_t rrl = startPaceMs;  ///< ms, the traffic pace
    std::int32_t wrrl = startPaceMs; ///< ms, the weather pace
    std::atomic<bool> stopRequested{false};
    nlohmann::json line;        ///< the array being decoded

    // An outage as this client's reader sees it (its own thread only).
    std::string failure;        ///< why the running request failed; empty when it did not
    int failedInRow = 0;        ///< requests failed one after the other
    std::chrono::steady_clock::time_point failingSince{}; ///< the first of them

    // The traffic reader's decoding.
    std::vector<TrafficLine> lines;     ///< of the running answer
    std::vector<TrafficLine> history;   ///< the buffered slices, for the main thread
    std::vector<ParkedLine> parkedLines;
    std::atomic<double> lastTimestamp{0};
    std::atomic<std::int32_t> qnh{standardQnh};
    std::optional<double> airportElevation; ///< feet, the park airport's
    std::atomic<bool> collectSeen{false};
    std::set<std::string> seenCallsigns; ///< guarded by seenLock
    std::set<std::uint32_t> seenHexids;  ///< guarded by seenLock
    std::mutex seenLock;
    bool notBlockedYet = true;
    std::string blockedCallsign;
    DecodeView view;
};

/// The client belongs to the running feed session: only then may what it
/// reads reach the rest of the program.
bool gf_clientIsCurrent(const RtClient& CLIENT);

/// Copies under the client's lock: the identifier is written by the login
/// and the logout on other threads than the reader's.
std::string gf_guidOf(const RtClient& CLIENT);
void gf_setGuid(RtClient& CLIENT, const std::string& GUID);

/// One field of a form body: its name (ours, plain) and its value.
struct FormField {
    std::string_view name;
    std::string value;
};
/// "name=value&name=value", every value escaped: a licence or a station may
/// hold & = + % or blanks.
std::string gf_formBody(std::initializer_list<FormField> FIELDS);

/// libcurl's write callback: appends to the target text.
std::size_t callbackwriter(char* DATA, std::size_t SIZE, std::size_t COUNT, void* TARGET);

/// The status of an answer: its numeric "status", else statusNoNumber.
std::int32_t gf_answerStatus(const nlohmann::json& ANSWER);
/// A numeric field of an answer, else FALLBACK.
std::int32_t gf_answerInt(const nlohmann::json& ANSWER, const char* KEY, std::int32_t FALLBACK);
/// A text field of an answer, else FALLBACK.
std::string gf_answerText(const nlohmann::json& ANSWER, const char* KEY, const std::string& FALLBACK);

/// Holds the reader for MS milliseconds, in slices, ending early on a stop.
void gf_holdReader(RtClient& CLIENT, std::int32_t MS);

/// The hold after a request, by what it left in CLIENT.failure: the pace
/// after a good one; after failures in a row a longer one, doubling up to
/// maxBackoffMs, never shorter than the pace. Logs the start and the end of
/// an outage.
std::int32_t gf_holdAfter(RtClient& CLIENT, std::int32_t PACE_MS);
/// Milliseconds to hold after FAILED requests in a row at PACE_MS.
std::int32_t gf_backoffMs(std::int32_t PACE_MS, int FAILED);
inline constexpr std::int32_t maxBackoffMs = 30000;

// --- the requests -------------------------------------------------------------
bool lf_rtAuth(RtClient& CLIENT, std::int32_t& STATUS);
/// The logout exchange: true when the service answered 200.
bool lf_rtDeauthExchange(RtClient& CLIENT, std::int32_t& STATUS);
bool lf_rtNearestMetar(RtClient& CLIENT, std::int32_t& STATUS);
/// What a weather or live traffic cycle leaves the loop to do.
enum class CycleEnd { goOn, endLoop };
CycleEnd lf_rtWeather(RtClient& CLIENT, RtClient& TRAFFIC, std::int32_t& STATUS);
bool lf_rtParkedTraffic(RtClient& CLIENT, const Box& BOX, std::int32_t& STATUS);
bool lf_rtBufferTraffic(RtClient& CLIENT, std::int32_t& STATUS);
CycleEnd lf_rtTraffic(RtClient& CLIENT, std::int32_t& STATUS);

/// The QNH of a weather answer's data, the last step of a weather cycle: converts,
/// checks and hands it to the traffic client and the window.
void gf_takeQnh(const nlohmann::json& DATA, const std::string& CONTENT, RtClient& TRAFFIC);

/// The view of the rest of the program, taken at the start of an answer.
DecodeView gf_takeDecodeView();

} // namespace orv
