// The window's message loop: `start` runs a session's start-up on a new main
// thread, `finish` saves the window position, closes the log and quits.
#pragma once

namespace orv {

enum class WindowMessage : unsigned { start = 0x8001, finish = 0x8002, quit = 0x0012 };

/// Any thread: queues a message for the loop.
void gf_postWindowMessage(WindowMessage MESSAGE, int VALUE = 0);
/// Runs until quit; answers the quit message's value.
int gf_runMessageLoop();
/// The close button: asks for exit reason 4 (also SIGINT and SIGTERM).
void gf_closeWindow();
/// The main thread of the session, started by `start` (tests call it directly).
void gf_startMainThread();
/// Main threads that have not returned yet.
int gf_mainThreadsRunning();

} // namespace orv
