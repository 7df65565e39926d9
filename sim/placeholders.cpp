// Answers that later parts give the simulator link: the stand search of the
// park airport (kept as named calls until parking exists), and the
// identification of the user aircraft from its title and model.
#include "sim/sim_link.h"

#include "liveries/user_aircraft.h"

namespace orv {

std::string gf_userStand(double, double) { return {}; }
void gf_storeUserStand(const std::string&) {}

// Both run on the client thread; a model reply that shows no aircraft throws
// error 73 to the client thread's handlers.
void gf_userTitleReply(const std::string& TITLE) { lf_userTitleReply(TITLE.c_str()); }
void gf_userModelReply(const std::string& MODEL) { lf_userModelReply(MODEL.c_str()); }

} // namespace orv
