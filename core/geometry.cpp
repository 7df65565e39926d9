// Great-circle helpers of the engine and the flat plane of ground curves.
#include "core/geometry.h"

#include <algorithm>
#include <cmath>

namespace orv {

namespace {
/// Twice the earth radius in nautical miles, the factor of the haversine.
constexpr double earthDiameterNm = 6875.493541569878;
/// Radians of great-circle arc in one foot.
constexpr double radiansPerFoot = 4.787404208238998e-8;
} // namespace

double gf_distance(double LAT1, double LON1, double LAT2, double LON2)
{
    const double p1 = LAT1 * degToRad, p2 = LAT2 * degToRad;
    const double sinLat = std::sin((p2 - p1) / 2.0), sinLon = std::sin((LON2 - LON1) * degToRad / 2.0);
    const double h = std::clamp(sinLat * sinLat + std::cos(p1) * std::cos(p2) * sinLon * sinLon, 0.0, 1.0);
    return earthDiameterNm * std::asin(std::sqrt(h));
}

double gf_bearing(double LAT1, double LON1, double LAT2, double LON2)
{
    const double p1 = LAT1 * degToRad, p2 = LAT2 * degToRad, dl = (LON2 - LON1) * degToRad;
    const double y = std::sin(dl) * std::cos(p2);
    const double x = std::cos(p1) * std::sin(p2) - std::sin(p1) * std::cos(p2) * std::cos(dl);
    return gf_wrapTwoPi(std::atan2(y, x));
}

LatLon gf_destination(const LatLon& POS, double COURSE, double FEET)
{
    const double d = FEET * radiansPerFoot;
    const double p1 = POS.lat * degToRad, l1 = POS.lon * degToRad;
    const double sinP2 = std::sin(p1) * std::cos(d) + std::cos(p1) * std::sin(d) * std::cos(COURSE);
    const double p2 = std::asin(std::clamp(sinP2, -1.0, 1.0));
    const double l2 =
        l1 + std::atan2(std::sin(COURSE) * std::sin(d) * std::cos(p1), std::cos(d) - std::sin(p1) * sinP2);
    double lon = l2 * radToDeg;
    if (lon > 180.0) lon -= 360.0;
    if (lon < -180.0) lon += 360.0;
    return {p2 * radToDeg, lon};
}

double gf_angleDiff(double A, double B)
{
    double d = std::fmod(A - B, twoPi);
    if (d > pi) d -= twoPi;
    if (d < -pi) d += twoPi;
    return d;
}

double gf_wrapTwoPi(double ANGLE)
{
    double a = std::fmod(ANGLE, twoPi);
    if (a < 0) a += twoPi;
    return a;
}

PlaneXY gf_toPlane(const LatLon& ORIGIN, double LAT, double LON)
{
    const double perLon = std::cos(ORIGIN.lat * degToRad) * metresPerDegree;
    return {(LON - ORIGIN.lon) * perLon, (LAT - ORIGIN.lat) * metresPerDegree};
}

LatLon gf_fromPlane(const LatLon& ORIGIN, const PlaneXY& XY)
{
    const double perLon = std::cos(ORIGIN.lat * degToRad) * metresPerDegree;
    return {ORIGIN.lat + XY.north / metresPerDegree, ORIGIN.lon + XY.east / perLon};
}

} // namespace orv
