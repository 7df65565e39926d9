// Fixtures of the feed tests, made by code: a live line that passes every
// filter, a client with its view, a temporary program with its log.
#pragma once

#include <chrono>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "core/clock.h"
#include "core/flags.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "feed/decode.h"
#include "feed/feed.h"
#include "feed/rt_client.h"
#include "tests/support/temp_dir.h"

namespace orv::test {

/// The park airport of the fixtures, and the user beside it.
inline constexpr LatLon parkAirport{52.3086, 4.7639};
inline constexpr double parkElevationFt = -11;

/// A live line that every filter keeps: an airliner 4 nm from the park
/// airport at 3000 ft.
inline nlohmann::json goodLiveLine()
{
    return nlohmann::json::array({"4840d6", 52.35, 4.80, 90.5, 3000, 180, "1000", "", "B738", "PH-BXA",
                                  1700000000.5, "EHAM", "LEMD", "KLM123", 0, -500, "KL123", "adsb_icao", 3100,
                                  -500, 175, 180, 0.3, 2.5, 0, 91, 91, nullptr, "A3"});
}

/// The same line standing at a stand of the park airport.
inline nlohmann::json groundLiveLine()
{
    nlohmann::json line = goodLiveLine();
    line[1] = 52.3090;
    line[2] = 4.7610;
    line[4] = -11;
    line[5] = 0;
    line[18] = nullptr;
    return line;
}

/// Reads every line of the log written so far.
inline std::string logText()
{
    {
        std::lock_guard lock(logMutex);
        logStream.flush();
    }
    return readFile(std::filesystem::current_path() / "Log.txt");
}

/// Waits up to 20 s of real time for a condition.
template <typename F>
bool eventually(F&& CONDITION, int ROUNDS = 2000)
{
    for (int k = 0; k < ROUNDS; ++k) {
        if (CONDITION()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return CONDITION();
}

/// A fresh program folder with its parameters and log, and a traffic client
/// whose view has the park airport set and the user beside it.
class FeedTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        gf_resetParameters();
        gf_setUserFolder();
        std::filesystem::create_directories(userFolder);
        gf_openLog("Log.txt");
        exitInProgress = false;
        readerFailed = false;
        gf_clearError();
        client.view.centre = parkAirport;
        client.view.rangeNm = 40;
        client.view.park.airport = parkAirport;
        client.view.park.elevationFt = parkElevationFt;
        client.view.park.ready = true;
        client.airportElevation = parkElevationFt;
    }
    void TearDown() override
    {
        std::lock_guard lock(logMutex);
        logStream.close();
    }
    /// Decodes LINE; the kept line, or none.
    std::optional<TrafficLine> decode(const nlohmann::json& LINE)
    {
        client.lines.clear();
        client.line = LINE;
        processLine(client);
        if (client.lines.empty()) return std::nullopt;
        return client.lines.back();
    }

    TempDir dir;
    RtClient client;
};

} // namespace orv::test
