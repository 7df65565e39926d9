// Fixtures for the service tests, made by code: live lines, recordings, and a
// service driven by the test's own clock with a helper to log in and post.
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

/// A service with quick paces, a fixed start time, and helpers to post.
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
    /// The JSON answer to PATH with BODY, "{}" in it standing for GUID; and its status.
    /// Throws when the body is none.
    nlohmann::json answer(const std::string& PATH, std::string BODY, const std::string& GUID = "")
    {
        if (const auto at = BODY.find("{}"); at != std::string::npos) BODY.replace(at, 2, GUID);
        return nlohmann::json::parse(post(PATH, BODY).body);
    }
    nlohmann::json status(const std::string& PATH, const std::string& BODY, const std::string& GUID = "")
    {
        return answer(PATH, BODY, GUID)["status"];
    }
    /// Logs in and gives the GUID.
    std::string login(const std::string& LICENCE = "KEY1")
    {
        const auto reply = answer("/v4/auth", "license=" + LICENCE + "&software=TAVO_10.9.3");
        EXPECT_EQ(reply.value("status", 0), 200) << reply.dump();
        return reply.value("GUID", std::string{});
    }
    static std::string trafficBody(const std::string& GUID, int TOFFSET = 0)
    {
        return "GUID=" + GUID + "&top=53.00&bottom=52.00&left=4.00&right=5.00&querytype=locationtraffic&toffset="
               + std::to_string(TOFFSET);
    }
};

} // namespace orv::test
