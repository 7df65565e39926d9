// Test and benchmark support: writes BGL files from the record layouts the
// reader knows (header, section table, subsection tables, airport records
// with helipads and parking spots), so that every fixture, normal or
// hostile, is made by code.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv::test {

struct BglSpot {
    unsigned prefix = 10; ///< index of the name prefix; 10 is "g"
    unsigned number = 1;  ///< 12 bits
    unsigned type = 8;    ///< 4 bits; 8 is a small gate
    float radiusM = 20.0f;
    float headingDeg = 90.0f;
    double lat = 52.3, lon = 4.76;
    unsigned airlineCodes = 0; ///< 4-byte codes behind the spot
};

struct BglHelipad {
    double lat = 52.31, lon = 4.77;
    float widthM = 30.0f;
};

struct BglAirport {
    std::string icao = "EHAM";
    std::int32_t altitudeMm = 0; ///< thousandths of a metre
    std::vector<BglHelipad> helipads;
    std::vector<BglSpot> spots;
    bool helipadsAfterParking = false;
    std::vector<std::string> extraSubrecords;  ///< raw subrecords in front of the helipads
    std::optional<std::uint16_t> spotCount;    ///< a count that lies about the spots
};

struct BglSection {
    std::uint32_t type = 3; ///< 3 is the airport section
    bool wideEntries = false; ///< 20-byte subsection entries (flag 0x10000)
    std::vector<std::string> records;
};

/// A file and where its records landed, for the hostile variants.
struct BglBytes {
    std::string bytes;
    std::vector<std::size_t> recordOffsets; ///< every top-level record, in file order
};

std::uint32_t gf_packIcao(const std::string& ICAO);
std::uint32_t gf_packLatitude(double LAT);
std::uint32_t gf_packLongitude(double LON);

/// A record or subrecord: id, size (the true one unless SIZE is given), payload.
std::string gf_bglRecord(std::uint16_t ID, const std::string& PAYLOAD, std::optional<std::uint32_t> SIZE = {});
std::string gf_airportRecord(const BglAirport& AIRPORT);
BglBytes gf_bglFile(const std::vector<BglSection>& SECTIONS);
/// One airport section holding these airports.
std::string gf_bglOfAirports(const std::vector<BglAirport>& AIRPORTS);
/// An airport of N gates named g1.. gN on a grid round LAT, LON.
BglAirport gf_gridAirport(const std::string& ICAO, int N, double LAT = 52.3, double LON = 4.76);

} // namespace orv::test
