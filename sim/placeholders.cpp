// Answers that later parts give the simulator link, kept as named calls until
// they exist: the stand search of the park airport, and the identification
// of the user aircraft from its title and model.
#include "sim/sim_link.h"

#include <mutex>

namespace orv {

namespace {
std::mutex userAircraftMutex;
std::string userTitle, userModel; ///< guarded by userAircraftMutex
} // namespace

std::string gf_userStand(double, double) { return {}; }
void gf_storeUserStand(const std::string&) {}

void gf_userTitleReply(const std::string& TITLE)
{
    std::lock_guard lock(userAircraftMutex);
    userTitle = TITLE;
}

void gf_userModelReply(const std::string& MODEL)
{
    std::lock_guard lock(userAircraftMutex);
    userModel = MODEL;
}

} // namespace orv
