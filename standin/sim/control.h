// The stand-in simulator's control actions, shared by the web control channel
// and the scenario file: pause, run, teleport, move, aircraft, fps, ground,
// refuse, drop, quit. Parameters are texts by name, as a query string gives them.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace orv::simstandin {

struct Server;

using ControlParams = std::map<std::string, std::string>;

/// Applies ACTION; the caller holds S.mutex. Throws std::invalid_argument for
/// an unknown action or a bad parameter.
///   teleport lat lon [alt] [heading] [speed]   (no alt: parked on the ground)
///   move [heading] [speed] [vs] [alt]          (degrees, knots, feet per minute, feet)
///   aircraft [title] [model]   fps value   ground ft   refuse [count]
///   pause   run   drop   quit
void gf_applyControl(Server& S, const std::string& ACTION, const ControlParams& PARAMS);

/// One line of a scenario: at simulator second `at` after the start, ACTION.
struct ScenarioStep {
    double at = 0;
    std::string action;
    ControlParams params;
};

/// Parses a scenario: one step a line, "SECONDS ACTION key=value ...";
/// blank lines and lines from "#" are skipped. Throws std::invalid_argument
/// naming the line at fault.
std::vector<ScenarioStep> gf_parseScenario(const std::string& TEXT);

} // namespace orv::simstandin
