// Parsing the stand-in simulator's command line.
#include "standin/sim/options.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <ctime>
#include <stdexcept>

namespace orv::simstandin {
namespace {

constexpr double kMaxLat = 90.0, kMaxLon = 180.0, kFullCircle = 360.0;
constexpr long kMaxPort = 65535;

double lf_number(const std::string& OPTION, const std::string& TEXT)
{
    double v = 0;
    const auto [end, ec] = std::from_chars(TEXT.data(), TEXT.data() + TEXT.size(), v);
    if (ec != std::errc() || end != TEXT.data() + TEXT.size() || !std::isfinite(v))
        throw std::invalid_argument(fmt::format("{}: \"{}\" is no number", OPTION, TEXT));
    return v;
}

long lf_whole(const std::string& OPTION, const std::string& TEXT, long LOW, long HIGH)
{
    long v = 0;
    const auto [end, ec] = std::from_chars(TEXT.data(), TEXT.data() + TEXT.size(), v);
    if (ec != std::errc() || end != TEXT.data() + TEXT.size() || v < LOW || v > HIGH)
        throw std::invalid_argument(fmt::format("{}: \"{}\" is no whole number in {}..{}", OPTION, TEXT, LOW, HIGH));
    return v;
}

std::vector<std::string> lf_split(const std::string& TEXT)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (true) {
        const auto comma = TEXT.find(',', start);
        parts.push_back(TEXT.substr(start, comma - start));
        if (comma == std::string::npos) return parts;
        start = comma + 1;
    }
}

/// "LAT,LON[,ALT_FT[,HEADING_DEG]]"
void lf_user(SimOptions& O, const std::string& TEXT)
{
    const auto parts = lf_split(TEXT);
    if (parts.size() < 2 || parts.size() > 4)
        throw std::invalid_argument(fmt::format("--user: \"{}\" is not LAT,LON[,ALT_FT[,HEADING_DEG]]", TEXT));
    O.userLat = lf_number("--user", parts[0]);
    O.userLon = lf_number("--user", parts[1]);
    if (std::fabs(O.userLat) > kMaxLat || std::fabs(O.userLon) > kMaxLon)
        throw std::invalid_argument(fmt::format("--user: \"{}\" lies outside the earth", TEXT));
    if (parts.size() >= 3 && !parts[2].empty()) O.userAltFt = lf_number("--user", parts[2]);
    if (parts.size() == 4) O.userHeadingDeg = std::fmod(lf_number("--user", parts[3]) + kFullCircle, kFullCircle);
}

/// "YYYY-MM-DDTHH:MM:SS" in UTC, or Unix seconds.
double lf_utc(const std::string& TEXT)
{
    std::tm tm{};
    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    if (std::sscanf(TEXT.c_str(), "%d-%d-%dT%d:%d:%d", &y, &mo, &d, &h, &mi, &s) == 6) {
        tm.tm_year = y - 1900;
        tm.tm_mon = mo - 1;
        tm.tm_mday = d;
        tm.tm_hour = h;
        tm.tm_min = mi;
        tm.tm_sec = s;
        return static_cast<double>(timegm(&tm));
    }
    return lf_number("--utc", TEXT);
}

} // namespace

SimOptions gf_parseSimOptions(const std::vector<std::string>& ARGS)
{
    SimOptions o;
    for (std::size_t i = 0; i < ARGS.size(); ++i) {
        const std::string& opt = ARGS[i];
        if (opt == "--paused") {
            o.paused = true;
            continue;
        }
        if (i + 1 >= ARGS.size()) throw std::invalid_argument(fmt::format("{} needs a value", opt));
        const std::string& v = ARGS[++i];
        if (opt == "--port") o.port = static_cast<std::uint16_t>(lf_whole(opt, v, 1, kMaxPort));
        else if (opt == "--view-port") o.viewPort = static_cast<std::uint16_t>(lf_whole(opt, v, 1, kMaxPort));
        else if (opt == "--user") lf_user(o, v);
        else if (opt == "--speed") o.userSpeedKt = lf_number(opt, v);
        else if (opt == "--sim") {
            if (v != "2020" && v != "2024") throw std::invalid_argument(fmt::format("--sim: \"{}\" is not 2020 or 2024", v));
            o.simYear = v == "2020" ? 2020 : 2024;
        } else if (opt == "--app-name") o.appName = v;
        else if (opt == "--fps") {
            o.fps = lf_number(opt, v);
            if (o.fps < 1.0 || o.fps > kMaxFps) throw std::invalid_argument(fmt::format("--fps: {} is not in 1..1000", v));
        } else if (opt == "--record") o.recordPath = v;
        else if (opt == "--titles") o.titlesPath = v;
        else if (opt == "--scenario") o.scenarioPath = v;
        else if (opt == "--max-objects") o.maxObjects = static_cast<std::size_t>(lf_whole(opt, v, 0, 1'000'000));
        else if (opt == "--ground") o.groundFt = lf_number(opt, v);
        else if (opt == "--utc") o.startUtc = lf_utc(v);
        else if (opt == "--title") o.title = v;
        else if (opt == "--atc-model") o.atcModel = v;
        else if (opt == "--atc-id") o.atcId = v;
        else throw std::invalid_argument(fmt::format("unknown option {}", opt));
    }
    return o;
}

std::string gf_simUsage()
{
    return "tavo-sim: a stand-in flight simulator for TAVO\n"
           "  --port N            client port (default 50500, or the one SimConnect.cfg names for clients)\n"
           "  --view-port N       web view and control (default port + 1)\n"
           "  --user LAT,LON[,ALT_FT[,HEADING_DEG]]   user aircraft; on the ground without altitude\n"
           "  --speed KT          user ground speed at start\n"
           "  --sim 2020|2024     which simulator to be (KittyHawk or SunRise)\n"
           "  --app-name NAME     answer another application name\n"
           "  --fps N             frames per second, 1..1000 (default 30)\n"
           "  --record FILE       JSON lines of creations, removals, positions, events\n"
           "  --titles FILE       installed livery titles; creating another title fails\n"
           "  --scenario FILE     timed actions: \"SECONDS ACTION key=value ...\" a line, e.g.\n"
           "                      \"10 move speed=15 heading=90\", \"120 teleport lat=47.1 lon=8.2 alt=3000\"\n"
           "  --max-objects N     AI objects before creation fails (default 1000)\n"
           "  --ground FT         ground elevation (default 0)\n"
           "  --utc TIME          simulator UTC at start, YYYY-MM-DDTHH:MM:SS or Unix seconds\n"
           "  --title T --atc-model M --atc-id ID   the user aircraft\n"
           "  --paused            start with the flight paused\n"
           "Runs until SIGINT or SIGTERM, or POST /api/quit on the view port.\n";
}

} // namespace orv::simstandin
