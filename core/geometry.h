// The program's one geometry: positions (LatLon), the great-circle distance
// and course that every folder uses, and the unit constants of motion:
// distances in nautical miles, positions in degrees, headings in radians,
// times in engine ticks of 10 ms.
#pragma once

namespace orv {

struct LatLon {
    double lat = 0; ///< degrees
    double lon = 0; ///< degrees
};

inline constexpr double pi = 3.14159265358979323846;
inline constexpr double twoPi = 2.0 * pi;
inline constexpr double degToRad = pi / 180.0;
inline constexpr double radToDeg = 180.0 / pi;
inline constexpr double feetPerNm = 6076.11549;
inline constexpr double metresPerNm = 1852.0;
/// Nautical miles of a length in metres.
inline constexpr double gf_nmOfMetres(double METRES) { return METRES / metresPerNm; }
/// A leg of D nautical miles at S knots lasts D * ticksPerHour / S ticks.
inline constexpr double ticksPerHour = 360000.0;
inline constexpr double ticksPerSecond = 100.0;
inline constexpr double ticksPerMinute = 6000.0;
/// Metres per degree of latitude in the local plane of a ground curve.
inline constexpr double metresPerDegree = 111132.95;

/// Haversine distance in nautical miles.
double gf_distance(double LAT1, double LON1, double LAT2, double LON2);
inline double gf_distance(const LatLon& A, const LatLon& B) { return gf_distance(A.lat, A.lon, B.lat, B.lon); }
/// The airports' name for the same distance.
inline double gf_distanceNm(const LatLon& A, const LatLon& B) { return gf_distance(A, B); }
/// Initial great-circle course from the first to the second position, radians 0..2π.
double gf_bearing(double LAT1, double LON1, double LAT2, double LON2);
inline double gf_bearing(const LatLon& A, const LatLon& B) { return gf_bearing(A.lat, A.lon, B.lat, B.lon); }
/// The position FEET away from POS on the initial course COURSE (radians).
LatLon gf_destination(const LatLon& POS, double COURSE, double FEET);
/// The signed shortest difference A - B of two angles, radians in -π..π.
double gf_angleDiff(double A, double B);
/// An angle brought into 0..2π.
double gf_wrapTwoPi(double ANGLE);

/// Ticks that a leg of DISTANCE_NM takes at SPEED_KT; callers keep SPEED_KT above 0.
inline double gf_legTicks(double DISTANCE_NM, double SPEED_KT) { return DISTANCE_NM * ticksPerHour / SPEED_KT; }

/// A position in metres east and north of ORIGIN, in the flat plane of a short ground leg.
struct PlaneXY {
    double east = 0;
    double north = 0;
};
PlaneXY gf_toPlane(const LatLon& ORIGIN, double LAT, double LON);
LatLon gf_fromPlane(const LatLon& ORIGIN, const PlaneXY& XY);

} // namespace orv
