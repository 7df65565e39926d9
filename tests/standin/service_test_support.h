// Fixtures for the service tests, made by code: live lines, recordings,
// a logged-in session on a service driven by the test's own clock.
#pragma once

#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "standin/service/form.h"
#include "standin/service/recording.h"
#include "standin/service/service_core.h"

namespace orv::test {

/// A live line of 29 values with the given identity, position and time.
inline nlohmann::json liveLine(const std::string& HEXID, double LAT, double LON, double TIME)
{
    nlohmann::json line = nlohmann::json::array();
    for (std::size_t i = 0; i < kLiveLineLength; ++i) line.push_back(nullptr);
    line[kLineHexid] = HEXID;
    line[kLineLat] = LAT;
    line[kLineLon] = LON;
    line[kLineTimestamp] = TIME;
    line[8] = "A320";
    line[13] = "TST" + HEXID;
    line[28] = "A3";
    return line;
}

inline Recording recordingOf(const std::vector<nlohmann::json>& LINES)
{
    std::stringstream text;
    for (const auto& line : LINES) text << line.dump() << '\n';
    return gf_readRecording(text, "test");
}

/// The answer's JSON; fails the test when the body is not JSON.
inline nlohmann::json answerJson(const ServiceAnswer& ANSWER)
{
    return nlohmann::json::parse(ANSWER.body);
}

/// A service with quick paces, a fixed start time and a helper to post.
struct ServiceDriver {
    ServiceState state;
    double now = 1'700'000'000.0;

    ServiceDriver()
    {
        state.setup.rrlMs = 2000;
        state.setup.wrrlMs = 3000;
        state.random.seed(7);
    }

    ServiceAnswer post(const std::string& PATH, const std::string& BODY)
    {
        return gf_handleRequest(state, PATH, BODY, now);
    }
    nlohmann::json postJson(const std::string& PATH, const std::string& BODY)
    {
        return answerJson(post(PATH, BODY));
    }
    /// Logs in and gives the GUID.
    std::string login(const std::string& LICENCE = "KEY1")
    {
        const auto answer = postJson("/v4/auth", "license=" + LICENCE + "&software=TAVO_10.9.3");
        EXPECT_EQ(answer.value("status", 0), 200) << answer.dump();
        return answer.value("GUID", std::string{});
    }
    static std::string trafficBody(const std::string& GUID, int TOFFSET = 0)
    {
        return "GUID=" + GUID + "&top=53.00&bottom=52.00&left=4.00&right=5.00&querytype=locationtraffic&toffset="
               + std::to_string(TOFFSET);
    }
    static std::string weatherBody(const std::string& GUID)
    {
        return "GUID=" + GUID + "&querytype=locwx&toffset=0&lat=52.3000&lon=4.7600&alt=1200&airports=EHAM";
    }
};

} // namespace orv::test
