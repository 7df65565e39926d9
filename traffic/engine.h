// The traffic engine's entry points: one 10 ms pass, the acceptance of a
// traffic line, the removal of an aircraft, and the session's containers.
#pragma once

#include "traffic/act.h"

#include <string>

namespace orv {

/// The static parked record: the first block of act is its whole shape so far.
struct StaticAct : ActCore {};
extern std::vector<StaticAct> staticList;

/// One pass of the engine, each 10 ms while the flight runs.
void lf_engineTick();
/// Runs the waiting dispatch messages (also while the flight stands still).
void lf_drainMessages();
/// One traffic line into its record, or a new waiting record.
void lf_acceptLine(const TrafficLine& LINE);
/// A line far from the park airport's field: high, on the ground, or off its elevation.
bool gf_farFromField(const TrafficLine& LINE);
/// The one way to take an aircraft, live or static, out of the simulator.
void gf_removeAct(ActCore& RECORD);
/// "KLM B738 EHAM LEMD PH-BXA   KLM1234  ": the aircraft as the log shows it.
std::string gf_actText(const ActCore& RECORD);

/// Finds a live record; nullptr when there is none.
act* gf_findAct(std::uint32_t HEXID);
act* gf_findActByObject(std::uint32_t OBJECT_ID);

/// The start of a session: room for the lists, nothing left of the last one.
void lf_reserveEngine();
/// The final exit: every live aircraft in the simulator is removed, one that
/// is being created is marked for removal when it arrives.
void lf_removeAllLive();
/// The final exit: removeQueue handed to the simulator link in one go.
void lf_flushRemoveQueue();
/// A restart: every list emptied.
void lf_clearEngine();

/// Fills a new record's class-dependent fields; PITCH_SIGN_A/B in {-1, +1}
/// choose the direction of the small random variation of the take-off pitches.
void lf_setClassFields(act& RECORD, std::int32_t CLASS_ID, int PITCH_SIGN_A, int PITCH_SIGN_B);

} // namespace orv
