// The line recognisers of the aircraft.cfg reader.
#include "liveries/cfg_keys.h"

namespace orv {

namespace {

char lf_lower(char C) { return C >= 'A' && C <= 'Z' ? static_cast<char>(C - 'A' + 'a') : C; }

std::size_t lf_skipSpaces(std::string_view LINE, std::size_t AT)
{
    while (AT < LINE.size() && gf_isPatternSpace(LINE[AT])) ++AT;
    return AT;
}

bool lf_startsIgnoreCase(std::string_view LINE, std::size_t AT, std::string_view WORD)
{
    if (LINE.size() - AT < WORD.size()) return false;
    return gf_equalsIgnoreCase(LINE.substr(AT, WORD.size()), WORD);
}

/// The captured tail "(.*\S)\s*": trailing blanks dropped, at least one
/// character left, no line break inside.
std::optional<std::string_view> lf_tailValue(std::string_view REST)
{
    std::size_t end = REST.size();
    while (end > 0 && gf_isPatternSpace(REST[end - 1])) --end;
    if (end == 0) return std::nullopt;
    const auto value = REST.substr(0, end);
    if (value.find_first_of("\r\n") != std::string_view::npos) return std::nullopt;
    return value;
}

} // namespace

bool gf_isPatternSpace(char C) { return C == ' ' || C == '\t' || C == '\n' || C == '\v' || C == '\f' || C == '\r'; }

bool gf_equalsIgnoreCase(std::string_view A, std::string_view B)
{
    if (A.size() != B.size()) return false;
    for (std::size_t i = 0; i < A.size(); ++i)
        if (lf_lower(A[i]) != lf_lower(B[i])) return false;
    return true;
}

std::optional<std::string_view> gf_keyValue(std::string_view LINE, std::string_view KEY)
{
    std::size_t at = lf_skipSpaces(LINE, 0);
    if (!lf_startsIgnoreCase(LINE, at, KEY)) return std::nullopt;
    at = lf_skipSpaces(LINE, at + KEY.size());
    if (at >= LINE.size() || LINE[at] != '=') return std::nullopt;
    at = lf_skipSpaces(LINE, at + 1);
    return lf_tailValue(LINE.substr(at));
}

std::optional<std::string_view> gf_headerNumberText(std::string_view LINE)
{
    constexpr std::string_view opening = "[fltsim.";
    std::size_t at = lf_skipSpaces(LINE, 0);
    if (!lf_startsIgnoreCase(LINE, at, opening)) return std::nullopt;
    at += opening.size();
    const std::size_t digits = at;
    while (at < LINE.size() && LINE[at] >= '0' && LINE[at] <= '9') ++at;
    if (at == digits || at >= LINE.size() || LINE[at] != ']') return std::nullopt;
    if (lf_skipSpaces(LINE, at + 1) != LINE.size()) return std::nullopt;
    return LINE.substr(digits, at - digits);
}

std::optional<HeaderNumber> gf_sectionHeader(std::string_view LINE)
{
    if (LINE.starts_with("//")) return std::nullopt;
    if (const auto number = gf_headerNumberText(LINE)) return HeaderNumber{*number, false};
    if (LINE.find("[fltsim.") != std::string_view::npos || LINE.find("[FLTSIM.") != std::string_view::npos)
        return HeaderNumber{{}, true};
    return std::nullopt;
}

std::string_view gf_unquote(std::string_view VALUE)
{
    const auto first = VALUE.find('"');
    if (first == std::string_view::npos) return VALUE;
    const auto second = VALUE.find('"', first + 1);
    if (second == std::string_view::npos) return {};
    return VALUE.substr(first + 1, second - first - 1);
}

std::string gf_removeBlanks(std::string_view TEXT)
{
    std::string out;
    out.reserve(TEXT.size());
    for (const char c : TEXT)
        if (c != ' ' && c != '\t') out += c;
    return out;
}

std::string_view gf_trimBlanks(std::string_view TEXT)
{
    constexpr std::string_view blanks = " \t\n\r";
    const auto first = TEXT.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return TEXT.substr(first, TEXT.find_last_not_of(blanks) - first + 1);
}

std::string gf_upper(std::string_view TEXT)
{
    std::string out(TEXT);
    for (auto& c : out)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return out;
}

} // namespace orv
