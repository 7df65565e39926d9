// The stand-in simulator's recording: one JSON object per line for every
// creation, removal, position write and client event, stamped with the
// simulator's UTC time, so that tests can compare where aircraft were put with
// where they should be. All angles are radians, altitudes feet.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace orv::simstandin {

struct SimObject;

struct Recorder {
    std::FILE* file = nullptr; ///< nullptr: nothing is recorded
    std::string line;          ///< reused for each line
};

/// Opens (truncates) PATH; throws std::runtime_error when it cannot.
void gf_openRecording(Recorder& REC, const std::string& PATH);
void gf_closeRecording(Recorder& REC);
/// Writes out what is buffered, so that a reader sees whole lines.
void gf_flushRecording(Recorder& REC);

/// A creation request: tail, title and the initial position.
void gf_recordCreate(Recorder& REC, double T, std::uint32_t SEND_ID, int CLIENT, std::string_view TAIL,
                     std::string_view TITLE, const SimObject& INIT);
void gf_recordCreated(Recorder& REC, double T, std::uint32_t SEND_ID, const SimObject& OBJECT);
void gf_recordCreateFailed(Recorder& REC, double T, std::uint32_t SEND_ID, std::string_view TAIL,
                           std::string_view TITLE, std::uint32_t EXCEPTION, std::string_view REASON);
void gf_recordRemove(Recorder& REC, double T, std::uint32_t SEND_ID, std::uint32_t OBJECT_ID);
void gf_recordRemoved(Recorder& REC, double T, const SimObject& OBJECT, std::string_view REASON);
/// A data write that touched the position: the object's pose after it.
void gf_recordPosition(Recorder& REC, double T, const SimObject& OBJECT);
/// Any other data write: the fields' names and values in the client's units.
void gf_recordData(Recorder& REC, double T, std::uint32_t OBJECT_ID, std::uint32_t DEFINE_ID,
                   const std::string& FIELDS_JSON);
void gf_recordEvent(Recorder& REC, double T, std::uint32_t OBJECT_ID, std::string_view NAME, std::uint32_t DATA);
void gf_recordRelease(Recorder& REC, double T, std::uint32_t OBJECT_ID);
void gf_recordFlightPlan(Recorder& REC, double T, std::uint32_t OBJECT_ID, std::string_view PATH);

/// TEXT as a JSON string literal, quotes included.
std::string gf_jsonText(std::string_view TEXT);

} // namespace orv::simstandin
