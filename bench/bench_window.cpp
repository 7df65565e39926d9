// The traffic page's costs: the main thread's publication of a snapshot and
// the sorting of log lines into stories (µs per aircraft), the server's
// serialisation of a snapshot (µs per aircraft), and the processor share of
// serving two open pages (the window and the traffic page) while 300
// aircraft move and the snapshot is published four times a second. The
// pages are read by plain HTTP clients whose own processor time, and the
// publisher's, are taken out of the process's.
#include "core/log.h"
#include "core/parameters.h"
#include "core/user_position.h"
#include "feed/feed.h"
#include "traffic/engine.h"
#include "ui/traffic_view.h"
#include "ui/window.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <httplib.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <sys/resource.h>
#include <thread>
#include <time.h>

namespace {

using namespace orv;

/// N aircraft round Schiphol in mixed phases, with liveries and callsigns.
void lf_fill(std::int64_t N)
{
    liveList.clear();
    liveList.reserve(static_cast<std::size_t>(N));
    for (std::int64_t k = 0; k < N; ++k) {
        act& a = liveList.emplace_back();
        a.hexid = static_cast<std::uint32_t>(0x400000 + k);
        a.callsign = fmt::format("KLM{}", 1000 + k);
        a.regcode = fmt::format("PH-{:03}", k);
        a.airline = "KLM";
        a.icaoType = "B738";
        a.origin = "EHAM";
        a.destination = "LEMD";
        a.state = ActState::active;
        a.phase = static_cast<Phase>(k % 7);
        a.lat = 52.3 + 0.002 * static_cast<double>(k % 50);
        a.lon = 4.7 + 0.003 * static_cast<double>(k / 50);
        a.heading = 0.01 * static_cast<double>(k);
        a.altitude = 100.0 * static_cast<double>(k);
        a.speedOut = 150;
        a.livery = "Boeing 737-800 KLM Royal Dutch Airlines PH-BXA";
        a.matchStep = 1 + static_cast<int>(k % 5);
        a.objectId = static_cast<std::uint32_t>(100 + k);
    }
    ownPosition.lat = 52.3117;
    ownPosition.lon = 4.7588;
    rangeNm = 25;
}

void lf_move()
{
    for (act& a : liveList) a.lat += 1e-5;
}

double lf_threadCpu()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

double lf_processCpu()
{
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) * 1e-6;
}

/// Seconds per aircraft, printed with its unit prefix (u for µs).
void lf_timePerAircraft(benchmark::State& STATE)
{
    STATE.counters["time_per_aircraft"] = benchmark::Counter(static_cast<double>(STATE.iterations() * STATE.range(0)),
                                                             benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

/// The main thread's publication, with ten new log lines naming aircraft each time.
void BM_TrafficPublish(benchmark::State& state)
{
    lf_fill(state.range(0));
    gf_resetTrafficView();
    int line = 0;
    for (auto _ : state) {
        for (int k = 0; k < 10; ++k, ++line)
            gf_log(fmt::format("          KLM B738 EHAM LEMD PH-000   KLM{}  line", 1000 + line % state.range(0)));
        lf_move();
        gf_publishTraffic();
    }
    lf_timePerAircraft(state);
}
BENCHMARK(BM_TrafficPublish)->Arg(100)->Arg(300)->Arg(1000)->Unit(benchmark::kMicrosecond);

/// The server's serialisation of one snapshot, shared by every open traffic page.
void BM_TrafficJson(benchmark::State& state)
{
    lf_fill(state.range(0));
    gf_publishTraffic();
    const auto snapshot = gf_trafficSnapshot();
    std::size_t bytes = 0;
    for (auto _ : state) {
        const std::string text = gf_trafficJson(*snapshot);
        bytes += text.size();
        benchmark::DoNotOptimize(text.data());
    }
    lf_timePerAircraft(state);
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
    state.counters["bytes_per_aircraft"] = static_cast<double>(bytes) / static_cast<double>(state.iterations() * state.range(0));
}
BENCHMARK(BM_TrafficJson)->Arg(100)->Arg(300)->Arg(1000)->Unit(benchmark::kMicrosecond);

/// Reads PATH as an open page does until STOP; answers the bytes read and the reader's own processor time.
void lf_readPage(int PORT, const std::string& PATH, const std::atomic<bool>& STOP, std::size_t& BYTES, double& CPU)
{
    const double start = lf_threadCpu();
    httplib::Client client("127.0.0.1", PORT);
    client.set_read_timeout(5, 0);
    client.Get(PATH, httplib::Headers{{"Host", fmt::format("127.0.0.1:{}", PORT)}},
               [&](const char*, std::size_t LENGTH) {
                   BYTES += LENGTH;
                   return !STOP;
               });
    CPU = lf_threadCpu() - start;
}

/// Two open pages with N aircraft published four times a second, for two seconds a round.
void BM_ServeTwoPages(benchmark::State& state)
{
    constexpr auto round = std::chrono::seconds(2);
    lf_fill(state.range(0));
    WINDOW_PORT.value = 0;
    if (!gf_openWindow()) {
        state.SkipWithError("no port for the window");
        return;
    }
    const int port = gf_windowPort();
    double serve = 0, publish = 0, seconds = 0;
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::atomic<bool> stop{false};
        std::size_t windowBytes = 0, trafficBytes = 0;
        double windowCpu = 0, trafficCpu = 0;
        const double processStart = lf_processCpu();
        const auto wallStart = std::chrono::steady_clock::now();
        std::thread window([&] { lf_readPage(port, "/events", stop, windowBytes, windowCpu); });
        std::thread traffic([&] { lf_readPage(port, "/traffic/events", stop, trafficBytes, trafficCpu); });
        const double publishStart = lf_threadCpu();
        while (std::chrono::steady_clock::now() - wallStart < round) {
            lf_move();
            gf_publishTraffic();
            std::this_thread::sleep_for(std::chrono::milliseconds(10 * publishEveryPasses));
        }
        const double publishCpu = lf_threadCpu() - publishStart;
        stop = true;
        window.join();
        traffic.join();
        const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count();
        serve += lf_processCpu() - processStart - windowCpu - trafficCpu - publishCpu;
        publish += publishCpu;
        seconds += wall;
        bytes += windowBytes + trafficBytes;
    }
    gf_closeWindowServer();
    state.counters["serve_cpu_percent"] = 100.0 * serve / seconds;
    state.counters["publish_cpu_percent"] = 100.0 * publish / seconds;
    state.counters["sent_kB_per_s"] = static_cast<double>(bytes) / seconds / 1000.0;
}
BENCHMARK(BM_ServeTwoPages)->Arg(300)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
