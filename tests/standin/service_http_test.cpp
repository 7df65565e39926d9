// The service on HTTP, in this process: the paths, the request log, the
// download tree and held-back answers.
#include <atomic>
#include <thread>

#include <httplib.h>

#include "service_test_support.h"
#include "standin/service/server.h"
#include "tests/support/temp_dir.h"

namespace orv::test {
namespace {

constexpr const char* kForm = "application/x-www-form-urlencoded";

struct HttpService {
    TempDir dir{false};
    std::unique_ptr<RunningService> service;
    std::unique_ptr<httplib::Client> client;

    explicit HttpService(ServiceState STATE = {})
    {
        writeFile(dir / "downloads/release/version.json", "10.9.4\n");
        writeFile(dir / "secret.txt", "not for you");
        ServerSetup setup;
        setup.downloadsFolder = (dir / "downloads").string();
        setup.requestLogPath = (dir / "requests.jsonl").string();
        service = gf_startService(std::move(STATE), setup);
        client = std::make_unique<httplib::Client>("127.0.0.1", service->port);
    }
    nlohmann::json post(const std::string& PATH, const std::string& BODY)
    {
        auto result = client->Post(PATH.c_str(), BODY, kForm);
        if (!result) {
            ADD_FAILURE() << "no answer for " << PATH;
            return {};
        }
        return nlohmann::json::parse(result->body);
    }
    std::vector<nlohmann::json> requestLog() const
    {
        std::vector<nlohmann::json> lines;
        std::stringstream text(readFile(dir / "requests.jsonl"));
        for (std::string line; std::getline(text, line);) lines.push_back(nlohmann::json::parse(line));
        return lines;
    }
    /// Polls the control path until COUNT answers are held back.
    void waitForHeld(std::uint64_t COUNT)
    {
        for (int i = 0; i < 2000 && post("/control/state", "")["heldAnswers"] != COUNT; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        ASSERT_EQ(post("/control/state", "")["heldAnswers"], COUNT);
    }
};

TEST(ServiceHttp, LoginTrafficAndTheRequestLog)
{
    ServiceState state;
    state.recording = recordingOf({liveLine("abcdef", 52.5, 4.5, 1000)});
    state.clock = ReplayClock{gf_serviceNow() - 1000, true};
    HttpService http(std::move(state));
    const double before = gf_serviceNow();
    const auto login = http.post("/v4/auth", "license=K&software=TAVO_10.9.3");
    ASSERT_EQ(login["status"], 200);
    const std::string guid = login["GUID"];
    const auto traffic = http.post("/v4/traffic", ServiceDriver::trafficBody(guid));
    EXPECT_EQ(traffic["status"], 200);
    EXPECT_TRUE(traffic["data"].contains("abcdef"));
    const auto log = http.requestLog();
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[0]["path"], "/v4/auth");
    EXPECT_EQ(log[0]["body"], "license=K&software=TAVO_10.9.3");
    EXPECT_EQ(log[0]["status"], 200);
    EXPECT_EQ(log[1]["body"], ServiceDriver::trafficBody(guid));
    EXPECT_GE(log[0]["time"].get<double>(), before);
    EXPECT_LE(log[0]["time"].get<double>(), log[1]["time"].get<double>());
}

TEST(ServiceHttp, DownloadTreeUnderBothPrefixesAndNothingOutsideIt)
{
    HttpService http;
    for (const char* path : {"/downloads/release/version.json", "/release/version.json"}) {
        const auto got = http.client->Get(path);
        ASSERT_TRUE(got) << path;
        EXPECT_EQ(got->status, 200) << path;
        EXPECT_EQ(got->body, "10.9.4\n");
    }
    for (const char* path : {"/downloads/dbase.zip", "/downloads/../secret.txt", "/downloads/release", "/"}) {
        const auto got = http.client->Get(path);
        ASSERT_TRUE(got) << path;
        EXPECT_EQ(got->status, 404) << path;
    }
    EXPECT_EQ(http.requestLog().back()["http"], 404);
}

TEST(ServiceHttp, StalledAnswerWaitsForRelease)
{
    HttpService http;
    const std::string guid = http.post("/v4/auth", "license=K&software=T")["GUID"];
    http.post("/control/fail", "request=traffic&answer=stall");
    std::atomic<bool> done{false};
    nlohmann::json stalled;
    std::thread reader([&] {
        // A client of its own: one client is not shared between threads.
        httplib::Client own("127.0.0.1", http.service->port);
        own.set_read_timeout(std::chrono::minutes(5));
        const auto result = own.Post("/v4/traffic", ServiceDriver::trafficBody(guid), kForm);
        if (result) stalled = nlohmann::json::parse(result->body);
        done = true;
    });
    http.waitForHeld(1);
    EXPECT_FALSE(done);
    http.post("/control/release", "");
    reader.join();
    EXPECT_EQ(stalled["status"], 200);
    EXPECT_EQ(http.post("/control/state", "")["heldAnswers"], 0);
}

TEST(ServiceHttp, StoppingReleasesHeldAnswers)
{
    HttpService http;
    http.post("/control/fail", "request=any&answer=stall&count=0");
    std::thread reader([&] {
        httplib::Client own("127.0.0.1", http.service->port);
        own.set_read_timeout(std::chrono::minutes(5));
        (void)own.Post("/v4/auth", "license=K&software=T", kForm);
    });
    http.waitForHeld(1);
    gf_stopService(*http.service);
    reader.join();
    EXPECT_FALSE(http.client->Get("/release/version.json"));
}

} // namespace
} // namespace orv::test
