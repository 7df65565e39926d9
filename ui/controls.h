// The window's controls: where each checkbox, edit box and push button sits
// (fixed numbers, nothing laid out at run time), and what an edit box shows.
#pragma once

#include <string>
#include <vector>

#include "core/parameters.h"

namespace orv {

inline constexpr int rowY[] = {119, 147, 175, 203, 231, 259, 287, 315, 343, 371};
inline constexpr int rightColumnX = 642;
inline constexpr int checkSize = 12, boxHeight = 16, buttonHeight = 20;

/// One control; exactly one of the typed pointers is set.
struct ControlSpot {
    CheckBox* check = nullptr;
    IntBox* intBox = nullptr;
    FloatBox* floatBox = nullptr;
    TextBox* textBox = nullptr;
    Button* button = nullptr;
    int x = 0, y = 0, width = 0;
    int captionX = -1; ///< a checkbox's caption (Control::caption) is drawn here by paint
    Control& control() const;
    const std::string& id() const; ///< the parameter's name, or the button's caption
};

/// Every control of the window, top to bottom, left to right.
const std::vector<ControlSpot>& gf_controlSpots();
/// The control with that id; nullptr when there is none.
const ControlSpot* gf_findSpot(const std::string& ID);
/// What an edit box shows: its value, or nothing while it is emptied.
std::string gf_boxText(const ControlSpot& SPOT);

} // namespace orv
