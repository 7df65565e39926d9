// Test support for live traffic end to end: the world the three processes
// share (reference data, an installed set of liveries, generated traffic),
// and the readings of the two recordings that the checks need.
#pragma once

#include "core/user_position.h"
#include "standin/service/generator.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace orv::test {

/// The demo airport: runway 18R/36L, a row of stands, the user at one of them.
inline constexpr double e2eElevationFt = -11;
inline constexpr LatLon e2eUser{52.3117, 4.7588};
/// The demo airport's stands (piers D and E, nose in), as the generator and the demo know them.
std::vector<GeneratorStand> gf_e2eStands();

/// The generated traffic round the demo airport: runway 18R/36L and STANDS.
GeneratorSetup gf_e2eSetup(const std::vector<GeneratorStand>& STANDS);

/// Writes the demo airport's stand file of STANDS as the server's stock
/// archive holds it, under ROOT's download folder.
void gf_writeStandFile(const std::filesystem::path& ROOT, const std::vector<GeneratorStand>& STANDS);

/// One installed livery: its title is "E2E <airline> <model>".
struct E2eLivery {
    std::string airline; ///< "ZZZ" for a paint without airline
    std::string model;
};

/// What the checks know of the installed liveries and the reference data.
struct E2eCatalogue {
    std::vector<E2eLivery> liveries;
    std::vector<std::vector<std::string>> similarGroups;
    std::set<std::string> smallModels; ///< Light, business jet and helicopter models
    [[nodiscard]] static std::string titleOf(const E2eLivery& LIVERY);
    /// The livery of a title of this catalogue; nullptr for another title.
    [[nodiscard]] const E2eLivery* find(const std::string& TITLE) const;
    /// The title fits the flight by one of the matching steps or their fallbacks.
    [[nodiscard]] bool fits(const std::string& AIRLINE, const std::string& MODEL, const E2eLivery& LIVERY) const;
    /// Some installed livery fits the flight.
    [[nodiscard]] bool anyFits(const std::string& AIRLINE, const std::string& MODEL) const;
    [[nodiscard]] bool similar(const std::string& A, const std::string& B) const;
};

/// The test's catalogue: some airlines have some models, a few paints without
/// airline, light aircraft without any paint of their own.
E2eCatalogue gf_e2eCatalogue();

/// One position of a recorded flight, on the recording's clock.
struct RecordedSample {
    double t = 0;
    double lat = 0, lon = 0;
    double altitudeFt = 0;
    bool onGround = false;
};

struct RecordedFlight {
    std::string hexid, callsign, type, regcode;
    std::vector<RecordedSample> samples; ///< in time order
    /// The airline TAVO gives it: three capitals and a digit in front of the callsign, else "PVT".
    [[nodiscard]] std::string airline() const;
};

/// The flights of a recording (JSON arrays of the live feed, one a line).
std::map<std::string, RecordedFlight> gf_flightsOf(const std::vector<std::string>& LINES);

/// Writes the lines of LINES stamped in [FROM, TO) to PATH; their flights, and
/// in FIRST the earliest time among them.
std::map<std::string, RecordedFlight> gf_writeCut(const std::filesystem::path& PATH, const std::vector<std::string>& LINES,
                                                  double FROM, double TO, double& FIRST);

/// Metres from POS to the nearest point of the flight's path; TIME gets the
/// recording's time at that point.
double gf_distanceToPath(const RecordedFlight& FLIGHT, const LatLon& POS, double& TIME);

/// The recorded altitude at TIME, between the samples around it; NAN on the ground.
double gf_altitudeAt(const RecordedFlight& FLIGHT, double TIME);

/// Great-circle metres.
double gf_metresBetween(const LatLon& A, const LatLon& B);

/// The smallest difference between two of TIMES (seconds); infinity for fewer than two.
double gf_smallestGap(std::vector<double> TIMES);

/// The value below which SHARE (0..1) of VALUES lie.
double gf_percentile(std::vector<double> VALUES, double SHARE);

/// Writes the program folder under ROOT: reference data, liveries,
/// parameters.xml (in $XDG_CONFIG_HOME/TAVO) pointing at the service.
void gf_writeProgramFolder(const std::filesystem::path& ROOT, const E2eCatalogue& CATALOGUE,
                           const std::string& SERVICE_URL);

} // namespace orv::test
