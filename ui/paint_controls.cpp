// The controls band: its lines and every caption beside the controls, with
// the colour rules that make a setting in force stand out.
#include "ui/paint.h"

#include "core/flags.h"
#include "core/parameters.h"
#include "parking/parking.h"
#include "ui/controls.h"

#include <fmt/format.h>

namespace orv {

namespace {

constexpr int clientWidth = 864;

Colour lf_onOff(bool ON, Colour WHEN_ON, Colour WHEN_OFF) { return ON ? WHEN_ON : WHEN_OFF; }

/// A checkbox's caption colour; black unless a rule says otherwise.
Colour lf_checkColour(const CheckBox& C)
{
    const bool ptOnly = RT_PARKTRAFFIC_ONLY.value;
    if (&C == &SCAN_LIVERIES || &C == &SCAN_AIRPORTS || &C == &ALWAYS_ON_TOP) return lf_onOff(C.value, yellow, black);
    if (&C == &GUID_CHANGES) return lf_onOff(C.value, black, yellow);
    if (&C == &MSFS_2020 || &C == &CALLSIGN_OBJECTIDS) return lf_onOff(MSFS_2020.value, black, grey);
    if (&C == &LIGHT_AIRCRAFT || &C == &HELICOPTERS || &C == &HIGH_PERF_AIRCRAFT) return lf_onOff(C.enabled, black, grey);
    if (&C == &STRAIGHT_PBS_ONLY) return lf_onOff(C.value, black, grey);
    if (&C == &PARK_FAKE || &C == &WEEK || &C == &PARK_SOFT) return lf_onOff(ptOnly, grey, black);
    if (&C == &INITIAL_LOAD_ONLY) return ptOnly ? grey : lf_onOff(C.value, yellow, black);
    return black;
}

/// A limit in force stands out: grey while the box holds the default.
Colour lf_limitColour(const IntBox& BOX) { return BOX.value == BOX.defaultValue ? grey : yellow; }

void lf_lines(Picture& P)
{
    P.lines.push_back({0, 113, clientWidth, 113, white});
    for (int y : {140, 224, 308}) P.lines.push_back({0, y, clientWidth, y, black});
    for (int y : {168, 196, 252, 280}) P.lines.push_back({0, y, rightColumnX, y, black});
    P.lines.push_back({rightColumnX, 140, rightColumnX, 308, black});
}

void lf_text(Picture& P, int X, int ROW, std::string TEXT, Colour COLOUR)
{
    P.texts.push_back({X, rowY[ROW], std::move(TEXT), COLOUR});
}

/// The caption right of a box (units, plurals).
void lf_after(Picture& P, const IntBox& BOX, std::string TEXT, Colour COLOUR)
{
    for (const ControlSpot& spot : gf_controlSpots())
        if (spot.intBox == &BOX) P.texts.push_back({spot.x + spot.width + 5, spot.y, std::move(TEXT), COLOUR});
}

bool lf_nextRefreshShown()
{
    const int minutes = nextRefreshMinutes;
    return gf_staticParkingActive() && !parkBusy && (!INITIAL_LOAD_ONLY.value || RT_PARKTRAFFIC_ONLY.value) &&
           minutes >= 1 && minutes <= 19;
}

void lf_leftCaptions(Picture& P)
{
    const Colour autoColour = lf_onOff(AUTO_RANGE.value, black, grey);
    const Colour parkColour = lf_onOff(RT_PARKTRAFFIC_ONLY.value, grey, black);
    if (const int tblo = tbloCount; tblo > 0)
        lf_text(P, 200, 2, fmt::format("{} airport{} in {} folder", tblo, tblo == 1 ? "" : "s", "TBLO"), yellow);
    lf_text(P, 5, 3, MATCHING_DEPTH.caption, black);
    lf_text(P, 212, 3, "Optional:", black);
    lf_text(P, 5, 4, "Traffic injection", black);
    lf_text(P, 110, 4, LATERAL_RANGE.caption, black);
    lf_text(P, 200, 4, "nm,  or", black);
    lf_text(P, 350, 4, AUTO_RANGE_ABOVE_HEIGHT.caption, autoColour);
    lf_after(P, AUTO_RANGE_ABOVE_HEIGHT, "ft", autoColour);
    lf_text(P, 5, 5, "Callsigns", black);
    lf_text(P, 110, 5, BLOCK_CALLSIGN.caption, black);
    lf_text(P, 308, 5, CALLSIGN_2_OBJECTID.caption, black);
    if (const std::string oid = gf_objectIdText(); !oid.empty() && !CALLSIGN_2_OBJECTID.value.empty())
        lf_text(P, 421, 5, oid, black);
    lf_text(P, 5, 6, "Collision avoidance", black);
    lf_text(P, 5, 7, fmt::format("Airport parking{}", parkBusy ? " active" : ""), parkBusy ? yellow : black);
    lf_text(P, 160, 7, CUSTOM_MAX_PARK.caption, lf_limitColour(CUSTOM_MAX_PARK));
    lf_text(P, 325, 7, MAX_LIVE.caption, lf_limitColour(MAX_LIVE));
    if (lf_nextRefreshShown()) lf_text(P, 5, 8, fmt::format("(next in {} min)", nextRefreshMinutes.load()), black);
    lf_text(P, 110, 8, DESTINATION.caption, black);
    lf_text(P, 248, 8, AIRPORT_RANGE.caption, black);
    lf_after(P, AIRPORT_RANGE, "nm", black);
    lf_text(P, 350, 8, AIRPORT_HEIGHT.caption, black);
    lf_after(P, AIRPORT_HEIGHT, "ft", black);
    lf_text(P, 172, 9, parking_percentage.caption, parkColour);
    lf_text(P, 259, 9, "%", parkColour);
    lf_text(P, 325, 9, MAX_FIT_FL.caption, parkColour);
}

void lf_rightCaptions(Picture& P)
{
    lf_after(P, TIME_SHIFT_HOURS, gf_plural(TIME_SHIFT_HOURS.caption, TIME_SHIFT_HOURS.value), black);
    lf_text(P, rightColumnX + 8, 5, "Time shift:", black);
    lf_after(P, TIME_SHIFT_DAYS, gf_plural(TIME_SHIFT_DAYS.caption, TIME_SHIFT_DAYS.value), black);
    lf_after(P, TIME_SHIFT_MINS, gf_plural(TIME_SHIFT_MINS.caption, TIME_SHIFT_MINS.value), black);
}

} // namespace

Picture gf_paintControls()
{
    Picture p;
    p.fills.push_back({0, 112, clientWidth, 392, lightBlue, ""});
    lf_lines(p);
    for (const ControlSpot& spot : gf_controlSpots())
        if (spot.check != nullptr && !spot.check->caption.empty())
            p.texts.push_back({spot.captionX, spot.y - 2, spot.check->caption, lf_checkColour(*spot.check)});
    lf_leftCaptions(p);
    lf_rightCaptions(p);
    return p;
}

} // namespace orv
