// Registration codes of liveries: titles not to be used (read before a scan)
// and the table from registration to title (built after it).
#pragma once

namespace orv {

/// Fills dontUseTitles before the scan.
void lf_readDontUseTitles();
/// After the catalogue stands: in-line atc_id registrations, then the files.
void lf_buildInlineRegcodes();
void lf_processRegcodeFiles();
/// The look-alike models that have liveries, per model and per airline.
void gf_buildSimilar();

} // namespace orv
