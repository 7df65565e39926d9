// The full reading of one BGL file: the airport sections, their records, the
// parking spots and helipads of each airport. Every read goes through the
// bounds-checked view; a list whose record claims a size too small to move on
// ends with a message, so no file makes the reading loop.
#include "scanner/bgl_reader.h"
#include "scanner/bgl_view.h"

#include "core/log.h"

#include <fmt/format.h>

#include <cmath>
#include <fstream>
#include <numbers>
#include <unordered_set>
#include <utility>

namespace orv {

namespace {

constexpr std::size_t minimumWords = 15;
constexpr double feetPerMetre = 3.2808399;
constexpr int lowestAltitudeFt = -20, highestAltitudeFt = 10000;
constexpr double smallestRadiusM = 1.0, largestRadiusM = 200.0;
constexpr double metresPerNm = 1852.0;
constexpr double fullCircle = 2.0 * std::numbers::pi;
constexpr std::string_view doubleSuffixes = "abcdef";
constexpr unsigned cargoRamp = 5;

/// What one reading of one file keeps: helipads are numbered per airport
/// and must never be shared between two readers.
struct Reading {
    const BglView& view;
    const std::string& path;
    BglSink& sink;
    int helipadNumber = 1;
    std::vector<std::pair<double, double>> helipadPositions;
    std::unordered_set<std::string> names;
};

std::string lf_positionText(double LAT, double LON) { return fmt::format("{:.6f}, {:.6f}", LAT, LON); }

bool lf_badPosition(double LAT, double LON)
{
    if (!(LAT >= -90.0 && LAT <= 90.0 && LON >= -180.0 && LON <= 180.0)) return true;
    return LAT >= 0.0 && LAT <= 0.0009 && LON >= 0.0 && LON <= 0.05; // the null position
}

/// The size of the record at POSITION, or 0 when it is too small to move
/// on: then the list ends here with a message.
std::uint32_t lf_recordSize(Reading& R, std::uint64_t POSITION, const char* LIST)
{
    const std::uint32_t size = R.view.u32(POSITION + 2);
    if (size >= bglRecordHead) return size;
    R.sink.message(fmt::format("! record of size {} at {} ends the {} list, in {}", size, POSITION, LIST, R.path));
    return 0;
}

/// The spot's kind, by its 4-bit type: kept, cargo, ramp.
struct SpotKind {
    bool kept, cargo, ramp;
};
SpotKind lf_spotKind(unsigned TYPE)
{
    const bool kept = TYPE != 0 && TYPE != 12 && TYPE != 13;
    const bool ramp = (TYPE >= 1 && TYPE <= 7) || TYPE == 14;
    return {kept, TYPE == cargoRamp, ramp};
}

/// NAME, or NAME with the first free letter behind it; empty when all six are taken.
std::string lf_uniqueName(Reading& R, const std::string& NAME, ScannedAirport& AIRPORT, bool& DOUBLED)
{
    DOUBLED = false;
    if (R.names.insert(NAME).second) return NAME;
    for (const char letter : doubleSuffixes) {
        std::string candidate = NAME + letter;
        if (R.names.insert(candidate).second) {
            DOUBLED = AIRPORT.doubled = true;
            return candidate;
        }
    }
    R.sink.message(fmt::format("{}Warning more then 6 the same ids {}, in {}", "===> ", NAME, R.path));
    return {};
}

void lf_readSpot(Reading& R, std::uint64_t SPOT, ScannedAirport& AIRPORT)
{
    const BglView& v = R.view;
    const double radiusM = v.f32(SPOT + 4);
    if (!(radiusM > smallestRadiusM && radiusM < largestRadiusM)) {
        R.sink.message(fmt::format("skipped position with radius {:.1F} meters, in {}", radiusM, R.path));
        return;
    }
    const unsigned byte1 = v.u8(SPOT + 1);
    const unsigned number = ((static_cast<unsigned>(v.u8(SPOT + 2)) << 8) + byte1) >> 4;
    const std::string name = lf_spotPrefix(v.u8(SPOT) & 0x3Fu) + std::to_string(number);
    const SpotKind kind = lf_spotKind(byte1 & 0x0Fu);
    if (!kind.kept) return;
    const double lon = gf_bglLongitude(v.u32(SPOT + 28));
    const double lat = gf_bglLatitude(v.u32(SPOT + 32));
    if (lf_badPosition(lat, lon)) {
        R.sink.message(fmt::format("lat/lon: {}, incorrect (skipped) ", lf_positionText(lat, lon)));
        return;
    }
    bool doubled = false;
    std::string unique = lf_uniqueName(R, name, AIRPORT, doubled);
    if (unique.empty()) return;
    const double headingDeg = v.f32(SPOT + 8);
    ScannedStand stand;
    stand.name = std::move(unique);
    stand.lat = lat;
    stand.lon = lon;
    stand.heading = headingDeg == 0.0 ? fullCircle : headingDeg * std::numbers::pi / 180.0;
    stand.radius = radiusM / metresPerNm;
    stand.cargo = kind.cargo;
    stand.ramp = kind.ramp;
    stand.doubled = doubled;
    AIRPORT.stands.push_back(std::move(stand));
}

/// The spots of a parking subrecord; a spot that would reach past the
/// subrecord's end (a count that lies) ends the list with a message.
void lf_readParking(Reading& R, std::uint64_t RECORD, std::uint64_t END, ScannedAirport& AIRPORT)
{
    const unsigned count = R.view.u16(RECORD + 6);
    std::uint64_t spot = RECORD + 8;
    for (unsigned i = 0; i < count; ++i) {
        const bool headInside = spot + bglSpotSize <= END;
        const std::uint64_t spotSize = headInside ? bglSpotSize + 4ull * R.view.u8(spot + 3) : bglSpotSize;
        if (!headInside || spot + spotSize > END) {
            R.sink.message(fmt::format("! parking spot {} of {} reaches past its record, in {}", i + 1, count, R.path));
            return;
        }
        lf_readSpot(R, spot, AIRPORT);
        spot += spotSize;
    }
}

void lf_readHelipad(Reading& R, std::uint64_t RECORD, ScannedAirport& AIRPORT)
{
    const double lon = gf_bglLongitude(R.view.u32(RECORD + 12));
    const double lat = gf_bglLatitude(R.view.u32(RECORD + 16));
    const std::string position = lf_positionText(lat, lon);
    if (lf_badPosition(lat, lon)) {
        R.sink.message("lat/lon helipad incorrect (skipped): " + position);
        return;
    }
    for (const auto& [seenLat, seenLon] : R.helipadPositions) {
        if (seenLat == lat && seenLon == lon) {
            R.sink.message("double helipad " + AIRPORT.icao + " (skipped) " + position);
            return;
        }
    }
    R.helipadPositions.emplace_back(lat, lon);
    ScannedStand stand;
    stand.name = fmt::format("helipad{}", R.helipadNumber++);
    stand.lat = lat;
    stand.lon = lon;
    stand.radius = R.view.f32(RECORD + 28) / 2.0 / metresPerNm;
    stand.heli = true;
    AIRPORT.stands.push_back(std::move(stand));
}

void lf_processAirport(Reading& R, std::uint64_t RECORD, std::uint64_t END, const std::string& ICAO)
{
    ScannedAirport airport;
    airport.icao = ICAO;
    int archivedCount = 0;
    const bool recognised = R.sink.recognise(airport, archivedCount, R.path);
    if (!R.sink.msfs2020 && recognised) return;
    const double feet = std::round(R.view.i32(RECORD + bglAirportAltitude) * feetPerMetre / 1000.0);
    const int altitude = static_cast<int>(feet);
    airport.altitude = altitude >= lowestAltitudeFt && altitude <= highestAltitudeFt ? altitude : 0;
    R.helipadNumber = 1;
    R.helipadPositions.clear();
    R.names.clear();
    for (std::uint64_t position = RECORD + bglAirportSubrecords; position < END;) {
        const std::uint16_t id = R.view.u16(position);
        const std::uint32_t size = lf_recordSize(R, position, "airport's");
        if (size == 0) break;
        if (id == bglHelipad) lf_readHelipad(R, position, airport);
        if (id == bglParking) {
            lf_readParking(R, position, std::min<std::uint64_t>(position + size, R.view.size()), airport);
            if (airport.doubled) lf_fixDoubleIds(airport.stands);
            break; // a second parking subrecord is never read
        }
        position += size;
    }
    const auto n = static_cast<int>(airport.stands.size());
    const bool simaddon = airport.publisher == "simaddon";
    if (n > archivedCount && !simaddon)
        R.sink.message(fmt::format("{}{} has {} parkpos while archived one has {}", "===> ", ICAO, n, archivedCount));
    if (recognised && (n <= archivedCount || simaddon)) return;
    R.sink.generate(airport);
}

/// The run of records of one airport section's first subsection; false when
/// the file's reading ends here.
bool lf_walkRecords(Reading& R, std::uint64_t POSITION)
{
    const std::uint64_t end = R.view.size();
    while (POSITION < end) {
        const std::uint16_t id = R.view.u16(POSITION);
        const std::uint32_t size = lf_recordSize(R, POSITION, "record");
        if (size == 0) return true;
        if (id == bglUnresolvedAirport && !R.sink.msfs2020) {
            R.sink.notRecognised(R.path);
            return false;
        }
        if (id == bglAirportRecord) {
            std::string icao;
            bool ok = true;
            lf_decodeIdentifierOrRegionCode(icao, R.view.u32(POSITION + bglAirportIcao), ok);
            if (ok) lf_processAirport(R, POSITION, std::min<std::uint64_t>(POSITION + size, end), icao);
        }
        POSITION += size;
    }
    return true;
}

} // namespace

void gf_readBglBytes(std::string_view BYTES, const std::string& PATH, BglSink& SINK)
{
    const BglView view(BYTES);
    if (view.size() < minimumWords * 4 || view.u32(4) != bglHeaderSize) return;
    Reading reading{view, PATH, SINK, 1, {}, {}};
    const std::uint32_t sections = view.u32(20);
    for (std::uint64_t i = 0; i < sections; ++i) {
        const std::uint64_t entry = bglHeaderSize + i * bglSectionEntrySize;
        if (view.u32(entry) != bglAirportSection) continue;
        const std::uint32_t entrySize = ((view.u32(entry + 4) & 0x10000u) | 0x40000u) >> 14;
        if (entrySize != 16) continue; // the newer 20-byte entries are passed over
        const std::uint32_t records = view.u32(view.u32(entry + 12) + 8ull);
        if (!lf_walkRecords(reading, records)) return;
    }
}

} // namespace orv
