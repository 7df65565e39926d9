// There is never a second copy of the program: the first one holds a lock
// file for as long as it lives, in place of a named mutex.
#pragma once

#include <filesystem>

namespace orv {

/// The lock file: "TAVOTraffic.lock" in $XDG_RUNTIME_DIR, or the temp folder.
std::filesystem::path gf_instanceLockPath();
/// Takes the lock; false when another process holds it. Touches nothing else.
bool gf_acquireSingleInstance();
/// Gives the lock back (process end, tests).
void gf_releaseSingleInstance();

} // namespace orv
