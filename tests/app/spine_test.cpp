// The one-second tick and its slower work, the top-level error report, and
// sessions that restart inside the process without leaving threads behind.
#include "core/clock.h"
#include "app/event_loop.h"
#include "core/flags.h"
#include "core/folders.h"
#include "app/lifecycle.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/errors.h"
#include "parking/airport_db.h"
#include "tests/app/program_folder.h"
#include "tests/support/temp_dir.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <thread>

namespace orv {
namespace {

using test::readFile;
using test::TempDir;

/// Every shared flag back to the start of a process.
void resetFlags()
{
    simRunning = false;
    secondDataReady = false;
    exitInProgress = false;
    userClosed = false;
    readerFailed = false;
    flightStopped = false;
    restartPending = false;
    tickCount = 0;
    statusClock = 0;
    gf_clearError();
}

int threadCount()
{
    int count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) ++count;
    return count;
}

/// Waits up to 10 s of real time for a condition.
template <typename F>
bool eventually(F&& CONDITION)
{
    for (int k = 0; k < 1000; ++k) {
        if (CONDITION()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return CONDITION();
}

class SpineTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetFlags();
        gf_resetParameters();
        gf_setUserFolder();
        std::filesystem::create_directories(userFolder);
        gf_openLog("Log.txt");
        gf_installFinalExit();
        sleepScale = 0.001;
    }
    void TearDown() override
    {
        ASSERT_TRUE(eventually([] { return !gf_finalExitRunning() && gf_mainThreadsRunning() == 0; }));
        sleepScale = 1.0;
        std::lock_guard lock(logMutex);
        logStream.close();
        resetFlags();
    }
    std::string log() { return readFile("Log.txt"); }

    TempDir dir;
};

TEST(TickWork, MultiplesOfFifteenMaskSixteenSixtyOneAndSixtyTwo)
{
    struct Case {
        int tick;
        bool fifteen, thirty, sixteen, sixtyOne, sixtyTwo;
    } cases[] = {
        {240, true, true, false, false, false}, {915, true, false, false, false, false},
        {930, true, true, false, false, false}, {16, false, false, true, false, false},
        {61, false, false, false, true, false}, {62, false, false, false, false, true},
        {976, false, false, true, true, false}, {45, true, false, false, false, false},
        {7, false, false, false, false, false},
    };
    for (const Case& c : cases) {
        const TickWork w = gf_tickWork(c.tick);
        EXPECT_EQ(w.fifteen, c.fifteen) << c.tick;
        EXPECT_EQ(w.thirty, c.thirty) << c.tick;
        EXPECT_EQ(w.sixteen, c.sixteen) << c.tick;
        EXPECT_EQ(w.sixtyOne, c.sixtyOne) << c.tick;
        EXPECT_EQ(w.sixtyTwo, c.sixtyTwo) << c.tick;
    }
}

TEST(DayHalf, WeekdayAndHalfHourFromTheUtcText)
{
    EXPECT_EQ(gf_dayHalfFromText("Mon Nov 23 07:45:00 2026").day, 1);
    EXPECT_EQ(gf_dayHalfFromText("Mon Nov 23 07:45:00 2026").halfHour, 15);
    EXPECT_EQ(gf_dayHalfFromText("Sun Nov 22 00:29:59 2026").day, 7);
    EXPECT_EQ(gf_dayHalfFromText("Sun Nov 22 00:29:59 2026").halfHour, 0);
    EXPECT_EQ(gf_dayHalfFromText("Wed Jan  1 23:30:00 2025").halfHour, 47);
    const std::uint64_t packed = gf_packDayHalf({3, 40});
    EXPECT_EQ(packed & 0xFFFFFFFF, 3u);
    EXPECT_EQ(packed >> 32, 40u);
}

TEST_F(SpineTest, TickRunsOnlyWhenSecondDataArrives)
{
    simRunning = true;
    const std::int32_t engineBefore = engineTick;
    EXPECT_TRUE(lf_tick());
    EXPECT_TRUE(lf_tick());
    EXPECT_EQ(engineTick - engineBefore, 2);
    EXPECT_EQ(tickCount, 0);
    secondDataReady = true;
    EXPECT_TRUE(lf_tick());
    EXPECT_EQ(tickCount, 1);
    EXPECT_FALSE(secondDataReady);
    EXPECT_EQ(statusClock, 1);
}

TEST_F(SpineTest, StoppedFlightCountsNoTicksAndResumesTheSameSession)
{
    simRunning = true;
    secondDataReady = true;
    lf_tick();
    simRunning = false;
    for (int pass = 0; pass < 250; ++pass) {
        secondDataReady = true; // replies that arrive while stopped are not ticks
        EXPECT_TRUE(lf_tick());
    }
    EXPECT_TRUE(flightStopped);
    EXPECT_EQ(tickCount, 1);
    simRunning = true;
    secondDataReady = true;
    lf_tick();
    EXPECT_FALSE(flightStopped);
    EXPECT_EQ(tickCount, 2);
    const std::string text = log();
    EXPECT_EQ(text.find("Flight not running"), text.rfind("Flight not running")) << "logged once";
    EXPECT_NE(text.find("Flight resumed"), std::string::npos);
}

TEST_F(SpineTest, AStopEndsTheLoopAlsoWhileTheFlightStandsStill)
{
    simRunning = false;
    EXPECT_TRUE(lf_tick());
    userClosed = true;
    EXPECT_FALSE(lf_tick()) << "no second data would ever reach the usual check";
}

TEST_F(SpineTest, StatusIsClearedAfterTwentyFiveTicks)
{
    simRunning = true;
    statusClock = 10;
    gf_showStatus("hello", false);
    for (int k = 0; k < 24; ++k) {
        secondDataReady = true;
        lf_tick();
    }
    EXPECT_EQ(statusText, "hello");
    secondDataReady = true;
    lf_tick();
    EXPECT_TRUE(statusText.empty());
}

TEST_F(SpineTest, ReportSortsExceptionsAndOnlyStandardOnesEndTheSession)
{
    try {
        throw UserErrorException(150, "No install path");
    } catch (...) {
        lf_reportException("lf_startUpTAVO");
    }
    EXPECT_EQ(errorText, "150: No install path");
    EXPECT_FALSE(exitInProgress);
    try {
        throw 7;
    } catch (...) {
        lf_reportException("mainLoop");
    }
    EXPECT_EQ(errorText, "Unknown exception");
    EXPECT_FALSE(exitInProgress);
    try {
        throw SysErrorException(40, "Failed to write file x");
    } catch (...) {
        lf_reportException("mainLoop");
    }
    EXPECT_EQ(errorText, "mainLoop: sys error 40: Failed to write file x");
    EXPECT_EQ(exitReason, SYSTEM_ERROR);
    ASSERT_TRUE(eventually([] { return !gf_finalExitRunning(); }));
    EXPECT_NE(log().find("Exiting: SYSTEM ERROR"), std::string::npos);
}

TEST_F(SpineTest, SecondExitRequestIsDropped)
{
    gf_requestExit(SYSTEM_ERROR, 0);
    gf_requestExit(RESTART, 45);
    EXPECT_EQ(exitReason, SYSTEM_ERROR);
    ASSERT_TRUE(eventually([] { return !gf_finalExitRunning(); }));
    EXPECT_EQ(log().find("Exiting: RESTART"), std::string::npos);
    EXPECT_FALSE(restartPending);
}

/// A whole process in the test: the message loop on its own thread, a
/// program folder with docs and a simulator root.
class SessionTest : public SpineTest {
protected:
    void SetUp() override
    {
        SpineTest::SetUp();
        test::makeProgramFolder(dir.path());
        airportList.clear(); // the database of a fresh process
        airportsLoaded = false;
    }
    void startProcess()
    {
        loop = std::thread([this] { quitValue = gf_runMessageLoop(); });
        gf_postWindowMessage(WindowMessage::start);
    }
    /// The session waits for a running flight once its start-up is through:
    /// its livery catalogue is ready.
    bool waitingForFlight(int SESSION)
    {
        return eventually([&] {
            const std::string text = log();
            size_t at = 0;
            for (int k = 0; k < SESSION; ++k) {
                at = text.find("liveries scan ends", at);
                if (at == std::string::npos) return false;
                ++at;
            }
            return gf_mainThreadsRunning() == 1 && !exitInProgress;
        });
    }
    std::thread loop;
    int quitValue = -99;
};

TEST_F(SessionTest, RestartsLeaveNoThreadBehindAndKeepScanFlagsByReason)
{
    const auto scans = [this] {
        int count = 0;
        const std::string text = log();
        for (size_t at = text.find("liveries scan manual starts"); at != std::string::npos;
             at = text.find("liveries scan manual starts", at + 1))
            ++count;
        return count;
    };
    const int threadsBefore = threadCount();
    startProcess();
    ASSERT_TRUE(waitingForFlight(1));
    EXPECT_EQ(scans(), 1);
    SCAN_LIVERIES.value = true; // the user asks for a scan, which restarts for reason 3
    gf_save(SCAN_LIVERIES);
    gf_requestExit(RESTART_IPP, 0);
    ASSERT_TRUE(waitingForFlight(2));
    EXPECT_EQ(scans(), 2) << "a restart for reason 3 keeps a scan asked for";
    SCAN_LIVERIES.value = true;
    gf_save(SCAN_LIVERIES);
    gf_requestExit(RESTART, 2);
    ASSERT_TRUE(waitingForFlight(3));
    EXPECT_EQ(scans(), 2) << "a restart for reason 2 turns the scan off";
    for (int session = 4; session <= 6; ++session) {
        gf_requestExit(session % 2 == 0 ? RESTART : RESTART_IPP, 0);
        ASSERT_TRUE(waitingForFlight(session));
    }
    gf_closeWindow();
    loop.join();
    EXPECT_EQ(quitValue, 0);
    ASSERT_TRUE(eventually([&] { return threadCount() == threadsBefore; }))
        << threadCount() << " threads, " << threadsBefore << " before";
    const std::string text = log();
    EXPECT_NE(text.find("Restarting after 2 seconds"), std::string::npos);
    const size_t airportsRead = text.find("5 airports read from \"input/airports_msfs.xml\"");
    EXPECT_NE(airportsRead, std::string::npos);
    EXPECT_EQ(airportsRead, text.rfind("5 airports read from")) << "read once in a process";
    EXPECT_NE(text.find("Exiting: USER CLOSED SIM"), std::string::npos);
}

TEST_F(SessionTest, CloseDuringRestartCountdownEndsTheProgramOnce)
{
    startProcess();
    ASSERT_TRUE(waitingForFlight(1));
    sleepScale = 0.05; // a 45-second countdown lasts a little over 2 s
    gf_requestExit(RESTART, 45);
    ASSERT_TRUE(eventually([] { return statusText.starts_with("Restarting after"); }));
    gf_closeWindow();
    loop.join();
    const std::string text = log();
    EXPECT_EQ(text.find("Exiting:"), text.rfind("Exiting:")) << "one FinalExit only";
    EXPECT_NE(text.find("User closed"), std::string::npos);
    EXPECT_TRUE(eventually([] { return gf_mainThreadsRunning() == 0; }));
}

TEST_F(SessionTest, StartOutsideTheProgramFolderReportsError41)
{
    std::filesystem::remove("docs");
    startProcess();
    ASSERT_TRUE(eventually([] { return !errorText.empty(); }));
    EXPECT_EQ(errorText, "41: TAVO must be run from the TAVO folder!");
    EXPECT_FALSE(exitInProgress) << "the window stays for the user";
    gf_closeWindow();
    loop.join();
}

TEST_F(SessionTest, WithoutTheAirportDatabaseThePreparationEnds)
{
    std::filesystem::remove(airportsFile);
    startProcess();
    ASSERT_TRUE(eventually([] { return !errorText.empty(); }));
    EXPECT_EQ(errorText, "87: input/airports_msfs.xml not loaded File was not found");
    EXPECT_EQ(log().find("liveries scan"), std::string::npos);
    gf_closeWindow();
    loop.join();
}

} // namespace
} // namespace orv
