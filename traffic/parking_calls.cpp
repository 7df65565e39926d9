// The engine's table of parking's answers, with the defaults of a program
// without airports until the spine installs parking's own.
#include "traffic/parking_calls.h"

namespace orv {

ParkingCalls parkingCalls;

} // namespace orv
