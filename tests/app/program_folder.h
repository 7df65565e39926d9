// Test support: a ready program folder in the current (temporary) folder:
// docs/, a simulator root with Community and Official, a download folder with
// a small dbase.zip, and parameters.xml pointing at both.
#pragma once

#include <filesystem>

namespace orv::test {

/// Builds the folder under ROOT.
void makeProgramFolder(const std::filesystem::path& ROOT);

} // namespace orv::test
