// The livery scan on a synthetic Community folder of 20,000 aircraft.cfg
// files: files per second for the walk with its worker pool, for the whole
// scan with reports and the stored catalogue, and the time to read
// LiveriesScanned.xml back.
#include "bench/community_tree.h"
#include "bench/work_folder.h"

#include "core/folders.h"
#include "core/parameters.h"
#include "liveries/catalogue.h"
#include "liveries/dbase.h"
#include "liveries/scan_driver.h"
#include "tools/dbase_scramble.h"

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <iostream>
#include <thread>

namespace orv {
namespace {

namespace fs = std::filesystem;

constexpr int treeFiles = 20000;

/// The program folder of the benchmark, made once and removed at exit.
struct BenchFolder {
    bench::WorkFolder work{"liveries"};
    const fs::path& root = work.root;
    bench::TreeCounts counts;

    BenchFolder()
    {
        lf_makeFolders();
        std::ofstream("temp2.xml") << gf_scrambleDbaseText(bench::benchPlainDbase());
        gf_readDbaseFile("temp2.xml");
        counts = bench::makeCommunityTree(root / "Community", treeFiles);
        LIG_AUTOMATIC.value = false;
        lfolder[0].value = (root / "Community").string();
    }
};

BenchFolder& benchFolder()
{
    static BenchFolder folder;
    return folder;
}

/// Processor seconds of the whole process, all threads, user and system.
double processSeconds()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& T) { return static_cast<double>(T.tv_sec) + static_cast<double>(T.tv_usec) * 1e-6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void resetScan()
{
    lf_clearScanLists();
    liveryList.clear();
    gf_clearCatalogue();
    liveriesProcessed = false;
}

/// The walk: every file read by the pool, results in the order of finding.
void BM_ScanWalk(benchmark::State& STATE)
{
    auto& folder = benchFolder();
    scanTaskLimit = static_cast<std::uint32_t>(STATE.range(0));
    std::size_t liveries = 0;
    double processorSeconds = 0;
    for (auto _ : STATE) {
        STATE.PauseTiming();
        resetScan();
        std::vector<LiveryData> found;
        const double before = processSeconds();
        STATE.ResumeTiming();
        lf_searchLiveries(1, folder.root / "Community", found);
        STATE.PauseTiming();
        processorSeconds += processSeconds() - before;
        STATE.ResumeTiming();
        liveries = found.size();
        benchmark::DoNotOptimize(found.data());
    }
    // Files per processor second, over all threads: what the scan costs on a
    // machine that it has for itself.
    STATE.counters["files_per_cpu_s"] = folder.counts.files * static_cast<double>(STATE.iterations()) / processorSeconds;
    STATE.SetItemsProcessed(static_cast<std::int64_t>(STATE.iterations()) * folder.counts.files);
    STATE.counters["files"] = folder.counts.files;
    STATE.counters["liveries"] = static_cast<double>(liveries);
    STATE.counters["malformed"] = folder.counts.malformed;
}
BENCHMARK(BM_ScanWalk)->Arg(1)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

/// The whole driver: walk, correction, sort, side files, LiveriesScanned.xml,
/// and the catalogue tables with their reports.
void BM_ScanFull(benchmark::State& STATE)
{
    auto& folder = benchFolder();
    scanTaskLimit = std::max(1u, std::thread::hardware_concurrency());
    for (auto _ : STATE) {
        STATE.PauseTiming();
        resetScan();
        STATE.ResumeTiming();
        gf_scanLiveries(true);
    }
    STATE.SetItemsProcessed(static_cast<std::int64_t>(STATE.iterations()) * folder.counts.files);
    STATE.counters["files"] = folder.counts.files;
}
BENCHMARK(BM_ScanFull)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

/// Reading LiveriesScanned.xml back; checks once that it gives the scan's list.
void BM_ReadScanned(benchmark::State& STATE)
{
    benchFolder();
    resetScan();
    lf_searchLiveries(1, benchFolder().root / "Community", liveryList);
    for (auto& livery : liveryList) lf_correctFromDbase(livery);
    lf_sortLiveries(liveryList);
    auto scanned = liveryList;
    gf_writeScanned();
    gf_readScanned();
    for (auto& livery : scanned) livery.lfolder = 0;
    if (liveryList != scanned) {
        STATE.SkipWithError("LiveriesScanned.xml does not give the scan's catalogue back");
        return;
    }
    for (auto _ : STATE) {
        gf_readScanned();
        benchmark::DoNotOptimize(liveryList.data());
    }
    STATE.SetItemsProcessed(static_cast<std::int64_t>(STATE.iterations() * liveryList.size()));
    STATE.counters["liveries"] = static_cast<double>(liveryList.size());
    STATE.counters["bytes"] = static_cast<double>(fs::file_size(gf_scannedPath()));
}
BENCHMARK(BM_ReadScanned)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace orv

BENCHMARK_MAIN();
