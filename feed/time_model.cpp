// The time model: a batch of lines gets the ticks at which the engine shows
// each position, a fixed delay ahead of now, keeping the lines' relative
// times; then the batch goes to the main thread.
#include <algorithm>
#include <cmath>
#include <mutex>

#include "core/flags.h"
#include "feed/decode.h"

namespace orv {

std::vector<TrafficLine> incomingLines;

namespace {

/// The lines keep their relative time to this fraction of a second.
constexpr double stepsPerSecond = 10.0;
constexpr std::int32_t ticksPerStep = 10;
/// A line further from its batch's median than a day is bent back to it, so
/// that a wild timestamp cannot overflow the tick count.
constexpr double widestOffsetSeconds = 86400;

} // namespace

void lf_handOverLines(RtClient& CLIENT, int DELAY_SECONDS)
{
    std::vector<TrafficLine>& lines = CLIENT.lines;
    if (lines.empty()) {
        CLIENT.lastTimestamp = 0;
        return;
    }
    std::vector<double> times;
    times.reserve(lines.size());
    for (const TrafficLine& line : lines) times.push_back(line.timestamp);
    std::sort(times.begin(), times.end());
    const double median = times[times.size() / 2];
    const std::int32_t base = engineTick + DELAY_SECONDS * ticksPerSecondFeed;
    for (TrafficLine& line : lines) {
        double offset = line.timestamp - median;
        if (!(std::fabs(offset) <= widestOffsetSeconds))
            offset = offset < 0 ? -widestOffsetSeconds : widestOffsetSeconds;
        const auto steps = static_cast<std::int32_t>(std::trunc(offset * stepsPerSecond));
        line.point.dueTick = base + steps * ticksPerStep;
    }
    if (DELAY_SECONDS != liveDelaySeconds) {
        // History is for the main thread too: it is kept until the whole
        // buffer is read, then handed over in one go.
        CLIENT.history.insert(CLIENT.history.end(), lines.begin(), lines.end());
    } else {
        std::lock_guard lock(linesLock);
        if (gf_clientIsCurrent(CLIENT) && loopRunning && incomingLines.empty()) incomingLines = std::move(lines);
    }
    lines.clear();
}

void lf_handOverHistory(RtClient& CLIENT)
{
    // incomingLines is taken from its end: the oldest slice goes last so that
    // each aircraft's track is fed in time order.
    std::reverse(CLIENT.history.begin(), CLIENT.history.end());
    {
        std::lock_guard lock(linesLock);
        if (gf_clientIsCurrent(CLIENT)) {
            incomingLines.insert(incomingLines.end(), CLIENT.history.begin(), CLIENT.history.end());
        }
    }
    CLIENT.history.clear();
}

} // namespace orv
