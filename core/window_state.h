// What the rest of the program tells the window: the display fields (lamps,
// counters, the park airport) and which controls are usable. Any thread
// writes a field and calls gf_repaint; the window reads the fields when it
// draws, so a draw that saw an old value is followed by another. Text fields
// are read whole through their accessors.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace orv {

extern std::atomic<bool> simConnected;        ///< the simulator link is up
extern std::atomic<bool> rtLampDark;          ///< the service lamp before the first login
extern std::atomic<int> nextRefreshMinutes;   ///< minutes to the next parking renewal
extern std::atomic<int> simaddonCount;        ///< stand files in my_simaddon
extern std::atomic<int> thirdpartyCount;      ///< stand files in my_thirdparty
extern std::atomic<int> tbloCount;            ///< airports the scan put in the TBLO folder
extern std::atomic<int> liveCountShown;       ///< live aircraft in the simulator, not at a stand
extern std::atomic<int> restartSecondsLeft;   ///< the countdown shown while a restart waits
extern std::atomic<bool> windowExists;        ///< the window (event loop) is up
extern std::atomic<std::uint32_t> windowGeneration;

/// What the window shows of the park airport; nothing while `code` is empty.
struct ParkDisplay {
    std::string code;           ///< the park airport's display code
    bool fileFound = false;     ///< a stand file is loaded for it
    std::string name, publisher;
    bool handmade = false;      ///< " (h)" after the publisher
    int trafficWeek = 0;
    bool soft = false;          ///< "*S*": soft stands are in use
    int qfReal = -1, qfSoft = -1; ///< quality factors; below 0 unknown
    std::string reservedStand;  ///< the stand kept for the user aircraft
    bool reservedFound = false;
    int updateCount = 0, standCount = 0;
    int parkedLive = 0, parkedStatic = 0;
    double liveFit = -1, staticFit = -1; ///< average ages in half hours; -1 none
    int wanted = 0, percent = 0;
};
ParkDisplay gf_parkDisplay();
void gf_setParkDisplay(const ParkDisplay& DISPLAY);

/// "= {}" with the object id of the callsign looked up; empty when none.
std::string gf_objectIdText();
void gf_setObjectIdText(const std::string& TEXT);

/// Asks the window to redraw what changed.
void gf_repaint();
/// Enables the controls of a start-up stage: 1 those that depend on nothing
/// (and parking_percentage back to 30), 2 the install path box, before the
/// detection, 3 the remaining ones, 4 the object id box (mainLoop runs).
void gf_enableControls(int STAGE);
/// The window's fields back to their start values (a restart).
void gf_resetWindowFields();

} // namespace orv
