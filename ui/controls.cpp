// The control table of the window: every control's place, in rows.
#include "ui/controls.h"

#include <fmt/format.h>

namespace orv {

namespace {

ControlSpot lf_check(CheckBox& C, int X, int ROW)
{
    ControlSpot spot;
    spot.check = &C;
    spot.x = X;
    spot.y = rowY[ROW] + 2;
    spot.width = checkSize;
    spot.captionX = X + checkSize + 5;
    return spot;
}

template <typename BOX>
ControlSpot lf_box(BOX& B, int X, int ROW, int WIDTH)
{
    ControlSpot spot;
    if constexpr (std::is_same_v<BOX, IntBox>) spot.intBox = &B;
    if constexpr (std::is_same_v<BOX, FloatBox>) spot.floatBox = &B;
    if constexpr (std::is_same_v<BOX, TextBox>) spot.textBox = &B;
    spot.x = X;
    spot.y = rowY[ROW];
    spot.width = WIDTH;
    return spot;
}

/// The two buttons of the right column sit a little higher than their row.
ControlSpot lf_button(Button& B, int X, int Y, int WIDTH)
{
    ControlSpot spot;
    spot.button = &B;
    spot.x = X;
    spot.y = Y;
    spot.width = WIDTH;
    return spot;
}

std::vector<ControlSpot> lf_table()
{
    constexpr int r = rightColumnX + 8; // the right column's first control
    return {
        lf_check(MSFS_2020, 5, 0), lf_box(ALL_INSTALL_PATH, 100, 0, 1200),
        lf_check(SCAN_LIVERIES, 5, 1), lf_check(LIG_AUTOMATIC, 140, 1), lf_box(AI_PACKAGE_ORDER, 282, 1, 24),
        lf_check(LIG_PRIORITIZE, 320, 1), lf_check(SUPPRESS_STUB, 410, 1),
        lf_check(LOG, r, 1), lf_check(ALWAYS_ON_TOP, r + 70, 1),
        lf_check(SCAN_AIRPORTS, 5, 2), lf_check(NAV_LIGHTS_WHILE_PARKED, r, 2), lf_check(LEARN_SOFT, r + 90, 2),
        lf_box(MATCHING_DEPTH, 178, 3, 24), lf_check(LIGHT_AIRCRAFT, 285, 3), lf_check(HELICOPTERS, 395, 3),
        lf_check(HIGH_PERF_AIRCRAFT, 495, 3), lf_check(CALLSIGN_OBJECTIDS, r, 3), lf_check(GUID_CHANGES, r + 90, 3),
        lf_box(LATERAL_RANGE, 158, 4, 36), lf_check(AUTO_RANGE, 250, 4), lf_box(AUTO_RANGE_ABOVE_HEIGHT, 372, 4, 50),
        lf_check(SIM_TIME, r, 4), lf_box(TIME_SHIFT_HOURS, r + 100, 4, 30),
        lf_box(BLOCK_CALLSIGN, 150, 5, 80), lf_button(UNBLOCK_BUTTON, 236, rowY[5] - 2, 60),
        lf_box(CALLSIGN_2_OBJECTID, 335, 5, 80), lf_box(TIME_SHIFT_DAYS, r + 100, 5, 30),
        lf_check(COLLISION_USER_GND, 130, 6), lf_check(COLLISION_USER_AIR, 240, 6),
        lf_check(COLLISION_LIVE_PARKED_GND, 330, 6), lf_check(KEEP_SIM_TIME_PAR, r, 6),
        lf_box(TIME_SHIFT_MINS, r + 100, 6, 30),
        lf_box(CUSTOM_MAX_PARK, 268, 7, 40), lf_box(MAX_LIVE, 385, 7, 40), lf_check(STRAIGHT_PBS_ONLY, r, 7),
        lf_box(DESTINATION, 185, 8, 50), lf_box(AIRPORT_RANGE, 290, 8, 30), lf_box(AIRPORT_HEIGHT, 462, 8, 50),
        lf_button(REREAD_BUTTON, r, rowY[8] - 4, 80),
        lf_check(PARK_FAKE, 5, 9), lf_check(WEEK, 60, 9), lf_check(PARK_SOFT, 120, 9),
        lf_box(parking_percentage, 225, 9, 30), lf_check(INITIAL_LOAD_ONLY, 275, 9), lf_box(MAX_FIT_FL, 375, 9, 36),
        lf_check(RT_PARKTRAFFIC_ONLY, 425, 9), lf_button(FLUSH_STATIC_BUTTON, r, rowY[9] - 4, 80),
    };
}

} // namespace

Control& ControlSpot::control() const
{
    if (check != nullptr) return *check;
    if (intBox != nullptr) return *intBox;
    if (floatBox != nullptr) return *floatBox;
    if (textBox != nullptr) return *textBox;
    return *button;
}

const std::string& ControlSpot::id() const
{
    if (check != nullptr) return check->name;
    if (intBox != nullptr) return intBox->name;
    if (floatBox != nullptr) return floatBox->name;
    if (textBox != nullptr) return textBox->name;
    return button->name;
}

const std::vector<ControlSpot>& gf_controlSpots()
{
    static const std::vector<ControlSpot> table = lf_table();
    return table;
}

const ControlSpot* gf_findSpot(const std::string& ID)
{
    for (const ControlSpot& spot : gf_controlSpots())
        if (spot.id() == ID) return &spot;
    return nullptr;
}

std::string gf_boxText(const ControlSpot& SPOT)
{
    if (SPOT.control().emptied) return {};
    if (SPOT.intBox != nullptr) return std::to_string(SPOT.intBox->value);
    if (SPOT.floatBox != nullptr) return fmt::format("{:.1f}", SPOT.floatBox->value);
    if (SPOT.textBox != nullptr) return SPOT.textBox->value;
    return {};
}

} // namespace orv
