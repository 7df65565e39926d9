// A synthetic Community folder for the scan benchmark: livery packages in the
// shapes met in the wild (one big traffic package with a folder per model,
// packages whose model comes from base_container, IVAO packages whose model
// is the folder name), in every encoding the reader takes, with a share of
// malformed files. Also the plain reference database that fits it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

namespace orv::bench {

struct BenchModel {
    const char* code;
    const char* category; ///< "lar", "hvy", "bzj", "rot", "hpf" or "" (light)
    double spanMetres;
};

inline const std::vector<BenchModel>& benchModels()
{
    static const std::vector<BenchModel> models{
        {"A319", "lar", 35.8}, {"A320", "lar", 35.8}, {"A20N", "lar", 35.8}, {"A321", "lar", 35.8},
        {"A21N", "lar", 35.8}, {"B737", "lar", 34.3}, {"B738", "lar", 35.8}, {"B739", "lar", 35.8},
        {"B38M", "lar", 35.9}, {"E190", "lar", 28.7}, {"E195", "lar", 28.7}, {"CRJ9", "lar", 24.9},
        {"AT76", "lar", 27.1}, {"DH8D", "lar", 28.4}, {"A332", "hvy", 60.3}, {"A333", "hvy", 60.3},
        {"A359", "hvy", 64.8}, {"A388", "hvy", 79.8}, {"B744", "hvy", 64.4}, {"B748", "hvy", 68.4},
        {"B77W", "hvy", 64.8}, {"B788", "hvy", 60.1}, {"B789", "hvy", 60.1}, {"C25C", "bzj", 15.5},
        {"CL60", "bzj", 19.6}, {"GLEX", "bzj", 28.7}, {"C172", "", 11.0},    {"C152", "", 10.1},
        {"SR22", "", 11.7},    {"BE36", "", 10.2},    {"EC35", "rot", 10.2}, {"R44", "rot", 10.1},
    };
    return models;
}

/// Airline codes AAA, AAB, ... : enough of them for a big catalogue.
inline std::vector<std::string> benchAirlines(int COUNT)
{
    std::vector<std::string> codes;
    for (int i = 0; i < COUNT; ++i)
        codes.push_back(fmt::format("{}{}{}", char('A' + i / 676 % 26), char('A' + i / 26 % 26), char('A' + i % 26)));
    return codes;
}

inline constexpr int benchAirlineCount = 600;

/// The plain (unscrambled) reference database of the benchmark.
inline std::string benchPlainDbase()
{
    std::string models, large, heavy, buzjet, rotor, spans;
    for (const auto& m : benchModels()) {
        models += fmt::format("{}{}", models.empty() ? "" : ",", m.code);
        const std::string category = m.category;
        auto& list = category == "lar" ? large : category == "hvy" ? heavy : category == "bzj" ? buzjet : rotor;
        if (!category.empty() && category != "hpf") list += fmt::format("{}{}", list.empty() ? "" : ",", m.code);
        spans += fmt::format("<wingspan type=\"{}\" meters=\"{}\"/>", m.code, m.spanMetres);
    }
    std::string airlines;
    for (const auto& code : benchAirlines(benchAirlineCount)) airlines += (airlines.empty() ? "" : ",") + code;
    std::string records;
    for (int i = 0; i < 2000; ++i)
        records += fmt::format("<db reg=\"PH-{:03}\" airl=\"{}\" type=\"{}\"{}/>", i, benchAirlines(benchAirlineCount)[i % 300],
                               benchModels()[static_cast<std::size_t>(i) % 14].code, i % 9 == 0 ? " cargo=\"true\"" : "");
    return fmt::format("<aircrafts><aircraft types=\"{}\"/></aircrafts><high_performance><hpf types=\"F16\"/></high_performance>"
                       "<heavy><hvy types=\"{}\"/></heavy><large><lar types=\"{}\"/></large><buzjet><bzj types=\"{}\"/></buzjet>"
                       "<rotorcraft><rot types=\"{}\"/></rotorcraft><cargo_types><cargo_type types=\"B744,B748\"/></cargo_types>"
                       "<similar_types><similar types=\"B737,B738,B739,B38M\"/></similar_types>"
                       "<ICAO_airlines><ICAO codes=\"{}\"/></ICAO_airlines><cargo_operators><ICAO codes=\"AAA\"/></cargo_operators>"
                       "<wingspans>{}</wingspans><fixes><fx wro=\"A32N\" cor=\"A20N\"/></fixes>"
                       "<simaddons20><simaddon20 arpts=\"EHAM\"/></simaddons20><dbase>{}</dbase>",
                       models + ",F16", heavy, large, buzjet, rotor, airlines, spans, records);
}

/// Which kinds of files the tree holds, by count.
struct TreeCounts {
    int files = 0;
    int ivaoFiles = 0;
    int malformed = 0;
    int sections = 0;
};

namespace detail {

inline std::string utf16(const std::string& TEXT, bool BIG_ENDIAN_ORDER)
{
    std::string out = BIG_ENDIAN_ORDER ? "\xFE\xFF" : "\xFF\xFE";
    out.reserve(TEXT.size() * 2 + 2);
    for (const unsigned char c : TEXT) {
        out += BIG_ENDIAN_ORDER ? '\0' : static_cast<char>(c);
        out += BIG_ENDIAN_ORDER ? static_cast<char>(c) : '\0';
    }
    return out;
}

inline void write(const std::filesystem::path& PATH, const std::string& BYTES)
{
    std::filesystem::create_directories(PATH.parent_path());
    std::ofstream(PATH, std::ios::binary) << BYTES;
}

/// The bytes of one file in one of the encodings, with CRLF line ends now and then.
inline std::string encode(std::string TEXT, std::uint32_t PICK)
{
    if (PICK % 3 == 0) {
        std::string crlf;
        for (const char c : TEXT) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
        TEXT = std::move(crlf);
    }
    switch (PICK % 20) {
    case 0: case 1: return utf16(TEXT, false);
    case 2: return utf16(TEXT, true);
    case 3: case 4: return "\xEF\xBB\xBF" + TEXT;
    default: return TEXT;
    }
}

} // namespace detail

/// Writes FILES aircraft.cfg files under ROOT (which becomes a Community folder).
inline TreeCounts makeCommunityTree(const std::filesystem::path& ROOT, int FILES, std::uint32_t SEED = 20240601)
{
    namespace fs = std::filesystem;
    std::mt19937 random(SEED);
    const auto airlines = benchAirlines(benchAirlineCount);
    const auto& models = benchModels();
    TreeCounts counts;
    int title = 0;
    const auto section = [&](int NUMBER, const std::string& AIRLINE, std::uint32_t PICK) {
        ++counts.sections;
        std::string text = fmt::format("\n[fltsim.{}]\ntitle=\"Bench livery {} {}\"\nmodel=\"\"\ntexture=\"{}\"\n", NUMBER, ++title,
                                       AIRLINE, AIRLINE);
        if (PICK % 4 != 0) text += fmt::format("icao_airline={}\n", AIRLINE);
        if (PICK % 5 == 0) text += fmt::format("atc_id=PH-{:03}\n", PICK % 2000);
        if (PICK % 7 == 0) text += "atc_parking_types=CARGO\n";
        text += "ui_manufacturer=\"Bench\"\nui_type=\"Airliner\"\nui_variation=\"" + AIRLINE + "\"\n";
        text += "description=\"A generated livery for the benchmark; the text is here only to give the file a "
                "realistic length, as real files carry a long description.\"\n";
        return text;
    };
    for (int file = 0; file < FILES; ++file) {
        const std::uint32_t pick = random();
        const auto& model = models[pick % models.size()];
        const int kind = static_cast<int>(pick / 7 % 100);
        ++counts.files;
        if (kind < 8 && std::string_view(model.code).size() == 4) { // an IVAO package: model in the folder name
            ++counts.ivaoFiles;
            const fs::path folder = ROOT / fmt::format("ivao-pack-{}/ivao_x-csl/SimObjects/Airplanes/IVAO_{}_{}", file / 400,
                                                       model.code, file);
            std::string text = "[General]\natc_type=\"IVAO\"\n";
            const int sections = 1 + static_cast<int>(pick % 4);
            for (int s = 0; s < sections; ++s) {
                const auto& airline = airlines[(pick + static_cast<std::uint32_t>(s) * 13) % airlines.size()];
                text += fmt::format("\n[fltsim.{}]\ntitle={} {} bench {}\ntexture={}\n", s, model.code, airline, ++title, airline);
                fs::create_directories(folder / ("texture." + airline));
                ++counts.sections;
            }
            detail::write(folder / "aircraft.cfg", detail::encode(text, pick));
            continue;
        }
        const fs::path package = ROOT / fmt::format("bench-traffic-{}", file / 500);
        const fs::path cfg = package / fmt::format("SimObjects/Airplanes/Bench_{}_{}/aircraft.cfg", model.code, file);
        std::string text = "[VERSION]\nmajor=1\nminor=0\n\n[GENERAL]\natc_type=\"BENCH\"\n";
        if (kind < 20)
            text += "base_container=\"..\\Asobo_A320_NEO\"\n";
        else
            text += fmt::format("icao_type_designator=\"{}\"\nicao_manufacturer=\"Bench\"\n", model.code);
        const int sections = 1 + static_cast<int>(pick % 6);
        for (int s = 0; s < sections; ++s)
            text += section(s, airlines[(pick / 3 + static_cast<std::uint32_t>(s) * 31) % airlines.size()], pick + static_cast<std::uint32_t>(s));
        if (kind >= 95) { // malformed in one of the ways met in the wild
            ++counts.malformed;
            switch (kind) {
            case 95: text += "\n[fltsim.9]\ntitle=gap\n"; break;                         // numbers with a gap
            case 96: text = "[GENERAL]\nno_model=1\n[fltsim.0]\ntitle=no model\n"; break; // no model
            case 97: text += "title=doubled\n"; break;                                   // doubled key in the last section
            case 98: text = "[GENERAL]\nicao_type_designator=B738\n"; break;             // no sections
            default: { // binary junk
                text.clear();
                for (int i = 0; i < 2048; ++i) text += static_cast<char>(random() % 256);
            }
            }
        }
        detail::write(cfg, detail::encode(text, pick / 101));
    }
    return counts;
}

} // namespace orv::bench
