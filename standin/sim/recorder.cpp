// Writing the stand-in simulator's recording, one JSON line per happening.
// Lines are made with fmt rather than a JSON library: a busy frame writes a
// thousand positions.
#include "standin/sim/recorder.h"

#include "standin/sim/world.h"

#include <fmt/format.h>

#include <cmath>
#include <stdexcept>

namespace orv::simstandin {
namespace {

/// Starts a line with the common keys; the caller appends and ends it.
void lf_begin(Recorder& REC, double T, std::string_view KIND, std::uint32_t OBJECT_ID)
{
    REC.line.clear();
    fmt::format_to(std::back_inserter(REC.line), R"({{"t":{:.3f},"kind":"{}","objectId":{})", T, KIND, OBJECT_ID);
}

void lf_end(Recorder& REC)
{
    REC.line += "}\n";
    std::fwrite(REC.line.data(), 1, REC.line.size(), REC.file);
}

/// Appends ,"KEY":VALUE; a value that JSON cannot hold (NaN, infinite) is null.
void lf_number(Recorder& REC, std::string_view KEY, double VALUE)
{
    if (std::isfinite(VALUE)) fmt::format_to(std::back_inserter(REC.line), R"(,"{}":{})", KEY, VALUE);
    else fmt::format_to(std::back_inserter(REC.line), R"(,"{}":null)", KEY);
}

void lf_pose(Recorder& REC, const SimObject& O)
{
    lf_number(REC, "lat", O.latDeg);
    lf_number(REC, "lon", O.lonDeg);
    lf_number(REC, "alt", O.altFt);
    lf_number(REC, "heading", O.headingRad);
    lf_number(REC, "pitch", O.pitchRad);
    lf_number(REC, "bank", O.bankRad);
}

} // namespace

std::string gf_jsonText(std::string_view TEXT)
{
    std::string out = "\"";
    for (const char ch : TEXT) {
        const auto c = static_cast<unsigned char>(ch);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += ch;
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c < 0x20) {
            out += fmt::format("\\u{:04x}", c);
        } else {
            out += ch;
        }
    }
    out += '"';
    return out;
}

void gf_openRecording(Recorder& REC, const std::string& PATH)
{
    REC.file = std::fopen(PATH.c_str(), "w");
    if (REC.file == nullptr) throw std::runtime_error(fmt::format("cannot write the recording {}", PATH));
}

void gf_closeRecording(Recorder& REC)
{
    if (REC.file == nullptr) return;
    std::fclose(REC.file);
    REC.file = nullptr;
}

void gf_flushRecording(Recorder& REC)
{
    if (REC.file != nullptr) std::fflush(REC.file);
}

void gf_recordCreate(Recorder& REC, double T, std::uint32_t SEND_ID, int CLIENT, std::string_view TAIL,
                     std::string_view TITLE, const SimObject& INIT)
{
    if (REC.file == nullptr) return;
    lf_begin(REC, T, "create", 0);
    fmt::format_to(std::back_inserter(REC.line), R"(,"sendId":{},"client":{},"tail":{},"title":{})", SEND_ID, CLIENT,
                   gf_jsonText(TAIL), gf_jsonText(TITLE));
    lf_pose(REC, INIT);
    lf_number(REC, "airspeed", INIT.tasKt);
    lf_end(REC);
}

void gf_recordCreated(Recorder& REC, double T, std::uint32_t SEND_ID, const SimObject& O)
{
    if (REC.file == nullptr) return;
    lf_begin(REC, T, "created", O.id);
    fmt::format_to(std::back_inserter(REC.line), R"(,"sendId":{},"tail":{},"title":{})", SEND_ID,
                   gf_jsonText(O.atcId), gf_jsonText(O.title));
    lf_pose(REC, O);
    lf_end(REC);
}

void gf_recordCreateFailed(Recorder& REC, double T, std::uint32_t SEND_ID, std::string_view TAIL,
                           std::string_view TITLE, std::uint32_t EXCEPTION, std::string_view REASON)
{
    if (REC.file == nullptr) return;
    lf_begin(REC, T, "create_failed", 0);
    fmt::format_to(std::back_inserter(REC.line), R"(,"sendId":{},"tail":{},"title":{},"exception":{},"reason":{})",
                   SEND_ID, gf_jsonText(TAIL), gf_jsonText(TITLE), EXCEPTION, gf_jsonText(REASON));
    lf_end(REC);
}

void gf_recordRemove(Recorder& REC, double T, std::uint32_t SEND_ID, std::uint32_t OBJECT_ID)
{
    if (REC.file == nullptr) return;
    lf_begin(REC, T, "remove", OBJECT_ID);
    fmt::format_to(std::back_inserter(REC.line), R"(,"sendId":{})", SEND_ID);
    lf_end(REC);
}

void gf_recordRemoved(Recorder& REC, double T, const SimObject& O, std::string_view REASON)
{
    if (REC.file == nullptr) return;
    lf_begin(REC, T, "removed", O.id);
    fmt::format_to(std::back_inserter(REC.line), R"(,"tail":{},"reason":{})", gf_jsonText(O.atcId),
                   gf_jsonText(REASON));
    lf_end(REC);
}

void gf_recordPosition(Recorder& REC, double T, const SimObject& O)
{
    if (REC.file == nullptr) return;
    lf_begin(REC, T, "position", O.id);
    lf_pose(REC, O);
    lf_number(REC, "vs", O.vsFps);
    lf_number(REC, "tas", O.tasKt);
    lf_end(REC);
}

void gf_recordData(Recorder& REC, double T, std::uint32_t OBJECT_ID, std::uint32_t DEFINE_ID,
                   const std::string& FIELDS_JSON)
{
    if (REC.file == nullptr) return;
    lf_begin(REC, T, "data", OBJECT_ID);
    fmt::format_to(std::back_inserter(REC.line), R"(,"defineId":{},"fields":{})", DEFINE_ID, FIELDS_JSON);
    lf_end(REC);
}

void gf_recordEvent(Recorder& REC, double T, std::uint32_t OBJECT_ID, std::string_view NAME, std::uint32_t DATA)
{
    if (REC.file == nullptr) return;
    lf_begin(REC, T, "event", OBJECT_ID);
    fmt::format_to(std::back_inserter(REC.line), R"(,"name":{},"data":{})", gf_jsonText(NAME), DATA);
    lf_end(REC);
}

void gf_recordRelease(Recorder& REC, double T, std::uint32_t OBJECT_ID)
{
    if (REC.file == nullptr) return;
    lf_begin(REC, T, "release", OBJECT_ID);
    lf_end(REC);
}

void gf_recordFlightPlan(Recorder& REC, double T, std::uint32_t OBJECT_ID, std::string_view PATH)
{
    if (REC.file == nullptr) return;
    lf_begin(REC, T, "flightplan", OBJECT_ID);
    fmt::format_to(std::back_inserter(REC.line), R"(,"path":{})", gf_jsonText(PATH));
    lf_end(REC);
}

} // namespace orv::simstandin
