// The keyed substitution: unscrambling undoes our scrambling for every code
// the reference data can hold, and the routines keep to their layouts.
#include "liveries/scramble.h"
#include "tests/liveries/dbase_fixture.h"

#include <random>
#include <stdexcept>

namespace orv {
namespace {

/// A code of LENGTH characters from '-' to 'Z', with '+' too when asked.
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

TEST(Scramble, EveryCodeComesBackAndHoldsNoListSeparatorsOrBlanks)
{
    // Lists in the document are split at commas and trimmed of blanks, so no
    // scrambled code may contain either.
    std::mt19937 random(7);
    for (std::size_t round = 0; round < 3000; ++round) {
        const auto model = randomCode(random, 2 + round % 3, false), airline = randomCode(random, 3, false);
        const auto reg = randomCode(random, round % 25, true);
        const auto storedModel = gf_encryptModel(model), storedAirline = gf_encryptAirl(airline);
        const auto storedReg = gf_encryptRegcode(reg);
        ASSERT_EQ(gf_decryptModel(storedModel), model) << "stored as " << storedModel;
        ASSERT_EQ(storedAirline.size(), 6u);
        ASSERT_EQ(gf_decryptAirl(storedAirline), airline);
        ASSERT_EQ(storedReg.size(), reg.size());
        ASSERT_EQ(gf_decryptRegcode(storedReg), reg);
        for (std::size_t i = 0; i < reg.size(); ++i) ASSERT_EQ(reg[i] == '+', storedReg[i] == '+') << reg;
        for (const auto& stored : {storedModel, storedAirline, storedReg}) ASSERT_EQ(stored.find_first_of(", "), std::string::npos);
    }
}

TEST(Scramble, LayoutsAndTheirLimits)
{
    const std::pair<int, int> folds[] = {{'A', 'A'}, {44, 44 + 46}, {91, 91 - 46}, {45, 45}, {90, 90}};
    for (const auto& [in, out] : folds) EXPECT_EQ(gf_scrambleFold(in), out) << in;
    // The model's layout is chosen by the stored length; two-letter codes are stored in neither 3 nor 4.
    EXPECT_EQ(gf_encryptModel("B738").size(), 4u);
    EXPECT_EQ(gf_encryptModel("A5Z").size(), 3u);
    EXPECT_TRUE(gf_encryptModel("A5").size() != 3u && gf_encryptModel("A5").size() != 4u);
    EXPECT_EQ(gf_decryptModel("AAA").size(), 3u);
    EXPECT_EQ(gf_decryptModel("AAAA").size(), 4u);
    EXPECT_EQ(gf_decryptModel("AAAAAAAA").size(), 2u);
    EXPECT_EQ(gf_decryptModel("") + gf_decryptAirl("") + gf_decryptRegcode(""), "");
    // Only three of the six stored places of an airline carry the code.
    const auto stored = gf_encryptAirl("KLM");
    int carrying = 0;
    for (std::size_t at = 0; at < stored.size(); ++at) {
        auto changed = stored;
        changed[at] = changed[at] == 'A' ? 'B' : 'A';
        carrying += gf_decryptAirl(changed) != "KLM" ? 1 : 0;
    }
    EXPECT_EQ(carrying, 3);
    EXPECT_EQ(gf_decryptAirl("KLM"), "KLM") << "an unscrambled airline is taken as it stands";
    for (const std::string text : {"K", "KL", "KLMX", "KLMXY", "KLMXYZW"})
        EXPECT_EQ(test::gf_thrown([&] { gf_decryptAirl(text); }), "decrypt airl \"" + text + "\" error");
    EXPECT_NO_THROW(gf_decryptRegcode(std::string(24, 'A')));
    EXPECT_THROW(gf_decryptRegcode(std::string(25, 'A')), std::out_of_range) << "longer than the key";
    EXPECT_THROW(gf_encryptRegcode(std::string(25, 'A')), std::invalid_argument);
    for (const char* model : {"b738", "B7380"}) EXPECT_THROW(gf_encryptModel(model), std::invalid_argument) << model;
    EXPECT_THROW(gf_encryptAirl("KL"), std::invalid_argument);
    EXPECT_THROW(gf_encryptRegcode("PH BXA"), std::invalid_argument);
}

} // namespace
} // namespace orv
