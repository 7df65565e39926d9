// Live traffic end to end: tavo-service replays generated traffic round the
// demo airport, tavo-sim stands in for the simulator with the user parked
// there, and TAVO runs as a process in its own program folder. Two minutes of
// traffic, then the data ends; the checks read the simulator's recording.
#include "standin/service/generator.h"
#include "tests/e2e/child_process.h"
#include "tests/e2e/live_world.h"
#include "tests/standin/sim_process.h"
#include "tests/support/temp_dir.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <fstream>
#include <iostream>
#include <thread>

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::system_clock;

constexpr double windowSeconds = 120;   ///< traffic the service answers
constexpr double historySeconds = 60;   ///< recording kept before the window, for the buffered start
constexpr double startAllowance = 20;   ///< TAVO's start-up until its first traffic request
constexpr double showDelaySeconds = 30; ///< TAVO shows each position this much later
constexpr double predictionLimit = 100; ///< the engine predicts at most this long after the data
constexpr double nearUserMetres = 8 * 1852.0;
constexpr double groundRadiusMetres = 5 * 1852.0; ///< ground lines count this near the user's airport
constexpr double movingKt = 40;                   ///< the delay is measured on aircraft that move
constexpr double lowestComparedFt = 500;          ///< heights compared above this (flare and roll-out aside)
constexpr double altitudeMedianLimitFt = 50, altitudeP95LimitFt = 250;
constexpr std::size_t fewestNearSamples = 10;
constexpr double creationsPerSecond = 2, removalsPerSecond = 10;
/// The share of a spacing by which the simulator's stamps of two sends may come
/// closer than they were sent (a busy machine stamps one late, the next on time).
constexpr double stampShare = 0.8;
constexpr double medianLimitMetres = 30, p95LimitMetres = 250;

double lf_now() { return std::chrono::duration<double>(Clock::now().time_since_epoch()).count(); }

/// The generated traffic: an hour round the demo airport, busy.
GeneratedTraffic lf_traffic()
{
    GeneratorSetup setup = gf_e2eSetup(gf_e2eStands());
    setup.seed = 11;
    setup.movementsPerHour = 40;
    setup.overflightsPerHour = 40;
    return gf_generateTraffic(setup);
}

/// A sample TAVO shows: in the air near the user, on the ground at the user's airport.
bool lf_nearUser(const RecordedSample& S)
{
    return gf_metresBetween(e2eUser, {S.lat, S.lon}) <= (S.onGround ? groundRadiusMetres : nearUserMetres);
}

/// Flights with at least fewestNearSamples samples near the user inside [FROM, TO).
std::vector<const RecordedFlight*> lf_nearFlights(const std::map<std::string, RecordedFlight>& FLIGHTS, double FROM,
                                                  double TO)
{
    std::vector<const RecordedFlight*> near;
    for (const auto& [hexid, f] : FLIGHTS) {
        const auto count = std::count_if(f.samples.begin(), f.samples.end(), [&](const RecordedSample& S) {
            return S.t >= FROM && S.t < TO && lf_nearUser(S);
        });
        if (static_cast<std::size_t>(count) >= fewestNearSamples) near.push_back(&f);
    }
    return near;
}

/// The window start with the most flights near the user.
double lf_busiestWindow(const std::map<std::string, RecordedFlight>& FLIGHTS, double FIRST, double LAST)
{
    double best = FIRST + historySeconds;
    std::size_t most = 0;
    for (double w = FIRST + historySeconds; w + windowSeconds <= LAST; w += 30) {
        const std::size_t n = lf_nearFlights(FLIGHTS, w, w + windowSeconds).size();
        if (n > most) most = n, best = w;
    }
    return best;
}

struct Box {
    double top = 90, bottom = -90, left = -180, right = 180;
    bool holds(const RecordedSample& S) const { return S.lat <= top && S.lat >= bottom && S.lon >= left && S.lon <= right; }
    /// The engine gets this sample: in the air inside the box, on the ground near the airport.
    bool shows(const RecordedSample& S) const
    {
        return S.onGround ? gf_metresBetween(e2eUser, {S.lat, S.lon}) <= groundRadiusMetres : holds(S);
    }
};

/// The area of TAVO's last traffic request, from the service's request log.
Box lf_requestBox(const fs::path& LOG)
{
    Box box;
    std::ifstream in(LOG);
    for (std::string line; std::getline(in, line);) {
        const auto entry = nlohmann::json::parse(line, nullptr, false);
        if (entry.is_discarded() || entry.value("path", "") != "/v4/traffic") continue;
        const std::string body = entry.value("body", "");
        const auto field = [&](const std::string& NAME) {
            const auto at = body.find(NAME + "=");
            return at == std::string::npos ? NAN : std::stod(body.substr(at + NAME.size() + 1));
        };
        if (!std::isnan(field("top"))) box = {field("top"), field("bottom"), field("left"), field("right")};
    }
    return box;
}

class LiveTraffic : public ::testing::Test {
protected:
    TempDir temp;
    E2eCatalogue catalogue = gf_e2eCatalogue();
    std::map<std::string, RecordedFlight> flights; ///< what the service holds, by hexid
    double windowStart = 0;  ///< recording time of the window's first second
    double replayStart = 0;  ///< the service time of the cut recording's first second
    double recordingFirst = 0;
    double stopTime = 0;     ///< when TAVO was told to end

    /// The recording's time of a moment of the simulator's clock.
    double recordingTime(double SIM_TIME) const { return SIM_TIME - replayStart + recordingFirst; }
    double realTime(double RECORDING_TIME) const { return RECORDING_TIME - recordingFirst + replayStart; }
    const RecordedFlight* byCallsign(const std::string& CALLSIGN) const
    {
        for (const auto& [hexid, f] : flights)
            if (f.callsign == CALLSIGN) return &f;
        return nullptr;
    }

    /// The cut recording: the window and the minute before it.
    fs::path writeRecording()
    {
        const GeneratedTraffic traffic = lf_traffic();
        const auto all = gf_flightsOf(traffic.recording);
        double first = INFINITY, last = -INFINITY;
        for (const auto& [hexid, f] : all) first = std::min(first, f.samples.front().t), last = std::max(last, f.samples.back().t);
        windowStart = lf_busiestWindow(all, first, last);
        const fs::path path = temp / "traffic.jsonl";
        flights = gf_writeCut(path, traffic.recording, windowStart - historySeconds, windowStart + windowSeconds,
                              recordingFirst);
        return path;
    }
};

TEST_F(LiveTraffic, GeneratedTrafficIsShownWhereAndWithWhatItShouldBe)
{
    const fs::path recording = writeRecording();
    ASSERT_GE(lf_nearFlights(flights, windowStart, windowStart + windowSeconds).size(), 3U) << "a busy window";

    SimProcess sim(temp.path(), {"--user", fmt::format("{},{}", e2eUser.lat, e2eUser.lon), "--ground",
                                 fmt::format("{}", e2eElevationFt)});
    const std::uint16_t servicePort = freePort();
    const fs::path program = temp / "program";
    gf_writeProgramFolder(program, catalogue, fmt::format("http://127.0.0.1:{}", servicePort));
    sim.writeConfig(program);

    replayStart = std::floor(lf_now() + startAllowance - (windowStart - recordingFirst));
    ChildProcess service("tavo-service",
                         {"--port", std::to_string(servicePort), "--traffic", recording.string(), "--no-loop",
                          "--replay-start", fmt::format("{}", replayStart), "--request-log", (temp / "requests.jsonl").string()},
                         temp.path(), temp / "service.out");
    ChildProcess tavo("tavo", {}, program, temp / "tavo.out");

    // The data ends with the window; then every object must go within the prediction's time.
    const double dataEnd = realTime(windowStart + windowSeconds);
    // Aircraft in the air go when their prediction ends; on the ground they stay.
    const auto allGone = [&] {
        const auto lines = sim.recording();
        std::map<std::uint32_t, double> lastAltitude;
        for (const auto& p : linesOf(lines, "position")) lastAltitude[p["objectId"]] = p["alt"];
        for (const auto& r : linesOf(lines, "removed")) lastAltitude.erase(r["objectId"].get<std::uint32_t>());
        return !linesOf(lines, "created").empty() &&
               std::none_of(lastAltitude.begin(), lastAltitude.end(), [](const auto& A) { return A.second > 100; });
    };
    while (lf_now() < dataEnd + showDelaySeconds + 5 && tavo.running()) std::this_thread::sleep_for(std::chrono::seconds(1));
    while (lf_now() < dataEnd + showDelaySeconds + predictionLimit && tavo.running() && !allGone())
        std::this_thread::sleep_for(std::chrono::seconds(5));
    ASSERT_TRUE(tavo.running()) << readFile(program / "Log.txt");
    stopTime = lf_now();
    EXPECT_EQ(tavo.stop(60), 0);
    service.stop(10);
    const std::vector<nlohmann::json> lines = sim.recording();
    sim.stop();
    const std::string log = readFile(program / "Log.txt");
    const Box box = lf_requestBox(temp / "requests.jsonl");

    // Objects: tail, title and id of each creation.
    std::map<std::uint32_t, const RecordedFlight*> objects;
    std::map<std::string, std::uint32_t> objectOfTail;
    for (const auto& c : linesOf(lines, "created")) objectOfTail[c["tail"]] = c["objectId"];
    std::vector<double> createTimes, removeTimes;
    for (const auto& c : linesOf(lines, "create")) {
        createTimes.push_back(c["t"]);
        const std::string tail = c["tail"], title = c["title"];
        const RecordedFlight* f = byCallsign(tail);
        ASSERT_NE(f, nullptr) << tail;
        const E2eLivery* livery = catalogue.find(title);
        ASSERT_NE(livery, nullptr) << title;
        EXPECT_TRUE(catalogue.fits(f->airline(), f->type, *livery)) << tail << " " << f->type << " got " << title;
        if (objectOfTail.contains(tail)) objects[objectOfTail[tail]] = f;
    }
    for (const auto& r : linesOf(lines, "remove"))
        if (r["t"].get<double>() < stopTime) removeTimes.push_back(r["t"]);
    ASSERT_FALSE(objects.empty());

    // Every flight that stayed near enough long enough was made, if some livery fits it; the others are reported.
    for (const RecordedFlight* f : lf_nearFlights(flights, windowStart, windowStart + windowSeconds - 40)) {
        SCOPED_TRACE(f->callsign + " " + f->type);
        if (catalogue.anyFits(f->airline(), f->type)) {
            EXPECT_TRUE(objectOfTail.contains(f->callsign));
        } else {
            EXPECT_FALSE(objectOfTail.contains(f->callsign));
            EXPECT_NE(log.find(fmt::format("\n{:3} {:4} {}\n", f->airline(), f->type, f->regcode)), std::string::npos)
                << "listed among the aircraft without a match";
        }
    }

    // The pace of the simulator's work.
    // One creation per 500 ms and ten removals a second at most, measured
    // between neighbours as the simulator stamped them.
    EXPECT_GE(gf_smallestGap(createTimes), stampShare / creationsPerSecond);
    EXPECT_GE(gf_smallestGap(removeTimes), stampShare / removalsPerSecond);

    // Released and frozen before the first position; positions on the recorded path, 30 s later.
    std::vector<double> distances, lags, altitudeErrors;
    for (const auto& [objectId, f] : objects) {
        SCOPED_TRACE(f->callsign);
        std::size_t firstPosition = lines.size(), released = lines.size();
        std::set<std::string> frozen;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const auto& l = lines[i];
            if (l.value("objectId", 0u) != objectId) continue;
            const std::string kind = l["kind"];
            if (kind == "release" && released == lines.size()) released = i;
            if (kind == "event" && firstPosition == lines.size()) {
                const std::string name = l["name"];
                if (name.starts_with("FREEZE_")) frozen.insert(name);
            }
            if (kind != "position") continue;
            if (firstPosition == lines.size()) firstPosition = i;
            const double shownAt = recordingTime(l["t"].get<double>()) - showDelaySeconds;
            if (shownAt > f->samples.back().t) continue; // predicted beyond the data
            double pathTime = 0;
            distances.push_back(gf_distanceToPath(*f, {l["lat"].get<double>(), l["lon"].get<double>()}, pathTime));
            // Standing still, any time of the stop is as near: no delay to read.
            if (l.value("tas", 0.0) >= movingKt) lags.push_back(recordingTime(l["t"].get<double>()) - pathTime);
            // Up and away from the field the height follows the data as well.
            const double recorded = gf_altitudeAt(*f, pathTime);
            if (recorded > lowestComparedFt) altitudeErrors.push_back(std::fabs(l["alt"].get<double>() - recorded));
        }
        ASSERT_LT(firstPosition, lines.size()) << "positions were written";
        EXPECT_LT(released, firstPosition);
        EXPECT_EQ(frozen, (std::set<std::string>{"FREEZE_ALTITUDE_SET", "FREEZE_ATTITUDE_SET",
                                                 "FREEZE_LATITUDE_LONGITUDE_SET"}));
    }
    const double median = gf_percentile(distances, 0.5), p95 = gf_percentile(distances, 0.95);
    const double lag = gf_percentile(lags, 0.5);
    const double altitudeMedian = gf_percentile(altitudeErrors, 0.5), altitudeP95 = gf_percentile(altitudeErrors, 0.95);
    std::cout << fmt::format("{} objects, {} positions on the path: median {:.2f} m, 95th percentile {:.2f} m, "
                             "largest {:.1f} m, median delay {:.1f} s; height off the data: median {:.0f} ft, "
                             "95th percentile {:.0f} ft\n",
                             objects.size(), distances.size(), median, p95, gf_percentile(distances, 1.0), lag,
                             altitudeMedian, altitudeP95);
    EXPECT_LE(altitudeMedian, altitudeMedianLimitFt);
    EXPECT_LE(altitudeP95, altitudeP95LimitFt);
    RecordProperty("median_metres", fmt::format("{:.2f}", median));
    RecordProperty("p95_metres", fmt::format("{:.2f}", p95));
    EXPECT_LE(median, medianLimitMetres);
    EXPECT_LE(p95, p95LimitMetres);
    EXPECT_NEAR(lag, showDelaySeconds, 5.0);

    // Each object went when its track ended: not before its last point was due,
    // and in the air not long after. On the ground the engine holds an aircraft
    // whose data stops (a stop on the taxiway, a stand): it stays until the exit.
    for (const auto& [objectId, f] : objects) {
        SCOPED_TRACE(f->callsign);
        const RecordedSample* last = nullptr;
        for (const auto& s : f->samples)
            if (box.shows(s)) last = &s;
        ASSERT_NE(last, nullptr);
        double removedAt = NAN;
        for (const auto& r : linesOf(lines, "remove"))
            if (r["objectId"] == objectId && r["t"].get<double>() < stopTime) removedAt = r["t"];
        if (!std::isnan(removedAt)) {
            EXPECT_GE(removedAt, realTime(last->t) + showDelaySeconds - 3);
        }
        if (last->onGround) continue;
        ASSERT_FALSE(std::isnan(removedAt)) << "removed by the engine, before the exit";
        EXPECT_LE(removedAt, realTime(last->t) + showDelaySeconds + predictionLimit);
    }
}

} // namespace
} // namespace orv::test
