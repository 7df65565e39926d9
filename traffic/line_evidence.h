// The feed's evidence checked line by line before the track takes a point:
// derived values for missing ones, speeds checked against positions, spikes
// and standing noise, and the way back after lines were refused.
#pragma once

#include "traffic/act.h"

namespace orv {

/// Checks and completes LINE against what the record's feed showed before;
/// false drops it.
bool lf_evidenceTakes(act& RECORD, TrafficLine& LINE);
/// LINE was refused against the record's last point: true when the refused
/// lines agree with each other long enough for the record to follow them.
bool lf_reanchor(act& RECORD, const TrafficLine& LINE);

} // namespace orv
