// The traffic generator: its recording is readable, deterministic, and
// moves like aircraft do, in every phase it promises.
#include <cmath>
#include <map>
#include <set>

#include "service_test_support.h"

#include "standin/service/flight_path.h"
#include "standin/service/generator.h"

namespace orv::test {
namespace {

constexpr double kMetresPerNm = 1852.0;

/// A fictional airport: a 3 km runway pointing north-west and a row of
/// stands about a kilometre to its south-west, noses to the south-west.
GeneratorSetup airport(unsigned SEED)
{
    GeneratorSetup setup{.airport = "XTST", .elevationFt = 120, .runwayLat1 = 50.0, .runwayLon1 = 10.0,
                         .runwayLat2 = 50.0191, .runwayLon2 = 9.9703, .stands = {}, .startTime = 1'650'000'000,
                         .minutes = 90, .seed = SEED, .movementsPerHour = 20, .overflightsPerHour = 10};
    for (int i = 0; i < 6; ++i)
        setup.stands.push_back({"S" + std::to_string(i), 49.9990 + 0.0012 * i, 9.9820 + 0.0004 * i - 0.0045, 225});
    return setup;
}

double distanceM(double LAT1, double LON1, double LAT2, double LON2)
{
    const LocalFrame frame{LAT1, LON1};
    return gf_length(frame.toLocal(LAT2, LON2));
}

/// The lines of each aircraft, by hexid.
std::map<std::string, std::vector<nlohmann::json>> tracksOf(const std::vector<std::string>& LINES)
{
    std::map<std::string, std::vector<nlohmann::json>> tracks;
    for (const auto& text : LINES) {
        const auto line = nlohmann::json::parse(text);
        tracks[line[0].get<std::string>()].push_back(line);
    }
    return tracks;
}

TEST(ServiceGenerator, SameSeedSameTrafficOtherSeedOther)
{
    const auto a = gf_generateTraffic(airport(11));
    const auto b = gf_generateTraffic(airport(11));
    const auto c = gf_generateTraffic(airport(12));
    EXPECT_EQ(a.recording, b.recording);
    EXPECT_EQ(a.parked, b.parked);
    EXPECT_NE(a.recording, c.recording);
}

/// Where a line's aircraft stands still: on a stand with its nose in (0), a
/// little away from one at the end of the push-back (1), lined up on the
/// runway (2); -1 anywhere else.
int standingPlace(const GeneratorSetup& SETUP, const nlohmann::json& P)
{
    const GeneratorStand* stand = &SETUP.stands[0];
    for (const auto& s : SETUP.stands)
        if (distanceM(s.lat, s.lon, P[1], P[2]) < distanceM(stand->lat, stand->lon, P[1], P[2])) stand = &s;
    const double nearest = distanceM(stand->lat, stand->lon, P[1], P[2]);
    if (nearest < 2.0) return std::abs(P[25].get<double>() - stand->headingDeg) <= 0.2 ? 0 : -1;
    if (nearest < 150.0) return 1;
    return distanceM(SETUP.runwayLat1, SETUP.runwayLon1, P[1], P[2]) < 300.0 ? 2 : -1;
}

TEST(ServiceGenerator, LiveLinesInTimeOrderMovingAsTheyReportInEveryPhase)
{
    const GeneratorSetup setup = airport(7);
    const auto traffic = gf_generateTraffic(setup);
    ASSERT_GT(traffic.recording.size(), 1000u);
    std::stringstream file; // the writer's output is what the replay reads
    for (const auto& text : traffic.recording) file << text << '\n';
    EXPECT_EQ(gf_readRecording(file, "generated").pointCount, traffic.recording.size());
    double last = setup.startTime;
    for (const auto& text : traffic.recording) {
        const auto line = nlohmann::json::parse(text);
        ASSERT_EQ(line.size(), kLiveLineLength);
        EXPECT_GE(line[kLineTimestamp].get<double>(), last);
        last = line[kLineTimestamp];
        const std::string type = line[8];
        EXPECT_TRUE(type.size() >= 3 && type.size() <= 4) << type;
        EXPECT_FALSE(line[9].get<std::string>().empty() || line[13].get<std::string>().empty()) << text;
        EXPECT_EQ(line[28].get<std::string>()[0], 'A');
        EXPECT_GT(std::stoul(line[0].get<std::string>(), nullptr, 16), 10000u);
        EXPECT_TRUE(line[25] >= 0 && line[25] <= 360) << line[25];
    }
    EXPECT_LE(last, setup.startTime + setup.minutes * 60);

    constexpr double kKnotsToMs = kMetresPerNm / 3600.0;
    std::map<std::string, int> phases; // how often each is seen
    std::set<std::string> landedAndLeft;
    for (const auto& [hexid, points] : tracksOf(traffic.recording)) {
        std::set<std::string> callsigns;
        for (std::size_t i = 0; i < points.size(); ++i) {
            const auto& p = points[i];
            callsigns.insert(p[13].get<std::string>());
            const double gs = p[5], alt = p[4], vs = p[15];
            const bool ground = p[14] == 1;
            EXPECT_TRUE(!ground || alt == std::round(setup.elevationFt / 25) * 25) << hexid;
            EXPECT_TRUE(!ground || gs != 0 || standingPlace(setup, p) != -1) << hexid << " at " << p[1] << "," << p[2];
            const double backwards = std::abs(std::fmod(p[3].get<double>() - p[25].get<double>() + 540, 360) - 180);
            const std::pair<const char*, bool> seen[] = {
                {"on its stand", ground && gs == 0 && standingPlace(setup, p) == 0},
                {"pushed back", ground && gs > 0 && backwards > 170}, {"taxiing", ground && gs >= 10 && gs <= 25},
                {"rolling", ground && gs > 80}, {"climbing", !ground && vs > 500}, {"descending", !ground && vs < -500},
                {"cruising", !ground && alt >= 10000 && vs == 0}};
            for (const auto& [phase, now] : seen) phases[phase] += now ? 1 : 0;
            if (i == 0) continue;
            // No faster than it reports; a leg ends between two samples: allow for its corner and rounding.
            const auto& a = points[i - 1];
            const double dt = p[10].get<double>() - a[10].get<double>();
            ASSERT_GT(dt, 0) << hexid;
            const double fastest = std::max(a[5].get<double>(), gs) * kKnotsToMs * dt;
            EXPECT_LE(distanceM(a[1], a[2], p[1], p[2]), fastest * 1.05 + 3.0) << hexid << " at " << a[10];
            EXPECT_LE(std::abs(alt - a[4].get<double>()), 3500.0 / 60 * dt + 50) << hexid << " at " << a[10];
        }
        if (callsigns.size() == 2) landedAndLeft.insert(hexid);
    }
    for (const auto& [phase, seen] : phases) EXPECT_GT(seen, 0) << phase;
    EXPECT_FALSE(landedAndLeft.empty()) << "no aircraft both arrived and departed";
}

TEST(ServiceGenerator, ParkedAircraftOnlyOnStandsNoFlightUses)
{
    GeneratorSetup setup = airport(4);
    for (int i = 0; i < 30; ++i) setup.stands.push_back({"P" + std::to_string(i), 49.995 + 0.0003 * i, 9.975, 90});
    setup.minutes = 20;
    const auto traffic = gf_generateTraffic(setup);
    ASSERT_FALSE(traffic.parked.empty());
    const auto tracks = tracksOf(traffic.recording);
    std::set<std::string> parkedStands;
    for (const auto& text : traffic.parked) {
        std::stringstream in(text);
        const ParkedTraffic parked = gf_readParked(in, "parked");
        ASSERT_EQ(parked.entries.size(), 1u);
        const auto& line = parked.entries[0].line;
        EXPECT_EQ(line[kParkedTime], 0);
        parkedStands.insert(line[2].get<std::string>());
        EXPECT_FALSE(tracks.contains(parked.entries[0].key));
        for (const auto& [hexid, points] : tracks)
            for (const auto& p : points)
                EXPECT_GT(distanceM(line[0], line[1], p[1], p[2]), 1.0) << hexid << " on parked stand " << line[2];
    }
    EXPECT_EQ(parkedStands.size(), traffic.parked.size());
}

TEST(ServiceGenerator, RefusesWhatCannotGiveTraffic)
{
    GeneratorSetup noStands = airport(1), shortRunway = airport(1), noTime = airport(1);
    noStands.stands.clear();
    shortRunway.runwayLat2 = 50.005;
    shortRunway.runwayLon2 = 10.0;
    noTime.minutes = 0;
    for (const auto& setup : {noStands, shortRunway, noTime})
        EXPECT_THROW((void)gf_generateTraffic(setup), std::invalid_argument);
}

} // namespace
} // namespace orv::test
