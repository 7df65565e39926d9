// The stands of the one airport that has a stand table (the park airport):
// the records of a stand file (Stand, StandOption, ParkAirportData), the
// table itself, and the counters of what was learned since the last save.
// Everything here belongs to the main thread unless a line says otherwise.
#pragma once

#include "core/day_half.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace orv {

/// One observed aircraft on one weekday at a stand.
struct StandOption {
    std::string airline;  ///< ICAO airline code, or "PVT"
    std::string icaoType;
    std::string regcode;  ///< may be empty
    std::string coupled1; ///< the inbound callsign of a turnaround
    std::string coupled2; ///< the outbound callsign
    std::uint64_t hours = 0; ///< bit h: stood here in half hour h (0..47, UTC)
    std::int32_t number = 0; ///< 1 for the stand's first option; 0 out of this calculation
    std::int32_t day = 0;    ///< 1 Monday .. 7 Sunday, UTC
    std::int32_t fromFile = 0; ///< 1 read from a file, 0 learned in this run
    std::int32_t real = 1;     ///< 1 real, 0 soft
    /// Read from the user's learned file: written again at each save, so that
    /// what earlier runs learned is never lost (archive options are not).
    bool fromLearned = false;
};

/// When a live aircraft was last counted at a stand, and in which option.
struct SeenEntry {
    std::int32_t day = 0;
    std::int32_t halfHour = 0;
    std::int32_t optionNumber = 0;
};

struct Stand {
    std::vector<StandOption> options;
    std::unordered_map<std::uint32_t, SeenEntry> realSeen; ///< by hexid
    std::unordered_map<std::uint32_t, SeenEntry> softSeen; ///< by hexid
    std::string name;                  ///< the file's id, unique in a file
    std::vector<std::int32_t> conflicts; ///< standIds of overlapping stands
    double lat = 0, lon = 0;           ///< degrees
    double heading = 0;                ///< radians true
    double radius = 0;                 ///< nautical miles (metres in files)
    std::int32_t standId = 0;          ///< 1 for the table's first stand
    bool manual = false;               ///< created by hand in a learned file
    bool radiusChange = false;
    bool cargoChange = false;
    bool taken = false;          ///< taken in the running parking calculation
    bool occupied = false;       ///< a live aircraft goes to or stands at it
    bool reserved = false;       ///< kept free for the user's aircraft
    bool neighbourTaken = false; ///< a stand in conflicts is taken
    bool cargo = false, ramp = false, heli = false;
};

/// The quality factors of an airport's data, 0..100; -1 unknown.
struct QualityFactor {
    std::int32_t real = -1;
    std::int32_t soft = -1;
    bool operator==(const QualityFactor&) const = default;
};

/// The facts of one stand file. Its writer reads no global state apart from
/// the override parameters of a learned file, so the airport scan may call it
/// on its own thread for the files it generates.
struct ParkAirportData {
    std::string icao;        ///< the file's name
    std::string airportName; ///< airport_name
    std::string bglPath;     ///< BGLpath
    std::string publisher;   ///< "stock", "simaddon", a third party, "unknown"
    std::string manufacturer, creator;
    std::int32_t rtTrafficWeek = 0;
    std::int32_t qfReal = -1, qfSoft = -1;
    std::int32_t altitude = 0; ///< feet
    bool handmade = false;     ///< a learned file that replaces the archive's stands
    std::vector<Stand> stands;
};

/// The park airport's stands in file order (main thread).
extern std::vector<Stand> standTable;
/// A handmade learned file replaced the archive's stands (main thread).
extern bool handmadeActive;
/// The facts of the park airport's file as read (main thread).
extern ParkAirportData parkData;
/// The stand table is loaded; the traffic reader tests it.
extern std::atomic<bool> parkAirportReady;
/// Changes learned since the last save; the window reads it for display.
extern std::atomic<std::int32_t> updateCount;
/// A parking parameter changed since the file was read (main thread).
extern bool parameterChanged;

/// Stand radii and positions of the files.
inline constexpr double nmPerMetreOfFile = 0.0005399568034557236;
inline constexpr double radPerDegreeOfFile = 0.017453292519943295;
inline constexpr std::int32_t halfHoursPerDay = 48;

/// The hh form: set bits of HOURS ascending, comma separated ("14,15,16").
std::string lf_bitset2hours(std::uint64_t HOURS);
/// The hh form read back; a piece that is no number in 0..47 ends the
/// conversion with a log line, and the bits set so far stand.
std::uint64_t lf_hours2bitset(const std::string& TEXT);
inline bool gf_hourSet(std::uint64_t HOURS, std::int32_t HALF_HOUR)
{
    return HALF_HOUR >= 0 && HALF_HOUR < halfHoursPerDay && (HOURS >> HALF_HOUR & 1u) != 0;
}

/// The stand of STAND_ID in standTable; nullptr for none.
Stand* gf_standOfId(std::int32_t STAND_ID);
/// Fills conflicts of every stand: two stands conflict when their radii
/// together exceed 1.1 times their distance.
void lf_buildConflicts();

} // namespace orv
