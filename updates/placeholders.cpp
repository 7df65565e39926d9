// Calls of the start-up into the download server, kept as named calls until
// the downloads are in. None of them contacts a server yet.
#include "updates/updates.h"

namespace orv {

void gf_checkProgramVersion() {}
void gf_checkAddonData(bool) {}

} // namespace orv
