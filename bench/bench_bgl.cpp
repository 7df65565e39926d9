// The BGL reader and the airport scan on files made by the tests' BGL
// writer: files per second for the cheap test of 5,000 files, megabytes per
// second for the full reading of an airport of 2,000 parking spots, and files
// per second for a whole scan of a Community folder of 5,000 files.
#include "bench/work_folder.h"
#include "tests/scanner/bgl_writer.h"

#include "core/flags.h"
#include "core/folders.h"
#include "core/parameters.h"
#include "liveries/scan_driver.h"
#include "scanner/bgl_reader.h"
#include "scanner/scan_state.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <thread>

namespace orv {
namespace {

namespace fs = std::filesystem;

constexpr int setFiles = 5000;
constexpr int airportShare = 5; ///< one file in five holds an airport, the rest object placements

void lf_write(const fs::path& PATH, const std::string& BYTES)
{
    fs::create_directories(PATH.parent_path());
    std::ofstream(PATH, std::ios::binary) << BYTES;
}

/// A Community folder of FILES BGL files in packages of ten, each package with a manifest.
std::vector<fs::path> lf_makeCommunity(const fs::path& ROOT, int FILES)
{
    test::BglSection objects{0x25, false, {test::gf_bglRecord(0x000B, std::string(2000, 'o'))}};
    const std::string placements = test::gf_bglFile({objects}).bytes;
    std::vector<fs::path> paths;
    for (int i = 0; i < FILES; ++i) {
        const fs::path package = ROOT / fmt::format("maker-package-{}", i / 10);
        if (i % 10 == 0) lf_write(package / "manifest.json", R"({"manufacturer": "Maker", "creator": "Maker", "title": "T"})");
        const fs::path path = package / "scenery" / fmt::format("file{}.bgl", i);
        const std::string icao = fmt::format("K{:03}", i / airportShare % 1000);
        lf_write(path, i % airportShare == 0 ? test::gf_bglOfAirports({test::gf_gridAirport(icao, 40)}) : placements);
        paths.push_back(path);
    }
    return paths;
}

struct QuietSink : BglSink {
    std::size_t stands = 0;
    void generate(ScannedAirport& AIRPORT) override { stands += AIRPORT.stands.size(); }
    void message(const std::string&) override {}
};

void BM_BglCheapTest(benchmark::State& STATE)
{
    static const bench::WorkFolder work("bgl-cheap");
    static const auto paths = lf_makeCommunity(work.root / "Community", setFiles);
    int found = 0;
    for (auto _ : STATE)
        for (const auto& path : paths) found += lf_hasAirportSection(path);
    benchmark::DoNotOptimize(found);
    STATE.SetItemsProcessed(static_cast<std::int64_t>(STATE.iterations()) * setFiles);
}
BENCHMARK(BM_BglCheapTest)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_BglFullReading2000Spots(benchmark::State& STATE)
{
    const std::string bytes = test::gf_bglOfAirports({test::gf_gridAirport("EHAM", 2000)});
    QuietSink sink;
    for (auto _ : STATE) gf_readBglBytes(bytes, "EHAM.bgl", sink);
    benchmark::DoNotOptimize(sink.stands);
    STATE.SetBytesProcessed(static_cast<std::int64_t>(STATE.iterations() * bytes.size()));
    STATE.SetItemsProcessed(static_cast<std::int64_t>(STATE.iterations()) * 2000);
}
BENCHMARK(BM_BglFullReading2000Spots)->Unit(benchmark::kMicrosecond);

void BM_AirportScanCommunity5000(benchmark::State& STATE)
{
    static const bench::WorkFolder work("bgl-scan");
    static const auto paths = lf_makeCommunity(work.root / "Community", setFiles);
    lf_makeFolders();
    hardwareThreads = std::max(1u, std::thread::hardware_concurrency());
    scanTaskLimit = hardwareThreads;
    // The offline-learning check asks the download server for each generated
    // file: a local server folder without files keeps the network out.
    DOWNLOAD_URL.value = "file://" + (work.root / "server").string() + "/";
    for (auto _ : STATE) {
        scanFound = false;
        lf_scanAirportFolders({work.root / "Community"});
    }
    STATE.SetItemsProcessed(static_cast<std::int64_t>(STATE.iterations()) * setFiles);
}
BENCHMARK(BM_AirportScanCommunity5000)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

} // namespace
} // namespace orv

BENCHMARK_MAIN();
