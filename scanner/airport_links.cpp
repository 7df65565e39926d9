// What the scan makes of one airport found in a BGL file: a link file to the
// server's archive file when the add-on's publisher has one, a generated
// stand file when the add-on has more stands or no archive file at all, and
// for the MSFS 2024 records that name no airport, the search for its code.
#include "scanner/scan_state.h"

#include "liveries/dbase.h"
#include "parking/airport_db.h"
#include "parking/airport_files.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/text_files.h"
#include "core/window_state.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace orv {

namespace fs = std::filesystem;

std::vector<std::string> scanLog;
std::mutex scanLogMutex;
std::mutex scanMutex;
std::atomic<bool> scanFound{false};
bool scanFor2020 = true;

namespace {

constexpr std::size_t icaoLength = 4;

/// Writes a link file: its one line is the server path of the archive file.
void lf_writeLink(const fs::path& FOLDER, const std::string& ICAO, const std::string& SERVER_PATH)
{
    const std::lock_guard guard(scanMutex);
    fs::create_directories(FOLDER);
    gf_writeText(SERVER_PATH, FOLDER / (ICAO + ".txt"), true);
}

bool lf_simaddonLink(ScannedAirport& AIRPORT)
{
    const std::string server = fmt::format("archive/simaddon/{}.xml", AIRPORT.icao);
    if (!simAddons20.contains(AIRPORT.icao)) {
        lf_scanLog(fmt::format("{} does not exist as simaddon", server));
        return false;
    }
    lf_writeLink(mySimaddonFolder, AIRPORT.icao, server);
    lf_scanLog(fmt::format("{} airport {} linked to {}", "simaddon", AIRPORT.icao, server));
    return true;
}

bool lf_publisherLink(ScannedAirport& AIRPORT, int& ARCHIVED_COUNT)
{
    const auto& table = scanFor2020 ? thirdParties20 : thirdParties24;
    for (const auto& [publisher, airports] : table) {
        if (publisher != AIRPORT.publisher) continue;
        for (const auto& entry : airports) {
            if (entry.compare(0, icaoLength, AIRPORT.icao) != 0 || entry.size() < icaoLength) continue;
            ARCHIVED_COUNT = std::atoi(entry.c_str() + icaoLength);
            std::string escaped;
            for (const char c : publisher) escaped += c == ' ' ? std::string("%20") : std::string(1, c);
            const std::string server = fmt::format("archive/thirdparty/{}/{}.xml", escaped, AIRPORT.icao);
            lf_writeLink(myThirdpartyFolder, AIRPORT.icao, server);
            lf_scanLog(fmt::format("thirdparty airport {} linked to {}", AIRPORT.icao, server));
            return true;
        }
    }
    lf_scanLog(fmt::format("thirdparty {} {} does not exist", AIRPORT.icao, AIRPORT.publisher));
    return false;
}

/// The code of an unresolved airport from the file's stem, its manifest's
/// title or its path; empty when none is found.
std::string lf_codeOfUnresolved(const std::string& PATH)
{
    std::string stem = fs::path(PATH).stem().string();
    std::transform(stem.begin(), stem.end(), stem.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    if (stem.size() == icaoLength && gf_findAirport(stem)) {
        lf_scanLog(fmt::format("Not recognised airport has ICAO code \"{}\" as BGL stem", stem));
        return stem;
    }
    if (const auto manifest = lf_searchManifest(PATH)) {
        for (const auto& airport : airportList) {
            if (!manifest->title.starts_with(airport.icao)) continue;
            lf_scanLog(fmt::format("Not recognised airport has ICAO \"{}\" in title \"{}\" of manifest", airport.icao, manifest->title));
            return airport.icao;
        }
    }
    for (const auto& airport : airportList) {
        std::string lower = airport.icao;
        std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (PATH.find(fmt::format("-{}-", lower)) == std::string::npos) continue;
        lf_scanLog(fmt::format("Not recognised airport has ICAO \"{}\" in BGL path \"{}\"", airport.icao, PATH));
        return airport.icao;
    }
    return {};
}

} // namespace

void lf_scanLog(std::string LINE)
{
    const std::lock_guard guard(scanLogMutex);
    scanLog.push_back(std::move(LINE));
}

bool lf_recogniseAirport(ScannedAirport& AIRPORT, int& ARCHIVED_COUNT, const std::string& PATH)
{
    ARCHIVED_COUNT = 0;
    AIRPORT.bglPath = PATH;
    PublisherInfo info = lf_findPublisher(PATH);
    AIRPORT.publisher = std::move(info.publisher);
    AIRPORT.manufacturer = std::move(info.manufacturer);
    AIRPORT.creator = std::move(info.creator);
    AIRPORT.title = std::move(info.title);
    if (AIRPORT.publisher == "unknown") return false;
    const bool linked = AIRPORT.publisher == "simaddon" ? lf_simaddonLink(AIRPORT) : lf_publisherLink(AIRPORT, ARCHIVED_COUNT);
    if (linked) scanFound = true;
    return linked;
}

ParkAirportData lf_generatedData(const ScannedAirport& AIRPORT)
{
    ParkAirportData data;
    data.icao = AIRPORT.icao;
    data.airportName = AIRPORT.airportName;
    data.bglPath = AIRPORT.bglPath;
    data.publisher = AIRPORT.publisher;
    data.manufacturer = AIRPORT.manufacturer;
    data.creator = AIRPORT.creator;
    data.altitude = AIRPORT.altitude;
    data.stands.reserve(AIRPORT.stands.size());
    for (const ScannedStand& scanned : AIRPORT.stands) {
        Stand& stand = data.stands.emplace_back();
        stand.name = scanned.name;
        stand.lat = scanned.lat;
        stand.lon = scanned.lon;
        stand.heading = scanned.heading;
        stand.radius = scanned.radius;
        stand.cargo = scanned.cargo;
        stand.ramp = scanned.ramp;
        stand.heli = scanned.heli;
    }
    return data;
}

void lf_generateApf(ScannedAirport& AIRPORT)
{
    if (AIRPORT.stands.empty()) return;
    if (AIRPORT.publisher != "unknown") {
        if (const auto at = AIRPORT.bglPath.find("Community"); at != std::string::npos) AIRPORT.bglPath.erase(0, at);
    }
    const fs::path folder = AIRPORT.publisher == "simaddon" ? mySimaddonFolder : myThirdpartyFolder;
    const auto n = AIRPORT.stands.size();
    const auto helipads = std::count_if(AIRPORT.stands.begin(), AIRPORT.stands.end(), [](const ScannedStand& S) { return S.heli; });
    std::string line = fmt::format("Generated {}.xml: {} position{}", AIRPORT.icao, n, n == 1 ? "" : "s");
    if (helipads > 0) line += fmt::format(", of which {} helipad{}", helipads, helipads == 1 ? "" : "s");
    lf_scanLog(std::move(line));
    std::sort(AIRPORT.stands.begin(), AIRPORT.stands.end(),
              [](const ScannedStand& A, const ScannedStand& B) { return A.name < B.name; });
    const fs::path path = folder / (AIRPORT.icao + ".xml");
    bool written = false;
    {
        const std::lock_guard guard(scanMutex); // two files of one airport write one stand file
        std::error_code failed;
        fs::create_directories(folder, failed);
        written = gf_saveApf(lf_generatedData(AIRPORT), path, true);
    }
    if (!written)
        lf_scanLog(fmt::format("{}Generating {} did not succeed", "===> ", path.string()));
    else
        scanFound = true;
}

void lf_notRecognised(const std::string& PATH)
{
    lf_scanLog(fmt::format("\n==> Not recognised airport {}", PATH));
    const std::string code = lf_codeOfUnresolved(PATH);
    if (code.empty()) {
        lf_scanLog(fmt::format("==================> Not recognised airport lost ... \"{}\"", PATH));
        return;
    }
    ScannedAirport airport;
    airport.icao = code;
    int archived = 0;
    if (lf_recogniseAirport(airport, archived, PATH) || airport.publisher == "simaddon") return;
    const fs::path entry = tbloFolder / (code + ".xml");
    {
        const std::lock_guard guard(scanMutex);
        fs::create_directories(tbloFolder);
        gf_writeText(fmt::format("{}\n{} by {}, title: {} crea: {} manu: {}", PATH, code, airport.publisher, airport.title,
                                 airport.creator, airport.manufacturer),
                     entry, true);
    }
    lf_scanLog(fmt::format("==> TBLO entry {} created ", entry.string()));
    ++tbloCount;
}

bool ScanSink::recognise(ScannedAirport& AIRPORT, int& ARCHIVED_COUNT, const std::string& PATH)
{
    const bool linked = lf_recogniseAirport(AIRPORT, ARCHIVED_COUNT, PATH);
    if (const auto name = airportNames.find(AIRPORT.icao); name != airportNames.end()) AIRPORT.airportName = name->second;
    return linked;
}

void ScanSink::notRecognised(const std::string& PATH) { lf_notRecognised(PATH); }

void ScanSink::generate(ScannedAirport& AIRPORT) { lf_generateApf(AIRPORT); }

} // namespace orv
