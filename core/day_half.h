// The hour of the week that stands are learned and searched by: the UTC
// weekday and half hour. The main thread sets nowDayHalf each second; the
// engine and parking read it on any thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace orv {

/// Weekday in UTC (1 Monday to 7 Sunday) and half hour of the day (0 to 47).
struct DayHalf {
    std::int32_t day = 0;
    std::int32_t halfHour = 0;
};

/// The present day and half hour, packed: day in the low half, half hour in the high half.
extern std::atomic<std::uint64_t> nowDayHalf;

/// The day and half hour of a time as gf_utcText writes it ("Mon Nov 23 07:45:00 2026").
DayHalf gf_dayHalfFromText(const std::string& UTC_TEXT);

inline std::uint64_t gf_packDayHalf(DayHalf VALUE)
{
    return static_cast<std::uint32_t>(VALUE.day) |
           static_cast<std::uint64_t>(static_cast<std::uint32_t>(VALUE.halfHour)) << 32;
}

/// nowDayHalf unpacked.
inline DayHalf gf_dayHalfNow()
{
    const std::uint64_t packed = nowDayHalf.load();
    return {static_cast<std::int32_t>(packed & 0xFFFFFFFFu), static_cast<std::int32_t>(packed >> 32)};
}

} // namespace orv
