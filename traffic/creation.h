// From a waiting record to an object in the simulator: the gates before
// creation, the livery, the first pose (at a stand when there is one), the
// create request, the simulator's answer with gear and flight plan, and a
// refusal. Everything here runs on the main thread.
#pragma once

#include "traffic/act.h"
#include "traffic/engine_parts.h"

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// The keys of aircraft for which no livery was found; sorted for the report.
extern std::set<std::string> noLiverySet;
/// Refused titles that end the run.
inline constexpr std::size_t failedTitleLimit = 20;
/// Requests in liveCreateQueue from which a new aircraft loses its front point instead.
inline constexpr std::size_t createQueueLimit = 11;

// --- liveries (livery_choice.cpp) ---------------------------------------------
/// "KLM B738 PH-BXA": airline in 3 columns, model in 4, the registration.
std::string gf_noLiveryKey(const ActCore& RECORD);
/// The livery of a live aircraft: the one it had in this run, or a new match.
bool lf_findLivery(act& RECORD);
/// The matching steps for a live aircraft, with the step count and the log.
void gf_matchLivery(act& RECORD);
/// The matching steps for a static aircraft at a stand (name for the log, cargo mark).
bool gf_matchStaticLivery(ActCore& RECORD, std::string_view STAND_NAME, bool STAND_CARGO);
/// The log's list of aircraft that found no livery (LOG on).
void lf_reportNoMatch();
/// A key into noLiverySet.
void gf_addNoLivery(const std::string& KEY);

// --- the gates (waiting.cpp) ----------------------------------------------------
/// A callsign the simulator can show: not empty, not "@@@@@@@@", at most 8 characters.
bool lf_usableCallsign(const act& RECORD);
/// The user's aircraft in the air lies near the line an airborne front point flies on.
bool lf_inUserPath(const act& RECORD);
/// MAX_LIVE reached: true when the new aircraft at D_NM from the user is the one
/// too many; otherwise the farthest active aircraft goes and the result is false.
bool lf_removeFarthest(double D_NM);

// --- creation (creation.cpp) ----------------------------------------------------
/// Fills the record for the simulator and sets it creating (or drops or erases it).
void lf_createAct(act& RECORD);
/// The first pose from the front point (steps of the position, pitch and heading).
void lf_firstPose(act& RECORD);
/// The course the aircraft takes from its front point, radians 0..2π: towards
/// the next point, or the front point's track when the next one is a stop.
/// A waiting record has no heading of its own yet; this is the one it gets.
double gf_firstCourse(const act& RECORD);

// --- flight plans (flight_plan.cpp) -----------------------------------------------
/// Writes the .pln file of RECORD to PATH; false when it cannot be opened.
bool lf_writePln(const std::filesystem::path& PATH, const ActCore& RECORD);
/// The file's name in the orig_dest folder for an object.
std::filesystem::path gf_flightPlanPath(std::uint32_t OBJECT_ID);
void lf_setFlightPlan(act& RECORD);

// --- identity and stand conflicts (identity.cpp, collisions.cpp) -------------------
/// Identity: a ghost's callsign enters ghostCallsigns when its real aircraft is there.
void lf_ghostCheck(const std::string& CALLSIGN);
/// Identity: the real aircraft of a ghost record exists.
bool lf_realExists(const act& RECORD);
/// Stand conflicts: false when OTHER keeps RECORD from the stand it was given.
bool lf_standConflictLive(const act& RECORD, const act& OTHER);

} // namespace orv
