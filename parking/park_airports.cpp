// The list of park airports: airports/my_park_airports.txt (one airport a
// line, "ICAO" or "ICAO,stand"), the user's add-on airports, the entry at the
// head written back with the stand the user reserved, the destination put at
// the head, and the "Re-read" of the list.
#include "parking/park_airports.h"

#include "parking/airport_db.h"
#include "parking/parking.h"
#include "parking/stands.h"

#include "core/flags.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/text_files.h"
#include "core/window_state.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

namespace orv {

namespace fs = std::filesystem;

namespace {

std::vector<std::string> lf_fields(const std::string& LINE)
{
    std::vector<std::string> fields;
    std::stringstream stream(LINE);
    for (std::string field; std::getline(stream, field, ',');) fields.push_back(field);
    return fields;
}

bool lf_listed(const std::string& ICAO)
{
    return std::any_of(parkAirports.begin(), parkAirports.end(),
                       [&ICAO](const ParkAirportEntry& ENTRY) { return ENTRY.icao == ICAO; });
}

void lf_readLine(const std::string& LINE)
{
    const std::vector<std::string> fields = lf_fields(LINE);
    if (fields.empty() || fields[0].empty()) return;
    if (fields.size() >= 3) {
        gf_log(fmt::format("{}:{} wrong syntax, skipped", parkAirportsName, LINE));
        return;
    }
    const std::optional<AirportRecord> airport = gf_findAirport(fields[0]);
    if (!airport) {
        gf_showStatus(fmt::format("airport {} is unknown", fields[0]), true);
        return;
    }
    if (lf_listed(fields[0])) {
        gf_log(fmt::format("{}:{} double, skipped", parkAirportsName, LINE));
        return;
    }
    parkAirports.push_back({fields[0], fields.size() == 2 ? fields[1] : "", {airport->lat, airport->lon}, 0});
}

std::string lf_headLine()
{
    const ParkAirportEntry& head = parkAirports.front();
    return head.reservedStand.empty() ? head.icao : head.icao + "," + head.reservedStand;
}

} // namespace

bool lf_readMyParkAirports()
{
    try {
        parkAirports.clear();
        const fs::path path = gf_parkAirportsPath();
        if (const std::optional<std::vector<std::string>> lines = gf_readLines(path)) {
            for (const std::string& line : *lines) lf_readLine(line);
        } else {
            gf_log(path.string() + " not found");
        }
        if (const std::size_t count = parkAirports.size(); count > 0) {
            gf_log(fmt::format("{} park airport{} read from \"{}\"", count, count == 1 ? "" : "s", parkAirportsName));
            if (count > manyParkAirports)
                gf_showStatus(fmt::format("Warning: There are a lot of airports ({}) in {}, that will cost TAVO much "
                                          "cpu time, and may give stutters",
                                          count, parkAirportsName),
                              true);
        }
        lf_addFromMyThirdparty();
        return true;
    } catch (const std::exception& e) {
        gf_log(fmt::format("lf_readMyParkAirports {}", e.what()));
        return false;
    }
}

void lf_addFromMyThirdparty()
{
    std::error_code error;
    if (!fs::is_directory(myThirdpartyFolder, error)) return;
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(myThirdpartyFolder, error))
        if (entry.is_regular_file(error)) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    int added = 0;
    for (const fs::path& file : files) {
        const std::string code = file.stem().string();
        if (lf_listed(code)) continue;
        const std::optional<AirportRecord> airport = gf_findAirport(code);
        if (!airport) continue;
        parkAirports.push_back({code, "", {airport->lat, airport->lon}, 0});
        ++added;
    }
    if (added > 0) gf_log(fmt::format("{} park airport{} added from my_thirdparty folder(-s)", added, added == 1 ? "" : "s"));
}

void lf_writeParkAirportHead()
{
    if (parkAirports.empty()) return;
    const std::string line = lf_headLine();
    const std::string& icao = parkAirports.front().icao;
    const fs::path path = gf_parkAirportsPath();
    std::vector<std::string> lines;
    if (std::optional<std::vector<std::string>> read = gf_readLines(path)) {
        lines = std::move(*read);
        const auto at = std::find_if(lines.begin(), lines.end(),
                                     [&icao](const std::string& LINE) {
                                         const std::vector<std::string> fields = lf_fields(LINE);
                                         return !fields.empty() && fields.front() == icao;
                                     });
        if (at != lines.end()) {
            *at = line;
            gf_log(fmt::format("{}:{},{} updated stand", parkAirportsName, icao, parkAirports.front().reservedStand));
        } else {
            lines.push_back(line);
            gf_log(fmt::format("{}:{} new entry", parkAirportsName, line));
        }
    } else {
        lines.push_back(line);
        gf_log(fmt::format("{} created with {}", parkAirportsName, line));
    }
    lines.erase(std::remove(lines.begin(), lines.end(), std::string()), lines.end());
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string& each : lines) text += each + "\n";
    fs::create_directories(path.parent_path());
    gf_writeText(text, path, false);
}

bool lf_reReadParkAirports(bool CHECK_STAND, std::string& MESSAGE)
{
    if (!lf_readMyParkAirports()) return false;
    const UserPosition user = ownPosition;
    if (CHECK_STAND && user.onGround && !parkBusy && !parkAirports.empty() && parkAirports.front().icao == parkIcao &&
        gf_userStand(user).empty() && !parkAirports.front().reservedStand.empty() &&
        parkAirports.front().reservedStand != reservedStandName) {
        const std::string& wanted = parkAirports.front().reservedStand;
        MESSAGE = fmt::format("reserved stand changed from \"{}\" to \"{}\"", reservedStandName, wanted);
        lf_markReserved(false);
        reservedStandName = wanted;
        lf_markReserved(true);
        lf_clearReservedStand();
        gf_repaint();
    }
    if (MESSAGE.empty()) MESSAGE = "park airports and stands are okay";
    return true;
}

void lf_setDestination(const std::string& ICAO, const LatLon& POSITION)
{
    const auto at = std::find_if(parkAirports.begin(), parkAirports.end(),
                                 [&ICAO](const ParkAirportEntry& ENTRY) { return ENTRY.icao == ICAO; });
    if (at == parkAirports.end()) {
        parkAirports.push_front({ICAO, "", POSITION, 0});
        lf_writeParkAirportHead();
        return;
    }
    parkAirports.splice(parkAirports.begin(), parkAirports, at);
}

std::string lf_readParkAirports()
{
    std::string message;
    lf_reReadParkAirports(true, message);
    return message;
}

void gf_applyStoredDestination()
{
    const std::optional<AirportRecord> airport = gf_findAirport(DESTINATION.value);
    if (airport) lf_setDestination(airport->icao, {airport->lat, airport->lon});
}

void lf_markReserved(bool RESERVED)
{
    for (Stand& stand : standTable)
        if (stand.name == reservedStandName) stand.reserved = RESERVED;
}

} // namespace orv
