// Stands end to end: the demo airport with its stand file on the download
// server, two minutes of generated traffic chosen where arrivals reach the
// gates, and TAVO as a process. Every arrival that reaches the gate area must
// end on a stand of the file, none two on one, and every departure that starts
// at a stand must start on it, with the stand named in the log.
#include "tests/e2e/child_process.h"
#include "tests/e2e/live_world.h"
#include "tests/standin/sim_process.h"
#include "tests/support/temp_dir.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <iostream>
#include <sstream>
#include <thread>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

constexpr double windowSeconds = 120;   ///< traffic the service answers
constexpr double historySeconds = 60;   ///< recording kept before the window
constexpr double startAllowance = 20;   ///< TAVO's start-up until its first traffic request
constexpr double showDelaySeconds = 30; ///< TAVO shows each position this much later
constexpr double arriveBySeconds = 80;  ///< arrivals counted reach their stand this far into the window
constexpr double parkAllowance = 60;    ///< after the data ends, for the last taxi in
constexpr double atStandMetres = 10;    ///< a data point this near a stand is on it
constexpr double onStandMetres = 2, onStandDegrees = 5;
constexpr std::size_t fewestArrivals = 2, fewestDepartures = 1;
constexpr double pi = 3.14159265358979323846;

double lf_now() { return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count(); }

/// A longer row of stands than the demo's, so that two minutes hold several arrivals
/// (the user's own place, between D8 and D12, left out).
std::vector<GeneratorStand> lf_stands()
{
    std::vector<GeneratorStand> stands = gf_e2eStands();
    for (int i = 0; i < 4; ++i) {
        stands.push_back({fmt::format("D{}", 12 + 2 * i), 52.3123 + 0.0006 * i, 4.7578 - 0.0010 * i, 230});
        if (i >= 2) stands.push_back({fmt::format("E{}", 2 + 2 * i), 52.3078 - 0.0006 * i, 4.7663 + 0.0010 * i, 140});
    }
    return stands;
}

/// The test's catalogue with a paint without airline for every generated airliner, so that most flights show.
E2eCatalogue lf_catalogue()
{
    E2eCatalogue c = gf_e2eCatalogue();
    for (const char* model : {"A319", "A20N", "A321", "B738", "B38M", "E190", "E295", "B77W", "A333", "B789", "A359"})
        c.liveries.push_back({"ZZZ", model});
    return c;
}

/// The stand within atStandMetres of POS; nullptr for none.
const GeneratorStand* lf_standAt(const std::vector<GeneratorStand>& STANDS, const LatLon& POS, double METRES)
{
    for (const auto& s : STANDS)
        if (gf_metresBetween(POS, {s.lat, s.lon}) <= METRES) return &s;
    return nullptr;
}

double lf_angleOff(double A_DEG, double B_DEG) { return std::fabs(std::remainder(A_DEG - B_DEG, 360.0)); }

/// What the cut recording holds at the stands.
struct StandMoves {
    std::map<std::string, std::string> arrivals;   ///< callsign -> the data's stand, on block inside the counted part
    std::map<std::string, std::string> departures; ///< callsign -> the stand its data starts at
};

/// Arrivals on block in [WINDOW, WINDOW + arriveBySeconds); departures whose
/// data starts at a stand in [WINDOW - historySeconds, WINDOW + windowSeconds).
/// Only flights that some livery of CATALOGUE fits count: the others are never shown.
StandMoves lf_standMoves(const std::map<std::string, RecordedFlight>& FLIGHTS, const std::vector<GeneratorStand>& STANDS,
                         const E2eCatalogue& CATALOGUE, double WINDOW)
{
    StandMoves moves;
    for (const auto& [hexid, f] : FLIGHTS) {
        if (!CATALOGUE.anyFits(f.airline(), f.type)) continue;
        std::vector<RecordedSample> cut;
        for (const auto& s : f.samples)
            if (s.t >= WINDOW - historySeconds && s.t < WINDOW + windowSeconds) cut.push_back(s);
        if (cut.empty()) continue;
        const RecordedSample& last = f.samples.back();
        const GeneratorStand* end = lf_standAt(STANDS, {last.lat, last.lon}, atStandMetres);
        if (end != nullptr && !f.samples.front().onGround) {
            const auto block = std::find_if(f.samples.begin(), f.samples.end(), [&](const RecordedSample& S) {
                return gf_metresBetween({S.lat, S.lon}, {last.lat, last.lon}) <= 1;
            });
            if (block->t >= WINDOW && block->t < WINDOW + arriveBySeconds && cut.front().t < block->t)
                moves.arrivals[f.callsign] = end->name;
        }
        const GeneratorStand* start = lf_standAt(STANDS, {cut.front().lat, cut.front().lon}, atStandMetres);
        if (start != nullptr && f.samples.front().onGround) moves.departures[f.callsign] = start->name;
    }
    return moves;
}

class StandTraffic : public ::testing::Test {
protected:
    TempDir temp;
    E2eCatalogue catalogue = lf_catalogue();
    std::vector<GeneratorStand> stands = lf_stands();
    std::map<std::string, RecordedFlight> flights;
    StandMoves moves;
    double windowStart = 0, recordingFirst = 0;

    /// The window with the most arrivals reaching the gates, cut with its history.
    fs::path writeRecording()
    {
        GeneratorSetup setup = gf_e2eSetup(stands);
        setup.seed = 7;
        setup.movementsPerHour = 90;
        setup.overflightsPerHour = 6;
        const GeneratedTraffic traffic = gf_generateTraffic(setup);
        const auto all = gf_flightsOf(traffic.recording);
        std::size_t best = 0;
        for (double w = setup.startTime + historySeconds; w + windowSeconds <= setup.startTime + setup.minutes * 60; w += 10) {
            const StandMoves m = lf_standMoves(all, stands, catalogue, w);
            const std::size_t score = 2 * m.arrivals.size() + m.departures.size();
            if (score > best && m.departures.size() >= fewestDepartures) best = score, windowStart = w, moves = m;
        }
        const fs::path path = temp / "traffic.jsonl";
        flights = gf_writeCut(path, traffic.recording, windowStart - historySeconds, windowStart + windowSeconds,
                              recordingFirst);
        return path;
    }
};

TEST_F(StandTraffic, ArrivalsEndOnStandsAndDeparturesStartOnThem)
{
    const fs::path recording = writeRecording();
    ASSERT_GE(moves.arrivals.size(), fewestArrivals);

    SimProcess sim(temp.path(), {"--user", fmt::format("{},{}", e2eUser.lat, e2eUser.lon), "--ground",
                                 fmt::format("{}", e2eElevationFt)});
    const std::uint16_t servicePort = freePort();
    const fs::path program = temp / "program";
    gf_writeProgramFolder(program, catalogue, fmt::format("http://127.0.0.1:{}", servicePort));
    gf_writeStandFile(program, stands);
    sim.writeConfig(program);
    const double replayStart = std::floor(lf_now() + startAllowance - (windowStart - recordingFirst));
    ChildProcess service("tavo-service",
                         {"--port", std::to_string(servicePort), "--traffic", recording.string(), "--no-loop",
                          "--replay-start", fmt::format("{}", replayStart)},
                         temp.path(), temp / "service.out");
    ChildProcess tavo("tavo", {}, program, temp / "tavo.out");

    // Until every counted arrival has parked, or the data's end and the last taxi in are past.
    const double giveUp = replayStart + (windowStart + windowSeconds - recordingFirst) + showDelaySeconds + parkAllowance;
    const auto allParked = [&] {
        const std::string log = readFile(program / "Log.txt");
        return std::all_of(moves.arrivals.begin(), moves.arrivals.end(), [&](const auto& A) {
            return log.find(fmt::format("{:8} arrived at stand", A.first)) != std::string::npos;
        });
    };
    while (lf_now() < giveUp && tavo.running() && !allParked()) std::this_thread::sleep_for(std::chrono::seconds(1));
    ASSERT_TRUE(tavo.running()) << readFile(program / "Log.txt");
    const std::vector<nlohmann::json> lines = sim.recording();
    EXPECT_EQ(tavo.stop(60), 0);
    service.stop(10);
    sim.stop();
    const std::string log = readFile(program / "Log.txt");
    if (const char* keep = std::getenv("TAVO_E2E_KEEP")) fs::copy(temp.path(), keep, fs::copy_options::recursive);
    // The log's lines about CALLSIGN, for a failure's message.
    const auto logOf = [&](const std::string& CALLSIGN) {
        std::string out;
        std::istringstream in(log);
        for (std::string line; std::getline(in, line);)
            if (line.find(CALLSIGN) != std::string::npos) out += line + "\n";
        return out;
    };

    // Each object's first and last pose.
    std::map<std::uint32_t, std::string> tailOf;
    for (const auto& c : linesOf(lines, "created")) tailOf[c["objectId"]] = c["tail"];
    std::map<std::string, nlohmann::json> firstPose, lastPose;
    std::set<std::string> removed;
    for (const auto& p : linesOf(lines, "position")) {
        const std::string& tail = tailOf[p["objectId"]];
        if (!firstPose.contains(tail)) firstPose[tail] = p;
        lastPose[tail] = p;
    }
    for (const auto& r : linesOf(lines, "removed")) removed.insert(tailOf[r["objectId"]]);
    // The stand a pose is on, within the limits; nullptr for none.
    const auto standOf = [&](const nlohmann::json& POSE) -> const GeneratorStand* {
        const GeneratorStand* s = lf_standAt(stands, {POSE["lat"].get<double>(), POSE["lon"].get<double>()}, onStandMetres);
        if (s == nullptr || lf_angleOff(POSE["heading"].get<double>() * 180 / pi, s->headingDeg) > onStandDegrees) return nullptr;
        return s;
    };

    std::map<std::string, std::string> parkedOn; // stand -> callsign that ended on it
    for (const auto& [callsign, dataStand] : moves.arrivals) {
        SCOPED_TRACE(callsign + " to " + dataStand);
        ASSERT_TRUE(lastPose.contains(callsign)) << "shown";
        const GeneratorStand* s = standOf(lastPose[callsign]);
        ASSERT_NE(s, nullptr) << "ends on a stand: " << lastPose[callsign].dump() << "\n" << logOf(callsign);
        EXPECT_TRUE(parkedOn.emplace(s->name, callsign).second) << s->name << " also holds " << parkedOn[s->name];
        EXPECT_NE(log.find(fmt::format("{:8}: {:8} arrived at stand", s->name, callsign)), std::string::npos);
    }
    std::size_t departuresShown = 0;
    for (const auto& [callsign, dataStand] : moves.departures) {
        if (!firstPose.contains(callsign)) continue;
        SCOPED_TRACE(callsign + " from " + dataStand);
        ++departuresShown;
        const GeneratorStand* s = standOf(firstPose[callsign]);
        ASSERT_NE(s, nullptr) << "starts on a stand: " << firstPose[callsign].dump() << "\n" << logOf(callsign);
        EXPECT_EQ(s->name, dataStand);
        EXPECT_NE(log.find(fmt::format("{:8}: {:8} parks", s->name, callsign)), std::string::npos);
        // One still standing there at the end shares its stand with no arrival.
        if (!removed.contains(callsign) && standOf(lastPose[callsign]) == s) {
            EXPECT_TRUE(parkedOn.emplace(s->name, callsign).second) << s->name << " also holds " << parkedOn[s->name];
        }
    }
    EXPECT_GE(departuresShown, fewestDepartures);
    std::cout << fmt::format("{} arrivals parked, {} departures started at their stands\n", moves.arrivals.size(),
                             departuresShown);
}

} // namespace
} // namespace orv::test
