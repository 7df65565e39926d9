// The keyed substitution: unscrambling undoes our scrambling for every code
// the reference data can hold, and the routines keep to their layouts.
#include "liveries/scramble.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

namespace orv {
namespace {

std::string randomCode(std::mt19937& RANDOM, std::size_t LENGTH, bool WITH_PLUS)
{
    std::uniform_int_distribution<int> pick('-', WITH_PLUS ? 'Z' + 1 : 'Z');
    std::string code;
    for (std::size_t i = 0; i < LENGTH; ++i) {
        const int c = pick(RANDOM);
        code += c > 'Z' ? '+' : static_cast<char>(c);
    }
    return code;
}

TEST(Scramble, FoldKeepsValuesInsideTheCodeRange)
{
    EXPECT_EQ(gf_scrambleFold('A'), 'A');
    EXPECT_EQ(gf_scrambleFold(44), 44 + 46);
    EXPECT_EQ(gf_scrambleFold(91), 91 - 46);
    EXPECT_EQ(gf_scrambleFold(45), 45);
    EXPECT_EQ(gf_scrambleFold(90), 90);
}

TEST(Scramble, ModelCodesOfEveryLengthComeBack)
{
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        const auto code = randomCode(random, 2 + static_cast<std::size_t>(round % 3), false);
        const auto stored = gf_encryptModel(code);
        ASSERT_EQ(gf_decryptModel(stored), code) << "stored as " << stored;
    }
}

TEST(Scramble, ModelLayoutIsChosenByTheStoredLength)
{
    EXPECT_EQ(gf_encryptModel("B738").size(), 4u);
    EXPECT_EQ(gf_encryptModel("A5Z").size(), 3u);
    // Two-letter codes are stored in a length that is neither 3 nor 4.
    const auto two = gf_encryptModel("A5");
    EXPECT_NE(two.size(), 3u);
    EXPECT_NE(two.size(), 4u);
    EXPECT_EQ(gf_decryptModel("AAA").size(), 3u);
    EXPECT_EQ(gf_decryptModel("AAAA").size(), 4u);
    EXPECT_EQ(gf_decryptModel("AAAAAAAA").size(), 2u);
}

TEST(Scramble, EmptyTextStaysEmpty)
{
    EXPECT_EQ(gf_decryptModel(""), "");
    EXPECT_EQ(gf_decryptAirl(""), "");
    EXPECT_EQ(gf_decryptRegcode(""), "");
}

TEST(Scramble, AirlineCodesComeBackAndFillersDoNotMatter)
{
    std::mt19937 random(11);
    for (int round = 0; round < 2000; ++round) {
        const auto code = randomCode(random, 3, false);
        auto stored = gf_encryptAirl(code);
        ASSERT_EQ(stored.size(), 6u);
        ASSERT_EQ(gf_decryptAirl(stored), code);
    }
    // Only three of the six stored places carry the code: changing every
    // place in turn changes the result exactly three times.
    const auto stored = gf_encryptAirl("KLM");
    int carrying = 0;
    for (std::size_t at = 0; at < stored.size(); ++at) {
        auto changed = stored;
        changed[at] = changed[at] == 'A' ? 'B' : 'A';
        carrying += gf_decryptAirl(changed) != "KLM" ? 1 : 0;
    }
    EXPECT_EQ(carrying, 3);
}

TEST(Scramble, UnscrambledAirlineIsTakenAsItStands)
{
    EXPECT_EQ(gf_decryptAirl("KLM"), "KLM");
}

TEST(Scramble, AirlineOfAnotherLengthThrows)
{
    for (const char* text : {"K", "KL", "KLMX", "KLMXY", "KLMXYZW"}) {
        try {
            gf_decryptAirl(text);
            ADD_FAILURE() << text << " was accepted";
        } catch (const std::runtime_error& e) {
            EXPECT_EQ(std::string(e.what()), std::string("decrypt airl \"") + text + "\" error");
        }
    }
}

TEST(Scramble, RegistrationsComeBackWithPlusSignsKept)
{
    std::mt19937 random(13);
    for (int round = 0; round < 3000; ++round) {
        const auto code = randomCode(random, static_cast<std::size_t>(round % 25), true);
        const auto stored = gf_encryptRegcode(code);
        ASSERT_EQ(stored.size(), code.size());
        for (std::size_t i = 0; i < code.size(); ++i) {
            if (code[i] == '+') {
                ASSERT_EQ(stored[i], '+');
            }
        }
        ASSERT_EQ(gf_decryptRegcode(stored), code);
    }
}

TEST(Scramble, RegistrationLongerThanTheKeyIsOutOfRange)
{
    EXPECT_NO_THROW(gf_decryptRegcode(std::string(24, 'A')));
    EXPECT_THROW(gf_decryptRegcode(std::string(25, 'A')), std::out_of_range);
    EXPECT_THROW(gf_encryptRegcode(std::string(25, 'A')), std::invalid_argument);
}

TEST(Scramble, CodesOutsideTheRangeCannotBeScrambled)
{
    EXPECT_THROW(gf_encryptModel("b738"), std::invalid_argument);
    EXPECT_THROW(gf_encryptModel("B7380"), std::invalid_argument);
    EXPECT_THROW(gf_encryptAirl("KL"), std::invalid_argument);
    EXPECT_THROW(gf_encryptRegcode("PH BXA"), std::invalid_argument);
}

TEST(Scramble, ScrambledTextHoldsNoListSeparatorsOrBlanks)
{
    // Lists in the document are split at commas and trimmed of blanks, so no
    // scrambled code may contain either.
    std::mt19937 random(17);
    for (int round = 0; round < 2000; ++round) {
        for (const auto& stored : {gf_encryptModel(randomCode(random, 4, false)), gf_encryptAirl(randomCode(random, 3, false)),
                                   gf_encryptRegcode(randomCode(random, 8, true))}) {
            ASSERT_EQ(stored.find(','), std::string::npos);
            ASSERT_EQ(stored.find(' '), std::string::npos);
        }
    }
}

} // namespace
} // namespace orv
