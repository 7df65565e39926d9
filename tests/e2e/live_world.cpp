// Test support for live traffic end to end.
#include "tests/e2e/live_world.h"

#include "tests/liveries/dbase_fixture.h"
#include "tests/support/airports_file.h"
#include "tests/support/temp_dir.h"
#include "tools/dbase_scramble.h"
#include "tools/zip_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

namespace orv::test {

namespace fs = std::filesystem;

namespace {

constexpr double earthRadiusM = 6371000.0;
constexpr double degToRadian = 3.14159265358979323846 / 180.0;

/// The reference data: the generator's types and airlines in their categories.
PlainDbase lf_plainDbase()
{
    PlainDbase plain;
    plain.aircrafts = R"(<aircraft types="A319,A320,A321,A20N,B737,B738,B38M,E190,E195,E295,A332,A333,B77W,B789,A359"/>
                         <aircraft types="C152,C172,PA28,SR22,DA40,C25C,EC35"/>)";
    plain.large = R"(<lar types="A319,A320,A321,A20N,B737,B738,B38M,E190,E195,E295"/>)";
    plain.heavy = R"(<hvy types="A332,A333,B77W,B789,A359"/>)";
    plain.buzjet = R"(<bzj types="C25C"/>)";
    plain.rotorcraft = R"(<rot types="EC35"/>)";
    plain.highPerf = R"(<hpf types="F16"/>)";
    plain.cargoTypes = R"(<cargo_type types="B744"/>)";
    plain.similar = R"(<similar types="B737,B738,B38M"/><similar types="A319,A320,A321,A20N"/>
                       <similar types="E190,E195,E295"/><similar types="A332,A333"/><similar types="C152,C172"/>)";
    plain.airlines = R"(<ICAO codes="KLM,BAW,DLH,AFR,EZY,RYR,SAS,IBE,UAE,TAP,PVT"/>)";
    plain.cargoOperators = R"(<ICAO codes="UAE"/>)";
    plain.wingspans = R"(<wingspan type="B738" meters="35.79"/><wingspan type="A320" meters="35.80"/>
                         <wingspan type="B77W" meters="64.80"/><wingspan type="C172" meters="11.00"/>)";
    // No generated registration is known: the airline comes from the callsign.
    plain.records = R"(<db reg="ZZ-EEE" airl="KLM" type="B738"/>)";
    return plain;
}

/// One aircraft.cfg per model with a section per livery.
void lf_writeLiveries(const fs::path& COMMUNITY, const E2eCatalogue& CATALOGUE)
{
    std::map<std::string, std::vector<const E2eLivery*>> byModel;
    for (const auto& livery : CATALOGUE.liveries) byModel[livery.model].push_back(&livery);
    for (const auto& [model, liveries] : byModel) {
        std::string text = fmt::format("[General]\natc_type=\"E2E\"\nicao_type_designator=\"{}\"\n", model);
        for (std::size_t i = 0; i < liveries.size(); ++i) {
            const E2eLivery& l = *liveries[i];
            text += fmt::format("\n[FLTSIM.{}]\ntitle=\"{}\"\nicao_airline=\"{}\"\natc_parking_types=\"GATE,RAMP\"\n", i,
                                E2eCatalogue::titleOf(l), l.airline == "ZZZ" ? "ZZZZ" : l.airline);
        }
        writeFile(COMMUNITY / "e2e-liveries/SimObjects/Airplanes" / ("E2E_" + model) / "aircraft.cfg", text);
    }
}

} // namespace

std::vector<GeneratorStand> gf_e2eStands()
{
    return {{"D2", 52.3093, 4.7628, 230}, {"D4", 52.3099, 4.7618, 230}, {"D6", 52.3105, 4.7608, 230},
            {"D8", 52.3111, 4.7598, 230}, {"E2", 52.3078, 4.7663, 140}, {"E4", 52.3072, 4.7673, 140}};
}

GeneratorSetup gf_e2eSetup(const std::vector<GeneratorStand>& STANDS)
{
    GeneratorSetup setup;
    setup.airport = "EHAM";
    setup.elevationFt = e2eElevationFt;
    setup.runwayLat1 = 52.3626, setup.runwayLon1 = 4.7118, setup.runwayLat2 = 52.3288, setup.runwayLon2 = 4.7112;
    setup.stands = STANDS;
    setup.startTime = 1700000000;
    setup.minutes = 60;
    return setup;
}

void gf_writeStandFile(const fs::path& ROOT, const std::vector<GeneratorStand>& STANDS)
{
    std::string text = "<meta><info name=\"program\" value=\"TAVO e2e\" /></meta>\n<parameters>\n"
                       "  <parameter name=\"airport_name\" value=\"Amsterdam Schiphol (e2e)\" />\n"
                       "  <parameter name=\"publisher\" value=\"stock\" />\n"
                       "  <parameter name=\"altitude\" value=\"-11\" />\n</parameters>\n<parkpositions>\n";
    for (const GeneratorStand& s : STANDS)
        text += fmt::format("  <parkpos id=\"{}\" latitude=\"{:.6f}\" longitude=\"{:.6f}\" heading=\"{:.1f}\" "
                            "radius=\"36.0\" cargo=\"false\" ramp=\"false\">\n  </parkpos>\n",
                            s.name, s.lat, s.lon, s.headingDeg);
    writeFile(ROOT / "downloads/MSFS/archive/stock/EHAM.xml", text + "</parkpositions>\n");
}

std::string E2eCatalogue::titleOf(const E2eLivery& LIVERY) { return "E2E " + LIVERY.airline + " " + LIVERY.model; }

const E2eLivery* E2eCatalogue::find(const std::string& TITLE) const
{
    for (const auto& l : liveries)
        if (titleOf(l) == TITLE) return &l;
    return nullptr;
}

bool E2eCatalogue::similar(const std::string& A, const std::string& B) const
{
    return std::any_of(similarGroups.begin(), similarGroups.end(), [&](const auto& G) {
        return std::find(G.begin(), G.end(), A) != G.end() && std::find(G.begin(), G.end(), B) != G.end();
    });
}

bool E2eCatalogue::fits(const std::string& AIRLINE, const std::string& MODEL, const E2eLivery& LIVERY) const
{
    const bool airlineHasModel = std::any_of(liveries.begin(), liveries.end(),
                                             [&](const E2eLivery& L) { return L.airline == AIRLINE && L.model == MODEL; });
    if (LIVERY.airline == AIRLINE && LIVERY.model == MODEL) return true;                          // its airline's paint
    if (LIVERY.airline == AIRLINE && !airlineHasModel && similar(MODEL, LIVERY.model)) return true; // a similar model
    if (LIVERY.airline == "ZZZ" && LIVERY.model == MODEL) return true;                            // no airline
    // Light aircraft and the like: any paint of the model, a similar one, or one of the category.
    return smallModels.contains(MODEL) && smallModels.contains(LIVERY.model);
}

bool E2eCatalogue::anyFits(const std::string& AIRLINE, const std::string& MODEL) const
{
    return std::any_of(liveries.begin(), liveries.end(), [&](const E2eLivery& L) { return fits(AIRLINE, MODEL, L); });
}

E2eCatalogue gf_e2eCatalogue()
{
    E2eCatalogue c;
    c.liveries = {{"KLM", "B738"}, {"KLM", "B77W"}, {"RYR", "B38M"}, {"BAW", "A320"}, {"BAW", "B789"},
                  {"DLH", "A321"}, {"AFR", "A20N"}, {"EZY", "A319"}, {"IBE", "E190"}, {"UAE", "B77W"},
                  {"TAP", "A333"}, {"ZZZ", "A320"}, {"ZZZ", "C172"}, {"ZZZ", "SR22"}};
    c.similarGroups = {{"B737", "B738", "B38M"}, {"A319", "A320", "A321", "A20N"}, {"E190", "E195", "E295"},
                       {"A332", "A333"}, {"C152", "C172"}};
    c.smallModels = {"C152", "C172", "PA28", "SR22", "DA40"};
    return c;
}

std::string RecordedFlight::airline() const
{
    const bool coded = callsign.size() >= 4 && std::all_of(callsign.begin(), callsign.begin() + 3, [](char C) {
                           return C >= 'A' && C <= 'Z';
                       }) && callsign[3] >= '0' && callsign[3] <= '9';
    return coded ? callsign.substr(0, 3) : "PVT";
}

std::map<std::string, RecordedFlight> gf_flightsOf(const std::vector<std::string>& LINES)
{
    std::map<std::string, RecordedFlight> flights;
    for (const auto& line : LINES) {
        const auto a = nlohmann::json::parse(line);
        RecordedFlight& f = flights[a[0].get<std::string>()];
        f.hexid = a[0].get<std::string>();
        f.type = a[8].get<std::string>();
        f.regcode = a[9].get<std::string>();
        f.callsign = a[13].get<std::string>();
        f.samples.push_back({a[10].get<double>(), a[1].get<double>(), a[2].get<double>(), a[4].get<double>(),
                             a[14].get<int>() == 1});
    }
    for (auto& [hexid, f] : flights)
        std::stable_sort(f.samples.begin(), f.samples.end(),
                         [](const RecordedSample& A, const RecordedSample& B) { return A.t < B.t; });
    return flights;
}

std::map<std::string, RecordedFlight> gf_writeCut(const fs::path& PATH, const std::vector<std::string>& LINES, double FROM,
                                                  double TO, double& FIRST)
{
    std::vector<std::string> kept;
    for (const auto& line : LINES) {
        const double t = nlohmann::json::parse(line)[10].get<double>();
        if (t >= FROM && t < TO) kept.push_back(line);
    }
    auto flights = gf_flightsOf(kept);
    FIRST = INFINITY;
    for (const auto& [hexid, f] : flights) FIRST = std::min(FIRST, f.samples.front().t);
    gf_writeLines(PATH.string(), kept);
    return flights;
}

double gf_metresBetween(const LatLon& A, const LatLon& B)
{
    const double dLat = (B.lat - A.lat) * degToRadian, dLon = (B.lon - A.lon) * degToRadian;
    const double h = std::pow(std::sin(dLat / 2), 2) +
                     std::cos(A.lat * degToRadian) * std::cos(B.lat * degToRadian) * std::pow(std::sin(dLon / 2), 2);
    return 2 * earthRadiusM * std::asin(std::sqrt(h));
}

double gf_distanceToPath(const RecordedFlight& FLIGHT, const LatLon& POS, double& TIME)
{
    // A flat plane round POS: path legs are short against the earth.
    const double eastPerDeg = earthRadiusM * degToRadian * std::cos(POS.lat * degToRadian);
    const double northPerDeg = earthRadiusM * degToRadian;
    const auto plane = [&](const RecordedSample& S) {
        return std::pair{(S.lon - POS.lon) * eastPerDeg, (S.lat - POS.lat) * northPerDeg};
    };
    double best = INFINITY;
    const auto& s = FLIGHT.samples;
    for (std::size_t i = 0; i + 1 < s.size(); ++i) {
        const auto [ax, ay] = plane(s[i]);
        const auto [bx, by] = plane(s[i + 1]);
        const double dx = bx - ax, dy = by - ay, length2 = dx * dx + dy * dy;
        const double u = length2 > 0 ? std::clamp(-(ax * dx + ay * dy) / length2, 0.0, 1.0) : 0.0;
        const double d = std::hypot(ax + u * dx, ay + u * dy);
        if (d < best) {
            best = d;
            TIME = s[i].t + u * (s[i + 1].t - s[i].t);
        }
    }
    return best;
}

double gf_altitudeAt(const RecordedFlight& FLIGHT, double TIME)
{
    const auto& s = FLIGHT.samples;
    const auto after = std::lower_bound(s.begin(), s.end(), TIME, [](const RecordedSample& S, double T) { return S.t < T; });
    if (after == s.begin() || after == s.end()) return NAN;
    const RecordedSample& a = *(after - 1);
    const RecordedSample& b = *after;
    if (a.onGround || b.onGround) return NAN;
    const double u = b.t > a.t ? (TIME - a.t) / (b.t - a.t) : 0;
    return a.altitudeFt + u * (b.altitudeFt - a.altitudeFt);
}

double gf_smallestGap(std::vector<double> TIMES)
{
    std::sort(TIMES.begin(), TIMES.end());
    double smallest = std::numeric_limits<double>::infinity();
    for (std::size_t i = 1; i < TIMES.size(); ++i) smallest = std::min(smallest, TIMES[i] - TIMES[i - 1]);
    return smallest;
}

double gf_percentile(std::vector<double> VALUES, double SHARE)
{
    if (VALUES.empty()) return NAN;
    std::sort(VALUES.begin(), VALUES.end());
    const auto at = static_cast<std::size_t>(std::round(SHARE * static_cast<double>(VALUES.size() - 1)));
    return VALUES[at];
}

void gf_writeProgramFolder(const fs::path& ROOT, const E2eCatalogue& CATALOGUE, const std::string& SERVICE_URL)
{
    fs::create_directories(ROOT / "docs");
    fs::create_directories(ROOT / "sim/Official");
    fs::create_directories(ROOT / "downloads");
    writeAirportDatabase(ROOT);
    lf_writeLiveries(ROOT / "sim/Community", CATALOGUE);
    std::string failure;
    if (!gf_writeZip(ROOT / "downloads/dbase.zip", {{"dbase.xml", gf_scrambleDbaseText(lf_plainDbase().xml())}}, &failure))
        throw std::runtime_error("dbase.zip: " + failure);
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config == nullptr) throw std::runtime_error("XDG_CONFIG_HOME is not set");
    const fs::path liveries = ROOT / "sim/Community/e2e-liveries";
    writeFile(fs::path(config) / "TAVO/parameters.xml",
              "<?xml version=\"1.0\"?>\n<parameters>\n"
              "  <parameter name=\"MSFS_INSTALL_PATH\" value=\"" + (ROOT / "sim").string() + "\"/>\n"
              "  <parameter name=\"DOWNLOAD_URL\" value=\"file://" + (ROOT / "downloads").string() + "/\"/>\n"
              "  <parameter name=\"RT_API_URL\" value=\"" + SERVICE_URL + "\"/>\n"
              "  <parameter name=\"RT_LICENSE\" value=\"e2e\"/>\n"
              "  <parameter name=\"SCAN_AIRPORTS\" value=\"false\"/>\n"
              "  <parameter name=\"WINDOW_PORT\" value=\"0\"/>\n"
              "  <parameter name=\"LIG_AUTOMATIC\" value=\"false\"/>\n"
              "  <parameter name=\"lfolder0\" value=\"" + liveries.string() + "\"/>\n"
              "  <parameter name=\"LOG\" value=\"true\"/>\n"
              "  <parameter name=\"MATCHING_DEPTH\" value=\"4\"/>\n"
              "</parameters>\n");
}

} // namespace orv::test
