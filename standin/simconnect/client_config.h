// Where the stand-in client library finds the simulator: SimConnect.cfg in the
// current folder, in the simulator's own INI shape, or the loopback default.
#pragma once

#include <cstdint>
#include <string>

namespace orv {

struct SimAddress {
    std::string host = "127.0.0.1";
    std::uint16_t port = 0; ///< 0 until read; the default port when the file names none
};

/// Reads section [SimConnect] (INDEX 0) or [SimConnect.INDEX] of the file at
/// PATH: keys Address and Port, case-insensitive. A missing file, section or
/// key, or a port that is no number in 1..65535, leaves the default.
SimAddress gf_readSimAddress(const std::string& PATH, std::uint32_t INDEX);

} // namespace orv
