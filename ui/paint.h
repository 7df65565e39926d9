// The paint routine of the window: each band is drawn whole from the display
// fields and the parameters into a picture (fills, lines, texts in window
// coordinates), which the page shows as it is. Nothing here reports to the
// user; the colour rules and captions live here and nowhere else.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/window_state.h"

namespace orv {

enum class Band { header, status, controls, park, message };
inline constexpr Band allBands[] = {Band::header, Band::status, Band::controls, Band::park, Band::message};
const char* gf_bandName(Band BAND);

using Colour = std::uint32_t; ///< 0xRRGGBB
inline constexpr Colour red = 0xFF0000, lightBlue = 0x99CCFF, black = 0x000000, green = 0x32CD32,
                        yellow = 0xFFFF00, grey = 0xA0A0A0, white = 0xFFFFFF;

struct Fill {
    int x0, y0, x1, y1;
    Colour colour;
    std::string name; ///< the lamps are named, so that they can be found
};
struct Line {
    int x0, y0, x1, y1;
    Colour colour;
};
struct Text {
    int x, y;
    std::string text;
    Colour colour;
};
struct Picture {
    std::vector<Fill> fills;
    std::vector<Line> lines;
    std::vector<Text> texts;
    /// The text at (X, Y); nullptr when none is drawn there.
    const Text* at(int X, int Y) const;
    /// The first text that starts with PREFIX; nullptr when none.
    const Text* find(const std::string& PREFIX) const;
    const Fill* fill(const std::string& NAME) const;
};

/// What the status band shows, read at once from the display fields.
struct StatusFields {
    bool simConnected = false, flightShown = false;
    std::string simName, userStandName, userTitle;
    bool aircraftKnown = true, msfs2020 = true;
    std::int64_t liveryCount = 0;
    int simaddonCount = 0, thirdpartyCount = 0;
    bool rtLampDark = true, rtConnected = false;
    std::string rtServerName;
    int weatherLamp = 0, trafficLamp = 0, qnh = 0, liveCount = 0;
};
StatusFields gf_readStatusFields();

/// The message line: the error when one shows, else the status.
struct MessageFields {
    std::string status, error;
};
MessageFields gf_readMessageFields();

Picture gf_paintHeader();
Picture gf_paintStatus(const StatusFields& FIELDS);
/// The captions of the controls band, from the parameters and its display fields.
Picture gf_paintControls();
Picture gf_paintPark(const ParkDisplay& PARK);
Picture gf_paintMessage(const MessageFields& FIELDS);
/// The band as it is now.
Picture gf_paintBand(Band BAND);

/// "day", "days": the plural's "s" for every value but 1.
std::string gf_plural(const std::string& CAPTION, int VALUE);
/// A fit figure: whole numbers without decimals, others with one.
std::string gf_fitText(double VALUE);
/// The quality factors: two blanks unknown, "{:2}/{:2}" below 45, "{:2}" from 45.
std::string gf_qfText(int REAL, int SOFT);

} // namespace orv
