// The traffic page's routes on the window's server: the page, its stream of
// snapshots, an aircraft's story, and what they refuse.
#include "core/parameters.h"
#include "tests/support/eventually.h"
#include "traffic/engine.h"
#include "ui/traffic_view.h"
#include "ui/window.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <mutex>
#include <thread>

namespace orv {
namespace {

TEST(TrafficServer, PageStreamAndStory)
{
    gf_resetParameters();
    WINDOW_PORT.value = 0;
    ASSERT_TRUE(gf_openWindow());
    const int port = gf_windowPort();
    httplib::Client client("127.0.0.1", port);
    const httplib::Headers host{{"Host", fmt::format("127.0.0.1:{}", port)}};

    liveList.clear();
    act& record = liveList.emplace_back();
    record.hexid = 0x4840D6;
    record.callsign = "KLM1234";
    record.state = ActState::active;
    gf_publishTraffic();

    const auto page = client.Get("/traffic", host);
    ASSERT_TRUE(page);
    EXPECT_EQ(page->status, 200);
    EXPECT_NE(page->body.find("traffic.js"), std::string::npos);
    EXPECT_EQ(page->body.find("{{INSTANCE}}"), std::string::npos) << "the page carries this process's instance";
    EXPECT_EQ(client.Get("/traffic", httplib::Headers{{"Host", "tavo.example"}})->status, 403) << "a rebound name";

    struct Case {
        const char* target;
        int status;
        const char* part;
    } cases[] = {
        {"/traffic/story?hex=4840d6", 200, "\"callsign\":\"KLM1234\""},
        {"/traffic/story?hex=123456", 200, "\"aircraft\":null"},
        {"/traffic/story?hex=zz", 400, "no aircraft"},
        {"/traffic/story?hex=4840d6x", 400, "no aircraft"},
        {"/traffic/story", 400, "no aircraft"},
    };
    for (const Case& c : cases) {
        const auto answer = client.Get(c.target, host);
        ASSERT_TRUE(answer) << c.target;
        EXPECT_EQ(answer->status, c.status) << c.target;
        EXPECT_NE(answer->body.find(c.part), std::string::npos) << c.target << ": " << answer->body;
    }

    // The stream greets, then sends each new snapshot.
    std::string stream;
    std::mutex streamMutex;
    std::atomic<bool> stop{false};
    std::thread reader([&] {
        httplib::Client own("127.0.0.1", port);
        own.Get("/traffic/events", host, [&](const char* DATA, std::size_t LENGTH) {
            std::lock_guard lock(streamMutex);
            stream.append(DATA, LENGTH);
            return !stop;
        });
    });
    const auto seen = [&](const std::string& PART) {
        std::lock_guard lock(streamMutex);
        return stream.find(PART) != std::string::npos;
    };
    EXPECT_TRUE(test::eventually([&] { return seen("event: hello") && seen("KLM1234"); }));
    record.callsign = "KLM9876";
    gf_publishTraffic();
    EXPECT_TRUE(test::eventually([&] { return seen("KLM9876"); }));
    stop = true;
    gf_publishTraffic(); // one more event, so that the reader sees the stop
    reader.join();
    gf_closeWindowServer();
    liveList.clear();
    gf_resetTrafficView();
}

} // namespace
} // namespace orv
