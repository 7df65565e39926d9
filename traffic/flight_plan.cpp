// The flight plan file of a live aircraft: a small .pln in the orig_dest
// folder that names its route for the simulator (2020 also flies it, as far
// as names go: every position is still ours). The file goes with the object.
#include "traffic/creation.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "sim/sim_link.h"

#include <fmt/format.h>

#include <fstream>
#include <system_error>

namespace orv {

namespace fs = std::filesystem;

namespace {

/// Classes flown by instruments: the airliners and business jets.
constexpr std::int32_t firstIfrClass = 1, lastIfrClass = 3;

} // namespace

fs::path gf_flightPlanPath(std::uint32_t OBJECT_ID) { return gf_flightPlanFolder() / fmt::format("{}.pln", OBJECT_ID); }

bool lf_writePln(const fs::path& PATH, const ActCore& RECORD)
{
    std::ofstream file(PATH, std::ios::binary | std::ios::trunc);
    if (!file) return false;
    const bool ifr = RECORD.classId >= firstIfrClass && RECORD.classId <= lastIfrClass;
    // One piece, each line ended by a line feed alone, whatever the system.
    const std::string text = fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                         "<SimBase.Document Type=\"AceXML\" version=\"4,3\">\"\n"
                                         "<FlightPlan.FlightPlan>\n"
                                         "<FPType>{}</FPType>\n"
                                         "<DepartureID>{}</DepartureID>\n"
                                         "<DestinationID>{}</DestinationID>\n"
                                         "</FlightPlan.FlightPlan>\n"
                                         "</SimBase.Document>\n",
                                         ifr ? "IFR" : "VFR", RECORD.origin, RECORD.destination);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.flush();
    return true;
}

void lf_setFlightPlan(act& RECORD)
{
    if (RECORD.origin.empty() || RECORD.destination.empty()) return;
    const fs::path path = gf_flightPlanPath(RECORD.objectId);
    // The 2024 simulator flies no plan files: the link answers true without a call.
    if (lf_writePln(path, RECORD) && gf_setFlightPlan(RECORD.objectId, path.string())) {
        RECORD.hasFlightPlanFile = true;
        return;
    }
    RECORD.hasFlightPlanFile = false;
    gf_showStatus(fmt::format("{} {} {} {} creating a flight plan failed !", RECORD.callsign, RECORD.regcode,
                              RECORD.airline, RECORD.icaoType),
                  true);
}

void gf_deleteFlightPlanFile(const act& RECORD)
{
    const fs::path path = gf_flightPlanPath(RECORD.objectId);
    std::error_code failed;
    fs::remove(path, failed);
    // A file that is not there is no fault; anything else is the caller's.
    if (failed && failed != std::errc::no_such_file_or_directory)
        throw fs::filesystem_error("gf_deleteFlightPlanFile", path, failed);
}

bool gf_removeFlightPlanFolder()
{
    const fs::path folder = gf_flightPlanFolder();
    try {
        if (fs::exists(folder)) fs::remove_all(folder);
    } catch (const std::exception& e) {
        gf_log(fmt::format("gf_removeFlightPlanFolder: {}", e.what()));
    }
    std::error_code failed;
    return !fs::exists(folder, failed);
}

} // namespace orv
