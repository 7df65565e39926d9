// Test support: civil dates to days since 1970-01-01, to check the
// simulator's time fields against the standard library's calendar.
#pragma once

#include <chrono>

namespace orv::test {

/// Days since 1970-01-01 of a civil date, by the proleptic Gregorian rule.
inline long daysFromCivil(long Y, unsigned M, unsigned D)
{
    using namespace std::chrono;
    const sys_days date = year_month_day(year(static_cast<int>(Y)), month(M), day(D));
    return static_cast<long>(date.time_since_epoch().count());
}

} // namespace orv::test
