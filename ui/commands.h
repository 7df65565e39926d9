// The window's commands: a click on a checkbox or a push button, Enter in an
// edit box, the close button. A command changes a parameter, saves it at once
// and shows a message; whatever the main thread must act on goes through the
// request flags, so that no command touches the aircraft lists.
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "core/parameters.h"

namespace orv {

/// One command at a time, as on a window thread; the controls band is drawn under it too.
extern std::mutex windowMutex;

/// A checkbox or push button clicked; false when there is no such control or it is disabled.
bool gf_click(const std::string& ID);
/// Enter in an edit box with the typed TEXT; answers what the box shows
/// afterwards, nothing when there is no such box or it is disabled.
std::optional<std::string> gf_enter(const std::string& ID, const std::string& TEXT);
/// The window's close button: the session ends with reason 4.
void gf_closeCommand();

/// A typed number into BOX; true when the value changed.
bool procesTbInt(IntBox& BOX, const std::string& TEXT);
/// MAX_FIT_FL: hours typed, MAX_FIT stored in half hours.
bool procesTbFloat(FloatBox& BOX, const std::string& TEXT);
void lf_newBlockCallsign(const std::string& TEXT);
void lf_unblock();
void lf_newDestination(const std::string& TEXT);
/// A path typed in the install path box for the active simulator's PARAMETER.
void lf_newSimPath(TextParameter& PARAMETER, const std::string& TEXT);
/// A parking setting changed: the parking responds at the next multiple of 15 ticks.
void lf_parkResponse();
/// The check box's common start: toggle, save, repaint.
void lf_checkBoxCommand(CheckBox& BOX);

} // namespace orv
