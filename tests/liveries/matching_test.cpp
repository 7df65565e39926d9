// Livery matching: a table of aircraft and the step and livery each one gets
// with a seeded random source, the depth limits, the draw that keeps special
// and refused titles away, and the tables of similar models.
#include "liveries/catalogue.h"
#include "liveries/matching.h"
#include "liveries/regcodes.h"
#include "tests/liveries/dbase_fixture.h"
#include "tests/liveries/matching_fixture.h"

#include "core/parameters.h"

#include <algorithm>
#include <set>

namespace orv {
namespace {

using test::TestLivery;

/// Seeds tried where a property must hold whatever the draw.
constexpr std::uint32_t seedCount = 200;

const std::vector<TestLivery> liveries{
    {"KLM", "B738", "KLM 738 a", ""},         {"KLM", "B738", "KLM 738 b", ""},       {"KLM", "B738", "KLM 738 PH-BXA", "PH-BXA"},
    {"KLM", "B738", "KLM 738 special", ""},   {"KLM", "E190", "KLM E190", ""},        {"KLC", "E190", "KLC E190", ""},
    {"DLH", "B77W", "DLH 77W", ""},           {"GEC", "B77L", "GEC 77L cargo", "", true}, {"ZZZ", "A359", "Generic A359", ""},
    {"AFR", "A359", "AFR A359", ""},          {"BAW", "A320", "BAW 320 special", ""}, {"BAW", "A321", "BAW 321", ""},
    {"ZZZ", "A320", "Generic A320", ""},      {"ZZZ", "C172", "ZZZ C172 white", ""},  {"PVT", "C172", "PVT C172 red", ""},
    {"AFR", "SR22", "AFR SR22", ""},          {"DLH", "SR22", "DLH SR22 cargo", "", true}, {"ZZZ", "EC35", "ZZZ EC35 rescue", ""},
    {"ZZZ", "C25C", "ZZZ C25C", ""},
};

/// One aircraft to match; OUTCOME is "step title", "step ~model" where the
/// title is a draw and only its model is sure, or "0" for no match.
struct MatchCase {
    const char* airline;
    const char* model;
    int depth;
    const char* regcode;
    const char* outcome;
    bool cargo = false;
    bool isStatic = false;
};

const MatchCase matchCases[] = {
    // The airframe's own livery wins over airline and model; depth 1 matches registrations only.
    {"DLH", "A320", 4, "PHBXA", "1 KLM 738 PH-BXA"}, {"KLM", "B738", 1, "PH-BXA", "1 KLM 738 PH-BXA"},
    {"KLM", "B738", 2, "PH-BXS", "1 KLM 738 special"}, {"KLM", "B738", 1, "", "0"}, {"PVT", "C172", 1, "", "0"},
    // Depth 2: the airline's model, and ZZZ for private owners; no similar model.
    {"KLM", "B738", 2, "", "2 ~B738"}, {"PVT", "C172", 2, "", "4 ZZZ C172 white"}, {"KLM", "B739", 2, "", "0"},
    // Depth 3: a similar model of the airline.
    {"KLM", "B739", 3, "", "3 ~B738"}, {"BAW", "A319", 3, "", "3 BAW 321"},
    // A heavy never gets another airline's paint: at depth 4 the one without airline, no more.
    {"KLM", "A359", 3, "", "0"}, {"KLM", "A359", 4, "", "4 Generic A359"}, {"KLM", "B77W", 4, "", "0"},
    // Light models fall through to any airline's paint and to similar models; other small
    // categories draw from their own lists.
    {"EZY", "SR22", 3, "", "5 AFR SR22"}, {"EZY", "C152", 3, "", "6 ~C172"}, {"EZY", "CL60", 4, "", "6 ZZZ C25C"},
    {"EZY", "R44", 4, "", "6 ZZZ EC35 rescue"},
    // A freighter takes a passenger paint of its airline; a passenger aircraft never a cargo paint.
    {"DLH", "B77W", 2, "", "2 DLH 77W", true}, {"GEC", "B77L", 2, "", "2 GEC 77L cargo", true},
    {"GEC", "B77L", 4, "", "0"},
    // BAW's only A320 is special: no step 2, and as BAW has the model no similar one stands in.
    {"BAW", "A320", 2, "", "0"}, {"BAW", "A320", 3, "", "0"}, {"BAW", "A320", 4, "", "4 Generic A320"},
    // PH-EZA: KLM's airframe flown by KLC; KLC's paint first, then KLM's. Without an
    // airline a live aircraft skips these tries, a static one does not.
    {"KLC", "E190", 2, "PH-EZA", "2 KLC E190"}, {"TRA", "E190", 2, "PH-EZA", "2 KLM E190"},
    {"", "E190", 3, "PH-EZA", "0"}, {"", "E190", 3, "PH-EZA", "2 KLM E190", false, true},
};

class Matching : public test::LiveriesTest {
protected:
    void SetUp() override
    {
        LiveriesTest::SetUp();
        test::gf_loadMatchingReference();
        test::gf_buildMatchingTables(liveries);
        lf_applyRegcodeEntries({{"KLM 738 special", {"PH-BXS"}, true}, {"BAW 320 special", {"G-EUYS"}, true}});
        gf_seedMatching(1);
    }
    void reset() override { test::gf_clearMatchingState(); }

    /// The step and title of one match.
    static std::pair<int, std::string> match(std::string_view AIRLINE, std::string_view MODEL, int DEPTH,
                                             std::string_view REGCODE = "", bool CARGO = false, bool STATIC = false)
    {
        LiveryQuery query{AIRLINE, MODEL, REGCODE, gf_modelCategory(std::string(MODEL)), CARGO, {}};
        const int step = gf_matchSteps(query, DEPTH, STATIC);
        return {step, std::string(query.livery)};
    }
    /// Every title a match gives over many seeds.
    static std::set<std::string> titlesOverSeeds(std::string_view AIRLINE, std::string_view MODEL, int DEPTH, bool CARGO = false)
    {
        std::set<std::string> seen;
        for (std::uint32_t seed = 1; seed <= seedCount; ++seed) {
            gf_seedMatching(seed);
            seen.insert(match(AIRLINE, MODEL, DEPTH, "", CARGO).second);
        }
        return seen;
    }
};

TEST_F(Matching, EachAircraftGetsItsStepAndLivery)
{
    for (const auto& c : matchCases) {
        const auto [step, title] = match(c.airline, c.model, c.depth, c.regcode, c.cargo, c.isStatic);
        std::string got = std::to_string(step);
        if (step != 0)
            got += std::string(c.outcome).find('~') == std::string::npos ? " " + title : " ~" + std::string(titleIndex.at(title).model);
        EXPECT_EQ(got, c.outcome) << c.airline << " " << c.model << " depth " << c.depth << " " << c.regcode;
    }
}

TEST_F(Matching, RegistrationFormsAreTriedBestFirst)
{
    regcodeTitles.clear();
    const std::string_view a = titleIndex.find("KLM 738 a")->first, b = titleIndex.find("KLM 738 b")->first;
    regcodeTitles.emplace("P-HBXA", b);
    regcodeTitles.emplace("PHBXA", a);
    // "PHBXA" tries PH-BXA, then P-HBXA, then itself.
    EXPECT_EQ(match("", "B738", 1, "PHBXA").second, "KLM 738 b");
    regcodeTitles.emplace("PH-BXA", a);
    EXPECT_EQ(match("", "B738", 1, "PHBXA").second, "KLM 738 a");
    // A registration with its dash looks up only itself.
    regcodeTitles.erase("PH-BXA");
    EXPECT_EQ(match("", "B738", 1, "PH-BXA").first, 0);
}

TEST_F(Matching, DrawsOverSeedsKeepTheirBounds)
{
    EXPECT_EQ(titlesOverSeeds("KLM", "B738", 2), (std::set<std::string>{"KLM 738 a", "KLM 738 b", "KLM 738 PH-BXA"}))
        << "never the special title while others exist";
    EXPECT_EQ(titlesOverSeeds("EZY", "SR22", 4), (std::set<std::string>{"AFR SR22"})) << "passengers and cargo apart";
    EXPECT_EQ(titlesOverSeeds("EZY", "SR22", 4, true), (std::set<std::string>{"DLH SR22 cargo"}));
    // A light model without group draws a model of its category.
    std::set<std::string> models;
    for (std::uint32_t seed = 1; seed <= seedCount; ++seed) {
        gf_seedMatching(seed);
        const auto [step, title] = match("EZY", "DA40", 4);
        ASSERT_EQ(step, 6);
        models.insert(std::string(titleIndex.at(title).model));
    }
    EXPECT_EQ(models, (std::set<std::string>{"C172", "SR22"}));
    // A seed fixes the sequence of draws, and the draws vary.
    const auto sequence = [] {
        gf_seedMatching(42);
        std::vector<std::string> titles;
        for (int i = 0; i < 20; ++i) titles.push_back(match("KLM", "B738", 2).second);
        return titles;
    };
    const auto first = sequence();
    EXPECT_EQ(first, sequence());
    EXPECT_GT(std::set<std::string>(first.begin(), first.end()).size(), 1U);
}

TEST_F(Matching, ARefusedTitleIsNeitherDrawnNorGiven)
{
    gf_addFailedTitle("KLM 738 a");
    EXPECT_EQ(titlesOverSeeds("KLM", "B738", 2), (std::set<std::string>{"KLM 738 b", "KLM 738 PH-BXA"}));
    // A registration's refused livery is no match, and the steps stop there.
    gf_addFailedTitle("KLM 738 PH-BXA");
    EXPECT_EQ(match("KLM", "B738", 4, "PH-BXA").first, 0);
    // With every paint of the model refused, the similar or generic steps answer.
    gf_addFailedTitle("KLM 738 b");
    EXPECT_EQ(match("KLM", "B738", 3).first, 0);
    EXPECT_EQ(gf_addFailedTitle("KLM 738 b"), 3U) << "a title is refused once";
}

TEST_F(Matching, SimilarTablesHoldOnlyModelsWithLiveriesInAShuffledOrder)
{
    EXPECT_EQ(similarAvailable.at("B739"), (std::vector<std::string>{"B738"}));
    EXPECT_FALSE(similarAvailable.contains("B777")) << "no group";
    // KLM has B738 itself: only models it lacks have an entry.
    EXPECT_FALSE(similarByAirline["KLM"].contains("B738"));
    EXPECT_EQ(similarByAirline["KLM"]["B739"], (std::vector<std::string>{"B738"}));
    EXPECT_FALSE(similarByAirline.contains("ZZZ") && similarByAirline["ZZZ"].contains("C172"));
    similarByAirline["KLM"]["B739"] = {"B736", "B737", "B738", "B38M"};
    std::set<std::vector<std::string>> orders;
    for (std::uint32_t seed = 1; seed <= 50; ++seed) {
        gf_seedMatching(seed);
        auto order = gf_similarOfAirline("KLM", "B739");
        orders.insert(order);
        std::sort(order.begin(), order.end());
        EXPECT_EQ(order, (std::vector<std::string>{"B38M", "B736", "B737", "B738"}));
    }
    EXPECT_GT(orders.size(), 1U);
    EXPECT_TRUE(gf_similarOfAirline("KLM", "XXXX").empty());
}

TEST_F(Matching, ClearingTheCatalogueEmptiesEveryViewIntoIt)
{
    gf_addFailedTitle("KLM 738 a");
    liveryOfHexid[0x4840D6] = "KLM 738 b";
    gf_clearCatalogue();
    EXPECT_TRUE(titleIndex.empty() && specialIndex.empty() && similarAvailable.empty() && similarByAirline.empty());
    EXPECT_FALSE(gf_isSpecialTitle("KLM 738 special"));
    // Refusals and earlier titles own their text and outlive the catalogue.
    EXPECT_TRUE(gf_isFailedTitle("KLM 738 a"));
    EXPECT_EQ(liveryOfHexid.at(0x4840D6), "KLM 738 b");
}

TEST_F(Matching, AModelOfTwoGroupsTakesTheFirstTextInSortOrder)
{
    gf_clearDbase();
    similarGroups = {{"AAA1", "MMM1"}, {"MMM1", "ZZZ1"}};
    test::gf_buildMatchingTables({{"KLM", "AAA1", "a", ""}, {"KLM", "MMM1", "m", ""}, {"DLH", "ZZZ1", "z", ""}});
    // Texts: "AAA1,MMM1", "MMM1,AAA1", "MMM1,ZZZ1", "ZZZ1,MMM1".
    EXPECT_EQ(similarAvailable.at("MMM1"), (std::vector<std::string>{"AAA1"}));
    EXPECT_EQ(similarAvailable.at("ZZZ1"), (std::vector<std::string>{"MMM1"}));
    EXPECT_TRUE(log.contains("3 similar model definitions"));
    // DLH lacks AAA1 and MMM1, and has none of the models that stand for them.
    EXPECT_FALSE(similarByAirline.contains("DLH"));
    EXPECT_EQ(similarByAirline["KLM"]["ZZZ1"], (std::vector<std::string>{"MMM1"}));
}

} // namespace
} // namespace orv
