// The stand files of an airport: where one is found (the user's add-ons, the
// known add-ons, links to the server, the server's stock archive), reading
// the main file with the user's learned file on top into standTable, writing
// a file, saving what was learned, and the quality of an airport's data.
#pragma once

#include "core/geometry.h"
#include "parking/stands.h"

#include <filesystem>
#include <string>

namespace orv {

/// Scratch copies of server files, in the program folder.
inline const std::filesystem::path parkAirportScratch = "park_airport.xml";
inline const std::filesystem::path destAirportScratch = "airport.xml";
/// An airport's data are good enough to stop soft learning from this quality and size on.
inline constexpr std::int32_t goodQualityFactor = 45;
inline constexpr std::size_t goodStandCount = 20;
/// Archive files resting on at least this many weeks are fit for offline learning.
inline constexpr int offlineLearningWeeks = 16;

/// The main file of ICAO's airport: a local path (beginning with "airports")
/// or a server path; empty when there is none. A status query that fails
/// with anything but "not found" throws filesystem_error ("exists").
std::string gf_findAirportFile(const std::string& ICAO);
/// One of the local places holds a file, or the stock archive can be downloaded.
bool gf_airportFileExists(const std::string& ICAO);
/// Downloads the server path SERVER_PATH into LOCAL; the folder of the
/// server follows the simulator unless FORCE_MSFS_2020 or the path's start
/// says "stock" or "simaddon".
bool lf_fetchArchive(const std::string& SERVER_PATH, const std::filesystem::path& LOCAL, bool FORCE_MSFS_2020);

/// Reads the main file PATH and the learned file on top of it into
/// standTable and DATA (its stands stay empty). Empty text on success,
/// otherwise the failure for the status line. UserErrorException 65 (no
/// altitude) and 94 (a stand id twice) go on to the caller.
std::string gf_readApf(const std::string& PATH, ParkAirportData& DATA, QualityFactor& QF);
/// The learned file beside a main file.
std::filesystem::path lf_learnedPath(const std::string& MAIN_PATH, const std::string& PUBLISHER);
/// Merges the learned file PATH into STANDS (or replaces them, for a
/// handmade file); a file that cannot be read is kept aside as *.0.xml.
void lf_readLearned(const std::filesystem::path& PATH, const std::string& AIRPORT_NAME, std::vector<Stand>& STANDS,
                    bool& HANDMADE);

/// Writes DATA to PATH (temporary file, then rename): GENERATED for the
/// scan's file (stands only), otherwise a learned file with the user's
/// parking parameters and the options. False when it could not be written.
bool gf_saveApf(const ParkAirportData& DATA, const std::filesystem::path& PATH, bool GENERATED);
/// The document gf_saveApf writes.
std::string lf_apfText(const ParkAirportData& DATA, bool GENERATED);

/// The quality of standTable's data; -1 for both without any option.
QualityFactor lf_QualityFactor();
/// Saves what was learned at the park airport into its learned file.
void lf_saveUpdates();
/// The server's stock file of ICAO rests on enough weeks of data.
bool lf_suitableForOfflineLearning(const std::string& ICAO);

/// The user's values of the parameters that a learned file overrides come
/// back when the airport is left.
void gf_restoreUserParameters();

} // namespace orv
