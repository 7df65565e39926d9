// The scan of add-on airports. The BGL reader is not in yet, so the scan
// finds no airport and writes no stand file.
#include "scanner/scanner.h"

namespace orv {

void gf_scanAirports() {}

} // namespace orv
