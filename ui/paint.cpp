// The paint routine: header, status, controls, park and message bands drawn
// from the display fields, each band whole.
#include "ui/paint.h"

#include "core/flags.h"
#include "core/log.h"
#include "core/parameters.h"
#include "feed/feed.h"
#include "feed/feed_state.h"
#include "liveries/scan_driver.h"
#include "liveries/user_aircraft.h"
#include "sim/sim_link.h"
#include "ui/controls.h"

#include <fmt/format.h>

#include <cmath>

namespace orv {

namespace {

constexpr int clientWidth = 864;
constexpr int statusLines[] = {35, 63, 91};

/// The bands' extents, top to bottom.
struct BandBox {
    int y0, y1;
    Colour background;
};
constexpr BandBox headerBox{0, 28, black}, statusBox{28, 112, black}, controlsBox{112, 392, lightBlue},
    parkBox{392, 448, black}, messageBox{448, 476, green};

Picture lf_band(const BandBox& BOX)
{
    Picture p;
    p.fills.push_back({0, BOX.y0, clientWidth, BOX.y1, BOX.background, ""});
    return p;
}

void lf_whiteLine(Picture& P, int Y) { P.lines.push_back({0, Y, clientWidth, Y, white}); }

Colour lf_simColour(const StatusFields& F)
{
    if (!F.simConnected) return red;
    return F.flightShown && !F.userTitle.empty() ? green : yellow;
}

void lf_simColumn(Picture& P, const StatusFields& F)
{
    const Colour colour = lf_simColour(F);
    P.fills.push_back({397, 30, 425, 112, colour, "simLamp"});
    P.texts.push_back({398, 63, "Sim", black});
    if (F.simConnected) {
        std::string first = F.simName;
        if (!F.userStandName.empty()) first += ", user stand " + F.userStandName;
        P.texts.push_back({5, statusLines[0], first, colour});
        P.texts.push_back({5, statusLines[1], F.userTitle, F.aircraftKnown ? colour : yellow});
    } else {
        P.texts.push_back({5, statusLines[0], fmt::format("MSFS 20{} mode", F.msfs2020 ? "20" : "24"), green});
    }
    if (F.liveryCount > 0)
        P.texts.push_back({5, statusLines[2], fmt::format("# liveries: {}", F.liveryCount), green});
    else
        P.texts.push_back({5, statusLines[2], "# liveries: ...", red});
    if (F.simaddonCount > 0)
        P.texts.push_back({141, statusLines[2], fmt::format("# simaddon: {}", F.simaddonCount), green});
    else
        P.texts.push_back({141, statusLines[2], "# simaddon: ...", yellow});
    if (F.thirdpartyCount > 0)
        P.texts.push_back({278, statusLines[2], fmt::format("# thirdp: {}", F.thirdpartyCount), green});
    else
        P.texts.push_back({278, statusLines[2], "# thirdp: ...", yellow});
}

void lf_readerLine(Picture& P, int Y, const char* NAME, int LAMP)
{
    if (LAMP == lampFailed) return;
    P.texts.push_back({458, Y, NAME, LAMP == lampGood ? green : yellow});
}

void lf_rtColumn(Picture& P, const StatusFields& F)
{
    const Colour lamp = F.rtLampDark ? black : F.rtConnected ? green : red;
    P.fills.push_back({425, 30, 453, 112, lamp, "rtLamp"});
    P.texts.push_back({430, 63, "RT", black});
    P.lines.push_back({425, 29, 425, 112, white});
    if (!F.rtConnected) return;
    P.texts.push_back({458, statusLines[0], F.rtServerName, green});
    lf_readerLine(P, statusLines[1], "Weather", F.weatherLamp);
    lf_readerLine(P, statusLines[2], "Traffic", F.trafficLamp);
    const auto showing = [](int LAMP) { return LAMP == lampGood || LAMP == lampWaiting; };
    if (showing(F.weatherLamp) && F.qnh >= 1)
        P.texts.push_back({rightColumnX, statusLines[1], fmt::format("qnh: {:4}", F.qnh), green});
    if (showing(F.trafficLamp))
        P.texts.push_back({rightColumnX, statusLines[2], fmt::format("live: {:3}", F.liveCount), green});
}

} // namespace

const char* gf_bandName(Band BAND)
{
    switch (BAND) {
    case Band::header: return "header";
    case Band::status: return "status";
    case Band::controls: return "controls";
    case Band::park: return "park";
    case Band::message: return "message";
    }
    return "?";
}

const Text* Picture::at(int X, int Y) const
{
    for (const Text& t : texts)
        if (t.x == X && t.y == Y) return &t;
    return nullptr;
}

const Text* Picture::find(const std::string& PREFIX) const
{
    for (const Text& t : texts)
        if (t.text.starts_with(PREFIX)) return &t;
    return nullptr;
}

const Fill* Picture::fill(const std::string& NAME) const
{
    for (const Fill& f : fills)
        if (f.name == NAME) return &f;
    return nullptr;
}

StatusFields gf_readStatusFields()
{
    StatusFields f;
    f.simConnected = simConnected;
    f.flightShown = simRunning;
    f.simName = gf_simName();
    f.userStandName = gf_userStandName();
    f.userTitle = gf_userTitleShown();
    f.aircraftKnown = aircraftKnown;
    f.msfs2020 = MSFS_2020.value;
    f.liveryCount = liveryCount;
    f.simaddonCount = simaddonCount;
    f.thirdpartyCount = thirdpartyCount;
    f.rtLampDark = rtLampDark;
    f.rtConnected = rtConnected;
    f.rtServerName = gf_rtServerName();
    f.weatherLamp = weatherLamp;
    f.trafficLamp = trafficLamp;
    f.qnh = qnhShown;
    f.liveCount = liveCountShown;
    return f;
}

MessageFields gf_readMessageFields()
{
    std::lock_guard lock(statusMutex);
    return {statusText, errorText};
}

Picture gf_paintHeader()
{
    Picture p = lf_band(headerBox);
    p.texts.push_back({3, 7, fmt::format("Version {}", programVersionText), green});
    p.texts.push_back({390, 7, std::string(programName), green});
    lf_whiteLine(p, 28);
    return p;
}

Picture gf_paintStatus(const StatusFields& FIELDS)
{
    Picture p = lf_band(statusBox);
    lf_simColumn(p, FIELDS);
    lf_rtColumn(p, FIELDS);
    return p;
}

Picture gf_paintMessage(const MessageFields& FIELDS)
{
    Picture p = lf_band(messageBox);
    lf_whiteLine(p, 449);
    if (!FIELDS.error.empty()) {
        p.fills.front().colour = red;
        p.texts.push_back({3, 455, FIELDS.error, yellow});
    } else if (!FIELDS.status.empty()) {
        p.texts.push_back({3, 455, FIELDS.status, yellow});
    }
    return p;
}

Picture gf_paintPark(const ParkDisplay& PARK)
{
    Picture p = lf_band(parkBox);
    lf_whiteLine(p, 392);
    if (PARK.code.empty()) return p;
    constexpr int first = 399, second = 427;
    p.texts.push_back({5, first, PARK.code, PARK.fileFound ? green : yellow});
    if (!PARK.fileFound) return p;
    p.texts.push_back({85, first, fmt::format(" {}, {}{}, wk={}", PARK.name, PARK.publisher,
                                              PARK.handmade ? " (h)" : "", PARK.trafficWeek), green});
    if (PARK.soft) p.texts.push_back({370, first, "*S*", green});
    if (!RT_PARKTRAFFIC_ONLY.value)
        p.texts.push_back({430, first, "qf: " + gf_qfText(PARK.qfReal, PARK.qfSoft), green});
    if (!PARK.reservedStand.empty())
        p.texts.push_back({571, first, "reserved stand: " + PARK.reservedStand, PARK.reservedFound ? green : red});
    p.texts.push_back({748, first, fmt::format("# updates: {:4}", PARK.updateCount), green});

    p.texts.push_back({5, second, fmt::format("# stands: {:3}", PARK.standCount), green});
    p.texts.push_back({111, second, fmt::format("parked live: {:3}", PARK.parkedLive), green});
    if (PARK.liveFit > 0) p.texts.push_back({249, second, "average fit: " + gf_fitText(PARK.liveFit), green});
    if (PARK.wanted > 0) {
        p.texts.push_back({430, second, fmt::format("parked static: {:3}", PARK.parkedStatic), green});
        if (!WEEK.value && PARK.staticFit > 0)
            p.texts.push_back({571, second, "average fit: " + gf_fitText(PARK.staticFit), green});
    }
    if (!RT_PARKTRAFFIC_ONLY.value)
        p.texts.push_back({708, second, PARK.wanted != 0 ? fmt::format("max park: {:3} (={} %)", PARK.wanted, PARK.percent)
                                                         : std::string("no max park live"), green});
    return p;
}

Picture gf_paintBand(Band BAND)
{
    switch (BAND) {
    case Band::header: return gf_paintHeader();
    case Band::status: return gf_paintStatus(gf_readStatusFields());
    case Band::controls: return gf_paintControls();
    case Band::park: return gf_paintPark(gf_parkDisplay());
    case Band::message: return gf_paintMessage(gf_readMessageFields());
    }
    return {};
}

std::string gf_plural(const std::string& CAPTION, int VALUE)
{
    return fmt::format(fmt::runtime(CAPTION), VALUE == 1 ? "" : "s");
}

std::string gf_fitText(double VALUE)
{
    if (VALUE == std::floor(VALUE)) return fmt::format("{:.0f}", VALUE);
    return fmt::format("{:.1F}", VALUE);
}

std::string gf_qfText(int REAL, int SOFT)
{
    constexpr int oneFigureFrom = 45;
    if (REAL < 0 && SOFT < 0) return "  ";
    if (REAL < oneFigureFrom) return fmt::format("{:2}/{:2}", REAL, SOFT);
    return fmt::format("{:2}", REAL);
}

} // namespace orv
