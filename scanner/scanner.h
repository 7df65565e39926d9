// What the start-up asks of the airport scanner.
#pragma once

namespace orv {

/// Scans the add-on folders for airports and writes their link and stand
/// files; sets SCAN_AIRPORTS off at its end. Main thread, at start-up.
void gf_scanAirports();

} // namespace orv
