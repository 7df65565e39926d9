// Test support: a small airport database for the program folders of the
// tests, the airports round the test traffic's airport, Amsterdam Schiphol.
#pragma once

#include <filesystem>

namespace orv::test {

/// Writes ROOT/input/airports_msfs.xml.
void writeAirportDatabase(const std::filesystem::path& ROOT);

} // namespace orv::test
