// Writes BGL files for tests and benchmarks, little-endian, field by field.
#include "tests/scanner/bgl_writer.h"

#include <cmath>
#include <cstring>

namespace orv::test {

namespace {

constexpr std::size_t headerSize = 56, sectionEntry = 20, subsectionEntry = 16;
constexpr std::size_t airportFixed = 68, spotFixed = 56, helipadSize = 36;

void lf_put(std::string& OUT, std::size_t AT, const void* VALUE, std::size_t WIDTH)
{
    if (OUT.size() < AT + WIDTH) OUT.resize(AT + WIDTH, '\0');
    const auto* bytes = static_cast<const unsigned char*>(VALUE);
    for (std::size_t i = 0; i < WIDTH; ++i) OUT[AT + i] = static_cast<char>(bytes[i]); // little-endian host
}
void lf_u32(std::string& OUT, std::size_t AT, std::uint32_t V) { lf_put(OUT, AT, &V, 4); }
void lf_u16(std::string& OUT, std::size_t AT, std::uint16_t V) { lf_put(OUT, AT, &V, 2); }
void lf_f32(std::string& OUT, std::size_t AT, float V) { lf_put(OUT, AT, &V, 4); }

std::string lf_spot(const BglSpot& S)
{
    std::string spot(spotFixed + 4 * S.airlineCodes, '\0');
    spot[0] = static_cast<char>(S.prefix & 0x3F);
    spot[1] = static_cast<char>((S.type & 0x0F) | (S.number & 0x0F) << 4);
    spot[2] = static_cast<char>((S.number >> 4) & 0xFF);
    spot[3] = static_cast<char>(S.airlineCodes);
    lf_f32(spot, 4, S.radiusM);
    lf_f32(spot, 8, S.headingDeg);
    lf_u32(spot, 28, gf_packLongitude(S.lon));
    lf_u32(spot, 32, gf_packLatitude(S.lat));
    for (unsigned i = 0; i < S.airlineCodes; ++i) lf_u32(spot, spotFixed + 4 * i, gf_packIcao("KLM"));
    return spot;
}

std::string lf_helipad(const BglHelipad& H)
{
    std::string payload(helipadSize - 6, '\0'); // offsets below count from the head
    std::string record = gf_bglRecord(0x0026, payload);
    lf_u32(record, 12, gf_packLongitude(H.lon));
    lf_u32(record, 16, gf_packLatitude(H.lat));
    lf_f32(record, 28, H.widthM);
    return record;
}

} // namespace

std::uint32_t gf_packIcao(const std::string& ICAO)
{
    std::uint32_t v = 0;
    for (const char c : ICAO) {
        std::uint32_t digit = 0;
        if (c >= '0' && c <= '9') digit = static_cast<std::uint32_t>(c - 46);
        if (c >= 'A' && c <= 'Z') digit = static_cast<std::uint32_t>(c - 53);
        v = v * 38 + digit;
    }
    return v << 5;
}

std::uint32_t gf_packLatitude(double LAT) { return static_cast<std::uint32_t>(std::llround((90.0 - LAT) / 3.3527612686157227e-7)); }
std::uint32_t gf_packLongitude(double LON) { return static_cast<std::uint32_t>(std::llround((LON + 180.0) / 4.470348358154297e-7)); }

std::string gf_bglRecord(std::uint16_t ID, const std::string& PAYLOAD, std::optional<std::uint32_t> SIZE)
{
    std::string record(6, '\0');
    lf_u16(record, 0, ID);
    lf_u32(record, 2, SIZE.value_or(static_cast<std::uint32_t>(6 + PAYLOAD.size())));
    return record + PAYLOAD;
}

std::string gf_airportRecord(const BglAirport& A)
{
    std::string body(airportFixed, '\0');
    lf_u32(body, 20, static_cast<std::uint32_t>(A.altitudeMm));
    lf_u32(body, 40, gf_packIcao(A.icao));
    std::string helipads;
    for (const auto& h : A.helipads) helipads += lf_helipad(h);
    std::string spots(2, '\0'); // behind the head: the count, then the spots
    lf_u16(spots, 0, A.spotCount.value_or(static_cast<std::uint16_t>(A.spots.size())));
    for (const auto& s : A.spots) spots += lf_spot(s);
    const std::string parking = A.spots.empty() && !A.spotCount ? std::string() : gf_bglRecord(0x00E7, spots);
    for (const auto& extra : A.extraSubrecords) body += extra;
    body += A.helipadsAfterParking ? parking + helipads : helipads + parking;
    lf_u16(body, 0, 0x0056);
    lf_u32(body, 2, static_cast<std::uint32_t>(body.size()));
    return body;
}

BglBytes gf_bglFile(const std::vector<BglSection>& SECTIONS)
{
    BglBytes file;
    std::string& out = file.bytes;
    out.assign(headerSize, '\0');
    lf_u32(out, 0, 0x19920201u); // a magic word the reader does not look at
    lf_u32(out, 4, headerSize);
    lf_u32(out, 20, static_cast<std::uint32_t>(SECTIONS.size()));
    const std::size_t tables = headerSize + sectionEntry * SECTIONS.size();
    std::size_t next = tables + subsectionEntry * SECTIONS.size();
    for (std::size_t i = 0; i < SECTIONS.size(); ++i) {
        const std::size_t entry = headerSize + sectionEntry * i;
        const std::size_t table = tables + subsectionEntry * i;
        lf_u32(out, entry, SECTIONS[i].type);
        lf_u32(out, entry + 4, SECTIONS[i].wideEntries ? 0x10000u : 0u);
        lf_u32(out, entry + 8, 1);
        lf_u32(out, entry + 12, static_cast<std::uint32_t>(table));
        lf_u32(out, table + 4, static_cast<std::uint32_t>(SECTIONS[i].records.size()));
        lf_u32(out, table + 8, static_cast<std::uint32_t>(next));
        for (const auto& record : SECTIONS[i].records) next += record.size();
    }
    out.resize(tables + subsectionEntry * SECTIONS.size(), '\0');
    for (const auto& section : SECTIONS) {
        for (const auto& record : section.records) {
            file.recordOffsets.push_back(out.size());
            out += record;
        }
    }
    return file;
}

std::string gf_bglOfAirports(const std::vector<BglAirport>& AIRPORTS)
{
    BglSection section;
    for (const auto& a : AIRPORTS) section.records.push_back(gf_airportRecord(a));
    return gf_bglFile({section}).bytes;
}

BglAirport gf_gridAirport(const std::string& ICAO, int N, double LAT, double LON)
{
    BglAirport airport;
    airport.icao = ICAO;
    airport.altitudeMm = 3000;
    for (int i = 0; i < N; ++i) {
        BglSpot spot;
        spot.number = static_cast<unsigned>(i + 1);
        spot.type = i % 3 == 0 ? 1 : 9;
        spot.lat = LAT + (i / 50) * 0.0005;
        spot.lon = LON + (i % 50) * 0.0005;
        airport.spots.push_back(spot);
    }
    return airport;
}

} // namespace orv::test
