// The parked decoder: a table of lines and what each gives (completion from
// the registration tables, the type and class filters, the callsign rules,
// the report's half hour), and the stands that are taken.
#include "feed/decode_fields.h"
#include "feed_fixture.h"

namespace orv::test {
namespace {

constexpr double reportAt1345 = 1700142300; // Thu 16 Nov 2023 13:45:00 UTC

class ParkedDecoder : public FeedTest {
  protected:
    void SetUp() override
    {
        FeedTest::SetUp();
        gf_clearDbase();
        allModels = {"B738", "A320", "A388", "B763", "B744", "B752", "C172", "H145", "F16"};
        largeModels = {"B738", "A320", "B752"};
        heavyModels = {"A388", "B763", "B744"};
        rotorcraftModels = {"H145"};
        highPerfModels = {"F16"};
        dbaseRecords["PH-BXA"] = DbaseRecord{"KLM", "B738", "", false};
        dbaseRecords["PH-HZA"] = DbaseRecord{"KLM", "B738", "TRA", false};
        dbaseRecords["G-EUPA"] = DbaseRecord{"BAW", "A320", "", false};
    }
    void TearDown() override
    {
        gf_clearDbase();
        FeedTest::TearDown();
    }
    /// "refused", or "hexid airline type callsign regcode stand half-hour".
    std::string decodeParked(const nlohmann::json& TYPE, const nlohmann::json& REG, const nlohmann::json& CALLSIGN,
                             const nlohmann::json& STAND = "D4", const std::string& KEY = "4840d6",
                             const nlohmann::json& TIME = reportAt1345)
    {
        client.parkedLines.clear();
        client.line = nlohmann::json::array({52.3090, 4.7610, STAND, TYPE, REG, TIME, CALLSIGN});
        processLine(KEY, client);
        if (client.parkedLines.empty()) return "refused";
        const ParkedLine& p = client.parkedLines.back();
        EXPECT_TRUE(p.lat == 52.3090 && p.lon == 4.7610);
        return fmt::format("{:x} {} {} {} {} {} {}", p.hexid, p.airline, p.icaoType, p.callsign, p.regcode, p.standName,
                           p.halfHour);
    }
};

TEST_F(ParkedDecoder, LinesAreCompletedOrRefused)
{
    // A known registration completes the line; an operator takes the airline's place.
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1234"), "4840d6 KLM B738 KLM1234 PH-BXA D4 27");
    EXPECT_EQ(decodeParked("B738", "PH-HZA", "TRA55"), "4840d6 TRA B738 TRA55 PH-HZA D4 27");
    // The type comes from the tables; families become variants; no type at all or an unknown one refuses.
    EXPECT_EQ(decodeParked("ZZZZ", "PH-BXA", "KLM1"), "4840d6 KLM B738 KLM1 PH-BXA D4 27");
    EXPECT_EQ(decodeParked("0", "G-EUPA", "BAW1"), "4840d6 BAW A320 BAW1 G-EUPA D4 27");
    EXPECT_EQ(decodeParked("ZZZZ", "D-ABCD", "DLH1"), "refused");
    EXPECT_EQ(decodeParked("XXXX", "", "XYZ1"), "refused");
    for (const auto& [family, variant] : {std::pair{"A380", "A388"}, {"B767", "B763"}, {"B747", "B744"}, {"B757", "B752"}})
        EXPECT_EQ(decodeParked(family, "", "XYZ1"), fmt::format("4840d6  {} XYZ1  D4 27", variant));
    // Callsigns that are no callsigns are emptied, and the registration stands in.
    for (const char* odd : {"null", "KL@12", "AB00000C", "KLM123456"})
        EXPECT_EQ(decodeParked("B738", "PH-BXA", odd), "4840d6 KLM B738 PH-BXA PH-BXA D4 27") << odd;
    EXPECT_EQ(decodeParked("B738", "", ".KLM12"), "4840d6  B738 KLM12  D4 27");
    EXPECT_EQ(decodeParked("B738", "", "KLM12345"), "4840d6  B738 KLM12345  D4 27") << "eight characters stay";
    // A callsign that is a registration fills it.
    EXPECT_EQ(decodeParked("A320", "null", "G-EUPA"), "4840d6 BAW A320 G-EUPA G-EUPA D4 27");
    // Stands that are no text; keys that are no addresses above 10000; no position.
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", 12), "refused");
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", nullptr), "refused");
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", "D4", "2710"), "refused");
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", "D4", "parked-1"), "refused");
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", "D4", "2711"), "2711 KLM B738 KLM1 PH-BXA D4 27");
    client.parkedLines.clear();
    client.line = nlohmann::json::array({0.0, 0.0, "D4", "B738", "PH-BXA", reportAt1345, "KLM1"});
    processLine("4840d6", client);
    EXPECT_TRUE(client.parkedLines.empty());
    // The half hour of the report: 13:29 is the 26th; a time that is no number reads as midnight.
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", "D4", "4840d6", reportAt1345 - 16 * 60), "4840d6 KLM B738 KLM1 PH-BXA D4 26");
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1", "D4", "4840d6", "later"), "4840d6 KLM B738 KLM1 PH-BXA D4 0");
}

TEST_F(ParkedDecoder, ClassesOutsideTheChosenOnesAndTakenStandsAreRefused)
{
    for (const auto& [type, flag] : {std::pair{"C172", &DecodeView::lightAircraft}, {"H145", &DecodeView::helicopters},
                                     {"F16", &DecodeView::highPerfAircraft}}) {
        client.view.*flag = false;
        EXPECT_EQ(decodeParked(type, "", "ABC1"), "refused") << type;
        client.view.*flag = true;
        EXPECT_NE(decodeParked(type, "", "ABC1"), "refused") << type;
    }
    client.view.park.reservedStand = "D4";
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1"), "refused");
    client.view.park.reservedStand = "D6";
    client.view.park.userStand = "D4";
    EXPECT_EQ(decodeParked("B738", "PH-BXA", "KLM1"), "refused");
    client.view.park.userStand.clear();
    EXPECT_NE(decodeParked("B738", "PH-BXA", "KLM1"), "refused");
    EXPECT_NE(decodeParked("B738", "PH-BXA", "KLM1", ""), "refused") << "no stand is reserved, so an empty name is none of them";
}

TEST(HalfHourOfDay, EdgesOfTheHalfHoursAndTheDay)
{
    const struct {
        std::int64_t unixSeconds;
        std::int32_t halfHour;
    } cases[] = {
        {0, 0},
        {1799, 0},
        {1800, 1},
        {86399, 47},
        {86400, 0},
        {1700142300, 27},             // 13:45
        {1700142300 - 16 * 60, 26},   // 13:29
        {951782400 + 86399, 47},      // 29 Feb 2000 23:59:59
        {4102444800 + 45 * 1800, 45}, // 1 Jan 2100 22:30, past 32-bit seconds
        {-1, 47},                     // 31 Dec 1969 23:59:59
        {-1800, 47},
        {-1801, 46},
    };
    for (const auto& c : cases) EXPECT_EQ(gf_halfHourOfDay(c.unixSeconds), c.halfHour) << c.unixSeconds;
}

} // namespace
} // namespace orv::test
