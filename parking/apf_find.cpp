// Where an airport's stand file comes from: a publisher's add-on of the
// user, a known add-on, a link to the server, the server's stock archive;
// the nearest stand of an airport's file without loading it; whether the
// server's stock file rests on enough weeks for offline learning.
#include "parking/airport_db.h"
#include "parking/airport_files.h"
#include "parking/apf_parts.h"

#include "core/folders.h"
#include "core/log.h"
#include "updates/downloads.h"

#include <curl/curl.h>
#include <fmt/format.h>

#include <fstream>
#include <memory>

namespace orv {

namespace fs = std::filesystem;

namespace {

/// Characters of a server path in which "stock" or "simaddon" names the 2020 folder.
constexpr std::size_t serverKindPrefix = 16;

bool lf_exists(const fs::path& PATH)
{
    std::error_code error;
    const bool found = fs::exists(PATH, error);
    if (error && error != std::errc::no_such_file_or_directory) throw fs::filesystem_error("exists", PATH, error);
    return found;
}

/// The server path of a link file: its first line, cut behind its last "l"
/// (the line ends in ".xml"; anything after it, such as a "\r", goes).
std::string lf_linkTarget(const fs::path& LINK)
{
    std::ifstream file(LINK);
    std::string line;
    if (!file || !std::getline(file, line)) return {};
    const std::size_t last = line.rfind('l');
    return last == std::string::npos ? std::string() : line.substr(0, last + 1);
}

/// A local main file or a link in FOLDER; empty when FOLDER has neither.
std::string lf_localFile(const fs::path& FOLDER, const std::string& ICAO)
{
    if (const fs::path link = FOLDER / (ICAO + ".txt"); lf_exists(link))
        if (std::string target = lf_linkTarget(link); !target.empty()) return target;
    if (const fs::path file = FOLDER / (ICAO + ".xml"); lf_exists(file)) return file.string();
    return {};
}

std::string lf_stockPath(const std::string& ICAO) { return "archive/stock/" + ICAO + ".xml"; }

struct CurlCleanup {
    void operator()(CURL* HANDLE) const { curl_easy_cleanup(HANDLE); }
};

} // namespace

std::string lf_archiveUrl(const std::string& SERVER_PATH, bool FORCE_MSFS_2020)
{
    const std::string start = SERVER_PATH.substr(0, serverKindPrefix);
    const bool old = FORCE_MSFS_2020 || start.find("simaddon") != std::string::npos || start.find("stock") != std::string::npos;
    return gf_archiveBase(old) + SERVER_PATH;
}

bool lf_fetchArchive(const std::string& SERVER_PATH, const fs::path& LOCAL, bool FORCE_MSFS_2020)
{
    const std::unique_ptr<CURL, CurlCleanup> handle(curl_easy_init());
    if (gf_downloadFile(handle.get(), lf_archiveUrl(SERVER_PATH, FORCE_MSFS_2020), LOCAL, true)) return true;
    std::error_code ignored;
    fs::remove(LOCAL, ignored);
    return false;
}

std::string gf_findAirportFile(const std::string& ICAO)
{
    const fs::path airports = airportsFolderName;
    for (const char* folder : {"my_thirdparty", "my_simaddon"})
        if (std::string found = lf_localFile(airports / folder, ICAO); !found.empty()) return found;
    const fs::path local = ICAO + ".xml";
    if (!lf_fetchArchive(lf_stockPath(ICAO), local, true)) return {};
    std::error_code ignored;
    fs::remove(local, ignored);
    return lf_stockPath(ICAO);
}

bool gf_airportFileExists(const std::string& ICAO) { return !gf_findAirportFile(ICAO).empty(); }

double gf_readDestApfForClosestStand(const std::string& ICAO, const LatLon& POS, std::string& STAND_NAME)
{
    constexpr double nothing = 100.0;
    try {
        std::string path = gf_findAirportFile(ICAO);
        if (path.empty()) return nothing;
        if (!path.starts_with(airportsFolderName)) {
            if (!lf_fetchArchive(path, destAirportScratch, false)) return nothing;
            path = destAirportScratch.string();
        }
        pugi::xml_document doc;
        if (!doc.load_file(path.c_str())) {
            std::error_code ignored;
            fs::remove(destAirportScratch, ignored);
            return nothing;
        }
        double best = nothing;
        for (const pugi::xml_node parkpos : doc.child("parkpositions").children("parkpos")) {
            const double distance = gf_distanceNm(
                POS, {parkpos.attribute("latitude").as_double(), parkpos.attribute("longitude").as_double()});
            if (distance >= best) continue;
            best = distance;
            STAND_NAME = parkpos.attribute("id").as_string();
        }
        return best;
    } catch (const std::exception& e) {
        gf_log(fmt::format("exception in gf_readDestApfForClosestStand: {}", e.what()));
        return nothing;
    }
}

bool lf_suitableForOfflineLearning(const std::string& ICAO)
{
    const fs::path temporary = fs::temp_directory_path() / fmt::format("tavo-offline-{}.xml", ICAO);
    bool suitable = false;
    if (lf_fetchArchive(lf_stockPath(ICAO), temporary, true)) {
        pugi::xml_document doc;
        if (doc.load_file(temporary.c_str())) {
            const ApfParameters parameters(doc);
            if (parameters.integer("Qf_real", -1) >= 0 || parameters.integer("Qf_soft", -1) >= 0)
                suitable = parameters.integer("WEEK", 0) >= offlineLearningWeeks;
        }
        std::error_code ignored;
        fs::remove(temporary, ignored);
    }
    if (!suitable) gf_log(fmt::format("{} Not suitable for offline learning", ICAO));
    return suitable;
}

} // namespace orv
