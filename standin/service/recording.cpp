// Reading and replaying recordings and parked traffic.
#include "standin/service/recording.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <stdexcept>

#include <fmt/format.h>

namespace orv {

namespace {

bool lf_skippedLine(const std::string& LINE)
{
    const auto first = LINE.find_first_not_of(" \t\r");
    return first == std::string::npos || LINE[first] == '#';
}

std::runtime_error lf_fault(const std::string& NAME, std::size_t LINE_NUMBER, const std::string& WHAT)
{
    return std::runtime_error(fmt::format("{}:{}: {}", NAME, LINE_NUMBER, WHAT));
}

/// The last point of TRACK at or before TIME, or null.
const RecordedPoint* lf_latestAt(const RecordedTrack& TRACK, double TIME)
{
    const auto after = std::upper_bound(TRACK.points.begin(), TRACK.points.end(), TIME,
                                        [](double T, const RecordedPoint& P) { return T < P.time; });
    if (after == TRACK.points.begin()) return nullptr;
    return &*(after - 1);
}

/// The recorded timestamp moved onto the service's clock; a whole number
/// stays a whole number when the move is whole.
nlohmann::json lf_movedTimestamp(const nlohmann::json& VALUE, double ADD)
{
    if (VALUE.is_number_integer() && ADD == std::floor(ADD)) {
        return VALUE.get<long long>() + static_cast<long long>(ADD);
    }
    return VALUE.get<double>() + ADD;
}

} // namespace

Recording gf_readRecording(std::istream& IN, const std::string& NAME)
{
    std::map<std::string, std::size_t> trackOf;
    Recording rec;
    std::string text;
    std::size_t lineNumber = 0;
    while (std::getline(IN, text)) {
        ++lineNumber;
        if (lf_skippedLine(text)) continue;
        nlohmann::json line;
        try {
            line = nlohmann::json::parse(text);
        } catch (const nlohmann::json::exception& e) {
            throw lf_fault(NAME, lineNumber, e.what());
        }
        if (!line.is_array() || line.size() < kLiveLineLength) {
            throw lf_fault(NAME, lineNumber, fmt::format("not an array of {} values", kLiveLineLength));
        }
        if (!line[kLineHexid].is_string() || !line[kLineLat].is_number() || !line[kLineLon].is_number()
            || !line[kLineTimestamp].is_number()) {
            throw lf_fault(NAME, lineNumber, "hexid (0) must be text; lat (1), lon (2), time (10) numbers");
        }
        RecordedPoint point{line[kLineTimestamp].get<double>(), line[kLineLat].get<double>(),
                            line[kLineLon].get<double>(), text};
        const std::string hexid = line[kLineHexid].get<std::string>();
        auto [it, added] = trackOf.try_emplace(hexid, rec.tracks.size());
        if (added) rec.tracks.push_back(RecordedTrack{hexid, {}});
        rec.tracks[it->second].points.push_back(std::move(point));
        ++rec.pointCount;
    }
    bool first = true;
    for (auto& track : rec.tracks) {
        std::stable_sort(track.points.begin(), track.points.end(),
                         [](const RecordedPoint& A, const RecordedPoint& B) { return A.time < B.time; });
        const double lo = track.points.front().time, hi = track.points.back().time;
        rec.firstTime = first ? lo : std::min(rec.firstTime, lo);
        rec.lastTime = first ? hi : std::max(rec.lastTime, hi);
        first = false;
    }
    return rec;
}

Recording gf_loadRecording(const std::string& PATH)
{
    std::ifstream in(PATH);
    if (!in) throw std::runtime_error(fmt::format("cannot open recording {}", PATH));
    return gf_readRecording(in, PATH);
}

ReplayMoment gf_replayMoment(const Recording& RECORDING, const ReplayClock& CLOCK, double TIME)
{
    const double recorded = TIME - CLOCK.shiftSeconds;
    if (!CLOCK.loop || RECORDING.tracks.empty()) return {recorded, CLOCK.shiftSeconds};
    const double period = RECORDING.lastTime - RECORDING.firstTime + kReplayLoopGapSeconds;
    const double rounds = std::floor((recorded - RECORDING.firstTime) / period);
    const double inRound = recorded - rounds * period;
    return {inRound, CLOCK.shiftSeconds + rounds * period};
}

nlohmann::json gf_replaySnapshot(const Recording& RECORDING, const ReplayClock& CLOCK, double TIME,
                                 const RequestBox& BOX)
{
    nlohmann::json data = nlohmann::json::object();
    const ReplayMoment moment = gf_replayMoment(RECORDING, CLOCK, TIME);
    for (const auto& track : RECORDING.tracks) {
        if (track.points.front().time > moment.recordedTime
            || track.points.back().time + kReplayMaxAgeSeconds < moment.recordedTime) {
            continue;
        }
        const RecordedPoint* point = lf_latestAt(track, moment.recordedTime);
        if (point == nullptr || moment.recordedTime - point->time > kReplayMaxAgeSeconds) continue;
        if (!BOX.contains(point->lat, point->lon)) continue;
        nlohmann::json line = nlohmann::json::parse(point->text);
        line[kLineTimestamp] = lf_movedTimestamp(line[kLineTimestamp], moment.addSeconds);
        data[track.hexid] = std::move(line);
    }
    return data;
}

ParkedTraffic gf_readParked(std::istream& IN, const std::string& NAME)
{
    ParkedTraffic parked;
    std::string text;
    std::size_t lineNumber = 0;
    while (std::getline(IN, text)) {
        ++lineNumber;
        if (lf_skippedLine(text)) continue;
        nlohmann::json object;
        try {
            object = nlohmann::json::parse(text);
        } catch (const nlohmann::json::exception& e) {
            throw lf_fault(NAME, lineNumber, e.what());
        }
        if (!object.is_object()) throw lf_fault(NAME, lineNumber, "not an object of parked lines");
        for (const auto& [key, line] : object.items()) {
            if (!line.is_array() || line.size() < kParkedLineLength || !line[kParkedLat].is_number()
                || !line[kParkedLon].is_number()) {
                throw lf_fault(NAME, lineNumber,
                               fmt::format("{}: not a parked line of {} values with lat, lon", key,
                                           kParkedLineLength));
            }
            parked.entries.push_back(
                ParkedEntry{key, line[kParkedLat].get<double>(), line[kParkedLon].get<double>(), line});
        }
    }
    return parked;
}

ParkedTraffic gf_loadParked(const std::string& PATH)
{
    std::ifstream in(PATH);
    if (!in) throw std::runtime_error(fmt::format("cannot open parked traffic {}", PATH));
    return gf_readParked(in, PATH);
}

nlohmann::json gf_parkedSnapshot(const ParkedTraffic& PARKED, const RequestBox& BOX, double REPORT_TIME)
{
    nlohmann::json data = nlohmann::json::object();
    for (const auto& entry : PARKED.entries) {
        if (!BOX.contains(entry.lat, entry.lon)) continue;
        nlohmann::json line = entry.line;
        const auto& time = line[kParkedTime];
        if (time.is_number() && time.get<double>() == 0) {
            line[kParkedTime] = static_cast<long long>(std::floor(REPORT_TIME));
        }
        data[entry.key] = std::move(line);
    }
    return data;
}

} // namespace orv
