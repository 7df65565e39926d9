// A seeded random fuzz of both decoders: random JSON and random damage to
// good lines. Nothing may escape processLine, and whatever is kept must obey
// the rules every kept line obeys.
#include <limits>
#include <numbers>
#include <random>

#include "feed_fixture.h"

namespace orv::test {
namespace {

constexpr int fuzzRounds = 20000;

class RandomJson {
  public:
    explicit RandomJson(unsigned SEED) : random_(SEED) {}

    nlohmann::json value(int DEPTH = 0)
    {
        switch (pick(DEPTH < 2 ? 9 : 7)) {
        case 0: return nullptr;
        case 1: return pick(2) == 1;
        case 2: return pick(3) == 0 ? oneOf(integerEdges) : std::uniform_int_distribution<long long>(-100000, 100000)(random_);
        case 3: return pick(3) == 0 ? oneOf(realEdges) : std::uniform_real_distribution<double>(-1000, 1000)(random_);
        case 4: return text();
        case 5: return std::string(oneOf(words));
        case 6: return fmt::format("{:x}", std::uniform_int_distribution<std::uint64_t>(0, 0x1FFFFFFFFULL)(random_));
        case 7: {
            nlohmann::json out = nlohmann::json::array();
            for (int i = pick(6); i > 0; --i) out.push_back(value(DEPTH + 1));
            return out;
        }
        default: {
            nlohmann::json object = nlohmann::json::object();
            for (int i = pick(4); i > 0; --i) object[oneOf(words)] = value(DEPTH + 1);
            return object;
        }
        }
    }
    /// A good line with a few positions replaced by random values, or cut short.
    nlohmann::json damaged(nlohmann::json LINE)
    {
        for (int i = pick(4) + 1; i > 0; --i) {
            const auto position = static_cast<std::size_t>(pick(static_cast<int>(LINE.size()) + 3));
            if (position < LINE.size()) {
                LINE[position] = value(1);
            } else {
                LINE.erase(LINE.size() - 1);
            }
        }
        return LINE;
    }
    int pick(int N) { return std::uniform_int_distribution<int>(0, N - 1)(random_); }

  private:
    static constexpr long long integerEdges[] = {0,    -1,   1,     10000, 10001, 360, 361, 1013,
                                                 2992, 14000, std::numeric_limits<long long>::max(),
                                                 std::numeric_limits<long long>::min()};
    static constexpr double realEdges[] = {0.0,  -0.0, 1e308,    -1e308, 90.0, -180.0, 0.0009, 0.05, 360.0001,
                                           std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()};
    static constexpr const char* words[] = {"F",    "null", "ZZZZ",   "0",      "adsb_icao", "B738", "GLID",
                                            "A3",   "B1",   "TOW 1",  "KLM1",   "@",         "",     "PH-BXA",
                                            "AIRPORT1", "GLIDER", "A380", ".X", "00000"};
    template <typename T, std::size_t N>
    T oneOf(const T (&LIST)[N])
    {
        return LIST[pick(static_cast<int>(N))];
    }
    std::string text()
    {
        std::string out;
        for (int i = pick(20); i > 0; --i) out += static_cast<char>(std::uniform_int_distribution<int>(1, 255)(random_));
        return out;
    }
    std::mt19937 random_;
};

void expectKeptLiveRules(const TrafficLine& L)
{
    EXPECT_GT(L.hexid, 10000u);
    EXPECT_TRUE(!L.icaoType.empty() && L.icaoType.size() <= 4 && L.icaoType != "ZZZZ") << L.icaoType;
    EXPECT_TRUE(L.regcode.size() <= 12 && L.regcode != "null") << L.regcode;
    EXPECT_FALSE(L.regcode.empty() && L.callsign.empty());
    EXPECT_EQ(L.callsign.find('@'), std::string::npos);
    const TrackPoint& p = L.point;
    EXPECT_TRUE(p.lat >= -90 && p.lat <= 90 && p.lon >= -180 && p.lon <= 180 && !gf_isNoPosition(p.lat, p.lon));
    EXPECT_GE(p.altitude, 0);
    EXPECT_EQ(p.airborne, p.altitude > 0);
    EXPECT_TRUE(p.airborne || !p.bank) << "no bank on the ground";
    EXPECT_TRUE(!p.heading || (*p.heading > 0 && *p.heading <= 2 * std::numbers::pi + 1e-12));
    EXPECT_EQ(p.headingValid, p.heading.has_value());
    EXPECT_FALSE(p.stationary);
}

class DecoderFuzz : public FeedTest {
  protected:
    void SetUp() override
    {
        FeedTest::SetUp();
        gf_clearDbase();
        allModels = {"B738", "A388", "C172"};
        largeModels = {"B738"};
        heavyModels = {"A388"};
        dbaseRecords["PH-BXA"] = DbaseRecord{"KLM", "B738", "", false};
        client.collectSeen = true;
        client.view.blockCallsign = "KLM1";
    }
    void TearDown() override
    {
        gf_clearDbase();
        FeedTest::TearDown();
    }
};

TEST_F(DecoderFuzz, LiveDecoderTakesRandomJsonWithoutHarm)
{
    RandomJson random(20240601);
    std::size_t kept = 0;
    for (int round = 0; round < fuzzRounds; ++round) {
        client.lines.clear();
        client.line = random.pick(2) == 0 ? random.value() : random.damaged(goodLiveLine());
        client.qnh = 1013 + random.pick(41) - 20;
        client.view.autoRangeActive = random.pick(2) == 0;
        ASSERT_NO_THROW(processLine(client)) << client.line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
        for (const TrafficLine& line : client.lines) expectKeptLiveRules(line);
        kept += client.lines.size();
    }
    EXPECT_GT(kept, 0u) << "damage to one position often leaves a good line";
    for (const std::uint32_t hexid : client.seenHexids) EXPECT_GT(hexid, 10000u);
}

TEST_F(DecoderFuzz, ParkedDecoderTakesRandomJsonWithoutHarm)
{
    RandomJson random(77);
    const nlohmann::json good = nlohmann::json::array({52.3090, 4.7610, "D4", "B738", "PH-BXA", 1700142300, "KLM1234"});
    std::size_t kept = 0;
    for (int round = 0; round < fuzzRounds; ++round) {
        client.parkedLines.clear();
        client.line = random.pick(2) == 0 ? random.value() : random.damaged(good);
        const std::string key =
            random.pick(3) == 0 ? random.value().dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) : "4840d6";
        ASSERT_NO_THROW(processLine(key, client));
        for (const ParkedLine& line : client.parkedLines) {
            EXPECT_GT(line.hexid, 10000u);
            EXPECT_TRUE(gf_validModel(line.icaoType)) << line.icaoType;
            EXPECT_TRUE(line.halfHour >= 0 && line.halfHour < 48);
            EXPECT_FALSE(gf_isNoPosition(line.lat, line.lon));
            EXPECT_LE(line.callsign.size(), 8u);
        }
        kept += client.parkedLines.size();
    }
    EXPECT_GT(kept, 0u);
}

} // namespace
} // namespace orv::test
