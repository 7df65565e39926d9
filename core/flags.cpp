// Definitions of the shared flags, counters and locks.
#include "core/flags.h"

namespace orv {

std::atomic<bool> simRunning{false};
std::atomic<bool> secondDataReady{false};
std::atomic<bool> exitInProgress{false};
std::atomic<bool> userClosed{false};
std::atomic<bool> readerFailed{false};
std::atomic<bool> simNotConnected{true};
std::atomic<bool> removeAllStaticsRequested{false};
std::atomic<bool> reReadParkAirportsRequested{false};
std::atomic<bool> parkRefreshRequested{false};
std::atomic<bool> parkRefreshRtOnly{false};
std::atomic<bool> blockRequested{false};
std::atomic<bool> objectIdLookupRequested{false};
std::atomic<bool> trafficResetRequested{false};
std::atomic<bool> rangeRequested{false};
std::atomic<bool> navLightsRequested{false};
std::atomic<bool> maxLiveRequested{false};
std::atomic<bool> noLiveryResetRequested{false};
std::atomic<bool> destinationRequested{false};
std::atomic<bool> parkParamsChanged{false};

std::atomic<bool> simRequestsOff{false};
bool loopRunning = false;
std::atomic<bool> flightStopped{false};
std::atomic<bool> restartPending{false};
std::atomic<bool> parkRefreshPhase{false};
std::atomic<bool> parkBusy{false};

std::atomic<std::int32_t> tickCount{0};
std::atomic<double> lastSimUtc{0};
std::atomic<std::int32_t> engineTick{0};
std::atomic<std::int32_t> statusClock{0};
std::atomic<std::int32_t> notRunningCountdown{100};
unsigned hardwareThreads = 1;
std::atomic<int> scanProgress{0};

std::mutex simLock;
std::mutex messageLock;
std::mutex linesLock;

} // namespace orv
