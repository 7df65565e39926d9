// Enter in an edit box: typed numbers with their limits, the callsign to
// block, the destination, the callsign to look up and the install path.
// Nothing a user types ends the session: every failure becomes a message.
#include "ui/commands.h"

#include "core/exit_request.h"
#include "core/flags.h"
#include "core/log.h"
#include "core/window_state.h"
#include "feed/feed.h"
#include "parking/airport_db.h"
#include "parking/parking.h"
#include "ui/controls.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <stdexcept>

namespace orv {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t numberTextLimit = 511, callsignTextLimit = 2047;
constexpr std::size_t callsignShortest = 4, callsignLongest = 8, icaoLength = 4;
constexpr int minutesPerHour = 60, hoursPerDay = 24;

bool lf_isTimeShift(const IntBox& BOX)
{
    return &BOX == &TIME_SHIFT_DAYS || &BOX == &TIME_SHIFT_HOURS || &BOX == &TIME_SHIFT_MINS;
}

/// a to z made upper case, nothing else touched.
std::string lf_upper(std::string TEXT)
{
    for (char& c : TEXT)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return TEXT;
}

void lf_showAndLog(const std::string& TEXT) { gf_showStatus(TEXT, true); }

/// What follows a number box's change.
void lf_afterInt(IntBox& BOX, int OLD)
{
    if (&BOX == &CUSTOM_MAX_PARK || &BOX == &parking_percentage) {
        lf_parkResponse();
    } else if (&BOX == &LATERAL_RANGE) {
        parkParamsChanged = true;
        rangeRequested = true;
    } else if (&BOX == &MAX_LIVE) {
        if (gf_staticParkingActive())
            parkParamsChanged = true;
        else
            maxLiveRequested = true;
    } else if (&BOX == &MATCHING_DEPTH) {
        if (BOX.value > OLD) noLiveryResetRequested = true;
    } else if (lf_isTimeShift(BOX)) {
        gf_setTimeShift((TIME_SHIFT_HOURS.value + TIME_SHIFT_DAYS.value * hoursPerDay) * minutesPerHour +
                            TIME_SHIFT_MINS.value,
                        false);
    }
}

/// std::stoi or std::stof on TEXT; a text without a number is shown, any
/// other failure logged under WHERE; nothing then.
template <typename T>
std::optional<T> lf_number(const std::string& TEXT, const char* WHERE)
{
    try {
        if constexpr (std::is_same_v<T, int>)
            return std::stoi(TEXT);
        else
            return std::stof(TEXT);
    } catch (const std::invalid_argument&) {
        gf_showStatus(fmt::format("invalid input: {}", TEXT), false);
    } catch (const std::exception& e) {
        gf_log(fmt::format("{} exception {}, h={} ", WHERE, e.what(), TEXT));
    }
    return std::nullopt;
}

void lf_objectIdBox(const std::string& TEXT)
{
    // The main thread reads the callsign for its lookup: it changes whole, under its lock.
    if (!TEXT.empty()) {
        gf_setText(CALLSIGN_2_OBJECTID, lf_upper(TEXT));
        objectIdLookupRequested = true;
    } else if (!CALLSIGN_2_OBJECTID.value.empty()) {
        gf_setText(CALLSIGN_2_OBJECTID, {});
        gf_setObjectIdText({});
    }
}

void lf_storePath(TextParameter& PARAMETER, const std::string& PATH)
{
    PARAMETER.value = PATH;
    gf_save(PARAMETER);
    ALL_INSTALL_PATH.value = PATH;
    lf_showAndLog(fmt::format("Community path found, {} will restart ...", programName));
    gf_requestExit(RESTART_IPP, 3);
}

} // namespace

bool procesTbInt(IntBox& BOX, const std::string& TYPED)
{
    const std::string text = TYPED.substr(0, numberTextLimit);
    if (text.empty()) {
        if (&BOX == &parking_percentage) {
            BOX.value = 0;
        } else {
            BOX.value = std::clamp(BOX.defaultValue, BOX.minimum, BOX.maximum);
            gf_save(BOX);
        }
    } else {
        const std::optional<int> number = lf_number<int>(text, "procesTbInt");
        if (!number) return false;
        if (*number == BOX.value) {
            gf_showStatus(fmt::format("Same {} value {}, no changes made", BOX.name, BOX.value), false);
            return false;
        }
        BOX.value = std::clamp(*number, BOX.minimum, BOX.maximum);
        if (&BOX != &parking_percentage && !lf_isTimeShift(BOX)) gf_save(BOX);
    }
    BOX.emptied = false;
    gf_showStatus(fmt::format("The new {} is {}", BOX.name, BOX.value), false);
    return true;
}

bool procesTbFloat(FloatBox& BOX, const std::string& TYPED)
{
    const std::string text = TYPED.substr(0, numberTextLimit);
    if (text.empty()) {
        BOX.value = BOX.defaultValue;
        MAX_FIT.value = MAX_FIT.defaultValue;
    } else {
        const std::optional<float> number = lf_number<float>(text, "procesTbFloat");
        if (!number) return false;
        if (*number == BOX.value) {
            gf_showStatus(fmt::format("Same {} value {}, no changes made", BOX.name, BOX.value), false);
            return false;
        }
        // Only half hours exist: the box takes the nearest one.
        const float hours = std::clamp(*number, BOX.minimum, BOX.maximum);
        MAX_FIT.value = std::clamp(static_cast<int>(std::lround(2 * hours)) - 1, MAX_FIT.minimum, MAX_FIT.maximum);
        BOX.value = gf_maxFitHours(MAX_FIT.value);
    }
    gf_save(MAX_FIT);
    BOX.emptied = false;
    gf_showStatus(fmt::format("The new {} is {:.1F}", BOX.name, BOX.value), false);
    return true;
}

void lf_unblock()
{
    const std::string old = BLOCK_CALLSIGN.value;
    gf_setText(BLOCK_CALLSIGN, {}); // the traffic reader copies it for each answer
    gf_save(BLOCK_CALLSIGN);
    UNBLOCK_BUTTON.enabled = false;
    lf_showAndLog(fmt::format("no more blocking of live aircraft \"{}\"", old));
    blockRequested = true;
}

void lf_newBlockCallsign(const std::string& TYPED)
{
    gf_clearStatus();
    const std::string text = TYPED.substr(0, callsignTextLimit);
    if (text.empty()) {
        if (!BLOCK_CALLSIGN.value.empty()) lf_unblock();
        return;
    }
    if (text.size() < callsignShortest || text.size() > callsignLongest) {
        lf_showAndLog(fmt::format("callsign \"{}\" is not valid", text));
        return;
    }
    const std::string callsign = lf_upper(text);
    if (callsign == BLOCK_CALLSIGN.value) {
        lf_showAndLog(fmt::format("callsign \"{}\" was already set ...", callsign));
        return;
    }
    gf_setText(BLOCK_CALLSIGN, callsign);
    gf_save(BLOCK_CALLSIGN);
    UNBLOCK_BUTTON.enabled = true;
    lf_showAndLog(fmt::format("live aircraft with callsign \"{}\" will be blocked", callsign));
    blockRequested = true;
}

void lf_newDestination(const std::string& TYPED)
{
    const std::string text = TYPED.substr(0, numberTextLimit);
    if (text.empty()) {
        DESTINATION.value.clear();
        REREAD_BUTTON.enabled = true;
        lf_showAndLog("destination set to empty");
        return;
    }
    if (text.size() != icaoLength) {
        lf_showAndLog(fmt::format("destination \"{}\" is not valid", text));
        return;
    }
    const std::string code = lf_upper(text);
    if (code == DESTINATION.value) {
        lf_showAndLog(fmt::format("destination \"{}\" was already set ...", code));
        return;
    }
    if (!gf_findAirport(code)) {
        lf_showAndLog(fmt::format("destination \"{}\" is unknown ...", code));
        return;
    }
    DESTINATION.value = code;
    gf_save(DESTINATION);
    lf_showAndLog(fmt::format("New destination: {}", code));
    destinationRequested = true;
    REREAD_BUTTON.enabled = false;
}

void lf_newSimPath(TextParameter& PARAMETER, const std::string& TYPED)
{
    gf_clearError();
    std::string text = TYPED;
    while (text.size() > 1 && (text.back() == '/' || text.back() == '\\')) text.pop_back();
    if (text.empty()) {
        if (!PARAMETER.value.empty()) {
            PARAMETER.value.clear();
            gf_save(PARAMETER);
        }
        ALL_INSTALL_PATH.value.clear();
        return;
    }
    std::error_code failed;
    if (!fs::exists(text, failed)) {
        lf_showAndLog(fmt::format("This install path does not exist: {}", text));
        return;
    }
    const std::size_t cut = text.find_last_of("/\\");
    const std::string last = fs::path(cut == std::string::npos ? text : text.substr(cut + 1)).stem().string();
    if (last != "Community") {
        if (fs::is_directory(fs::path(text) / "Community", failed))
            lf_storePath(PARAMETER, text);
        else
            lf_showAndLog("This path exists but is not a path to Community ...");
        return;
    }
    const std::string rest = cut == std::string::npos ? std::string() : text.substr(0, cut);
    if (!rest.empty() && fs::is_directory(fs::path(rest) / "Community", failed)) lf_storePath(PARAMETER, rest);
}

std::optional<std::string> gf_enter(const std::string& ID, const std::string& TEXT)
{
    std::lock_guard lock(windowMutex);
    const ControlSpot* spot = gf_findSpot(ID);
    if (spot == nullptr || !spot->control().enabled || spot->check != nullptr || spot->button != nullptr)
        return std::nullopt;
    gf_clearStatus();
    if (spot->intBox != nullptr) {
        const int old = spot->intBox->value;
        if (procesTbInt(*spot->intBox, TEXT)) lf_afterInt(*spot->intBox, old);
    } else if (spot->floatBox != nullptr) {
        if (procesTbFloat(*spot->floatBox, TEXT) && gf_staticParkingActive()) lf_parkResponse();
    } else if (spot->textBox == &BLOCK_CALLSIGN) {
        lf_newBlockCallsign(TEXT);
    } else if (spot->textBox == &DESTINATION) {
        lf_newDestination(TEXT);
    } else if (spot->textBox == &CALLSIGN_2_OBJECTID) {
        lf_objectIdBox(TEXT);
    } else if (spot->textBox == &ALL_INSTALL_PATH) {
        lf_newSimPath(MSFS_2020.value ? MSFS_INSTALL_PATH : MSFS_2024_INSTALL_PATH, TEXT);
    }
    gf_repaint();
    return gf_boxText(*spot);
}

} // namespace orv
