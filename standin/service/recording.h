// The traffic the service answers with: a recording of live lines replayed on
// the service's clock, and a list of parked aircraft. Both file formats are
// described in README.md beside this file.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace orv {

/// The area of a request, degrees; edges belong to it.
struct RequestBox {
    double top = 0, bottom = 0, left = 0, right = 0;
    bool contains(double LAT, double LON) const
    {
        return LAT <= top && LAT >= bottom && LON >= left && LON <= right;
    }
};

/// Positions of a live line that the replay reads.
inline constexpr int kLineHexid = 0;
inline constexpr int kLineLat = 1;
inline constexpr int kLineLon = 2;
inline constexpr int kLineTimestamp = 10;
/// Positions 0 to 28: a line is at least this long.
inline constexpr std::size_t kLiveLineLength = 29;

/// An aircraft is answered with its latest position while that is at most
/// this old, as a feed forgets an aircraft it no longer hears.
inline constexpr double kReplayMaxAgeSeconds = 30.0;
/// When the replay loops, the recording starts again after this pause, so
/// that the aircraft of the last round are gone before the first come back.
inline constexpr double kReplayLoopGapSeconds = 60.0;

struct RecordedPoint {
    double time = 0; ///< seconds since the epoch, as recorded
    double lat = 0, lon = 0;
    std::string text; ///< the line as read, answered with a new timestamp
};

/// All points of one aircraft, oldest first.
struct RecordedTrack {
    std::string hexid;
    std::vector<RecordedPoint> points;
};

struct Recording {
    std::vector<RecordedTrack> tracks;
    double firstTime = 0, lastTime = 0; ///< seconds since the epoch; 0 when empty
    std::size_t pointCount = 0;
};

/// How recording time lies on the service's clock: a recorded time t is
/// answered at t + shiftSeconds; with loop the recording repeats, each round
/// kReplayLoopGapSeconds after the end of the last.
struct ReplayClock {
    double shiftSeconds = 0;
    bool loop = true;
};

/// Reads a recording: one live line (a JSON array) per text line; empty
/// lines and lines starting with "#" are skipped. Throws std::runtime_error
/// naming the line of a fault.
Recording gf_readRecording(std::istream& IN, const std::string& NAME);
Recording gf_loadRecording(const std::string& PATH);

/// The recorded time that the service time TIME shows, and what is to be
/// added to a recorded timestamp to give service time.
struct ReplayMoment {
    double recordedTime = 0;
    double addSeconds = 0;
};
ReplayMoment gf_replayMoment(const Recording& RECORDING, const ReplayClock& CLOCK, double TIME);

/// The traffic at service time TIME inside BOX: each aircraft with its latest
/// position, as a JSON object from hexid to line, timestamps on the service's
/// clock.
nlohmann::json gf_replaySnapshot(const Recording& RECORDING, const ReplayClock& CLOCK,
                                 double TIME, const RequestBox& BOX);

/// One parked aircraft: the key (hexid) and its line, positions 0 to 6.
struct ParkedEntry {
    std::string key;
    double lat = 0, lon = 0;
    nlohmann::json line;
};

inline constexpr int kParkedLat = 0;
inline constexpr int kParkedLon = 1;
inline constexpr int kParkedTime = 5;
inline constexpr std::size_t kParkedLineLength = 7;

struct ParkedTraffic {
    std::vector<ParkedEntry> entries;
};

/// Reads parked traffic: each text line a JSON object from key to parked
/// line; empty lines and "#" lines are skipped. Throws std::runtime_error.
ParkedTraffic gf_readParked(std::istream& IN, const std::string& NAME);
ParkedTraffic gf_loadParked(const std::string& PATH);

/// The parked aircraft inside BOX as the answer's data object. A report time
/// of 0 is answered as REPORT_TIME, so that a file can hold ever-fresh reports.
nlohmann::json gf_parkedSnapshot(const ParkedTraffic& PARKED, const RequestBox& BOX,
                                 double REPORT_TIME);

} // namespace orv
