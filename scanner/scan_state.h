// The airport scan's shared state and its parts, open to the tests: the scan
// log, the publishers, the link and generated files, the walk.
#pragma once

#include "scanner/bgl_reader.h"

#include "parking/stands.h"

#include <atomic>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace orv {

inline const std::filesystem::path tbloFolder = "TBLO";
inline const std::filesystem::path scanLogPath = "output/info/AirportsScanLog.txt";

/// Lines of AirportsScanLog.txt; any scan thread appends under scanLogMutex.
extern std::vector<std::string> scanLog;
extern std::mutex scanLogMutex;
/// Link files and their tables, one reader at a time. Nothing is logged while
/// it is held (no lock is taken inside it).
extern std::mutex scanMutex;
/// One airport was linked or generated in this scan.
extern std::atomic<bool> scanFound;
/// MSFS_2020 when the scan began (main thread, before the walk; readers only read).
extern bool scanFor2020;

struct PublisherInfo {
    std::string publisher = "unknown", manufacturer, creator, title;
};
struct ManifestInfo {
    std::string manufacturer, creator, title;
};

void lf_scanLog(std::string LINE);

// --- publishers
PublisherInfo lf_findPublisher(const std::string& PATH);
std::optional<ManifestInfo> lf_searchManifest(const std::string& PATH);
std::string gf_publisherByName(const std::string& TEXT);
bool lf_nameMatches(const std::string& TEXT, const std::string& NAME);

// --- links and generated files
bool lf_recogniseAirport(ScannedAirport& AIRPORT, int& ARCHIVED_COUNT, const std::string& PATH);
void lf_generateApf(ScannedAirport& AIRPORT);
void lf_notRecognised(const std::string& PATH);
/// The stand file's facts of a read airport: its stands, no options.
ParkAirportData lf_generatedData(const ScannedAirport& AIRPORT);
/// The reading's sink of the scan: links, generated files, the log.
struct ScanSink : BglSink {
    bool recognise(ScannedAirport& AIRPORT, int& ARCHIVED_COUNT, const std::string& PATH) override;
    void notRecognised(const std::string& PATH) override;
    void generate(ScannedAirport& AIRPORT) override;
};

// --- the walk
/// Branches the walk cuts off: a path of 250 characters or more, or one that
/// holds an excluded word (exact case) below the scanned folder, so that a
/// user whose own folders are named like "aircraft" still has airports.
bool lf_excludedPath(const std::string& PATH, std::size_t ROOT_LENGTH = 0);
bool lf_isBglFile(const std::filesystem::path& PATH);
void lf_scanAirportFolder(const std::filesystem::path& FOLDER);
bool lf_scanAirportFolders(const std::vector<std::filesystem::path>& FOLDERS);
void lf_scanAirports();

} // namespace orv
