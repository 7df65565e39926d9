// The program as a process: its folder, its log, one instance only, and its
// end on SIGTERM.
#include "tests/app/program_folder.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>

extern char** environ;

namespace orv {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::TempDir;

/// build/tavo started in the current folder (the test's temporary folder).
class Program {
public:
    Program()
    {
        const std::string path = (test::buildDir() / "tavo").string();
        char* argv[] = {const_cast<char*>(path.c_str()), nullptr};
        if (posix_spawn(&pid_, path.c_str(), nullptr, nullptr, argv, environ) != 0) pid_ = -1;
    }
    ~Program()
    {
        if (pid_ > 0 && !exited_) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }
    /// The exit status, waiting up to SECONDS; -1000 when it still runs.
    int wait(int SECONDS)
    {
        for (int k = 0; k < SECONDS * 100; ++k) {
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                exited_ = true;
                return WIFEXITED(status) ? static_cast<signed char>(WEXITSTATUS(status)) : -500;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return -1000;
    }
    void terminate() { ::kill(pid_, SIGTERM); }
    bool started() const { return pid_ > 0; }

private:
    pid_t pid_ = -1;
    bool exited_ = false;
};

bool logHas(const std::string& TEXT)
{
    for (int k = 0; k < 500; ++k) {
        if (readFile("Log.txt").find(TEXT) != std::string::npos) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

TEST(Program, SecondCopyExitsAtOnceAndTouchesNothing)
{
    TempDir dir;
    test::makeProgramFolder(dir.path());
    Program first;
    ASSERT_TRUE(first.started());
    ASSERT_TRUE(logHas("dbase records read"));
    Program second;
    EXPECT_EQ(second.wait(10), -1);
    const std::string text = readFile("Log.txt");
    EXPECT_EQ(text.find("(utc) TAVO version"), text.rfind("(utc) TAVO version")) << "one head line only";
    EXPECT_FALSE(fs::exists("Log0.txt"));
    first.terminate();
    EXPECT_EQ(first.wait(20), 0);
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
        EXPECT_EQ(tavo.wait(20), 0);
    }
    EXPECT_TRUE(readFile("Log.txt").starts_with(readFile("Log.txt").substr(0, 24) + " (utc) TAVO version 10.9.3"));
    const std::string parameters = readFile(dir / "home/config/TAVO/parameters.xml");
    EXPECT_NE(parameters.find("name=\"LATERAL_RANGE\" value=\"40\""), std::string::npos);
    EXPECT_NE(parameters.find("name=\"HOLDING_THRESHOLD_METERS\" value=\"250\""), std::string::npos);
    for (const char* folder : {"output/info", "output/errors", "airports/learned/stock", "input/my_regcodes"})
        EXPECT_TRUE(fs::is_directory(folder)) << folder;
}

TEST(Program, WithoutDocsFolderReportsError41)
{
    TempDir dir;
    Program tavo;
    ASSERT_TRUE(logHas("Error 41: TAVO must be run from the TAVO folder!"));
    tavo.terminate();
    EXPECT_EQ(tavo.wait(20), 0);
}

} // namespace
} // namespace orv
