// The keyed substitution that hides model codes, airline codes and
// registrations in the reference database. The decrypt side is what the
// program needs; the encrypt side serves our own scramble tool and tests, so
// that reference data is written in plain text and scrambled by us.
#pragma once

#include <string>
#include <string_view>

namespace orv {

/// Every character of a code lives in 45..90 ('-' to 'Z'); a computed value
/// outside is folded back by 46.
char gf_scrambleFold(int VALUE);

/// Stored 3 characters give a 3-character code, 4 a 4-character code, any
/// other length a 2-character code. Too short a text throws std::out_of_range.
std::string gf_decryptModel(std::string_view TEXT);
/// Stored 6 characters give a 3-letter code; 3 characters are taken as they
/// stand (and logged); any other length throws std::runtime_error.
std::string gf_decryptAirl(std::string_view TEXT);
/// One offset per position, 24 positions; '+' stays. A longer text throws
/// std::out_of_range.
std::string gf_decryptRegcode(std::string_view TEXT);

/// The inverse routines. Codes must be made of characters from '-' to 'Z'
/// ('+' too in a registration); anything else throws std::invalid_argument.
/// A model code has 2 to 4 characters, an airline code 3, a registration at
/// most 24.
std::string gf_encryptModel(std::string_view CODE);
std::string gf_encryptAirl(std::string_view CODE);
std::string gf_encryptRegcode(std::string_view CODE);

} // namespace orv
