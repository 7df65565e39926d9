// The spine's side of the window: state to show and controls to enable.
#include "core/window_state.h"

#include "core/parameters.h"

namespace orv {

std::atomic<bool> simConnected{false};
std::atomic<bool> rtLampDark{true};
std::atomic<int> nextRefreshMinutes{20};
std::atomic<int> addonAirportFiles{0};
std::atomic<int> restartSecondsLeft{0};
std::atomic<bool> windowExists{false};
std::atomic<std::uint32_t> windowGeneration{0};

void gf_repaint() { ++windowGeneration; }

void gf_enableControls(int STAGE)
{
    switch (STAGE) {
    case 1:
        for (Control* c : {static_cast<Control*>(&MSFS_2020), static_cast<Control*>(&LOG),
                           static_cast<Control*>(&SCAN_LIVERIES), static_cast<Control*>(&SCAN_AIRPORTS),
                           static_cast<Control*>(&ALWAYS_ON_TOP)})
            c->enabled = true;
        break;
    case 2:
    {
        const ParameterLists lists = gf_parameterLists();
        for (CheckBox* c : lists.checkBoxes) c->enabled = true;
        for (IntBox* c : lists.intBoxes) c->enabled = true;
        for (TextBox* c : lists.textBoxes) c->enabled = true;
        ALL_INSTALL_PATH.enabled = true;
        break;
    }
    case 3:
        TIME_SHIFT_DAYS.enabled = TIME_SHIFT_HOURS.enabled = TIME_SHIFT_MINS.enabled = true;
        break;
    case 4: CALLSIGN_2_OBJECTID.enabled = true; break;
    default: break;
    }
    gf_repaint();
}

void gf_resetWindowFields()
{
    simConnected = false;
    rtLampDark = true;
    nextRefreshMinutes = 20;
    restartSecondsLeft = 0;
    CALLSIGN_2_OBJECTID.enabled = false;
    gf_repaint();
}

} // namespace orv
