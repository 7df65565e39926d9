// The traffic service's behaviour, apart from HTTP: sessions, paces, the
// answers of each path, failures on demand and the control path. The server
// hands every request here with its arrival time; nothing here blocks, so
// tests can drive it on a clock of their own.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "standin/service/failures.h"
#include "standin/service/recording.h"

namespace orv {

/// What the service is started with.
struct ServiceSetup {
    std::int32_t rrlMs = 2000;       ///< the traffic pace handed out
    std::int32_t wrrlMs = 2000;      ///< the weather pace handed out
    nlohmann::json qnh = 1013;       ///< answered as is: a number or a text
    std::string station = "EHAM";    ///< nearest METAR station; empty: none found
    std::string serverName = "standin-1";
    std::vector<std::string> licences; ///< accepted licences; empty: any non-empty one
    double sessionTimeoutSeconds = 300; ///< an unused session is forgotten after this
    double loginGapSeconds = 2;      ///< a licence may not log in again sooner after its last login or logout
};

/// The longest time offset the service accepts, minutes (four weeks).
inline constexpr long long kMaxTimeOffsetMinutes = 40320;

inline constexpr double kNever = -std::numeric_limits<double>::infinity();

struct Session {
    std::string guid;
    std::string licence;
    double lastUse = 0;              ///< service time, seconds
    double lastTraffic = kNever;     ///< arrival of the last traffic request (live or buffered)
    double lastWeather = kNever;     ///< arrival of the last nearest-station or weather request
    double lastParked = kNever;      ///< arrival of the last parked-traffic request
    std::int32_t rrlMs = 0;          ///< the traffic pace last handed to this session
    std::int32_t wrrlMs = 0;         ///< the weather pace last handed to this session
};

struct ServiceCounters {
    std::uint64_t requests = 0;
    std::uint64_t paceViolations = 0; ///< requests answered 406 for coming inside the pace
    std::uint64_t logins = 0;
    std::uint64_t logouts = 0;
    std::uint64_t heldAnswers = 0;    ///< answers being held back right now
};

struct ServiceState {
    ServiceSetup setup;
    Recording recording;
    ReplayClock clock;
    ParkedTraffic parked;
    FailurePlan failures;
    std::vector<Session> sessions;
    std::map<std::string, double> lastLoginOrLogout; ///< by licence, service time
    ServiceCounters counters;
    std::uint64_t releaseGeneration = 0; ///< raised by the control path: stalled answers go out
    std::mt19937_64 random{std::random_device{}()};
};

/// One answer as the server sends it.
struct ServiceAnswer {
    int httpStatus = 200;
    std::string body;
    std::string contentType = "application/json";
    int apiStatus = 200;  ///< the status inside the answer, for the request log; 0 when none
    bool stall = false;   ///< hold the answer back
    int stallMs = 0;      ///< how long; 0 = until released
};

/// Answers one POST to PATH ("/v4/..." or "/control/...") that arrived at
/// service time NOW (seconds since the epoch).
ServiceAnswer gf_handleRequest(ServiceState& STATE, std::string_view PATH, std::string_view BODY,
                               double NOW);

/// A session identifier in the usual 8-4-4-4-12 hexadecimal form.
std::string gf_makeGuid(std::mt19937_64& RANDOM);

} // namespace orv
