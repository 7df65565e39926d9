// The parked decoder: completion from the registration tables, the type and
// class filters, stands that are taken, and the report's half hour.
#include "feed_test_support.h"
#include "feed/decode_fields.h"
#include "liveries/dbase.h"

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
    static nlohmann::json line(const nlohmann::json& TYPE, const nlohmann::json& REG, const nlohmann::json& CALLSIGN,
                               const nlohmann::json& STAND = "D4")
    {
        return nlohmann::json::array({52.3090, 4.7610, STAND, TYPE, REG, reportAt1345, CALLSIGN});
    }
    std::optional<ParkedLine> decodeParked(const nlohmann::json& LINE, const std::string& KEY = "4840d6")
    {
        client.parkedLines.clear();
        client.line = LINE;
        processLine(KEY, client);
        if (client.parkedLines.empty()) return std::nullopt;
        return client.parkedLines.back();
    }
};

TEST_F(ParkedDecoder, KnownRegistrationCompletesTheLine)
{
    const auto parked = decodeParked(line("B738", "PH-BXA", "KLM1234"));
    ASSERT_TRUE(parked);
    EXPECT_EQ(parked->hexid, 0x4840d6u);
    EXPECT_EQ(parked->airline, "KLM");
    EXPECT_EQ(parked->icaoType, "B738");
    EXPECT_EQ(parked->callsign, "KLM1234");
    EXPECT_EQ(parked->standName, "D4");
    EXPECT_EQ(parked->halfHour, 27);
    EXPECT_DOUBLE_EQ(parked->lat, 52.3090);
}

TEST_F(ParkedDecoder, OperatorTakesThePlaceOfTheAirline)
{
    const auto parked = decodeParked(line("B738", "PH-HZA", "TRA55"));
    ASSERT_TRUE(parked);
    EXPECT_EQ(parked->airline, "TRA");
}

TEST_F(ParkedDecoder, TypeComesFromTheTablesAndFamiliesBecomeVariants)
{
    EXPECT_EQ(decodeParked(line("ZZZZ", "PH-BXA", "KLM1"))->icaoType, "B738");
    EXPECT_EQ(decodeParked(line("0", "G-EUPA", "BAW1"))->icaoType, "A320");
    EXPECT_FALSE(decodeParked(line("ZZZZ", "D-ABCD", "DLH1"))) << "no type at all";
    for (const auto& [family, variant] :
         {std::pair{"A380", "A388"}, {"B767", "B763"}, {"B747", "B744"}, {"B757", "B752"}}) {
        const auto parked = decodeParked(line(family, "", "XYZ1"));
        ASSERT_TRUE(parked) << family;
        EXPECT_EQ(parked->icaoType, variant);
    }
    EXPECT_FALSE(decodeParked(line("XXXX", "", "XYZ1"))) << "a type the aircraft table doesn't know";
}

TEST_F(ParkedDecoder, CallsignsThatAreNoCallsignsAreEmptiedAndReplacedByTheRegistration)
{
    for (const char* odd : {"null", "KL@12", "AB00000C", "KLM123456"}) {
        const auto parked = decodeParked(line("B738", "PH-BXA", odd));
        ASSERT_TRUE(parked) << odd;
        EXPECT_EQ(parked->callsign, "PH-BXA") << odd;
    }
    EXPECT_EQ(decodeParked(line("B738", "", ".KLM12"))->callsign, "KLM12");
    EXPECT_EQ(decodeParked(line("B738", "", "KLM12345"))->callsign, "KLM12345") << "eight characters stay";
}

TEST_F(ParkedDecoder, ACallsignThatIsARegistrationFillsIt)
{
    const auto parked = decodeParked(line("A320", "null", "G-EUPA"));
    ASSERT_TRUE(parked);
    EXPECT_EQ(parked->regcode, "G-EUPA");
    EXPECT_EQ(parked->airline, "BAW");
}

TEST_F(ParkedDecoder, ClassesOutsideTheChosenOnesAreRefused)
{
    for (const auto& [type, flag] : {std::pair{"C172", &DecodeView::lightAircraft},
                                     {"H145", &DecodeView::helicopters},
                                     {"F16", &DecodeView::highPerfAircraft}}) {
        client.view.*flag = false;
        EXPECT_FALSE(decodeParked(line(type, "", "ABC1"))) << type;
        client.view.*flag = true;
        EXPECT_TRUE(decodeParked(line(type, "", "ABC1"))) << type;
    }
}

TEST_F(ParkedDecoder, TakenStandsAndStandsThatAreNoTextAreRefused)
{
    client.view.park.reservedStand = "D4";
    EXPECT_FALSE(decodeParked(line("B738", "PH-BXA", "KLM1")));
    client.view.park.reservedStand = "D6";
    client.view.park.userStand = "D4";
    EXPECT_FALSE(decodeParked(line("B738", "PH-BXA", "KLM1")));
    client.view.park.userStand.clear();
    EXPECT_TRUE(decodeParked(line("B738", "PH-BXA", "KLM1")));
    EXPECT_FALSE(decodeParked(line("B738", "PH-BXA", "KLM1", 12)));
    EXPECT_FALSE(decodeParked(line("B738", "PH-BXA", "KLM1", nullptr)));
    EXPECT_TRUE(decodeParked(line("B738", "PH-BXA", "KLM1", "")))
        << "no stand is reserved, so an empty name is none of them";
}

TEST_F(ParkedDecoder, KeyPositionAndTime)
{
    EXPECT_FALSE(decodeParked(line("B738", "PH-BXA", "KLM1"), "2710"));
    EXPECT_FALSE(decodeParked(line("B738", "PH-BXA", "KLM1"), "parked-1"));
    EXPECT_TRUE(decodeParked(line("B738", "PH-BXA", "KLM1"), "2711"));
    nlohmann::json bad = line("B738", "PH-BXA", "KLM1");
    bad[0] = 0.0;
    bad[1] = 0.0;
    EXPECT_FALSE(decodeParked(bad));
    bad = line("B738", "PH-BXA", "KLM1");
    bad[5] = reportAt1345 - 16 * 60; // 13:29
    EXPECT_EQ(decodeParked(bad)->halfHour, 26);
    bad[5] = "later";
    EXPECT_EQ(decodeParked(bad)->halfHour, 0);
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
