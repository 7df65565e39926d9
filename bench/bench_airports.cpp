// The airport database on a synthetic airports_msfs.xml of 44,000 airports,
// clustered like real ones: the read at start with its index, a code's first
// record, and the closest airport round an aircraft on the ground, each also
// as the plain walk of the list that the index stands in for.
#include "parking/airport_db.h"

#include "bench/work_folder.h"
#include "core/parameters.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <fstream>
#include <random>

namespace orv {
namespace {

namespace fs = std::filesystem;

constexpr int airportCount = 44000;

/// The program folder of the benchmark with its airport file, made once and removed at exit.
struct BenchFolder {
    bench::WorkFolder work{"airports"};
    std::vector<std::string> codes;
    std::vector<LatLon> aircraft; ///< positions near airports, some with a neighbour

    BenchFolder()
    {
        fs::create_directories("input");
        // Neighbours ask for their stand files: none lie here, and no server answers.
        DOWNLOAD_URL.value = "file:///nonexistent/";
        std::mt19937 random(44000);
        std::uniform_real_distribution<double> unit(0.0, 1.0);
        std::vector<LatLon> centres(1500);
        for (LatLon& centre : centres) centre = {unit(random) * 140 - 65, unit(random) * 360 - 180};
        std::ofstream file(airportsFile);
        file << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<airports>\n";
        for (int i = 0; i < airportCount; ++i) {
            const LatLon& centre = centres[i % centres.size()];
            codes.push_back(fmt::format("{}{:03}", static_cast<char>('A' + i % 26), i / 26));
            file << fmt::format("  <airport alt=\"{}\" lat=\"{:.6f}\" lon=\"{:.6f}\" iata=\"{}\" code=\"{}\"/>\n",
                                i % 3000, centre.lat + (unit(random) - 0.5) * 1.5,
                                centre.lon + (unit(random) - 0.5) * 1.5, i % 4 == 0 ? codes.back().substr(0, 3) : "",
                                codes.back());
        }
        file << "</airports>\n";
        file.close();
        gf_readAirports();
        for (int i = 0; i < 1000; ++i) {
            const AirportRecord& airport = airportList[random() % airportList.size()];
            aircraft.push_back({airport.lat + (unit(random) - 0.5) * 0.05, airport.lon + (unit(random) - 0.5) * 0.05});
        }
    }
};

BenchFolder& benchFolder()
{
    static BenchFolder folder;
    return folder;
}

void BM_ReadAirports(benchmark::State& STATE)
{
    benchFolder();
    for (auto _ : STATE) {
        airportList.clear();
        airportsLoaded = false;
        benchmark::DoNotOptimize(gf_readAirports());
    }
    STATE.counters["airports"] = static_cast<double>(airportList.size());
}
BENCHMARK(BM_ReadAirports)->Unit(benchmark::kMillisecond);

template <typename Find>
void lf_findBench(benchmark::State& STATE, Find FIND)
{
    const BenchFolder& folder = benchFolder();
    std::size_t i = 0;
    for (auto _ : STATE) benchmark::DoNotOptimize(FIND(folder.codes[i++ * 7919 % folder.codes.size()]));
}
void BM_FindAirport(benchmark::State& STATE) { lf_findBench(STATE, gf_findAirport); }
void BM_FindAirportByWalk(benchmark::State& STATE) { lf_findBench(STATE, lf_findAirportByWalk); }
BENCHMARK(BM_FindAirport);
BENCHMARK(BM_FindAirportByWalk)->Unit(benchmark::kMicrosecond);

template <typename Closest>
void lf_closestBench(benchmark::State& STATE, Closest CLOSEST)
{
    const BenchFolder& folder = benchFolder();
    const StandDistance stands = &gf_readDestApfForClosestStand;
    std::size_t i = 0;
    for (auto _ : STATE) benchmark::DoNotOptimize(CLOSEST(folder.aircraft[i++ % folder.aircraft.size()], stands));
}
void BM_ClosestAirport(benchmark::State& STATE) { lf_closestBench(STATE, lf_closestAirport); }
void BM_ClosestAirportByWalk(benchmark::State& STATE) { lf_closestBench(STATE, lf_closestAirportByWalk); }
BENCHMARK(BM_ClosestAirport)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ClosestAirportByWalk)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace orv

BENCHMARK_MAIN();
