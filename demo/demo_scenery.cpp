// tavo-demo-scenery: writes the demo's add-on airport into a Community
// folder: a package with a manifest.json and a BGL file of the demo airport
// whose parking spots are the stands of the demo's one stand list
// (demo/stands.txt: NAME LAT LON HEADING a line), so that the first start of
// the demo scans it and generates a stand file that agrees with the stock
// archive file made from the same list.
//   tavo-demo-scenery STANDS_FILE COMMUNITY_FOLDER
#include "tests/scanner/bgl_writer.h"

#include <cctype>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

constexpr unsigned firstLetterPrefix = 12; ///< the prefix index of "A"
constexpr unsigned mediumGate = 9;         ///< neither cargo nor ramp
constexpr unsigned largestNumber = 4095;   ///< 12 bits
constexpr float gateRadiusM = 36.0f;       ///< the stock file's radius: the largest generated aircraft fits
constexpr std::int32_t elevationMm = -3353; ///< -11 feet

/// The spot of one stand line; false when the line is no stand or its name
/// is not one capital letter and a number, which a BGL spot cannot hold.
bool lf_spotOf(const std::string& LINE, orv::test::BglSpot& SPOT, std::string& ERROR)
{
    std::istringstream in(LINE);
    std::string name;
    double headingDeg = 0;
    if (!(in >> name) || name.front() == '#') return false;
    if (!(in >> SPOT.lat >> SPOT.lon >> headingDeg)) {
        ERROR = "not NAME LAT LON HEADING: " + LINE;
        return false;
    }
    const bool letterAndNumber = name.size() >= 2 && name.size() <= 5 && std::isupper(static_cast<unsigned char>(name[0])) &&
                                 name.find_first_not_of("0123456789", 1) == std::string::npos;
    if (!letterAndNumber || std::stoul(name.substr(1)) > largestNumber) {
        ERROR = "a BGL spot cannot be named " + name;
        return false;
    }
    SPOT.prefix = firstLetterPrefix + static_cast<unsigned>(name[0] - 'A');
    SPOT.number = static_cast<unsigned>(std::stoul(name.substr(1)));
    SPOT.type = mediumGate;
    SPOT.radiusM = gateRadiusM;
    SPOT.headingDeg = static_cast<float>(headingDeg);
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: tavo-demo-scenery STANDS_FILE COMMUNITY_FOLDER\n";
        return 2;
    }
    std::ifstream stands(argv[1]);
    if (!stands) {
        std::cerr << "tavo-demo-scenery: cannot read " << argv[1] << "\n";
        return 1;
    }
    orv::test::BglAirport airport;
    airport.icao = "EHAM";
    airport.altitudeMm = elevationMm;
    for (std::string line; std::getline(stands, line);) {
        orv::test::BglSpot spot;
        std::string error;
        if (lf_spotOf(line, spot, error))
            airport.spots.push_back(spot);
        else if (!error.empty()) {
            std::cerr << "tavo-demo-scenery: " << error << "\n";
            return 1;
        }
    }
    const fs::path package = fs::path(argv[2]) / "tavo-demo-eham-scenery";
    fs::create_directories(package / "scenery");
    std::ofstream(package / "manifest.json")
        << R"({"title": "EHAM Demo Schiphol", "manufacturer": "TAVO Demo", "creator": "TAVO Demo", "package_version": "1.0.0"})"
        << "\n";
    std::ofstream(package / "scenery" / "EHAM.bgl", std::ios::binary) << orv::test::gf_bglOfAirports({airport});
    return 0;
}
