// What the start-up and the exit ask of the livery catalogue.
#pragma once

namespace orv {

/// Reads dbase.xml (first start-up of the process only).
void gf_readDbase();
/// Scans the liveries when SCAN, else reads LiveriesScanned.xml back.
void gf_scanLiveries(bool SCAN);
/// Writes the matching summary to the log.
void gf_writeMatchingSummary();
/// Reserves the matching containers of a session.
void gf_reserveMatching();

} // namespace orv
