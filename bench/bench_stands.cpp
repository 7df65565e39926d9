// Stand files and stand searches: one airport file of 500 stands with 50
// options each and one of 2,000 stands with 300 options each, read with its
// learned file and written as a learned file (MB/s of the file); the closest
// stand and the free-stand search at an airport of 500 stands (per call).
#include "parking/airport_files.h"
#include "parking/apf_parts.h"
#include "parking/park_airports.h"
#include "parking/stand_search.h"

#include "bench/work_folder.h"
#include "core/parameters.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <random>

namespace orv {
namespace {

namespace fs = std::filesystem;

const fs::path mainPath = "airports/my_thirdparty/EHAM.xml";

/// A stand table of STANDS stands in a grid 60 m apart, each with OPTIONS options.
std::vector<Stand> lf_table(int STANDS, int OPTIONS)
{
    std::mt19937 random(STANDS);
    const char* airlines[] = {"KLM", "DLH", "BAW", "AFR", "EZY"};
    const char* types[] = {"B738", "A320", "A319", "E190", "B77W"};
    std::vector<Stand> table;
    for (int s = 0; s < STANDS; ++s) {
        Stand stand;
        stand.name = fmt::format("{} {}", static_cast<char>('A' + s % 20), s / 20);
        stand.lat = 52.3 + (s % 40) * 0.00054;
        stand.lon = 4.76 + (s / 40) * 0.00088;
        stand.heading = 1.2;
        stand.radius = (15 + s % 30) / 1852.0;
        stand.cargo = s % 17 == 0;
        stand.ramp = s % 5 == 0;
        for (int o = 0; o < OPTIONS; ++o) {
            StandOption option{airlines[random() % 5], types[random() % 5], "", fmt::format("{}{}", airlines[o % 5], 100 + o), "",
                               (std::uint64_t{0xF} << (random() % 44)), o + 1, static_cast<std::int32_t>(random() % 7 + 1), 0, 1,
                               false};
            stand.options.push_back(std::move(option));
        }
        table.push_back(std::move(stand));
    }
    return table;
}

/// The program folder with the archive file of STANDS x OPTIONS and its learned file.
struct StandFolder {
    bench::WorkFolder work;
    std::size_t bytes = 0;
    ParkAirportData data;

    StandFolder(int STANDS, int OPTIONS) : work(fmt::format("stands-{}", STANDS))
    {
        data.icao = "EHAM";
        data.airportName = "Schiphol";
        data.publisher = "stock";
        data.altitude = -11;
        data.stands = lf_table(STANDS, OPTIONS);
        gf_saveApf(data, mainPath, true);
        // The archive's options: the generated form has none, so they are written as a learned file's.
        fs::create_directories("airports/learned/thirdparty/stock");
        gf_saveApf(data, "airports/learned/thirdparty/stock/EHAM.xml", false);
        bytes = fs::file_size("airports/learned/thirdparty/stock/EHAM.xml") + fs::file_size(mainPath);
        parkIcao = "EHAM";
    }
};

void BM_ReadStandFile(benchmark::State& STATE)
{
    StandFolder folder(static_cast<int>(STATE.range(0)), static_cast<int>(STATE.range(1)));
    for (auto _ : STATE) {
        ParkAirportData data;
        QualityFactor qf;
        benchmark::DoNotOptimize(gf_readApf(mainPath.string(), data, qf));
        gf_restoreUserParameters();
    }
    STATE.SetBytesProcessed(static_cast<std::int64_t>(STATE.iterations() * folder.bytes));
    STATE.counters["stands"] = static_cast<double>(standTable.size());
}
BENCHMARK(BM_ReadStandFile)->Args({500, 50})->Args({2000, 300})->Unit(benchmark::kMillisecond);

void BM_WriteStandFile(benchmark::State& STATE)
{
    StandFolder folder(static_cast<int>(STATE.range(0)), static_cast<int>(STATE.range(1)));
    std::size_t written = 0;
    for (auto _ : STATE) {
        benchmark::DoNotOptimize(gf_saveApf(folder.data, "out.xml", false));
        written = fs::file_size("out.xml");
    }
    STATE.SetBytesProcessed(static_cast<std::int64_t>(STATE.iterations() * written));
}
BENCHMARK(BM_WriteStandFile)->Args({500, 50})->Args({2000, 300})->Unit(benchmark::kMillisecond);

act lf_aircraft()
{
    act record;
    record.callsign = "KLM123";
    record.airline = "KLM";
    record.icaoType = "B738";
    record.wingspan = 18.0 / 1852.0;
    record.classId = 2;
    return record;
}

void BM_ClosestStand(benchmark::State& STATE)
{
    standTable = lf_table(500, 50);
    const act aircraft = lf_aircraft();
    std::size_t i = 0;
    for (auto _ : STATE) {
        const Stand& at = standTable[i++ * 37 % standTable.size()];
        benchmark::DoNotOptimize(gf_closestStand({at.lat + 0.0002, at.lon}, aircraft, standReach55m, true));
    }
}
BENCHMARK(BM_ClosestStand)->Unit(benchmark::kMicrosecond);

void BM_SearchFreeStand(benchmark::State& STATE)
{
    standTable = lf_table(500, 50);
    const act aircraft = lf_aircraft();
    std::int32_t half = 0;
    for (auto _ : STATE) benchmark::DoNotOptimize(lf_searchFreeStand({3, half++ % 48}, aircraft, true));
}
BENCHMARK(BM_SearchFreeStand)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace orv

BENCHMARK_MAIN();
