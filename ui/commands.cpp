// What each checkbox and push button does after its toggle, and the close
// button.
#include "ui/commands.h"

#include "core/exit_request.h"
#include "core/flags.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/window_state.h"
#include "feed/feed.h"
#include "parking/parking.h"
#include "sim/sim_link.h"
#include "ui/controls.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>

namespace orv {

std::mutex windowMutex;

namespace {

constexpr int parkingPeriodTicks = 15;

/// The range the user typed, kept while the automatic range rules; none
/// before the first switch to the automatic range (the default then).
std::optional<int> manualRange;

/// On: a message; off: the line is cleared (or the other way round).
void lf_messageWhen(bool SHOW, const std::string& TEXT)
{
    if (SHOW)
        gf_showStatus(TEXT, false);
    else
        gf_clearStatus();
}

void lf_scanCommand(const CheckBox& BOX, const char* WHAT)
{
    if (!BOX.value) {
        gf_clearStatus();
        return;
    }
    if (!simNotConnected) {
        gf_showStatus(fmt::format("Your {} will be scanned at the next start of {}, recommended after you have "
                                  "add/removed {}", WHAT, programName,
                                  &BOX == &SCAN_LIVERIES ? "AI aircraft models/liveries" : "airports"), false);
        return;
    }
    gf_showStatus(fmt::format("Your {} will be scanned", WHAT), true);
    gf_requestExit(RESTART_IPP, 2);
}

void lf_parkOnlyCommand()
{
    const bool on = RT_PARKTRAFFIC_ONLY.value;
    for (Control* c : std::initializer_list<Control*>{&parking_percentage, &MAX_FIT_FL, &INITIAL_LOAD_ONLY, &PARK_SOFT,
                                                      &PARK_FAKE, &WEEK})
        c->enabled = !on;
    parking_percentage.emptied = MAX_FIT_FL.emptied = on;
    parkParamsChanged = true;
    parkRefreshRtOnly = on;
    lf_parkResponse();
}

void lf_simTimeCommand()
{
    for (IntBox* box : {&TIME_SHIFT_DAYS, &TIME_SHIFT_HOURS, &TIME_SHIFT_MINS}) box->enabled = !SIM_TIME.value;
    if (SIM_TIME.value) {
        lastSimUtc = 0;
        return;
    }
    gf_setTimeShift(0, false); // the three boxes go to 0 and are saved
    lastSimUtc = gf_simUtc();
}

void lf_autoRangeCommand()
{
    parkParamsChanged = true;
    LATERAL_RANGE.enabled = !AUTO_RANGE.value;
    AUTO_RANGE_ABOVE_HEIGHT.enabled = AUTO_RANGE.value;
    if (AUTO_RANGE.value) {
        manualRange = LATERAL_RANGE.value;
    } else {
        autoRangeActive = false;
        LATERAL_RANGE.value = std::clamp(manualRange.value_or(LATERAL_RANGE.defaultValue), LATERAL_RANGE.minimum,
                                         LATERAL_RANGE.maximum);
    }
    rangeRequested = true;
}

/// The other simulator: its catalogue and airports are scanned anew after a restart.
void lf_simulatorSwitch()
{
    std::error_code ignored;
    std::filesystem::remove(outputFolder / "LiveriesScanned.xml", ignored);
    SCAN_AIRPORTS.value = SCAN_LIVERIES.value = true;
    gf_save(SCAN_AIRPORTS);
    gf_save(SCAN_LIVERIES);
    gf_showStatus(fmt::format("Switching Simulator to {}", MSFS_2020.value ? "MSFS 2020" : "MSFS 2024"), true);
    ALL_INSTALL_PATH.value.clear();
    if (!MSFS_2020.value) {
        MYSIMADDON24_VERSION.value.clear();
        gf_save(MYSIMADDON24_VERSION);
    }
    gf_requestExit(RESTART_IPP, 3);
}

void lf_parkingActiveChange()
{
    if (gf_staticParkingActive()) parkParamsChanged = true;
}

using Handler = std::function<void(CheckBox&)>;

const std::map<const CheckBox*, Handler>& lf_checkHandlers()
{
    static const std::map<const CheckBox*, Handler> handlers = {
        {&RT_PARKTRAFFIC_ONLY, [](CheckBox&) { lf_parkOnlyCommand(); }},
        {&SIM_TIME, [](CheckBox&) { lf_simTimeCommand(); }},
        {&NAV_LIGHTS_WHILE_PARKED, [](CheckBox&) { navLightsRequested = true; }},
        {&AUTO_RANGE, [](CheckBox&) { lf_autoRangeCommand(); }},
        {&MSFS_2020, [](CheckBox&) { lf_simulatorSwitch(); }},
        {&SCAN_LIVERIES, [](CheckBox& B) { lf_scanCommand(B, "liveries"); }},
        {&SCAN_AIRPORTS, [](CheckBox& B) { lf_scanCommand(B, "airports"); }},
        {&LIG_AUTOMATIC, [](CheckBox& B) {
             lf_messageWhen(!B.value, "The liveries defined by your lfolder parameters will be scanned");
             AI_PACKAGE_ORDER.enabled = B.value;
         }},
        {&LIG_PRIORITIZE, [](CheckBox& B) {
             lf_messageWhen(B.value, "Liveries in lower lfolders that are already available will be skipped");
         }},
        {&PARK_SOFT, [](CheckBox&) { lf_parkResponse(); }},
        {&PARK_FAKE, [](CheckBox&) { lf_parkResponse(); }},
        {&WEEK, [](CheckBox&) { lf_parkResponse(); }},
        {&INITIAL_LOAD_ONLY, [](CheckBox& B) {
             lf_messageWhen(B.value, "Initial Load Only: static parked aircraft are generated once, no renewal "
                                     "every 20 minutes");
             lf_parkingActiveChange();
         }},
        {&COLLISION_LIVE_PARKED_GND, [](CheckBox& B) {
             lf_messageWhen(!B.value, "Be aware, no collision avoidance with live aircraft vs parked static on the ground");
         }},
        {&COLLISION_USER_GND, [](CheckBox& B) {
             lf_messageWhen(!B.value, "Be aware, no collision avoidance with user aircraft on the ground");
         }},
        {&COLLISION_USER_AIR, [](CheckBox& B) {
             lf_messageWhen(!B.value, "Be aware, no collision avoidance with user aircraft in the air");
         }},
        {&SUPPRESS_STUB, [](CheckBox& B) {
             lf_messageWhen(B.value, "Exclude FSLTL-liveries titles ending with _STUB from scan");
         }},
        {&ALWAYS_ON_TOP, [](CheckBox& B) {
             lf_messageWhen(B.value, fmt::format("{}'s window will remain visible", programName));
         }},
        {&GUID_CHANGES, [](CheckBox& B) {
             lf_messageWhen(!B.value, "Be aware, no more livery updates: you miss correct data for Learn, "
                                      "LittleNavMap, etc..");
         }},
        {&LEARN_SOFT, [](CheckBox&) { lf_parkingActiveChange(); }},
    };
    return handlers;
}

void lf_button(Button& B)
{
    if (&B == &UNBLOCK_BUTTON) {
        if (!BLOCK_CALLSIGN.value.empty())
            lf_unblock();
        else
            gf_showStatus("Nothing to block or unblock...", false);
    } else if (&B == &REREAD_BUTTON) {
        reReadParkAirportsRequested = true;
        REREAD_BUTTON.enabled = DESTINATION.enabled = false;
    } else if (&B == &FLUSH_STATIC_BUTTON) {
        gf_showStatus("All static parked aircraft will be removed ...", false);
        removeAllStaticsRequested = true;
        FLUSH_STATIC_BUTTON.enabled = false;
    }
}

} // namespace

void lf_checkBoxCommand(CheckBox& BOX)
{
    BOX.value = !BOX.value;
    gf_save(BOX);
    gf_repaint();
}

void lf_parkResponse()
{
    if (!gf_staticParkingActive()) return;
    parkParamsChanged = true;
    if (INITIAL_LOAD_ONLY.value) {
        gf_clearStatus();
        return;
    }
    const int seconds = (parkingPeriodTicks - tickCount % parkingPeriodTicks) % parkingPeriodTicks;
    if (seconds > 0)
        gf_showStatus(fmt::format("{} will respond in {} second{} ...", programName, seconds, seconds > 1 ? "s" : ""),
                      false);
    parkRefreshRequested = true;
}

bool gf_click(const std::string& ID)
{
    std::lock_guard lock(windowMutex);
    const ControlSpot* spot = gf_findSpot(ID);
    if (spot == nullptr || !spot->control().enabled) return false;
    if (spot->button != nullptr) {
        lf_button(*spot->button);
    } else if (spot->check != nullptr) {
        lf_checkBoxCommand(*spot->check);
        const auto& handlers = lf_checkHandlers();
        if (const auto it = handlers.find(spot->check); it != handlers.end()) it->second(*spot->check);
    } else {
        return false;
    }
    gf_repaint();
    return true;
}

void gf_closeCommand()
{
    gf_showStatus(fmt::format("Close window button clicked, closing {} ...", programName), false);
    gf_requestExit(USER_CLOSED_SIM, 0);
}

} // namespace orv
