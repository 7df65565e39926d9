// The engine's pass with many live aircraft in mixed phases: microseconds per
// aircraft per 10 ms pass at 100, 300 and 1,000 aircraft, the worst pass, and
// heap allocations per pass (counted by a replaced operator new while the
// pass runs). The ground reports of the by-type request arrive every 20
// passes as the simulator sends them, one per aircraft.
//
// The aircraft: circling at cruise, flying a final to the runway and taxiing
// to a stand, taxiing round a loop with stops, standing parked, and taking off.
// The airport's stands are this program's own (the engine's airport calls).
#include "core/flags.h"
#include "app/lifecycle.h"
#include "core/sim_messages.h"
#include "liveries/dbase.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "core/geometry.h"
#include "traffic/motion.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <mutex>
#include <new>
#include <time.h>
#include <vector>

// --- allocations, counted only while a pass runs ------------------------------
namespace {
std::atomic<bool> countingAllocations{false};
std::atomic<std::uint64_t> allocationCount{0};
} // namespace

namespace {
void* lf_allocate(std::size_t SIZE)
{
    if (countingAllocations.load(std::memory_order_relaxed)) allocationCount.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(SIZE == 0 ? 1 : SIZE)) return p;
    throw std::bad_alloc();
}
void lf_release(void* P) noexcept { std::free(P); }
} // namespace

void* operator new(std::size_t SIZE) { return lf_allocate(SIZE); }
void* operator new[](std::size_t SIZE) { return lf_allocate(SIZE); }
void operator delete(void* P) noexcept { lf_release(P); }
void operator delete[](void* P) noexcept { lf_release(P); }
void operator delete(void* P, std::size_t) noexcept { lf_release(P); }
void operator delete[](void* P, std::size_t) noexcept { lf_release(P); }

namespace orv {

// --- the benchmark's airport ---------------------------------------------------
namespace {
constexpr LatLon origin{47.0, 8.0};
constexpr double elevationFt = 500;
constexpr double standSpacingM = 80, runwayNorthM = -600, standCount = 1200;
std::vector<bool> standTaken(static_cast<std::size_t>(standCount) + 1, false);

LatLon lf_at(double EAST, double NORTH) { return gf_fromPlane(origin, {EAST, NORTH}); }
LatLon lf_standPos(std::int32_t ID) { return lf_at((ID - 1) * standSpacingM, 0); }
} // namespace

namespace {
std::optional<StandRef> lf_closestStand(const LatLon& POS, const act&, double MAX_NM, bool)
{
    const PlaneXY xy = gf_toPlane(origin, POS.lat, POS.lon);
    const auto id = static_cast<std::int32_t>(std::lround(xy.east / standSpacingM)) + 1;
    if (id < 1 || id > standCount || standTaken[id]) return std::nullopt;
    const LatLon pos = lf_standPos(id);
    if (gf_distance(POS, pos) > MAX_NM || std::fabs(xy.north) > 60) return std::nullopt;
    return StandRef{id, pos, 0.0, 20.0 / metresPerNm, false};
}

/// The benchmark's airport as the engine's parking table answers it.
void lf_installAirport()
{
    parkingCalls.parkAirportElevation = [] { return std::optional<double>(elevationFt); };
    parkingCalls.parkAirportReady = [] { return true; };
    parkingCalls.parkAirportIata = [] { return std::string("BEN"); };
    parkingCalls.parkAirportWithin = [](const LatLon& POS, double NM) { return gf_distance(POS, origin) <= NM; };
    parkingCalls.closestStand = lf_closestStand;
    parkingCalls.standRadius = [](std::int32_t) { return 20.0 / metresPerNm; };
    parkingCalls.setStandOccupied = [](std::int32_t ID, bool OCCUPIED) {
        if (ID >= 1 && ID <= standCount) standTaken[ID] = OCCUPIED;
    };
}
} // namespace

namespace {

// --- the aircraft's scripts ----------------------------------------------------
/// One corner of a script: where, how fast, how high, and a stop there.
struct Corner {
    double east, north, speedKt, altitudeFt;
    bool airborne;
    double stopSeconds = 0;
};

/// A path of corners flown at the corners' speeds, evenly changing between them.
struct Script {
    std::vector<Corner> corners;
    std::vector<double> arrive, leave; ///< seconds at each corner
    bool loop = false;                 ///< start again at the end

    void time()
    {
        arrive.assign(corners.size(), 0);
        leave.assign(corners.size(), 0);
        double t = 0;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            if (i > 0) {
                const Corner& a = corners[i - 1];
                const Corner& b = corners[i];
                const double metres = std::hypot(b.east - a.east, b.north - a.north);
                const double mean = std::max((a.speedKt + b.speedKt) / 2.0, 1.0) * metresPerNm / 3600.0;
                t += metres / mean;
            }
            arrive[i] = t;
            t += corners[i].stopSeconds;
            leave[i] = t;
        }
    }
    double length() const { return leave.back(); }

    /// The feed's point at script time T.
    TrackPoint at(double T) const
    {
        if (loop) T = std::fmod(T, length());
        T = std::clamp(T, 0.0, length());
        std::size_t i = 0;
        while (i + 1 < corners.size() && arrive[i + 1] <= T) ++i;
        const Corner& a = corners[i];
        TrackPoint p;
        double east = a.east, north = a.north, speed = 0, alt = a.altitudeFt, track = 0;
        bool airborne = a.airborne;
        if (i + 1 < corners.size() && T > leave[i]) {
            const Corner& b = corners[i + 1];
            const double u = (T - leave[i]) / (arrive[i + 1] - leave[i]);
            east = a.east + (b.east - a.east) * u;
            north = a.north + (b.north - a.north) * u;
            speed = a.speedKt + (b.speedKt - a.speedKt) * u;
            alt = a.altitudeFt + (b.altitudeFt - a.altitudeFt) * u;
            track = gf_wrapTwoPi(std::atan2(b.east - a.east, b.north - a.north)) * radToDeg;
            airborne = a.airborne || b.airborne;
            p.verticalSpeed = (b.altitudeFt - a.altitudeFt) / (arrive[i + 1] - leave[i]) * 60.0;
        }
        const LatLon pos = lf_at(east, north);
        p.lat = pos.lat;
        p.lon = pos.lon;
        p.groundSpeed = speed;
        p.airspeed = speed;
        p.track = track;
        p.altitude = airborne ? alt : 0;
        p.airborne = airborne;
        if (!airborne) p.verticalSpeed = 0;
        return p;
    }
};

enum class Kind { cruise, arrival, taxiLoop, parked, departure };

struct Plane {
    std::uint32_t hexid;
    std::string callsign;
    Kind kind;
    Script script;
    double offsetSeconds; ///< where in its script the aircraft starts
    double nextLine = 0;  ///< pass-time in seconds of its next line
};

Script lf_cruise(int K)
{
    Script s;
    const double r = 8000 + 300 * (K % 10), cx = -20000 + 400 * (K % 50), cy = 15000 + 300 * (K % 37);
    const double alt = 7000 + 100 * (K % 40);
    for (int a = 0; a <= 36; ++a) {
        const double angle = a * 10.0 * degToRad;
        s.corners.push_back({cx + r * std::sin(angle), cy + r * std::cos(angle), 250, alt, true});
    }
    s.loop = true;
    return s;
}

Script lf_arrivalTo(std::int32_t STAND)
{
    const LatLon stand = lf_standPos(STAND);
    const PlaneXY xy = gf_toPlane(origin, stand.lat, stand.lon);
    Script s;
    s.corners = {{-12000, runwayNorthM, 150, elevationFt + 2000, true},
                 {-300, runwayNorthM, 135, elevationFt + 30, true},
                 {0, runwayNorthM, 130, elevationFt, true},
                 {1500, runwayNorthM, 20, elevationFt, false},
                 {1560, runwayNorthM + 60, 15, elevationFt, false},
                 {1560, -120, 15, elevationFt, false},
                 {xy.east, -120, 12, elevationFt, false},
                 {xy.east, -40, 5, elevationFt, false},
                 {xy.east, 0, 0, elevationFt, false, 100000}};
    return s;
}

Script lf_taxiLoop(int K)
{
    const double x = -3000 - 500 * (K % 20), y = -1500 - 400 * (K % 15);
    Script s;
    s.corners = {{x, y, 15, elevationFt, false, 20}, {x + 400, y, 15, elevationFt, false},
                 {x + 400, y + 200, 15, elevationFt, false}, {x, y + 200, 15, elevationFt, false},
                 {x, y, 15, elevationFt, false}};
    s.loop = true;
    return s;
}

Script lf_parked(std::int32_t STAND)
{
    const LatLon stand = lf_standPos(STAND);
    const PlaneXY xy = gf_toPlane(origin, stand.lat, stand.lon);
    Script s;
    s.corners = {{xy.east, 0, 0, elevationFt, false, 100000}};
    return s;
}

Script lf_departure(int K)
{
    Script s;
    const double y = runwayNorthM - 30 * (K % 5);
    s.corners = {{-2000, y, 0, elevationFt, false, 20}, {-500, y, 150, elevationFt, false},
                 {3000, y, 170, elevationFt + 1500, true}, {60000, y + 20000, 250, elevationFt + 10000, true}};
    return s;
}

// --- the world round the engine -----------------------------------------------
constexpr std::int32_t aheadTicks = 3000, createLeadTicks = 100, reportTicks = 20;
constexpr double staticCgFt = 9.5, staticPitchRad = 0.7 * degToRad;
std::vector<Plane> planes;
std::uint32_t nextObjectId = 100;

void lf_makeWorld(int COUNT)
{
    lf_clearEngine();
    lf_reserveEngine();
    std::fill(standTaken.begin(), standTaken.end(), false);
    engineTick = 1000;
    planes.clear();
    gf_clearDbase();
    allModels.insert("A320");
    largeModels.insert("A320");
    wingspans["A320"] = 17.0 / metresPerNm;
    std::int32_t stand = 1;
    for (int k = 0; k < COUNT; ++k) {
        Plane p;
        p.hexid = 0x100000 + k;
        p.callsign = "BEN" + std::to_string(k);
        const int mix = k % 20; // 7 cruise, 4 arrivals, 4 taxi, 3 parked, 2 departures in 20
        if (mix < 7) {
            p.kind = Kind::cruise;
            p.script = lf_cruise(k);
        } else if (mix < 11) {
            p.kind = Kind::arrival;
            p.script = lf_arrivalTo(stand++);
        } else if (mix < 15) {
            p.kind = Kind::taxiLoop;
            p.script = lf_taxiLoop(k);
        } else if (mix < 18) {
            p.kind = Kind::parked;
            p.script = lf_parked(stand++);
        } else {
            p.kind = Kind::departure;
            p.script = lf_departure(k);
        }
        p.script.time();
        p.offsetSeconds = p.kind == Kind::arrival ? (k * 37) % 300 : (k * 13) % 120;
        p.nextLine = (k % 50) * 0.1;
        planes.push_back(std::move(p));
    }
}

/// This pass's lines: each aircraft every few seconds, 30 seconds ahead.
void lf_handOver(double LINE_SECONDS)
{
    const std::int32_t now = engineTick;
    const double seconds = now / 100.0;
    std::lock_guard lock(linesLock);
    for (Plane& p : planes) {
        if (seconds < p.nextLine) continue;
        p.nextLine += LINE_SECONDS;
        TrafficLine line;
        line.icaoType = "A320";
        line.callsign = p.callsign;
        line.regcode = "B-" + std::to_string(p.hexid % 100000);
        line.hexid = p.hexid;
        line.timestamp = seconds + aheadTicks / 100.0;
        line.point = p.script.at(line.timestamp - 10.0 + p.offsetSeconds);
        line.point.dueTick = now + aheadTicks;
        incomingLines.insert(incomingLines.begin(), line); // the engine takes from the end
    }
}

/// Creation's work as the simulator's answer ends it: the record is active.
void lf_activate(act& R)
{
    TrackQueue& track = R.track;
    TrackPoint& front = track.front();
    R.onGround = !front.airborne;
    if (front.airborne) {
        R.setPhase(Phase::flying);
    } else if (auto stand = front.groundSpeed == 0 ? parkingCalls.closestStand(gf_posOf(front), R, 55 / metresPerNm, false)
                                                   : std::nullopt) {
        front.stationary = true;
        R.standPos = stand->pos;
        R.standHeading = stand->headingRad;
        R.standId = stand->standId;
        R.setPhase(Phase::atStand);
        track.truncate(1);
        parkingCalls.setStandOccupied(stand->standId, true);
    } else {
        R.setPhase(Phase::moving);
    }
    R.lat = front.lat;
    R.lon = front.lon;
    R.staticCg = staticCgFt;
    R.staticPitch = staticPitchRad;
    R.altitude = front.airborne ? front.altitude : elevationFt + staticCgFt;
    R.heading = track.size() >= 2 && !gf_samePosition(front, track[1])
                    ? gf_bearing(front.lat, front.lon, track[1].lat, track[1].lon)
                    : front.track * degToRad;
    R.objectId = nextObjectId++;
    R.agl = R.altitude - elevationFt;
    R.state = ActState::active;
}

/// The simulator's side: activation, the ground reports each 20 passes, and removals.
void lf_simulator()
{
    const std::int32_t now = engineTick;
    for (act& r : liveList) {
        // New records are this program's to create: held as being created, the engine leaves them alone.
        if (r.state == ActState::waiting) r.state = ActState::creating;
        if (r.state == ActState::creating && r.objectId == 0 && !r.track.empty() &&
            now >= r.track.front().dueTick - createLeadTicks)
            lf_activate(r);
    }
    if (now % reportTicks == 0)
        for (const act& r : liveList) {
            if (r.objectId == 0 || r.state != ActState::active) continue;
            const double agl = r.altitude - elevationFt;
            if (agl > 2500) continue;
            gf_postMessage({r.objectId, agl <= r.staticCg + 0.5 ? 1u : 0u, MessageKind::groundData, elevationFt, agl});
        }
    for (const act& r : liveList)
        if (r.state == ActState::removing) gf_postMessage({r.objectId, 0, MessageKind::removed, 0, 0});
}

double lf_threadCpuUs()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e6 + static_cast<double>(t.tv_nsec) / 1e3;
}

void BM_EnginePass(benchmark::State& STATE)
{
    const int count = static_cast<int>(STATE.range(0));
    lf_installAirport();
    lf_makeWorld(count);
    const double lineSeconds = std::max(4.0, count / 170.0);
    // Two minutes of traffic first: records made, tracks full, phases mixed.
    for (int i = 0; i < 12000; ++i) {
        lf_handOver(lineSeconds);
        lf_simulator();
        lf_engineTick();
    }
    double worstUs = 0, worstWallUs = 0, totalUs = 0, burstUs = 0;
    std::uint64_t passes = 0, allocations = 0, bursts = 0;
    std::vector<double> times;
    times.reserve(static_cast<std::size_t>(STATE.max_iterations));
    for (auto _ : STATE) {
        const bool burst = engineTick % reportTicks == 0; // the pass that takes the by-type replies
        lf_handOver(lineSeconds);
        lf_simulator();
        allocationCount = 0;
        countingAllocations = true;
        const double cpuStart = lf_threadCpuUs();
        const auto start = std::chrono::steady_clock::now();
        lf_engineTick();
        const auto stop = std::chrono::steady_clock::now();
        // The thread's own time: on a shared machine the wall clock also counts other programs' turns.
        const double us = lf_threadCpuUs() - cpuStart;
        countingAllocations = false;
        allocations += allocationCount;
        const double wallUs = std::chrono::duration<double, std::micro>(stop - start).count();
        STATE.SetIterationTime(wallUs / 1e6);
        worstWallUs = std::max(worstWallUs, wallUs);
        worstUs = std::max(worstUs, us);
        totalUs += us;
        ++passes;
        times.push_back(us);
        if (burst) {
            burstUs += us;
            ++bursts;
        }
    }
    std::sort(times.begin(), times.end());
    const auto percentile = [&](double SHARE) { return times[static_cast<std::size_t>(SHARE * (times.size() - 1))]; };
    std::size_t active = 0, flying = 0, ground = 0, parked = 0, landing = 0, rolling = 0;
    for (const act& r : liveList) {
        if (r.state != ActState::active) continue;
        ++active;
        if (r.landing || r.rollout || r.phase == Phase::taxiToStand) ++landing;
        if (r.takeoffRoll || r.phase == Phase::takingOff) ++rolling;
        if (r.phase == Phase::atStand)
            ++parked;
        else if (r.onGround)
            ++ground;
        else
            ++flying;
    }
    STATE.counters["aircraft"] = static_cast<double>(active);
    STATE.counters["us_per_aircraft"] = totalUs / passes / std::max<std::size_t>(active, 1);
    STATE.counters["mean_pass_us"] = totalUs / passes;
    STATE.counters["worst_pass_us"] = worstUs;
    STATE.counters["worst_wall_us"] = worstWallUs;
    STATE.counters["p99_pass_us"] = percentile(0.99);
    STATE.counters["p999_pass_us"] = percentile(0.999);
    STATE.counters["burst_pass_us"] = burstUs / std::max<std::uint64_t>(bursts, 1);
    STATE.counters["arriving"] = static_cast<double>(landing);
    STATE.counters["departing"] = static_cast<double>(rolling);
    STATE.counters["allocs_per_pass"] = static_cast<double>(allocations) / passes;
    STATE.counters["flying"] = static_cast<double>(flying);
    STATE.counters["ground"] = static_cast<double>(ground);
    STATE.counters["parked"] = static_cast<double>(parked);
    lf_clearEngine();
}

} // namespace
} // namespace orv

BENCHMARK(orv::BM_EnginePass)->Arg(100)->Arg(300)->Arg(1000)->Iterations(6000)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
