// The BGL reader: which files hold airports (the cheap test of the header and
// the section table), and the full reading of one file into its airports with
// their parking spots and helipads. What the reading finds goes to a sink: the
// scan links or generates stand files, the tests collect.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// One parking spot or helipad as the BGL file gives it.
struct ScannedStand {
    std::string name;
    double lat = 0, lon = 0; ///< degrees
    double heading = 0;      ///< radians; 0 in the file is stored as a full circle
    double radius = 0;       ///< nautical miles
    bool cargo = false, ramp = false, heli = false;
    bool doubled = false; ///< its name was met before in the airport, during reading
};

/// One airport in reading; local to the thread that reads its file.
struct ScannedAirport {
    std::string icao, airportName, bglPath, publisher, manufacturer, creator, title;
    int altitude = 0; ///< feet
    std::vector<ScannedStand> stands;
    bool doubled = false; ///< some stand name was met twice
};

/// What a reading asks of its caller and gives back to it. The defaults are
/// those of a reading without a scan: no archive file is linked, and
/// messages go to the log.
class BglSink {
public:
    virtual ~BglSink() = default;
    /// The airport's code is known: is an archive file linked for it? Sets the
    /// airport's path and publisher fields, and ARCHIVED_COUNT to the archive
    /// file's stands.
    virtual bool recognise(ScannedAirport& AIRPORT, int& ARCHIVED_COUNT, const std::string& PATH);
    /// A record of an airport that only the simulator can resolve (MSFS 2024).
    virtual void notRecognised(const std::string& PATH);
    /// The airport's stands are read and it needs a generated stand file.
    virtual void generate(ScannedAirport& AIRPORT);
    /// A message of the reading.
    virtual void message(const std::string& TEXT);
    /// MSFS_2020 at the time of the scan: decides the newer airport record.
    bool msfs2020 = true;
};

/// The first bytes of a BGL file: the header.
inline constexpr std::size_t bglHeaderSize = 56;
/// One entry of the section table.
inline constexpr std::size_t bglSectionEntrySize = 20;
/// The section type of airports.
inline constexpr std::uint32_t bglAirportSection = 3;
/// The head of every record and subrecord: id u16, size u32.
inline constexpr std::uint32_t bglRecordHead = 6;
/// Record ids.
inline constexpr std::uint16_t bglAirportRecord = 0x0056;
inline constexpr std::uint16_t bglUnresolvedAirport = 0x0113; ///< MSFS 2024
inline constexpr std::uint16_t bglHelipad = 0x0026;
inline constexpr std::uint16_t bglParking = 0x00E7;
/// Offsets in the airport record.
inline constexpr std::uint32_t bglAirportAltitude = 20, bglAirportIcao = 40, bglAirportSubrecords = 68;
/// A parking spot without its airline codes.
inline constexpr std::uint32_t bglSpotSize = 56;

/// The cheap test: the header and the section table show an airport section.
bool lf_hasAirportSection(const std::filesystem::path& PATH);
/// The same over bytes already read (the file's head is enough).
bool lf_hasAirportSectionIn(std::string_view BYTES, std::uint64_t FILE_SIZE);
/// The full reading of one file: one read of the whole file, then
/// gf_readBglBytes. Logs an exception with the path and throws it on.
void lf_toParkingPositions(const std::filesystem::path& PATH, BglSink& SINK);
/// The full reading of a file's bytes.
void gf_readBglBytes(std::string_view BYTES, const std::string& PATH, BglSink& SINK);
/// The packed base-38 code of an airport; OK false unless four letters or digits.
void lf_decodeIdentifierOrRegionCode(std::string& TEXT, std::uint32_t CODE, bool& OK);
/// The name prefix of a parking spot by its 6-bit index.
std::string lf_spotPrefix(unsigned INDEX);
/// Gives doubled names out again by size: the largest stand keeps the bare name.
void lf_fixDoubleIds(std::vector<ScannedStand>& STANDS);

/// Packed coordinates.
inline constexpr double bglLonFactor = 4.470348358154297e-7; ///< 360 / (3 * 2^28)
inline constexpr double bglLatFactor = 3.3527612686157227e-7; ///< 180 / 2^29
inline double gf_bglLongitude(std::uint32_t X) { return X * bglLonFactor - 180.0; }
inline double gf_bglLatitude(std::uint32_t X) { return 90.0 - X * bglLatFactor; }

} // namespace orv
