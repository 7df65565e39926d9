// The add-on data step of the start-up: the MSFS 2024 airport data is fetched
// once when its folder is missing, and checked once more on a start that is
// no restart inside the process.
#include "updates/downloads.h"
#include "updates/updates.h"

namespace orv {

void gf_checkAddonData(bool FORCE)
{
    if (gf_mySimaddonMissing()) gf_updateMySimaddon();
    if (FORCE) gf_updateMySimaddon();
}

} // namespace orv
