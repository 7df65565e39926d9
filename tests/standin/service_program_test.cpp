// The program tavo-service as outside checks run it: its options, the address
// it prints, its answers, downloads and request log on HTTP, the answers it
// holds back, and its end on SIGTERM.
#include <optional>
#include <regex>
#include <thread>

#include <httplib.h>

#include "service_test_support.h"
#include "tests/standin/sim_process.h"
#include "tests/support/temp_dir.h"

namespace orv::test {
namespace {

/// tavo-service as a child process, ended at the latest with the test.
struct Program {
    int pid;
    Program(const std::vector<std::string>& ARGS, const std::filesystem::path& OUTPUT = {})
        : pid(gf_startProgram("tavo-service", ARGS, OUTPUT)) {}
    ~Program() { gf_endProgram(pid); }
    /// Its exit status: after SIGTERM, or when it ends by itself.
    int end(bool TERMINATE) { return gf_endProgram(std::exchange(pid, -1), TERMINATE); }
};

class ServingProgram : public ::testing::Test {
protected:
    TempDir dir{false};
    std::optional<Program> program;
    int port = 0;

    void SetUp() override
    {
        writeFile(dir / "traffic.jsonl", liveLine("a1b2c3", 52.5, 4.5, 1000).dump() + "\n");
        writeFile(dir / "parked.jsonl", R"({"4840d6": [52.30, 4.76, "A3", "B738", "PH-BXA", 0, "KLM1"]})" "\n");
        writeFile(dir / "downloads/release/version.json", "10.9.4\n");
        writeFile(dir / "secret.txt", "not for you");
        program.emplace(std::vector<std::string>{"--port", "0", "--traffic", (dir / "traffic.jsonl").string(),
                                                 "--parked", (dir / "parked.jsonl").string(), "--downloads",
                                                 (dir / "downloads").string(), "--request-log",
                                                 (dir / "requests.jsonl").string()},
                        dir / "out.txt");
        const std::regex printed(R"(listening on http://127\.0\.0\.1:(\d+))");
        std::string out;
        std::smatch match;
        for (int i = 0; i < 2000 && !std::regex_search(out = readFile(dir / "out.txt"), match, printed); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        ASSERT_FALSE(match.empty()) << out;
        port = std::stoi(match[1]);
    }
    /// A client of its own for each call: a client is not shared between threads.
    httplib::Result post(const std::string& PATH, const std::string& BODY) const
    {
        httplib::Client client("127.0.0.1", port);
        client.set_read_timeout(std::chrono::minutes(5));
        return client.Post(PATH, BODY, "application/x-www-form-urlencoded");
    }
    int heldAnswers() const { return nlohmann::json::parse(post("/control/state", "")->body)["heldAnswers"]; }
    /// Posts a login that is held back, on a thread of its own; waits until it is held.
    std::thread held(std::string& ANSWER) const
    {
        const int before = heldAnswers();
        std::thread reader([this, &ANSWER] {
            if (auto result = post("/v4/auth", "license=K&software=T")) ANSWER = result->body;
        });
        for (int i = 0; i < 4000 && heldAnswers() == before; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_EQ(heldAnswers(), before + 1);
        return reader;
    }
};

TEST_F(ServingProgram, ServesTrafficAndDownloadsLogsRequestsAndEndsOnSigterm)
{
    const auto login = post("/v4/auth", "license=K&software=T");
    ASSERT_TRUE(login);
    const std::string guid = nlohmann::json::parse(login->body)["GUID"];
    const auto parked = post("/v4/traffic", "GUID=" + guid + "&top=52.5&bottom=52&left=4.5&right=5&toffset=0"
                                                             "&querytype=parkedtraffic");
    ASSERT_TRUE(parked);
    EXPECT_TRUE(nlohmann::json::parse(parked->body)["data"].contains("4840d6"));
    httplib::Client client("127.0.0.1", port);
    for (const char* path : {"/downloads/release/version.json", "/release/version.json", "/downloads/dbase.zip",
                             "/downloads/../secret.txt", "/downloads/release", "/"}) {
        const auto got = client.Get(path);
        ASSERT_TRUE(got) << path;
        const bool there = std::string(path).ends_with("version.json"); // the tree under both prefixes, nothing else
        EXPECT_EQ(got->status, there ? 200 : 404) << path;
        EXPECT_TRUE(!there || got->body == "10.9.4\n") << got->body;
    }
    EXPECT_EQ(program->end(true), 0);
    EXPECT_NE(readFile(dir / "requests.jsonl").find("/v4/auth"), std::string::npos);
}

TEST_F(ServingProgram, HeldAnswersGoOutWhenReleasedOrWhenItStops)
{
    ASSERT_EQ(post("/control/fail", "request=auth&answer=stall&count=0")->status, 200);
    std::string first, second;
    std::thread reader = held(first);
    EXPECT_TRUE(first.empty());
    post("/control/release", "");
    reader.join();
    EXPECT_EQ(nlohmann::json::parse(first)["status"], 200);
    reader = held(second);
    EXPECT_EQ(program->end(true), 0);
    reader.join();
    EXPECT_FALSE(second.empty()); // let go, not left hanging
}

TEST(ServiceProgram, GeneratesARecordingAndItsParkedTraffic)
{
    TempDir dir(false);
    Program program({"--generate", (dir / "out.jsonl").string(), "--parked-out", (dir / "parked.jsonl").string(),
                     "--runway", "50.0,10.0,50.0191,9.9703", "--stand", "S1,49.999,9.9775,225", "--stand",
                     "S2,49.9995,9.978,225", "--minutes", "10", "--seed", "2"});
    EXPECT_EQ(program.end(false), 0);
    std::ifstream file(dir / "out.jsonl");
    EXPECT_GT(gf_readRecording(file, "out").pointCount, 0u);
    std::ifstream parkedFile(dir / "parked.jsonl");
    EXPECT_NO_THROW((void)gf_readParked(parkedFile, "parked"));
}

TEST(ServiceProgram, RefusesUnknownOptionsAndFaultyFiles)
{
    TempDir dir(false);
    writeFile(dir / "bad.jsonl", "[1,2]\n");
    const std::vector<std::vector<std::string>> refused = {
        {"--bogus"}, {"--port"}, {"--port", "70000"}, {"--fail", "traffic:lunch"},
        {"--traffic", (dir / "bad.jsonl").string(), "--port", "0"}, {"--traffic", (dir / "none.jsonl").string()},
        {"--parked", (dir / "bad.jsonl").string(), "--port", "0"}};
    for (const auto& args : refused) {
        Program program(args);
        EXPECT_EQ(program.end(false), 2) << args[0];
    }
}

} // namespace
} // namespace orv::test
