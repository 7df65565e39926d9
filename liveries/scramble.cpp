// The keyed substitution of the reference database, both ways. The tables
// below are the key; the generator of dbase.xml (our scramble tool) uses the
// same ones through the encrypt routines.
#include "liveries/scramble.h"

#include "core/log.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <stdexcept>

namespace orv {

namespace {

constexpr int foldLow = 45;   ///< '-'
constexpr int foldHigh = 90;  ///< 'Z'
constexpr int foldSpan = 46;  ///< characters from '-' to 'Z'
constexpr char keptInRegcode = '+';

/// Where each output character stands in the stored text, and what is added.
template <std::size_t N>
struct Layout {
    std::size_t storedLength;
    std::array<std::size_t, N> positions;
    std::array<int, N> offsets;
};

constexpr Layout<2> modelLayout2{5, {3, 1}, {11, -6}};
constexpr Layout<3> modelLayout3{3, {2, 0, 1}, {7, -13, 21}};
constexpr Layout<4> modelLayout4{4, {3, 1, 0, 2}, {-9, 17, 4, -22}};
constexpr Layout<3> airlineLayout{6, {4, 1, 5}, {13, -8, 19}};

constexpr std::size_t regcodePositions = 24;
constexpr std::array<int, regcodePositions> regcodeOffsets{
    5, -12, 19, -3, 27, -31, 8, 14, -20, 33, -7, 2, 41, -16, 11, -25, 36, -9, 22, -38, 17, -4, 29, -14};

template <std::size_t N>
std::string lf_decode(std::string_view TEXT, const Layout<N>& LAYOUT)
{
    std::string out(N, ' ');
    for (std::size_t i = 0; i < N; ++i) {
        const auto stored = static_cast<unsigned char>(TEXT.at(LAYOUT.positions[i]));
        out[i] = gf_scrambleFold(stored + LAYOUT.offsets[i]);
    }
    return out;
}

void lf_checkCharacters(std::string_view CODE, bool ALLOW_PLUS)
{
    for (const char c : CODE) {
        const bool inRange = c >= foldLow && c <= foldHigh;
        if (!inRange && !(ALLOW_PLUS && c == keptInRegcode))
            throw std::invalid_argument(fmt::format("character '{}' of \"{}\" cannot be scrambled", c, CODE));
    }
}

/// Filler characters depend on the code only, so a scrambled document is the
/// same each time it is made.
char lf_filler(std::string_view CODE, std::size_t POSITION)
{
    int sum = 0;
    for (const char c : CODE) sum = sum * 31 + c;
    return gf_scrambleFold(foldLow + static_cast<int>((static_cast<unsigned>(sum) + POSITION * 7) % foldSpan));
}

template <std::size_t N>
std::string lf_encode(std::string_view CODE, const Layout<N>& LAYOUT)
{
    std::string out(LAYOUT.storedLength, ' ');
    for (std::size_t at = 0; at < out.size(); ++at) out[at] = lf_filler(CODE, at);
    for (std::size_t i = 0; i < N; ++i)
        out[LAYOUT.positions[i]] = gf_scrambleFold(static_cast<unsigned char>(CODE[i]) - LAYOUT.offsets[i]);
    return out;
}

} // namespace

char gf_scrambleFold(int VALUE)
{
    if (VALUE < foldLow) VALUE += foldSpan;
    if (VALUE > foldHigh) VALUE -= foldSpan;
    return static_cast<char>(VALUE);
}

std::string gf_decryptModel(std::string_view TEXT)
{
    if (TEXT.empty()) return {};
    if (TEXT.size() == modelLayout3.storedLength) return lf_decode(TEXT, modelLayout3);
    if (TEXT.size() == modelLayout4.storedLength) return lf_decode(TEXT, modelLayout4);
    return lf_decode(TEXT, modelLayout2);
}

std::string gf_decryptAirl(std::string_view TEXT)
{
    if (TEXT.empty()) return {};
    if (TEXT.size() == airlineLayout.storedLength) return lf_decode(TEXT, airlineLayout);
    if (TEXT.size() == 3) {
        gf_log(fmt::format("Unencrypted airline {} in decrypt airl?", TEXT));
        return std::string(TEXT);
    }
    throw std::runtime_error(fmt::format("decrypt airl \"{}\" error", TEXT));
}

std::string gf_decryptRegcode(std::string_view TEXT)
{
    std::string out(TEXT);
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (out[i] == keptInRegcode) continue;
        out[i] = gf_scrambleFold(static_cast<unsigned char>(out[i]) - regcodeOffsets.at(i));
    }
    return out;
}

std::string gf_encryptModel(std::string_view CODE)
{
    lf_checkCharacters(CODE, false);
    switch (CODE.size()) {
    case 2: return lf_encode(CODE, modelLayout2);
    case 3: return lf_encode(CODE, modelLayout3);
    case 4: return lf_encode(CODE, modelLayout4);
    default: throw std::invalid_argument(fmt::format("model code \"{}\" must have 2 to 4 characters", CODE));
    }
}

std::string gf_encryptAirl(std::string_view CODE)
{
    lf_checkCharacters(CODE, false);
    if (CODE.size() != 3) throw std::invalid_argument(fmt::format("airline code \"{}\" must have 3 characters", CODE));
    return lf_encode(CODE, airlineLayout);
}

std::string gf_encryptRegcode(std::string_view CODE)
{
    lf_checkCharacters(CODE, true);
    if (CODE.size() > regcodePositions)
        throw std::invalid_argument(fmt::format("registration \"{}\" has more than {} characters", CODE, regcodePositions));
    std::string out(CODE);
    for (std::size_t i = 0; i < out.size(); ++i)
        if (out[i] != keptInRegcode) out[i] = gf_scrambleFold(static_cast<unsigned char>(out[i]) + regcodeOffsets[i]);
    return out;
}

} // namespace orv
