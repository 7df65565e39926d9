// Command line parsing of tavo-service.
#include "standin/service/options.h"

#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>

#include <fmt/format.h>

namespace orv {

const char* const kServiceUsage = R"(tavo-service: the traffic web service stand-in, on 127.0.0.1

Serving (runs until SIGINT or SIGTERM):
  --port N               port to listen on; 0 takes any free one (default 8480)
  --traffic FILE         recording of live lines to replay (see README.md)
  --parked FILE          parked traffic to answer with
  --downloads DIR        folder served for GET, as /downloads/PATH and /PATH
  --request-log FILE     one JSON line per request: time, method, path, body, status
  --rrl MS, --wrrl MS    traffic and weather paces handed out (default 2000 each)
  --qnh JSON             the QNH answered, as JSON: 1013, 29.92, "1013" (default 1013)
  --station ICAO         nearest METAR station; "" for none (default EHAM)
  --license KEY          accept only this licence (repeatable; default: any)
  --session-timeout S    forget sessions unused this long (default 300)
  --replay-start EPOCH   service time of the recording's first second (default: start)
  --no-loop              play the recording once instead of over and over
  --fail REQUEST:ANSWER[:COUNT[:AFTER[:MS]]]
                         failure on demand (repeatable); REQUEST one of auth, deauth,
                         nearestmetar, weather, traffic, buffer, parked, any; ANSWER a
                         status, notjson, textstatus, empty or stall
Generating a recording:
  --generate FILE        write the recording and exit
  --runway LAT1,LON1,LAT2,LON2   thresholds; traffic lands and departs towards end 2
  --stand NAME,LAT,LON,HEADING   a stand, nose-in heading in degrees (repeatable)
  --stands FILE          stands, one "NAME LAT LON HEADING" a line
  --airport ICAO  --elevation FT  --start EPOCH  --minutes M  --seed N
  --movements PER_HOUR  --overflights PER_HOUR  --interval SECONDS
  --parked-out FILE      parked aircraft for the stands the flights leave free
  --noise                lay the faults of real feeds on the traffic (seeded by --seed)
)";

namespace {

constexpr int kDefaultPort = 8480;

double lf_double(const std::string& OPTION, const std::string& TEXT)
{
    std::size_t used = 0;
    double value = 0;
    try {
        value = std::stod(TEXT, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used == 0 || used != TEXT.size())
        throw std::invalid_argument(fmt::format("{}: \"{}\" is no number", OPTION, TEXT));
    return value;
}

long long lf_integer(const std::string& OPTION, const std::string& TEXT, long long LO, long long HI)
{
    const double value = lf_double(OPTION, TEXT);
    if (value != static_cast<double>(static_cast<long long>(value)) || value < static_cast<double>(LO)
        || value > static_cast<double>(HI)) {
        throw std::invalid_argument(
            fmt::format("{}: \"{}\" must be a whole number from {} to {}", OPTION, TEXT, LO, HI));
    }
    return static_cast<long long>(value);
}

std::vector<std::string> lf_split(const std::string& TEXT, char SEPARATOR)
{
    std::vector<std::string> parts;
    std::stringstream in(TEXT);
    std::string part;
    while (std::getline(in, part, SEPARATOR)) parts.push_back(part);
    return parts;
}

GeneratorStand lf_stand(const std::string& OPTION, const std::vector<std::string>& PARTS)
{
    constexpr std::size_t kStandFields = 4;
    if (PARTS.size() != kStandFields)
        throw std::invalid_argument(fmt::format("{}: a stand is NAME,LAT,LON,HEADING", OPTION));
    return {PARTS[0], lf_double(OPTION, PARTS[1]), lf_double(OPTION, PARTS[2]), lf_double(OPTION, PARTS[3])};
}

using Handler = std::function<void(ServiceOptions&, const std::string&)>;

const std::map<std::string, Handler>& lf_handlers()
{
    constexpr long long kMaxPort = 65535, kMaxPace = 3600000, kMaxSeed = 4294967295LL;
    static const std::map<std::string, Handler> handlers = {
        {"--port",
         [](ServiceOptions& O, const std::string& V) {
             O.server.port = static_cast<int>(lf_integer("--port", V, 0, kMaxPort));
         }},
        {"--traffic", [](ServiceOptions& O, const std::string& V) { O.trafficPath = V; }},
        {"--parked", [](ServiceOptions& O, const std::string& V) { O.parkedPath = V; }},
        {"--downloads", [](ServiceOptions& O, const std::string& V) { O.server.downloadsFolder = V; }},
        {"--request-log", [](ServiceOptions& O, const std::string& V) { O.server.requestLogPath = V; }},
        {"--rrl",
         [](ServiceOptions& O, const std::string& V) {
             O.service.rrlMs = static_cast<std::int32_t>(lf_integer("--rrl", V, 1, kMaxPace));
         }},
        {"--wrrl",
         [](ServiceOptions& O, const std::string& V) {
             O.service.wrrlMs = static_cast<std::int32_t>(lf_integer("--wrrl", V, 1, kMaxPace));
         }},
        {"--qnh",
         [](ServiceOptions& O, const std::string& V) {
             try {
                 O.service.qnh = nlohmann::json::parse(V);
             } catch (const nlohmann::json::exception&) {
                 throw std::invalid_argument(fmt::format("--qnh: \"{}\" is no JSON value", V));
             }
         }},
        {"--station", [](ServiceOptions& O, const std::string& V) { O.service.station = V; }},
        {"--license", [](ServiceOptions& O, const std::string& V) { O.service.licences.push_back(V); }},
        {"--licence", [](ServiceOptions& O, const std::string& V) { O.service.licences.push_back(V); }},
        {"--session-timeout",
         [](ServiceOptions& O, const std::string& V) {
             O.service.sessionTimeoutSeconds = lf_double("--session-timeout", V);
         }},
        {"--replay-start",
         [](ServiceOptions& O, const std::string& V) { O.replayStart = lf_double("--replay-start", V); }},
        {"--fail", [](ServiceOptions& O, const std::string& V) { O.failures.push_back(gf_parseFailure(V)); }},
        {"--generate", [](ServiceOptions& O, const std::string& V) { O.generatePath = V; }},
        {"--parked-out", [](ServiceOptions& O, const std::string& V) { O.parkedOutPath = V; }},
        {"--runway",
         [](ServiceOptions& O, const std::string& V) {
             const auto parts = lf_split(V, ',');
             constexpr std::size_t kRunwayFields = 4;
             if (parts.size() != kRunwayFields) throw std::invalid_argument("--runway: LAT1,LON1,LAT2,LON2");
             GeneratorSetup& g = O.generator;
             g.runwayLat1 = lf_double("--runway", parts[0]);
             g.runwayLon1 = lf_double("--runway", parts[1]);
             g.runwayLat2 = lf_double("--runway", parts[2]);
             g.runwayLon2 = lf_double("--runway", parts[3]);
         }},
        {"--stand", [](ServiceOptions& O,
                       const std::string& V) { O.generator.stands.push_back(lf_stand("--stand", lf_split(V, ','))); }},
        {"--stands",
         [](ServiceOptions& O, const std::string& V) {
             for (auto& stand : gf_readStandFile(V)) O.generator.stands.push_back(std::move(stand));
         }},
        {"--airport", [](ServiceOptions& O, const std::string& V) { O.generator.airport = V; }},
        {"--elevation",
         [](ServiceOptions& O, const std::string& V) { O.generator.elevationFt = lf_double("--elevation", V); }},
        {"--start", [](ServiceOptions& O, const std::string& V) { O.generator.startTime = lf_double("--start", V); }},
        {"--minutes", [](ServiceOptions& O, const std::string& V) { O.generator.minutes = lf_double("--minutes", V); }},
        {"--seed",
         [](ServiceOptions& O, const std::string& V) {
             O.generator.seed = static_cast<unsigned>(lf_integer("--seed", V, 0, kMaxSeed));
         }},
        {"--movements",
         [](ServiceOptions& O, const std::string& V) { O.generator.movementsPerHour = lf_double("--movements", V); }},
        {"--overflights", [](ServiceOptions& O,
                             const std::string& V) { O.generator.overflightsPerHour = lf_double("--overflights", V); }},
        {"--interval",
         [](ServiceOptions& O, const std::string& V) { O.generator.intervalSeconds = lf_double("--interval", V); }},
    };
    return handlers;
}

} // namespace

std::vector<GeneratorStand> gf_readStandFile(const std::string& PATH)
{
    std::ifstream in(PATH);
    if (!in) throw std::invalid_argument(fmt::format("--stands: cannot read {}", PATH));
    std::vector<GeneratorStand> stands;
    std::string text;
    while (std::getline(in, text)) {
        std::istringstream fields(text);
        std::vector<std::string> parts;
        for (std::string part; fields >> part;) parts.push_back(part);
        if (parts.empty() || parts[0].starts_with("#")) continue;
        stands.push_back(lf_stand(PATH, parts));
    }
    return stands;
}

ServiceOptions gf_parseOptions(const std::vector<std::string>& ARGS)
{
    ServiceOptions options;
    options.server.port = kDefaultPort;
    const auto& handlers = lf_handlers();
    for (std::size_t i = 0; i < ARGS.size(); ++i) {
        const std::string& arg = ARGS[i];
        if (arg == "--help" || arg == "-h") {
            options.help = true;
        } else if (arg == "--no-loop") {
            options.loop = false;
        } else if (arg == "--noise") {
            options.noise = true;
        } else if (const auto it = handlers.find(arg); it != handlers.end()) {
            if (i + 1 >= ARGS.size()) throw std::invalid_argument(fmt::format("{} needs a value", arg));
            it->second(options, ARGS[++i]);
        } else {
            throw std::invalid_argument(fmt::format("unknown option \"{}\"", arg));
        }
    }
    return options;
}

} // namespace orv
