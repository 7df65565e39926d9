// Field readers of the two decoders.
#include "feed/decode_fields.h"

#include <charconv>
#include <chrono>

#include <fmt/format.h>

#include "core/errors.h"
#include "core/user_position.h"

namespace orv {

namespace {

constexpr int positionErrorCode = 744;
constexpr double maxLatitude = 90.0, maxLongitude = 180.0;

} // namespace

const nlohmann::json& gf_fieldAt(const nlohmann::json& LINE, std::size_t POSITION)
{
    static const nlohmann::json none;
    if (!LINE.is_array() || POSITION >= LINE.size()) return none;
    return LINE[POSITION];
}

std::string gf_textAt(const nlohmann::json& LINE, std::size_t POSITION)
{
    const nlohmann::json& value = gf_fieldAt(LINE, POSITION);
    return value.is_string() ? value.get<std::string>() : std::string();
}

std::optional<double> gf_numberAt(const nlohmann::json& LINE, std::size_t POSITION)
{
    const nlohmann::json& value = gf_fieldAt(LINE, POSITION);
    if (!value.is_number()) return std::nullopt;
    return value.get<double>();
}

std::uint32_t gf_hexid(const std::string& TEXT)
{
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(TEXT.data(), TEXT.data() + TEXT.size(), value, 16);
    if (error != std::errc{} || end != TEXT.data() + TEXT.size()) return 0;
    return value;
}

std::string gf_regcodeOf(const std::string& TEXT)
{
    if (TEXT.size() > longestRegcode || TEXT == "null") return {};
    return TEXT;
}

void gf_checkPosition(double LAT, double LON)
{
    // Written so that a value that is no number fails too.
    const bool inRange = LAT >= -maxLatitude && LAT <= maxLatitude && LON >= -maxLongitude && LON <= maxLongitude;
    if (!inRange || gf_isNoPosition(LAT, LON)) {
        throw SysErrorException(positionErrorCode, fmt::format("lalo:{}", fmt::format("{},{}", LAT, LON)));
    }
}

std::int32_t gf_halfHourOfDay(std::int64_t UNIX_SECONDS)
{
    using namespace std::chrono;
    const sys_seconds time{seconds(UNIX_SECONDS)};
    return static_cast<std::int32_t>((time - floor<days>(time)) / minutes(30));
}

} // namespace orv
