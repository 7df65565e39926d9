// The two decoders of the traffic answers, both named processLine in the
// log: a live line into a TrafficLine, a parked line into a ParkedLine.
#pragma once

#include <string>

#include "feed/rt_client.h"

namespace orv {

/// Decodes CLIENT.line as a live line with CLIENT.view; a kept line is
/// appended to CLIENT.lines, a refused one leaves no trace but the seen sets.
void processLine(RtClient& CLIENT);

/// Decodes CLIENT.line as the parked line of the member KEY; a kept line is
/// appended to CLIENT.parkedLines.
void processLine(const std::string& KEY, RtClient& CLIENT);

/// Engine ticks per second, and the delay at which a live answer lands.
inline constexpr std::int32_t ticksPerSecondFeed = 100;
inline constexpr int liveDelaySeconds = 30;

/// Gives each line of CLIENT.lines its due tick, DELAY_SECONDS ahead of now
/// round the batch's median time, and hands the batch on: a live answer
/// (delay 30) to incomingLines when the main loop runs and the queue is
/// empty, a history slice to CLIENT.history. CLIENT.lines is emptied.
void lf_handOverLines(RtClient& CLIENT, int DELAY_SECONDS);

/// The buffered history, all slices, to the main thread with their due
/// ticks, oldest first to be taken.
void lf_handOverHistory(RtClient& CLIENT);

} // namespace orv
