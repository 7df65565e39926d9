// Livery matching: the steps one by one with a seeded random source, the
// depth limits, the draw that keeps special and refused titles away, and the
// tables of similar models.
#include "liveries/catalogue.h"
#include "liveries/matching.h"
#include "liveries/regcodes.h"
#include "tests/liveries/dbase_fixture.h"
#include "tests/liveries/matching_fixture.h"

#include "core/parameters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace orv {
namespace {

using test::TestLivery;

/// Seeds tried where a property must hold whatever the draw.
constexpr std::uint32_t seedCount = 200;

const std::vector<TestLivery>& lf_liveries()
{
    static const std::vector<TestLivery> liveries{
        {"KLM", "B738", "KLM 738 a", ""},
        {"KLM", "B738", "KLM 738 b", ""},
        {"KLM", "B738", "KLM 738 PH-BXA", "PH-BXA"},
        {"KLM", "B738", "KLM 738 special", ""},
        {"KLM", "E190", "KLM E190", ""},
        {"KLC", "E190", "KLC E190", ""},
        {"DLH", "B77W", "DLH 77W", ""},
        {"GEC", "B77L", "GEC 77L cargo", "", true},
        {"ZZZ", "A359", "Generic A359", ""},
        {"AFR", "A359", "AFR A359", ""},
        {"BAW", "A320", "BAW 320 special", ""},
        {"BAW", "A321", "BAW 321", ""},
        {"ZZZ", "A320", "Generic A320", ""},
        {"ZZZ", "C172", "ZZZ C172 white", ""},
        {"PVT", "C172", "PVT C172 red", ""},
        {"AFR", "SR22", "AFR SR22", ""},
        {"DLH", "SR22", "DLH SR22 cargo", "", true},
        {"ZZZ", "EC35", "ZZZ EC35 rescue", ""},
        {"ZZZ", "C25C", "ZZZ C25C", ""},
    };
    return liveries;
}

class Matching : public ::testing::Test {
protected:
    test::TempDir temp;
    test::LogCapture log;

    void SetUp() override
    {
        gf_resetParameters();
        test::gf_loadMatchingReference();
        test::gf_buildMatchingTables(lf_liveries());
        lf_applyRegcodeEntries({{"KLM 738 special", {"PH-BXS"}, true}, {"BAW 320 special", {"G-EUYS"}, true}});
        gf_seedMatching(1);
    }
    void TearDown() override
    {
        test::gf_clearMatchingState();
        gf_clearDbase();
    }

    /// The step and title of one match.
    static std::pair<int, std::string> match(std::string_view AIRLINE, std::string_view MODEL, int DEPTH,
                                             std::string_view REGCODE = "", bool CARGO = false, bool STATIC = false)
    {
        LiveryQuery query;
        query.airline = AIRLINE;
        query.icaoType = MODEL;
        query.regcode = REGCODE;
        query.category = gf_modelCategory(std::string(MODEL));
        query.cargo = CARGO;
        const int step = gf_matchSteps(query, DEPTH, STATIC);
        return {step, std::string(query.livery)};
    }

    /// Every title a match gives over many seeds.
    static std::set<std::string> titlesOverSeeds(std::string_view AIRLINE, std::string_view MODEL, int DEPTH,
                                                 bool CARGO = false)
    {
        std::set<std::string> seen;
        for (std::uint32_t seed = 1; seed <= seedCount; ++seed) {
            gf_seedMatching(seed);
            seen.insert(match(AIRLINE, MODEL, DEPTH, "", CARGO).second);
        }
        return seen;
    }
};

TEST_F(Matching, TheAirframesOwnLiveryWinsOverAirlineAndModel)
{
    // Another airline and another model: the registration decides alone.
    EXPECT_EQ(match("DLH", "A320", 4, "PHBXA"), std::make_pair(1, std::string("KLM 738 PH-BXA")));
    EXPECT_EQ(match("KLM", "B738", 1, "PH-BXA"), std::make_pair(1, std::string("KLM 738 PH-BXA")));
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

TEST_F(Matching, DepthOneMatchesRegistrationsOnly)
{
    EXPECT_EQ(match("KLM", "B738", 1).first, 0);
    EXPECT_EQ(match("PVT", "C172", 1).first, 0);
    EXPECT_EQ(match("KLM", "B738", 1, "PH-BXA").first, 1);
}

TEST_F(Matching, DepthTwoGivesTheAirlinesModelAndZzzToPrivateOwners)
{
    EXPECT_EQ(titlesOverSeeds("KLM", "B738", 2), (std::set<std::string>{"KLM 738 a", "KLM 738 b", "KLM 738 PH-BXA"}));
    EXPECT_EQ(match("KLM", "B738", 2).first, 2);
    EXPECT_EQ(match("PVT", "C172", 2), std::make_pair(4, std::string("ZZZ C172 white")));
    // No similar model at depth 2.
    EXPECT_EQ(match("KLM", "B739", 2).first, 0);
}

TEST_F(Matching, DepthThreeTakesASimilarModelOfTheAirline)
{
    const auto [step, title] = match("KLM", "B739", 3);
    EXPECT_EQ(step, 3);
    EXPECT_EQ(titleIndex.at(title).model, "B738");
    EXPECT_EQ(match("BAW", "A319", 3), std::make_pair(3, std::string("BAW 321")));
}

TEST_F(Matching, AHeavyNeverGetsAnotherAirlinesPaint)
{
    // At depth 3 no paint without airline; at depth 4 that one, and no more.
    EXPECT_EQ(match("KLM", "A359", 3).first, 0);
    EXPECT_EQ(match("KLM", "A359", 4), std::make_pair(4, std::string("Generic A359")));
    EXPECT_EQ(match("KLM", "B77W", 4).first, 0) << "DLH has a B77W, KLM must not get it";
}

TEST_F(Matching, LightModelsFallThroughToAnyAirlineAndSimilarModels)
{
    // SR22: no paint of EZY, none without airline: any airline's passenger paint.
    EXPECT_EQ(match("EZY", "SR22", 3), std::make_pair(5, std::string("AFR SR22")));
    // C152: no paint at all; its similar C172 has.
    const auto [step, title] = match("EZY", "C152", 3);
    EXPECT_EQ(step, 6);
    EXPECT_EQ(titleIndex.at(title).model, "C172");
}

TEST_F(Matching, ALightModelWithoutGroupDrawsAModelOfItsCategory)
{
    std::set<std::string> models;
    for (std::uint32_t seed = 1; seed <= seedCount; ++seed) {
        gf_seedMatching(seed);
        const auto [step, title] = match("EZY", "DA40", 4);
        ASSERT_EQ(step, 6);
        models.insert(std::string(titleIndex.at(title).model));
    }
    EXPECT_EQ(models, (std::set<std::string>{"C172", "SR22"}));
}

TEST_F(Matching, OtherSmallCategoriesDrawFromTheirOwnLists)
{
    EXPECT_EQ(match("EZY", "CL60", 4), std::make_pair(6, std::string("ZZZ C25C")));
    EXPECT_EQ(match("EZY", "R44", 4), std::make_pair(6, std::string("ZZZ EC35 rescue")));
}

TEST_F(Matching, AFreighterTakesAPassengerPaintOfItsAirline)
{
    EXPECT_EQ(match("DLH", "B77W", 2, "", true), std::make_pair(2, std::string("DLH 77W")));
    EXPECT_EQ(match("GEC", "B77L", 2, "", true), std::make_pair(2, std::string("GEC 77L cargo")));
    // A passenger aircraft never takes a cargo paint.
    EXPECT_EQ(match("GEC", "B77L", 4).first, 0);
}

TEST_F(Matching, GenericStepsKeepPassengersAndCargoApart)
{
    EXPECT_EQ(titlesOverSeeds("EZY", "SR22", 4), (std::set<std::string>{"AFR SR22"}));
    EXPECT_EQ(titlesOverSeeds("EZY", "SR22", 4, true), (std::set<std::string>{"DLH SR22 cargo"}));
}

TEST_F(Matching, SpecialTitlesAreNeverDrawnWhileOthersExist)
{
    for (std::uint32_t seed = 1; seed <= seedCount; ++seed) {
        gf_seedMatching(seed);
        EXPECT_NE(match("KLM", "B738", 2).second, "KLM 738 special") << "seed " << seed;
    }
    // Its own registration still finds it.
    EXPECT_EQ(match("KLM", "B738", 2, "PH-BXS").second, "KLM 738 special");
}

TEST_F(Matching, AVectorOfOnlySpecialTitlesGivesNothingAndTheStepsGoOn)
{
    // BAW's only A320 is special: no step 2. BAW has the model, so no similar
    // model stands in for it at step 3; the paint without airline at step 4.
    EXPECT_EQ(match("BAW", "A320", 2).first, 0);
    EXPECT_EQ(match("BAW", "A320", 3).first, 0);
    EXPECT_EQ(match("BAW", "A320", 4), std::make_pair(4, std::string("Generic A320")));
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

TEST_F(Matching, AnOperatorsAirframeFallsBackOnTheOwnersPaint)
{
    // PH-EZA: KLM's airframe, flown by KLC; KLC's paint first, then KLM's.
    EXPECT_EQ(match("KLC", "E190", 2, "PH-EZA"), std::make_pair(2, std::string("KLC E190")));
    EXPECT_EQ(match("TRA", "E190", 2, "PH-EZA"), std::make_pair(2, std::string("KLM E190")));
    // Without an airline a live aircraft skips these tries; a static one does not.
    EXPECT_EQ(match("", "E190", 3, "PH-EZA").first, 0);
    EXPECT_EQ(match("", "E190", 3, "PH-EZA", false, true), std::make_pair(2, std::string("KLM E190")));
}

TEST_F(Matching, ASeedFixesTheSequenceOfDraws)
{
    const auto sequence = [] {
        gf_seedMatching(42);
        std::vector<std::string> titles;
        for (int i = 0; i < 20; ++i) titles.push_back(match("KLM", "B738", 2).second);
        return titles;
    };
    const auto first = sequence();
    EXPECT_EQ(first, sequence());
    EXPECT_GT(std::set<std::string>(first.begin(), first.end()).size(), 1U) << "the draws vary";
}

TEST_F(Matching, SimilarTablesHoldOnlyModelsWithLiveries)
{
    ASSERT_TRUE(similarAvailable.contains("B739"));
    EXPECT_EQ(similarAvailable.at("B739"), (std::vector<std::string>{"B738"}));
    EXPECT_FALSE(similarAvailable.contains("B777")) << "no group";
    // KLM has B738 itself: only models it lacks have an entry.
    EXPECT_FALSE(similarByAirline["KLM"].contains("B738"));
    EXPECT_EQ(similarByAirline["KLM"]["B739"], (std::vector<std::string>{"B738"}));
    EXPECT_FALSE(similarByAirline.contains("ZZZ") && similarByAirline["ZZZ"].contains("C172"));
}

TEST_F(Matching, SimilarOrderIsShuffledWithTheSameMembers)
{
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

TEST(MatchingTables, AModelOfTwoGroupsTakesTheFirstTextInSortOrder)
{
    test::TempDir temp;
    test::LogCapture log;
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
    test::gf_clearMatchingState();
}

TEST(MatchingTables, ClearingTheCatalogueEmptiesEveryViewIntoIt)
{
    test::TempDir temp;
    test::LogCapture log;
    test::gf_loadMatchingReference();
    test::gf_buildMatchingTables(lf_liveries());
    lf_applyRegcodeEntries({{"KLM 738 special", {"PH-BXS"}, true}});
    gf_addFailedTitle("KLM 738 a");
    liveryOfHexid[0x4840D6] = "KLM 738 b";
    ASSERT_FALSE(titleIndex.empty());
    gf_clearCatalogue();
    EXPECT_TRUE(titleIndex.empty());
    EXPECT_TRUE(specialIndex.empty());
    EXPECT_TRUE(similarAvailable.empty());
    EXPECT_TRUE(similarByAirline.empty());
    EXPECT_FALSE(gf_isSpecialTitle("KLM 738 special"));
    // Refusals and earlier titles own their text and outlive the catalogue.
    EXPECT_TRUE(gf_isFailedTitle("KLM 738 a"));
    EXPECT_EQ(liveryOfHexid.at(0x4840D6), "KLM 738 b");
    test::gf_clearMatchingState();
    gf_clearDbase();
}

} // namespace
} // namespace orv
