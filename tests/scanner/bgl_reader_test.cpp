// The BGL reader against files made by the writer: each row one rule of the
// reading (radius, type, name, doubled names, heading, altitude, ident,
// helipads, the older and newer record kinds), written and read back.
#include "tests/scanner/bgl_sink.h"
#include "tests/scanner/bgl_writer.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace orv::test {
namespace {

constexpr double metresPerNm = 1852.0;

BglSpot spot(unsigned NUMBER, float RADIUS, unsigned TYPE = 8, float HEADING = 90.0f, unsigned PREFIX = 10)
{
    BglSpot s;
    s.number = NUMBER;
    s.radiusM = RADIUS;
    s.type = TYPE;
    s.headingDeg = HEADING;
    s.prefix = PREFIX;
    s.lat = 52.3 + NUMBER * 0.0001;
    return s;
}

BglAirport airport(std::string ICAO, std::vector<BglSpot> SPOTS, std::int32_t ALTITUDE_MM = 3000)
{
    BglAirport a;
    a.icao = std::move(ICAO);
    a.spots = std::move(SPOTS);
    a.altitudeMm = ALTITUDE_MM;
    return a;
}

/// "ICAO altitude: name kind radius heading, ..." with radius in metres and heading in degrees.
std::string describe(const ScannedAirport& A)
{
    std::string text = fmt::format("{} {}:", A.icao, A.altitude);
    for (const auto& s : A.stands) {
        const char kind = s.heli ? 'h' : s.cargo ? 'c' : s.ramp ? 'r' : 'g';
        text += fmt::format(" {} {} {:.1f} {:.1f}", s.name, kind, s.radius * metresPerNm, s.heading * 180.0 / std::numbers::pi);
    }
    return text;
}

struct Row {
    const char* what;
    std::vector<BglAirport> airports;
    std::vector<std::string> expected;
    std::string message = {}; ///< a message the reading must give, once
};

TEST(BglReader, RoundTripsEachRuleOfTheReading)
{
    BglAirport helipads = airport("EHHE", {spot(1, 20)});
    helipads.helipads = {{52.31, 4.77, 30.0f}, {52.32, 4.77, 10.0f}, {52.31, 4.77, 30.0f}, {52.33, 4.77, 12.0f}};
    BglAirport second = airport("EHRD", {});
    second.helipads = {{51.9, 4.4, 20.0f}};
    BglAirport behind = airport("EHBH", {spot(1, 20)});
    behind.helipads = {{52.31, 4.77, 30.0f}};
    behind.helipadsAfterParking = true;
    BglAirport empty = airport("EHEM", {});
    empty.spotCount = 0;
    empty.helipads = {{52.31, 4.77, 30.0f}};
    empty.helipadsAfterParking = true;
    BglSpot nullPosition = spot(2, 20);
    nullPosition.lat = 0.0005;
    nullPosition.lon = 0.01;
    BglSpot withCodes = spot(1, 20);
    withCodes.airlineCodes = 3;
    std::vector<BglSpot> eight(8, spot(5, 20));
    const std::vector<Row> rows{
        {"radius bounds", {airport("EHAA", {spot(1, 1.0f), spot(2, 1.1f), spot(3, 199.9f), spot(4, 200.0f)})},
         {"EHAA 10: g2 g 1.1 90.0 g3 g 199.9 90.0"}, "skipped position with radius 200.0 meters, in t.bgl"},
        {"types", {airport("EHAB", {spot(1, 20, 14), spot(2, 20, 12), spot(3, 20, 5), spot(4, 20, 0), spot(5, 20, 13),
                                    spot(6, 20, 11), spot(7, 20, 15), spot(8, 20, 7)})},
         {"EHAB 10: g1 r 20.0 90.0 g3 c 20.0 90.0 g6 g 20.0 90.0 g7 g 20.0 90.0 g8 r 20.0 90.0"}},
        {"prefixes", {airport("EHAC", {spot(1, 20, 8, 90, 0), spot(2, 20, 8, 90, 1), spot(3, 20, 8, 90, 9),
                                       spot(4, 20, 8, 90, 11), spot(5, 20, 8, 90, 12), spot(4095, 20, 8, 90, 37)})},
         {"EHAC 10: 1 g 20.0 90.0 r2 g 20.0 90.0 nwp3 g 20.0 90.0 4 g 20.0 90.0 A5 g 20.0 90.0 Z4095 g 20.0 90.0"}},
        {"doubled by size", {airport("EHAD", {spot(12, 20), spot(12, 30)})}, {"EHAD 10: g12a g 20.0 90.0 g12 g 30.0 90.0"}},
        {"headings", {airport("EHAE", {spot(1, 20, 8, 0), spot(2, 20, 8, 360), spot(3, 20, 8, 180)})},
         {"EHAE 10: g1 g 20.0 360.0 g2 g 20.0 360.0 g3 g 20.0 180.0"}},
        {"eight of one name", {airport("EHAF", eight)},
         {"EHAF 10: g5 g 20.0 90.0 g5a g 20.0 90.0 g5b g 20.0 90.0 g5c g 20.0 90.0 g5d g 20.0 90.0 g5e g 20.0 90.0 g5f g 20.0 90.0"},
         "===> Warning more then 6 the same ids g5, in t.bgl"},
        {"idents of three letters or with a blank", {airport("EHA", {spot(1, 20)}), airport("E HA", {spot(1, 20)}), airport("EH1B", {spot(1, 20)})},
         {"EH1B 10: g1 g 20.0 90.0"}},
        {"altitude too high", {airport("EHAG", {spot(1, 20)}, 4000000)}, {"EHAG 0: g1 g 20.0 90.0"}},
        {"altitude below the sea", {airport("EHAH", {spot(1, 20)}, -5000), airport("EHAI", {spot(1, 20)}, -7000)},
         {"EHAH -16: g1 g 20.0 90.0", "EHAI 0: g1 g 20.0 90.0"}},
        {"helipads per airport", {helipads, second},
         {"EHHE 10: helipad1 h 15.0 0.0 helipad2 h 5.0 0.0 helipad3 h 6.0 0.0 g1 g 20.0 90.0", "EHRD 10: helipad1 h 10.0 0.0"},
         "double helipad EHHE (skipped) 52.310000, 4.770000"},
        {"helipad behind the parking", {behind}, {"EHBH 10: g1 g 20.0 90.0"}},
        {"no spots end the walk", {empty}, {"EHEM 10:"}},
        {"null position", {airport("EHAJ", {spot(1, 20), nullPosition})}, {"EHAJ 10: g1 g 20.0 90.0"},
         "lat/lon: 0.000500, 0.010000, incorrect (skipped) "},
        {"airline codes behind a spot", {airport("EHAK", {withCodes, spot(2, 20)})}, {"EHAK 10: g1 g 20.0 90.0 g2 g 20.0 90.0"}},
    };
    for (const auto& row : rows) {
        CollectSink sink;
        gf_readBglBytes(gf_bglOfAirports(row.airports), "t.bgl", sink);
        std::vector<std::string> got;
        for (const auto& a : sink.airports) got.push_back(describe(a));
        EXPECT_EQ(got, row.expected) << row.what;
        if (!row.message.empty()) {
            EXPECT_EQ(sink.count(row.message), 1) << row.what;
        }
    }
}

TEST(BglReader, ArchiveFilesAndRecordKindsDecideWhatIsGenerated)
{
    const auto spots = [](int N) {
        std::vector<BglSpot> s;
        for (int i = 1; i <= N; ++i) s.push_back(spot(static_cast<unsigned>(i), 20));
        return s;
    };
    struct Case {
        const char* what;
        bool msfs2020, recognised;
        int archived, stands;
        std::string publisher;
        bool generated;
        int warnings;
    };
    const std::vector<Case> cases{
        {"unknown publisher", true, false, 0, 3, "unknown", true, 1},
        {"more than the archive", true, true, 40, 45, "Pub", true, 1},
        {"as many as the archive", true, true, 40, 40, "Pub", false, 0},
        {"simaddon keeps its link", true, true, 0, 45, "simaddon", false, 0},
        {"2024 recognised: nothing read", false, true, 0, 45, "Pub", false, 0},
        {"2024 not recognised", false, false, 0, 2, "Pub", true, 1},
    };
    for (const auto& c : cases) {
        CollectSink sink;
        sink.msfs2020 = c.msfs2020;
        sink.recogniseAll = c.recognised;
        sink.archived = c.archived;
        sink.publisher = c.publisher;
        gf_readBglBytes(gf_bglOfAirports({airport("EHAM", spots(c.stands))}), "t.bgl", sink);
        EXPECT_EQ(sink.airports.size(), c.generated ? 1u : 0u) << c.what;
        EXPECT_EQ(sink.count("parkpos while archived one has"), c.warnings) << c.what;
    }
}

TEST(BglReader, UnresolvedAirportRecordEndsTheFileOnlyFor2024)
{
    BglSection section;
    section.records = {gf_airportRecord(airport("EHAA", {spot(1, 20)})), gf_bglRecord(0x0113, std::string(20, '\0')),
                       gf_airportRecord(airport("EHAB", {spot(1, 20)}))};
    const std::string bytes = gf_bglFile({section}).bytes;
    for (const bool msfs2020 : {true, false}) {
        CollectSink sink;
        sink.msfs2020 = msfs2020;
        gf_readBglBytes(bytes, "u.bgl", sink);
        EXPECT_EQ(sink.airports.size(), msfs2020 ? 2u : 1u);
        EXPECT_EQ(sink.unresolved, msfs2020 ? std::vector<std::string>{} : std::vector<std::string>{"u.bgl"});
    }
}

} // namespace
} // namespace orv::test
