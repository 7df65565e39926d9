// The log file, the status and error lines of the window, and the time texts
// the log uses. Every part of the program writes to the log through here.
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <mutex>
#include <string>
#include <string_view>

namespace orv {

/// The log, opened once per process by gf_openLog; a write while it is closed
/// does nothing. Guarded by logMutex, held only for one write.
extern std::ofstream logStream;
extern std::mutex logMutex;

/// The window's message area. A status can never replace a standing error.
/// All three are guarded by statusMutex (which may be held while logging).
extern std::string statusText;
extern std::int32_t statusStamp; ///< statusClock when the status was set, >= 1; 0 = none
extern std::string errorText;
extern std::mutex statusMutex;

/// Raised whenever the message area changes, so the window can repaint.
extern std::atomic<std::uint32_t> statusGeneration;

/// The program's version, parsed once from its built-in text.
inline constexpr std::string_view programVersionText = "10.9.3";
inline constexpr int versionMajor = 10, versionMinor = 9, versionPatch = 3;
inline constexpr std::string_view programName = "TAVO";

void gf_log(std::string_view TEXT);
/// Writes "===> " and the text: a warning.
void gf_logWarning(std::string_view TEXT);
void gf_showStatus(const std::string& TEXT, bool LOG);
void gf_showError(const std::string& TEXT);
void gf_clearStatus();
/// Clears the error line too; used by the parking refresh and a restart.
void gf_clearError();

/// Keeps Log0.txt and Log00.txt, then opens Log.txt and writes its head line.
/// Throws SysErrorException 40 when the log cannot be written or its older
/// copies cannot be kept; no file system error leaves it.
void gf_openLog(const std::string& PATH = "Log.txt");
/// Logs the time and closes the log (the window's finish handling).
void gf_closeLog();

/// "Wed Jun 30 21:49:08 1993": asctime's 24 characters in UTC, no line end.
std::string gf_utcText(std::time_t TIME);
/// "21:49:08", the current UTC time of day.
std::string gf_timeOfDay();
/// A log line of stars with the title in the middle; "\n" in front when asked.
std::string gf_banner(int WIDTH, std::string_view TITLE, bool LEADING_LINE_END = false);

} // namespace orv
