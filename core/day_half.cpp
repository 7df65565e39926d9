// Reading the day and half hour out of a UTC time text.
#include "core/day_half.h"

namespace orv {

std::atomic<std::uint64_t> nowDayHalf{0};

DayHalf gf_dayHalfFromText(const std::string& UTC_TEXT)
{
    static constexpr const char* days[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    DayHalf result;
    for (int k = 0; k < 7; ++k)
        if (UTC_TEXT.compare(0, 3, days[k]) == 0) result.day = k + 1;
    const int hour = std::stoi(UTC_TEXT.substr(11, 2));
    const int minute = std::stoi(UTC_TEXT.substr(14, 2));
    result.halfHour = hour * 2 + (minute >= 30 ? 1 : 0);
    return result;
}

} // namespace orv
