// The spine's side of the window: the display fields and the controls that
// each start-up stage enables.
#include "core/window_state.h"

#include "core/parameters.h"

#include <mutex>

namespace orv {

std::atomic<bool> simConnected{false};
std::atomic<bool> rtLampDark{true};
std::atomic<int> nextRefreshMinutes{20};
std::atomic<int> simaddonCount{0};
std::atomic<int> thirdpartyCount{0};
std::atomic<int> tbloCount{0};
std::atomic<int> liveCountShown{0};
std::atomic<int> restartSecondsLeft{0};
std::atomic<bool> windowExists{false};
std::atomic<std::uint32_t> windowGeneration{0};

namespace {

/// The text fields; a leaf lock held only for a copy.
std::mutex textMutex;
ParkDisplay parkDisplay;
std::string objectIdText;

constexpr int startParkingPercentage = 30;

/// The controls that depend on nothing but the parameters just read.
void lf_enableFirst()
{
    for (IntBox* box : {&CUSTOM_MAX_PARK, &MAX_LIVE}) box->enabled = true;
    BLOCK_CALLSIGN.enabled = true;
    for (IntBox* box : {&TIME_SHIFT_DAYS, &TIME_SHIFT_HOURS, &TIME_SHIFT_MINS}) box->enabled = !SIM_TIME.value;
    LATERAL_RANGE.enabled = !AUTO_RANGE.value;
    AUTO_RANGE_ABOVE_HEIGHT.enabled = AUTO_RANGE.value;
    UNBLOCK_BUTTON.enabled = !BLOCK_CALLSIGN.value.empty();
    AI_PACKAGE_ORDER.enabled = LIG_AUTOMATIC.value;
    LEARN_SOFT.enabled = false;
    CALLSIGN_2_OBJECTID.enabled = false;
    parking_percentage.value = startParkingPercentage;
}

/// The rest; the parking boxes stay empty and off until a park airport is set.
void lf_enableRemaining()
{
    for (IntBox* box : {&AIRPORT_RANGE, &AIRPORT_HEIGHT, &MATCHING_DEPTH}) box->enabled = true;
    CALLSIGN_OBJECTIDS.enabled = MSFS_2020.value;
    parking_percentage.enabled = MAX_FIT_FL.enabled = DESTINATION.enabled = FLUSH_STATIC_BUTTON.enabled = false;
    parking_percentage.emptied = MAX_FIT_FL.emptied = true;
}

} // namespace

ParkDisplay gf_parkDisplay()
{
    std::lock_guard lock(textMutex);
    return parkDisplay;
}

void gf_setParkDisplay(const ParkDisplay& DISPLAY)
{
    {
        std::lock_guard lock(textMutex);
        parkDisplay = DISPLAY;
    }
    gf_repaint();
}

std::string gf_objectIdText()
{
    std::lock_guard lock(textMutex);
    return objectIdText;
}

void gf_setObjectIdText(const std::string& TEXT)
{
    {
        std::lock_guard lock(textMutex);
        objectIdText = TEXT;
    }
    gf_repaint();
}

void gf_repaint() { ++windowGeneration; }

void gf_enableControls(int STAGE)
{
    switch (STAGE) {
    case 1: lf_enableFirst(); break;
    case 2: ALL_INSTALL_PATH.enabled = true; break;
    case 3: lf_enableRemaining(); break;
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
    liveCountShown = 0;
    tbloCount = 0;
    CALLSIGN_2_OBJECTID.enabled = false;
    parking_percentage.emptied = MAX_FIT_FL.emptied = false;
    {
        std::lock_guard lock(textMutex);
        parkDisplay = ParkDisplay{};
        objectIdText.clear();
    }
    gf_repaint();
}

} // namespace orv
