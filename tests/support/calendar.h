// Test support: civil dates to days since 1970-01-01, to check the
// simulator's time fields against an independent calendar.
#pragma once

namespace orv::test {

/// Days since 1970-01-01 of a civil date, by the proleptic Gregorian rule.
inline long daysFromCivil(long Y, unsigned M, unsigned D)
{
    Y -= M <= 2;
    const long era = (Y >= 0 ? Y : Y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(Y - era * 400);
    const unsigned doy = (153 * (M + (M > 2 ? -3 : 9)) + 2) / 5 + D - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<long>(doe) - 719468;
}

} // namespace orv::test
