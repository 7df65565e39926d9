// tavo-demo-scenery: writes the demo's add-on airport into a Community
// folder: a package with a manifest.json and a BGL file of the demo airport
// whose parking spots are the demo's stands, so that the first start of the
// demo scans it and generates its stand file.
//   tavo-demo-scenery COMMUNITY_FOLDER
#include "tests/scanner/bgl_writer.h"

#include <filesystem>
#include <fstream>
#include <iostream>

namespace {

namespace fs = std::filesystem;

struct DemoStand {
    char letter;
    unsigned number;
    double lat, lon;
    float headingDeg;
};

/// The stands that scripts/demo gives the traffic service.
constexpr DemoStand demoStands[] = {
    {'D', 2, 52.3093, 4.7628, 230}, {'D', 4, 52.3099, 4.7618, 230}, {'D', 6, 52.3105, 4.7608, 230},
    {'D', 8, 52.3111, 4.7598, 230}, {'E', 2, 52.3078, 4.7663, 140}, {'E', 4, 52.3072, 4.7673, 140},
};
constexpr unsigned firstLetterPrefix = 12; ///< the prefix index of "A"
constexpr unsigned mediumGate = 9;
constexpr float gateRadiusM = 30.0f;
constexpr std::int32_t elevationMm = -3353; ///< -11 feet

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: tavo-demo-scenery COMMUNITY_FOLDER\n";
        return 2;
    }
    const fs::path package = fs::path(argv[1]) / "tavo-demo-eham-scenery";
    orv::test::BglAirport airport;
    airport.icao = "EHAM";
    airport.altitudeMm = elevationMm;
    for (const auto& s : demoStands) {
        orv::test::BglSpot spot;
        spot.prefix = firstLetterPrefix + static_cast<unsigned>(s.letter - 'A');
        spot.number = s.number;
        spot.type = mediumGate;
        spot.radiusM = gateRadiusM;
        spot.headingDeg = s.headingDeg;
        spot.lat = s.lat;
        spot.lon = s.lon;
        airport.spots.push_back(spot);
    }
    fs::create_directories(package / "scenery");
    std::ofstream(package / "manifest.json")
        << R"({"title": "EHAM Demo Schiphol", "manufacturer": "TAVO Demo", "creator": "TAVO Demo", "package_version": "1.0.0"})"
        << "\n";
    std::ofstream(package / "scenery" / "EHAM.bgl", std::ios::binary) << orv::test::gf_bglOfAirports({airport});
    return 0;
}
