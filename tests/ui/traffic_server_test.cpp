// The traffic page's routes on the window's server: the page and an
// aircraft's story, and what they refuse. (Its stream is driven by the
// browser tests.)
#include "core/parameters.h"
#include "traffic/engine.h"
#include "ui/traffic_view.h"
#include "ui/window.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <httplib.h>

namespace orv {
namespace {

TEST(TrafficServer, PageAndStory)
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

    gf_closeWindowServer();
    liveList.clear();
    gf_resetTrafficView();
}

} // namespace
} // namespace orv
