// The faults laid on generated traffic: each one is there, at its rate, and
// the same seed gives the same file.
#include "standin/service/generator.h"
#include "standin/service/noise.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <map>

namespace orv::test {
namespace {

using nlohmann::json;

GeneratorSetup lf_airport()
{
    GeneratorSetup setup{.airport = "XTST", .elevationFt = 120, .runwayLat1 = 50.0, .runwayLon1 = 10.0,
                         .runwayLat2 = 50.0191, .runwayLon2 = 9.9703, .stands = {}, .startTime = 1'650'000'000,
                         .minutes = 90, .seed = 3, .movementsPerHour = 20, .overflightsPerHour = 10};
    for (int i = 0; i < 6; ++i)
        setup.stands.push_back({"S" + std::to_string(i), 49.9990 + 0.0012 * i, 9.9820 + 0.0004 * i - 0.0045, 225});
    return setup;
}

/// What the faults left in a recording, counted line by line per aircraft.
struct Counts {
    int lines = 0, nullSpeed = 0, spikes = 0, flagFlips = 0, sameTime = 0, backwards = 0, repeatedFast = 0,
        fastGround = 0, slowGround = 0;
};

Counts lf_count(const std::vector<std::string>& LINES)
{
    Counts c;
    std::map<std::string, json> last;
    for (const std::string& text : LINES) {
        const json l = json::parse(text);
        ++c.lines;
        const bool ground = l[14] == 1;
        c.nullSpeed += l[5].is_null();
        c.spikes += ground && l[4].is_number() && l[4].get<double>() >= 36000;
        c.fastGround += ground && l[5].is_number() && l[5].get<double>() >= 90;
        c.slowGround += ground && l[5].is_number() && l[5].get<double>() < 5;
        const auto it = last.find(l[0]);
        if (it != last.end()) {
            const json& p = it->second;
            c.flagFlips += p[14] != l[14];
            c.sameTime += p[10] == l[10];
            c.backwards += l[10].get<double>() < p[10].get<double>();
            c.repeatedFast += p[1] == l[1] && p[2] == l[2] && l[5].is_number() && l[5].get<double>() > 5;
        }
        last[l[0]] = l;
    }
    return c;
}

TEST(ServiceNoise, EveryFaultOfRealFeedsIsLaidOnSeeded)
{
    const GeneratedTraffic clean = gf_generateTraffic(lf_airport());
    const auto noisy = gf_addNoise(clean.recording, 5);
    EXPECT_EQ(noisy, gf_addNoise(clean.recording, 5));
    EXPECT_NE(noisy, gf_addNoise(clean.recording, 6));
    const Counts before = lf_count(clean.recording), after = lf_count(noisy);
    EXPECT_EQ(before.nullSpeed + before.spikes + before.sameTime + before.backwards + before.repeatedFast, 0);
    struct Row {
        const char* fault;
        int clean, noisy, least;
    } rows[] = {
        {"missing speeds", before.nullSpeed, after.nullSpeed, after.lines / 50},
        {"altitude spikes on the ground", before.spikes, after.spikes, 1},
        {"on-ground flag flicker", before.flagFlips, after.flagFlips, 2 * before.flagFlips + 10},
        {"repeated times", before.sameTime, after.sameTime, after.lines / 200},
        {"times out of order", before.backwards, after.backwards, after.lines / 200},
        {"repeated positions while moving", before.repeatedFast, after.repeatedFast, after.lines / 100},
        {"fast speeds on the ground", before.fastGround, after.fastGround, before.fastGround + 50},
    };
    for (const Row& r : rows) EXPECT_GE(r.noisy, r.least) << r.fault << " (clean " << r.clean << ")";
    EXPECT_LT(after.lines, before.lines + before.lines / 20) << "late starts take lines, repeats add few";
}

TEST(ServiceNoise, NoRatesNoChange)
{
    const GeneratedTraffic clean = gf_generateTraffic(lf_airport());
    NoiseRates none{};
    none = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const auto same = gf_addNoise(clean.recording, 5, none);
    ASSERT_EQ(same.size(), clean.recording.size());
    for (std::size_t i = 0; i < same.size(); ++i) EXPECT_EQ(json::parse(same[i]), json::parse(clean.recording[i])) << i;
}

} // namespace
} // namespace orv::test
