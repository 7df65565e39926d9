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
#include "tests/support/eventually.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <thread>

namespace orv {
namespace {

using test::eventually;
using test::readFile;

/// Every shared flag back to the start of a process.
void resetFlags()
{
    simRunning = secondDataReady = exitInProgress = userClosed = readerFailed = flightStopped = restartPending = false;
    tickCount = statusClock = 0;
    gf_clearError();
}

int threadCount()
{
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<int>(std::distance(begin(tasks), end(tasks)));
}

/// How often WHAT stands in TEXT.
int occurrences(const std::string& TEXT, const std::string& WHAT)
{
    int count = 0;
    for (size_t at = TEXT.find(WHAT); at != std::string::npos; at = TEXT.find(WHAT, at + 1)) ++count;
    return count;
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
        gf_joinFinalExit();
        sleepScale = 1.0;
        gf_closeLog();
        resetFlags();
    }
    std::string log() { return readFile("Log.txt"); }
    /// COUNT passes, each with the second's data in; false when one ended the loop.
    static bool ticksWithData(int COUNT)
    {
        bool goOn = true;
        for (int k = 0; k < COUNT; ++k) {
            secondDataReady = true;
            goOn = lf_tick() && goOn;
        }
        return goOn;
    }

    test::TempDir dir;
};

TEST(TickWork, MultiplesOfFifteenMaskSixteenSixtyOneAndSixtyTwo)
{
    const std::pair<int, const char*> cases[] = {{240, "15 30 "}, {915, "15 "}, {930, "15 30 "}, {16, "16 "},
                                                 {61, "61 "},     {62, "62 "},  {976, "16 61 "}, {45, "15 "}, {7, ""}};
    for (const auto& [tick, expected] : cases) {
        const TickWork w = gf_tickWork(tick);
        std::string work;
        for (const auto& [due, name] : {std::pair{w.fifteen, "15 "}, {w.thirty, "30 "}, {w.sixteen, "16 "},
                                        {w.sixtyOne, "61 "}, {w.sixtyTwo, "62 "}})
            if (due) work += name;
        EXPECT_EQ(work, expected) << tick;
    }
}

TEST(DayHalf, WeekdayAndHalfHourFromTheUtcText)
{
    for (const auto& [text, day, halfHour] : {std::tuple{"Mon Nov 23 07:45:00 2026", 1, 15},
                                              {"Sun Nov 22 00:29:59 2026", 7, 0},
                                              {"Wed Jan  1 23:30:00 2025", 3, 47}}) {
        EXPECT_EQ(gf_dayHalfFromText(text).day, day) << text;
        EXPECT_EQ(gf_dayHalfFromText(text).halfHour, halfHour) << text;
    }
    EXPECT_EQ(gf_packDayHalf({3, 40}), std::uint64_t{40} << 32 | 3) << "the day low, the half hour high";
}

TEST_F(SpineTest, TickRunsOnlyWhenSecondDataArrivesAndAStatusGoesAfterTwentyFive)
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
    // A status stays for 25 ticks.
    gf_showStatus("hello", false);
    ticksWithData(24);
    EXPECT_EQ(statusText, "hello");
    ticksWithData(1);
    EXPECT_TRUE(statusText.empty());
}

TEST_F(SpineTest, StoppedFlightCountsNoTicksResumesTheSameSessionAndStops)
{
    simRunning = true;
    ticksWithData(1);
    simRunning = false;
    EXPECT_TRUE(ticksWithData(250)); // replies that arrive while stopped are not ticks
    EXPECT_TRUE(flightStopped);
    EXPECT_EQ(tickCount, 1);
    simRunning = true;
    ticksWithData(1);
    EXPECT_FALSE(flightStopped);
    EXPECT_EQ(tickCount, 2);
    const std::string text = log();
    EXPECT_EQ(occurrences(text, "Flight not running"), 1);
    EXPECT_EQ(occurrences(text, "Flight resumed"), 1);
    simRunning = false;
    userClosed = true;
    EXPECT_FALSE(lf_tick()) << "a stop ends the loop also while the flight stands still";
}

TEST_F(SpineTest, ReportSortsExceptionsAndOnlyStandardOnesEndTheSession)
{
    const auto report = [](std::exception_ptr THROWN, const char* WHERE) {
        try {
            std::rethrow_exception(THROWN);
        } catch (...) {
            lf_reportException(WHERE);
        }
    };
    report(std::make_exception_ptr(UserErrorException(150, "No install path")), "lf_startUpTAVO");
    EXPECT_EQ(errorText, "150: No install path");
    EXPECT_FALSE(exitInProgress);
    report(std::make_exception_ptr(7), "mainLoop");
    EXPECT_EQ(errorText, "Unknown exception");
    EXPECT_FALSE(exitInProgress);
    report(std::make_exception_ptr(SysErrorException(40, "Failed to write file x")), "mainLoop");
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

/// A whole process in the test: the message loop on its own thread, in a program folder.
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
    /// Session SESSION waits for a running flight: its start-up, livery scan included, is through.
    bool waitingForFlight(int SESSION)
    {
        return eventually([&] {
            return occurrences(log(), "liveries scan ends") >= SESSION && gf_mainThreadsRunning() == 1 &&
                   !exitInProgress;
        });
    }
    std::thread loop;
    int quitValue = -99;
};

TEST_F(SessionTest, RestartsLeaveNoThreadBehindAndKeepScanFlagsByReason)
{
    const auto scans = [this] { return occurrences(log(), "liveries scan manual starts"); };
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
    EXPECT_EQ(occurrences(text, "airports read from"), 1) << "read once in a process";
    EXPECT_NE(text.find("5 airports read from \"input/airports_msfs.xml\""), std::string::npos);
    EXPECT_NE(text.find("Exiting: USER CLOSED SIM"), std::string::npos);
}

TEST_F(SessionTest, CloseDuringRestartCountdownEndsTheProgramOnce)
{
    startProcess();
    ASSERT_TRUE(waitingForFlight(1));
    sleepScale = 0.5; // the 45-second countdown lasts over 20 s: the close comes well within it
    gf_requestExit(RESTART, 45);
    ASSERT_TRUE(eventually([] { return statusText.starts_with("Restarting after"); }));
    gf_closeWindow();
    loop.join();
    const std::string text = log();
    EXPECT_EQ(occurrences(text, "Exiting:"), 1) << "one FinalExit only";
    EXPECT_NE(text.find("User closed"), std::string::npos);
    EXPECT_TRUE(eventually([] { return gf_mainThreadsRunning() == 0; }));
}

TEST_F(SessionTest, ADamagedStoredLiveryListIsRebuiltByANewScan)
{
    const auto scans = [this] { return occurrences(log(), "liveries scan manual starts"); };
    startProcess();
    ASSERT_TRUE(waitingForFlight(1));
    const std::filesystem::path stored = "output/LiveriesScanned.xml";
    const std::string good = readFile(stored);
    ASSERT_NE(good.find("<liv "), std::string::npos);
    const std::pair<const char*, std::string> damages[] = {
        {"cut in half", good.substr(0, good.size() / 2)},
        {"empty", ""},
        {"no liveries section", "<?xml version=\"1.0\"?>\n<meta/>\n"},
        {"no liveries in it", "<?xml version=\"1.0\"?>\n<liveries/>\n"}};
    int session = 1;
    for (const auto& [what, text] : damages) {
        test::writeFile(stored, text);
        gf_requestExit(RESTART, 0); // a restart for reason 2: no scan asked for
        ASSERT_TRUE(waitingForFlight(++session)) << what;
        EXPECT_EQ(scans(), session) << what << ": rebuilt by a scan";
        EXPECT_EQ(readFile(stored), good) << what;
        EXPECT_EQ(readFile("output/LiveriesScanned.damaged.xml"), text) << what << ": set aside";
        EXPECT_FALSE(SCAN_LIVERIES.value) << what;
    }
    EXPECT_EQ(occurrences(log(), "is damaged ("), 4);
    EXPECT_EQ(log().find("Error 51"), std::string::npos);
    gf_closeWindow();
    loop.join();
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
