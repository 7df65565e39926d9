// The program as a process: its folder, its log, one instance only, and its
// end on SIGTERM. (A start outside its folder is a spine test.)
#include "tests/app/program_folder.h"
#include "tests/support/eventually.h"
#include "tests/support/temp_dir.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <chrono>
#include <csignal>
#include <random>
#include <thread>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::TempDir;

/// build/tavo started in the current folder (the test's temporary folder).
class Program {
public:
    /// With ERRORS, the program's standard error goes to that file.
    explicit Program(const fs::path& ERRORS = {})
    {
        const std::string path = (test::buildDir() / "tavo").string();
        char* argv[] = {const_cast<char*>(path.c_str()), nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        if (!ERRORS.empty())
            posix_spawn_file_actions_addopen(&actions, 2, ERRORS.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (posix_spawn(&pid_, path.c_str(), &actions, nullptr, argv, environ) != 0) pid_ = -1;
        posix_spawn_file_actions_destroy(&actions);
    }
    ~Program()
    {
        if (pid_ > 0 && !exited_) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }
    /// The exit status; -1000 when it still runs after a generous wait.
    int wait()
    {
        int status = 0;
        if (!test::eventually([&] { return ::waitpid(pid_, &status, WNOHANG) == pid_; })) return -1000;
        exited_ = true;
        return WIFEXITED(status) ? static_cast<signed char>(WEXITSTATUS(status)) : -500;
    }
    void terminate() { ::kill(pid_, SIGTERM); }
    /// Ends it at once, as a crash or a power cut would.
    void killNow()
    {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        exited_ = true;
    }
    bool started() const { return pid_ > 0; }

private:
    pid_t pid_ = -1;
    bool exited_ = false;
};

/// The log holds TEXT, now or once the program has come that far.
bool logHas(const std::string& TEXT)
{
    return test::eventually([&] { return readFile("Log.txt").find(TEXT) != std::string::npos; });
}

TEST(Program, SecondCopyExitsAtOnceAndTouchesNothing)
{
    TempDir dir;
    test::makeProgramFolder(dir.path());
    Program first;
    ASSERT_TRUE(first.started());
    ASSERT_TRUE(logHas("dbase records read"));
    Program second;
    EXPECT_EQ(second.wait(), -1);
    const std::string text = readFile("Log.txt");
    EXPECT_EQ(text.find("(utc) TAVO version"), text.rfind("(utc) TAVO version")) << "one head line only";
    EXPECT_FALSE(fs::exists("Log0.txt"));
    first.terminate();
    EXPECT_EQ(first.wait(), 0);
    EXPECT_TRUE(logHas("Exiting: USER CLOSED SIM"));
}

TEST(Program, MakesItsTreeAndParametersAndEndsCleanlyOnSigterm)
{
    TempDir dir;
    test::makeProgramFolder(dir.path());
    fs::remove(dir / "home/config/TAVO/parameters.xml");
    {
        Program tavo;
        ASSERT_TRUE(logHas("downloading dbase failed?"));
        tavo.terminate();
        EXPECT_EQ(tavo.wait(), 1) << "the reference data could not be had: a system error";
    }
    const std::string parameters = readFile(dir / "home/config/TAVO/parameters.xml");
    EXPECT_NE(parameters.find("name=\"LATERAL_RANGE\" value=\"40\""), std::string::npos);
    for (const char* folder : {"output/info", "output/errors", "airports/learned/stock", "input/my_regcodes"})
        EXPECT_TRUE(fs::is_directory(folder)) << folder;
}

TEST(Program, AnErrorAtStartUpThatNoPageShowsEndsTheProcessWithItsStatusAndOnStderr)
{
    const struct {
        const char* what;
        const char* removed; ///< what the program folder lacks
        int status;
        const char* told;    ///< on stderr
    } cases[] = {{"user error", "docs", 2, "Error 41: TAVO must be run from the TAVO folder!\n"},
                 {"system error", "downloads/dbase.zip", 1, "Error lf_startUpTAVO: sys error 23: "}};
    for (const auto& c : cases) {
        TempDir dir;
        test::makeProgramFolder(dir.path());
        fs::remove_all(dir / c.removed);
        const fs::path parameters = dir / "home/config/TAVO/parameters.xml";
        std::string text = readFile(parameters);
        text.insert(text.find("</parameters>"), "  <parameter name=\"HEADLESS_WAIT_SECONDS\" value=\"1\"/>\n");
        test::writeFile(parameters, text);
        Program tavo(dir / "errors.txt");
        ASSERT_TRUE(tavo.started());
        EXPECT_EQ(tavo.wait(), c.status) << c.what;
        EXPECT_NE(readFile(dir / "errors.txt").find(c.told), std::string::npos) << c.what << ": " << readFile(dir / "errors.txt");
        EXPECT_NE(readFile("Log.txt").find("Exiting: SYSTEM ERROR"), std::string::npos) << c.what;
    }
}

TEST(Program, KilledAtAnyMomentItLeavesItsSettingsAndItsLiveryListWhole)
{
    TempDir dir;
    test::makeProgramFolder(dir.path());
    const fs::path parameters = dir / "home/config/TAVO/parameters.xml";
    std::mt19937 random(17);
    std::uniform_int_distribution<int> momentMs(0, 1500);
    for (int kill = 0; kill < 12; ++kill) {
        {
            Program tavo;
            ASSERT_TRUE(tavo.started());
            std::this_thread::sleep_for(std::chrono::milliseconds(momentMs(random))); // the moment is the test
            if (kill % 3 == 2) tavo.terminate(); // now and then within the stop
            std::this_thread::sleep_for(std::chrono::milliseconds(momentMs(random) / 10));
            tavo.killNow();
        }
        pugi::xml_document document;
        ASSERT_TRUE(document.load_file(parameters.c_str())) << "kill " << kill;
        for (const char* name : {"MSFS_INSTALL_PATH", "DOWNLOAD_URL", "lfolder0", "WINDOW_PORT"})
            EXPECT_TRUE(document.select_node(fmt::format("/parameters/parameter[@name='{}']", name).c_str()))
                << name << " lost at kill " << kill;
        if (fs::exists("output/LiveriesScanned.xml")) {
            pugi::xml_document liveries;
            EXPECT_TRUE(liveries.load_file("output/LiveriesScanned.xml") && liveries.child("liveries"))
                << "kill " << kill;
        }
    }
}

TEST(Program, ALogThatCannotBeKeptEndsWithError40NotAnAbort)
{
    TempDir dir;
    test::makeProgramFolder(dir.path());
    fs::create_directory("Log.txt"); // no log can be written or kept
    Program tavo(dir / "errors.txt");
    ASSERT_TRUE(tavo.started());
    EXPECT_EQ(tavo.wait(), 1);
    EXPECT_EQ(readFile(dir / "errors.txt"), "sys error 40: Failed to write file Log.txt\n");
}

} // namespace
} // namespace orv
