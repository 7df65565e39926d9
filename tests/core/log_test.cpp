// The log, the message area and the text helpers. (The conversions of text are
// tested with their invalid forms in text_files_test.)
#include "core/errors.h"
#include "core/log.h"
#include "core/text_files.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <functional>
#include <regex>

#include <unistd.h>

namespace orv {
namespace {

using test::readFile;
using test::TempDir;
using test::writeFile;

/// Opens a log in the current folder for one test and closes it again.
struct LogSession {
    LogSession() { gf_openLog("Log.txt"); }
    ~LogSession()
    {
        std::lock_guard lock(logMutex);
        logStream.close();
    }
};

TEST(Log, HeadLineNamesVersionAndSimulators)
{
    TempDir dir;
    LogSession{};
    const std::string text = readFile("Log.txt");
    const std::regex head(R"(^\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4} \(utc\) TAVO version 10\.9\.3 for MSFS 2020/2024\n$)");
    EXPECT_TRUE(std::regex_match(text, head)) << text;
}

TEST(Log, ThirdStartFindsFirstLogInLog00)
{
    TempDir dir;
    std::string first;
    for (int start = 1; start <= 3; ++start) {
        LogSession log;
        gf_log("start " + std::to_string(start));
        if (start == 1) first = readFile("Log.txt");
    }
    EXPECT_EQ(readFile("Log00.txt"), first);
    EXPECT_NE(readFile("Log0.txt").find("start 2"), std::string::npos);
    EXPECT_NE(readFile("Log.txt").find("start 3"), std::string::npos);
}

TEST(Log, ErrorsShowTheirCodeExceptNinetyNine)
{
    EXPECT_STREQ(UserErrorException(41, "x").what(), "41: x");
    EXPECT_STREQ(UserErrorException(99, "New version").what(), "New version");
}

TEST(Log, EveryFileSystemFailureAtOpeningIsSystemError40)
{
    namespace fs = std::filesystem;
    struct Case {
        const char* what;
        std::function<void()> prepare;
        std::string path;
    };
    std::vector<Case> cases = {
        {"Log.txt is a folder", [] { fs::create_directory("Log.txt"); }, "Log.txt"},
        {"Log0.txt is a folder", [] { writeFile("Log.txt", "old"); fs::create_directory("Log0.txt"); }, "Log.txt"},
        {"Log00.txt is a folder", [] { writeFile("Log0.txt", "older"); fs::create_directory("Log00.txt"); }, "Log.txt"},
        {"the folder is a regular file", [] { writeFile("plain", "x"); }, "plain/Log.txt"},
        {"no such folder", [] {}, "no-such-folder/Log.txt"},
    };
    // Root writes into a read-only folder anyway; only others can see this one.
    if (::geteuid() != 0)
        cases.push_back({"read-only folder", [] {
                             writeFile("ro/Log.txt", "old");
                             fs::permissions("ro", fs::perms::owner_read | fs::perms::owner_exec);
                         }, "ro/Log.txt"});
    for (const Case& c : cases) {
        TempDir dir;
        c.prepare();
        try {
            gf_openLog(c.path);
            ADD_FAILURE() << c.what << ": opened";
        } catch (const SysErrorException& e) {
            EXPECT_EQ(e.code, 40) << c.what;
            EXPECT_EQ(std::string(e.what()), "sys error 40: Failed to write file " + c.path) << c.what;
        } catch (const std::exception& e) {
            ADD_FAILURE() << c.what << ": " << e.what();
        }
        std::lock_guard lock(logMutex);
        EXPECT_FALSE(logStream.is_open()) << c.what;
        logStream.close();
        if (fs::exists("ro")) fs::permissions("ro", fs::perms::owner_all);
    }
}

TEST(MessageArea, StatusNeverReplacesErrorAndEmptyStatusIsNotLogged)
{
    TempDir dir;
    LogSession log;
    gf_clearError();
    gf_showStatus("first status", true);
    EXPECT_EQ(statusText, "first status");
    EXPECT_GE(statusStamp, 1);
    gf_showError("41: broken");
    EXPECT_TRUE(statusText.empty());
    gf_showStatus("dropped status", true);
    EXPECT_TRUE(statusText.empty());
    EXPECT_EQ(errorText, "41: broken");
    gf_clearError();
    gf_showStatus("", true);
    EXPECT_EQ(statusStamp, 0);
    const std::string text = readFile("Log.txt");
    EXPECT_NE(text.find("first status\n"), std::string::npos);
    EXPECT_NE(text.find("Error 41: broken\n"), std::string::npos);
    EXPECT_EQ(text.find("dropped status"), std::string::npos);
    EXPECT_EQ(text.find("\n\n"), std::string::npos) << "an empty status wrote an empty line";
}

TEST(Texts, BannerAndUtcText)
{
    EXPECT_EQ(gf_banner(70, "parameters"), std::string(34, '*') + " parameters " + std::string(34, '*'));
    EXPECT_EQ(gf_banner(10, ""), std::string(10, '*'));
    EXPECT_EQ(gf_banner(4, "x", true), "\n* x *");
    EXPECT_EQ(gf_utcText(0), "Thu Jan  1 00:00:00 1970");
    EXPECT_EQ(gf_utcText(1700000000), "Tue Nov 14 22:13:20 2023");
    EXPECT_EQ(gf_timeOfDay().size(), 8u);
}

TEST(Encoding, DetectedFromTheFirstTwoBytes)
{
    TempDir dir;
    const std::pair<std::string, int> cases[] = {
        {{"\xFF\xFE" "a\0", 4}, 1}, {{"\xFE\xFF\0a", 4}, 2}, {"\xEF\xBB\xBF[fltsim.0]", 3},
        {"[fltsim.0]", 0},           {"", 0},                    {"x", 0},
    };
    for (const auto& [bytes, expected] : cases) {
        writeFile("file.cfg", bytes);
        EXPECT_EQ(gf_detectEncoding("file.cfg"), expected) << "bytes of size " << bytes.size();
    }
    EXPECT_EQ(gf_detectEncoding("missing.cfg"), 5);
}

TEST(TextFiles, ReadLinesEmptyFolderAndKeepOlderCopies)
{
    TempDir dir;
    writeFile("a.txt", "one\r\ntwo\nthree");
    EXPECT_EQ(gf_readLines("a.txt"), (std::vector<std::string>{"one", "two", "three"})) << "line ends dropped";
    writeFile("empty.txt", "");
    EXPECT_FALSE(gf_readLines("empty.txt"));
    EXPECT_FALSE(gf_readLines("missing.txt"));
    writeFile("f/a.txt", "a");
    writeFile("f/sub/b.txt", "b");
    gf_emptyFolder("f");
    EXPECT_TRUE(std::filesystem::is_directory("f") && std::filesystem::is_empty("f"));
    EXPECT_NO_THROW(gf_emptyFolder("not-there"));
    writeFile("README", "x");
    gf_keepOlderCopies("README");
    EXPECT_FALSE(std::filesystem::exists("README0")) << "a name without a point is left alone";
    writeFile("a.xml", "1");
    gf_keepOlderCopies("a.xml");
    EXPECT_EQ(readFile("a0.xml"), "1");
}

} // namespace
} // namespace orv
