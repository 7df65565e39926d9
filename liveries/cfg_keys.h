// How the lines of an aircraft.cfg are recognised. Each recogniser answers
// exactly what the whole-line, case-ignoring pattern "\s*(key)\s*=\s*(.*\S)\s*"
// would capture, without a regular expression engine: the scan reads millions
// of lines and a compiled pattern per line would cost more than the disk.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// Blank characters of the patterns: space, tab, line feed, vertical tab,
/// form feed, carriage return.
bool gf_isPatternSpace(char C);

/// The value of "KEY = value" when LINE has that shape; KEY is compared
/// ignoring case and must be followed by blanks or '='. The value runs from
/// its first to its last non-blank character and holds no line break.
std::optional<std::string_view> gf_keyValue(std::string_view LINE, std::string_view KEY);

/// The number text of "[fltsim.N]" (blanks around allowed, case ignored).
std::optional<std::string_view> gf_headerNumberText(std::string_view LINE);

/// The section-header rule: nothing for a line that is no header; a line
/// starting with "//" is none. A header without a valid number that still
/// holds "[fltsim." or "[FLTSIM." counts with the number 10000.
inline constexpr int numberlessHeader = 10000;
struct HeaderNumber {
    std::string_view text; ///< the digits; empty for a numberless header
    bool numberless = false;
};
std::optional<HeaderNumber> gf_sectionHeader(std::string_view LINE);

/// Unquoting: the text between the first two '"'; a single '"' gives empty
/// text; without '"' the value stays as it is.
std::string_view gf_unquote(std::string_view VALUE);

/// Blanks and tabs removed anywhere.
std::string gf_removeBlanks(std::string_view TEXT);
/// Blanks, tabs, line feeds and carriage returns removed at both ends.
std::string_view gf_trimBlanks(std::string_view TEXT);
std::string gf_upper(std::string_view TEXT);
bool gf_equalsIgnoreCase(std::string_view A, std::string_view B);

} // namespace orv
