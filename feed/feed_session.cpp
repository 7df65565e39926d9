// The login and logout of a feed session, the session that is current, and
// the values the feed shares with the window and the main thread.
#include "feed/feed_session.h"

#include <ctime>
#include <thread>

#include <fmt/format.h>

#include "core/clock.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/window_state.h"
#include "feed/feed.h"

namespace orv {

std::atomic<bool> rtConnected{false};
std::atomic<bool> timeShiftOn{false};
std::atomic<std::int32_t> qnhEngine{standardQnh};
std::atomic<std::int64_t> lineCount{0};
std::string metarStation;
std::mutex weatherMutex;
std::atomic<bool> weatherValid{false};
std::atomic<std::int32_t> qnhShown{standardQnh};
std::atomic<std::int32_t> weatherLamp{lampWaiting};
std::atomic<std::int32_t> trafficLamp{lampWaiting};
bool weatherShown = false, trafficShown = false;
std::atomic<std::uint64_t> currentFeedSession{0};
std::atomic<std::int32_t> timeOffsetMinutes{0};

namespace {

std::mutex sessionMutex; ///< a leaf lock over runningSession
std::shared_ptr<FeedSession> runningSession;
std::atomic<std::uint64_t> sessionNumbers{0};

constexpr int refusedLoginWaitMs = 10000;
constexpr int loginRetryMs = 5000; ///< the first wait before a login is tried again; it doubles up to maxBackoffMs

void lf_makeCurrent(std::uint64_t NUMBER)
{
    std::lock_guard lock(linesLock);
    currentFeedSession = NUMBER;
}

[[noreturn]] void lf_refuseLogin(std::int32_t STATUS, const std::string& MESSAGE)
{
    gf_showError(MESSAGE);
    gf_sleepUnlessStopped(refusedLoginWaitMs);
    throw UserErrorException(STATUS, MESSAGE);
}

} // namespace

std::string gf_metarStation()
{
    std::lock_guard lock(weatherMutex);
    return metarStation;
}

bool gf_clientIsCurrent(const RtClient& CLIENT) { return CLIENT.session == currentFeedSession; }

std::shared_ptr<FeedSession> gf_feedSession()
{
    std::lock_guard lock(sessionMutex);
    return runningSession;
}

std::shared_ptr<FeedSession> gf_newFeedSession()
{
    auto session = std::make_shared<FeedSession>();
    session->number = ++sessionNumbers;
    std::string base = RT_API_URL.value;
    while (base.ends_with('/')) base.pop_back();
    for (RtClient* client : {&session->weather, &session->traffic}) {
        client->session = session->number;
        client->baseUrl = base;
        client->toffset = timeOffsetMinutes.load();
    }
    session->traffic.lines.reserve(384);
    lf_makeCurrent(session->number);
    std::lock_guard lock(sessionMutex);
    runningSession = session;
    return session;
}

void gf_setSessionTimeOffset(int MINUTES)
{
    timeOffsetMinutes = MINUTES;
    if (const auto session = gf_feedSession()) {
        session->weather.toffset = MINUTES;
        session->traffic.toffset = MINUTES;
    }
}

void gf_noteServiceContact()
{
    LAST_EPOCH_TIME.value = static_cast<int>(std::time(nullptr));
    gf_save(LAST_EPOCH_TIME);
}

void lf_startRt()
{
    const auto session = gf_newFeedSession();
    for (int failed = 0;; ++failed) {
        std::int32_t status = 0;
        if (lf_rtAuth(session->weather, status)) {
            gf_setGuid(session->traffic, gf_guidOf(session->weather));
            if (failed > 0) gf_log(fmt::format("Logged in to the RT server after {} tries", failed + 1));
            return;
        }
        const int waitMs = gf_backoffMs(loginRetryMs, failed);
        switch (status) {
        case statusLicenceExpired:
        case statusLicenceUnknown:
            lf_refuseLogin(status,
                           fmt::format("The RT server refused the login with status {}: check the license", status));
        case statusParameterFault: return; // the readers find no session and end at once
        case statusSecondSession:
            // After a crash the server still holds the old session for a
            // while; it ends it by itself, so the login is tried until then.
            gf_showStatus(fmt::format("More than one RealTraffic session is not possible: the RT server still holds "
                                      "an earlier session, trying again in {} seconds until it ends it",
                                      waitMs / 1000),
                          true);
            break;
        default: {
            // The service is down, unreachable or in trouble: waited out.
            const std::string why = session->weather.failure.empty() ? fmt::format("status {}", status)
                                                                     : session->weather.failure;
            gf_showStatus(fmt::format("The RT server cannot be reached ({}), trying again in {} seconds", why,
                                      waitMs / 1000),
                          true);
        }
        }
        if (!gf_sleepUnlessStopped(waitMs)) return;
    }
}

void lf_rtDeauth()
{
    const auto session = gf_feedSession();
    if (!session || gf_guidOf(session->weather).empty()) return;
    // A logout ends the readers: whatever they still do is of no use.
    session->weather.stopRequested = true;
    session->traffic.stopRequested = true;
    // The weather reader may still be inside a request on its own client;
    // the logout takes a client of its own.
    RtClient exchange;
    exchange.baseUrl = session->weather.baseUrl;
    exchange.session = session->number;
    gf_setGuid(exchange, gf_guidOf(session->weather));
    std::int32_t status = 0;
    const bool ok = lf_rtDeauthExchange(exchange, status);
    gf_noteServiceContact();
    if (!ok) return;
    gf_setGuid(session->weather, {});
    gf_setGuid(session->traffic, {});
}

bool gf_rtSessionExists()
{
    const auto session = gf_feedSession();
    return session && !gf_guidOf(session->weather).empty();
}

void gf_stopReaders()
{
    if (const auto session = gf_feedSession()) {
        session->weather.stopRequested = true;
        session->traffic.stopRequested = true;
    }
}

bool gf_weatherReceived()
{
    const auto session = gf_feedSession();
    return session && session->weatherRoundDone;
}

double gf_trafficLastTimestamp()
{
    const auto session = gf_feedSession();
    return session ? session->traffic.lastTimestamp.load() : 0.0;
}

namespace {

/// Reader threads of every session that have not ended yet.
std::atomic<int> readerThreadsAlive{0};

/// A detached reader; it is counted until its session reference is gone too.
void lf_startReader(void (*BODY)(std::shared_ptr<FeedSession>))
{
    auto session = gf_feedSession();
    if (!session) return;
    ++session->readersRunning;
    ++readerThreadsAlive;
    std::thread([BODY, session = std::move(session)]() mutable {
        BODY(std::move(session));
        --readerThreadsAlive;
    }).detach();
}

} // namespace

void gf_startWeatherReader() { lf_startReader(&lf_weatherReader); }

void gf_startTrafficReader() { lf_startReader(&lf_trafficReader); }

bool gf_waitReadersEnded(int MS)
{
    constexpr int sliceMs = 10;
    for (int waited = 0; readerThreadsAlive > 0 && waited < MS; waited += sliceMs)
        std::this_thread::sleep_for(std::chrono::milliseconds(sliceMs));
    return readerThreadsAlive == 0;
}

void gf_takeSeenSets(std::set<std::string>& CALLSIGNS, std::set<std::uint32_t>& HEXIDS)
{
    CALLSIGNS.clear();
    HEXIDS.clear();
    const auto session = gf_feedSession();
    if (!session) return;
    RtClient& traffic = session->traffic;
    traffic.collectSeen = false;
    std::lock_guard lock(traffic.seenLock);
    CALLSIGNS.swap(traffic.seenCallsigns);
    HEXIDS.swap(traffic.seenHexids);
}

void gf_resetFeed()
{
    lf_makeCurrent(++sessionNumbers);
    {
        std::lock_guard lock(sessionMutex);
        if (runningSession) {
            runningSession->weather.stopRequested = true;
            runningSession->traffic.stopRequested = true;
        }
        runningSession.reset();
    }
    {
        std::lock_guard lock(weatherMutex);
        metarStation.clear();
    }
    weatherValid = false;
    gf_setRtServerName({});
    qnhShown = standardQnh;
    qnhEngine = standardQnh;
    lineCount = 0;
    weatherLamp = lampWaiting;
    trafficLamp = lampWaiting;
    weatherShown = trafficShown = false;
    autoRangeActive = false;
    {
        std::lock_guard lock(boxMutex);
        rtBox = startBox;
        parkedBox = startBox;
    }
    boxPosition = LatLon{};
    boxRange = 0;
}

DecodeView gf_takeDecodeView()
{
    DecodeView view;
    const UserPosition position = gf_rtPosition();
    view.centre = LatLon{position.lat, position.lon};
    view.rangeNm = rangeNm;
    view.autoRangeActive = autoRangeActive;
    view.park = gf_parkView();
    view.blockCallsign = gf_textOf(BLOCK_CALLSIGN);
    view.lightAircraft = LIGHT_AIRCRAFT.value;
    view.highPerfAircraft = HIGH_PERF_AIRCRAFT.value;
    view.helicopters = HELICOPTERS.value;
    return view;
}

} // namespace orv
