// The command line of tavo-service: serving (the default) or generating a
// recording (--generate).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "standin/service/generator.h"
#include "standin/service/server.h"

namespace orv {

struct ServiceOptions {
    bool help = false;
    // serving
    ServiceSetup service;
    ServerSetup server;
    std::string trafficPath;
    std::string parkedPath;
    std::vector<Failure> failures;
    std::optional<double> replayStart; ///< service time of the recording's first second; default: now
    bool loop = true;
    // generating
    std::string generatePath;
    std::string parkedOutPath;
    GeneratorSetup generator;
    bool noise = false; ///< lay the faults of real feeds on the generated traffic
};

/// Reads the arguments after the program's name; throws std::invalid_argument
/// naming the option at fault.
ServiceOptions gf_parseOptions(const std::vector<std::string>& ARGS);

/// Reads a stand file: one stand a line, "NAME LAT LON HEADING", "#" lines skipped.
std::vector<GeneratorStand> gf_readStandFile(const std::string& PATH);

extern const char* const kServiceUsage;

} // namespace orv
