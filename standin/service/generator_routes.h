// The routes of generated flights round one runway: approach to a stand,
// stand to take-off, and straight overflights. Used by generator.cpp only.
#pragma once

#include <random>
#include <vector>

#include "standin/service/flight_path.h"
#include "standin/service/generator.h"

namespace orv {

/// The airport in the local frame: runway thresholds, the parallel taxiway
/// on the side of the stands, and each stand with its nose direction.
struct AirportLayout {
    LocalFrame frame;
    Vec2 threshold1, threshold2;
    Vec2 along;   ///< unit vector from threshold 1 to threshold 2
    Vec2 toStands; ///< unit vector across the runway towards the stands
    double runwayLengthM = 0;
    std::vector<Vec2> stands;
    std::vector<Vec2> standNose; ///< unit vectors
};

/// Throws std::invalid_argument when the runway or the stands won't do.
AirportLayout gf_airportLayout(const GeneratorSetup& SETUP);

/// From the start of the approach to standstill at the stand, where it stays
/// STAND_SECONDS.
std::vector<Waypoint> gf_arrivalRoute(const AirportLayout& LAYOUT, std::size_t STAND, double STAND_SECONDS,
                                      std::mt19937& RANDOM);

/// From STAND_SECONDS at the stand before push-back to the end of the climb.
std::vector<Waypoint> gf_departureRoute(const AirportLayout& LAYOUT, std::size_t STAND, double STAND_SECONDS,
                                        std::mt19937& RANDOM);

/// A straight line across the area at ALTITUDE_AGL_FT and SPEED_KT.
std::vector<Waypoint> gf_overflightRoute(double ALTITUDE_AGL_FT, double SPEED_KT, std::mt19937& RANDOM);

double gf_uniform(std::mt19937& RANDOM, double LO, double HI);

} // namespace orv
