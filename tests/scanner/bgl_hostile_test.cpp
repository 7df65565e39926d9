// Hostile BGL files: truncated anywhere, records of size zero, sizes, counts
// and offsets past the end, sections of the newer kind, unknown records, a
// file of object placements; then a seeded fuzz of mutated files. None may
// read past the end (the reader's view throws instead) or loop.
#include "tests/scanner/bgl_sink.h"
#include "tests/scanner/bgl_writer.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <stdexcept>

namespace orv::test {
namespace {

/// Reads BYTES; true when it ended normally, false when the view refused a read.
bool readSafely(const std::string& BYTES, CollectSink& SINK)
{
    try {
        gf_readBglBytes(BYTES, "h.bgl", SINK);
        return true;
    } catch (const std::out_of_range&) {
        return false;
    }
}

void putU32(std::string& BYTES, std::size_t AT, std::uint32_t VALUE) { std::memcpy(BYTES.data() + AT, &VALUE, 4); }

std::string normalFile()
{
    BglAirport a = gf_gridAirport("EHAM", 12);
    a.helipads = {{52.31, 4.77, 30.0f}};
    a.extraSubrecords = {gf_bglRecord(0x0099, std::string(10, 'x'))};
    BglSection section;
    section.records = {gf_bglRecord(0x0042, std::string(30, 'u')), gf_airportRecord(a),
                       gf_airportRecord(gf_gridAirport("EHRD", 3, 51.9, 4.4))};
    return gf_bglFile({section}).bytes;
}

TEST(BglHostile, TruncatedAnywhereNeverReadsPastTheEnd)
{
    const std::string whole = normalFile();
    CollectSink full;
    ASSERT_TRUE(readSafely(whole, full));
    ASSERT_EQ(full.airports.size(), 2u);
    ASSERT_EQ(full.airports[0].stands.size(), 13u);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        CollectSink sink;
        readSafely(whole.substr(0, length), sink);
        // A cut file gives at most what the whole gives, never more.
        ASSERT_LE(sink.airports.size(), full.airports.size()) << length;
        for (std::size_t i = 0; i < sink.airports.size(); ++i)
            ASSERT_LE(sink.airports[i].stands.size(), full.airports[i].stands.size()) << length;
    }
}

TEST(BglHostile, LyingSizesCountsAndOffsetsEndTheirListWithAMessage)
{
    const TempDir temp;
    const BglAirport good = gf_gridAirport("EHAM", 2);
    BglAirport zeroSub = good;
    zeroSub.extraSubrecords = {gf_bglRecord(0x0099, "", 0)};
    BglAirport tinySub = good;
    tinySub.extraSubrecords = {gf_bglRecord(0x0099, "", 3)};
    BglAirport manySpots = good;
    manySpots.spotCount = 1000;
    BglAirport hugeSub = good;
    hugeSub.extraSubrecords = {gf_bglRecord(0x0099, "", 0xFFFFFFF0u)};
    const auto oneSection = [](std::vector<std::string> RECORDS, std::uint32_t TYPE = 3, bool WIDE = false) {
        BglSection section;
        section.type = TYPE;
        section.wideEntries = WIDE;
        section.records = std::move(RECORDS);
        return gf_bglFile({section}).bytes;
    };
    std::string hugeSections = oneSection({gf_airportRecord(good)});
    putU32(hugeSections, 20, 0xFFFFFFFFu);
    std::string tableOffset = oneSection({gf_airportRecord(good)});
    putU32(tableOffset, 56 + 12, 0xFFFFFFF0u);
    std::string recordsOffset = oneSection({gf_airportRecord(good)});
    putU32(recordsOffset, 76 + 8, 0x7FFFFFFFu);
    std::string wrongHeader = oneSection({gf_airportRecord(good)});
    putU32(wrongHeader, 4, 60);
    struct Row {
        const char* what;
        std::string bytes;
        std::size_t airports, stands;
        std::string message;
        bool cheap;
        bool ends = true; ///< the reading ends without the view refusing a read
    };
    const std::vector<Row> rows{
        {"zero-size record", oneSection({gf_bglRecord(0x0042, "", 0), gf_airportRecord(good)}), 0, 0, "! record of size 0", true},
        {"too-small record", oneSection({gf_bglRecord(0x0042, "", 5), gf_airportRecord(good)}), 0, 0, "! record of size 5", true},
        {"zero-size subrecord", oneSection({gf_airportRecord(zeroSub)}), 1, 0, "! record of size 0 at", true},
        {"too-small subrecord", oneSection({gf_airportRecord(tinySub)}), 1, 0, "! record of size 3 at", true},
        {"subrecord past the end", oneSection({gf_airportRecord(hugeSub)}), 1, 0, "", true},
        {"spot count past the end", oneSection({gf_airportRecord(manySpots)}), 1, 2, "! parking spot 3 of 1000", true},
        {"record past the end", oneSection({gf_bglRecord(0x0042, "", 0x7FFFFFFF), gf_airportRecord(good)}), 0, 0, "", true},
        {"unknown records", oneSection({gf_bglRecord(0x0042, "abc"), gf_airportRecord(good), gf_bglRecord(0x00FF, "z")}), 1, 2, "", true},
        {"20-byte subsection entries", oneSection({gf_airportRecord(good)}, 3, true), 0, 0, "", true},
        {"objects only", oneSection({gf_bglRecord(0x000B, std::string(40, 'o'))}, 0x25), 0, 0, "", false},
        {"section count past the end", hugeSections, 1, 2, "", false, false},
        {"subsection table past the end", tableOffset, 0, 0, "", true, false},
        {"records past the end", recordsOffset, 0, 0, "", true},
        {"header of another size", wrongHeader, 0, 0, "", true},
        {"shorter than the header", std::string(40, '\0'), 0, 0, "", false},
    };
    for (const auto& row : rows) {
        CollectSink sink;
        EXPECT_EQ(readSafely(row.bytes, sink), row.ends) << row.what;
        ASSERT_EQ(sink.airports.size(), row.airports) << row.what;
        if (row.airports > 0) {
            EXPECT_EQ(sink.airports[0].stands.size(), row.stands) << row.what;
        }
        if (!row.message.empty()) {
            EXPECT_EQ(sink.count(row.message), 1) << row.what;
        }
        EXPECT_EQ(lf_hasAirportSectionIn(row.bytes, row.bytes.size()), row.cheap) << row.what;
        writeFile("h.bgl", row.bytes); // the file's own reading of its head gives the same answer
        EXPECT_EQ(lf_hasAirportSection("h.bgl"), row.cheap) << row.what;
    }
    EXPECT_FALSE(lf_hasAirportSection("missing.bgl"));
}

/// Every stand that comes out keeps the reader's promises.
void expectSane(const CollectSink& SINK)
{
    for (const auto& a : SINK.airports) {
        ASSERT_EQ(a.icao.size(), 4u);
        ASSERT_GE(a.altitude, -20);
        ASSERT_LE(a.altitude, 10000);
        for (const auto& s : a.stands) {
            ASSERT_TRUE(s.lat >= -90 && s.lat <= 90 && s.lon >= -180 && s.lon <= 180) << s.name;
            if (!s.heli) {
                ASSERT_TRUE(s.radius * 1852.0 > 1.0 && s.radius * 1852.0 < 200.0) << s.name;
            }
            ASSERT_FALSE(s.doubled) << s.name;
        }
    }
}

TEST(BglHostile, SeededFuzzOfMutatedFiles)
{
    constexpr int files = 100000;
    const std::string base = normalFile();
    std::mt19937 random(20261125u);
    const auto below = [&](std::size_t N) { return std::uniform_int_distribution<std::size_t>(0, N - 1)(random); };
    std::string bytes;
    int refused = 0;
    for (int i = 0; i < files; ++i) {
        bytes = base;
        for (int m = 0, mutations = 1 + static_cast<int>(below(3)); m < mutations && bytes.size() > 8; ++m) {
            switch (below(4)) {
            case 0: bytes.resize(below(bytes.size())); break;
            case 1: { // a size or count that lies: small, huge or random
                static constexpr std::uint32_t values[] = {0, 1, 5, 6, 0xFFFF, 0x7FFFFFFF, 0xFFFFFFFF};
                const std::uint32_t v = below(2) == 0 ? values[below(std::size(values))] : static_cast<std::uint32_t>(random());
                putU32(bytes, below(bytes.size() - 4), v);
                break;
            }
            case 2: bytes[below(bytes.size())] = static_cast<char>(random()); break;
            default: bytes[below(bytes.size())] ^= static_cast<char>(1u << below(8)); break;
            }
        }
        CollectSink sink;
        refused += !readSafely(bytes, sink);
        lf_hasAirportSectionIn(bytes, bytes.size());
        expectSane(sink);
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(refused, 0); // the fuzz did reach the view's refusal
}

} // namespace
} // namespace orv::test
