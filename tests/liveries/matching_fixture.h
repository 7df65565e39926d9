// Test support for livery matching: reference tables and a catalogue made by
// code, built through the program's own builders in the driver's order.
#pragma once

#include "liveries/dbase.h"
#include "liveries/livery_data.h"

#include <string>
#include <vector>

namespace orv::test {

/// A livery as a test writes it.
struct TestLivery {
    std::string airline;
    std::string model;
    std::string title;
    std::string regcode;
    bool cargo = false;
};

/// Categories, similar groups and airframes for the matching tests: airliners
/// (Large), wide bodies (Heavy), light aircraft, business jets, helicopters.
void gf_loadMatchingReference();

/// Builds every matching table from LIVERIES as the driver does after a scan:
/// catalogue, split, titles and in-line registrations, generic, similar, and
/// the category lists of the report.
void gf_buildMatchingTables(const std::vector<TestLivery>& LIVERIES);

/// Empties every table of the catalogue and of matching, and the refusals.
void gf_clearMatchingState();

} // namespace orv::test
