// What the start-up asks of the download server.
#pragma once

namespace orv {

/// The program version check.
void gf_checkProgramVersion();
/// The add-on data check and download (MSFS 2024 only); FORCE when its check asks.
void gf_checkAddonData(bool FORCE);

} // namespace orv
