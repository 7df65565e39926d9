// Following real and noisy flights end to end: a real readsb trace (two of
// its legs, moved to the demo airport) and generated traffic with the faults
// of real feeds go through tavo-service, TAVO and tavo-sim as processes; the
// comparison tool measures how the shown aircraft followed the true ones.
// TAVO_FOLLOW_KEEP=DIR keeps the recordings there for tavo-compare.
#include "standin/service/generator.h"
#include "standin/service/noise.h"
#include "tests/e2e/child_process.h"
#include "tests/e2e/live_world.h"
#include "tests/standin/sim_process.h"
#include "tests/support/temp_dir.h"
#include "tools/follow_compare.h"
#include "tools/trace_convert.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cmath>
#include <fstream>
#include <iostream>
#include <thread>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

constexpr double showDelaySeconds = 30, startAllowance = 20, tailSeconds = 40;
constexpr double kmspElevationFt = 841;
/// Where the real trace's gates lie, moved onto the demo airport's terminal.
constexpr LatLon kmspGates{44.8829, -93.2152}, demoTerminal{52.3086, 4.7639};
/// The real trace's legs, seconds after its base time: a landing with the
/// taxi in, and the end of a taxi out with the take-off.
constexpr double landingFrom = 70950, landingTo = 71420, departureFrom = 75300, departureTo = 75800;
constexpr double noisyMinutes = 9;

double lf_now() { return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count(); }

fs::path lf_realTrace()
{
    const char* build = std::getenv("TAVO_BUILD_DIR");
    for (const fs::path& p : {fs::path(build ? build : ".") / "../../shared/data/readsb/trace_full_ac671b.json",
                              fs::path("../shared/data/readsb/trace_full_ac671b.json")})
        if (fs::exists(p)) return p;
    return {};
}

/// One leg of the real trace as its own aircraft, starting at T0, typed and
/// named as the test's liveries know them.
std::vector<nlohmann::json> lf_realLeg(const std::string& DOC, double FROM, double TO, double T0, const std::string& HEXID,
                                       const std::string& CALLSIGN)
{
    const double base = nlohmann::json::parse(DOC)["timestamp"].get<double>();
    ConvertSetup setup;
    setup.placeFrom = kmspGates, setup.placeTo = demoTerminal;
    setup.altitudeShiftFt = e2eElevationFt - kmspElevationFt;
    setup.fromTime = base + FROM, setup.toTime = base + TO;
    std::vector<nlohmann::json> lines;
    for (const std::string& text : gf_convertReadsb(DOC, setup)) {
        nlohmann::json l = nlohmann::json::parse(text);
        l[0] = HEXID, l[8] = "B738", l[13] = CALLSIGN, l[10] = T0 + l[10].get<double>() - base - FROM;
        lines.push_back(std::move(l));
    }
    return lines;
}

/// Generated traffic round the demo airport with every fault on, from T0.
std::vector<nlohmann::json> lf_noisyTraffic(double T0)
{
    GeneratorSetup setup = gf_e2eSetup(gf_e2eStands());
    setup.startTime = T0 - 20 * 60, setup.minutes = 20 + noisyMinutes, setup.seed = 11;
    setup.movementsPerHour = 40, setup.overflightsPerHour = 20;
    std::vector<nlohmann::json> lines;
    for (const std::string& text : gf_addNoise(gf_generateTraffic(setup).recording, 11)) {
        nlohmann::json l = nlohmann::json::parse(text);
        // The light aircraft have no livery of their own here: airliners only.
        if (l[10].get<double>() >= T0 && l[8] != "C172" && l[8] != "SR22") lines.push_back(std::move(l));
    }
    return lines;
}

TEST(FollowRun, RealAndNoisyFlightsAreFollowed)
{
    const fs::path trace = lf_realTrace();
    if (trace.empty()) GTEST_SKIP() << "the real trace is not beside the project";
    TempDir temp;
    const double t0 = 1700000000;
    std::vector<nlohmann::json> all = lf_realLeg(readFile(trace), landingFrom, landingTo, t0, "ac671b", "KLM671");
    for (auto& l : lf_realLeg(readFile(trace), departureFrom, departureTo, t0, "ac671c", "KLM672")) all.push_back(l);
    for (auto& l : lf_noisyTraffic(t0)) all.push_back(l);
    std::stable_sort(all.begin(), all.end(), [](const nlohmann::json& A, const nlohmann::json& B) { return A[10].get<double>() < B[10].get<double>(); });
    std::vector<std::string> recording;
    double last = t0;
    for (const auto& l : all) recording.push_back(l.dump()), last = std::max(last, l[10].get<double>());
    gf_writeLines((temp / "traffic.jsonl").string(), recording);

    SimProcess sim(temp.path(), {"--user", fmt::format("{},{}", e2eUser.lat, e2eUser.lon), "--ground",
                                 fmt::format("{}", e2eElevationFt)});
    const std::uint16_t servicePort = freePort();
    const fs::path program = temp / "program";
    gf_writeProgramFolder(program, gf_e2eCatalogue(), fmt::format("http://127.0.0.1:{}", servicePort));
    sim.writeConfig(program);
    const double replayStart = std::floor(lf_now() + startAllowance);
    ChildProcess service("tavo-service", {"--port", std::to_string(servicePort), "--traffic", (temp / "traffic.jsonl").string(),
                                          "--no-loop", "--replay-start", fmt::format("{}", replayStart)},
                         temp.path(), temp / "service.out");
    ChildProcess tavo("tavo", {}, program, temp / "tavo.out");
    const double end = replayStart + (last - t0) + showDelaySeconds + tailSeconds;
    while (lf_now() < end && tavo.running()) std::this_thread::sleep_for(std::chrono::seconds(2));
    ASSERT_TRUE(tavo.running()) << readFile(program / "Log.txt");
    EXPECT_EQ(tavo.stop(60), 0);
    service.stop(10);
    sim.stop();

    std::vector<std::string> simLines;
    std::ifstream in(temp / "sim-recording.jsonl");
    for (std::string line; std::getline(in, line);) simLines.push_back(line);
    if (const char* keep = std::getenv("TAVO_FOLLOW_KEEP")) {
        fs::copy_file(temp / "traffic.jsonl", fs::path(keep) / "traffic.jsonl", fs::copy_options::overwrite_existing);
        fs::copy_file(temp / "sim-recording.jsonl", fs::path(keep) / "sim-record.jsonl", fs::copy_options::overwrite_existing);
        fs::copy_file(program / "Log.txt", fs::path(keep) / "Log.txt", fs::copy_options::overwrite_existing);
        writeFile(fs::path(keep) / "replay-start", fmt::format("{}\n", replayStart));
    }
    const CompareResult result = gf_compareFollow(recording, simLines, {.replayStart = replayStart});
    std::cout << gf_followTable(result);
    ASSERT_GE(result.flights.size(), 3U);
    int phantom = 0;
    for (const FollowFigures& f : result.flights) phantom += f.phantomAirS;
    EXPECT_EQ(phantom, 0) << "no aircraft shown in the air while on the ground";
    for (const FollowFigures* f : {&result.ground, &result.air}) EXPECT_GE(f->followedShare, 0.95) << f->name;
}

} // namespace
} // namespace orv::test
