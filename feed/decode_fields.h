// Reading the positions of a traffic array: texts, numbers, the transponder
// address, the position check and the half hour of a time, which both
// decoders share.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace orv {

/// The value at POSITION; null when the line is no array or too short.
const nlohmann::json& gf_fieldAt(const nlohmann::json& LINE, std::size_t POSITION);
/// A text field; anything but a string reads as empty text.
std::string gf_textAt(const nlohmann::json& LINE, std::size_t POSITION);
/// A number field, float or integer alike; none for anything else.
std::optional<double> gf_numberAt(const nlohmann::json& LINE, std::size_t POSITION);
/// A number field that reads as 0 when it is none.
inline double gf_numberOr0(const nlohmann::json& LINE, std::size_t POSITION)
{
    return gf_numberAt(LINE, POSITION).value_or(0.0);
}
/// A hexadecimal transponder address; 0 when the text is none.
std::uint32_t gf_hexid(const std::string& TEXT);
/// A registration as both decoders keep it: over 12 characters or "null" is empty.
std::string gf_regcodeOf(const std::string& TEXT);
/// Throws SysErrorException 744 "lalo:..." for a position out of range or in
/// the box of no position.
void gf_checkPosition(double LAT, double LON);
/// Half hours since midnight UTC (0..47) of a time in Unix seconds.
std::int32_t gf_halfHourOfDay(std::int64_t UNIX_SECONDS);

/// Transponder addresses of live aircraft lie above this.
inline constexpr std::uint32_t lowestHexid = 10000;
inline constexpr std::size_t longestRegcode = 12;

} // namespace orv
