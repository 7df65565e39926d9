// Cost of decoding the live feed: a 1,000-aircraft traffic answer through
// processLine, with and without the JSON parse, the time model's hand-over,
// and the parked decoder. Each reports the CPU time per line (time_per_line).
#include <random>
#include <string>

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "core/flags.h"
#include "feed/decode.h"
#include "feed/rt_client.h"
#include "liveries/dbase.h"
#include "traffic/act.h"

namespace {

constexpr int aircraftCount = 1000;
constexpr orv::LatLon centre{52.3086, 4.7639};

/// A traffic answer's data object: 1,000 aircraft within 40 nm, a tenth of
/// them on the ground at the airport, some of every kind the filters refuse.
nlohmann::json answerData()
{
    std::mt19937 random(42);
    std::uniform_real_distribution<double> spread(-0.6, 0.6), unit(0, 1);
    static const char* types[] = {"B738", "A320", "E190", "B77W", "A359", "DH8D", "C172", "ZZZZ", "GLID"};
    nlohmann::json data = nlohmann::json::object();
    for (int k = 0; k < aircraftCount; ++k) {
        const bool ground = k % 10 == 0;
        const double lat = ground ? centre.lat + spread(random) / 100 : centre.lat + spread(random);
        const double lon = ground ? centre.lon + spread(random) / 100 : centre.lon + spread(random);
        const std::string hexid = fmt::format("{:06x}", 0x400000 + k);
        data[hexid] = nlohmann::json::array(
            {hexid, lat, lon, 360 * unit(random), ground ? 0.0 : 1000 + 30000 * unit(random), ground ? 5.0 : 250.0,
             "1000", "", types[k % std::size(types)], fmt::format("PH-{:03}", k), 1700000000.0 + unit(random) * 10,
             "EHAM", "LEMD", fmt::format("KLM{}", k), ground ? 1 : 0, 500 * spread(random), "KL1", "adsb_icao",
             nullptr, 0, k % 3 == 0 ? nlohmann::json(nullptr) : nlohmann::json(200), 220, 0.5, 3 * spread(random),
             0, 360 * unit(random), 0, nullptr, k % 50 == 0 ? "C1" : "A3"});
    }
    return data;
}

void lf_prepare(orv::RtClient& CLIENT)
{
    CLIENT.view.centre = centre;
    CLIENT.view.rangeNm = 40;
    CLIENT.view.park.airport = centre;
    CLIENT.view.park.elevationFt = -11;
    CLIENT.view.park.ready = true;
    CLIENT.airportElevation = -11;
    CLIENT.lines.reserve(aircraftCount);
}

void lf_perLine(benchmark::State& STATE, std::size_t LINES)
{
    STATE.counters["time_per_line"] = benchmark::Counter(static_cast<double>(STATE.iterations() * LINES),
                                                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_DecodeLiveLines(benchmark::State& STATE)
{
    const nlohmann::json data = answerData();
    orv::RtClient client;
    lf_prepare(client);
    std::size_t kept = 0;
    for (auto _ : STATE) {
        client.lines.clear();
        for (const auto& [key, value] : data.items()) {
            client.line = value;
            orv::processLine(client);
        }
        kept = client.lines.size();
        benchmark::DoNotOptimize(client.lines.data());
    }
    STATE.counters["kept"] = static_cast<double>(kept);
    lf_perLine(STATE, aircraftCount);
}
BENCHMARK(BM_DecodeLiveLines)->Unit(benchmark::kMicrosecond);

void BM_ParseAndDecodeLiveAnswer(benchmark::State& STATE)
{
    const std::string text = nlohmann::json{{"status", 200}, {"rrl", 2000}, {"data", answerData()}}.dump();
    orv::RtClient client;
    lf_prepare(client);
    for (auto _ : STATE) {
        client.lines.clear();
        auto answer = nlohmann::json::parse(text);
        // As the client does: each array is moved into the client's line.
        for (auto& [key, value] : answer["data"].items()) {
            client.line = std::move(value);
            orv::processLine(client);
        }
        benchmark::DoNotOptimize(client.lines.data());
    }
    STATE.counters["answer_kB"] = static_cast<double>(text.size()) / 1024;
    lf_perLine(STATE, aircraftCount);
}
BENCHMARK(BM_ParseAndDecodeLiveAnswer)->Unit(benchmark::kMicrosecond);

void BM_HandOverLines(benchmark::State& STATE)
{
    const nlohmann::json data = answerData();
    orv::RtClient client;
    lf_prepare(client);
    for (const auto& [key, value] : data.items()) {
        client.line = value;
        orv::processLine(client);
    }
    const std::vector<orv::TrafficLine> decoded = client.lines;
    {
        std::lock_guard lock(orv::linesLock);
        orv::loopRunning = true;
    }
    for (auto _ : STATE) {
        client.lines = decoded;
        {
            std::lock_guard lock(orv::linesLock);
            orv::incomingLines.clear();
        }
        orv::lf_handOverLines(client, orv::liveDelaySeconds);
    }
    lf_perLine(STATE, decoded.size());
}
BENCHMARK(BM_HandOverLines)->Unit(benchmark::kMicrosecond);

void BM_DecodeParkedLines(benchmark::State& STATE)
{
    orv::gf_clearDbase();
    orv::allModels = {"B738", "A320", "E190", "B77W"};
    orv::largeModels = {"B738", "A320", "E190"};
    orv::heavyModels = {"B77W"};
    for (int k = 0; k < aircraftCount; k += 2) {
        orv::dbaseRecords[fmt::format("PH-{:03}", k)] = orv::DbaseRecord{"KLM", "B738", "", false};
    }
    std::vector<std::pair<std::string, nlohmann::json>> lines;
    static const char* types[] = {"B738", "A320", "E190", "B77W", "0"};
    for (int k = 0; k < aircraftCount; ++k) {
        lines.emplace_back(fmt::format("{:06x}", 0x400000 + k),
                           nlohmann::json::array({centre.lat + k * 1e-5, centre.lon, fmt::format("S{}", k),
                                                  types[k % 5], fmt::format("PH-{:03}", k), 1700000000, "KLM1"}));
    }
    orv::RtClient client;
    lf_prepare(client);
    for (auto _ : STATE) {
        client.parkedLines.clear();
        for (const auto& [key, line] : lines) {
            client.line = line;
            orv::processLine(key, client);
        }
        benchmark::DoNotOptimize(client.parkedLines.data());
    }
    lf_perLine(STATE, aircraftCount);
    orv::gf_clearDbase();
}
BENCHMARK(BM_DecodeParkedLines)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
