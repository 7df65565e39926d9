// Livery matching against a catalogue of 50,000 liveries: the time of one
// match at each MATCHING_DEPTH, for a mix of aircraft as a busy sky brings
// them (known airframes, airlines with and without the model, private light
// aircraft, freighters), and the time to build the tables once.
#include "liveries/catalogue.h"
#include "liveries/dbase.h"
#include "liveries/matching.h"
#include "liveries/regcodes.h"
#include "liveries/scan_driver.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <random>

namespace {

using namespace orv;

constexpr std::size_t liveryCount = 50000;
constexpr std::size_t airlineCount = 900;
constexpr std::size_t queryCount = 4096;
constexpr std::uint32_t seed = 20240601;

struct Model {
    std::string code;
    ModelCategory category;
};

std::vector<Model> models;
std::vector<std::string> airlines;
std::vector<LiveryQuery> queries;
std::vector<std::string> queryText; ///< the strings the queries' views point into

std::string lf_code(std::size_t N, std::size_t LENGTH)
{
    std::string code;
    for (std::size_t i = 0; i < LENGTH; ++i, N /= 26) code.insert(code.begin(), static_cast<char>('A' + N % 26));
    return code;
}

/// Models in their categories and groups of similar models, as the reference data has them.
void lf_reference()
{
    gf_clearDbase();
    const std::pair<ModelCategory, std::size_t> counts[] = {{ModelCategory::Large, 140}, {ModelCategory::Heavy, 50},
                                                            {ModelCategory::Light, 60},  {ModelCategory::Buzjets, 30},
                                                            {ModelCategory::Rotorcraft, 20}};
    std::size_t n = 0;
    for (const auto& [category, count] : counts) {
        std::vector<std::string> group;
        for (std::size_t i = 0; i < count; ++i, ++n) {
            const std::string code = "M" + lf_code(n, 3);
            models.push_back({code, category});
            allModels.insert(code);
            if (category == ModelCategory::Large) largeModels.insert(code);
            if (category == ModelCategory::Heavy) heavyModels.insert(code);
            if (category == ModelCategory::Buzjets) buzjetModels.insert(code);
            if (category == ModelCategory::Rotorcraft) rotorcraftModels.insert(code);
            group.push_back(code);
            if (group.size() == 5) similarGroups.push_back(std::exchange(group, {}));
        }
    }
    for (std::size_t i = 0; i < airlineCount; ++i) airlines.push_back(lf_code(i + 1000, 3));
    airlines.push_back(std::string(noAirline));
    airlines.push_back(std::string(privateOwner));
    for (const auto& a : airlines) icaoAirlines.insert(a);
}

/// 50,000 liveries: most airlines fly a handful of models, some paints have
/// no airline, one in ten carries its registration, a few are freighters.
void lf_catalogue(std::mt19937& RANDOM)
{
    std::uniform_int_distribution<std::size_t> airline(0, airlineCount - 1), model(0, models.size() - 1), percent(0, 99);
    liveryList.clear();
    liveryList.reserve(liveryCount);
    for (std::size_t i = 0; i < liveryCount; ++i) {
        const Model& m = models[model(RANDOM)];
        const bool small = m.category == ModelCategory::Light || m.category == ModelCategory::Rotorcraft;
        std::string a = percent(RANDOM) < 5 ? std::string(noAirline) : small && percent(RANDOM) < 50 ? "PVT" : airlines[airline(RANDOM)];
        std::string reg = percent(RANDOM) < 10 ? fmt::format("R-{:05}", i) : std::string();
        if (!reg.empty()) dbaseRecords[reg] = {a, m.code, percent(RANDOM) < 5 ? airlines[airline(RANDOM)] : "", false};
        liveryList.push_back({a, m.code, fmt::format("Livery {} {} {:05}", a, m.code, i), reg, 1, percent(RANDOM) < 3});
    }
    lf_sortLiveries(liveryList);
}

void lf_buildTables()
{
    gf_clearCatalogue();
    gf_buildCatalogue(liveryList);
    gf_splitCatalogue();
    lf_buildInlineRegcodes();
    gf_buildGeneric();
    gf_buildSimilar();
    for (const auto& m : models) {
        if (!gf_modelHasLivery(m.code)) continue;
        if (m.category == ModelCategory::Light) lightModelsWithLiveries.push_back(m.code);
        if (m.category == ModelCategory::Buzjets) buzjetModelsWithLiveries.push_back(m.code);
        if (m.category == ModelCategory::Rotorcraft) rotorcraftModelsWithLiveries.push_back(m.code);
    }
    // One special livery in a hundred, kept for its own registration.
    std::vector<RegcodeEntry> special;
    for (std::size_t i = 0; i < liveryList.size(); i += 100) special.push_back({liveryList[i].title, {fmt::format("S-{:05}", i)}, true});
    offlineReport.clear();
    lf_applyRegcodeEntries(special);
}

/// A busy sky: a known airframe now and then, mostly airline and model, some
/// models the airline does not have, private light aircraft, freighters.
void lf_queries(std::mt19937& RANDOM)
{
    std::uniform_int_distribution<std::size_t> airline(0, airlineCount - 1), model(0, models.size() - 1), percent(0, 99),
        livery(0, liveryCount - 1);
    queryText.reserve(queryCount * 3);
    for (std::size_t i = 0; i < queryCount; ++i) {
        const Model& m = models[model(RANDOM)];
        const bool small = m.category == ModelCategory::Light || m.category == ModelCategory::Rotorcraft;
        std::string reg = percent(RANDOM) < 15 ? fmt::format("R-{:05}", livery(RANDOM)) : fmt::format("X-{:05}", i);
        queryText.push_back(small && percent(RANDOM) < 60 ? "PVT" : airlines[airline(RANDOM)]);
        queryText.push_back(m.code);
        queryText.push_back(std::move(reg));
        queries.push_back({{}, {}, {}, m.category, percent(RANDOM) < 5, {}});
    }
    for (std::size_t i = 0; i < queryCount; ++i) {
        queries[i].airline = queryText[3 * i];
        queries[i].icaoType = queryText[3 * i + 1];
        queries[i].regcode = queryText[3 * i + 2];
    }
}

void lf_setUp()
{
    static bool done = false;
    if (done) return;
    done = true;
    std::mt19937 random(seed);
    lf_reference();
    lf_catalogue(random);
    lf_buildTables();
    lf_queries(random);
    gf_seedMatching(seed);
}

void BM_MatchAtDepth(benchmark::State& STATE)
{
    lf_setUp();
    const int depth = static_cast<int>(STATE.range(0));
    std::size_t at = 0, matched = 0;
    for (auto _ : STATE) {
        LiveryQuery query = queries[at];
        matched += gf_matchSteps(query, depth, false) != 0;
        benchmark::DoNotOptimize(query.livery);
        at = (at + 1) % queryCount;
    }
    STATE.counters["matched_share"] =
        benchmark::Counter(static_cast<double>(matched) / static_cast<double>(STATE.iterations()));
    STATE.counters["titles"] = static_cast<double>(titleIndex.size());
}
BENCHMARK(BM_MatchAtDepth)->DenseRange(1, 4)->Unit(benchmark::kMicrosecond);

void BM_BuildTables(benchmark::State& STATE)
{
    lf_setUp();
    std::mt19937 random(seed);
    for (auto _ : STATE) {
        STATE.PauseTiming();
        lf_catalogue(random);
        STATE.ResumeTiming();
        lf_buildTables();
    }
    STATE.counters["liveries"] = static_cast<double>(titleIndex.size());
}
BENCHMARK(BM_BuildTables)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

BENCHMARK_MAIN();
