// Who the user flies: the simulator's title and ATC model texts of the user
// aircraft turned into a model code, half its wing span and its category, so
// that traffic keeps clear of it. The simulator link calls the two replies
// from its dispatch; everything else here needs no simulator.
#pragma once

#include "liveries/dbase.h"

#include <atomic>
#include <string>
#include <string_view>

namespace orv {

extern std::string userTitle;      ///< at most 48 bytes; emptied at a restart
/// What the window shows of the user aircraft; the window reads it whole here.
std::string gf_userTitleShown();
/// Half the wing span of the user aircraft, nautical miles; 0 until the first
/// model reply. Read by the main thread without a lock.
extern std::atomic<double> userWingspan;
extern std::atomic<ModelCategory> userCategory;
/// False: the span is the largest known only for want of a better one.
extern std::atomic<bool> aircraftKnown;

inline constexpr std::size_t userTitleBytes = 48;
inline constexpr std::size_t userModelBytes = 32; ///< the simulator's ATC MODEL field

/// The title reply (request 106); DATA null means the reply had no data.
void lf_userTitleReply(const char* DATA);
/// The model reply (request 107); at most userModelBytes are read. Throws
/// UserErrorException 73 when no aircraft is selected.
void lf_userModelReply(const char* DATA);
/// Back to the start values (a restart of the simulator link).
void gf_resetUserAircraft();

/// The model code that the raw ATC model text stands for, before the wing
/// span tests: exact names, a code in front of ".0.text", "$$:" codes, and
/// the "737" of one maker decided by the title. Fewer than 4 bytes in front
/// of ".0.text" throw std::out_of_range.
std::string gf_userModelCode(std::string_view RAW, std::string_view TITLE);
/// The model a title names when the model text did not help; empty for none.
std::string gf_userModelFromTitle(std::string_view TITLE);

} // namespace orv
