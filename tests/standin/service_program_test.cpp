// The program tavo-service as outside checks run it: its options, the
// address it prints, and its end on SIGTERM.
#include <csignal>
#include <cstdio>
#include <regex>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <httplib.h>

#include "service_test_support.h"
#include "tests/support/temp_dir.h"

extern char** environ;

namespace orv::test {
namespace {

/// The program running with its standard output on a pipe.
struct Program {
    pid_t pid = -1;
    FILE* output = nullptr;

    explicit Program(const std::vector<std::string>& ARGS)
    {
        int pipeEnds[2];
        if (::pipe(pipeEnds) != 0) return;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
        const std::string program = (buildDir() / "tavo-service").string();
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (const auto& arg : ARGS) argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        if (posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ) != 0) pid = -1;
        posix_spawn_file_actions_destroy(&actions);
        ::close(pipeEnds[1]);
        output = ::fdopen(pipeEnds[0], "r");
    }
    ~Program()
    {
        if (pid > 0) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
        }
        if (output != nullptr) ::fclose(output);
    }
    std::string readLine()
    {
        char buffer[512];
        return output != nullptr && std::fgets(buffer, sizeof buffer, output) != nullptr ? buffer : "";
    }
    /// Waits for the end; the exit code, or -1 after a signal.
    int wait()
    {
        int status = 0;
        ::waitpid(pid, &status, 0);
        pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

TEST(ServiceProgram, ServesOnThePrintedAddressAndEndsOnSigterm)
{
    TempDir dir(false);
    std::stringstream recording;
    writeFile(dir / "traffic.jsonl", liveLine("a1b2c3", 52.5, 4.5, 1000).dump() + "\n");
    writeFile(dir / "parked.jsonl", R"({"4840d6": [52.30, 4.76, "A3", "B738", "PH-BXA", 0, "KLM1"]})"
                                    "\n");
    writeFile(dir / "downloads/dbase.zip", "zip");
    Program program({"--port", "0", "--traffic", (dir / "traffic.jsonl").string(), "--parked",
                     (dir / "parked.jsonl").string(), "--downloads", (dir / "downloads").string(), "--request-log",
                     (dir / "requests.jsonl").string()});
    ASSERT_GT(program.pid, 0);
    const std::string first = program.readLine();
    std::smatch match;
    ASSERT_TRUE(std::regex_search(first, match, std::regex(R"(listening on http://127\.0\.0\.1:(\d+))"))) << first;
    httplib::Client client("127.0.0.1", std::stoi(match[1]));
    const auto login = client.Post("/v4/auth", "license=K&software=T", "application/x-www-form-urlencoded");
    ASSERT_TRUE(login);
    const auto guid = nlohmann::json::parse(login->body)["GUID"].get<std::string>();
    const auto parked =
        client.Post("/v4/traffic",
                    "GUID=" + guid + "&top=52.50&bottom=52.00&left=4.50&right=5.00&querytype=parkedtraffic&toffset=0",
                    "application/x-www-form-urlencoded");
    ASSERT_TRUE(parked);
    EXPECT_TRUE(nlohmann::json::parse(parked->body)["data"].contains("4840d6"));
    const auto download = client.Get("/downloads/dbase.zip");
    ASSERT_TRUE(download);
    EXPECT_EQ(download->body, "zip");
    ::kill(program.pid, SIGTERM);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_NE(readFile(dir / "requests.jsonl").find("/v4/auth"), std::string::npos);
}

TEST(ServiceProgram, GeneratesARecordingAndItsParkedTraffic)
{
    TempDir dir(false);
    Program program({"--generate", (dir / "out.jsonl").string(), "--parked-out", (dir / "parked.jsonl").string(),
                     "--runway", "50.0,10.0,50.0191,9.9703", "--stand", "S1,49.999,9.9775,225", "--stand",
                     "S2,49.9995,9.978,225", "--minutes", "10", "--seed", "2"});
    ASSERT_GT(program.pid, 0);
    EXPECT_EQ(program.wait(), 0);
    std::ifstream file(dir / "out.jsonl");
    const Recording rec = gf_readRecording(file, "out");
    EXPECT_GT(rec.pointCount, 0u);
    std::ifstream parkedFile(dir / "parked.jsonl");
    EXPECT_NO_THROW((void)gf_readParked(parkedFile, "parked"));
}

TEST(ServiceProgram, RefusesUnknownOptionsAndFaultyFiles)
{
    TempDir dir(false);
    writeFile(dir / "bad.jsonl", "[1,2]\n");
    for (const std::vector<std::string>& args : {std::vector<std::string>{"--bogus"},
                                                 {"--port"},
                                                 {"--port", "70000"},
                                                 {"--fail", "traffic:lunch"},
                                                 {"--traffic", (dir / "bad.jsonl").string(), "--port", "0"},
                                                 {"--traffic", (dir / "none.jsonl").string()}}) {
        Program program(args);
        ASSERT_GT(program.pid, 0);
        EXPECT_EQ(program.wait(), 2) << args[0];
    }
}

} // namespace
} // namespace orv::test
