// What the start-up asks of the airport scanner.
#pragma once

namespace orv {

/// Scans the add-on folders for airports and writes their stand files.
void gf_scanAirports();

} // namespace orv
