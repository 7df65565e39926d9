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
    GeneratorSetup setup;
    setup.airport = "XTST";
    setup.elevationFt = 120;
    setup.runwayLat1 = 50.0;
    setup.runwayLon1 = 10.0;
    setup.runwayLat2 = 50.0191;
    setup.runwayLon2 = 9.9703;
    for (int i = 0; i < 6; ++i) {
        setup.stands.push_back({"S" + std::to_string(i), 49.9990 + 0.0012 * i, 9.9820 + 0.0004 * i - 0.0045, 225});
    }
    setup.startTime = 1'650'000'000;
    setup.minutes = 90;
    setup.seed = SEED;
    setup.movementsPerHour = 20;
    setup.overflightsPerHour = 10;
    return setup;
}

double distanceM(double LAT1, double LON1, double LAT2, double LON2)
{
    const LocalFrame frame{LAT1, LON1};
    return gf_length(frame.toLocal(LAT2, LON2));
}

struct Tracks {
    std::map<std::string, std::vector<nlohmann::json>> byHexid;
};

Tracks tracksOf(const std::vector<std::string>& LINES)
{
    Tracks tracks;
    for (const auto& text : LINES) {
        const auto line = nlohmann::json::parse(text);
        tracks.byHexid[line[0].get<std::string>()].push_back(line);
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

TEST(ServiceGenerator, LinesAreLiveLinesInTimeOrderInsideTheRecording)
{
    const GeneratorSetup setup = airport(3);
    const auto traffic = gf_generateTraffic(setup);
    ASSERT_GT(traffic.recording.size(), 1000u);
    double last = 0;
    for (const auto& text : traffic.recording) {
        const auto line = nlohmann::json::parse(text);
        ASSERT_EQ(line.size(), kLiveLineLength);
        const double t = line[kLineTimestamp].get<double>();
        EXPECT_GE(t, last);
        EXPECT_GE(t, setup.startTime);
        EXPECT_LE(t, setup.startTime + setup.minutes * 60);
        last = t;
        const std::string type = line[8].get<std::string>();
        EXPECT_TRUE(type.size() >= 3 && type.size() <= 4) << type;
        EXPECT_FALSE(line[9].get<std::string>().empty());
        EXPECT_FALSE(line[13].get<std::string>().empty());
        EXPECT_EQ(line[28].get<std::string>()[0], 'A');
        EXPECT_GT(std::stoul(line[0].get<std::string>(), nullptr, 16), 10000u);
        const double heading = line[25].get<double>();
        EXPECT_TRUE(heading >= 0 && heading <= 360) << heading;
    }
    // The writer's output is what the replay reads.
    std::stringstream file;
    for (const auto& text : traffic.recording) file << text << '\n';
    const Recording rec = gf_readRecording(file, "generated");
    EXPECT_EQ(rec.pointCount, traffic.recording.size());
}

TEST(ServiceGenerator, AircraftMoveAtTheSpeedTheyReport)
{
    const GeneratorSetup setup = airport(5);
    const Tracks tracks = tracksOf(gf_generateTraffic(setup).recording);
    constexpr double kKnotsToMs = kMetresPerNm / 3600.0;
    for (const auto& [hexid, points] : tracks.byHexid) {
        for (std::size_t i = 1; i < points.size(); ++i) {
            const auto& a = points[i - 1];
            const auto& b = points[i];
            const double dt = b[10].get<double>() - a[10].get<double>();
            ASSERT_GT(dt, 0) << hexid;
            const double moved = distanceM(a[1], a[2], b[1], b[2]);
            const double fastest = std::max(a[5].get<double>(), b[5].get<double>()) * kKnotsToMs * dt;
            // A leg ends between two samples: allow for its corner and rounding.
            EXPECT_LE(moved, fastest * 1.05 + 3.0) << hexid << " at " << a[10];
            const double climbFt = std::abs(b[4].get<double>() - a[4].get<double>());
            EXPECT_LE(climbFt, 3500.0 / 60 * dt + 50) << hexid << " at " << a[10];
        }
    }
}

TEST(ServiceGenerator, EveryPhaseOccurs)
{
    const GeneratorSetup setup = airport(7);
    const Tracks tracks = tracksOf(gf_generateTraffic(setup).recording);
    const double fieldFt = setup.elevationFt;
    int standing = 0, pushing = 0, taxiing = 0, rolling = 0, climbing = 0, descending = 0, cruising = 0;
    std::set<std::string> landedAndLeft;
    for (const auto& [hexid, points] : tracks.byHexid) {
        std::set<std::string> callsigns;
        for (const auto& p : points) {
            callsigns.insert(p[13].get<std::string>());
            const double gs = p[5], alt = p[4], vs = p[15];
            const bool ground = p[14] == 1;
            if (ground) {
                EXPECT_EQ(alt, std::round(fieldFt / 25) * 25) << hexid;
            }
            if (ground && gs == 0) ++standing;
            const double backwards = std::abs(std::fmod(p[3].get<double>() - p[25].get<double>() + 540, 360) - 180);
            if (ground && gs > 0 && backwards > 170) ++pushing;
            if (ground && gs >= 10 && gs <= 25) ++taxiing;
            if (ground && gs > 80) ++rolling;
            if (!ground && vs > 500) ++climbing;
            if (!ground && vs < -500) ++descending;
            if (!ground && alt >= 10000 && vs == 0) ++cruising;
        }
        if (callsigns.size() == 2) landedAndLeft.insert(hexid);
    }
    EXPECT_GT(standing, 0);
    EXPECT_GT(pushing, 0);
    EXPECT_GT(taxiing, 0);
    EXPECT_GT(rolling, 0);
    EXPECT_GT(climbing, 0);
    EXPECT_GT(descending, 0);
    EXPECT_GT(cruising, 0);
    EXPECT_FALSE(landedAndLeft.empty()) << "no aircraft both arrived and departed";
}

TEST(ServiceGenerator, StandingAircraftStandOnAStandWithTheirNoseIn)
{
    const GeneratorSetup setup = airport(9);
    const Tracks tracks = tracksOf(gf_generateTraffic(setup).recording);
    int checked = 0;
    for (const auto& [hexid, points] : tracks.byHexid) {
        for (const auto& p : points) {
            if (p[14] != 1 || p[5] != 0) continue;
            // Standing still happens at a stand or lined up on the runway.
            double nearest = 1e9;
            const GeneratorStand* stand = nullptr;
            for (const auto& s : setup.stands) {
                const double d = distanceM(s.lat, s.lon, p[1], p[2]);
                if (d < nearest) nearest = d, stand = &s;
            }
            // Away from the stand itself: the end of the push-back, or lined
            // up on the runway.
            const double fromRunway = distanceM(setup.runwayLat1, setup.runwayLon1, p[1], p[2]);
            if (nearest < 2.0) {
                EXPECT_NEAR(p[25].get<double>(), stand->headingDeg, 0.2) << hexid;
                ++checked;
            } else {
                EXPECT_TRUE(nearest < 150.0 || fromRunway < 300.0)
                    << hexid << " stands still at " << p[1] << "," << p[2];
            }
        }
    }
    EXPECT_GT(checked, 0);
}

TEST(ServiceGenerator, ParkedAircraftOnlyOnStandsNoFlightUses)
{
    GeneratorSetup setup = airport(4);
    for (int i = 0; i < 30; ++i) setup.stands.push_back({"P" + std::to_string(i), 49.995 + 0.0003 * i, 9.975, 90});
    setup.minutes = 20;
    const auto traffic = gf_generateTraffic(setup);
    ASSERT_FALSE(traffic.parked.empty());
    const Tracks tracks = tracksOf(traffic.recording);
    std::set<std::string> parkedStands;
    for (const auto& text : traffic.parked) {
        std::stringstream in(text);
        const ParkedTraffic parked = gf_readParked(in, "parked");
        ASSERT_EQ(parked.entries.size(), 1u);
        const auto& line = parked.entries[0].line;
        EXPECT_EQ(line[kParkedTime], 0);
        parkedStands.insert(line[2].get<std::string>());
        EXPECT_FALSE(tracks.byHexid.contains(parked.entries[0].key));
        for (const auto& [hexid, points] : tracks.byHexid) {
            for (const auto& p : points) {
                EXPECT_GT(distanceM(line[0], line[1], p[1], p[2]), 1.0) << hexid << " on parked stand " << line[2];
            }
        }
    }
    EXPECT_EQ(parkedStands.size(), traffic.parked.size());
}

TEST(ServiceGenerator, RefusesWhatCannotGiveTraffic)
{
    GeneratorSetup noStands = airport(1);
    noStands.stands.clear();
    EXPECT_THROW((void)gf_generateTraffic(noStands), std::invalid_argument);
    GeneratorSetup shortRunway = airport(1);
    shortRunway.runwayLat2 = 50.005;
    shortRunway.runwayLon2 = 10.0;
    EXPECT_THROW((void)gf_generateTraffic(shortRunway), std::invalid_argument);
    GeneratorSetup noTime = airport(1);
    noTime.minutes = 0;
    EXPECT_THROW((void)gf_generateTraffic(noTime), std::invalid_argument);
}

TEST(ServiceFlightPath, ConstantAccelerationCoversTheLegInTheRightTime)
{
    // 1000 m from 0 to ~97 kt (50 m/s): average 25 m/s, 40 s; a 10 s hold first.
    const double v1Kt = 50.0 * 3600 / kMetresPerNm;
    const std::vector<Waypoint> path{{{0, 0}, 0, 0, 10}, {{0, 1000}, v1Kt, 0}};
    EXPECT_NEAR(gf_pathDuration(path), 10 + 2 * 1000 / (50 + 2 * kMetresPerNm / 3600), 1e-9);
    double end = 0;
    const auto samples = gf_samplePath(path, 100, 1, end);
    EXPECT_NEAR(end, 100 + gf_pathDuration(path), 1e-9);
    EXPECT_EQ(samples.front().speedKt, 0);
    EXPECT_EQ(samples.front().headingDeg, 0); // facing the way it will go: north
    for (std::size_t i = 1; i < samples.size(); ++i) {
        EXPECT_GE(samples[i].pos.y, samples[i - 1].pos.y);
        EXPECT_LE(samples[i].pos.y, 1000.0);
    }
}

TEST(ServiceFlightPath, BackwardsLegsPointTheNoseAgainstTheMotion)
{
    const std::vector<Waypoint> path{{{0, 0}, 0, 0}, {{-30, 0}, 3, 0, 0, true}};
    double end = 0;
    const auto samples = gf_samplePath(path, 0, 2, end);
    ASSERT_GT(samples.size(), 2u);
    EXPECT_NEAR(samples[1].trackDeg, 270, 1e-9);
    EXPECT_NEAR(samples[1].headingDeg, 90, 1e-9);
}

} // namespace
} // namespace orv::test
