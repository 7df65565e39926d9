// The log file, the message area's two texts, and the time texts.
#include "core/log.h"
#include "core/recent_log.h"

#include "core/errors.h"
#include "core/flags.h"
#include "core/text_files.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>

namespace orv {

std::ofstream logStream;
std::mutex logMutex;
std::string statusText;
std::int32_t statusStamp = 0;
std::string errorText;
std::mutex statusMutex;
std::atomic<std::uint32_t> statusGeneration{0};

namespace {

/// The recent lines, a ring of recentLogLines; guarded by logMutex.
std::vector<std::string> recentLines(recentLogLines);
std::uint64_t nextLineNumber = 1; ///< guarded by logMutex

void lf_keepRecent(std::string_view HEAD, std::string_view TEXT)
{
    std::string& slot = recentLines[nextLineNumber % recentLogLines];
    slot.assign(HEAD);
    slot.append(TEXT);
    ++nextLineNumber;
}

} // namespace

void gf_log(std::string_view TEXT)
{
    std::lock_guard lock(logMutex);
    lf_keepRecent({}, TEXT);
    if (!logStream.is_open()) return;
    logStream << TEXT << std::endl;
}

void gf_logWarning(std::string_view TEXT)
{
    std::lock_guard lock(logMutex);
    lf_keepRecent("===> ", TEXT);
    // Nobody may be watching the window or the log: a warning also goes to
    // stderr, where a service manager or a terminal keeps it.
    std::fprintf(stderr, "===> %.*s\n", static_cast<int>(TEXT.size()), TEXT.data());
    if (!logStream.is_open()) return;
    logStream << "===> " << TEXT << std::endl;
}

std::uint64_t gf_recentLogLines(std::uint64_t FROM, std::vector<std::string>& OUT)
{
    std::lock_guard lock(logMutex);
    const std::uint64_t oldest = nextLineNumber > recentLogLines ? nextLineNumber - recentLogLines : 1;
    for (std::uint64_t n = std::max(FROM, oldest); n < nextLineNumber; ++n) OUT.push_back(recentLines[n % recentLogLines]);
    return nextLineNumber;
}

void gf_showStatus(const std::string& TEXT, bool LOG)
{
    std::lock_guard lock(statusMutex);
    if (!errorText.empty()) return;
    statusText = TEXT;
    statusStamp = TEXT.empty() ? 0 : std::max<std::int32_t>(1, statusClock);
    if (LOG && !TEXT.empty()) gf_log(TEXT);
    ++statusGeneration;
}

void gf_showError(const std::string& TEXT)
{
    std::lock_guard lock(statusMutex);
    statusText.clear();
    statusStamp = 0;
    errorText = TEXT;
    gf_log(fmt::format("Error {}", TEXT));
    std::fprintf(stderr, "Error %s\n", TEXT.c_str());
    ++statusGeneration;
}

void gf_clearStatus() { gf_showStatus({}, false); }

void gf_clearError()
{
    std::lock_guard lock(statusMutex);
    errorText.clear();
    statusText.clear();
    statusStamp = 0;
    ++statusGeneration;
}

void gf_openLog(const std::string& PATH)
{
    // A log whose older generations cannot be kept is a log that cannot be
    // written: one error, whatever the file system said.
    try {
        gf_keepOlderCopies(PATH);
    } catch (const std::filesystem::filesystem_error&) {
        throw SysErrorException(40, "Failed to write file " + PATH);
    }
    std::lock_guard lock(logMutex);
    logStream.open(PATH, std::ios::out | std::ios::trunc);
    if (!logStream.is_open()) {
        logStream.clear();
        throw SysErrorException(40, "Failed to write file " + PATH);
    }
    logStream << fmt::format("{} (utc) {} version {} for {}", gf_utcText(std::time(nullptr)), programName,
                             programVersionText, "MSFS 2020/2024")
              << std::endl;
}

void gf_closeLog()
{
    gf_log(gf_timeOfDay());
    std::lock_guard lock(logMutex);
    if (logStream.is_open()) logStream.close();
}

std::string gf_utcText(std::time_t TIME)
{
    std::tm parts{};
    gmtime_r(&TIME, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%a %b %e %H:%M:%S %Y", &parts);
    return text;
}

std::string gf_timeOfDay()
{
    const std::string text = gf_utcText(std::time(nullptr));
    return text.substr(11, 8);
}

std::string gf_banner(int WIDTH, std::string_view TITLE, bool LEADING_LINE_END)
{
    std::string line = LEADING_LINE_END ? "\n" : "";
    if (TITLE.empty()) return line + std::string(static_cast<size_t>(std::max(WIDTH, 0)), '*');
    const std::string stars(static_cast<size_t>(std::max(WIDTH / 2 - 1, 0)), '*');
    return line + stars + " " + std::string(TITLE) + " " + stars;
}

} // namespace orv
