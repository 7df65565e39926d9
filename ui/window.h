// The window: a page that the program serves on 127.0.0.1, drawn from the
// display fields and sending the user's commands back. The spine opens it
// before the first session and closes it at the end of the process; it
// outlives restarts inside the process.
#pragma once

#include <string>

namespace orv {

/// Listens on 127.0.0.1:WINDOW_PORT (0: a free port) and logs the address.
/// False when the port cannot be had; the program then runs without a window.
bool gf_openWindow();
/// Stops serving; open pages reconnect to the next process by themselves.
void gf_closeWindowServer();
/// Pages showing the window now (their event streams are open).
int gf_pagesOpen();
/// The port in use; 0 while the window is closed.
int gf_windowPort();
/// "http://127.0.0.1:PORT/"; empty while the window is closed.
std::string gf_windowAddress();

/// The counters of the status and park bands, once a tick on the main thread.
void lf_refreshCounts();

} // namespace orv
