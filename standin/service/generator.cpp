// The traffic generator's schedule and lines: who lands, parks, leaves and
// passes over, and how each position is written as a live line.
#include "standin/service/generator.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numeric>
#include <set>
#include <stdexcept>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "standin/service/generator_routes.h"

namespace orv {

namespace {

constexpr double kSecondsPerMinute = 60.0;
constexpr double kSecondsPerHour = 3600.0;
constexpr double kInitialOccupancy = 0.5;      ///< share of stands taken at the start
constexpr double kFirstDeparturesMinutes = 45; ///< those leave within this time
constexpr double kTurnaroundMinLo = 25, kTurnaroundMinHi = 55;
constexpr double kStandMarginSeconds = 120; ///< a stand is free this long before an arrival
constexpr double kPushClearSeconds = 240;   ///< and stays taken this long after push-back starts
constexpr double kReportAfterArrivalSeconds = 120;
constexpr double kReportBeforePushSeconds = 180;
constexpr double kHeavyShare = 0.2;
constexpr double kLightOverflightShare = 0.3;
constexpr double kMlatShare = 0.1;
constexpr unsigned kHexLo = 0x300000, kHexHi = 0xAFFFFF;
constexpr double kMachOneKt = 661.5;
constexpr double kFeetPerKiloFoot = 1000.0;

struct TypeEntry {
    const char* type;
    const char* category;
};
constexpr TypeEntry kMediumTypes[] = {{"A320", "A3"}, {"A20N", "A3"}, {"A321", "A3"}, {"B738", "A3"},
                                      {"B38M", "A3"}, {"E190", "A3"}, {"E295", "A3"}, {"A319", "A3"}};
constexpr TypeEntry kHeavyTypes[] = {{"B77W", "A5"}, {"A333", "A5"}, {"B789", "A5"}, {"A359", "A5"}};
constexpr TypeEntry kLightTypes[] = {{"C172", "A1"}, {"PA28", "A1"}, {"SR22", "A1"}, {"DA40", "A1"}};

struct AirlineEntry {
    const char* icao;
    const char* iata;
    const char* regPrefix;
};
constexpr AirlineEntry kAirlines[] = {
    {"KLM", "KL", "PH-"}, {"BAW", "BA", "G-"},  {"DLH", "LH", "D-"},  {"AFR", "AF", "F-"},  {"EZY", "U2", "G-"},
    {"RYR", "FR", "EI-"}, {"SAS", "SK", "SE-"}, {"IBE", "IB", "EC-"}, {"UAE", "EK", "A6-"}, {"TAP", "TP", "CS-"}};
constexpr const char* kOtherAirports[] = {"EGLL", "LFPG", "EDDF", "LEMD", "LIRF", "EKCH", "ESSA",
                                          "LOWW", "LSZH", "EBBR", "LPPT", "OMDB", "EIDW", "EDDM"};

struct Aircraft {
    std::string hexid, type, category, registration, airlineIcao, airlineIata;
};

/// One flight's part of the recording.
struct Movement {
    Aircraft aircraft;
    std::string callsign, flightNumber, origin, destination, squawk, source;
    double start = 0; ///< seconds from the recording's start
    std::vector<PathSample> samples;
};

struct Generation {
    const GeneratorSetup& setup;
    std::mt19937 random;
    AirportLayout layout;
    std::set<std::string> hexids;
    std::vector<std::vector<std::pair<double, double>>> busy; ///< per stand, taken intervals
    std::vector<Movement> movements;
};

template <typename T, std::size_t N> const T& lf_pick(std::mt19937& RANDOM, const T (&TABLE)[N])
{
    return TABLE[std::uniform_int_distribution<std::size_t>(0, N - 1)(RANDOM)];
}

bool lf_chance(std::mt19937& RANDOM, double P) { return gf_uniform(RANDOM, 0, 1) < P; }

std::string lf_letters(std::mt19937& RANDOM, int COUNT)
{
    std::string text;
    for (int i = 0; i < COUNT; ++i) text += static_cast<char>('A' + std::uniform_int_distribution<int>(0, 25)(RANDOM));
    return text;
}

std::string lf_newHexid(Generation& GEN)
{
    while (true) {
        const auto value = std::uniform_int_distribution<unsigned>(kHexLo, kHexHi)(GEN.random);
        std::string hexid = fmt::format("{:06x}", value);
        if (GEN.hexids.insert(hexid).second) return hexid;
    }
}

Aircraft lf_airliner(Generation& GEN)
{
    const AirlineEntry& airline = lf_pick(GEN.random, kAirlines);
    const TypeEntry& type =
        lf_chance(GEN.random, kHeavyShare) ? lf_pick(GEN.random, kHeavyTypes) : lf_pick(GEN.random, kMediumTypes);
    return {lf_newHexid(GEN), type.type,   type.category, airline.regPrefix + lf_letters(GEN.random, 3),
            airline.icao,     airline.iata};
}

Aircraft lf_lightAircraft(Generation& GEN)
{
    const TypeEntry& type = lf_pick(GEN.random, kLightTypes);
    return {lf_newHexid(GEN),
            type.type,
            type.category,
            "N" + std::to_string(std::uniform_int_distribution<int>(100, 999)(GEN.random)) + lf_letters(GEN.random, 2),
            "",
            ""};
}

Movement lf_movement(Generation& GEN, const Aircraft& AIRCRAFT, bool ARRIVING)
{
    Movement m;
    m.aircraft = AIRCRAFT;
    const int number = std::uniform_int_distribution<int>(10, 9899)(GEN.random);
    if (!AIRCRAFT.airlineIcao.empty()) {
        m.callsign = fmt::format("{}{}", AIRCRAFT.airlineIcao, number);
        m.flightNumber = fmt::format("{}{}", AIRCRAFT.airlineIata, number);
        const std::string other = lf_pick(GEN.random, kOtherAirports);
        m.origin = ARRIVING ? other : GEN.setup.airport;
        m.destination = ARRIVING ? GEN.setup.airport : other;
    } else {
        m.callsign = AIRCRAFT.registration;
    }
    m.squawk = fmt::format("{:04o}", std::uniform_int_distribution<int>(01000, 07677)(GEN.random));
    m.source = lf_chance(GEN.random, kMlatShare) ? "mlat" : "adsb_icao";
    return m;
}

void lf_fly(Generation& GEN, Movement& MOVE, const std::vector<Waypoint>& ROUTE, double START)
{
    double end = 0;
    MOVE.start = START;
    MOVE.samples = gf_samplePath(ROUTE, START, GEN.setup.intervalSeconds, end);
    GEN.movements.push_back(std::move(MOVE));
}

bool lf_standFree(const Generation& GEN, std::size_t STAND, double FROM, double TO)
{
    return std::none_of(GEN.busy[STAND].begin(), GEN.busy[STAND].end(),
                        [&](const auto& SPAN) { return SPAN.first < TO && FROM < SPAN.second; });
}

void lf_departure(Generation& GEN, const Aircraft& AIRCRAFT, std::size_t STAND, double OFF_BLOCK)
{
    Movement move = lf_movement(GEN, AIRCRAFT, false);
    lf_fly(GEN, move, gf_departureRoute(GEN.layout, STAND, kReportBeforePushSeconds, GEN.random),
           OFF_BLOCK - kReportBeforePushSeconds);
}

void lf_initialOccupants(Generation& GEN, double DURATION)
{
    for (std::size_t stand = 0; stand < GEN.layout.stands.size(); ++stand) {
        if (!lf_chance(GEN.random, kInitialOccupancy)) continue;
        const double offBlock = std::round(
            gf_uniform(GEN.random, kSecondsPerMinute, std::min(DURATION, kFirstDeparturesMinutes * kSecondsPerMinute)));
        GEN.busy[stand].push_back({-kSecondsPerHour, offBlock + kPushClearSeconds});
        lf_departure(GEN, lf_airliner(GEN), stand, offBlock);
    }
}

void lf_arrival(Generation& GEN, double START, double DURATION)
{
    std::vector<std::size_t> order(GEN.layout.stands.size());
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), GEN.random);
    for (const std::size_t stand : order) {
        const auto route = gf_arrivalRoute(GEN.layout, stand, kReportAfterArrivalSeconds, GEN.random);
        const double onBlock = START + gf_pathDuration(route) - kReportAfterArrivalSeconds;
        const double turnaround = gf_uniform(GEN.random, kTurnaroundMinLo, kTurnaroundMinHi) * kSecondsPerMinute;
        const double offBlock = std::round(onBlock + turnaround);
        if (!lf_standFree(GEN, stand, onBlock - kStandMarginSeconds, offBlock + kPushClearSeconds)) continue;
        GEN.busy[stand].push_back({onBlock - kStandMarginSeconds, offBlock + kPushClearSeconds});
        const Aircraft aircraft = lf_airliner(GEN);
        Movement move = lf_movement(GEN, aircraft, true);
        lf_fly(GEN, move, route, START);
        if (offBlock - kReportBeforePushSeconds < DURATION) lf_departure(GEN, aircraft, stand, offBlock);
        return;
    }
}

void lf_overflight(Generation& GEN, double START)
{
    const bool light = lf_chance(GEN.random, kLightOverflightShare);
    const double altitudeFt =
        light ? gf_uniform(GEN.random, 2500, 5500) : 100.0 * std::round(gf_uniform(GEN.random, 100, 390));
    const double speedKt = light ? gf_uniform(GEN.random, 95, 130) : gf_uniform(GEN.random, 280, 480);
    const Aircraft aircraft = light ? lf_lightAircraft(GEN) : lf_airliner(GEN);
    Movement move = lf_movement(GEN, aircraft, lf_chance(GEN.random, 0.5));
    if (!light)
        move.origin = lf_pick(GEN.random, kOtherAirports), move.destination = lf_pick(GEN.random, kOtherAirports);
    lf_fly(GEN, move, gf_overflightRoute(altitudeFt - GEN.setup.elevationFt, speedKt, GEN.random), START);
}

/// Arrival times with exponential gaps of mean MEAN seconds.
template <typename F> void lf_poisson(Generation& GEN, double PER_HOUR, double DURATION, F&& EACH)
{
    if (PER_HOUR <= 0) return;
    std::exponential_distribution<double> gap(PER_HOUR / kSecondsPerHour);
    // Whole seconds keep the timestamps whole with a whole interval.
    for (double t = gap(GEN.random) / 2; t < DURATION; t += gap(GEN.random)) EACH(std::round(t));
}

/// VALUE to a multiple of STEP; a STEP below 1 is a power of ten, so that
/// the text shows no more decimals than meant.
nlohmann::json lf_number(double VALUE, double STEP)
{
    const double perUnit = std::round(1.0 / STEP);
    const double rounded = STEP < 1 ? std::round(VALUE * perUnit) / perUnit : std::round(VALUE / STEP) * STEP;
    if (rounded == std::floor(rounded) && std::abs(rounded) < 1e15) return static_cast<long long>(rounded);
    return rounded;
}

std::string lf_lineText(const Generation& GEN, const Movement& MOVE, const PathSample& S)
{
    double lat = 0, lon = 0;
    GEN.layout.frame.toGlobal(S.pos, lat, lon);
    const bool ground = S.altitudeAglFt <= 0;
    const double altitudeFt = GEN.setup.elevationFt + S.altitudeAglFt;
    const nlohmann::json none;
    const nlohmann::json ias =
        ground ? none : lf_number(S.speedKt / (1 + 0.02 * std::max(0.0, altitudeFt) / kFeetPerKiloFoot), 1);
    const nlohmann::json mach = ground ? none : lf_number(S.speedKt / kMachOneKt, 0.001);
    const Aircraft& a = MOVE.aircraft;
    const nlohmann::json line = {a.hexid,
                                 lf_number(lat, 1e-6),
                                 lf_number(lon, 1e-6),
                                 lf_number(S.trackDeg, 0.1),
                                 lf_number(altitudeFt, 25),
                                 lf_number(S.speedKt, 0.1),
                                 MOVE.squawk,
                                 "",
                                 a.type,
                                 a.registration,
                                 lf_number(GEN.setup.startTime + S.time, 0.01),
                                 MOVE.origin,
                                 MOVE.destination,
                                 MOVE.callsign,
                                 ground ? 1 : 0,
                                 lf_number(S.verticalSpeedFpm, 64),
                                 MOVE.flightNumber,
                                 MOVE.source,
                                 lf_number(altitudeFt, 25),
                                 lf_number(S.verticalSpeedFpm, 64),
                                 ias,
                                 lf_number(S.speedKt, 1),
                                 mach,
                                 0,
                                 0,
                                 lf_number(S.headingDeg, 0.1),
                                 lf_number(S.headingDeg, 0.1),
                                 none,
                                 a.category};
    return line.dump();
}

std::string lf_parkedText(Generation& GEN, std::size_t STAND)
{
    const Aircraft a = lf_airliner(GEN);
    const GeneratorStand& stand = GEN.setup.stands[STAND];
    const nlohmann::json line = {
        stand.lat,
        stand.lon,
        stand.name,
        a.type,
        a.registration,
        0,
        fmt::format("{}{}", a.airlineIcao, std::uniform_int_distribution<int>(10, 9899)(GEN.random))};
    return nlohmann::json{{a.hexid, line}}.dump();
}

} // namespace

GeneratedTraffic gf_generateTraffic(const GeneratorSetup& SETUP)
{
    if (SETUP.minutes <= 0 || SETUP.intervalSeconds <= 0) {
        throw std::invalid_argument("the recording needs a length and a position interval above 0");
    }
    Generation gen{SETUP, std::mt19937(SETUP.seed), gf_airportLayout(SETUP), {}, {}, {}};
    gen.busy.resize(gen.layout.stands.size());
    const double duration = SETUP.minutes * kSecondsPerMinute;
    lf_initialOccupants(gen, duration);
    lf_poisson(gen, SETUP.movementsPerHour / 2, duration, [&](double T) { lf_arrival(gen, T, duration); });
    lf_poisson(gen, SETUP.overflightsPerHour, duration, [&](double T) { lf_overflight(gen, T); });

    std::vector<std::pair<double, std::string>> timed;
    for (const auto& move : gen.movements) {
        for (const auto& sample : move.samples) {
            if (sample.time < 0 || sample.time > duration) continue;
            timed.emplace_back(sample.time, lf_lineText(gen, move, sample));
        }
    }
    std::stable_sort(timed.begin(), timed.end(), [](const auto& A, const auto& B) { return A.first < B.first; });
    GeneratedTraffic traffic;
    traffic.recording.reserve(timed.size());
    for (auto& [time, text] : timed) traffic.recording.push_back(std::move(text));
    for (std::size_t stand = 0; stand < gen.busy.size(); ++stand) {
        if (gen.busy[stand].empty()) traffic.parked.push_back(lf_parkedText(gen, stand));
    }
    return traffic;
}

void gf_writeLines(const std::string& PATH, const std::vector<std::string>& LINES)
{
    std::ofstream out(PATH, std::ios::trunc);
    for (const auto& line : LINES) out << line << '\n';
    out.flush();
    if (!out) throw std::runtime_error(fmt::format("cannot write {}", PATH));
}

} // namespace orv
