// Calls of the start-up and the exit into the livery catalogue, kept as named
// calls until the catalogue is in. None of them reads or scans anything yet.
#include "liveries/liveries.h"

namespace orv {

void gf_readDbase() {}
void gf_scanLiveries(bool) {}
void gf_writeMatchingSummary() {}
void gf_reserveMatching() {}

} // namespace orv

// The reference tables' lookups answer "unknown" until dbase.xml is read by
// the reference database reader: no model is valid, so no line makes a record.
#include "liveries/dbase.h"

namespace orv {

bool gf_validModel(const std::string&) { return false; }
ModelCategory gf_modelCategory(const std::string&) { return ModelCategory::Light; }
double gf_halfWingspan(const std::string&) { return 0; }
std::string gf_dbaseAirline(const std::string&) { return {}; }
std::string gf_dbaseOperator(const std::string&) { return {}; }
std::string gf_dbaseModel(const std::string&) { return {}; }
bool gf_dbaseCargo(const std::string&) { return false; }

} // namespace orv
