// The stand-in simulator's command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv::simstandin {

inline constexpr double kDefaultFps = 30.0;
inline constexpr double kMaxFps = 1000.0;

struct SimOptions {
    std::uint16_t port = 0;        ///< the client port; 0: the client library's default
    std::uint16_t viewPort = 0;    ///< the web view and control; 0: port + 1
    double userLat = 0, userLon = 0;
    std::optional<double> userAltFt; ///< none: parked on the ground
    double userHeadingDeg = 0;
    double userSpeedKt = 0;        ///< ground speed the user aircraft starts with
    int simYear = 2020;            ///< 2020 answers "KittyHawk", 2024 "SunRise"
    std::string appName;           ///< overrides the name the year gives
    double fps = kDefaultFps;
    std::string recordPath;
    std::string titlesPath;        ///< installed livery titles, one a line
    std::string scenarioPath;      ///< timed control actions for the user aircraft and the flight
    std::size_t maxObjects = 1000;
    double groundFt = 0;
    std::optional<double> startUtc; ///< Unix seconds; none: the system clock
    std::string title = "Stand-in Airliner";
    std::string atcModel = "A320";
    std::string atcId = "N12345";
    bool paused = false;           ///< start with the flight paused
};

/// Parses ARGS (without the program name). Throws std::invalid_argument with
/// a message that names the bad option.
SimOptions gf_parseSimOptions(const std::vector<std::string>& ARGS);

/// The help text.
std::string gf_simUsage();

} // namespace orv::simstandin
