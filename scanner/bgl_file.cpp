// The BGL reader's edges: the cheap test of a file's head, the one read of a
// whole file, the unpacking of codes and names, and the renaming of doubled
// stands by size.
#include "scanner/bgl_reader.h"
#include "scanner/bgl_view.h"

#include "core/log.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <fstream>

namespace orv {

namespace {

constexpr std::uint64_t shortestFile = 15;
constexpr std::uint32_t codeBase = 38;
constexpr std::size_t icaoLength = 4;
constexpr unsigned firstLetterIndex = 12;
constexpr std::array<const char*, 12> spotPrefixes{"", "r", "p", "np", "ep", "sep", "sp", "swp", "wp", "nwp", "g", ""};
constexpr std::string_view nameLetters = "abcdef";

} // namespace

bool BglSink::recognise(ScannedAirport& AIRPORT, int& ARCHIVED_COUNT, const std::string& PATH)
{
    ARCHIVED_COUNT = 0;
    AIRPORT.bglPath = PATH;
    AIRPORT.publisher = "unknown";
    return false;
}

void BglSink::notRecognised(const std::string&) {}

void BglSink::generate(ScannedAirport&) {}

void BglSink::message(const std::string& TEXT) { gf_log(TEXT); }

bool lf_hasAirportSectionIn(std::string_view BYTES, std::uint64_t FILE_SIZE)
{
    const BglView view(BYTES);
    if (FILE_SIZE < shortestFile || !view.holds(0, bglHeaderSize)) return false;
    const std::uint64_t sections = view.u32(20);
    if (sections == 0 || bglHeaderSize + bglSectionEntrySize * sections >= FILE_SIZE) return false;
    for (std::uint64_t i = 0; i < sections; ++i) {
        const std::uint64_t entry = bglHeaderSize + i * bglSectionEntrySize;
        if (!view.holds(entry, 4)) return false;
        if (view.u32(entry) == bglAirportSection) return true;
    }
    return false;
}

bool lf_hasAirportSection(const std::filesystem::path& PATH)
{
    // A scan passes thousands of files: one open, one seek and at most two
    // short reads each, without the weight of a stream.
    const std::unique_ptr<std::FILE, decltype(&std::fclose)> file(std::fopen(PATH.c_str(), "rb"), &std::fclose);
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) return false;
    const long end = std::ftell(file.get());
    if (end < static_cast<long>(bglHeaderSize) || std::fseek(file.get(), 0, SEEK_SET) != 0) return false;
    const auto fileSize = static_cast<std::uint64_t>(end);
    std::string head(bglHeaderSize, '\0');
    if (std::fread(head.data(), 1, head.size(), file.get()) != head.size()) return false;
    const std::uint64_t sections = BglView(head).u32(20);
    if (sections == 0 || bglHeaderSize + bglSectionEntrySize * sections >= fileSize) return false;
    head.resize(bglHeaderSize + bglSectionEntrySize * sections);
    const std::size_t table = head.size() - bglHeaderSize;
    if (std::fread(head.data() + bglHeaderSize, 1, table, file.get()) != table) return false;
    return lf_hasAirportSectionIn(head, fileSize);
}

void lf_toParkingPositions(const std::filesystem::path& PATH, BglSink& SINK)
{
    const std::string path = PATH.string();
    try {
        std::ifstream file(PATH, std::ios::binary | std::ios::ate);
        if (!file) return;
        std::string bytes;
        bytes.resize(static_cast<std::size_t>(file.tellg()));
        file.seekg(0);
        if (!file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()))) return;
        gf_readBglBytes(bytes, path, SINK);
    } catch (const std::exception&) {
        SINK.message(fmt::format("Exception in lf_toParkingPositions: {}", path));
        throw;
    }
}

void lf_decodeIdentifierOrRegionCode(std::string& TEXT, std::uint32_t CODE, bool& OK)
{
    OK = true;
    TEXT.clear();
    std::uint32_t v = CODE >> 5;
    std::string reversed;
    while (v >= codeBase) {
        reversed.push_back(static_cast<char>(v % codeBase));
        v /= codeBase;
    }
    reversed.push_back(static_cast<char>(v));
    for (auto it = reversed.rbegin(); it != reversed.rend(); ++it) {
        const int d = *it;
        if (d == 0) {
            TEXT.push_back(' ');
            OK = false;
        } else if (d >= 2 && d <= 11) {
            TEXT.push_back(static_cast<char>(d + 46));
        } else {
            TEXT.push_back(static_cast<char>(d + 53));
        }
    }
    if (TEXT.size() != icaoLength) OK = false;
}

std::string lf_spotPrefix(unsigned INDEX)
{
    if (INDEX < spotPrefixes.size()) return spotPrefixes[INDEX];
    return std::string(1, static_cast<char>(INDEX - firstLetterIndex + 'A'));
}

void lf_fixDoubleIds(std::vector<ScannedStand>& STANDS)
{
    int privateNumber = 0;
    while (true) {
        const auto flagged = std::find_if(STANDS.begin(), STANDS.end(), [](const ScannedStand& S) { return S.doubled; });
        if (flagged == STANDS.end()) return;
        flagged->doubled = false;
        const std::string base = flagged->name.substr(0, flagged->name.size() - 1);
        std::vector<ScannedStand*> group;
        for (auto& stand : STANDS) {
            const bool lettered = stand.name.size() == base.size() + 1 && stand.name.starts_with(base) &&
                                  nameLetters.find(stand.name.back()) != std::string_view::npos;
            if (stand.name != base && !lettered) continue;
            stand.doubled = false;
            stand.name = fmt::format("zorbo{}", privateNumber++);
            group.push_back(&stand);
        }
        std::stable_sort(group.begin(), group.end(),
                         [](const ScannedStand* A, const ScannedStand* B) { return A->radius > B->radius; });
        for (std::size_t i = 0; i < group.size(); ++i)
            group[i]->name = i == 0 ? base : base + nameLetters[std::min(i - 1, nameLetters.size() - 1)];
    }
}

} // namespace orv
