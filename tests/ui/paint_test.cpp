// The paint routine's colour rules and captions, band by band.
#include "core/parameters.h"
#include "ui/paint.h"

#include <gtest/gtest.h>

namespace orv {
namespace {

Colour colourOf(const Picture& P, const std::string& TEXT)
{
    const Text* t = P.find(TEXT);
    return t == nullptr ? 0xDEADu : t->colour;
}

TEST(StatusBand, SimulatorLampAndLeftColumn)
{
    struct Case {
        bool connected, flight;
        const char* title;
        Colour lamp;
    } cases[] = {
        {false, false, "", red},        {false, true, "A320", red},  {true, false, "A320", yellow},
        {true, true, "", yellow},       {true, true, "A320", green},
    };
    for (const Case& c : cases) {
        StatusFields f;
        f.simConnected = c.connected;
        f.flightShown = c.flight;
        f.userTitle = c.title;
        f.simName = "MSFS 2020 (11.0)";
        const Picture p = gf_paintStatus(f);
        EXPECT_EQ(p.fill("simLamp")->colour, c.lamp) << c.connected << c.flight << c.title;
        if (c.connected) {
            EXPECT_EQ(p.at(5, 35)->text, "MSFS 2020 (11.0)");
            EXPECT_EQ(p.at(5, 35)->colour, c.lamp);
        } else {
            EXPECT_EQ(p.at(5, 35)->text, "MSFS 2020 mode");
            EXPECT_EQ(p.at(5, 63), nullptr);
        }
    }
}

TEST(StatusBand, UnknownAircraftIsYellowUnderAGreenLamp)
{
    StatusFields f;
    f.simConnected = f.flightShown = true;
    f.userTitle = "Unknown (encrypted?) aircraft";
    f.aircraftKnown = false;
    f.userStandName = "D4";
    f.simName = "MSFS 2024 (12.1)";
    f.msfs2020 = false;
    const Picture p = gf_paintStatus(f);
    EXPECT_EQ(p.fill("simLamp")->colour, green);
    EXPECT_EQ(p.at(5, 63)->colour, yellow);
    EXPECT_EQ(p.at(5, 35)->text, "MSFS 2024 (12.1), user stand D4");
}

TEST(StatusBand, CountersAreDotsUntilKnown)
{
    StatusFields f;
    f.msfs2020 = false;
    Picture p = gf_paintStatus(f);
    EXPECT_EQ(p.at(5, 35)->text, "MSFS 2024 mode");
    EXPECT_EQ(colourOf(p, "# liveries: ..."), red);
    EXPECT_EQ(colourOf(p, "# simaddon: ..."), yellow);
    EXPECT_EQ(colourOf(p, "# thirdp: ..."), yellow);
    f.liveryCount = 5000000000;
    f.simaddonCount = 3;
    f.thirdpartyCount = 1;
    p = gf_paintStatus(f);
    EXPECT_EQ(colourOf(p, "# liveries: 5000000000"), green);
    EXPECT_EQ(colourOf(p, "# simaddon: 3"), green);
    EXPECT_EQ(colourOf(p, "# thirdp: 1"), green);
}

TEST(StatusBand, ServiceLampReadersAndFigures)
{
    StatusFields f;
    EXPECT_EQ(gf_paintStatus(f).fill("rtLamp")->colour, black) << "dark until a flight runs";
    f.rtLampDark = false;
    EXPECT_EQ(gf_paintStatus(f).fill("rtLamp")->colour, red) << "red until the login";
    EXPECT_EQ(gf_paintStatus(f).find("Weather"), nullptr);
    struct Case {
        int weatherLamp, qnh;
        Colour weather;
        const char* qnhText;
    } cases[] = {{1, 1013, green, "qnh: 1013"}, {2, 998, yellow, "qnh:  998"}, {1, 0, green, nullptr},
                 {3, 1013, 0xDEADu, nullptr}};
    for (const Case& c : cases) {
        f.rtConnected = true;
        f.rtServerName = "rt-7";
        f.weatherLamp = c.weatherLamp;
        f.trafficLamp = 3;
        f.qnh = c.qnh;
        const Picture p = gf_paintStatus(f);
        EXPECT_EQ(p.fill("rtLamp")->colour, green);
        EXPECT_EQ(colourOf(p, "rt-7"), green);
        EXPECT_EQ(colourOf(p, "Weather"), c.weather) << c.weatherLamp;
        if (c.qnhText)
            EXPECT_EQ(colourOf(p, c.qnhText), green);
        else
            EXPECT_EQ(p.find("qnh:"), nullptr) << c.weatherLamp << " " << c.qnh;
        EXPECT_EQ(p.find("Traffic"), nullptr);
        EXPECT_EQ(p.find("live:"), nullptr);
    }
    f.trafficLamp = 2;
    f.liveCount = 7;
    EXPECT_EQ(colourOf(gf_paintStatus(f), "live:   7"), green);
}

TEST(ParkBand, WithoutFileOnlyTheCodeInYellow)
{
    EXPECT_TRUE(gf_paintPark(ParkDisplay{}).texts.empty());
    ParkDisplay park;
    park.code = "EHAM";
    const Picture p = gf_paintPark(park);
    ASSERT_EQ(p.texts.size(), 1u);
    EXPECT_EQ(p.texts[0].colour, yellow);
}

TEST(ParkBand, QualityFitsAndLimits)
{
    EXPECT_EQ(gf_qfText(-1, -1), "  ");
    EXPECT_EQ(gf_qfText(44, 3), "44/ 3");
    EXPECT_EQ(gf_qfText(45, 3), "45");
    EXPECT_EQ(gf_fitText(3.0), "3");
    EXPECT_EQ(gf_fitText(2.5), "2.5");
    gf_resetParameters();
    ParkDisplay park;
    park.code = "EHAM";
    park.fileFound = true;
    park.reservedStand = "D4";
    park.staticFit = 1.5;
    Picture p = gf_paintPark(park);
    EXPECT_EQ(colourOf(p, "reserved stand: D4"), red);
    EXPECT_NE(p.find("no max park live"), nullptr);
    EXPECT_EQ(p.find("parked static:"), nullptr) << "nothing wanted";
    park.wanted = 12;
    park.percent = 30;
    WEEK.value = true;
    p = gf_paintPark(park);
    EXPECT_NE(p.find("max park:  12 (=30 %)"), nullptr);
    EXPECT_EQ(p.find("average fit:"), nullptr) << "no static fit in week mode";
    RT_PARKTRAFFIC_ONLY.value = true;
    p = gf_paintPark(park);
    EXPECT_EQ(p.find("qf:"), nullptr);
    EXPECT_EQ(p.find("max park:"), nullptr);
    gf_resetParameters();
}

TEST(MessageBand, ErrorTurnsItRed)
{
    EXPECT_EQ(gf_paintMessage({"", ""}).texts.size(), 0u);
    Picture p = gf_paintMessage({"saved", ""});
    EXPECT_EQ(p.fills[0].colour, green);
    EXPECT_EQ(p.at(3, 455)->text, "saved");
    p = gf_paintMessage({"", "Error 41"});
    EXPECT_EQ(p.fills[0].colour, red);
    EXPECT_EQ(p.at(3, 455)->text, "Error 41");
}

TEST(ControlsBand, PluralsAndCaptionColours)
{
    EXPECT_EQ(gf_plural("day{}", 1), "day");
    EXPECT_EQ(gf_plural("day{}", 0), "days");
    EXPECT_EQ(gf_plural("minute{}", 2), "minutes");
    gf_resetParameters();
    Picture p = gf_paintControls();
    EXPECT_EQ(colourOf(p, "generic max park:"), grey);
    EXPECT_EQ(colourOf(p, "GUID changes"), black);
    EXPECT_EQ(colourOf(p, "Scan for liveries"), yellow);
    EXPECT_EQ(colourOf(p, "ah:"), black);
    CUSTOM_MAX_PARK.value = 50;
    GUID_CHANGES.value = SCAN_LIVERIES.value = AUTO_RANGE.value = false;
    TIME_SHIFT_DAYS.value = 1;
    p = gf_paintControls();
    EXPECT_EQ(colourOf(p, "generic max park:"), yellow);
    EXPECT_EQ(colourOf(p, "GUID changes"), yellow);
    EXPECT_EQ(colourOf(p, "Scan for liveries"), black);
    EXPECT_EQ(colourOf(p, "ah:"), grey);
    EXPECT_NE(p.find("day"), nullptr);
    EXPECT_EQ(p.find("days"), nullptr);
    gf_resetParameters();
}

TEST(ControlsBand, InitialLoadOnlyFollowsParkTrafficOnly)
{
    struct Case {
        bool ilo, ptOnly;
        Colour iloColour, fakeColour;
    } cases[] = {{true, false, yellow, black}, {false, false, black, black}, {true, true, grey, grey}};
    for (const Case& c : cases) {
        gf_resetParameters();
        INITIAL_LOAD_ONLY.value = c.ilo;
        RT_PARKTRAFFIC_ONLY.value = c.ptOnly;
        const Picture p = gf_paintControls();
        EXPECT_EQ(colourOf(p, "ILO"), c.iloColour) << c.ilo << c.ptOnly;
        EXPECT_EQ(colourOf(p, "Fake"), c.fakeColour);
        EXPECT_EQ(colourOf(p, "Max fit:"), c.fakeColour);
    }
    gf_resetParameters();
}

} // namespace
} // namespace orv
