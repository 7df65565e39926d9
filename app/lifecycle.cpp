// The start-up of a session: preparing the program, the scans, the wait for a
// running flight, the login, and the way into mainLoop.
#include "app/lifecycle.h"

#include "core/clock.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/user_position.h"
#include "core/window_state.h"
#include "feed/feed.h"
#include "liveries/liveries.h"
#include "parking/parking.h"
#include "parking/stands.h"
#include "scanner/scanner.h"
#include "liveries/user_aircraft.h"
#include "sim/sim_answers.h"
#include "sim/sim_link.h"
#include "traffic/engine.h"
#include "traffic/parking_calls.h"
#include "ui/traffic_view.h"
#include "updates/updates.h"

#include <fmt/format.h>

#include <ctime>
#include <numbers>
#include <thread>

namespace orv {

namespace fs = std::filesystem;

namespace {

constexpr int loginHoldSeconds = 2;
bool referenceDataRead = false; ///< main thread: dbase.xml is read once per process

void lf_checkScannedLiveries()
{
    const fs::path scanned = outputFolder / "LiveriesScanned.xml";
    if (fs::exists(scanned) || SCAN_LIVERIES.value) return;
    gf_showStatus(fmt::format("File {} is gone, rescan liveries", scanned.string()), true);
    SCAN_LIVERIES.value = true;
    gf_save(SCAN_LIVERIES);
}

/// The codes of a stored livery list that is there but cannot be used.
bool lf_scannedListDamaged(int CODE) { return CODE == 51 || CODE == 52 || CODE == 533; }

/// The livery scan, or the stored list; a stored list that is damaged (cut
/// short, emptied, edited wrong) is only a cache of the scan: it is set
/// aside and rebuilt by a scan at once.
void lf_scanOrRead()
{
    try {
        gf_scanLiveries(SCAN_LIVERIES.value);
        return;
    } catch (const UserErrorException& e) {
        if (SCAN_LIVERIES.value || !lf_scannedListDamaged(e.code)) throw;
        const fs::path scanned = outputFolder / "LiveriesScanned.xml";
        std::error_code ignored;
        fs::rename(scanned, outputFolder / "LiveriesScanned.damaged.xml", ignored);
        const std::string message = fmt::format("File {} is damaged ({}), rescan liveries", scanned.string(), e.what());
        gf_logWarning(message);
        gf_showStatus(message, false);
    }
    SCAN_LIVERIES.value = true;
    gf_save(SCAN_LIVERIES);
    gf_scanLiveries(true);
}

int lf_countFiles(const fs::path& FOLDER)
{
    if (!fs::is_directory(FOLDER)) return 0;
    int count = 0;
    for (const auto& entry : fs::directory_iterator(FOLDER))
        if (entry.is_regular_file()) ++count;
    return count;
}

/// The service must not see two logins within two seconds.
void lf_holdBeforeLogin()
{
    const std::int64_t now = std::time(nullptr);
    const std::int64_t since = now - LAST_EPOCH_TIME.value;
    if (since < 0 || since >= loginHoldSeconds) return;
    const std::int64_t left = loginHoldSeconds - since;
    gf_showStatus(fmt::format("Holding for {} seconds... (RT API cannnot be revisited within 2 seconds)", left), true);
    gf_sleepUnlessStopped(static_cast<int>(left * 1000));
}

void lf_findInstallPath()
{
    std::string& path = gf_activeInstallPath();
    ALL_INSTALL_PATH.value = path;
    if (!path.empty()) return;
    const fs::path found = gf_detectInstallPath();
    if (found.empty())
        throw UserErrorException(150, "No install path detected, type full path to your Community folder above, "
                                      "and press Enter");
    path = found.string();
    gf_save(MSFS_2020.value ? MSFS_INSTALL_PATH : MSFS_2024_INSTALL_PATH);
    ALL_INSTALL_PATH.value = path;
    gf_repaint();
}

/// Waits in ROUNDS slices of MS for DONE, ending early on a stop flag.
template <typename F>
bool lf_waitFor(int ROUNDS, int MS, F&& DONE)
{
    for (int round = 0; round < ROUNDS && !DONE(); ++round)
        if (!gf_sleepUnlessStopped(MS)) return false;
    return DONE();
}

void lf_runSessionSteps()
{
    simConnected = false;
    rtConnected = false;
    lf_reserveEngine();
    gf_reserveMatching();
    lf_initSimQueues();
    gf_startClientThread();
    if (!lf_waitForFlight()) return;

    rtLampDark = false;
    gf_repaint();
    if (gf_stopFlagUp()) return;
    {
        std::lock_guard lock(linesLock);
        loopRunning = false;
    }
    lf_computeBox();
    lf_startRt();
    gf_setReaderLampsWaiting();
    lf_waitFor(10, 300, [] { return gf_rtSessionExists(); });
    // The readers' first requests go out at once: they must not ask at 0,0.
    gf_publishRtPosition();
    gf_startWeatherReader();
    lf_waitFor(10, 300, [] {
        lf_applyParkAirports();
        return gf_weatherReceived();
    });
    gf_startTrafficReader();
    gf_publishRtPosition();
    if (readerFailed) {
        gf_showError("Reader error");
        gf_requestExit(SYSTEM_ERROR, 0);
    }
    if (!lf_waitFor(150, 100, [] { return gf_trafficLastTimestamp() != 0; }) && !gf_stopFlagUp())
        gf_log("No traffic in this region?");
    nowDayHalf = gf_packDayHalf(lf_dayHalfNow());
    mainLoop();
}

} // namespace

void lf_prepareProgram()
{
    lf_readParameters(gf_parameterLists());
    gf_deriveRange();
    lf_cutCommunity();
    lf_makeFolders();
    maxLive = MAX_LIVE.value;
    if (!restartPending) gf_checkProgramVersion();
    if (!MSFS_2020.value) gf_checkAddonData(!restartPending);
    gf_enableControls(1);
    gf_applyStoredTimeShift();
    PROGRAM_INSTALL_PATH.value = fs::current_path().string();
    gf_save(PROGRAM_INSTALL_PATH);
    nowDayHalf = gf_packDayHalf(lf_dayHalfNow());
    if (!referenceDataRead) {
        gf_readDbase();
        referenceDataRead = true;
    }
    gf_enableControls(2);
    lf_findInstallPath();
    gf_enableControls(3);
    gf_readAirportDatabase();
}

void gf_installAnswers()
{
    simAnswers.userTitle = [](const std::string& TITLE) { lf_userTitleReply(TITLE.c_str()); };
    simAnswers.userModel = [](const std::string& MODEL) { lf_userModelReply(MODEL.c_str()); };
    gf_fillParkingCalls(parkingCalls);
    simAnswers.userStand = [](double LAT, double LON) {
        UserPosition position;
        position.lat = LAT;
        position.lon = LON;
        return gf_userStand(position);
    };
    simAnswers.storeUserStand = &gf_storeUserStand;
    // The traffic page draws the park airport's stands; the table is the main
    // thread's, and so is the publication that asks for them.
    trafficStands = [] {
        std::vector<StandMark> marks;
        marks.reserve(standTable.size());
        for (const Stand& stand : standTable)
            marks.push_back({stand.name, stand.lat, stand.lon, stand.heading * 180.0 / std::numbers::pi});
        return marks;
    };
}

void lf_startUpTAVO()
{
    if (!fs::is_directory(docsFolder))
        throw UserErrorException(41, fmt::format("{} must be run from the {} folder!", programName, programName));
    lf_prepareProgram();
    hardwareThreads = std::max(1u, std::thread::hardware_concurrency());
    scanProgress = 0;
    lf_checkScannedLiveries();
    lf_scanOrRead();
    if (gf_stopFlagUp()) return;
    if (SCAN_AIRPORTS.value) {
        simaddonCount = thirdpartyCount = 0;
        gf_scanAirports();
    }
    simaddonCount = lf_countFiles(mySimaddonFolder);
    thirdpartyCount = lf_countFiles(myThirdpartyFolder);
    gf_repaint();
    lf_holdBeforeLogin();
    if (gf_stopFlagUp()) {
        gf_requestExit(USER_CLOSED_SIM, 1);
        return;
    }
    fs::create_directories(gf_flightPlanFolder());
    if (const std::string message = lf_readParkAirports(); !message.empty()) gf_showStatus(message, true);
    REREAD_BUTTON.enabled = true;
    if (!DESTINATION.value.empty()) gf_applyStoredDestination();
    gf_repaint();
    if (AUTO_RANGE.value) {
        lf_computeRange();
        LATERAL_RANGE.enabled = false;
    }
    lf_runSession();
}

void lf_runSession()
{
    try {
        lf_runSessionSteps();
    } catch (const std::exception& e) {
        gf_showStatus(e.what(), true);
        rtConnected = false;
        gf_requestExit(SYSTEM_ERROR, 0);
    }
}

bool lf_waitForFlight()
{
    while (!simRunning) {
        if (!gf_sleepUnlessStopped(100)) return false;
    }
    {
        std::lock_guard lock(simLock);
        if (!gf_requestSimOnGround()) gf_log("SimConnect request ac gnd/air fails");
    }
    const auto positionKnown = [] { return userGroundKnown && !gf_isNoPosition(ownPosition.lat, ownPosition.lon); };
    while (!positionKnown()) {
        ownPosition = gf_requestUserPosition();
        if (positionKnown()) break;
        if (!gf_sleepUnlessStopped(500)) return false;
    }
    gf_requestTitleAndModel();
    while (gf_isNoPosition(ownPosition.lat, ownPosition.lon)) {
        if (!gf_sleepUnlessStopped(200)) return false;
        ownPosition = gf_requestUserPosition();
    }
    return true;
}

} // namespace orv
