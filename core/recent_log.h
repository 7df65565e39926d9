// The last lines the log was given, kept in memory and numbered, so that the
// window can follow an aircraft's story without reading the file back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orv {

/// Lines kept; the ring lives in the log and is guarded by logMutex.
inline constexpr std::size_t recentLogLines = 4096;

/// Copies the recent lines numbered FROM and later (the first line of the
/// process is 1) into OUT, and answers the next line's number. Lines that
/// fell out of the ring before they were asked for are skipped.
std::uint64_t gf_recentLogLines(std::uint64_t FROM, std::vector<std::string>& OUT);

} // namespace orv
